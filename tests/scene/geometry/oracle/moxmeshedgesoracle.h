#pragma once
// Plain transcriptions of the edge algorithms of MoxMesh, for the oracle comparisons: the edge-table walk
// with an ordered multimap and linear scans, FillV2Edge with a linear search, the control-point-to-
// polygon-vertex map and its corner walks over every corner, RemoveDuplicatedEdges with RemoveAt, and
// the component maps with a per-edge walk over every corner. They read the mesh through its public
// members, with the arrays' checked access, exactly as the algorithms are written; nothing here is fast.

#include <algorithm>
#include <climits>
#include <cstdint>
#include <map>
#include <set>
#include <utility>
#include <vector>

#include "moxsdk/scene/geometry/moxmesh.h"

namespace moxoracle {

using moxsdk::MoxArray;
using moxsdk::MoxMesh;

// A position computed from polygon records, passed to the array as an int (-1 when it does not fit).
inline int At(int64_t pPosition)
{
    return pPosition >= INT_MIN && pPosition <= INT_MAX ? static_cast<int>(pPosition) : -1;
}

inline int Vertex(const MoxMesh& pMesh, int64_t pPosition)
{
    return pMesh.mPolygonVertices[At(pPosition)];
}

// Runs pOperation and tells whether pMesh, well-formed before it, is well-formed after it (an edge
// operation writes only edges, each naming a polygon vertex); true for a mesh that was not.
template <class OPERATION>
bool KeepsWellFormed(MoxMesh& pMesh, OPERATION pOperation)
{
    const bool lBefore = pMesh.IsWellFormed();
    pOperation();
    return !lBefore || pMesh.IsWellFormed();
}

// ---- The edge-table walk --------------------------------------------------------------------------

// The polygon vertices handed to the fill function, in order: the walk with a multimap from start control
// point to edge number and the end polygon vertex of each edge.
inline std::vector<int> EdgeTableWalk(const MoxMesh& pMesh)
{
    std::vector<int> lCalls;
    std::vector<int> lEdgeEnds;
    std::multimap<int, int> lEdgeStarts;
    for (int p = 0; p < pMesh.GetPolygonCount(); ++p) {
        const int n = pMesh.GetPolygonSize(p);
        const int64_t s = pMesh.mPolygons.GetArray()[p].mIndex;
        for (int j = 0; j < n; ++j) {
            const int a = Vertex(pMesh, s + j);
            const int b = Vertex(pMesh, s + (j + 1) % n);
            bool lKnown = false;
            for (auto lIt = lEdgeStarts.lower_bound(a); !lKnown && lIt != lEdgeStarts.end() && lIt->first == a; ++lIt)
                lKnown = pMesh.mPolygonVertices[lEdgeEnds[lIt->second]] == b;
            for (auto lIt = lEdgeStarts.lower_bound(b); !lKnown && lIt != lEdgeStarts.end() && lIt->first == b; ++lIt)
                lKnown = pMesh.mPolygonVertices[lEdgeEnds[lIt->second]] == a;
            if (lKnown) continue;
            lCalls.push_back(static_cast<int>(static_cast<uint32_t>(s + j)));
            lEdgeStarts.insert({a, static_cast<int>(lCalls.size()) - 1});
            lEdgeEnds.push_back(At(s + (j + 1) % n));
        }
    }
    return lCalls;
}

// What BeginGetMeshEdgeIndexForPolygon leaves in mPVToEdge: at each walk call's polygon vertex, its
// position in mEdgeArray by linear search (-1 when absent: pMissing counts those). The array reserved
// room for every polygon vertex; skipped slots hold 0.
inline std::vector<int> PVToEdge(const MoxMesh& pMesh, int* pMissing)
{
    const int lCapacity = pMesh.GetPolygonVertexCount();
    std::vector<int> lTable(static_cast<size_t>(lCapacity), 0);
    int lCount = 0;
    *pMissing = 0;
    for (int lVertex : EdgeTableWalk(pMesh)) {
        int lValue = -1;
        for (int e = 0; e < pMesh.mEdgeArray.GetCount() && lValue == -1; ++e)
            if (pMesh.mEdgeArray.GetArray()[e] == lVertex) lValue = e;
        if (lValue == -1) ++*pMissing;
        if (lVertex < 0 || lVertex >= lCapacity) continue;
        lTable[lVertex] = lValue;
        lCount = std::max(lCount, lVertex + 1);
    }
    lTable.resize(static_cast<size_t>(lCount));
    return lTable;
}

// ---- Edge ends --------------------------------------------------------------------------------------

// GetMeshEdgeVertices' end without the cache: the first polygon ending at the vertex closes the side.
inline int ScannedEdgeEnd(const MoxMesh& pMesh, int pVertex)
{
    for (const MoxMesh::PolygonDef& lPolygon : pMesh.mPolygons)
        if (int64_t(lPolygon.mIndex) + lPolygon.mSize - 1 == pVertex) return pMesh.mPolygonVertices[lPolygon.mIndex];
    return Vertex(pMesh, int64_t(pVertex) + 1);
}

// The closing-vertex table of BeginGetMeshEdgeVertices.
inline std::vector<int> ClosingVertices(const MoxMesh& pMesh)
{
    std::vector<int> lClosing(static_cast<size_t>(pMesh.GetPolygonVertexCount()), -1);
    for (const MoxMesh::PolygonDef& lPolygon : pMesh.mPolygons) {
        const int lFirst = pMesh.mPolygonVertices[lPolygon.mIndex];
        const int64_t lLast = int64_t(lPolygon.mIndex) + lPolygon.mSize - 1;
        if (lLast >= 0 && lLast < static_cast<int64_t>(lClosing.size())) lClosing[static_cast<size_t>(lLast)] = lFirst;
    }
    return lClosing;
}

// ---- The control-point-to-polygon-vertex map ----------------------------------------------------------

struct V2PV {
    std::vector<int> mCount;
    std::vector<int> mOffset;
    std::vector<std::pair<int, int>> mPairs;
    // The edge set in its order: by larger control point, then smaller.
    std::vector<std::pair<int, int>> mEdges;
};

inline V2PV BuildV2PV(const MoxMesh& pMesh)
{
    V2PV lMap;
    const int n = pMesh.GetControlPointsCount();
    lMap.mCount.assign(static_cast<size_t>(n), 0);
    std::vector<std::vector<std::pair<int, int>>> lLists(static_cast<size_t>(n));
    for (int p = 0; p < pMesh.GetPolygonCount(); ++p) {
        for (int i = 0; i < pMesh.GetPolygonSize(p); ++i) {
            const int v = pMesh.GetPolygonVertex(p, i);
            if (v < 0 || v >= n) continue;
            ++lMap.mCount[static_cast<size_t>(v)];
            lLists[static_cast<size_t>(v)].push_back({p, i});
        }
    }
    lMap.mOffset.push_back(0);
    for (int c = 0; c < n; ++c) {
        lMap.mOffset.push_back(lMap.mOffset.back() + lMap.mCount[static_cast<size_t>(c)]);
        lMap.mPairs.insert(lMap.mPairs.end(), lLists[static_cast<size_t>(c)].begin(),
                           lLists[static_cast<size_t>(c)].end());
    }
    const std::vector<int> lClosing = ClosingVertices(pMesh);
    std::set<std::pair<int, int>> lEdges;  // (larger, smaller)
    for (int e = 0; e < pMesh.GetMeshEdgeCount(); ++e) {
        const int lVertex = pMesh.mEdgeArray.GetArray()[e];
        if (lVertex < 0 || lVertex >= pMesh.GetPolygonVertexCount()) continue;
        const int lStart = pMesh.mPolygonVertices.GetArray()[lVertex];
        const int lClose = lClosing[static_cast<size_t>(lVertex)];
        const int lEnd = lClose != -1 ? lClose : Vertex(pMesh, int64_t(lVertex) + 1);
        if (lStart < 0 || lEnd < 0 || lStart >= n) continue;
        lEdges.insert({std::max(lStart, lEnd), std::min(lStart, lEnd)});
    }
    for (const auto& lEdge : lEdges) lMap.mEdges.emplace_back(lEdge.second, lEdge.first);
    return lMap;
}

// The walk of SetMeshEdgeIndex and GetMeshEdgeIndexForPolygon at one corner: the previous vertex (wrapping
// to the last at the first vertex unless it is also the last), then the next (wrapping at the last).
inline bool SideAtCorner(const MoxMesh& pMesh, std::pair<int, int> pCorner, int pEnd, int& pSideStart)
{
    const MoxMesh::PolygonDef lPolygon = pMesh.mPolygons[pCorner.first];
    const int64_t lFirst = lPolygon.mIndex;
    const int64_t lLast = lFirst + lPolygon.mSize - 1;
    const int64_t v = lFirst + pCorner.second;
    int64_t lNext = v + 1;
    int64_t lPrev = v - 1;
    if (v == lLast) {
        lNext = lFirst;
    } else if (v == lFirst) {
        lPrev = lLast;
    }
    if (Vertex(pMesh, lPrev) == pEnd) {
        pSideStart = At(lPrev);
        return true;
    }
    if (Vertex(pMesh, lNext) == pEnd) {
        pSideStart = At(v);
        return true;
    }
    return false;
}

// The polygon vertex that SetMeshEdgeIndex with the map stores for (start, end), or -2 when none.
inline int MapSide(const MoxMesh& pMesh, const V2PV& pMap, int pStart, int pEnd)
{
    for (int k = 0; k < pMap.mCount[static_cast<size_t>(pStart)]; ++k) {
        int lSide = -1;
        if (SideAtCorner(
                pMesh,
                pMap.mPairs[static_cast<size_t>(pMap.mOffset[static_cast<size_t>(pStart)]) + static_cast<size_t>(k)],
                pEnd, lSide))
            return lSide;
    }
    return -2;
}

// GetMeshEdgeIndexForPolygon's walk with the cache, given mPVToEdge.
inline int MapEdgeForSide(const MoxMesh& pMesh, const V2PV& pMap, const MoxArray<int>& pPVToEdge, int pStart, int pEnd)
{
    int lResult = -1;
    if (pStart < 0 || pStart >= static_cast<int>(pMap.mCount.size())) return -1;
    for (int k = 0; k < pMap.mCount[static_cast<size_t>(pStart)]; ++k) {
        int lSide = -1;
        if (!SideAtCorner(
                pMesh,
                pMap.mPairs[static_cast<size_t>(pMap.mOffset[static_cast<size_t>(pStart)]) + static_cast<size_t>(k)],
                pEnd, lSide))
            continue;
        lResult = pPVToEdge[lSide];
        if (lResult != -1) break;
    }
    return lResult;
}

// ---- Component maps -----------------------------------------------------------------------------------

struct ComponentMaps {
    std::vector<int> mEdgeOffsets;  // edge count + 1 entries; skipped edges keep 0
    std::vector<int> mEdgePolygons;
    std::vector<int> mPolygonOffsets;
    std::vector<int> mPolygonEdges;  // one slot per polygon vertex, unfilled slots 0
    int mSkippedOutOfRange = 0;
    int mSkippedStart = 0;
};

// The maps from pMap, the control-point-to-polygon-vertex map as it was built (at Begin), reading the
// polygons as they are.
inline ComponentMaps ComputeComponentMaps(const MoxMesh& pMesh, const V2PV& pMap)
{
    ComponentMaps lMaps;
    const int lVertexCount = pMesh.GetPolygonVertexCount();
    const int lPolygonCount = pMesh.GetPolygonCount();
    const int lEdgeCount = pMesh.GetMeshEdgeCount();
    lMaps.mPolygonOffsets.push_back(0);
    for (const MoxMesh::PolygonDef& lPolygon : pMesh.mPolygons)
        lMaps.mPolygonOffsets.push_back(lMaps.mPolygonOffsets.back() + std::max(lPolygon.mSize, 0));
    // Written through the array's checked access, as the algorithm writes: a polygon given more edges
    // than its size writes past its list (and past the array, reported, for the last polygons).
    MoxArray<int> lPolygonEdges;
    lPolygonEdges.Resize(lVertexCount, false);
    lMaps.mEdgeOffsets.assign(static_cast<size_t>(lEdgeCount) + 1, 0);
    const std::vector<int> lNext = ClosingVertices(pMesh);
    std::vector<int> lFill(static_cast<size_t>(lPolygonCount), 0);
    const int n = pMesh.GetControlPointsCount();
    std::set<long long> lSeen;
    for (int e = 0; e < lEdgeCount; ++e) {
        const int lPosition = pMesh.mEdgeArray.GetArray()[e];
        if (lPosition < 0 || lPosition >= lVertexCount) {
            ++lMaps.mSkippedOutOfRange;
            continue;
        }
        const int u = pMesh.mPolygonVertices.GetArray()[lPosition];
        if (u >= n) {
            ++lMaps.mSkippedStart;
            continue;
        }
        const int w = lNext[static_cast<size_t>(lPosition)] != -1 ? lNext[static_cast<size_t>(lPosition)]
                                                                  : Vertex(pMesh, int64_t(lPosition) + 1);
        if (!lSeen.insert((static_cast<long long>(n) + u) * n + w).second) continue;
        for (int k = 0; u >= 0 && k < pMap.mCount[static_cast<size_t>(u)]; ++k) {
            const std::pair<int, int> lCorner =
                pMap.mPairs[static_cast<size_t>(pMap.mOffset[static_cast<size_t>(u)]) + static_cast<size_t>(k)];
            const MoxMesh::PolygonDef lPolygon = pMesh.mPolygons[lCorner.first];
            const int64_t v = int64_t(lPolygon.mIndex) + lCorner.second;
            const int64_t lLast = int64_t(lPolygon.mIndex) + lPolygon.mSize - 1;
            const int a = Vertex(pMesh, v);
            const int b = Vertex(pMesh, v == lLast ? lPolygon.mIndex : v + 1);
            const int p = Vertex(pMesh, lCorner.second == 0 ? lLast : v - 1);
            if (!((a == u && b == w) || (a == w && b == u) || (a == u && p == w) || (a == w && p == u))) continue;
            lMaps.mEdgePolygons.push_back(lCorner.first);
            const int lSlot =
                lMaps.mPolygonOffsets[static_cast<size_t>(lCorner.first)] + lFill[static_cast<size_t>(lCorner.first)]++;
            lPolygonEdges[lSlot] = e;
        }
        lMaps.mEdgeOffsets[static_cast<size_t>(e) + 1] = static_cast<int>(lMaps.mEdgePolygons.size());
    }
    lMaps.mPolygonEdges.assign(lPolygonEdges.begin(), lPolygonEdges.end());
    return lMaps;
}

// The maps with a map built from the polygons as they are.
inline ComponentMaps ComputeComponentMaps(const MoxMesh& pMesh)
{
    return ComputeComponentMaps(pMesh, BuildV2PV(pMesh));
}

}  // namespace moxoracle
