// Polygon removal and degenerate-polygon clean-up on the closed mixed triangle/quad mesh, 10k to 1M
// polygons. Items are polygons of the mesh, so the time per item shows whether one call stays linear.
#include <cstdint>
#include <unordered_map>

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

// The edge table the edge walk builds: the first polygon side met per unordered pair of control points.
void BuildEdges(MoxMesh& pMesh)
{
    std::unordered_map<uint64_t, int> lSeen;
    lSeen.reserve(size_t(pMesh.GetPolygonVertexCount()));
    for (int p = 0; p < pMesh.GetPolygonCount(); ++p) {
        const int lFirst = pMesh.mPolygons[p].mIndex;
        const int lSize = pMesh.mPolygons[p].mSize;
        for (int k = 0; k < lSize; ++k) {
            const uint32_t lA = uint32_t(pMesh.mPolygonVertices[lFirst + k]);
            const uint32_t lB = uint32_t(pMesh.mPolygonVertices[lFirst + (k + 1) % lSize]);
            const uint64_t lKey = lA < lB ? (uint64_t(lA) << 32 | lB) : (uint64_t(lB) << 32 | lA);
            if (lSeen.emplace(lKey, lFirst + k).second) pMesh.mEdgeArray.Add(lFirst + k);
        }
    }
}

template <class ELEMENT, class T>
ELEMENT* AddElement(MoxMesh& pMesh, MoxLayerElement::EMappingMode pMapping, MoxLayerElement::EReferenceMode pReference,
                    int pCount, const T& pValue)
{
    ELEMENT* lElement = ELEMENT::Create(&pMesh, "");
    lElement->SetMappingMode(pMapping);
    lElement->SetReferenceMode(pReference);
    lElement->mDirectArray->SetCount(pCount);
    for (int i = 0; i < pCount; ++i) lElement->mDirectArray->SetAt(i, pValue);
    if (pReference != MoxLayerElement::eDirect) {
        lElement->mIndexArray->SetCount(pCount);
        for (int i = 0; i < pCount; ++i) lElement->mIndexArray->SetAt(i, i);
    }
    return lElement;
}

// The mixed mesh with an edge table and a few elements on layer 0: UVs and normals per polygon vertex,
// materials per polygon, smoothing and edge creases per edge.
MoxMesh* MakeMesh(MoxManager& pManager, int pPolygonCount)
{
    MoxMesh* lMesh = MoxMesh::Create(&pManager, "bench");
    moxbench::FillMoxMesh(*lMesh, moxbench::MixedMesh(pPolygonCount), false);
    BuildEdges(*lMesh);
    MoxLayer* lLayer = lMesh->GetLayer(0);
    const int lCorners = lMesh->GetPolygonVertexCount();
    const int lEdges = lMesh->GetMeshEdgeCount();
    lLayer->SetUVs(AddElement<MoxLayerElementUV>(*lMesh, MoxLayerElement::eByPolygonVertex,
                                                 MoxLayerElement::eIndexToDirect, lCorners, MoxVector2(0.5, 0.5)));
    lLayer->SetNormals(AddElement<MoxLayerElementNormal>(*lMesh, MoxLayerElement::eByPolygonVertex,
                                                         MoxLayerElement::eDirect, lCorners, MoxVector4(0, 0, 1)));
    lLayer->SetMaterials(AddElement<MoxLayerElementMaterial>(*lMesh, MoxLayerElement::eByPolygon,
                                                             MoxLayerElement::eIndexToDirect, lMesh->GetPolygonCount(),
                                                             static_cast<MoxSurfaceMaterial*>(nullptr)));
    lLayer->SetSmoothing(
        AddElement<MoxLayerElementSmoothing>(*lMesh, MoxLayerElement::eByEdge, MoxLayerElement::eDirect, lEdges, 1));
    lLayer->SetEdgeCrease(
        AddElement<MoxLayerElementCrease>(*lMesh, MoxLayerElement::eByEdge, MoxLayerElement::eDirect, lEdges, 0.5));
    return lMesh;
}

// One polygon from the middle per iteration: the edge re-pointing scans every corner once, the arrays
// lose their entries in one pass each.
void BM_RemovePolygon(benchmark::State& pState)
{
    const int lCount = static_cast<int>(pState.range(0));
    MoxManager* lManager = MoxManager::Create();
    MoxMesh* lMesh = MakeMesh(*lManager, lCount);
    for (auto _ : pState) benchmark::DoNotOptimize(lMesh->RemovePolygon(lMesh->GetPolygonCount() / 2));
    pState.SetItemsProcessed(pState.iterations() * lCount);
    lManager->Destroy();
}
BENCHMARK(BM_RemovePolygon)->Apply(SizeRange);

// A clean mesh: every polygon is sorted and checked, nothing is found.
void BM_CheckSamePointTwice(benchmark::State& pState)
{
    const int lCount = static_cast<int>(pState.range(0));
    MoxManager* lManager = MoxManager::Create();
    MoxMesh* lMesh = MakeMesh(*lManager, lCount);
    for (auto _ : pState) benchmark::DoNotOptimize(lMesh->CheckSamePointTwice());
    pState.SetItemsProcessed(pState.iterations() * lCount);
    lManager->Destroy();
}
BENCHMARK(BM_CheckSamePointTwice)->Apply(SizeRange);

// Five polygons spread over the mesh are made bad (a repeated corner) before each call; the call finds
// and removes them, one RemovePolygon each.
void BM_RemoveBadPolygons(benchmark::State& pState)
{
    const int lCount = static_cast<int>(pState.range(0));
    const int lBad = 5;
    MoxManager* lManager = MoxManager::Create();
    MoxMesh* lMesh = MakeMesh(*lManager, lCount);
    for (auto _ : pState) {
        for (int i = 0; i < lBad; ++i) {
            const MoxMesh::PolygonDef& lPolygon =
                lMesh->mPolygons[(2 * i + 1) * (lMesh->GetPolygonCount() / (2 * lBad))];
            lMesh->mPolygonVertices[lPolygon.mIndex + 1] = lMesh->mPolygonVertices[lPolygon.mIndex];
        }
        benchmark::DoNotOptimize(lMesh->RemoveBadPolygons());
    }
    pState.SetItemsProcessed(pState.iterations() * lCount);
    lManager->Destroy();
}
BENCHMARK(BM_RemoveBadPolygons)->Apply(SizeRange);

}  // namespace
