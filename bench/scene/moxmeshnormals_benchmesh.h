#pragma once
// The meshes of the normal benchmarks: the closed, UV-mapped mixed mesh of triangles and quads at a
// given polygon count, with a smoothing element that leaves some of it hard, and the plain pass that
// every normal figure is compared with.

#include <map>
#include <memory>

#include <benchmark/benchmark.h>

#include "moxsdk/scene/geometry/moxmesh.h"
#include "moxsdk/scene/moxmanager.h"
#include "support/moxbenchmeshes.h"

namespace moxnormalsbench {

using moxsdk::MoxLayerElement;
using moxsdk::MoxMesh;
using moxsdk::MoxVector4;

inline moxsdk::MoxManager* Manager()
{
    static moxsdk::MoxManager* sgManager = moxsdk::MoxManager::Create();
    return sgManager;
}

// A fresh mesh filled with pData: control points, polygons, and the UV set on layer 0's default channel
// (per polygon vertex, index to direct), set through the element itself. Owned by the manager.
inline MoxMesh* NewMesh(const moxbench::MeshData& pData)
{
    MoxMesh* lMesh = MoxMesh::Create(Manager(), "bench");
    lMesh->InitControlPoints(pData.ControlPointCount());
    MoxVector4* lPoints = lMesh->GetControlPoints();
    for (int i = 0; i < pData.ControlPointCount(); ++i)
        lPoints[i] = MoxVector4(pData.mPositions[3 * size_t(i)], pData.mPositions[3 * size_t(i) + 1],
                                pData.mPositions[3 * size_t(i) + 2]);
    lMesh->mPolygons.Reserve(pData.PolygonCount());
    lMesh->mPolygonVertices.Reserve(pData.CornerCount());
    int lCorner = 0;
    for (int lSize : pData.mPolygonSizes) {
        lMesh->BeginPolygon(-1, -1, -1, false);
        for (int k = 0; k < lSize; ++k) lMesh->AddPolygon(pData.mPolygonVertices[size_t(lCorner++)], -1);
        lMesh->EndPolygon();
    }
    if (pData.UVCount() > 0 && lMesh->GetLayer(0)) {
        moxsdk::MoxLayerElementUV* lUVs = moxsdk::MoxLayerElementUV::Create(lMesh, "map");
        lUVs->SetMappingMode(MoxLayerElement::eByPolygonVertex);
        lUVs->SetReferenceMode(MoxLayerElement::eIndexToDirect);
        for (int i = 0; i < pData.UVCount(); ++i)
            lUVs->mDirectArray->Add(moxsdk::MoxVector2(pData.mUVs[2 * size_t(i)], pData.mUVs[2 * size_t(i) + 1]));
        for (int lIndex : pData.mUVIndices) lUVs->mIndexArray->Add(lIndex);
        lMesh->GetLayer(0)->SetUVs(lUVs, MoxLayerElement::eTextureChannel0);
    }
    return lMesh;
}

// The mixed mesh of about pPolygons polygons, built once per size.
inline const moxbench::MeshData& MixedData(int pPolygons)
{
    static std::map<int, std::unique_ptr<moxbench::MeshData>> sgCache;
    std::unique_ptr<moxbench::MeshData>& lData = sgCache[pPolygons];
    if (!lData) lData = std::make_unique<moxbench::MeshData>(moxbench::MixedMesh(pPolygons, 1));
    return *lData;
}

// A smoothing element by polygon: one polygon in four is hard (group 0), the others in group 1.
inline void AddPolygonSmoothing(MoxMesh& pMesh)
{
    moxsdk::MoxLayerElementSmoothing* lElement = moxsdk::MoxLayerElementSmoothing::Create(&pMesh, "");
    lElement->SetMappingMode(MoxLayerElement::eByPolygon);
    lElement->mDirectArray->SetCount(pMesh.GetPolygonCount());
    int* lValues = lElement->mDirectArray->GetLocked();
    for (int p = 0; p < pMesh.GetPolygonCount(); ++p) lValues[p] = (p * 2654435761u >> 7) % 4 == 0 ? 0 : 1;
    lElement->mDirectArray->Release(&lValues);
    pMesh.GetLayer(0)->SetSmoothing(lElement);
}

// A smoothing element by edge over the built edge table: one edge in five is hard.
inline void AddEdgeSmoothing(MoxMesh& pMesh)
{
    moxsdk::MoxLayerElementSmoothing* lElement = moxsdk::MoxLayerElementSmoothing::Create(&pMesh, "");
    lElement->SetMappingMode(MoxLayerElement::eByEdge);
    lElement->mDirectArray->SetCount(pMesh.GetMeshEdgeCount());
    int* lValues = lElement->mDirectArray->GetLocked();
    for (int e = 0; e < pMesh.GetMeshEdgeCount(); ++e) lValues[e] = e % 5 == 0 ? 0 : 1;
    lElement->mDirectArray->Release(&lValues);
    pMesh.GetLayer(0)->SetSmoothing(lElement);
}

// The floor every normal figure is read against: one pass that reads each polygon's vertices and the
// control point there, and writes one MoxVector4 per polygon vertex.
inline void PlainPass(const MoxMesh& pMesh, MoxVector4* pOut)
{
    const MoxMesh::PolygonDef* lPolygons = pMesh.mPolygons.GetArray();
    const int* lVertices = pMesh.mPolygonVertices.GetArray();
    const MoxVector4* lPoints = pMesh.GetControlPoints();
    for (int p = 0; p < pMesh.GetPolygonCount(); ++p)
        for (int k = 0; k < lPolygons[p].mSize; ++k) {
            const int lPolygonVertex = lPolygons[p].mIndex + k;
            pOut[lPolygonVertex] = lPoints[lVertices[lPolygonVertex]];
        }
}

inline void SetPerPolygon(benchmark::State& pState, const MoxMesh& pMesh)
{
    pState.SetItemsProcessed(int64_t(pState.iterations()) * pMesh.GetPolygonCount());
    pState.counters["ns/polygon"] = benchmark::Counter(double(pMesh.GetPolygonCount()) * double(pState.iterations()),
                                                       benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
    pState.counters["polygons"] = pMesh.GetPolygonCount();
}

inline void SizeRange(benchmark::internal::Benchmark* pBenchmark)
{
    pBenchmark->Arg(10000)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);
}

}  // namespace moxnormalsbench
