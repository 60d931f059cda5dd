// MoxMesh: adjacency maps.
//
// ComputeComponentMaps: the incidence of edges and polygons, both ways, in one pass over the edges. Each
// edge looks at the corners of its start control point in the control-point-to-polygon-vertex map that
// BeginAddMeshEdgeIndex builds; for a control point of high valence only the corners next to the edge's
// end are visited (MoxMesh::NextV2PVCorner), so a fan's apex costs O(log valence) per edge. Directed
// edges met before are recognised by their 64-bit keys, kept in a MoxPairSet grouped by first control
// point. Without a caller's map, a mesh of plain polygons (MoxHasPlainPolygons) skips the map, whose edge
// set this operation never reads, for CornerTable: the corners of each control point with their polygon and
// both neighbours, from one counting sort, so that an edge reads one run of memory.
//
// Decisions where the behaviour is otherwise open:
// - A skipped edge leaves its end offset in the edge-to-polygons map at 0, as sizing the array leaves it.
// - A control point the map does not cover (negative, or added after a caller's Begin) has no corners,
//   and a polygon outside the table (a stale map) is not entered in the polygon-to-edges map.
// - When its working memory cannot be had, the operation reports the name of the missing array and
//   leaves both maps empty (the map of the edge-adding pass is still ended).
// - ComponentMap::GetCount and GetValue read the offsets as they are: 0 and -1 outside the map.

#include <algorithm>
#include <climits>
#include <cstdint>

#include "core/base/moxint64set.h"
#include "core/base/moxpairset.h"
#include "core/base/moxscratch.h"
#include "detail/moxmeshcorners.h"
#include "detail/moxmeshreports.h"
#include "moxsdk/core/moxassert.h"
#include "moxsdk/scene/geometry/moxmesh.h"

