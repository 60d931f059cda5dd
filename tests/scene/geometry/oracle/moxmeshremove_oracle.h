#pragma once
// Plain, literal versions of polygon removal, bad-polygon collection and the edge-table walk, written for
// clarity rather than speed: the corner search runs once per edge over every corner of every other
// polygon, array entries go one RemoveAt at a time, and the all-pairs vertex comparison runs as written.
// The tests compare the library against them.

#include <cstdint>
#include <map>
#include <vector>

#include "moxsdk/scene/geometry/moxmesh.h"

namespace moxoracle {

using moxsdk::MoxArray;
using moxsdk::MoxLayer;
using moxsdk::MoxLayerElement;
using moxsdk::MoxMesh;

// Reaches the mesh's protected members for the tests.
struct MeshAccess : MoxMesh {
    static int CallGetIndex(const MoxMesh& pMesh, int pPolygonVertex, int pCount)
    {
        return (pMesh.*(&MeshAccess::GetIndex))(pPolygonVertex, pCount);
    }
    static bool CallGetBadPolyIndices(const MoxMesh& pMesh, MoxArray<int>& pList, bool pCheckOne)
    {
        return (pMesh.*(&MeshAccess::GetBadPolyIndices))(pList, pCheckOne);
    }
    static void CallRemoveUVIndex(MoxMesh& pMesh, moxsdk::MoxLayerElementUV* pElement, int pPolygon, int pStart)
    {
        (pMesh.*(&MeshAccess::RemoveUVIndex))(pElement, pPolygon, pStart);
    }
    static void CallRemoveTextureIndex(MoxMesh& pMesh, moxsdk::MoxLayerElementTexture* pElement, int pPolygon,
                                       int pStart)
    {
        (pMesh.*(&MeshAccess::RemoveTextureIndex))(pElement, pPolygon, pStart);
    }
};

inline int Wrap(int64_t pValue)
{
    return static_cast<int>(static_cast<uint32_t>(pValue));
}

// The edge table as the multimap walk builds it: the first side met per unordered pair of control points.
inline void BuildEdgesByWalk(MoxMesh& pMesh)
{
    pMesh.mEdgeArray.Clear();
    std::vector<int> lEnds;
    std::multimap<int, int> lStarts;
    for (int p = 0; p < pMesh.GetPolygonCount(); ++p) {
        const int lSize = pMesh.GetPolygonSize(p);
        const int lFirst = pMesh.mPolygons[p].mIndex;
        for (int j = 0; j < lSize; ++j) {
            const int lA = pMesh.mPolygonVertices[lFirst + j];
            const int lB = pMesh.mPolygonVertices[lFirst + (j + 1) % lSize];
            bool lKnown = false;
            auto lRange = lStarts.equal_range(lA);
            for (auto i = lRange.first; i != lRange.second && !lKnown; ++i)
                lKnown = pMesh.mPolygonVertices[lEnds[size_t(i->second)]] == lB;
            lRange = lStarts.equal_range(lB);
            for (auto i = lRange.first; i != lRange.second && !lKnown; ++i)
                lKnown = pMesh.mPolygonVertices[lEnds[size_t(i->second)]] == lA;
            if (lKnown) continue;
            pMesh.mEdgeArray.Add(lFirst + j);
            lStarts.insert({lA, pMesh.mEdgeArray.GetCount() - 1});
            lEnds.push_back(lFirst + (j + 1) % lSize);
        }
    }
}

template <class ARRAY>
void RemoveRun(ARRAY& pArray, int pStart, int pSize)
{
    for (int i = 0; i < pSize; ++i) pArray.RemoveAt(pStart);
}

template <class ARRAY>
void RemoveEdges(ARRAY& pArray, const MoxArray<int>& pEdges)
{
    for (int i = pEdges.GetCount() - 1; i >= 0; --i) pArray.RemoveAt(pEdges[i]);
}

struct Removal {
    int mPolygon;
    int mStart;
    int mSize;
    const MoxArray<int>* mEdges;
};

inline bool Indexed(const MoxLayerElement& pElement)
{
    return pElement.GetReferenceMode() == MoxLayerElement::eIndex ||
           pElement.GetReferenceMode() == MoxLayerElement::eIndexToDirect;
}

inline bool Direct(const MoxLayerElement& pElement)
{
    return pElement.GetReferenceMode() == MoxLayerElement::eDirect;
}

inline bool IndexToDirect(const MoxLayerElement& pElement)
{
    return pElement.GetReferenceMode() == MoxLayerElement::eIndexToDirect;
}

// Normals, tangents, binormals, vertex colours, polygon groups, visibility (pByEdge), UVs and textures.
template <class ELEMENT>
void UpdateFirstRow(ELEMENT* pElement, bool pByEdge, const Removal& pRemoval)
{
    if (!pElement) return;
    const MoxLayerElement::EMappingMode lMapping = pElement->GetMappingMode();
    if (lMapping == MoxLayerElement::eByPolygonVertex) {
        if (Indexed(*pElement))
            RemoveRun(pElement->GetIndexArray(), pRemoval.mStart, pRemoval.mSize);
        else if (Direct(*pElement))
            RemoveRun(pElement->GetDirectArray(), pRemoval.mStart, pRemoval.mSize);
    } else if (lMapping == MoxLayerElement::eByPolygon) {
        if (Indexed(*pElement))
            pElement->GetIndexArray().RemoveAt(pRemoval.mPolygon);
        else if (Direct(*pElement))
            pElement->GetDirectArray().RemoveAt(pRemoval.mPolygon);
    } else if (lMapping == MoxLayerElement::eByEdge && pByEdge) {
        if (IndexToDirect(*pElement))
            RemoveEdges(pElement->GetIndexArray(), *pRemoval.mEdges);
        else if (Direct(*pElement))
            RemoveEdges(pElement->GetDirectArray(), *pRemoval.mEdges);
    }
}

inline void UpdateMaterials(moxsdk::MoxLayerElementMaterial* pElement, const Removal& pRemoval)
{
    if (!pElement || !Indexed(*pElement)) return;
    if (pElement->GetMappingMode() == MoxLayerElement::eByPolygonVertex)
        RemoveRun(pElement->GetIndexArray(), pRemoval.mStart, pRemoval.mSize);
    else if (pElement->GetMappingMode() == MoxLayerElement::eByPolygon)
        pElement->GetIndexArray().RemoveAt(pRemoval.mPolygon);
}

inline void UpdateSmoothing(moxsdk::MoxLayerElementSmoothing* pElement, const Removal& pRemoval)
{
    if (!pElement) return;
    if (pElement->GetMappingMode() == MoxLayerElement::eByPolygon) UpdateFirstRow(pElement, false, pRemoval);
    if (pElement->GetMappingMode() == MoxLayerElement::eByEdge) UpdateFirstRow(pElement, true, pRemoval);
}

inline void UpdateUserData(moxsdk::MoxLayerElementUserData* pElement, const Removal& pRemoval)
{
    if (!pElement) return;
    const MoxLayerElement::EMappingMode lMapping = pElement->GetMappingMode();
    if (lMapping == MoxLayerElement::eByPolygonVertex) {
        if (Indexed(*pElement))
            RemoveRun(pElement->GetIndexArray(), pRemoval.mStart, pRemoval.mSize);
        else if (Direct(*pElement))
            for (int i = 0; i < pRemoval.mSize; ++i) pElement->RemoveFromAllDirectArrays(pRemoval.mStart);
    } else if (lMapping == MoxLayerElement::eByPolygon) {
        if (Indexed(*pElement))
            pElement->GetIndexArray().RemoveAt(pRemoval.mPolygon);
        else if (Direct(*pElement))
            pElement->RemoveFromAllDirectArrays(pRemoval.mPolygon);
    } else if (lMapping == MoxLayerElement::eByEdge) {
        if (IndexToDirect(*pElement))
            RemoveEdges(pElement->GetIndexArray(), *pRemoval.mEdges);
        else if (Direct(*pElement))
            for (int i = pRemoval.mEdges->GetCount() - 1; i >= 0; --i)
                pElement->RemoveFromAllDirectArrays((*pRemoval.mEdges)[i]);
    }
}

inline void UpdateEdgeCrease(moxsdk::MoxLayerElementCrease* pElement, const Removal& pRemoval)
{
    if (pElement && pElement->GetMappingMode() == MoxLayerElement::eByEdge) UpdateFirstRow(pElement, true, pRemoval);
}

// The literal removal of one UV or texture element's entries (the protected members' contract).
template <class ELEMENT>
void RemoveChannelIndex(MoxMesh& pMesh, ELEMENT* pElement, int pPolygon, int pStart)
{
    if (!pElement) return;
    const Removal lRemoval{pPolygon, pStart, pMesh.mPolygons[pPolygon].mSize, nullptr};
    UpdateFirstRow(pElement, false, lRemoval);
}

inline void UpdateLayer(MoxMesh& pMesh, MoxLayer& pLayer, const Removal& pRemoval)
{
    UpdateFirstRow(pLayer.GetNormals(), false, pRemoval);
    UpdateFirstRow(pLayer.GetTangents(), false, pRemoval);
    UpdateFirstRow(pLayer.GetBinormals(), false, pRemoval);
    UpdateFirstRow(pLayer.GetVertexColors(), false, pRemoval);
    UpdateMaterials(pLayer.GetMaterials(), pRemoval);
    for (int c = MoxLayerElement::eTextureChannel0; c <= MoxLayerElement::eTextureChannel16; ++c)
        RemoveChannelIndex(pMesh, pLayer.GetTextures(MoxLayerElement::EType(c)), pRemoval.mPolygon, pRemoval.mStart);
    for (int c = MoxLayerElement::eTextureChannel0; c <= MoxLayerElement::eTextureChannel16; ++c)
        RemoveChannelIndex(pMesh, pLayer.GetUVs(MoxLayerElement::EType(c)), pRemoval.mPolygon, pRemoval.mStart);
    UpdateFirstRow(pLayer.GetPolygonGroups(), false, pRemoval);
    UpdateSmoothing(pLayer.GetSmoothing(), pRemoval);
    UpdateUserData(pLayer.GetUserData(), pRemoval);
    UpdateFirstRow(pLayer.GetVisibility(), true, pRemoval);
    UpdateEdgeCrease(pLayer.GetEdgeCrease(), pRemoval);
}

// The corner search for one edge (a, b): the first corner (q, k) of another polygon, in (q, k) order,
// whose clamped ends are (a, b) or (b, a). On a match pCorner becomes q.mIndex + k.
inline bool SearchCorner(const MoxMesh& pMesh, int pPolygon, int pA, int pB, int pEdgeCount, int& pCorner)
{
    for (int q = 0; q < pMesh.GetPolygonCount(); ++q) {
        if (q == pPolygon) continue;
        const MoxMesh::PolygonDef lOther = pMesh.mPolygons[q];
        for (int k = 0; k < lOther.mSize; ++k) {
            const int lC1 = MeshAccess::CallGetIndex(pMesh, Wrap(int64_t(lOther.mIndex) + k), pEdgeCount);
            const int lC2 =
                MeshAccess::CallGetIndex(pMesh, Wrap(int64_t(lOther.mIndex) + (k + 1) % lOther.mSize), pEdgeCount);
            if ((lC1 == pA && lC2 == pB) || (lC2 == pA && lC1 == pB)) {
                pCorner = Wrap(int64_t(lOther.mIndex) + k);
                return true;
            }
        }
    }
    return false;
}

inline int RemovePolygon(MoxMesh& pMesh, int pPolygon)
{
    if (pPolygon < 0 || pPolygon >= pMesh.GetPolygonCount()) return -1;
    for (int l = 0; l < pMesh.GetLayerCount(); ++l) pMesh.ConvertDirectToIndexToDirect(l);
    const MoxMesh::PolygonDef lPolygon = pMesh.mPolygons[pPolygon];
    const int lStart = lPolygon.mIndex;
    const int lSize = lPolygon.mSize;
    MoxArray<int> lRemovedEdges;
    if (pMesh.mEdgeArray.GetCount() > 0) {
        for (int e = 0; e < pMesh.mEdgeArray.GetCount(); ++e) {
            const int v = pMesh.mEdgeArray[e];
            if (!(v >= lStart && int64_t(v) < int64_t(lStart) + lSize)) continue;
            const int lEdgeCount = pMesh.mEdgeArray.GetCount();
            const int lA = pMesh.mPolygonVertices[v];
            const int lB = int64_t(v) == int64_t(lStart) + lSize - 1
                               ? MeshAccess::CallGetIndex(pMesh, lStart, lEdgeCount)
                               : MeshAccess::CallGetIndex(pMesh, Wrap(int64_t(v) + 1), lEdgeCount);
            int lCorner = 0;
            if (SearchCorner(pMesh, pPolygon, lA, lB, lEdgeCount, lCorner))
                pMesh.mEdgeArray[e] = lCorner;
            else
                lRemovedEdges.Add(e);
        }
        RemoveEdges(pMesh.mEdgeArray, lRemovedEdges);
    }
    int lFirst = 0;
    for (int q = 0; q < pPolygon; ++q)
        lFirst = Wrap(int64_t(lFirst) + (pMesh.mPolygons[q].mSize > 0 ? pMesh.mPolygons[q].mSize : 0));
    const Removal lRemoval{pPolygon, lFirst, lSize, &lRemovedEdges};
    for (int l = 0; l < pMesh.GetLayerCount(); ++l)
        if (MoxLayer* lLayer = pMesh.GetLayer(l)) UpdateLayer(pMesh, *lLayer, lRemoval);
    RemoveRun(pMesh.mPolygonVertices, lFirst, lSize);
    const int lShift = lSize > 0 ? lSize : 0;
    pMesh.mPolygons.RemoveAt(pPolygon);
    for (int q = pPolygon; q < pMesh.GetPolygonCount(); ++q)
        pMesh.mPolygons[q].mIndex = Wrap(int64_t(pMesh.mPolygons[q].mIndex) - lShift);
    for (int e = 0; e < pMesh.mEdgeArray.GetCount(); ++e)
        if (pMesh.mEdgeArray[e] >= lFirst) pMesh.mEdgeArray[e] = Wrap(int64_t(pMesh.mEdgeArray[e]) - lShift);
    return pPolygon;
}

inline bool GetBadPolyIndices(const MoxMesh& pMesh, MoxArray<int>& pList, bool pCheckOne)
{
    const int lPolygonCount = pMesh.GetPolygonCount();
    for (int i = 0; i < lPolygonCount; ++i) {
        const int s = pMesh.GetPolygonSize(i);
        if (s < 3) {
            pList.Add(i);
            continue;
        }
        int* lCorners = moxsdk::MoxNewArray<int>(s);
        for (int k = 0; k < s; ++k) lCorners[k] = pMesh.GetPolygonVertex(i, k);
        bool lBad = false;
        for (int j = 0; j < s - 1 && !lBad; ++j)
            for (int k = j + 1; k < s && !lBad; ++k) lBad = lCorners[j] == -1 || lCorners[j] == lCorners[k];
        moxsdk::MoxDeleteArray(lCorners);
        if (!lBad) continue;
        if (pCheckOne) return true;
        pList.Add(i);
    }
    return pList.GetCount() > 0;
}

inline int RemoveBadPolygons(MoxMesh& pMesh)
{
    MoxArray<int> lList;
    GetBadPolyIndices(pMesh, lList, false);
    for (int i = lList.GetCount() - 1; i >= 0; --i) RemovePolygon(pMesh, lList[i]);
    return lList.GetCount();
}

}  // namespace moxoracle
