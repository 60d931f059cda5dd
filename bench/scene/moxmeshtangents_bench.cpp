// Tangent and binormal generation (GenerateTangentsDataForAllUVSets, overwriting) on closed UV-mapped
// meshes with seams and hard edges, 10k to 1M polygons, and on a fan apex shared by 100,000 triangles.
// Items are polygons, so the time per polygon reads directly from items/s.
#include <cmath>
#include <random>
#include <vector>

#include <benchmark/benchmark.h>

#include "moxsdk/scene/geometry/moxmesh.h"
#include "moxsdk/scene/moxmanager.h"
#include "support/moxbenchmeshes.h"
#include "support/moxbenchmoxmesh.h"

namespace {

using namespace moxsdk;
using moxbench::MeshData;

struct Vec3 {
    double mX = 0, mY = 0, mZ = 0;
};

Vec3 Unit(Vec3 pV)
{
    const double lLength = std::sqrt(pV.mX * pV.mX + pV.mY * pV.mY + pV.mZ * pV.mZ);
    if (lLength > 0) pV = {pV.mX / lLength, pV.mY / lLength, pV.mZ / lLength};
    return pV;
}

// Newell normal of each polygon, unit length.
std::vector<Vec3> FaceNormals(const MeshData& pData)
{
    std::vector<Vec3> lNormals;
    int lCorner = 0;
    for (int lSize : pData.mPolygonSizes) {
        Vec3 lSum;
        for (int k = 0; k < lSize; ++k) {
            const double* a = &pData.mPositions[3 * size_t(pData.mPolygonVertices[lCorner + k])];
            const double* b = &pData.mPositions[3 * size_t(pData.mPolygonVertices[lCorner + (k + 1) % lSize])];
            lSum.mX += (a[1] - b[1]) * (a[2] + b[2]);
            lSum.mY += (a[2] - b[2]) * (a[0] + b[0]);
            lSum.mZ += (a[0] - b[0]) * (a[1] + b[1]);
        }
        lNormals.push_back(Unit(lSum));
        lCorner += lSize;
    }
    return lNormals;
}

// Layer 0 normals per polygon vertex: the point's smooth normal (the average of its polygons' normals),
// except at every seventh point, where each corner keeps its own polygon's normal: hard edges there.
void SetCornerNormals(MoxMesh& pMesh, const MeshData& pData)
{
    const std::vector<Vec3> lFaces = FaceNormals(pData);
    std::vector<Vec3> lSmooth(pData.ControlPointCount());
    int lCorner = 0;
    for (int p = 0; p < pData.PolygonCount(); ++p)
        for (int k = 0; k < pData.mPolygonSizes[p]; ++k, ++lCorner) {
            Vec3& lSum = lSmooth[pData.mPolygonVertices[lCorner]];
            lSum = {lSum.mX + lFaces[p].mX, lSum.mY + lFaces[p].mY, lSum.mZ + lFaces[p].mZ};
        }
    pMesh.InitNormals(pData.CornerCount());
    MoxLayerElementArrayTemplate<MoxVector4>* lArray = nullptr;
    pMesh.GetNormals(&lArray);
    MoxVector4* lNormals = lArray->GetLocked();
    lCorner = 0;
    for (int p = 0; p < pData.PolygonCount(); ++p)
        for (int k = 0; k < pData.mPolygonSizes[p]; ++k, ++lCorner) {
            const int lPoint = pData.mPolygonVertices[lCorner];
            const Vec3 lNormal = lPoint % 7 == 0 ? lFaces[p] : Unit(lSmooth[lPoint]);
            lNormals[lCorner] = MoxVector4(lNormal.mX, lNormal.mY, lNormal.mZ);
        }
    lArray->Release(&lNormals);
}

class MeshScope {
public:
    MeshScope() : mManager(MoxManager::Create()), mMesh(MoxMesh::Create(mManager, "bench")) {}
    ~MeshScope() { mManager->Destroy(); }
    MeshScope(const MeshScope&) = delete;
    MeshScope& operator=(const MeshScope&) = delete;
    MoxMesh& Mesh() { return *mMesh; }

private:
    MoxManager* mManager;
    MoxMesh* mMesh;
};

void RunTangents(benchmark::State& pState, MoxMesh& pMesh)
{
    for (auto _ : pState) {
        const bool lDone = pMesh.GenerateTangentsDataForAllUVSets(true);
        benchmark::DoNotOptimize(lDone);
    }
    pState.SetItemsProcessed(pState.iterations() * pMesh.GetPolygonCount());
    pState.counters["polygons"] = pMesh.GetPolygonCount();
    pState.counters["corners"] = pMesh.GetPolygonVertexCount();
}

void SizeRange(benchmark::internal::Benchmark* pBenchmark)
{
    pBenchmark->RangeMultiplier(10)->Range(10000, 1000000)->Unit(benchmark::kMillisecond);
}

// Triangles and quads (the fan pass), seams from the UV layout, hard edges at every seventh point.
void BM_TangentsMixedMesh(benchmark::State& pState)
{
    const MeshData lData = moxbench::MixedMesh(static_cast<int>(pState.range(0)));
    MeshScope lScope;
    moxbench::FillMoxMesh(lScope.Mesh(), lData);
    SetCornerNormals(lScope.Mesh(), lData);
    RunTangents(pState, lScope.Mesh());
}
BENCHMARK(BM_TangentsMixedMesh)->Apply(SizeRange);

// The triangle torus shared with the peer measurements (the triangle pass).
void BM_TangentsTorusTriangles(benchmark::State& pState)
{
    const MeshData lData = moxbench::Torus(static_cast<int>(pState.range(0)), moxbench::ETorusPolygons::eTriangles);
    MeshScope lScope;
    moxbench::FillMoxMesh(lScope.Mesh(), lData);
    SetCornerNormals(lScope.Mesh(), lData);
    RunTangents(pState, lScope.Mesh());
}
BENCHMARK(BM_TangentsTorusTriangles)->Apply(SizeRange);

// 100,000 triangles (0, i, i + 1) around apex 0 of a shallow cone, apex UV shared. Apex normals: 0 all equal
// (one group), 1 each triangle's own face normal (no two weld), 2 equal up to +-4e-07 per component (chains
// of welds that are not transitive), 3 drawn from a lattice of 11^3 normals 1.1e-06 apart (no two lattice
// points weld, many records share a grid cell without welding: the weld grid's hard case).
void BM_TangentsFanApex(benchmark::State& pState)
{
    const int lCount = 100000;
    const int lKind = static_cast<int>(pState.range(0));
    MeshData lData;
    lData.mPositions = {0.0, 0.0, 0.2};
    lData.mUVs = {0.5, 0.5};
    for (int i = 0; i < lCount; ++i) {
        const double lAngle = 2.0 * 3.14159265358979323846 * i / lCount;
        lData.mPositions.insert(lData.mPositions.end(), {std::cos(lAngle), std::sin(lAngle), 0.0});
        lData.mUVs.insert(lData.mUVs.end(), {0.5 + 0.5 * std::cos(lAngle), 0.5 + 0.5 * std::sin(lAngle)});
    }
    for (int i = 0; i < lCount; ++i) {
        const int lNext = (i + 1) % lCount;
        lData.mPolygonSizes.push_back(3);
        lData.mPolygonVertices.insert(lData.mPolygonVertices.end(), {0, 1 + i, 1 + lNext});
        lData.mUVIndices.insert(lData.mUVIndices.end(), {0, 1 + i, 1 + lNext});
    }
    MeshScope lScope;
    moxbench::FillMoxMesh(lScope.Mesh(), lData);
    const std::vector<Vec3> lFaces = FaceNormals(lData);
    std::mt19937 lRandom(5);
    std::uniform_real_distribution<double> lJitter(-4e-07, 4e-07);
    lScope.Mesh().InitNormals(lData.CornerCount());
    MoxLayerElementArrayTemplate<MoxVector4>* lArray = nullptr;
    lScope.Mesh().GetNormals(&lArray);
    for (int i = 0; i < lCount; ++i) {
        MoxVector4 lApex(0, 0, 1);
        if (lKind == 1) lApex = MoxVector4(lFaces[i].mX, lFaces[i].mY, lFaces[i].mZ);
        if (lKind == 2) lApex = MoxVector4(lJitter(lRandom), lJitter(lRandom), 1.0 + lJitter(lRandom));
        if (lKind == 3) {
            const int lPoint = static_cast<int>(lRandom() % 1331);
            const int lX = lPoint % 11;
            const int lY = lPoint / 11 % 11;
            const int lZ = lPoint / 121;
            lApex = MoxVector4(0.5 + lX * 1.1e-06, 0.5 + lY * 1.1e-06, 0.5 + lZ * 1.1e-06);
        }
        lArray->SetAt(3 * i, lApex);
        lArray->SetAt(3 * i + 1, MoxVector4(lFaces[i].mX, lFaces[i].mY, lFaces[i].mZ));
        lArray->SetAt(3 * i + 2, MoxVector4(lFaces[i].mX, lFaces[i].mY, lFaces[i].mZ));
    }
    RunTangents(pState, lScope.Mesh());
}
BENCHMARK(BM_TangentsFanApex)->DenseRange(0, 3)->Unit(benchmark::kMillisecond);

}  // namespace