namespace moxsdk {
namespace {

using detail::MoxMapCorner;
using detail::MoxReadVertex;

constexpr const char* sgFile = "scene/geometry/moxmesh";
using namespace detail::meshreports;

// Polygon p's edges go at mOffsets[p] .. mOffsets[p + 1], room for one edge per polygon vertex.
void SizePolygonToEdges(const MoxMesh& pMesh, MoxMesh::ComponentMap& pPolygonToEdges)
{
    pPolygonToEdges.Clear();
    const int lPolygonCount = pMesh.GetPolygonCount();
    pPolygonToEdges.mData.Resize(pMesh.GetPolygonVertexCount(), false);
    if (!pPolygonToEdges.mOffsets.Resize(lPolygonCount + 1, false)) return;
    int* lOffsets = pPolygonToEdges.mOffsets.GetArray();
    const MoxMesh::PolygonDef* lPolygons = pMesh.mPolygons.GetArray();
    int64_t lOffset = 0;
    lOffsets[0] = 0;
    for (int p = 0; p < lPolygonCount; ++p) {
        lOffset += std::max(lPolygons[p].mSize, 0);
        lOffsets[p + 1] = static_cast<int>(static_cast<uint32_t>(lOffset));
    }
}

// For each polygon's last corner (mIndex + size - 1), the control point of its first corner; -1 at every
// other corner. Records are taken in order, so a later record naming the same corner wins; a corner
// outside the polygon vertices is not written.
void FillNextCorner(const MoxMesh& pMesh, int* pNext)
{
    const int lVertexCount = pMesh.GetPolygonVertexCount();
    std::fill(pNext, pNext + lVertexCount, -1);
    for (const MoxMesh::PolygonDef& lPolygon : pMesh.mPolygons) {
        const int64_t lLast = int64_t(lPolygon.mIndex) + lPolygon.mSize - 1;
        if (lLast >= 0 && lLast < lVertexCount) pNext[lLast] = pMesh.mPolygonVertices[lPolygon.mIndex];
    }
}

// True when the polygon of corner pCorner contains the edge (pStart, pEnd) there: the corner's control
// point and the one after or before it (the last before the first) are the edge's two ends, either way.
bool CornerHasEdge(const MoxMesh& pMesh, MoxPair<int, int> pCorner, int pStart, int pEnd)
{
    const MoxMesh::PolygonDef lPolygon = pMesh.mPolygons[pCorner.mFirst];
    const int64_t lFirst = lPolygon.mIndex;
    const int64_t lLast = lFirst + lPolygon.mSize - 1;
    const int64_t lVertex = lFirst + pCorner.mSecond;
    const int a = MoxReadVertex(pMesh.mPolygonVertices, lVertex);
    const int b = MoxReadVertex(pMesh.mPolygonVertices, lVertex == lLast ? lFirst : lVertex + 1);
    const int p = MoxReadVertex(pMesh.mPolygonVertices, pCorner.mSecond == 0 ? lLast : lVertex - 1);
    return (a == pStart && b == pEnd) || (a == pEnd && b == pStart) || (a == pStart && p == pEnd) ||
           (a == pEnd && p == pStart);
}

enum EEdgeStatus { eEdgeOk, eEdgeOutOfRange, eEdgeStartOutside };

// The two control points of edge pEdge for the maps: the control point at its polygon vertex and the one
// that follows it (pNext, else the next polygon vertex's, read with pRead). Edges whose polygon vertex is
// out of range or whose start is not below the control-point count are skipped, with their status.
EEdgeStatus EdgeEnds(const MoxMesh& pMesh, const int* pNext, int pEdge, int (*pRead)(const MoxArray<int>&, int64_t),
                     int& pV1, int& pV2)
{
    const int lVertex = pMesh.mEdgeArray.GetArray()[pEdge];
    if (lVertex < 0 || lVertex >= pMesh.GetPolygonVertexCount()) return eEdgeOutOfRange;
    pV1 = pMesh.mPolygonVertices.GetArray()[lVertex];
    if (pV1 >= pMesh.GetControlPointsCount()) return eEdgeStartOutside;
    pV2 = pNext[lVertex] != -1 ? pNext[lVertex] : pRead(pMesh.mPolygonVertices, int64_t(lVertex) + 1);
    return eEdgeOk;
}

// The directed pair (v1, v2) as the key (n + v1) n + v2 in 64 bits, and as the pair of control points
// (first, second) that key stands for: a second member outside 0 .. n - 1 folds into the first, since
// the key of (u, n + w) is the key of (u + 1, w). Pairs with equal keys are the same pair.
struct DirectedPair {
    uint64_t mKey;
    int64_t mFirst;
    int mSecond;
};

DirectedPair MakeDirectedPair(int pControlPointCount, int pV1, int pV2)
{
    const int64_t n = pControlPointCount;
    const int64_t lKey = (n + pV1) * n + pV2;
    // A second member inside 0 .. n - 1 is its own: the division would give (pV1, pV2) back.
    if (pV2 >= 0 && pV2 < n) return DirectedPair{static_cast<uint64_t>(lKey), pV1, pV2};
    if (n <= 0) return DirectedPair{static_cast<uint64_t>(lKey), -1, 0};
    const int64_t lQuotient = lKey / n - (lKey % n < 0 ? 1 : 0);
    return DirectedPair{static_cast<uint64_t>(lKey), lQuotient - n, static_cast<int>(lKey - lQuotient * n)};
}

// Sizes the set of directed pairs: as many slots per first control point as edges may bring.
void CountDirectedPairs(const MoxMesh& pMesh, const int* pNext, MoxPairSet& pPairs)
{
    const int lControlPointCount = pMesh.GetControlPointsCount();
    pPairs.BeginCounting(lControlPointCount);
    int lV1 = -1;
    int lV2 = -1;
    for (int e = 0; e < pMesh.GetMeshEdgeCount(); ++e)
        if (EdgeEnds(pMesh, pNext, e, &detail::MoxPeekVertex, lV1, lV2) == eEdgeOk)
            pPairs.Count(MakeDirectedPair(lControlPointCount, lV1, lV2).mFirst);
    pPairs.EndCounting();
}

// The corners of every control point in polygon order, each with its polygon and the control points after
// and before it (the last before the first), for a mesh of plain polygons (MoxHasPlainPolygons): what the
// walk over mV2PVMap visits, as one counting sort, without the map's edge set. The corners of a control
// point of high valence are also sorted by neighbour, so that a fan's apex costs O(log valence) per edge.
class CornerTable {
public:
    // Built when pBuild is set; else nothing is allocated.
    CornerTable(const MoxMesh& pMesh, bool pBuild);
    // False when the memory could not be had: nothing is built then.
    bool IsValid() const { return mOffsets.Get() && mCorners.Get() && mByNeighbour.Get(); }

