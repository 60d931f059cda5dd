// MoxMesh: the edge table, edge editing and edge queries.
//
// An edge is named by the polygon vertex where one polygon side begins (mEdgeArray). The walk that
// builds the table registers each unordered pair of control points once, at the first side that joins
// them in (polygon, position) order, and keeps that side's direction.
//
// Speed: every operation gives exactly what the plain algorithm gives, without its quadratic parts.
// - The walk decides "already known" with a set of unordered control-point pairs (MoxPairSet, grouped by
//   smaller control point, so that neighbouring sides are tested in neighbouring memory): the plain
//   walk's scan of the edges registered from a side's start and from its end finds a match exactly when
//   the pair was registered before (an edge registered from (a, b) records b as its end).
// - During BeginGetMeshEdgeIndexForPolygon, FillV2Edge reads an edge's position in mEdgeArray from an
//   index built once per walk (first position of each value), not from a linear search.
// - BeginAddMeshEdgeIndex builds the edge set from its sorted keys in one pass instead of inserting
//   every edge with a descent of the tree.
// - mV2PVNeighbours indexes, for control points of high valence (a fan's apex), their corners by
//   neighbouring control point, so the map walks of SetMeshEdgeIndex, GetMeshEdgeIndexForPolygon and
//   ComputeComponentMaps visit only the corners that can match. The walks read the neighbours as they
//   are when they run, while the index records them as they were when it was built: it is used only
//   while no polygon edit has been recorded since (MoxMesh::NotePolygonEdit: every operation that writes
//   polygons, and GetPolygonVertices, which hands out write access) and both counts still hold; else
//   every corner is walked. ComputeComponentMaps, which walks the whole mesh anyway, builds the index
//   anew from the polygons as they are when the caller's map is already built, so it sees any change.
// - RemoveDuplicatedEdges compacts each array once for a list in increasing order, and reproduces what
//   the one-by-one removals leave in mEdgeArray's reserved slots. Any other list (repeats, disorder,
//   negative entries, or the edge array itself) is removed one by one, as it asks: O(list x edges).
// GetMeshEdgeIndex stays a scan of the edges (O(edges) per call), and so do the duplicate checks that
// call it; GetMeshEdgeVertices without its cache scans the polygons.
//
// Decisions where the behaviour is otherwise open:
// - BeginAddMeshEdgeIndex releases the blocks it allocated when a later allocation fails (nothing
//   leaks), and EndAddMeshEdgeIndex gives the edge set's record pool back to the heap (ClearAndRelease).
// - RemoveDuplicatedEdges with an empty list removes nothing and returns 0, without a report.
// - A null fill function is reported and the walk goes on without calling it. When the walk's scratch
//   memory runs out, it reports "lEdgeStarts" and registers no further edge.
// - BeginGetMeshEdgeVertices that cannot size its array leaves the cache unbuilt (queries then scan).
// - Every acceleration block that cannot be had is reported with its name, from the public operation that
//   needed it, and the operation goes on along the plain path with the same result: "lKeys", "lSorted"
//   and "lStarts" (BeginAddMeshEdgeIndex: the edge set is then filled by insertion), "mFirst" and
//   "mOthers" (BeginGetMeshEdgeIndexForPolygon: edge positions are then searched), "lFreed"
//   (RemoveDuplicatedEdges: the edges are then removed one by one).
// - The map walks treat a control point outside the map (negative, or added after Begin) as having no
//   corners, and the scan of the five-argument SetMeshEdgeIndex finds nothing on a mesh without polygons.
// - A polygon record is read once per query, so an out-of-range polygon index is reported once.
// - On polygon records that run past mPolygonVertices (user writes), the walk reports each out-of-range
//   read once per side, where the plain walk also reports the reads of its comparisons; the edges are
//   the same.
// - GetMeshEdgeIndexForPolygon with its cache answers from the corner walk alone, -1 when it finds
//   nothing; it falls back to GetMeshEdgeIndex only when the cache is not built.

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

#include "core/base/moxint64set.h"
#include "core/base/moxpairset.h"
#include "core/base/moxscratch.h"
#include "moxsdk/core/moxassert.h"
#include "moxsdk/core/moxmemory.h"
#include "moxsdk/scene/geometry/moxmesh.h"
#include "scene/geometry/detail/moxmeshreports.h"
#include "scene/geometry/moxmeshcorners.h"

namespace moxsdk {
namespace {

using detail::sgHighValence;
using detail::MoxMapCorner;
using detail::MoxPeekVertex;
using detail::MoxPolygonPosition;
using detail::MoxReadVertex;

constexpr const char* sgFile = "scene/geometry/moxmesh";
using namespace detail::meshreports;

// First position of each value in an edge array: a direct table for the values that are polygon vertices
// of the mesh, and a sorted list of (value, position) for any other value. Find answers what the array's
// own Find (a linear search from position 0) answers.
class EdgePositionIndex {
public:
    EdgePositionIndex(const MoxArray<int>& pEdges, int pPolygonVertexCount);
    bool IsValid() const { return mFirst.Get() && mOthers.Get(); }
    // The name of the table whose memory could not be had, null when both were.
    const char* MissingTable() const
    {
        return !mFirst.Get()    ? sgNoFirstPositionsMemory.mText
               : !mOthers.Get() ? sgNoOtherPositionsMemory.mText
                                : nullptr;
    }
    int Find(int pValue) const;

private:
    // (value, position) as one sortable number.
    static int64_t Encode(int pValue, int pPosition) { return int64_t(pValue) * (int64_t(1) << 32) + pPosition; }

