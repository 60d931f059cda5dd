// The control-point-to-vertices map: for every control point, its polygon vertices
// (FillWithControlPointInfo) or the control points that share an edge with it (FillWithAdjacencyInfo),
// as offsets plus one flat list built by counting sort (count per control point, prefix sum, place).
// Linear in the number of polygon vertices or edges plus control points; the only extra memory is one
// counter per control point.
//
// In the neighbour form, edge ends are not checked against the control point count the caller passes;
// an end at or past it goes through the arrays' range reports (and their scratch value), never outside an
// allocation, which is why that form keeps checked counters and offsets of one entry per control point
// where the polygon-vertex form uses the library's counting sort. Each edge writes its second end into
// its first end's list, then its first end into its second end's list, and only then advances both
// counters. An edge whose two ends are the same control point c therefore writes one slot of c's list
// twice and leaves the next slot as sizing the list left it (0 in a map filled for the first time); c's
// list still counts two entries for it.

#include <cstring>

#include "core/base/moxcountingsort.h"
#include "moxsdk/scene/geometry/moxmesh.h"

namespace moxsdk {
namespace {

// The control point of a polygon vertex as GetIndex gives it: values not below pCount (taken as unsigned,
// so negative ones too) land on the last control point.
int ClampedControlPoint(int pValue, int pCount)
{
    return static_cast<unsigned int>(pValue) < static_cast<unsigned int>(pCount) ? pValue : pCount - 1;
}

}  // namespace

void MoxMesh::ControlPointToVerticesMap::Clear()
{
    mOffsets.Clear();
    mVertices.Clear();
}

// The last control point's list runs to the end of mVertices.
int MoxMesh::ControlPointToVerticesMap::GetCount(int pControlPoint) const
{
    if (pControlPoint < 0 || pControlPoint >= GetCount()) return 0;
    const int lEnd = pControlPoint + 1 < GetCount() ? mOffsets[pControlPoint + 1] : mVertices.GetCount();
    return lEnd - mOffsets[pControlPoint];
}

// pIndex is not checked against the list's length: past mVertices the array reports.
int MoxMesh::ControlPointToVerticesMap::GetVertex(int pControlPoint, int pIndex) const
{
    if (pControlPoint < 0 || pControlPoint >= GetCount()) return -1;
    // Two's-complement sum: a caller's index may overflow int; the array then reports the result.
    const unsigned int lPosition =
        static_cast<unsigned int>(mOffsets[pControlPoint]) + static_cast<unsigned int>(pIndex);
    return mVertices[static_cast<int>(lPosition)];
}

namespace {

// pCursors becomes pCount + 1 entries (the counting sort's offsets, set by its count pass) and pOffsets
// pCount entries. False when either array could not be sized so (memory ran out, or pCount is not
// positive).
bool SizeOffsets(MoxArray<int>& pCursors, MoxArray<int>& pOffsets, int pCount)
{
    pCursors.Resize(pCount + 1);
    if (pCursors.GetCount() != pCount + 1 || pCount < 1) return false;
    pOffsets.Resize(pCount);
    return pOffsets.GetCount() == pCount;
}

// Counted pCursors (each list's length at the entry after its control point's) become the list starts,
// copied to pOffsets, and stay in pCursors as the placement pass's cursors.
void StartLists(MoxArray<int>& pCursors, MoxArray<int>& pOffsets, int pCount)
{
    detail::MoxPrefixSum(pCursors.GetArray(), pCount);
    std::memcpy(pOffsets.GetArray(), pCursors.GetArray(), sizeof(int) * static_cast<size_t>(pCount));
}

}  // namespace

// Entries of one control point are in increasing polygon-vertex order. When memory runs out the map is
// left empty.
void MoxMesh::ControlPointToVerticesMap::FillWithControlPointInfo(MoxMesh* pMesh)
{
    if (!pMesh) return;
    const int lCount = pMesh->GetControlPointsCount();
    if (lCount < 1) {
        Clear();
        return;
    }
    MoxArray<int> lCursors;
    const int lVertexCount = pMesh->mPolygonVertices.GetCount();
    const int* lPolygonVertices = pMesh->mPolygonVertices.GetArray();
    if (!SizeOffsets(lCursors, mOffsets, lCount)) {
        Clear();
        return;
    }
    const auto lKeyOf = [lPolygonVertices, lCount](int pVertex) {
        return ClampedControlPoint(lPolygonVertices[pVertex], lCount);
    };
    detail::MoxCountKeys(lVertexCount, lCount, lKeyOf, lCursors.GetArray());
    StartLists(lCursors, mOffsets, lCount);

    mVertices.Resize(lVertexCount);
    if (mVertices.GetCount() != lVertexCount) {
        Clear();
        return;
    }
    int* lVertices = mVertices.GetArray();
    detail::MoxPlaceByKey(lVertexCount, lCount, lKeyOf, lCursors.GetArray(),
                          [lVertices](int pVertex, int pSlot) { lVertices[pSlot] = pVertex; });
}

void MoxMesh::ComputeControlPointToVerticesMap(ControlPointToVerticesMap& pMap)
{
    pMap.FillWithControlPointInfo(this);
}

namespace {

// pCounters becomes pCount zeros and pOffsets pCount entries (their values are set by the prefix pass).
// False when either array could not be sized so (memory ran out, or pCount is not positive).
bool StartControlPointCounts(MoxArray<int>& pCounters, MoxArray<int>& pOffsets, int pCount)
{
    pCounters.Resize(pCount);
    if (pCounters.GetCount() != pCount || pCount < 1) return false;
    std::memset(pCounters.GetArray(), 0, sizeof(int) * static_cast<size_t>(pCount));
    pOffsets.Resize(pCount);
    return pOffsets.GetCount() == pCount;
}

// Offsets from the counts: pOffsets[0] = 0, pOffsets[i] = pOffsets[i - 1] + count of i - 1. Every counter
// is zero afterwards, ready for the placement pass. Both arrays hold pCount >= 1 entries.
void ComputeControlPointOffsets(MoxArray<int>& pOffsets, MoxArray<int>& pCounters, int pCount)
{
    int* lOffsets = pOffsets.GetArray();
    int* lCounters = pCounters.GetArray();
    lOffsets[0] = 0;
    for (int i = 1; i < pCount; ++i) {
        lOffsets[i] = lOffsets[i - 1] + lCounters[i - 1];
        lCounters[i - 1] = 0;
    }
    lCounters[pCount - 1] = 0;
}

}  // namespace

// Steps: count both ends of every edge (any negative end fails the map, though every edge is still
// visited), offsets, then place each end in the other end's list, in edge order. When the arrays cannot
// be sized (memory ran out, or a negative count) the map is cleared and false returned.
bool MoxMesh::ControlPointToVerticesMap::FillWithAdjacencyInfo(MoxMesh* pMesh, int pControlPointCount)
{
    if (!pMesh || pControlPointCount == 0) return false;
    MoxArray<int> lCounters;
    if (!StartControlPointCounts(lCounters, mOffsets, pControlPointCount)) {
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
    ComputeControlPointOffsets(mOffsets, lCounters, pControlPointCount);

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
