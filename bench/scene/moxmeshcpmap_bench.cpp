// The control-point-to-polygon-vertices map on the closed mixed triangle/quad mesh, 10k to 1M polygons.
#include <benchmark/benchmark.h>

#include "moxsdk/scene/geometry/moxmesh.h"
#include "moxsdk/scene/moxmanager.h"
#include "support/moxbenchmoxmesh.h"

namespace {

using namespace moxsdk;

void SizeRange(benchmark::internal::Benchmark* pBenchmark)
{
    pBenchmark->RangeMultiplier(10)->Range(10000, 1000000)->Unit(benchmark::kMillisecond);
}

void BM_ComputeControlPointToVerticesMap(benchmark::State& pState)
{
    const int lCount = static_cast<int>(pState.range(0));
    MoxManager* lManager = MoxManager::Create();
    MoxMesh* lMesh = MoxMesh::Create(lManager, "bench");
    moxbench::FillMoxMesh(*lMesh, moxbench::MixedMesh(lCount), false);
    MoxMesh::ControlPointToVerticesMap lMap;
    for (auto _ : pState) {
        lMesh->ComputeControlPointToVerticesMap(lMap);
        benchmark::DoNotOptimize(lMap.mVertices.GetArray());
    }
    pState.SetItemsProcessed(pState.iterations() * lCount);
    lMap.Clear();
    lManager->Destroy();
}
BENCHMARK(BM_ComputeControlPointToVerticesMap)->Apply(SizeRange);

}  // namespace