    int mFirstCount;
    MoxScratch<int> mFirst;
    int mOtherCount = 0;
    MoxScratch<int64_t> mOthers;
};

// Counts the values outside 0 .. pPolygonVertexCount - 1 first, so that each table is one block.
int CountOutside(const MoxArray<int>& pEdges, int pPolygonVertexCount)
{
    int lCount = 0;
    for (int lValue : pEdges) lCount += lValue < 0 || lValue >= pPolygonVertexCount ? 1 : 0;
    return lCount;
}

EdgePositionIndex::EdgePositionIndex(const MoxArray<int>& pEdges, int pPolygonVertexCount)
    : mFirstCount(pPolygonVertexCount), mFirst(pPolygonVertexCount), mOthers(CountOutside(pEdges, pPolygonVertexCount))
{
    if (!IsValid()) return;
    std::fill(mFirst.Get(), mFirst.Get() + mFirstCount, -1);
    const int lEdgeCount = pEdges.GetCount();
    const int* lEdges = pEdges.GetArray();
    for (int e = 0; e < lEdgeCount; ++e) {
        const int lValue = lEdges[e];
        if (lValue < 0 || lValue >= mFirstCount) {
            mOthers[mOtherCount++] = Encode(lValue, e);
        } else if (mFirst[lValue] == -1) {
            mFirst[lValue] = e;
        }
    }
    std::sort(mOthers.Get(), mOthers.Get() + mOtherCount);
}

int EdgePositionIndex::Find(int pValue) const
{
    if (pValue >= 0 && pValue < mFirstCount) return mFirst[pValue];
    const int64_t* lBegin = mOthers.Get();
    const int64_t* lEnd = lBegin + mOtherCount;
    const int64_t lFirst = Encode(pValue, 0);
    const int64_t* lFound = std::lower_bound(lBegin, lEnd, lFirst);
    return lFound != lEnd && *lFound - lFirst <= INT_MAX ? static_cast<int>(*lFound - lFirst) : -1;
}

// The edge array whose positions FillV2Edge records: non-null only while BeginGetMeshEdgeIndexForPolygon
// runs its walk. sgEdgePositions is the index of *sgEdgeArray built for that walk (null when its memory
// could not be had; FillV2Edge then searches the array itself).
MoxArray<int>* sgEdgeArray = nullptr;
const EdgePositionIndex* sgEdgePositions = nullptr;

// Fill function of BuildMeshEdgeArray: appends the new edge; the counter becomes the edge count.
void FillEdgeArray(MoxArray<int>& pTable, int pPolygonVertex, int* pCount)
{
    pTable.Add(pPolygonVertex);
    *pCount = pTable.GetCount();
}

// Fill function of BeginGetMeshEdgeIndexForPolygon: records, at the polygon vertex that starts the new
// edge, that vertex's position in *sgEdgeArray (or the counter when no edge array is set). A vertex
// missing from the edge array is reported and recorded as -1.
void FillV2Edge(MoxArray<int>& pTable, int pPolygonVertex, int* pCount)
{
    int lValue = *pCount;
    if (sgEdgeArray) {
        lValue = sgEdgePositions ? sgEdgePositions->Find(pPolygonVertex) : sgEdgeArray->Find(pPolygonVertex);
        MOX_ASSERT_MSG(sgFile, lValue != -1, sgVertexNotInEdges.mText);
    }
    pTable.SetAt(pPolygonVertex, lValue);
    ++*pCount;
}

// Calls pVisit(position, start, end) for every polygon side in (polygon, position) order, the control
// points read with pRead at the side's first vertex and at the next one (the polygon's first after its
// last); stops when pVisit returns false.
template <class VISIT>
void ForEachSide(const MoxMesh& pMesh, int (*pRead)(const MoxArray<int>&, int64_t), VISIT pVisit)
{
    const int lPolygonCount = pMesh.GetPolygonCount();
    for (int p = 0; p < lPolygonCount; ++p) {
        const int lSize = pMesh.GetPolygonSize(p);
        const int64_t lFirst = pMesh.mPolygons.GetArray()[p].mIndex;
        for (int j = 0; j < lSize; ++j) {
            const int lStart = pRead(pMesh.mPolygonVertices, lFirst + j);
            const int lEnd = pRead(pMesh.mPolygonVertices, lFirst + (j + 1) % lSize);
            if (!pVisit(lFirst + j, lStart, lEnd)) return;
        }
    }
}

// The polygon vertex after position pPosition of pPolygon, the last wrapping to the first.
int64_t SideEnd(const MoxMesh::PolygonDef& pPolygon, int pPosition)
{
    return pPosition == pPolygon.mSize - 1 ? pPolygon.mIndex : int64_t(pPolygon.mIndex) + pPosition + 1;
}

// The polygon vertex after pVertex in pPolygon, which contains it: the first after the last.
int64_t NextVertex(const MoxMesh::PolygonDef& pPolygon, int pVertex)
{
    return pVertex == int64_t(pPolygon.mIndex) + pPolygon.mSize - 1 ? pPolygon.mIndex : int64_t(pVertex) + 1;
}

// The side at corner pCorner of the map that joins it to control point pEnd, tested as the map walk
// does: the side from the previous vertex first, then the side to the next one. The next vertex wraps to
// the first at the polygon's last vertex; otherwise the previous one wraps to the last at the first
// vertex (so in a polygon of one vertex only the next one wraps). pSideStart receives the polygon vertex
// where the side begins.
bool FindSideAtCorner(const MoxMesh& pMesh, MoxPair<int, int> pCorner, int pEnd, int& pSideStart)
{
    const MoxMesh::PolygonDef lPolygon = pMesh.mPolygons[pCorner.mFirst];
    const int64_t lFirst = lPolygon.mIndex;
    const int64_t lLast = lFirst + lPolygon.mSize - 1;
    const int64_t lVertex = lFirst + pCorner.mSecond;
    int64_t lNext = lVertex + 1;
    int64_t lPrevious = lVertex - 1;
    if (lVertex == lLast) {
        lNext = lFirst;
    } else if (lVertex == lFirst) {
        lPrevious = lLast;
    }
    if (MoxReadVertex(pMesh.mPolygonVertices, lPrevious) == pEnd) {
        pSideStart = MoxPolygonPosition(lPrevious);
        return true;
    }
    if (MoxReadVertex(pMesh.mPolygonVertices, lNext) == pEnd) {
        pSideStart = MoxPolygonPosition(lVertex);
        return true;
    }
    return false;
}

// Without the map: the first side, in polygon-vertex order, that joins pStart and pEnd in either
// direction. The scan follows the polygons by their records (a side wraps at the current polygon's last
// vertex) and reports a polygon that does not begin right after the previous one.
bool FindSideByScan(const MoxMesh& pMesh, int pStart, int pEnd, int& pSideStart)
{
    const int lVertexCount = pMesh.mPolygonVertices.GetCount();
    const int lPolygonCount = pMesh.mPolygons.GetCount();
    if (lVertexCount == 0 || lPolygonCount == 0) return false;
    const int* lVertices = pMesh.mPolygonVertices.GetArray();
    const MoxMesh::PolygonDef* lPolys = pMesh.mPolygons.GetArray();
    int lPolygonIndex = 0;
    int64_t lLast = int64_t(lPolys[0].mSize) - 1;
    for (int i = 0; i < lVertexCount; ++i) {
        const int lSideEnd =
            MoxReadVertex(pMesh.mPolygonVertices, i == lLast ? lPolys[lPolygonIndex].mIndex : int64_t(i) + 1);
        if ((lVertices[i] == pStart && lSideEnd == pEnd) || (lVertices[i] == pEnd && lSideEnd == pStart)) {
            pSideStart = i;
            return true;
        }
        if (i == lLast && lPolygonIndex < lPolygonCount - 1) {
            ++lPolygonIndex;
            if (i + 1 != lPolys[lPolygonIndex].mIndex)
                _MoxAssert(sgFile, "SetMeshEdgeIndex", __LINE__, sgPolygonsNotBackToBack.mText);
            lLast = int64_t(lPolys[lPolygonIndex].mIndex) + lPolys[lPolygonIndex].mSize - 1;
        }
    }
    return false;
}

// The blocks that BeginAddMeshEdgeIndex allocates. Whatever has not been handed over to mV2PVMap when
// the build ends is freed, so that a failed allocation leaks nothing.
struct V2PVBlocks {
    V2PVBlocks() = default;
    ~V2PVBlocks()
    {
        MoxFree(mCount);
        MoxFree(mOffset);
        MoxFree(mCounter);
        MoxFree(mPairs);
    }
    V2PVBlocks(const V2PVBlocks&) = delete;
    V2PVBlocks& operator=(const V2PVBlocks&) = delete;
    V2PVBlocks(V2PVBlocks&&) = delete;
    V2PVBlocks& operator=(V2PVBlocks&&) = delete;

