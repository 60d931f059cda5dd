#include "sceneexport.h"

#include <cstring>
#include <map>
#include <string>
#include <unordered_set>
#include <vector>

#include "elementview.h"
#include "moxsdk/scene/moxsurfacematerial.h"

namespace moxmeshtool {
namespace {

using moxsdk::MoxLayer;
using moxsdk::MoxLayerElement;
using moxsdk::MoxMesh;
using moxsdk::MoxVector2;
using moxsdk::MoxVector4;

// The elements read per polygon vertex, with the number of floats a vertex gets from them.
struct CornerSources {
    std::unique_ptr<ElementView<MoxVector4>> mNormals;
    std::vector<std::unique_ptr<ElementView<MoxVector2>>> mUVSets;
    std::unique_ptr<ElementView<MoxVector4>> mTangents;

    int Stride() const { return (mNormals ? 3 : 0) + 2 * static_cast<int>(mUVSets.size()) + (mTangents ? 4 : 0); }
};

std::unique_ptr<CornerSources> OpenSources(MoxMesh& pMesh)
{
    auto lSources = std::make_unique<CornerSources>();
    MoxLayer* lLayer0 = pMesh.GetLayer(0);
    if (lLayer0 && lLayer0->GetNormals())
        lSources->mNormals = std::make_unique<ElementView<MoxVector4>>(lLayer0->GetNormals());
    if (lLayer0 && lLayer0->GetTangents())
        lSources->mTangents = std::make_unique<ElementView<MoxVector4>>(lLayer0->GetTangents());
    for (int l = 0; l < pMesh.GetLayerCount(); ++l)
        for (int c = MoxLayerElement::eTextureChannel0; c <= MoxLayerElement::eTextureChannel16; ++c) {
            moxsdk::MoxLayerElementUV* lUVs = pMesh.GetLayer(l)->GetUVs(static_cast<MoxLayerElement::EType>(c));
            if (lUVs && lSources->mUVSets.size() < AI_MAX_NUMBER_OF_TEXTURECOORDS)
                lSources->mUVSets.push_back(std::make_unique<ElementView<MoxVector2>>(lUVs));
        }
    return lSources;
}

// Materials: the scene's material list (names) and, per polygon, its place in that list (-1: none).
struct MaterialTable {
    std::vector<std::string> mNames;
    std::vector<int> mMaterialOf;
};

// Material slots come from layer 0's material element: the direct array holds the materials (their
// names), the index array (or, in direct mode, the component itself) a polygon's slot. Slots past the
// direct array (an element without materials) get generic names and keep their order.
MaterialTable ReadMaterials(MoxMesh& pMesh)
{
    MaterialTable lTable;
    const int lPolygonCount = pMesh.GetPolygonCount();
    lTable.mMaterialOf.assign(lPolygonCount, -1);
    MoxLayer* lLayer0 = pMesh.GetLayer(0);
    moxsdk::MoxLayerElementMaterial* lElement = lLayer0 ? lLayer0->GetMaterials() : nullptr;
    if (!lElement) return lTable;

    const MoxLayerElement::EMappingMode lMapping = lElement->GetMappingMode();
    const bool lIndexed = lElement->GetReferenceMode() != MoxLayerElement::eDirect;
    const int lDirectCount = lElement->mDirectArray->GetCount();
    const int lIndexCount = lElement->mIndexArray->GetCount();
    std::map<int, int> lExtraSlots;
    for (int p = 0; p < lPolygonCount; ++p) {
        const int lComponent = lMapping == MoxLayerElement::eByPolygon ? p
                               : lMapping == MoxLayerElement::eByMesh  ? 0
                                                                       : -1;
        int lSlot = lComponent;
        if (lIndexed)
            lSlot = lComponent >= 0 && lComponent < lIndexCount ? lElement->mIndexArray->GetAt(lComponent) : -1;
        if (lSlot < 0) continue;
        if (lSlot >= lDirectCount) lExtraSlots.emplace(lSlot, 0);
        lTable.mMaterialOf[p] = lSlot;
    }
    for (int s = 0; s < lDirectCount; ++s) {
        const moxsdk::MoxSurfaceMaterial* lMaterial = lElement->mDirectArray->GetAt(s);
        const char* lName = lMaterial ? lMaterial->GetName() : "";
        lTable.mNames.push_back(*lName ? lName : "material" + std::to_string(s + 1));
    }
    for (auto& lExtra : lExtraSlots) {
        lExtra.second = static_cast<int>(lTable.mNames.size());
        lTable.mNames.push_back("material" + std::to_string(lExtra.first + 1));
    }
    for (int& lSlot : lTable.mMaterialOf)
        if (lSlot >= lDirectCount) lSlot = lExtraSlots[lSlot];
    return lTable;
}

// True when polygon p can be written: 3 or more vertices, every control point in range.
bool IsWritable(const MoxMesh& pMesh, int pPolygon)
{
    const int lSize = pMesh.GetPolygonSize(pPolygon);
    const int lStart = pMesh.GetPolygonVertexIndex(pPolygon);
    if (lSize < 3 || lStart < 0 || lStart + lSize > pMesh.GetPolygonVertexCount()) return false;
    const int* lVertices = pMesh.GetPolygonVertices();
    for (int k = 0; k < lSize; ++k)
        if (lVertices[lStart + k] < 0 || lVertices[lStart + k] >= pMesh.GetControlPointsCount()) return false;
    return true;
}

// Distinct vertices: a control point and a run of attribute floats. Find gives the index of the
// vertex with those values, adding it when new.
class VertexTable {
public:
    explicit VertexTable(int pStride) : mStride(pStride), mSet(1024, Hash{this}, Equal{this}) {}

