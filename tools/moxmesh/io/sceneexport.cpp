#include "io/sceneexport.h"

#include <string>
#include <vector>

namespace moxmeshtool {
namespace {

using moxsdk::MoxMesh;
using moxsdk::MoxVector4;

// The Assimp vertex arrays from the part's vertices.
void FillVertices(const MoxMesh& pMesh, const VertexLayout& pLayout, const VertexPart& pPart, aiMesh& pOut)
{
    const unsigned lCount = static_cast<unsigned>(pPart.mPoints.size());
    pOut.mNumVertices = lCount;
    pOut.mVertices = new aiVector3D[lCount];
    if (pLayout.mNormals) pOut.mNormals = new aiVector3D[lCount];
    for (int c = 0; c < pLayout.mUVSets; ++c) {
        pOut.mTextureCoords[c] = new aiVector3D[lCount];
        pOut.mNumUVComponents[c] = 2;
    }
    const MoxVector4* lPoints = pMesh.GetControlPoints();
    const size_t lStride = static_cast<size_t>(pLayout.Stride());
    for (unsigned v = 0; v < lCount; ++v) {
        const MoxVector4& lPoint = lPoints[pPart.mPoints[v]];
        pOut.mVertices[v] = aiVector3D(float(lPoint[0]), float(lPoint[1]), float(lPoint[2]));
        const float* lValue = pPart.mValues.data() + v * lStride;
        if (pLayout.mNormals) {
            pOut.mNormals[v] = aiVector3D(lValue[0], lValue[1], lValue[2]);
            lValue += 3;
        }
        for (int c = 0; c < pLayout.mUVSets; ++c, lValue += 2)
            pOut.mTextureCoords[c][v] = aiVector3D(lValue[0], lValue[1], 0.0f);
    }
}

// One Assimp mesh holding the part's polygons.
aiMesh* BuildAiMesh(const MoxMesh& pMesh, const VertexLayout& pLayout, const VertexPart& pPart)
{
    auto lMesh = std::make_unique<aiMesh>();
    lMesh->mMaterialIndex = static_cast<unsigned>(pPart.mMaterial);
    FillVertices(pMesh, pLayout, pPart, *lMesh);
    lMesh->mNumFaces = static_cast<unsigned>(pPart.mPolygons.size());
    lMesh->mFaces = new aiFace[pPart.mPolygons.size()];
    size_t lCorner = 0;
    for (size_t f = 0; f < pPart.mPolygons.size(); ++f) {
        aiFace& lFace = lMesh->mFaces[f];
        lFace.mNumIndices = static_cast<unsigned>(pMesh.GetPolygonSize(pPart.mPolygons[f]));
        lFace.mIndices = new unsigned[lFace.mNumIndices];
        for (unsigned k = 0; k < lFace.mNumIndices; ++k) lFace.mIndices[k] = pPart.mCorners[lCorner++];
        lMesh->mPrimitiveTypes |= lFace.mNumIndices == 3 ? aiPrimitiveType_TRIANGLE : aiPrimitiveType_POLYGON;
    }
    return lMesh.release();
}

void AddMaterials(const std::vector<std::string>& pNames, aiScene& pScene)
{
    pScene.mNumMaterials = static_cast<unsigned>(pNames.size());
    pScene.mMaterials = new aiMaterial*[pNames.size()]();
    for (size_t i = 0; i < pNames.size(); ++i) {
        pScene.mMaterials[i] = new aiMaterial();
        const aiString lName(pNames[i]);
        pScene.mMaterials[i]->AddProperty(&lName, AI_MATKEY_NAME);
    }
}

}  // namespace

std::unique_ptr<aiScene> BuildScene(MoxMesh& pMesh, SceneSummary& pSummary)
{
    VertexOptions lOptions;
    lOptions.mTangents = false;
    lOptions.mMaxUVSets = AI_MAX_NUMBER_OF_TEXTURECOORDS;
    const MeshVertices lVertices = GatherVertices(pMesh, lOptions, pSummary);

    // The scene owns every mesh as soon as it is made, so nothing leaks when memory runs out midway.
    auto lScene = std::make_unique<aiScene>();
    lScene->mRootNode = new aiNode("mesh");
    AddMaterials(lVertices.mMaterialNames, *lScene);
    const size_t lMeshCount = lVertices.mParts.size();
    lScene->mMeshes = new aiMesh*[lMeshCount]();
    lScene->mRootNode->mMeshes = new unsigned[lMeshCount];
    for (const VertexPart& lPart : lVertices.mParts) {
        aiMesh* lMesh = BuildAiMesh(pMesh, lVertices.mLayout, lPart);
        lMesh->mName = lVertices.mMaterialNames[static_cast<size_t>(lPart.mMaterial)];
        lScene->mRootNode->mMeshes[lScene->mNumMeshes] = lScene->mNumMeshes;
        lScene->mMeshes[lScene->mNumMeshes++] = lMesh;
    }
    lScene->mRootNode->mNumMeshes = lScene->mNumMeshes;
    return lScene;
}

}  // namespace moxmeshtool
