// Normal generation by control point and by polygon vertex with smoothing by polygon, and the winding
// check, on the closed, UV-mapped mixed mesh at 10k, 100k and 1M polygons; beside each figure the plain
// pass (read the polygon vertices, write one MoxVector4 each). The torus of 1,000,000 triangles is the
// mesh of the peer table (see the shared benchmark notes).
#include <vector>

#include <benchmark/benchmark.h>

#include "scene/moxmeshnormals_benchmesh.h"

namespace {

using namespace moxnormalsbench;

void BM_PlainPass(benchmark::State& pState)
{
    MoxMesh* lMesh = NewMesh(MixedData(int(pState.range(0))));
    std::vector<MoxVector4> lOut(size_t(lMesh->GetPolygonVertexCount()));
    for (auto _ : pState) {
        PlainPass(*lMesh, lOut.data());
        benchmark::DoNotOptimize(lOut.data());
    }
    SetPerPolygon(pState, *lMesh);
    lMesh->Destroy();
}
BENCHMARK(BM_PlainPass)->Apply(SizeRange);

// The same pass into an output allocated afresh each time, as the normal element is: at 1M polygons the
// fresh pages (not the arithmetic) set the pace of both.
void BM_PlainPassFreshOutput(benchmark::State& pState)
{
    MoxMesh* lMesh = NewMesh(MixedData(int(pState.range(0))));
    for (auto _ : pState) {
        moxsdk::MoxArray<MoxVector4> lOut;
        lOut.Resize(lMesh->GetPolygonVertexCount());
        PlainPass(*lMesh, lOut.GetArray());
        benchmark::DoNotOptimize(lOut.GetArray());
    }
    SetPerPolygon(pState, *lMesh);
    lMesh->Destroy();
}
BENCHMARK(BM_PlainPassFreshOutput)->Apply(SizeRange);

void BM_GenerateNormalsByControlPoint(benchmark::State& pState)
{
    MoxMesh* lMesh = NewMesh(MixedData(int(pState.range(0))));
    for (auto _ : pState) lMesh->GenerateNormals(true, true, false);
    SetPerPolygon(pState, *lMesh);
    lMesh->Destroy();
}
BENCHMARK(BM_GenerateNormalsByControlPoint)->Apply(SizeRange);

void BM_GenerateNormalsFaceted(benchmark::State& pState)
{
    MoxMesh* lMesh = NewMesh(MixedData(int(pState.range(0))));
    for (auto _ : pState) lMesh->GenerateNormals(true, false, false);
    SetPerPolygon(pState, *lMesh);
    lMesh->Destroy();
}
BENCHMARK(BM_GenerateNormalsFaceted)->Apply(SizeRange);

void BM_GenerateNormalsSmoothedByPolygon(benchmark::State& pState)
{
    MoxMesh* lMesh = NewMesh(MixedData(int(pState.range(0))));
    AddPolygonSmoothing(*lMesh);
    for (auto _ : pState) lMesh->GenerateNormals(true, false, false);
    SetPerPolygon(pState, *lMesh);
    lMesh->Destroy();
}
BENCHMARK(BM_GenerateNormalsSmoothedByPolygon)->Apply(SizeRange);

// Normals made clockwise, so the check scans every control point before answering false.
void BM_CheckIfVertexNormalsCCW(benchmark::State& pState)
{
    MoxMesh* lMesh = NewMesh(MixedData(int(pState.range(0))));
    lMesh->GenerateNormals(true, true, true);
    for (auto _ : pState) benchmark::DoNotOptimize(lMesh->CheckIfVertexNormalsCCW());
    SetPerPolygon(pState, *lMesh);
    lMesh->Destroy();
}
BENCHMARK(BM_CheckIfVertexNormalsCCW)->Apply(SizeRange);

// ---- The peer torus: 1,000,000 triangles ----------------------------------------------------------------

MoxMesh* PeerTorus()
{
    static MoxMesh* sgMesh = NewMesh(moxbench::Torus(1000000, moxbench::ETorusPolygons::eTriangles));
    return sgMesh;
}

void BM_TorusPlainPass(benchmark::State& pState)
{
    MoxMesh* lMesh = PeerTorus();
    std::vector<MoxVector4> lOut(size_t(lMesh->GetPolygonVertexCount()));
    for (auto _ : pState) {
        PlainPass(*lMesh, lOut.data());
        benchmark::DoNotOptimize(lOut.data());
    }
    SetPerPolygon(pState, *lMesh);
}
BENCHMARK(BM_TorusPlainPass)->Unit(benchmark::kMillisecond);

// Smooth normals per point (the peers' face plus vertex normals).
void BM_TorusNormalsByControlPoint(benchmark::State& pState)
{
    MoxMesh* lMesh = PeerTorus();
    for (auto _ : pState) lMesh->GenerateNormals(true, true, false);
    SetPerPolygon(pState, *lMesh);
}
BENCHMARK(BM_TorusNormalsByControlPoint)->Unit(benchmark::kMillisecond);

// Per-corner normals with hard polygons (the peers' per-corner normals with a feature angle).
void BM_TorusNormalsSmoothedByPolygon(benchmark::State& pState)
{
    MoxMesh* lMesh = PeerTorus();
    if (lMesh->GetElementSmoothingCount() == 0) AddPolygonSmoothing(*lMesh);
    for (auto _ : pState) lMesh->GenerateNormals(true, false, false);
    SetPerPolygon(pState, *lMesh);
}
BENCHMARK(BM_TorusNormalsSmoothedByPolygon)->Unit(benchmark::kMillisecond);

}  // namespace