    int* mCount = nullptr;
    int* mOffset = nullptr;
    int* mCounter = nullptr;
    MoxPair<int, int>* mPairs = nullptr;
};

// pCount values of T for the block named pName of the map build; the name is reported when the memory
// cannot be had.
template <class T>
bool AllocateV2PVBlock(T*& pBlock, int64_t pCount, const char* pName)
{
    pBlock = pCount < 0 ? nullptr : static_cast<T*>(MoxMalloc(MoxAllocSize(static_cast<size_t>(pCount), sizeof(T))));
    if (!pBlock) _MoxAssert(sgFile, "BeginAddMeshEdgeIndex", __LINE__, pName);
    return pBlock != nullptr;
}

// Calls pVisit(polygon, position, control point) for every polygon vertex in order whose control point
// lies in 0 .. pControlPointsCount - 1; any other is reported and left out of the map.
template <class VISIT>
void ForEachMappedCorner(const MoxMesh& pMesh, int pControlPointsCount, VISIT pVisit)
{
    const int lPolygonCount = pMesh.GetPolygonCount();
    for (int p = 0; p < lPolygonCount; ++p) {
        // GetPolygonVertex(p, i), with the record read once.
        const MoxMesh::PolygonDef lPolygon = pMesh.mPolygons.GetArray()[p];
        for (int i = 0; i < lPolygon.mSize; ++i) {
            const int lVertex = MoxReadVertex(pMesh.mPolygonVertices, int64_t(lPolygon.mIndex) + i);
            if (lVertex < 0 || lVertex >= pControlPointsCount) {
                _MoxAssert(sgFile, "BeginAddMeshEdgeIndex", __LINE__, sgVertexOutsideControlPoints.mText);
                continue;
            }
            pVisit(p, i, lVertex);
        }
    }
}

// The counting sort of the map: count per control point, prefix sum, placement in polygon order.
// False, after the block's name is reported, when a block cannot be had.
bool BuildV2PVBlocks(const MoxMesh& pMesh, int pControlPointsCount, V2PVBlocks& pBlocks)
{
    if (!AllocateV2PVBlock(pBlocks.mCount, pControlPointsCount, sgNoV2PVCountMemory.mText)) return false;
    std::fill(pBlocks.mCount, pBlocks.mCount + pControlPointsCount, 0);
    ForEachMappedCorner(pMesh, pControlPointsCount, [&pBlocks](int, int, int pVertex) { ++pBlocks.mCount[pVertex]; });

    if (!AllocateV2PVBlock(pBlocks.mOffset, int64_t(pControlPointsCount) + 1, sgNoV2PVOffsetMemory.mText)) return false;
    pBlocks.mOffset[0] = 0;
    for (int c = 0; c < pControlPointsCount; ++c) pBlocks.mOffset[c + 1] = pBlocks.mOffset[c] + pBlocks.mCount[c];

    if (!AllocateV2PVBlock(pBlocks.mCounter, pControlPointsCount, sgNoV2PVCounterMemory.mText)) return false;
    std::fill(pBlocks.mCounter, pBlocks.mCounter + pControlPointsCount, 0);
    if (!AllocateV2PVBlock(pBlocks.mPairs, pBlocks.mOffset[pControlPointsCount], sgNoV2PVMemory.mText)) return false;
    ForEachMappedCorner(pMesh, pControlPointsCount, [&pBlocks](int pPolygon, int pPosition, int pVertex) {
        pBlocks.mPairs[pBlocks.mOffset[pVertex] + pBlocks.mCounter[pVertex]++] = MoxPair<int, int>(pPolygon, pPosition);
    });
    MoxFree(pBlocks.mCounter);
    pBlocks.mCounter = nullptr;
    return true;
}

// An edge of the edge set, (smaller, larger) control point, as a number that sorts in the set's order:
// by the larger control point, then the smaller.
uint64_t EdgeSetKey(const MoxPair<int, int>& pEdge)
{
    return (uint64_t(static_cast<uint32_t>(pEdge.mSecond) ^ 0x80000000u) << 32) |
           (static_cast<uint32_t>(pEdge.mFirst) ^ 0x80000000u);
}

MoxPair<int, int> EdgeSetEdge(uint64_t pKey)
{
    return MoxPair<int, int>(static_cast<int>(static_cast<uint32_t>(pKey) ^ 0x80000000u),
                             static_cast<int>(static_cast<uint32_t>(pKey >> 32) ^ 0x80000000u));
}

// Writes pKeys (edge-set keys of edges whose smaller control point is below pControlPointsCount) to
// pSorted in the set's order, in linear time: a counting sort by larger control point for those below
// pControlPointsCount, each group (one control point's edges: short, except at a fan's apex) then put in
// order by smaller control point, and the rest after them. False, after the report "lStarts", without
// memory for the counts.
bool SortEdgeKeys(const uint64_t* pKeys, int pCount, int pControlPointsCount, uint64_t* pSorted)
{
    MoxScratch<int> lStarts(int64_t(pControlPointsCount) + 1);
    if (!lStarts.Get()) {
        _MoxAssert(sgFile, "BeginAddMeshEdgeIndex", __LINE__, sgNoStartsMemory.mText);
        return false;
    }
    std::fill(lStarts.Get(), lStarts.Get() + pControlPointsCount + 1, 0);
    const auto lGroup = [pControlPointsCount](uint64_t pKey) {
        const int lLarger = EdgeSetEdge(pKey).mSecond;
        return lLarger >= 0 && lLarger < pControlPointsCount ? lLarger : pControlPointsCount;
    };
    for (int k = 0; k < pCount; ++k) ++lStarts[lGroup(pKeys[k])];
    int lTotal = 0;
    for (int c = 0; c <= pControlPointsCount; ++c) {
        const int lSize = lStarts[c];
        lStarts[c] = lTotal;
        lTotal += lSize;
    }
    for (int k = 0; k < pCount; ++k) pSorted[lStarts[lGroup(pKeys[k])]++] = pKeys[k];
    // Each lStarts[c] is now where group c ends; the keys of a group differ only by smaller control point.
    for (int c = 0, lBegin = 0; c <= pControlPointsCount; lBegin = lStarts[c++])
        if (lStarts[c] - lBegin > 1) std::sort(pSorted + lBegin, pSorted + lStarts[c]);
    return true;
}

// Enters every existing edge into the map's edge set as (smaller, larger) control point, skipping edges
// with a negative end and reporting those whose start is not a control point. The keys are sorted first
// (SortEdgeKeys) and the tree is built from them in one pass (MoxSet::BuildSorted), in O(n) instead of
// one O(log n) descent per edge; without memory for the keys (reported) they are inserted one by one.
void FillEdgeSet(MoxMesh& pMesh, int pControlPointsCount)
{
    pMesh.BeginGetMeshEdgeVertices();
    const int lEdgeCount = pMesh.GetMeshEdgeCount();
    auto& lEdgeSet = pMesh.mV2PVMap.mEdgeSet;
    lEdgeSet.Reserve(lEdgeCount);
    MoxScratch<uint64_t> lKeys(lEdgeCount);
    if (!lKeys.Get()) _MoxAssert(sgFile, "BeginAddMeshEdgeIndex", __LINE__, sgNoKeysMemory.mText);
    int lKeyCount = 0;
    for (int e = 0; e < lEdgeCount; ++e) {
        int lStart = -1;
        int lEnd = -1;
        pMesh.GetMeshEdgeVertices(e, lStart, lEnd);
        if (lStart < 0 || lEnd < 0) continue;
        if (lStart >= pControlPointsCount) {
            _MoxAssert(sgFile, "BeginAddMeshEdgeIndex", __LINE__, sgEdgeStartPastControlPoints.mText);
            continue;
        }
        const MoxPair<int, int> lEdge(std::min(lStart, lEnd), std::max(lStart, lEnd));
        if (lKeys.Get()) {
            lKeys[lKeyCount++] = EdgeSetKey(lEdge);
        } else {
            lEdgeSet.Insert(lEdge);
        }
    }
    MoxScratch<uint64_t> lSorted(lKeyCount);
    if (!lSorted.Get()) _MoxAssert(sgFile, "BeginAddMeshEdgeIndex", __LINE__, sgNoSortedMemory.mText);
    uint64_t* lOrder = lSorted.Get() && SortEdgeKeys(lKeys.Get(), lKeyCount, pControlPointsCount, lSorted.Get())
                           ? lSorted.Get()
                           : lKeys.Get();
    if (lOrder == lKeys.Get()) std::sort(lKeys.Get(), lKeys.Get() + lKeyCount);
    const int lEdgeSetCount = static_cast<int>(std::unique(lOrder, lOrder + lKeyCount) - lOrder);
    const auto lEdgeAt = [lOrder](int pIndex) { return EdgeSetEdge(lOrder[pIndex]); };
    if (!lEdgeSet.BuildSorted(lEdgeSetCount, lEdgeAt))
        for (int k = 0; k < lEdgeSetCount; ++k) lEdgeSet.Insert(lEdgeAt(k));
    pMesh.EndGetMeshEdgeVertices();
}

// ---- The neighbour index of high-valence control points (mV2PVNeighbours) ----------------------------
//
// Layout, empty when no control point qualifies:
//   [0], [1], [2]        polygon count, polygon-vertex count and polygon edit count when built (the index
//                        is used only while all three still hold);
//   [3]                  H, the number of indexed control points;
//   [4, 4 + H)           the indexed control points, increasing;
//   [4 + H, 5 + 2H)      where each one's entries begin (positions in the array), and where the last end;
//   then the entries:    per corner k (rank in the control point's pairs) one entry per control point next
//                        to the corner, neighbour * 2^32 + k, sorted and without repeats.
// The neighbours of a corner are the control points at the next vertex (the first after the last) and at
// the previous vertex under both rules the walks use: the one of SetMeshEdgeIndex (in a polygon of one
// vertex, the vertex before it in the array) and the one of ComputeComponentMaps (the polygon's last).
// A control point qualifies when it has more than sgHighValence corners, each still a corner of it (a
// position of its polygon, holding the control point), and every position those rules read is inside
// mPolygonVertices, so that walking only the candidates makes the same reads, and the same reports
// (none), as walking all corners.

constexpr int sgHeaderSize = 4;

long long NeighbourEntry(int pNeighbour, int pRank)
{
    return static_cast<long long>(pNeighbour) * (1LL << 32) + pRank;
}

int EntryRank(long long pEntry)
{
    return static_cast<int>(static_cast<unsigned long long>(pEntry) & 0xffffffffu);
}

// The positions around corner pCorner: its vertex, the next, and the previous under both rules.
struct CornerPositions {
    int64_t mVertex, mNext, mPreviousWalk, mPreviousMaps;
};

CornerPositions PositionsAround(const MoxMesh::PolygonDef& pPolygon, int pPosition)
{
    const int64_t lFirst = pPolygon.mIndex;
    const int64_t lLast = lFirst + pPolygon.mSize - 1;
    const int64_t lVertex = lFirst + pPosition;
    const int64_t lBefore = pPosition == 0 ? lLast : lVertex - 1;
    return CornerPositions{lVertex, lVertex == lLast ? lFirst : lVertex + 1, lVertex == lLast ? lVertex - 1 : lBefore,
                           lBefore};
}

// True when every corner of pControlPoint in the map is a position of its polygon that holds
// pControlPoint, in a polygon whose reads stay inside mPolygonVertices. (Always so for the polygons the
// map was built from; the polygons as they are later may differ.)
bool HasPlainCorners(const MoxMesh& pMesh, int pControlPoint, int pCount)
{
    const int lVertexCount = pMesh.mPolygonVertices.GetCount();
    for (int k = 0; k < pCount; ++k) {
        const MoxPair<int, int> lCorner = MoxMapCorner(pMesh, pControlPoint, k);
        if (lCorner.mFirst < 0 || lCorner.mFirst >= pMesh.mPolygons.GetCount()) return false;
        const MoxMesh::PolygonDef& lPolygon = pMesh.mPolygons.GetArray()[lCorner.mFirst];
        const CornerPositions lAround = PositionsAround(lPolygon, lCorner.mSecond);
        if (lPolygon.mIndex < 0 || int64_t(lPolygon.mIndex) + lPolygon.mSize > lVertexCount || lCorner.mSecond < 0 ||
            lCorner.mSecond >= lPolygon.mSize || lAround.mPreviousWalk < 0 ||
            pMesh.mPolygonVertices.GetArray()[lAround.mVertex] != pControlPoint)
            return false;
    }
    return true;
}

// Writes the sorted, distinct entries of pControlPoint at pEntries; returns how many.
int FillNeighbourEntries(const MoxMesh& pMesh, int pControlPoint, int pCount, long long* pEntries)
{
    const int* lVertices = pMesh.mPolygonVertices.GetArray();
    int lEntryCount = 0;
    for (int k = 0; k < pCount; ++k) {
        const MoxPair<int, int> lCorner = MoxMapCorner(pMesh, pControlPoint, k);
        const CornerPositions lAround = PositionsAround(pMesh.mPolygons.GetArray()[lCorner.mFirst], lCorner.mSecond);
        pEntries[lEntryCount++] = NeighbourEntry(lVertices[lAround.mNext], k);
        pEntries[lEntryCount++] = NeighbourEntry(lVertices[lAround.mPreviousWalk], k);
        pEntries[lEntryCount++] = NeighbourEntry(lVertices[lAround.mPreviousMaps], k);
    }
    std::sort(pEntries, pEntries + lEntryCount);
    return static_cast<int>(std::unique(pEntries, pEntries + lEntryCount) - pEntries);
}

// The neighbour index of the map over pControlPointsCount control points (layout above), from the polygons
// as they are, after pEditCount polygon edits; empty when no control point qualifies or the memory cannot
// be had.
MoxArray<long long> BuildNeighbourIndex(const MoxMesh& pMesh, int pControlPointsCount, unsigned int pEditCount)
{
    MoxArray<long long> lIndex;
    const int* lCounts = pMesh.mV2PVMap.mVertex2PVCount;
    int lIndexed = 0;
    int64_t lEntryRoom = 0;
    for (int c = 0; c < pControlPointsCount; ++c) {
        if (lCounts[c] <= sgHighValence || !HasPlainCorners(pMesh, c, lCounts[c])) continue;
        ++lIndexed;
        lEntryRoom += 3 * int64_t(lCounts[c]);
    }
    const int64_t lFirstEntry = sgHeaderSize + 2 * int64_t(lIndexed) + 1;
    if (lIndexed == 0 || lFirstEntry + lEntryRoom > INT_MAX ||
        !lIndex.ResizeUninitialized(static_cast<int>(lFirstEntry + lEntryRoom)))
        return lIndex;
    long long* lData = lIndex.GetArray();
    lData[0] = pMesh.GetPolygonCount();
    lData[1] = pMesh.GetPolygonVertexCount();
    lData[2] = pEditCount;
    lData[3] = lIndexed;
    long long* lPoints = lData + sgHeaderSize;
    long long* lBounds = lPoints + lIndexed;
    long long lPosition = lFirstEntry;
    int h = 0;
    for (int c = 0; c < pControlPointsCount && h < lIndexed; ++c) {
        if (lCounts[c] <= sgHighValence || !HasPlainCorners(pMesh, c, lCounts[c])) continue;
        lPoints[h] = c;
        lBounds[h++] = lPosition;
        lPosition += FillNeighbourEntries(pMesh, c, lCounts[c], lData + lPosition);
    }
    lBounds[lIndexed] = lPosition;
    lIndex.Resize(static_cast<int>(lPosition), true);
    return lIndex;
}

// The entries of pControlPoint in the neighbour index, when the index covers it and still describes the
// polygons (the counts hold and pEditCount edits is what it was built after).
bool FindNeighbourEntries(const MoxMesh& pMesh, const MoxArray<long long>& pIndex, unsigned int pEditCount,
                          int pControlPoint, const long long*& pBegin, const long long*& pEnd)
{
    if (pIndex.GetCount() < sgHeaderSize) return false;
    const long long* lData = pIndex.GetArray();
    if (lData[0] != pMesh.GetPolygonCount() || lData[1] != pMesh.GetPolygonVertexCount() ||
        lData[2] != static_cast<long long>(pEditCount))
        return false;
    const long long* lPoints = lData + sgHeaderSize;
    const long long* lPointsEnd = lPoints + lData[3];
    const long long* lFound = std::lower_bound(lPoints, lPointsEnd, static_cast<long long>(pControlPoint));
    if (lFound == lPointsEnd || *lFound != pControlPoint) return false;
    const long long* lBounds = lPointsEnd;
    pBegin = lData + lBounds[lFound - lPoints];
    pEnd = lData + lBounds[lFound - lPoints + 1];
    return true;
}

// ---- Removal of listed edges -------------------------------------------------------------------------

// True when the list is strictly increasing from a non-negative entry: removing its positions one by one
// from the last then drops exactly the listed positions, which one pass per array can do.
bool IsIncreasingList(const int* pList, int pCount)
{
    if (pList[0] < 0) return false;
    for (int i = 1; i < pCount; ++i)
        if (pList[i] <= pList[i - 1]) return false;
    return true;
}

// Moves the values at the positions not listed (an increasing list) down over the listed ones, in one
// pass; listed positions at or past pCount are ignored. Returns the new count. Runs between listed
// positions are short when many are listed, so values are moved one by one rather than by memmove.
template <class T>
int CompactRuns(T* pData, int pCount, const int* pList, int pListCount)
{
    int lWrite = 0;
    int lRead = 0;
    for (int i = 0; i < pListCount && pList[i] < pCount; lRead = pList[i++] + 1)
        while (lRead < pList[i]) pData[lWrite++] = pData[lRead++];
    while (lRead < pCount) pData[lWrite++] = pData[lRead++];
    return lWrite;
}

// A value of SIZE bytes, moved as one.
template <int SIZE>
struct Bytes {
    unsigned char mData[SIZE];
};

// CompactRuns for the value sizes of layer element arrays (MoxLayerElementValueSize); an array of any
// other size holds no values that could be reached, and keeps its count.
int CompactValues(void* pData, int pValueSize, int pCount, const int* pList, int pListCount)
{
    switch (pValueSize) {
        case 1:
            return CompactRuns(static_cast<Bytes<1>*>(pData), pCount, pList, pListCount);
        case 4:
            return CompactRuns(static_cast<Bytes<4>*>(pData), pCount, pList, pListCount);
        case 8:
            return CompactRuns(static_cast<Bytes<8>*>(pData), pCount, pList, pListCount);
        case 16:
            return CompactRuns(static_cast<Bytes<16>*>(pData), pCount, pList, pListCount);
        case 32:
            return CompactRuns(static_cast<Bytes<32>*>(pData), pCount, pList, pListCount);
        default:
            return pCount;
    }
}

// Drops the listed positions (an increasing list, all below the count) from the edge array, leaving in
// the freed slots what removing them one by one from the last does: each such RemoveAt frees the slot
// after the new last value and leaves there the last value of that moment. False, nothing changed,
// after the report "lFreed", without memory for those values.
bool CompactEdgeArray(MoxArray<int>& pEdges, const int* pList, int pListCount)
{
    MoxScratch<int> lFreed(pListCount);
    if (!lFreed.Get()) {
        _MoxAssert(sgFile, "RemoveDuplicatedEdges", __LINE__, sgNoFreedMemory.mText);
        return false;
    }
    const int lCount = pEdges.GetCount();
    int* lData = pEdges.GetArray();
    int lLast = lCount - 1;  // the last position not yet removed, before removal i
    for (int i = 0; i < pListCount; ++i) {
        lFreed[i] = lData[lLast];
        if (pList[pListCount - 1 - i] == lLast) --lLast;
    }
    const int lNewCount = CompactRuns(lData, lCount, pList, pListCount);
    for (int i = 0; i < pListCount; ++i) lData[lCount - 1 - i] = lFreed[i];
    // Resize to 0 would free the block, which RemoveAt never does: drop the last value with RemoveAt.
    pEdges.Resize(lNewCount + 1, true);
    pEdges.RemoveAt(lNewCount);
    return true;
}

// As CompactValues for a layer element array, whose RemoveAt ignores positions past its count and which
// keeps its storage past the count zero (SetCount does that).
void CompactLayerArray(MoxLayerElementArray& pArray, const int* pList, int pListCount)
{
    void* lData = pArray.GetLocked(MoxLayerElementArray::eReadWriteLock);
    if (!lData) return;
    const int lCount =
        CompactValues(lData, MoxLayerElementValueSize(pArray.GetDataType()), pArray.GetCount(), pList, pListCount);
    pArray.Release(&lData);
    pArray.SetCount(lCount);
}

// The value array of user-data field pField when RemoveFromAllDirectArrays removes values from it (a
// bool, int, float or double field whose array has that type), else null. pRemovableType tells whether
// the field's type is one that values are removed from at all: any other is reported per removal.
MoxLayerElementArray* RemovableField(MoxLayerElementUserData& pUserData, int pField, bool& pRemovableType)
{
    const EMoxType lType = pUserData.GetDataType(pField).GetType();
    pRemovableType = lType == eMoxBool || lType == eMoxInt || lType == eMoxFloat || lType == eMoxDouble;
    if (!pRemovableType) return nullptr;
    auto* lArray = static_cast<MoxLayerElementArray*>(pUserData.GetDirectArrayVoid(pField));
    return lArray && lArray->GetDataType() == lType ? lArray : nullptr;
}

// True when two fields of the user data share one value array (only a user write to the direct array
// does that); such an array loses one value per field and removal, so it is left to the one-by-one path.
bool HasSharedFields(MoxLayerElementUserData& pUserData)
{
    const int lFieldCount = pUserData.GetDirectArrayCount();
    bool lRemovableType = false;
    for (int i = 0; i < lFieldCount; ++i) {
        const MoxLayerElementArray* lArray = RemovableField(pUserData, i, lRemovableType);
        for (int j = 0; lArray && j < i; ++j)
            if (RemovableField(pUserData, j, lRemovableType) == lArray) return true;
    }
    return false;
}

// The array of an edge-mapped element that loses the removed edges: the index array for eIndexToDirect,
// the direct array for eDirect; null for any other element.
template <class T>
MoxLayerElementArray* EdgeMappedArray(MoxLayerElementTemplate<T>* pElement)
{
    if (!pElement || pElement->GetMappingMode() != MoxLayerElement::eByEdge) return nullptr;
    if (pElement->GetReferenceMode() == MoxLayerElement::eIndexToDirect) return &pElement->GetIndexArray();
    if (pElement->GetReferenceMode() == MoxLayerElement::eDirect) return &pElement->GetDirectArray();
    return nullptr;
}

// Removes the listed edges from one array after another: in one pass per array when the list allows it
// (mAtOnce), else one by one from the last listed entry, as the list asks.
class EdgeRemoval {
public:
    EdgeRemoval(const MoxArray<int>& pList, bool pAtOnce) : mList(pList), mAtOnce(pAtOnce) {}