    unsigned Find(int pPoint, const float* pValues)
    {
        const unsigned lCandidate = static_cast<unsigned>(mPoints.size());
        mPoints.push_back(pPoint);
        mValues.insert(mValues.end(), pValues, pValues + mStride);
        const auto lFound = mSet.insert(lCandidate);
        if (lFound.second) return lCandidate;
        mPoints.pop_back();
        mValues.resize(mValues.size() - mStride);
        return *lFound.first;
    }

    size_t Count() const { return mPoints.size(); }
    int Point(size_t pVertex) const { return mPoints[pVertex]; }
    const float* Values(size_t pVertex) const { return mValues.data() + pVertex * mStride; }

private:
    struct Hash {
        const VertexTable* mTable;
        size_t operator()(unsigned pVertex) const
        {
            uint64_t lHash = 1469598103934665603ull ^ static_cast<uint32_t>(mTable->mPoints[pVertex]);
            const unsigned char* lBytes = reinterpret_cast<const unsigned char*>(mTable->Values(pVertex));
            for (size_t i = 0; i < mTable->mStride * sizeof(float); ++i) lHash = (lHash ^ lBytes[i]) * 1099511628211ull;
            return static_cast<size_t>(lHash ^ (lHash >> 31));
        }
    };
    struct Equal {
        const VertexTable* mTable;
        bool operator()(unsigned pA, unsigned pB) const
        {
            return mTable->mPoints[pA] == mTable->mPoints[pB] &&
                   (mTable->mStride == 0 ||
                    std::memcmp(mTable->Values(pA), mTable->Values(pB), mTable->mStride * sizeof(float)) == 0);
        }
    };

