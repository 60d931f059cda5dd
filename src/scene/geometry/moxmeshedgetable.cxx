// MoxMesh: the edge table and its caches.
//
// An edge is named by the polygon vertex where one polygon side begins (mEdgeArray). The walk that
// builds the table registers each unordered pair of control points once, at the first side that joins
// them in (polygon, position) order, and keeps that side's direction. The Begin/End pairs build the caches
// that the edge queries (moxmeshedgequeries.cxx) read when they are there: the closing vertex of every
// polygon, the control-point-to-polygon-vertex map with its edge set and neighbour index, and the edge of
// every polygon side.
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
//
// Decisions where the behaviour is otherwise open:
// - BeginAddMeshEdgeIndex releases the blocks it allocated when a later allocation fails (nothing
//   leaks), and EndAddMeshEdgeIndex gives the edge set's record pool back to the heap (ClearAndRelease).
// - A null fill function is reported and the walk goes on without calling it. When the walk's scratch
//   memory runs out, it reports "lEdgeStarts" and registers no further edge.
// - BeginGetMeshEdgeVertices that cannot size its array leaves the cache unbuilt (queries then scan).
// - Every acceleration block that cannot be had is reported with its name, from the public operation that
//   needed it, and the operation goes on along the plain path with the same result: "lKeys", "lSorted"
//   and "lStarts" (BeginAddMeshEdgeIndex: the edge set is then filled by insertion), "mFirst" and
//   "mOthers" (BeginGetMeshEdgeIndexForPolygon: edge positions are then searched), "lFreed"
//   (RemoveDuplicatedEdges: the edges are then removed one by one).
// - On polygon records that run past mPolygonVertices (user writes), the walk reports each out-of-range
//   read once per side, where the plain walk also reports the reads of its comparisons; the edges are
//   the same.

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdlib>

#include "core/base/moxcountingsort.h"
#include "core/base/moxpairset.h"
#include "core/base/moxscratch.h"
#include "detail/moxmeshcorners.h"
#include "detail/moxmeshreports.h"
#include "moxsdk/core/moxassert.h"
#include "moxsdk/core/moxmemory.h"
#include "moxsdk/scene/geometry/moxmesh.h"

namespace moxsdk {
namespace {

using detail::MoxMapCorner;
using detail::MoxPeekVertex;
using detail::MoxPolygonPosition;
using detail::MoxReadVertex;
using detail::sgHighValence;

constexpr const char* sgFile = "scene/geometry/moxmesh";
using namespace detail::meshreports;

// Fill function of BuildMeshEdgeArray: appends the new edge; the counter becomes the edge count.
void FillEdgeArray(MoxArray<int>& pTable, int pPolygonVertex, int* pCount)
{
    pTable.Add(pPolygonVertex);
    *pCount = pTable.GetCount();
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

// ---- The closing-vertex cache --------------------------------------------------------------------------

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

// ---- The edge of every polygon side ------------------------------------------------------------------

namespace {

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

}  // namespace

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
// ---- The control-point-to-polygon-vertex map -------------------------------------------------------

namespace {

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
    std::copy(pBlocks.mCount, pBlocks.mCount + pControlPointsCount, pBlocks.mOffset + 1);
    detail::MoxPrefixSum(pBlocks.mOffset, pControlPointsCount);

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
    // Groups 0 .. n - 1 by larger control point, and group n for the rest.
    const int lGroupCount = pControlPointsCount + 1;
    MoxScratch<int> lStarts(int64_t(lGroupCount) + 1);
    if (!lStarts.Get()) {
        _MoxAssert(sgFile, "BeginAddMeshEdgeIndex", __LINE__, sgNoStartsMemory.mText);
        return false;
    }
    const auto lGroupOf = [pKeys, pControlPointsCount](int pKey) {
        const int lLarger = EdgeSetEdge(pKeys[pKey]).mSecond;
        return lLarger >= 0 && lLarger < pControlPointsCount ? lLarger : pControlPointsCount;
    };
    detail::MoxCountKeys(pCount, lGroupCount, lGroupOf, lStarts.Get());
    detail::MoxPrefixSum(lStarts.Get(), lGroupCount);
    detail::MoxPlaceByKey(pCount, lGroupCount, lGroupOf, lStarts.Get(),
                          [pKeys, pSorted](int pKey, int pSlot) { pSorted[pSlot] = pKeys[pKey]; });
    // Each lStarts[c] is now where group c ends; the keys of a group differ only by smaller control point.
    for (int c = 0, lBegin = 0; c < lGroupCount; lBegin = lStarts[c++])
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
}  // namespace

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
}  // namespace moxsdk
