// Normal generation smoothed by edge and conforming normals, which read the edge table and the
// control-point map: the mixed mesh at 10k, 100k and 1M polygons beside the plain pass, the peer torus of
// 1,000,000 triangles, and a fan apex shared by 100,000 polygons.
#include <cmath>
#include <vector>

#include <benchmark/benchmark.h>

#include "scene/moxmeshnormals_benchmesh.h"

namespace {

using namespace moxnormalsbench;

void BM_GenerateNormalsSmoothedByEdge(benchmark::State& pState)
{
    MoxMesh* lMesh = NewMesh(MixedData(int(pState.range(0))));
    lMesh->BuildMeshEdgeArray();
    AddEdgeSmoothing(*lMesh);
    for (auto _ : pState) lMesh->GenerateNormals(true, false, false);
    SetPerPolygon(pState, *lMesh);
    lMesh->Destroy();
}
BENCHMARK(BM_GenerateNormalsSmoothedByEdge)->Apply(SizeRange);

// The part of the figure above that belongs to the edge queries: opening and closing the two edge
// lookups that GenerateNormals opens when a smoothing element is mapped by edge.
void BM_EdgeLookupsOpenAndClose(benchmark::State& pState)
{
    MoxMesh* lMesh = NewMesh(MixedData(int(pState.range(0))));
    lMesh->BuildMeshEdgeArray();
    for (auto _ : pState) {
        lMesh->BeginGetMeshEdgeIndexForPolygon();
        lMesh->BeginGetMeshEdgeVertices();
        lMesh->EndGetMeshEdgeVertices();
        lMesh->EndGetMeshEdgeIndexForPolygon();
    }
    SetPerPolygon(pState, *lMesh);
    lMesh->Destroy();
}
BENCHMARK(BM_EdgeLookupsOpenAndClose)->Apply(SizeRange);

// This mesh faceted, conformed to the same mesh smoothed by polygon (every control point with more than
// two polygon vertices has coinciding reference normals).
void BM_ConformNormalsTo(benchmark::State& pState)
{
    MoxMesh* lMesh = NewMesh(MixedData(int(pState.range(0))));
    MoxMesh* lReference = NewMesh(MixedData(int(pState.range(0))));
    AddPolygonSmoothing(*lReference);
    lReference->GenerateNormals(true, false, false);
    for (auto _ : pState) {
        pState.PauseTiming();
        lMesh->GenerateNormals(true, false, false);
        pState.ResumeTiming();
        benchmark::DoNotOptimize(lMesh->ConformNormalsTo(lReference));
    }
    SetPerPolygon(pState, *lMesh);
    lMesh->Destroy();
    lReference->Destroy();
}
BENCHMARK(BM_ConformNormalsTo)->Apply(SizeRange);

// A cone of 100,000 triangles around one apex, conformed to a faceted reference (100,000 distinct normals
// at the apex; Arg 0) and to a reference smoothed by polygon (three apex corners in four share one normal;
// Arg 1).
void BM_ConformNormalsToFanApex(benchmark::State& pState)
{
    const int lCount = 100000;
    moxbench::MeshData lFan;
    lFan.mPositions = {0.0, 0.0, 0.5};
    for (int i = 0; i < lCount; ++i) {
        const double lAngle = 6.283185307179586 * i / lCount;
        lFan.mPositions.insert(lFan.mPositions.end(), {std::cos(lAngle), std::sin(lAngle), 0.0});
        lFan.mPolygonSizes.push_back(3);
        lFan.mPolygonVertices.insert(lFan.mPolygonVertices.end(), {0, 1 + i, 1 + (i + 1) % lCount});
    }
    MoxMesh* lMesh = NewMesh(lFan);
    MoxMesh* lReference = NewMesh(lFan);
    if (pState.range(0)) AddPolygonSmoothing(*lReference);
    lReference->GenerateNormals(true, false, false);
    for (auto _ : pState) {
        pState.PauseTiming();
        lMesh->GenerateNormals(true, false, false);
        pState.ResumeTiming();
        benchmark::DoNotOptimize(lMesh->ConformNormalsTo(lReference));
    }
    SetPerPolygon(pState, *lMesh);
    lMesh->Destroy();
    lReference->Destroy();
}
BENCHMARK(BM_ConformNormalsToFanApex)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

void BM_TorusNormalsSmoothedByEdge(benchmark::State& pState)
{
    MoxMesh* lMesh = NewMesh(moxbench::Torus(1000000, moxbench::ETorusPolygons::eTriangles));
    lMesh->BuildMeshEdgeArray();
    AddEdgeSmoothing(*lMesh);
    for (auto _ : pState) lMesh->GenerateNormals(true, false, false);
    SetPerPolygon(pState, *lMesh);
    lMesh->Destroy();
}
BENCHMARK(BM_TorusNormalsSmoothedByEdge)->Unit(benchmark::kMillisecond);

}  // namespace