    void FromArray(MoxLayerElementArray* pArray) const
    {
        if (!pArray) return;
        if (mAtOnce) {
            CompactLayerArray(*pArray, mList.GetArray(), mList.GetCount());
            return;
        }
        for (int i = mList.GetCount() - 1; i >= 0; --i) pArray->RemoveAt(mList[i], nullptr, pArray->GetDataType());
    }

    // eIndexToDirect user data loses index entries; eDirect user data loses the values of its fields.
    void FromUserData(MoxLayerElementUserData* pUserData) const
    {
        if (!pUserData || pUserData->GetMappingMode() != MoxLayerElement::eByEdge) return;
        if (pUserData->GetReferenceMode() == MoxLayerElement::eIndexToDirect) FromArray(&pUserData->GetIndexArray());
        if (pUserData->GetReferenceMode() != MoxLayerElement::eDirect) return;
        if (!mAtOnce || HasSharedFields(*pUserData)) {
            for (int i = mList.GetCount() - 1; i >= 0; --i) pUserData->RemoveFromAllDirectArrays(mList[i]);
            return;
        }
        bool lOtherTypes = false;
        for (int f = 0; f < pUserData->GetDirectArrayCount(); ++f) {
            bool lRemovableType = false;
            MoxLayerElementArray* lArray = RemovableField(*pUserData, f, lRemovableType);
            if (lArray) CompactLayerArray(*lArray, mList.GetArray(), mList.GetCount());
            lOtherTypes = lOtherTypes || !lRemovableType;
        }
        // Fields of other types are reported once per removed edge; position -1 makes those reports
        // without removing anything.
        for (int i = 0; lOtherTypes && i < mList.GetCount(); ++i) pUserData->RemoveFromAllDirectArrays(-1);
    }

private:
    const MoxArray<int>& mList;
    bool mAtOnce;
};

}  // namespace

// ---- Edge table construction -----------------------------------------------------------------------

void MoxMesh::SetMeshEdgeCount(int pEdgeCount)
{
    mEdgeArray.Resize(pEdgeCount, false);
}

void MoxMesh::BuildMeshEdgeArray()
{
    mEdgeArray.Clear();
    int lCount = 0;
    FillMeshEdgeTable(mEdgeArray, &lCount, FillEdgeArray);
}

// Visits the sides in (polygon, position) order and hands each side that joins a new unordered pair of
// control points to FillFct: once per distinct edge, in edge order. A side from a control point to
// itself is a pair of its own.
// The fill function keeps the name that its report shows.
void MoxMesh::FillMeshEdgeTable(MoxArray<int>& pTable, int* pCount,
                                FillFunction FillFct)  // NOLINT(readability-identifier-naming)
{
    MOX_ASSERT_MSG(sgFile, FillFct != nullptr, sgNoFillFunction.mText);
    // The pairs are grouped by smaller control point, with room for every side counted first.
    MoxPairSet lKnownPairs;
    lKnownPairs.BeginCounting(GetControlPointsCount());
    ForEachSide(*this, &MoxPeekVertex, [&lKnownPairs](int64_t, int pStart, int pEnd) {
        lKnownPairs.Count(std::min(pStart, pEnd));
        return true;
    });
    lKnownPairs.EndCounting();
    bool lOutOfMemory = false;
    ForEachSide(*this, &MoxReadVertex, [&](int64_t pPosition, int pStart, int pEnd) {
        const MoxInt64Set::EInsertResult lResult =
            lKnownPairs.Insert(std::min(pStart, pEnd), std::max(pStart, pEnd), MoxUnorderedPairKey(pStart, pEnd));
        lOutOfMemory = lResult == MoxInt64Set::eNoMemory;
        // Positions past INT_MAX (only after user writes) wrap as the int sum would.
        if (lResult == MoxInt64Set::eAdded && FillFct)
            FillFct(pTable, static_cast<int>(static_cast<uint32_t>(pPosition)), pCount);
        return !lOutOfMemory;
    });
    if (lOutOfMemory) MOX_REPORT(sgFile, sgNoEdgeStartsMemory.mText);
}

int MoxMesh::FindPolygonIndex(int pEdgeIndex)  // NOLINT(readability-make-member-function-const): public interface
{
    if (pEdgeIndex < 0 || pEdgeIndex >= mEdgeArray.GetCount()) return -1;
    const PolygonDef* lPolygons = mPolygons.GetArray();
    if (!lPolygons) return -1;
    const PolygonDef lKey{mEdgeArray.GetArray()[pEdgeIndex], 0, 0};
    const void* lFound = std::bsearch(&lKey, lPolygons, static_cast<size_t>(mPolygons.GetCount()), sizeof(PolygonDef),
                                      &PolygonIndexCompare);
    return lFound ? static_cast<int>(static_cast<const PolygonDef*>(lFound) - lPolygons) : -1;
}

// Ends are computed in 64 bits, so that a record written out of range by the user cannot overflow.
int MoxMesh::PolygonIndexCompare(const void* pA, const void* pB)
{
    const PolygonDef& lA = *static_cast<const PolygonDef*>(pA);
    const PolygonDef& lB = *static_cast<const PolygonDef*>(pB);
    if (lA.mIndex < lB.mIndex && int64_t(lA.mIndex) + lA.mSize <= lB.mIndex) return -1;
    if (lB.mIndex < lA.mIndex && int64_t(lB.mIndex) + lB.mSize <= lA.mIndex) return 1;
    return 0;
}

// ---- Edge editing ----------------------------------------------------------------------------------

int MoxMesh::AddMeshEdgeIndex(int pStartVertexIndex, int pEndVertexIndex, bool pCheckForDuplicates)
{
    if (pCheckForDuplicates) {
        bool lReversed = false;
        if (GetMeshEdgeIndex(pStartVertexIndex, pEndVertexIndex, lReversed, -1) != -1) return -1;
    }
    mEdgeArray.Grow(1);
    const int lResult = SetMeshEdgeIndex(mEdgeArray.GetCount() - 1, pStartVertexIndex, pEndVertexIndex, false, -1);
    // Shrinking zero-fills nothing, so the uninitialised resize is the same exact-size reallocation.
    const int lGrownCount = mEdgeArray.GetCount();
    if (lResult < 0 && lGrownCount > 0) mEdgeArray.ResizeUninitialized(lGrownCount - 1, false);
    return lResult;
}

int MoxMesh::SetMeshEdgeIndex(int pEdgeIndex, int pStartVertexIndex, int pEndVertexIndex, bool pCheckForDuplicates,
                              int pExistedEdgeCount)
{
    const int lControlPointsCount = GetControlPointsCount();
    if (pStartVertexIndex < 0 || pStartVertexIndex >= lControlPointsCount || pEndVertexIndex < 0 ||
        pEndVertexIndex >= lControlPointsCount || pEdgeIndex < 0 || pEdgeIndex >= GetMeshEdgeCount()) {
        MOX_REPORT(sgFile, sgFailed.mText);
        return -1;
    }
    const MoxPair<int, int> lEdge(std::min(pStartVertexIndex, pEndVertexIndex),
                                  std::max(pStartVertexIndex, pEndVertexIndex));
    if (pCheckForDuplicates) {
        if (mV2PVMap.mValid) {
            if (mV2PVMap.mEdgeSet.Find(lEdge)) return -2;
        } else {
            bool lReversed = false;
            const int lLimit = pExistedEdgeCount == -1 ? GetMeshEdgeCount() : pExistedEdgeCount;
            if (GetMeshEdgeIndex(pStartVertexIndex, pEndVertexIndex, lReversed, lLimit) != -1) return -2;
        }
    }
    int lSideStart = -1;
    bool lFound = false;
    if (mV2PVMap.mValid) {
        // The first corner of the start, in map order, with the end before or after it.
        for (int k = NextV2PVCorner(pStartVertexIndex, pEndVertexIndex, 0); k != -1 && !lFound;
             k = NextV2PVCorner(pStartVertexIndex, pEndVertexIndex, k + 1))
            lFound = FindSideAtCorner(*this, MoxMapCorner(*this, pStartVertexIndex, k), pEndVertexIndex, lSideStart);
    } else {
        lFound = FindSideByScan(*this, pStartVertexIndex, pEndVertexIndex, lSideStart);
    }
    if (!lFound) return -1;
    mEdgeArray.GetArray()[pEdgeIndex] = lSideStart;
    if (mV2PVMap.mValid) mV2PVMap.mEdgeSet.Insert(lEdge);
    return pEdgeIndex;
}

bool MoxMesh::SetMeshEdgeIndex(int pEdgeIndex, int pPolygonIndex, int pPositionInPolygon)
{
    if (pEdgeIndex < 0 || pEdgeIndex >= GetMeshEdgeCount()) return false;
    if (pPolygonIndex < 0 || pPolygonIndex >= GetPolygonCount()) return false;
    const PolygonDef lPolygon = mPolygons.GetArray()[pPolygonIndex];
    if (pPositionInPolygon < 0 || pPositionInPolygon >= lPolygon.mSize) return false;
    const int64_t lVertex = int64_t(lPolygon.mIndex) + pPositionInPolygon;
    const int lStart = MoxReadVertex(mPolygonVertices, lVertex);
    const int lEnd = MoxReadVertex(mPolygonVertices, SideEnd(lPolygon, pPositionInPolygon));
    bool lReversed = false;
    if (GetMeshEdgeIndex(lStart, lEnd, lReversed, -1) != -1) return false;
    mEdgeArray.GetArray()[pEdgeIndex] = MoxPolygonPosition(lVertex);
    return true;
}

// The range test lets pPolygonIndex equal to the polygon count through; reading that record is then
// reported by the polygon array.
int MoxMesh::AddMeshEdgeIndexForPolygon(int pPolygonIndex, int pPositionInPolygon)
{
    if (pPolygonIndex < 0 || pPolygonIndex > GetPolygonCount()) return -1;
    const PolygonDef lPolygon = mPolygons[pPolygonIndex];
    if (pPositionInPolygon < 0 || pPositionInPolygon >= lPolygon.mSize) return -1;
    const int64_t lVertex = int64_t(lPolygon.mIndex) + pPositionInPolygon;
    if (lVertex >= mPolygonVertices.GetCount()) MOX_REPORT(sgFile, sgPositionOutsideVertices.mText);
    const int lStart = MoxReadVertex(mPolygonVertices, lVertex);
    const int lEnd = MoxReadVertex(mPolygonVertices, SideEnd(lPolygon, pPositionInPolygon));
    return AddMeshEdgeIndex(lStart, lEnd, true);
}

// ---- Edge queries ----------------------------------------------------------------------------------

int MoxMesh::GetMeshEdgeIndex(int pStartVertexIndex, int pEndVertexIndex, bool& pReversed, int pExistedEdgeCount)
{
    const int lControlPointsCount = GetControlPointsCount();
    if (pStartVertexIndex < 0 || pStartVertexIndex >= lControlPointsCount || pEndVertexIndex < 0 ||
        pEndVertexIndex >= lControlPointsCount)
        return -1;
    const int lEdgeCount = GetMeshEdgeCount();
    if (pExistedEdgeCount > lEdgeCount) return -1;
    const int lLimit = pExistedEdgeCount == -1 ? lEdgeCount : pExistedEdgeCount;
    const int* lEdges = mEdgeArray.GetArray();
    for (int e = 0; e < lLimit; ++e) {
        const int lStart = mPolygonVertices[lEdges[e]];
        if (lStart != pStartVertexIndex && lStart != pEndVertexIndex) continue;
        const int lPolygon = FindPolygonIndex(e);
        if (lPolygon == -1) continue;
        const int lEnd = MoxReadVertex(mPolygonVertices, NextVertex(mPolygons.GetArray()[lPolygon], lEdges[e]));
        if (lStart == pStartVertexIndex && lEnd == pEndVertexIndex) {
            pReversed = false;
            return e;
        }
        if (lStart == pEndVertexIndex && lEnd == pStartVertexIndex) {
            pReversed = true;
            return e;
        }
    }
    return -1;
}

void MoxMesh::GetMeshEdgeVertices(int pEdgeIndex, int& pStartVertexIndex, int& pEndVertexIndex) const
{
    const int lVertexCount = mPolygonVertices.GetCount();
    const int lVertex = pEdgeIndex >= 0 && pEdgeIndex < GetMeshEdgeCount() ? mEdgeArray.GetArray()[pEdgeIndex] : -1;
    if (lVertex < 0 || lVertex >= lVertexCount) {
        pStartVertexIndex = -1;
        pEndVertexIndex = -1;
        return;
    }
    pStartVertexIndex = mPolygonVertices.GetArray()[lVertex];
    if (mEdgeLookup.mValid) {
        const int lClosing = mEdgeLookup.mClosingVertex[lVertex];
        pEndVertexIndex = lClosing != -1 ? lClosing : MoxReadVertex(mPolygonVertices, int64_t(lVertex) + 1);
        return;
    }
    // Without the cache: the first polygon that ends at the vertex closes the side to its first vertex.
    for (const PolygonDef& lPolygon : mPolygons) {
        if (int64_t(lPolygon.mIndex) + lPolygon.mSize - 1 == lVertex) {
            pEndVertexIndex = mPolygonVertices[lPolygon.mIndex];
            return;
        }
    }
    MOX_ASSERT_MSG(sgFile, lVertex + 1 < lVertexCount, sgEdgeAtLastVertex.mText);
    pEndVertexIndex = MoxReadVertex(mPolygonVertices, int64_t(lVertex) + 1);
}

// Each polygon's last vertex (mIndex + mSize - 1, through the array's checked access) gets its first
// control point; polygons are taken in order, so of two records naming the same last vertex the later
// one wins. When the array cannot be sized the cache stays unbuilt.
void MoxMesh::BeginGetMeshEdgeVertices()
{
    if (mEdgeLookup.mValid) return;
    MoxArray<int>& lClosing = mEdgeLookup.mClosingVertex;
    lClosing.Clear();
    const int lVertexCount = mPolygonVertices.GetCount();
    if (!lClosing.Resize(lVertexCount, false)) return;
    std::fill(lClosing.begin(), lClosing.end(), -1);
    for (const PolygonDef& lPolygon : mPolygons) {
        const int lFirst = mPolygonVertices[lPolygon.mIndex];
        lClosing[MoxPolygonPosition(int64_t(lPolygon.mIndex) + lPolygon.mSize - 1)] = lFirst;
    }
    mEdgeLookup.mValid = true;
}

void MoxMesh::EndGetMeshEdgeVertices()
{
    if (!mEdgeLookup.mValid) return;
    mEdgeLookup.mClosingVertex.Clear();
    mEdgeLookup.mValid = false;
}

// mPVToEdge gets, at each polygon vertex that starts a distinct edge in walk order, that vertex's
// position in mEdgeArray.
void MoxMesh::BeginGetMeshEdgeIndexForPolygon()
{
    BeginAddMeshEdgeIndex();
    if (!mV2PVMap.mValid) return;
    const EdgePositionIndex lPositions(mEdgeArray, mPolygonVertices.GetCount());
    if (const char* lMissing = lPositions.MissingTable()) MOX_REPORT(sgFile, lMissing);
    sgEdgeArray = &mEdgeArray;
    sgEdgePositions = lPositions.IsValid() ? &lPositions : nullptr;
    int lCount = 0;
    FillMeshEdgeTable(mV2PVMap.mPVToEdge, &lCount, FillV2Edge);
    sgEdgeArray = nullptr;
    sgEdgePositions = nullptr;
}

void MoxMesh::EndGetMeshEdgeIndexForPolygon()
{
    mV2PVMap.mPVToEdge.Clear();
    EndAddMeshEdgeIndex();
}

// With the cache, the start's corners are walked in map order as SetMeshEdgeIndex does; each corner that
// has the end before or after it gives the edge recorded for that side's first vertex, and the walk stops
// at the first answer other than -1. mPVToEdge holds 0 at the vertices where no edge starts (its
// reserved storage is zero), so a polygon that joins the two control points twice can answer with that
// 0 instead of the edge found by GetMeshEdgeIndex; the answers agree on meshes whose polygons have
// distinct corners and whose edge array was built by BuildMeshEdgeArray.
int MoxMesh::GetMeshEdgeIndexForPolygon(int pPolygonIndex, int pPositionInPolygon)
{
    if (pPolygonIndex < 0 || pPolygonIndex >= GetPolygonCount()) return -1;
    const PolygonDef lPolygon = mPolygons.GetArray()[pPolygonIndex];
    if (pPositionInPolygon < 0 || pPositionInPolygon >= lPolygon.mSize) return -1;
    const int lStart = MoxReadVertex(mPolygonVertices, int64_t(lPolygon.mIndex) + pPositionInPolygon);
    const int lEnd = MoxReadVertex(mPolygonVertices, SideEnd(lPolygon, pPositionInPolygon));
    if (mV2PVMap.mValid && mV2PVMap.mPVToEdge.GetCount() > 0) {
        int lResult = -1;
        for (int k = NextV2PVCorner(lStart, lEnd, 0); k != -1; k = NextV2PVCorner(lStart, lEnd, k + 1)) {
            int lSideStart = -1;
            if (!FindSideAtCorner(*this, MoxMapCorner(*this, lStart, k), lEnd, lSideStart)) continue;
            lResult = mV2PVMap.mPVToEdge[lSideStart];
            if (lResult != -1) break;
        }
        return lResult;
    }
    bool lReversed = false;
    return GetMeshEdgeIndex(lStart, lEnd, lReversed, -1);
}

// ---- The control-point-to-polygon-vertex map -------------------------------------------------------

// Counting sort of the polygon vertices by control point, then the edge set of the existing edges. A
// failed allocation is reported with the block's name and leaves the map unbuilt, with every block
// released.
void MoxMesh::BeginAddMeshEdgeIndex()
{
    if (mV2PVMap.mValid) return;
    EndAddMeshEdgeIndex();
    const int lControlPointsCount = GetControlPointsCount();
    V2PVBlocks lBlocks;
    if (!BuildV2PVBlocks(*this, lControlPointsCount, lBlocks)) {
        EndAddMeshEdgeIndex();
        return;
    }
    FillEdgeSet(*this, lControlPointsCount);
    mV2PVMap.mPVToEdge.Reserve(mPolygonVertices.GetCount());
    mV2PVMap.mVertex2PV = lBlocks.mPairs;
    mV2PVMap.mVertex2PVOffset = lBlocks.mOffset;
    mV2PVMap.mVertex2PVCount = lBlocks.mCount;
    lBlocks.mPairs = nullptr;
    lBlocks.mOffset = nullptr;
    lBlocks.mCount = nullptr;
    mV2PVMap.mValid = true;
    mV2PVControlPointCount = lControlPointsCount;
    mV2PVNeighbours = BuildNeighbourIndex(*this, lControlPointsCount, mPolygonEditCount);
}

void MoxMesh::RebuildV2PVNeighbours()
{
    if (mV2PVMap.mValid) mV2PVNeighbours = BuildNeighbourIndex(*this, mV2PVControlPointCount, mPolygonEditCount);
}

void MoxMesh::EndAddMeshEdgeIndex()
{
    FreeV2PVBlocks();
    mV2PVMap.mPVToEdge.Clear();
    mV2PVMap.mValid = false;
    mV2PVNeighbours.Clear();
}

int MoxMesh::GetV2PVCount(int pControlPoint) const
{
    if (!mV2PVMap.mVertex2PV || !mV2PVMap.mVertex2PVOffset || !mV2PVMap.mVertex2PVCount) return 0;
    if (pControlPoint < 0 || pControlPoint >= mV2PVControlPointCount) return 0;
    return mV2PVMap.mVertex2PVCount[pControlPoint];
}

int MoxMesh::NextV2PVCorner(int pControlPoint, int pNeighbour, int pFrom) const
{
    const int lCount = GetV2PVCount(pControlPoint);
    if (pFrom >= lCount) return -1;
    const long long* lEntries = nullptr;
    const long long* lEntriesEnd = nullptr;
    if (lCount <= sgHighValence ||
        !FindNeighbourEntries(*this, mV2PVNeighbours, mPolygonEditCount, pControlPoint, lEntries, lEntriesEnd))
        return pFrom;
    const long long lFirst = NeighbourEntry(pNeighbour, 0);
    const long long* lEntry = std::lower_bound(lEntries, lEntriesEnd, NeighbourEntry(pNeighbour, pFrom));
    return lEntry != lEntriesEnd && *lEntry - lFirst < (1LL << 32) ? EntryRank(*lEntry) : -1;
}

// ---- Removal of listed edges -----------------------------------------------------------------------

// The list must be increasing: only its last entry is checked against the edge count. The edges go
// from mEdgeArray, then from layer 0's edge-mapped smoothing, user data, visibility and edge crease.
int MoxMesh::RemoveDuplicatedEdges(MoxArray<int>& pEdgeIndexList)
{
    const int lListCount = pEdgeIndexList.GetCount();
    if (lListCount == 0) return 0;
    if (pEdgeIndexList.GetArray()[lListCount - 1] >= GetMeshEdgeCount()) return -1;
    MoxLayer* lLayer = GetLayer(0);
    if (!lLayer) return -1;
    // A list that is the edge array itself changes under the removals: only the one-by-one path follows it.
    const bool lAtOnce = &pEdgeIndexList != &mEdgeArray && IsIncreasingList(pEdgeIndexList.GetArray(), lListCount) &&
                         CompactEdgeArray(mEdgeArray, pEdgeIndexList.GetArray(), lListCount);
    if (!lAtOnce)
        for (int i = lListCount - 1; i >= 0; --i) mEdgeArray.RemoveAt(pEdgeIndexList[i]);
    const EdgeRemoval lRemoval(pEdgeIndexList, lAtOnce);
    lRemoval.FromArray(EdgeMappedArray(lLayer->GetSmoothing()));
    lRemoval.FromUserData(lLayer->GetUserData());
    lRemoval.FromArray(EdgeMappedArray(lLayer->GetVisibility()));
    lRemoval.FromArray(EdgeMappedArray(lLayer->GetEdgeCrease()));
    return lListCount;
}

}  // namespace moxsdk
