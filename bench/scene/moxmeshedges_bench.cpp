// The edge table, edge caches, edge queries, edge removal and component maps of MoxMesh, on the mixed
// triangle/quad mesh and the quad torus at 10k, 100k and 1M polygons, and on a fan of 100k triangles whose
// apex starts every spoke. Items are polygons: the time per polygon should stay flat across sizes.
#include <benchmark/benchmark.h>

#include "moxsdk/scene/geometry/moxmesh.h"
#include "moxsdk/scene/moxmanager.h"
#include "support/moxbenchmeshes.h"
#include "support/moxbenchmoxmesh.h"

namespace {

using moxsdk::MoxArray;
using moxsdk::MoxMesh;

enum EMeshKind { eMixed = 0, eTorus = 1, eFan = 2 };

// A manager with one mesh loaded from the procedural mesh of the benchmark's arguments (kind, polygons).
class BenchMesh {
public:
    explicit BenchMesh(const benchmark::State& pState) : mManager(moxsdk::MoxManager::Create())
    {
        const int lPolygons = static_cast<int>(pState.range(1));
        const auto lKind = static_cast<EMeshKind>(pState.range(0));
        const moxbench::MeshData lData = lKind == eMixed ? moxbench::MixedMesh(lPolygons)
                                         : lKind == eTorus
                                             ? moxbench::Torus(2 * lPolygons, moxbench::ETorusPolygons::eQuads)
                                             : moxbench::Fan(lPolygons);
        mMesh = MoxMesh::Create(mManager, "bench");
        moxbench::FillMoxMesh(*mMesh, lData, false);
    }
    ~BenchMesh() { mManager->Destroy(); }
    BenchMesh(const BenchMesh&) = delete;
    BenchMesh& operator=(const BenchMesh&) = delete;

    MoxMesh& operator*() const { return *mMesh; }
    MoxMesh* operator->() const { return mMesh; }

private:
    moxsdk::MoxManager* mManager;
    MoxMesh* mMesh = nullptr;
};

void Sizes(benchmark::internal::Benchmark* pBenchmark)
{
    pBenchmark->ArgNames({"mesh", "polygons"});
    pBenchmark->ArgsProduct({{eMixed, eTorus}, {10000, 100000, 1000000}});
    pBenchmark->Args({eFan, 100000});
    pBenchmark->Unit(benchmark::kMillisecond);
}

void CountPolygons(benchmark::State& pState, const MoxMesh& pMesh)
{
    pState.SetItemsProcessed(pState.iterations() * pMesh.GetPolygonCount());
}

void BM_BuildMeshEdgeArray(benchmark::State& pState)
{
    BenchMesh lMesh(pState);
    for (auto _ : pState) {
        lMesh->BuildMeshEdgeArray();
        benchmark::DoNotOptimize(lMesh->mEdgeArray.GetArray());
    }
    CountPolygons(pState, *lMesh);
}
BENCHMARK(BM_BuildMeshEdgeArray)->Apply(Sizes);

// BeginGetMeshEdgeIndexForPolygon, the edge of every polygon side, EndGetMeshEdgeIndexForPolygon.
void BM_EdgeIndexForEverySide(benchmark::State& pState)
{
    BenchMesh lMesh(pState);
    lMesh->BuildMeshEdgeArray();
    for (auto _ : pState) {
        lMesh->BeginGetMeshEdgeIndexForPolygon();
        long long lSum = 0;
        for (int p = 0; p < lMesh->GetPolygonCount(); ++p)
            for (int i = 0; i < lMesh->GetPolygonSize(p); ++i) lSum += lMesh->GetMeshEdgeIndexForPolygon(p, i);
        lMesh->EndGetMeshEdgeIndexForPolygon();
        benchmark::DoNotOptimize(lSum);
    }
    CountPolygons(pState, *lMesh);
}
BENCHMARK(BM_EdgeIndexForEverySide)->Apply(Sizes);

// BeginAddMeshEdgeIndex (map and edge set of every edge), then EndAddMeshEdgeIndex.
void BM_BeginAddMeshEdgeIndex(benchmark::State& pState)
{
    BenchMesh lMesh(pState);
    lMesh->BuildMeshEdgeArray();
    for (auto _ : pState) {
        lMesh->BeginAddMeshEdgeIndex();
        benchmark::DoNotOptimize(lMesh->mV2PVMap.mVertex2PV);
        lMesh->EndAddMeshEdgeIndex();
    }
    CountPolygons(pState, *lMesh);
}
BENCHMARK(BM_BeginAddMeshEdgeIndex)->Apply(Sizes);

// BeginGetMeshEdgeVertices, both control points of every edge, EndGetMeshEdgeVertices.
void BM_EdgeVerticesOfEveryEdge(benchmark::State& pState)
{
    BenchMesh lMesh(pState);
    lMesh->BuildMeshEdgeArray();
    for (auto _ : pState) {
        lMesh->BeginGetMeshEdgeVertices();
        long long lSum = 0;
        for (int e = 0; e < lMesh->GetMeshEdgeCount(); ++e) {
            int lStart = 0;
            int lEnd = 0;
            lMesh->GetMeshEdgeVertices(e, lStart, lEnd);
            lSum += lStart + lEnd;
        }
        lMesh->EndGetMeshEdgeVertices();
        benchmark::DoNotOptimize(lSum);
    }
    CountPolygons(pState, *lMesh);
}
BENCHMARK(BM_EdgeVerticesOfEveryEdge)->Apply(Sizes);

void BM_ComputeComponentMaps(benchmark::State& pState)
{
    BenchMesh lMesh(pState);
    lMesh->BuildMeshEdgeArray();
    MoxMesh::ComponentMap lEdgeToPolygons;
    MoxMesh::ComponentMap lPolygonToEdges;
    for (auto _ : pState) {
        lMesh->ComputeComponentMaps(lEdgeToPolygons, lPolygonToEdges);
        benchmark::DoNotOptimize(lEdgeToPolygons.mData.GetArray());
    }
    CountPolygons(pState, *lMesh);
}
BENCHMARK(BM_ComputeComponentMaps)->Apply(Sizes);

// Every tenth edge removed, from the edge array and an edge-mapped crease element; the arrays are put
// back outside the timing.
void BM_RemoveTenPercentOfEdges(benchmark::State& pState)
{
    BenchMesh lMesh(pState);
    lMesh->BuildMeshEdgeArray();
    const int lEdgeCount = lMesh->GetMeshEdgeCount();
    moxsdk::MoxLayerElementCrease* lCreases = moxsdk::MoxLayerElementCrease::Create(&*lMesh, "");
    lCreases->SetMappingMode(moxsdk::MoxLayerElement::eByEdge);
    lCreases->GetDirectArray().SetCount(lEdgeCount);
    lMesh->GetLayer(0)->SetEdgeCrease(lCreases);
    const MoxArray<int> lEdges = lMesh->mEdgeArray;
    MoxArray<int> lList;
    for (int e = 0; e < lEdgeCount; e += 10) lList.Add(e);
    for (auto _ : pState) {
        pState.PauseTiming();
        lMesh->mEdgeArray = lEdges;
        lCreases->GetDirectArray().SetCount(lEdgeCount);
        pState.ResumeTiming();
        benchmark::DoNotOptimize(lMesh->RemoveDuplicatedEdges(lList));
    }
    CountPolygons(pState, *lMesh);
}
BENCHMARK(BM_RemoveTenPercentOfEdges)->Apply(Sizes);

}  // namespace