    // Calls pVisit(polygon) for every corner of pStart, in order, with pEnd after or before it, until
    // pVisit returns false.
    template <class VISIT>
    void ForEachPolygon(int pStart, int pEnd, VISIT pVisit) const;

private:
    struct Corner {
        int mPolygon;
        int mNext;
        int mPrevious;
    };
    // A corner of rank pRank under neighbour pNeighbour, as a number that sorts by neighbour, then rank.
    static uint64_t NeighbourKey(int pNeighbour, int pRank)
    {
        return (uint64_t(static_cast<uint32_t>(pNeighbour) ^ 0x80000000u) << 32) | static_cast<uint32_t>(pRank);
    }
    // Counts the corners of each control point into pCounts (shifted by one, for the prefix sum); returns
    // the room the neighbour keys need: two per polygon vertex when a control point has high valence.
    static int64_t CountCorners(const MoxMesh& pMesh, int* pCounts);
    void PlaceCorners(const MoxMesh& pMesh);
    void SortHighValence();

    int mControlPointCount;
    MoxScratch<int> mOffsets;
    int64_t mKeyCount;
    MoxScratch<Corner> mCorners;
    // Two keys per corner of a control point of high valence (its next control point, and its previous
    // unless that is the next) at twice the corner's position, sorted per control point.
    MoxScratch<uint64_t> mByNeighbour;
};

CornerTable::CornerTable(const MoxMesh& pMesh, bool pBuild)
    : mControlPointCount(pMesh.GetControlPointsCount()),
      mOffsets(pBuild ? int64_t(mControlPointCount) + 1 : -1),
      mKeyCount(mOffsets.Get() ? CountCorners(pMesh, mOffsets.Get()) : -1),
      mCorners(pBuild ? pMesh.GetPolygonVertexCount() : -1),
      mByNeighbour(mKeyCount)
{
    if (!IsValid()) return;
    PlaceCorners(pMesh);
    if (mKeyCount > 0) SortHighValence();
}

int64_t CornerTable::CountCorners(const MoxMesh& pMesh, int* pCounts)
{
    const int lControlPointCount = pMesh.GetControlPointsCount();
    const int lVertexCount = pMesh.GetPolygonVertexCount();
    const int* lVertices = pMesh.mPolygonVertices.GetArray();
    std::fill(pCounts, pCounts + lControlPointCount + 1, 0);
    for (int v = 0; v < lVertexCount; ++v) ++pCounts[lVertices[v] + 1];
    for (int c = 1; c <= lControlPointCount; ++c)
        if (pCounts[c] > detail::sgHighValence) return 2 * int64_t(lVertexCount);
    return 0;
}

// Prefix sum, then placement in polygon order: each control point's offset serves as its next free slot
// and ends at its end, so a shift by one puts the starts back.
void CornerTable::PlaceCorners(const MoxMesh& pMesh)
{
    int* lOffsets = mOffsets.Get();
    for (int c = 0; c < mControlPointCount; ++c) lOffsets[c + 1] += lOffsets[c];
    const int* lVertices = pMesh.mPolygonVertices.GetArray();
    const MoxMesh::PolygonDef* lPolygons = pMesh.mPolygons.GetArray();
    Corner* lCorners = mCorners.Get();
    for (int p = 0; p < pMesh.GetPolygonCount(); ++p) {
        const int* lFirst = lVertices + lPolygons[p].mIndex;
        const int lSize = lPolygons[p].mSize;
        for (int i = 0; i < lSize; ++i) {
            const int lNext = lFirst[i + 1 == lSize ? 0 : i + 1];
            const int lPrevious = lFirst[i == 0 ? lSize - 1 : i - 1];
            lCorners[lOffsets[lFirst[i]]++] = Corner{p, lNext, lPrevious};
        }
    }
    for (int c = mControlPointCount; c > 0; --c) lOffsets[c] = lOffsets[c - 1];
    lOffsets[0] = 0;
}

void CornerTable::SortHighValence()
{
    const int* lOffsets = mOffsets.Get();
    const Corner* lCorners = mCorners.Get();
    for (int c = 0; c < mControlPointCount; ++c) {
        const int lCount = lOffsets[c + 1] - lOffsets[c];
        if (lCount <= detail::sgHighValence) continue;
        uint64_t* lKeys = mByNeighbour.Get() + 2 * int64_t(lOffsets[c]);
        for (int k = 0; k < lCount; ++k) {
            const Corner& lCorner = lCorners[lOffsets[c] + k];
            lKeys[2 * int64_t(k)] = NeighbourKey(lCorner.mNext, k);
            // -1 names no control point, so it never matches.
            lKeys[2 * int64_t(k) + 1] = NeighbourKey(lCorner.mPrevious == lCorner.mNext ? -1 : lCorner.mPrevious, k);
        }
        std::sort(lKeys, lKeys + 2 * int64_t(lCount));
    }
}

template <class VISIT>
void CornerTable::ForEachPolygon(int pStart, int pEnd, VISIT pVisit) const
{
    const int lBegin = mOffsets[pStart];
    const int lCount = mOffsets[pStart + 1] - lBegin;
    const Corner* lCorners = mCorners.Get() + lBegin;
    if (lCount <= detail::sgHighValence) {
        for (int k = 0; k < lCount; ++k)
            if (lCorners[k].mNext == pEnd || lCorners[k].mPrevious == pEnd)
                if (!pVisit(lCorners[k].mPolygon)) return;
        return;
    }
    const uint64_t* lKeys = mByNeighbour.Get() + 2 * int64_t(lBegin);
    const uint64_t* lEnd = lKeys + 2 * int64_t(lCount);
    const uint64_t lFirst = NeighbourKey(pEnd, 0);
    for (const uint64_t* lKey = std::lower_bound(lKeys, lEnd, lFirst); lKey != lEnd && (*lKey >> 32) == (lFirst >> 32);
         ++lKey)
        if (!pVisit(lCorners[static_cast<uint32_t>(*lKey)].mPolygon)) return;
}

// Fills both component maps edge by edge, in edge order: a polygon met at an edge is appended to the
// edge's polygons (their array grown when the estimate falls short) and the edge to the polygon's edges.
class MapFiller {
public:
    MapFiller(MoxMesh::ComponentMap& pEdgeToPolygons, MoxMesh::ComponentMap& pPolygonToEdges, int* pFill,
              int pPolygonCount)
        : mEdgeToPolygons(pEdgeToPolygons), mPolygonToEdges(pPolygonToEdges), mFill(pFill), mPolygonCount(pPolygonCount)
    {}

