#pragma once
// Edge lookups shared by point splitting and vertex merging: the polygon of an edge as FindPolygonIndex
// gives it, and the first edge joining two unordered control points as GetMeshEdgeIndex finds it, each
// from an index built once on the mesh as it is and giving exactly the mesh's answers and reports.

#include <algorithm>
#include <cstdint>

#include "moxsdk/scene/geometry/moxmesh.h"
#include "scene/geometry/detail/moxmesharrays.h"

namespace moxsdk {
namespace detail {

// The polygon FindPolygonIndex gives for an edge. When every polygon is non-empty and the vertex runs
// follow each other from 0 to the polygon-vertex count, exactly one polygon matches a polygon vertex in
// the binary search, so an inverse table (polygon vertex to polygon) gives the same answer; any other
// polygon table is asked of the mesh.
class MoxPolygonLocator {
public:
    // False when memory ran out.
    bool Init(const MoxMesh& pMesh)
    {
        const int lVertexCount = pMesh.mPolygonVertices.GetCount();
        int lNext = 0;
        for (const MoxMesh::PolygonDef& lPolygon : pMesh.mPolygons) {
            if (lPolygon.mIndex != lNext || lPolygon.mSize <= 0 || lPolygon.mSize > lVertexCount - lNext) return true;
            lNext += lPolygon.mSize;
        }
        if (lNext != lVertexCount || !mPolygonOf.Resize(lVertexCount)) return lNext != lVertexCount;
        int* lPolygonOf = mPolygonOf.GetArray();
        for (int p = 0; p < pMesh.mPolygons.GetCount(); ++p) {
            const MoxMesh::PolygonDef& lPolygon = pMesh.mPolygons.GetArray()[p];
            std::fill(lPolygonOf + lPolygon.mIndex, lPolygonOf + lPolygon.mIndex + lPolygon.mSize, p);
        }
        mRegular = true;
        return true;
    }

    int Find(MoxMesh& pMesh, int pEdge) const
    {
        if (!mRegular) return pMesh.FindPolygonIndex(pEdge);
        const int lVertex = pMesh.mEdgeArray.GetArray()[pEdge];
        return static_cast<unsigned>(lVertex) < static_cast<unsigned>(mPolygonOf.GetCount())
                   ? mPolygonOf.GetArray()[lVertex]
                   : -1;
    }

private:
    MoxArray<int> mPolygonOf;
    bool mRegular = false;
};

// For each unordered pair of control points, the first edge that joins them as GetMeshEdgeIndex sees
// edges: in increasing order, edge e joining the control point at its polygon vertex and the one at the
// next vertex of the polygon FindPolygonIndex(e) gives (its first vertex after its last); an edge without
// a polygon joins nothing. Edges are grouped by their smaller control point, each group sorted by the
// larger one and then by edge number, so a query is a binary search in a short group (and stays
// logarithmic around a vertex shared by many edges). Built on the mesh as it is, without reading outside
// mPolygonVertices: an edge whose reads in the search would leave it (and be reported there) is not
// indexed, and a query whose search would reach such an edge is answered by the mesh's own search, so
// every answer and every report is the search's.
class MoxEdgePairIndex {
public:
    // False when memory ran out.
    bool Build(MoxMesh& pMesh)
    {
        mControlPointCount = pMesh.GetControlPointsCount();
        const int lEdgeCount = pMesh.mEdgeArray.GetCount();
        mFirstUnreadable = lEdgeCount;
        MoxPolygonLocator lLocator;
        MoxArray<int> lSmaller;
        MoxArray<int> lLarger;
        if (!lLocator.Init(pMesh) || !MoxFillArray(lSmaller, lEdgeCount, -1) || !lLarger.Resize(lEdgeCount))
            return false;
        for (int e = 0; e < lEdgeCount; ++e) {
            int lStart = -1;
            int lEnd = -1;
            if (!JoinedControlPoints(pMesh, lLocator, e, lStart, lEnd)) {
                mFirstUnreadable = std::min(mFirstUnreadable, e);
                continue;
            }
            // A pair with a control point outside the mesh is never asked for.
            if (lStart < 0 || lEnd < 0 || lStart >= mControlPointCount || lEnd >= mControlPointCount) continue;
            lSmaller.GetArray()[e] = std::min(lStart, lEnd);
            lLarger.GetArray()[e] = std::max(lStart, lEnd);
        }
        if (!MoxBuildGroups(lSmaller.GetArray(), lEdgeCount, mControlPointCount, mGroups) ||
            !mEntries.Resize(mGroups.mItems.GetCount()))
            return false;
        uint64_t* lEntries = mEntries.GetArray();
        for (int k = 0; k < mGroups.mItems.GetCount(); ++k) {
            const int lEdge = mGroups.Item(k);
            lEntries[k] = (uint64_t(uint32_t(lLarger.GetArray()[lEdge])) << 32) | uint32_t(lEdge);
        }
        for (int c = 0; c < mControlPointCount; ++c)
            if (mGroups.End(c) - mGroups.Begin(c) > 1)
                std::sort(lEntries + mGroups.Begin(c), lEntries + mGroups.End(c));
        return true;
    }

