// Assimp's post-processing steps, each run alone through Assimp::Importer::ApplyPostProcessing.
//
// The input is what Assimp's importers hand to post-processing: one vertex per polygon corner (its
// "verbose" form), float coordinates, polygons kept as they are. An importer runs steps only on a scene
// it holds, so each mesh is serialised once to Assimp's own binary format (assbin) and read back from
// memory before every iteration, outside the timing; the timing covers the step alone.
#include <cmath>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <assimp/config.h>
#include <assimp/postprocess.h>
#include <assimp/scene.h>
#include <assimp/Exporter.hpp>
#include <assimp/Importer.hpp>

#include "moxpeers.h"

namespace moxpeers {
namespace {

// What the scene's vertices carry besides their position.
enum class EAttributes { ePositions, eUVs, eNormalsAndUVs };

// The smooth normal of every control point: the normalised sum of its polygons' Newell normals.
std::vector<aiVector3D> PointNormals(const MeshData& pData)
{
    std::vector<aiVector3D> lNormals(pData.ControlPointCount());
    size_t lCorner = 0;
    for (int lSize : pData.mPolygonSizes) {
        aiVector3D lSum;
        for (int k = 0; k < lSize; ++k) {
            const double* a = &pData.mPositions[3 * static_cast<size_t>(pData.mPolygonVertices[lCorner + k])];
            const double* b =
                &pData.mPositions[3 * static_cast<size_t>(pData.mPolygonVertices[lCorner + (k + 1) % lSize])];
            lSum.x += static_cast<float>((a[1] - b[1]) * (a[2] + b[2]));
            lSum.y += static_cast<float>((a[2] - b[2]) * (a[0] + b[0]));
            lSum.z += static_cast<float>((a[0] - b[0]) * (a[1] + b[1]));
        }
        const float lLength = lSum.Length();
        if (lLength > 0.0f) lSum /= lLength;
        for (int k = 0; k < lSize; ++k) lNormals[static_cast<size_t>(pData.mPolygonVertices[lCorner + k])] += lSum;
        lCorner += static_cast<size_t>(lSize);
    }
    for (aiVector3D& lNormal : lNormals)
        if (lNormal.Length() > 0.0f) lNormal.Normalize();
    return lNormals;
}

unsigned int PrimitiveTypes(const MeshData& pData)
{
    unsigned int lTypes = 0;
    for (int lSize : pData.mPolygonSizes)
        lTypes |= lSize == 1   ? aiPrimitiveType_POINT
                  : lSize == 2 ? aiPrimitiveType_LINE
                  : lSize == 3 ? aiPrimitiveType_TRIANGLE
                               : aiPrimitiveType_POLYGON;
    return lTypes;
}

// One aiMesh with a vertex per corner of pData.
aiMesh* BuildCornerMesh(const MeshData& pData, EAttributes pAttributes)
{
    const unsigned int lCorners = static_cast<unsigned int>(pData.PolygonVertexCount());
    aiMesh* lMesh = new aiMesh();
    lMesh->mPrimitiveTypes = PrimitiveTypes(pData);
    lMesh->mNumVertices = lCorners;
    lMesh->mVertices = new aiVector3D[lCorners];
    for (unsigned int k = 0; k < lCorners; ++k) {
        const double* lPosition = &pData.mPositions[3 * static_cast<size_t>(pData.mPolygonVertices[k])];
        lMesh->mVertices[k] = aiVector3D(static_cast<float>(lPosition[0]), static_cast<float>(lPosition[1]),
                                         static_cast<float>(lPosition[2]));
    }
    if (pAttributes != EAttributes::ePositions && !pData.mUVSets.empty()) {
        const moxmeshtool::AttributeChannel& lUVs = pData.mUVSets[0];
        lMesh->mNumUVComponents[0] = 2;
        lMesh->mTextureCoords[0] = new aiVector3D[lCorners];
        for (unsigned int k = 0; k < lCorners; ++k) {
            const int lIndex = lUVs.mIndices[k];
            if (lIndex >= 0)
                lMesh->mTextureCoords[0][k] =
                    aiVector3D(static_cast<float>(lUVs.mValues[2 * size_t(lIndex)]),
                               static_cast<float>(lUVs.mValues[2 * size_t(lIndex) + 1]), 0.0f);
        }
    }
    if (pAttributes == EAttributes::eNormalsAndUVs) {
        const std::vector<aiVector3D> lPointNormals = PointNormals(pData);
        lMesh->mNormals = new aiVector3D[lCorners];
        for (unsigned int k = 0; k < lCorners; ++k)
            lMesh->mNormals[k] = lPointNormals[static_cast<size_t>(pData.mPolygonVertices[k])];
    }
    lMesh->mNumFaces = static_cast<unsigned int>(pData.PolygonCount());
    lMesh->mFaces = new aiFace[lMesh->mNumFaces];
    unsigned int lCorner = 0;
    for (unsigned int f = 0; f < lMesh->mNumFaces; ++f) {
        aiFace& lFace = lMesh->mFaces[f];
        lFace.mNumIndices = static_cast<unsigned int>(pData.mPolygonSizes[f]);
        lFace.mIndices = new unsigned int[lFace.mNumIndices];
        for (unsigned int k = 0; k < lFace.mNumIndices; ++k) lFace.mIndices[k] = lCorner++;
    }
    return lMesh;
}

// The scene of pData (one mesh, one material, one node) in assbin form.
std::string SerialiseScene(const MeshData& pData, EAttributes pAttributes)
{
    aiScene lScene;
    lScene.mRootNode = new aiNode("root");
    lScene.mRootNode->mNumMeshes = 1;
    lScene.mRootNode->mMeshes = new unsigned int[1]{0};
    lScene.mNumMaterials = 1;
    lScene.mMaterials = new aiMaterial* [1] { new aiMaterial() };
    lScene.mNumMeshes = 1;
    lScene.mMeshes = new aiMesh* [1] { BuildCornerMesh(pData, pAttributes) };
    Assimp::Exporter lExporter;
    const aiExportDataBlob* lBlob = lExporter.ExportToBlob(&lScene, "assbin");
    if (!lBlob) return std::string();
    return std::string(static_cast<const char*>(lBlob->data), lBlob->size);
}

// The serialised scenes of the mesh being measured, made on first use.
const std::string& SceneOf(const BenchMesh& pMesh, EAttributes pAttributes)
{
    static const BenchMesh* sgMesh = nullptr;
    static std::map<EAttributes, std::string> sgScenes;
    if (sgMesh != &pMesh) {
        sgScenes.clear();
        sgMesh = &pMesh;
    }
    auto lFound = sgScenes.find(pAttributes);
    if (lFound == sgScenes.end())
        lFound = sgScenes.emplace(pAttributes, SerialiseScene(DataOf(pMesh), pAttributes)).first;
    return lFound->second;
}

struct Step {
    unsigned int mFlags;
    EAttributes mInput;
    float mSmoothingAngle;  // GenSmoothNormals' limit, in degrees
};

// Runs pStep on a fresh copy of the scene per iteration; counts the vertices it leaves.
void MeasureStep(benchmark::State& pState, const BenchMesh& pMesh, const Step& pStep)
{
    const std::string& lScene = SceneOf(pMesh, pStep.mInput);
    Assimp::Importer lImporter;
    lImporter.SetPropertyFloat(AI_CONFIG_PP_GSN_MAX_SMOOTHING_ANGLE, pStep.mSmoothingAngle);
    TimedFaults lFaults(pState);
    for (auto _ : pState) {
        lFaults.Pause();
        const aiScene* lRead = lImporter.ReadFileFromMemory(lScene.data(), lScene.size(), 0, "assbin");
        lFaults.Resume();
        if (!lRead || lRead->mNumMeshes != 1) {
            pState.SkipWithError(lImporter.GetErrorString());
            break;
        }
        benchmark::DoNotOptimize(lImporter.ApplyPostProcessing(pStep.mFlags));
    }
    const aiScene* lResult = lImporter.GetScene();
    if (lResult && lResult->mNumMeshes == 1) pState.counters["vertices out"] = lResult->mMeshes[0]->mNumVertices;
    SetPerPolygon(pState, DataOf(pMesh));
}

// 175 degrees: no angle limit (Assimp's fast path), every vertex takes its position's smooth normal.
void MeasureGenSmoothNormals175(benchmark::State& pState, const BenchMesh& pMesh)
{
    MeasureStep(pState, pMesh, {aiProcess_GenSmoothNormals, EAttributes::ePositions, 175.0f});
}

void MeasureGenSmoothNormals45(benchmark::State& pState, const BenchMesh& pMesh)
{
    MeasureStep(pState, pMesh, {aiProcess_GenSmoothNormals, EAttributes::ePositions, 45.0f});
}

void MeasureCalcTangentSpace(benchmark::State& pState, const BenchMesh& pMesh)
{
    MeasureStep(pState, pMesh, {aiProcess_CalcTangentSpace, EAttributes::eNormalsAndUVs, 45.0f});
}

void MeasureJoinIdenticalVertices(benchmark::State& pState, const BenchMesh& pMesh)
{
    MeasureStep(pState, pMesh, {aiProcess_JoinIdenticalVertices, EAttributes::ePositions, 45.0f});
}

void MeasureFindDegenerates(benchmark::State& pState, const BenchMesh& pMesh)
{
    MeasureStep(pState, pMesh, {aiProcess_FindDegenerates, EAttributes::ePositions, 45.0f});
}

// The same work as our import pipeline, as an Assimp import asks for it: degenerates, normals smoothed
// within the demo's 30 degrees, tangents, then identical vertices joined.
void MeasureImportChain(benchmark::State& pState, const BenchMesh& pMesh)
{
    MeasureStep(pState, pMesh,
                {aiProcess_FindDegenerates | aiProcess_GenSmoothNormals | aiProcess_CalcTangentSpace |
                     aiProcess_JoinIdenticalVertices,
                 EAttributes::eUVs, 30.0f});
}

}  // namespace

std::vector<Row> AssimpRows()
{
    return {
        {"assimp.GenSmoothNormals175", MeasureGenSmoothNormals175},
        {"assimp.GenSmoothNormals45", MeasureGenSmoothNormals45},
        {"assimp.CalcTangentSpace", MeasureCalcTangentSpace, true},
        {"assimp.JoinIdenticalVertices", MeasureJoinIdenticalVertices},
        {"assimp.FindDegenerates", MeasureFindDegenerates},
        {"assimp.ImportChain", MeasureImportChain},
    };
}

}  // namespace moxpeers