    // Adds pPolygon to edge pEdge, the current one; false when the edge's polygons could not grow.
    bool Add(int pEdge, int pPolygon)
    {
        MoxArray<int>& lPolygons = mEdgeToPolygons.mData;
        if (mCount >= lPolygons.GetCount() && !lPolygons.Grow(std::max(lPolygons.GetCount(), 1))) return false;
        lPolygons.GetArray()[mCount++] = pPolygon;
        if (pPolygon >= 0 && pPolygon < mPolygonCount)
            mPolygonToEdges.mData[mPolygonToEdges.mOffsets[pPolygon] + mFill[pPolygon]++] = pEdge;
        return true;
    }

    // The polygons added so far: the end of the current edge's run.
    int Count() const { return mCount; }

private:
    MoxMesh::ComponentMap& mEdgeToPolygons;
    MoxMesh::ComponentMap& mPolygonToEdges;
    int* mFill;
    int mPolygonCount;
    int mCount = 0;
};

}  // namespace

// ---- Component maps --------------------------------------------------------------------------------

int MoxMesh::ComponentMap::GetCount(int pSource) const
{
    if (pSource < 0 || pSource >= GetCount()) return 0;
    const int lCount = mOffsets.GetArray()[pSource + 1] - mOffsets.GetArray()[pSource];
    return lCount > 0 ? lCount : 0;
}

int MoxMesh::ComponentMap::GetValue(int pSource, int pIndex) const
{
    if (pIndex < 0 || pIndex >= GetCount(pSource)) return -1;
    const int64_t lPosition = int64_t(mOffsets.GetArray()[pSource]) + pIndex;
    return lPosition >= 0 && lPosition < mData.GetCount() ? mData.GetArray()[lPosition] : -1;
}

// Steps: the map of the edge-adding pass (built here when the caller has not), the sizes of both maps,
// the next corner of every polygon's last corner, then one pass over the edges. The edge-adding pass is
// ended in every case, also when the caller had begun it. A caller's map keeps the corners of its Begin
// while the corners are read as they are now: its high-valence shortcut is built anew from the polygons
// as they are (the pass costs as much), so that edits made since, recorded or not, are seen.
void MoxMesh::ComputeComponentMaps(ComponentMap& pEdgeToPolygons, ComponentMap& pPolygonToEdges)
{
    // Without a caller's map, plain polygons are walked in a table of their own: the map would bring no
    // report, and of its effects only the end of the edge vertex lookup stays once it is ended.
    const bool lOwnTable = !mV2PVMap.mValid && detail::MoxHasPlainPolygons(*this);
    if (mV2PVMap.mValid)
        RebuildV2PVNeighbours();
    else if (lOwnTable)
        EndGetMeshEdgeVertices();
    else
        BeginAddMeshEdgeIndex();
    SizePolygonToEdges(*this, pPolygonToEdges);
    const int lEdgeCount = mEdgeArray.GetCount();
    pEdgeToPolygons.Clear();
    pEdgeToPolygons.mOffsets.Resize(lEdgeCount + 1, false);
    pEdgeToPolygons.mData.Resize(static_cast<int>(std::min<int64_t>(3 * int64_t(lEdgeCount), INT_MAX)), false);

    const int lVertexCount = mPolygonVertices.GetCount();
    const int lPolygonCount = mPolygons.GetCount();
    MoxScratch<int> lNext(lVertexCount);
    MoxScratch<int> lFill(lPolygonCount);
    const CornerTable lCorners(*this, lOwnTable);
    const char* lMissing = !lNext.Get()                       ? sgNoNextCornerMemory.mText
                           : !lFill.Get()                     ? sgNoPolygonFillMemory.mText
                           : lOwnTable && !lCorners.IsValid() ? sgNoCornerTableMemory.mText
                                                              : nullptr;
    if (lMissing || pEdgeToPolygons.mOffsets.GetCount() != lEdgeCount + 1) {
        if (lMissing) MOX_REPORT(sgFile, lMissing);
        pEdgeToPolygons.Clear();
        pPolygonToEdges.Clear();
        EndAddMeshEdgeIndex();
        return;
    }
    FillNextCorner(*this, lNext.Get());
    std::fill(lFill.Get(), lFill.Get() + lPolygonCount, 0);
    MoxPairSet lDirectedPairs;
    CountDirectedPairs(*this, lNext.Get(), lDirectedPairs);

    const int lControlPointCount = GetControlPointsCount();
    int* lEdgeOffsets = pEdgeToPolygons.mOffsets.GetArray();
    MapFiller lFiller(pEdgeToPolygons, pPolygonToEdges, lFill.Get(), lPolygonCount);
    lEdgeOffsets[0] = 0;
    for (int i = 0; i < lEdgeCount; ++i) {
        int lV1 = -1;
        int lV2 = -1;
        const EEdgeStatus lStatus = EdgeEnds(*this, lNext.Get(), i, &MoxReadVertex, lV1, lV2);
        if (lStatus == eEdgeOutOfRange) MOX_REPORT(sgFile, sgEdgeOutsideVertices.mText);
        if (lStatus == eEdgeStartOutside) MOX_REPORT(sgFile, sgEdgeStartOutside.mText);
        if (lStatus != eEdgeOk) continue;
        // The same directed pair met on an earlier edge skips this one.
        const DirectedPair lPair = MakeDirectedPair(lControlPointCount, lV1, lV2);
        const MoxInt64Set::EInsertResult lNew = lDirectedPairs.Insert(lPair.mFirst, lPair.mSecond, lPair.mKey);
        if (lNew == MoxInt64Set::eNoMemory) {
            MOX_REPORT(sgFile, sgNoDirectedEdgesMemory.mText);
            pEdgeToPolygons.Clear();
            pPolygonToEdges.Clear();
            break;
        }
        if (lNew == MoxInt64Set::ePresent) continue;
        // The polygons with the edge at a corner of its start, in the order of the start's corners.
        const auto lAdd = [&lFiller, i](int pPolygon) { return lFiller.Add(i, pPolygon); };
        if (lOwnTable) {
            lCorners.ForEachPolygon(lV1, lV2, lAdd);
        } else {
            for (int c = NextV2PVCorner(lV1, lV2, 0); c != -1; c = NextV2PVCorner(lV1, lV2, c + 1)) {
                const MoxPair<int, int> lCorner = MoxMapCorner(*this, lV1, c);
                if (CornerHasEdge(*this, lCorner, lV1, lV2) && !lAdd(lCorner.mFirst)) break;
            }
        }
        lEdgeOffsets[i + 1] = lFiller.Count();
    }
    EndAddMeshEdgeIndex();
}

}  // namespace moxsdk