    // GetMeshEdgeIndex(pStart, pEnd, reversed, -1) on the mesh the index was built on, with its reports:
    // -1 for a control point outside the mesh or no edge. The search visits the edges up to the one it
    // returns (all of them when it finds none): past an unindexed edge, the mesh searches itself.
    int Find(MoxMesh& pMesh, int pStart, int pEnd) const
    {
        if (pStart < 0 || pEnd < 0 || pStart >= mControlPointCount || pEnd >= mControlPointCount) return -1;
        const int lSmaller = std::min(pStart, pEnd);
        const uint64_t lLarger = uint32_t(std::max(pStart, pEnd));
        const uint64_t* lFirst = mEntries.GetArray() + mGroups.Begin(lSmaller);
        const uint64_t* lLast = mEntries.GetArray() + mGroups.End(lSmaller);
        const uint64_t* lFound = std::lower_bound(lFirst, lLast, lLarger << 32);
        const int lEdge = lFound != lLast && (*lFound >> 32) == lLarger ? static_cast<int>(uint32_t(*lFound)) : -1;
        const int lVisited = lEdge >= 0 ? lEdge + 1 : pMesh.mEdgeArray.GetCount();
        if (lVisited <= mFirstUnreadable) return lEdge;
        bool lReversed = false;
        return pMesh.GetMeshEdgeIndex(pStart, pEnd, lReversed, -1);
    }

private:
    // The control points edge pEdge joins as GetMeshEdgeIndex reads them (-1, -1 without a polygon).
    // False when one of those reads would be outside mPolygonVertices.
    static bool JoinedControlPoints(MoxMesh& pMesh, const MoxPolygonLocator& pLocator, int pEdge, int& pStart,
                                    int& pEnd)
    {
        const int64_t lVertexCount = pMesh.mPolygonVertices.GetCount();
        const int lVertex = pMesh.mEdgeArray.GetArray()[pEdge];
        if (lVertex < 0 || lVertex >= lVertexCount) return false;
        const int lPolygon = pLocator.Find(pMesh, pEdge);
        if (lPolygon < 0) return true;
        const MoxMesh::PolygonDef& lDef = pMesh.mPolygons.GetArray()[lPolygon];
        const int64_t lNext = lVertex == int64_t(lDef.mIndex) + lDef.mSize - 1 ? lDef.mIndex : int64_t(lVertex) + 1;
        if (lNext < 0 || lNext >= lVertexCount) return false;
        pStart = pMesh.mPolygonVertices.GetArray()[lVertex];
        pEnd = pMesh.mPolygonVertices.GetArray()[lNext];
        return true;
    }

    int mControlPointCount = 0;
    int mFirstUnreadable = 0;     // the first edge that is not indexed because its reads leave the vertices
    MoxGroups mGroups;            // per smaller control point, its edges
    MoxArray<uint64_t> mEntries;  // larger control point and edge, in group order, sorted within each group
};

}  // namespace detail
}  // namespace moxsdk
