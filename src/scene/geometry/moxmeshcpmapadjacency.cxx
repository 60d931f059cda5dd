// The neighbour form of the control-point-to-vertices map: for every control point, the control points
// that share an edge with it, two entries per edge, by counting sort over the edge table. Linear in the
// number of edges plus control points.
//
// Edge ends are not checked against the control point count the caller passes; an end at or past it goes
// through the arrays' range reports (and their scratch value), never outside an allocation.
//
// Each edge writes its second end into its first end's list, then its first end into its second end's
// list, and only then advances both counters. An edge whose two ends are the same control point c
// therefore writes one slot of c's list twice and leaves the next slot as sizing the list left it (0 in
// a map filled for the first time); c's list still counts two entries for it.

#include "moxmeshcpmapbuild.h"
#include "moxsdk/scene/geometry/moxmesh.h"

namespace moxsdk {

// Steps: count both ends of every edge (any negative end fails the map, though every edge is still
// visited), offsets, then place each end in the other end's list, in edge order. When the arrays cannot
// be sized (memory ran out, or a negative count) the map is cleared and false returned.
bool MoxMesh::ControlPointToVerticesMap::FillWithAdjacencyInfo(MoxMesh* pMesh, int pControlPointCount)
{
    if (!pMesh || pControlPointCount == 0) return false;
    MoxArray<int> lCounters;
    if (!detail::MoxStartControlPointCounts(lCounters, mOffsets, pControlPointCount)) {
        Clear();
        return false;
    }
    pMesh->BeginGetMeshEdgeVertices();
    const int lEdgeCount = pMesh->GetMeshEdgeCount();
    bool lOk = true;
    for (int lEdge = 0; lEdge < lEdgeCount; ++lEdge) {
        int lStart = -1;
        int lEnd = -1;
        pMesh->GetMeshEdgeVertices(lEdge, lStart, lEnd);
        if (lStart < 0 || lEnd < 0) lOk = false;
        if (!lOk) continue;
        ++lCounters[lStart];
        ++lCounters[lEnd];
    }
    if (!lOk) {
        Clear();
        pMesh->EndGetMeshEdgeVertices();
        return false;
    }
    detail::MoxComputeControlPointOffsets(mOffsets, lCounters, pControlPointCount);

    mVertices.Resize(2 * lEdgeCount);
    if (mVertices.GetCount() != 2 * lEdgeCount) {
        Clear();
        pMesh->EndGetMeshEdgeVertices();
        return false;
    }
    for (int lEdge = 0; lEdge < lEdgeCount; ++lEdge) {
        int lStart = -1;
        int lEnd = -1;
        pMesh->GetMeshEdgeVertices(lEdge, lStart, lEnd);
        mVertices[mOffsets[lStart] + lCounters[lStart]] = lEnd;
        mVertices[mOffsets[lEnd] + lCounters[lEnd]] = lStart;
        ++lCounters[lStart];
        ++lCounters[lEnd];
    }
    pMesh->EndGetMeshEdgeVertices();
    return true;
}

}  // namespace moxsdk