    size_t mStride;
    std::vector<int> mPoints;
    std::vector<float> mValues;
    std::unordered_set<unsigned, Hash, Equal> mSet;
};

// The attribute floats of one polygon vertex: normal, UVs, tangent. A missing value is written as zeros
// and counted.
void GatherValues(const CornerSources& pSources, int pPolygon, int pPolygonVertex, int pPoint, float* pOut,
                  size_t& pMissing)
{
    if (pSources.mNormals) {
        MoxVector4 lNormal;
        if (!pSources.mNormals->Get(pPolygon, pPolygonVertex, pPoint, lNormal)) ++pMissing;
        for (int i = 0; i < 3; ++i) *pOut++ = static_cast<float>(lNormal[i]);
    }
    for (const auto& lUVSet : pSources.mUVSets) {
        MoxVector2 lUV;
        if (!lUVSet->Get(pPolygon, pPolygonVertex, pPoint, lUV)) ++pMissing;
        *pOut++ = static_cast<float>(lUV[0]);
        *pOut++ = static_cast<float>(lUV[1]);
    }
    if (pSources.mTangents) {
        MoxVector4 lTangent;
        if (!pSources.mTangents->Get(pPolygon, pPolygonVertex, pPoint, lTangent)) ++pMissing;
        for (int i = 0; i < 4; ++i) *pOut++ = static_cast<float>(lTangent[i]);
    }
}

// The Assimp vertex arrays from the table's vertices.
void FillVertices(const MoxMesh& pMesh, const CornerSources& pSources, const VertexTable& pTable,
                  const SceneOptions& pOptions, aiMesh& pOut)
{
    const unsigned lCount = static_cast<unsigned>(pTable.Count());
    pOut.mNumVertices = lCount;
    pOut.mVertices = new aiVector3D[lCount];
    if (pSources.mNormals) pOut.mNormals = new aiVector3D[lCount];
    for (size_t c = 0; c < pSources.mUVSets.size(); ++c) {
        pOut.mTextureCoords[c] = new aiVector3D[lCount];
        pOut.mNumUVComponents[c] = 2;
    }
    if (pSources.mTangents && pOptions.mTangentsAsColors) pOut.mColors[0] = new aiColor4D[lCount];
    const MoxVector4* lPoints = pMesh.GetControlPoints();
    for (unsigned v = 0; v < lCount; ++v) {
        const MoxVector4& lPoint = lPoints[pTable.Point(v)];
        pOut.mVertices[v] = aiVector3D(float(lPoint[0]), float(lPoint[1]), float(lPoint[2]));
        const float* lValue = pTable.Values(v);
        if (pSources.mNormals) {
            pOut.mNormals[v] = aiVector3D(lValue[0], lValue[1], lValue[2]);
            lValue += 3;
        }
        for (size_t c = 0; c < pSources.mUVSets.size(); ++c, lValue += 2)
            pOut.mTextureCoords[c][v] = aiVector3D(lValue[0], lValue[1], 0.0f);
        if (pOut.mColors[0]) pOut.mColors[0][v] = aiColor4D(lValue[0], lValue[1], lValue[2], lValue[3]);
    }
}

// One Assimp mesh holding pPolygons (all writable), with material pMaterial.
aiMesh* BuildAiMesh(MoxMesh& pMesh, const std::vector<int>& pPolygons, unsigned pMaterial,
                    const CornerSources& pSources, const SceneOptions& pOptions, SceneSummary& pSummary)
{
    VertexTable lTable(pSources.Stride());
    std::vector<float> lValues(static_cast<size_t>(pSources.Stride()) + 1);
    std::vector<unsigned> lCorners;
    const int* lVertices = pMesh.GetPolygonVertices();
    for (int lPolygon : pPolygons) {
        const int lStart = pMesh.GetPolygonVertexIndex(lPolygon);
        for (int k = 0; k < pMesh.GetPolygonSize(lPolygon); ++k) {
            const int lPoint = lVertices[lStart + k];
            GatherValues(pSources, lPolygon, lStart + k, lPoint, lValues.data(), pSummary.mMissingValues);
            lCorners.push_back(lTable.Find(lPoint, lValues.data()));
        }
    }
    auto lMesh = std::make_unique<aiMesh>();
    lMesh->mMaterialIndex = pMaterial;
    FillVertices(pMesh, pSources, lTable, pOptions, *lMesh);
    lMesh->mNumFaces = static_cast<unsigned>(pPolygons.size());
    lMesh->mFaces = new aiFace[pPolygons.size()];
    size_t lCorner = 0;
    for (size_t f = 0; f < pPolygons.size(); ++f) {
        aiFace& lFace = lMesh->mFaces[f];
        lFace.mNumIndices = static_cast<unsigned>(pMesh.GetPolygonSize(pPolygons[f]));
        lFace.mIndices = new unsigned[lFace.mNumIndices];
        for (unsigned k = 0; k < lFace.mNumIndices; ++k) lFace.mIndices[k] = lCorners[lCorner++];
        lMesh->mPrimitiveTypes |= lFace.mNumIndices == 3 ? aiPrimitiveType_TRIANGLE : aiPrimitiveType_POLYGON;
    }
    pSummary.mVertices += lTable.Count();
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

std::unique_ptr<aiScene> BuildScene(MoxMesh& pMesh, const SceneOptions& pOptions, SceneSummary& pSummary)
{
    pSummary = SceneSummary();
    const auto lSources = OpenSources(pMesh);
    MaterialTable lMaterials = ReadMaterials(pMesh);

    // Polygons by material, the polygons without one last (under a default material).
    const int lMaterialCount = static_cast<int>(lMaterials.mNames.size());
    std::vector<std::vector<int>> lGroups(lMaterialCount + 1);
    for (int p = 0; p < pMesh.GetPolygonCount(); ++p) {
        if (!IsWritable(pMesh, p)) {
            ++pSummary.mSkippedPolygons;
            continue;
        }
        const int lMaterial = lMaterials.mMaterialOf[p];
        lGroups[lMaterial >= 0 ? lMaterial : lMaterialCount].push_back(p);
        ++pSummary.mPolygons;
        pSummary.mTriangles += pMesh.GetPolygonSize(p) - 2;
    }
    if (!lGroups.back().empty()) lMaterials.mNames.emplace_back("default");

    // The scene owns every mesh as soon as it is made, so nothing leaks when memory runs out midway.
    auto lScene = std::make_unique<aiScene>();
    lScene->mRootNode = new aiNode("mesh");
    AddMaterials(lMaterials.mNames, *lScene);
    size_t lMeshCount = 0;
    for (const std::vector<int>& lGroup : lGroups) lMeshCount += lGroup.empty() ? 0 : 1;
    lScene->mMeshes = new aiMesh*[lMeshCount]();
    lScene->mRootNode->mMeshes = new unsigned[lMeshCount];
    for (size_t g = 0; g < lGroups.size(); ++g) {
        if (lGroups[g].empty()) continue;
        aiMesh* lMesh = BuildAiMesh(pMesh, lGroups[g], static_cast<unsigned>(g), *lSources, pOptions, pSummary);
        lMesh->mName = lMaterials.mNames[g];
        lScene->mRootNode->mMeshes[lScene->mNumMeshes] = lScene->mNumMeshes;
        lScene->mMeshes[lScene->mNumMeshes++] = lMesh;
    }
    lScene->mRootNode->mNumMeshes = lScene->mNumMeshes;

    pSummary.mMaterials = static_cast<int>(lMaterials.mNames.size());
    pSummary.mNormals = lSources->mNormals != nullptr;
    pSummary.mUVSets = static_cast<int>(lSources->mUVSets.size());
    pSummary.mTangents = lSources->mTangents != nullptr && pOptions.mTangentsAsColors;
    return lScene;
}

}  // namespace moxmeshtool
