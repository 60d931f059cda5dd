// Point splitting and vertex merging at 10k, 100k and 1M polygons (merging also at 4M); items are
// polygons, so the time per polygon can be compared across sizes.
//
// BM_SplitPoints: the mixed triangle/quad mesh with a UV set, per-polygon-vertex normals and its edge
// array. BM_BuildMergeList: the shared triangle torus with one control point per corner (split), as the
// peers' "merge coincident points" measure it; BM_StreamingFloor is the peers' floor (one streaming pass
// over corners) on the same torus, for the ratio. BM_MergePoints: the split mixed mesh with the merge
// list that BuildMergeList gives. The mesh each timed call changes is restored from a copy outside the
// timing.
#include <vector>

#include <benchmark/benchmark.h>

#include "moxsdk/scene/geometry/moxmesh.h"
#include "moxsdk/scene/moxmanager.h"
#include "support/moxbenchmeshes.h"
#include "support/moxbenchmoxmesh.h"

namespace {

using namespace moxsdk;

void SizeRange(benchmark::internal::Benchmark* pBenchmark)
{
    pBenchmark->Arg(10000)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);
}

// Merging is also measured at 4M polygons, for the time per polygon across sizes.
void MergeSizeRange(benchmark::internal::Benchmark* pBenchmark)
{
    SizeRange(pBenchmark);
    pBenchmark->Arg(4000000);
}

// The mixed mesh with UVs, edges and one distinct normal per polygon vertex.
void FillMixedMesh(MoxMesh& pMesh, int pPolygonCount)
{
    moxbench::FillMoxMesh(pMesh, moxbench::MixedMesh(pPolygonCount), true);
    pMesh.BuildMeshEdgeArray();
    const int lCount = pMesh.GetPolygonVertexCount();
    pMesh.InitNormals(lCount);
    MoxLayerElementArrayTemplate<MoxVector4>* lNormals = nullptr;
    pMesh.GetNormals(&lNormals);
    MoxVector4* lData = lNormals->GetLocked();
    for (int i = 0; i < lCount; ++i) lData[i] = MoxVector4(i % 7, i % 5, 1.0, 1.0);
    lNormals->Release(&lData);
}

void BM_SplitPoints(benchmark::State& pState)
{
    MoxManager* lManager = MoxManager::Create();
    MoxMesh* lSource = MoxMesh::Create(lManager, "source");
    MoxMesh* lMesh = MoxMesh::Create(lManager, "mesh");
    FillMixedMesh(*lSource, static_cast<int>(pState.range(0)));
    for (auto _ : pState) {
        pState.PauseTiming();
        lMesh->Copy(*lSource);
        pState.ResumeTiming();
        benchmark::DoNotOptimize(lMesh->SplitPoints());
    }
    pState.SetItemsProcessed(pState.iterations() * lSource->GetPolygonCount());
    pState.counters["points"] = lMesh->GetControlPointsCount();
    lManager->Destroy();
}
BENCHMARK(BM_SplitPoints)->Apply(SizeRange);

void BM_BuildMergeList(benchmark::State& pState)
{
    MoxManager* lManager = MoxManager::Create();
    MoxMesh* lMesh = MoxMesh::Create(lManager, "torus");
    const moxbench::MeshData lTorus =
        moxbench::Torus(static_cast<int>(pState.range(0)), moxbench::ETorusPolygons::eTriangles);
    moxbench::FillMoxMesh(*lMesh, lTorus, false);
    lMesh->CreateLayer();
    lMesh->SplitPoints();
    MoxArray<int> lList;
    for (auto _ : pState) benchmark::DoNotOptimize(lMesh->BuildMergeList(lList));
    pState.SetItemsProcessed(pState.iterations() * lTorus.PolygonCount());
    pState.counters["points"] = lMesh->GetControlPointsCount();
    lManager->Destroy();
}
BENCHMARK(BM_BuildMergeList)->Apply(MergeSizeRange);

// One streaming pass over the corners of the same torus: read the index and the position, write one
// double4 per corner.
void BM_StreamingFloor(benchmark::State& pState)
{
    const moxbench::MeshData lTorus =
        moxbench::Torus(static_cast<int>(pState.range(0)), moxbench::ETorusPolygons::eTriangles);
    std::vector<MoxVector4> lOut(lTorus.mPolygonVertices.size());
    for (auto _ : pState) {
        for (size_t k = 0; k < lTorus.mPolygonVertices.size(); ++k) {
            const double* lPosition = &lTorus.mPositions[3 * size_t(lTorus.mPolygonVertices[k])];
            lOut[k] = MoxVector4(lPosition[0], lPosition[1], lPosition[2]);
        }
        benchmark::DoNotOptimize(lOut.data());
        benchmark::ClobberMemory();
    }
    pState.SetItemsProcessed(pState.iterations() * lTorus.PolygonCount());
}
BENCHMARK(BM_StreamingFloor)->Apply(SizeRange);

void BM_MergePoints(benchmark::State& pState)
{
    MoxManager* lManager = MoxManager::Create();
    MoxMesh* lSource = MoxMesh::Create(lManager, "source");
    MoxMesh* lMesh = MoxMesh::Create(lManager, "mesh");
    FillMixedMesh(*lSource, static_cast<int>(pState.range(0)));
    lSource->SplitPoints();
    MoxArray<int> lList;
    lSource->BuildMergeList(lList);
    MoxArray<int> lWork;
    for (auto _ : pState) {
        pState.PauseTiming();
        lMesh->Copy(*lSource);
        lWork = lList;
        pState.ResumeTiming();
        lMesh->MergePointsForPolygonVerteNormals(lWork);
    }
    pState.SetItemsProcessed(pState.iterations() * lSource->GetPolygonCount());
    pState.counters["points"] = lMesh->GetControlPointsCount();
    lManager->Destroy();
}
BENCHMARK(BM_MergePoints)->Apply(MergeSizeRange);

}  // namespace
