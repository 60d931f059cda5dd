// Vertex merging of MoxMesh.
//
// BuildMergeList gives every control point the entry of the last earlier control point closer than the
// merge distance, or itself; MergePointsForPolygonVerteNormals folds the control points together as such a
// list says, carrying normals, edges, the first skin's clusters and the blend-shape target shapes along.
//
// The lookups that a plain reading of these operations repeats per element are replaced by indices built
// once, each giving exactly the plain answer: the last earlier control point within the merge distance
// (exact-position sites on a spatial grid), the first edge joining two unordered control points as
// GetMeshEdgeIndex finds it (MoxEdgePairIndex), the first polygon vertex using a control point (a bit per
// control point met in one pass over the polygon vertices, or, when merge-list entries point forward, an
// inverse index kept up to date while polygon vertices are rewritten), the polygon closing at a polygon
// vertex (inverse index) and the shift of a control point index by the removed points below it (a bit
// per control point with counts per 64 bits, a few MiB where an int per point would not stay in cache).
// Both operations are O(n log n) or better in the polygon-vertex, control-point and edge counts (the merge
// list: plus the number of close pairs of distinct positions).

#include <algorithm>
#include <bitset>
#include <climits>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "core/base/moxgridhash.h"
#include "core/base/moxidtable.h"
#include "core/base/moxprefetch.h"
#include "core/base/moxscratch.h"
#include "moxsdk/core/moxassert.h"
#include "moxsdk/scene/geometry/moxmesh.h"
#include "moxsdk/scene/moxcluster.h"
#include "moxsdk/scene/moxshape.h"
#include "moxsdk/scene/moxskin.h"
#include "scene/geometry/detail/moxmesharrays.h"
#include "scene/geometry/detail/moxmeshedgepairs.h"
#include "scene/geometry/detail/moxmeshreports.h"
#include "scene/geometry/detail/moxmeshtargetshapes.h"

namespace moxsdk {
namespace {

using namespace detail;
using namespace detail::meshreports;

constexpr const char* sgFile = "scene/geometry/moxmesh";
constexpr const char* sgMerge = "MergePointsForPolygonVerteNormals";
// Two control points merge when their distance is strictly below this.
constexpr double sgMergeDistance = 0.0001;

typedef MoxLayerElementArrayTemplate<MoxVector4> VectorArray;

// ---- Merge list -----------------------------------------------------------------------------------------

// Grid coordinates of a position, the cell being twice the merge distance. Rounding moves a coordinate by
// at most a quarter cell wherever two different components can lie within the merge distance, so such
// components get coordinates at most one apart: every pair of points closer than the merge distance lies
// in one cell or in two neighbouring cells.
void CellOf(const MoxVector4& pPoint, int64_t* pKey)
{
    constexpr double lScale = 1.0 / (2.0 * sgMergeDistance);
    for (int k = 0; k < 3; ++k) pKey[k] = MoxGridCoordinate(pPoint[k], lScale);
}

// Spatially coherent: the cells of one 4 x 4 x 4 block share a run of 64 table slots, so points met in
// spatial order, as mesh points usually are, touch few cache lines.
uint64_t CellHash(const int64_t* pKey)
{
    const uint64_t lBlock = MoxGridBlockHash(pKey);
    const uint64_t lOffset = MoxGridOffsetInBlock(pKey);
    return MoxGridBlockSlotHash(lBlock, lOffset, lBlock ^ (lOffset << 32));
}

bool SameCell(const int64_t* pA, const int64_t* pB)
{
    return pA[0] == pB[0] && pA[1] == pB[1] && pA[2] == pB[2];
}

uint64_t PositionHash(const MoxVector4& pPoint)
{
    uint64_t lBits[3];
    std::memcpy(lBits, &pPoint[0], sizeof(lBits));
    return MoxGridCellHash(MoxGridLinearHash(lBits, 3));
}

bool IsFinite(const MoxVector4& pPoint)
{
    return std::isfinite(pPoint[0]) && std::isfinite(pPoint[1]) && std::isfinite(pPoint[2]);
}

// Control points with equal x, y and z (Distance ignores w) share a site: their distances to every other
// point are equal. The sites are kept in the grid cells that hold them, each cell with a chain of its
// sites; a site is named by its first point. Points with a non-finite coordinate are in no site: they are
// never closer than the merge distance to anything. All memory is had up front for the worst case (a site
// and a cell per point), and only the part used is ever touched.
class MergeGrid {
public:
    explicit MergeGrid(int pCount) : mCells(pCount), mSites(pCount), mRecent(sgRecentSlots) {}

    // Room for the pCount points of pPoints; false when memory ran out.
    bool Init(const MoxVector4* pPoints, int pCount)
    {
        mPoints = pPoints;
        if (!mCells.Get() || !mSites.Get() || !mRecent.Get() || !mTable.Init(pCount / 8)) return false;
        std::fill(mRecent.Get(), mRecent.Get() + sgRecentSlots, Recent{0, -1});
        return true;
    }

    // The site of point pPoint, added (with its cell when that is new) when pPoint is the first point at
    // its position; -1 for a non-finite point, -2 when memory ran out.
    int AddPoint(int pPoint)
    {
        const MoxVector4& lPoint = mPoints[pPoint];
        if (!IsFinite(lPoint)) return -1;
        const uint64_t lHash = PositionHash(lPoint);
        Recent& lRecent = RecentSlot(lHash);
        if (lRecent.Holds(lHash) && mSites[lRecent.mSite].At(lPoint)) return lRecent.mSite;
        lRecent = Recent{static_cast<uint32_t>(lHash >> 32), FindOrAddSite(pPoint)};
        return lRecent.mSite;
    }

    // Starts loading what adding point pPoint will likely read from memory: the site its recent slot
    // names when the slot holds its position's tag now, else the table slot of its cell. Called a few
    // points ahead of AddPoint, so that the cache misses of successive points overlap.
    void Prefetch(int pPoint) const
    {
        const MoxVector4& lPoint = mPoints[pPoint];
        if (!IsFinite(lPoint)) return;
        const uint64_t lHash = PositionHash(lPoint);
        const Recent& lRecent = RecentSlot(lHash);
        if (lRecent.Holds(lHash)) {
            MoxPrefetch(&mSites[lRecent.mSite]);
            return;
        }
        int64_t lKey[3];
        CellOf(lPoint, lKey);
        mTable.Prefetch(CellHash(lKey));
    }

    // The site of point pPoint once every point has been added; -1 for a non-finite point.
    int SiteOf(int pPoint) const
    {
        const MoxVector4& lPoint = mPoints[pPoint];
        if (!IsFinite(lPoint)) return -1;
        int64_t lKey[3];
        CellOf(lPoint, lKey);
        return FindInCell(FindCell(lKey), lPoint);
    }

    int CellCount() const { return mCellCount; }
    int SiteCount() const { return mSiteCount; }
    const int64_t* Key(int pCell) const { return mCells[pCell].mKey; }
    int FirstSite(int pCell) const { return mCells[pCell].mFirstSite; }
    int NextSite(int pSite) const { return mSites[pSite].mNext; }
    int SitePoint(int pSite) const { return mSites[pSite].mPoint; }
    // The site's x, y and z (w does not count in distances).
    MoxVector4 Position(int pSite) const
    {
        const Site& lSite = mSites[pSite];
        return MoxVector4(lSite.mPosition[0], lSite.mPosition[1], lSite.mPosition[2]);
    }

    // The cell of pKey, or -1.
    int FindCell(const int64_t* pKey) const
    {
        const Cell* lCells = mCells.Get();
        return mTable.Find(CellHash(pKey), [lCells, pKey](int pCell) { return lCells[pCell].Is(pKey); });
    }

private:
    // Sites met lately, by a hash of their position: mesh points come in spatial order, so most points
    // find their site here, in cache, rather than in the table. The tag (the upper half of the hash)
    // spares reading a site that is not the one sought.
    static constexpr int sgRecentSlots = 1 << 14;
    struct Recent {
        // Whether the slot names a site whose position may have the hash pHash.
        bool Holds(uint64_t pHash) const { return mTag == static_cast<uint32_t>(pHash >> 32) && mSite >= 0; }

        uint32_t mTag;
        int mSite;  // -1 for none
    };

    Recent& RecentSlot(uint64_t pHash) const { return mRecent[static_cast<int64_t>(pHash & (sgRecentSlots - 1))]; }

    // What a lookup reads of a cell, and of a site, lies in one cache line.
    struct Cell {
        bool Is(const int64_t* pKey) const { return SameCell(mKey, pKey); }

        int64_t mKey[3];
        int mFirstSite;  // its latest site
    };
    struct Site {
        bool At(const MoxVector4& pPoint) const
        {
            return mPosition[0] == pPoint[0] && mPosition[1] == pPoint[1] && mPosition[2] == pPoint[2];
        }

        double mPosition[3];
        int mPoint;  // its first point
        int mNext;   // the previous site of its cell, or -1
    };

    // The site of pPoint, a finite point that missed the recent sites, added when it is the first point at
    // its position; -2 when memory ran out. Points that miss the recent sites tend to come in the order
    // their sites were made (a split mesh appends its copies in polygon-vertex order, and its first
    // points are mostly in that order too), so the site after the last one found is tried before the
    // table.
    int FindOrAddSite(int pPoint)
    {
        const MoxVector4& lPoint = mPoints[pPoint];
        if (mLastFound + 1 < mSiteCount && mSites[mLastFound + 1].At(lPoint)) return ++mLastFound;
        Cell& lNew = mCells[mCellCount];
        CellOf(lPoint, lNew.mKey);
        const Cell* lCells = mCells.Get();
        const int lCell = mTable.FindOrAdd(
            CellHash(lNew.mKey), mCellCount, [lCells, &lNew](int pCell) { return lCells[pCell].Is(lNew.mKey); },
            [lCells](int pCell) { return CellHash(lCells[pCell].mKey); });
        if (lCell < 0) return -2;
        if (lCell == mCellCount) mCells[mCellCount++].mFirstSite = -1;
        mLastFound = FindInCell(lCell, lPoint);
        if (mLastFound >= 0) return mLastFound;
        mSites[mSiteCount] = Site{{lPoint[0], lPoint[1], lPoint[2]}, pPoint, mCells[lCell].mFirstSite};
        mCells[lCell].mFirstSite = mSiteCount;
        mLastFound = mSiteCount++;
        return mLastFound;
    }

    // The site of cell pCell at pPoint's position, or -1.
    int FindInCell(int pCell, const MoxVector4& pPoint) const
    {
        for (int lSite = mCells[pCell].mFirstSite; lSite >= 0; lSite = mSites[lSite].mNext)
            if (mSites[lSite].At(pPoint)) return lSite;
        return -1;
    }

    const MoxVector4* mPoints = nullptr;
    MoxScratch<Cell> mCells;
    MoxScratch<Site> mSites;
    MoxScratch<Recent> mRecent;  // a recent site per position hash
    MoxIdTable mTable;           // cells by coordinates
    int mCellCount = 0;
    int mSiteCount = 0;
    int mLastFound = -1;  // the site the last lookup on the grid gave
};

// Phase 1: every point joins its site; entry j becomes the first point of j's site, or j. That is the
// answer whenever no two distinct sites are close. Returns whether any entry is not its own index; -1
// when memory ran out.
int AddPoints(MergeGrid& pGrid, int pCount, int* pList)
{
    constexpr int lLookAhead = 16;
    bool lMerged = false;
    for (int j = 0; j < std::min(lLookAhead, pCount); ++j) pGrid.Prefetch(j);
    for (int j = 0; j < pCount; ++j) {
        if (j + lLookAhead < pCount) pGrid.Prefetch(j + lLookAhead);
        const int lSite = pGrid.AddPoint(j);
        if (lSite == -2) return -1;
        pList[j] = lSite < 0 ? j : pGrid.SitePoint(lSite);
        lMerged = lMerged || pList[j] != j;
    }
    return lMerged ? 1 : 0;
}

// Cells that hold sites, as a bitmap indexed by the top bits of their linear hash: small enough to stay
// in cache and stepped to a neighbour by one addition, it answers most lookups of empty cells without
// touching the grid's table. Sixteen bits per cell, at least 64.
class OccupiedCells {
public:
    bool Build(const MergeGrid& pGrid)
    {
        int lBitsLog = 6;
        while (lBitsLog < 36 && (int64_t(1) << lBitsLog) < 16 * int64_t(pGrid.CellCount())) ++lBitsLog;
        mShift = 64 - lBitsLog;
        const int64_t lWords = (int64_t(1) << lBitsLog) / 64;
        if (!mBits.Resize(static_cast<int>(lWords))) return false;
        uint64_t* lBits = mBits.GetArray();
        for (int c = 0; c < pGrid.CellCount(); ++c) {
            const uint64_t lBit = MoxGridLinearHash(pGrid.Key(c)) >> mShift;
            lBits[lBit >> 6] |= uint64_t(1) << (lBit & 63);
        }
        return true;
    }

    // Whether a cell of linear hash pLinear may hold sites.
    bool MayHold(uint64_t pLinear) const
    {
        const uint64_t lBit = pLinear >> mShift;
        return (mBits.GetArray()[lBit >> 6] >> (lBit & 63)) & 1;
    }

private:
    MoxArray<uint64_t> mBits;
    int mShift = 58;
};

// Pairs of distinct sites closer than the merge distance, both ways, grouped by their first site.
struct ClosePairs {
    bool Add(int pA, int pB)
    {
        return mFrom.Add(pA) >= 0 && mTo.Add(pB) >= 0 && mFrom.Add(pB) >= 0 && mTo.Add(pA) >= 0;
    }

    MoxArray<int> mFrom;
    MoxArray<int> mTo;
    MoxGroups mBySite;
};

// Tests the sites of cell pA against those of cell pB (each pair once when both are the same cell).
bool AddClosePairs(const MergeGrid& pGrid, int pA, int pB, ClosePairs& pPairs)
{
    for (int a = pGrid.FirstSite(pA); a >= 0; a = pGrid.NextSite(a)) {
        for (int b = pA == pB ? pGrid.NextSite(a) : pGrid.FirstSite(pB); b >= 0; b = pGrid.NextSite(b))
            if (pGrid.Position(a).Distance(pGrid.Position(b)) < sgMergeDistance && !pPairs.Add(a, b)) return false;
    }
    return true;
}

// Per axis, which neighbours of cell pCell may hold a site close to one of its sites: bit 0 the lower
// neighbour, bit 1 the upper one. A site closer than the merge distance to one across the lower border
// of its cell lies in the lower half of the cell (its scaled coordinate's fraction is below one half),
// and across the upper border in the upper half, give or take the rounding of the scaled coordinates and
// of the distance, which a margin of 1/64 cell covers while scaled coordinates are below 2^40; beyond
// that both neighbours are kept.
void NeighbourSides(const MergeGrid& pGrid, int pCell, int* pSides)
{
    constexpr double lScale = 1.0 / (2.0 * sgMergeDistance);
    constexpr double lMargin = 1.0 / 64.0;
    constexpr double lExact = 1099511627776.0;  // 2^40
    pSides[0] = pSides[1] = pSides[2] = 0;
    for (int lSite = pGrid.FirstSite(pCell); lSite >= 0; lSite = pGrid.NextSite(lSite)) {
        for (int k = 0; k < 3; ++k) {
            const double lScaled = pGrid.Position(lSite)[k] * lScale;
            const double lFraction = lScaled - std::floor(lScaled);
            const bool lHuge = !(std::fabs(lScaled) < lExact);
            pSides[k] |= (lHuge || lFraction < 0.5 + lMargin ? 1 : 0) | (lHuge || lFraction > 0.5 - lMargin ? 2 : 0);
        }
    }
}

// Whether the neighbour at step pStep (each component -1, 0 or 1) is on the sides pSides allows.
bool OnAllowedSides(const int64_t* pStep, const int* pSides)
{
    for (int k = 0; k < 3; ++k)
        if ((pStep[k] < 0 && !(pSides[k] & 1)) || (pStep[k] > 0 && !(pSides[k] & 2))) return false;
    return true;
}

// Phase 2: each cell visits itself and the half of its 26 neighbours that follow it, so every pair of
// cells is tested once; a neighbour is skipped when no site of the cell is near the shared border.
bool FindClosePairs(const MergeGrid& pGrid, ClosePairs& pPairs)
{
    OccupiedCells lOccupied;
    if (!lOccupied.Build(pGrid)) return false;
    int64_t lSteps[27][3];
    uint64_t lStepHashes[27];
    for (int lOffset = 13; lOffset < 27; ++lOffset) {
        lSteps[lOffset][0] = lOffset / 9 - 1;
        lSteps[lOffset][1] = lOffset / 3 % 3 - 1;
        lSteps[lOffset][2] = lOffset % 3 - 1;
        lStepHashes[lOffset] = MoxGridLinearHash(lSteps[lOffset]);
    }
    for (int c = 0; c < pGrid.CellCount(); ++c) {
        const int64_t* lKey = pGrid.Key(c);
        const uint64_t lLinear = MoxGridLinearHash(lKey);
        int lSides[3];
        NeighbourSides(pGrid, c, lSides);
        if (!AddClosePairs(pGrid, c, c, pPairs)) return false;
        for (int lOffset = 14; lOffset < 27; ++lOffset) {
            if (!OnAllowedSides(lSteps[lOffset], lSides) || !lOccupied.MayHold(lLinear + lStepHashes[lOffset]))
                continue;
            const int64_t lNeighbour[3] = {lKey[0] + lSteps[lOffset][0], lKey[1] + lSteps[lOffset][1],
                                           lKey[2] + lSteps[lOffset][2]};
            const int lOther = pGrid.FindCell(lNeighbour);
            if (lOther >= 0 && !AddClosePairs(pGrid, c, lOther, pPairs)) return false;
        }
    }
    return pPairs.mFrom.GetCount() == 0 ||
           MoxBuildGroups(pPairs.mFrom.GetArray(), pPairs.mFrom.GetCount(), pGrid.SiteCount(), pPairs.mBySite);
}

// Phase 3, when distinct sites are close: entry j becomes the entry of the last i < j closer than the
// merge distance, or j. The all-pairs rule "for each i, every later j close to i takes i's entry" leaves
// exactly that, since a later i overwrites an earlier one and entry i never exceeds i. Going through the
// points in order, the last point of a site before j is the last one seen. False when memory ran out.
bool ResolveClosePairs(const MergeGrid& pGrid, const ClosePairs& pPairs, int pCount, int* pList, bool& pMerged)
{
    MoxScratch<int> lLastSeen(pGrid.SiteCount());
    if (!lLastSeen.Get()) return false;
    std::fill(lLastSeen.Get(), lLastSeen.Get() + pGrid.SiteCount(), -1);
    bool lMerged = false;
    for (int j = 0; j < pCount; ++j) {
        const int lSite = pGrid.SiteOf(j);
        if (lSite < 0) {
            pList[j] = j;
            continue;
        }
        int lBest = lLastSeen[lSite];
        for (int k = pPairs.mBySite.Begin(lSite); k < pPairs.mBySite.End(lSite); ++k)
            lBest = std::max(lBest, lLastSeen[pPairs.mTo.GetArray()[pPairs.mBySite.Item(k)]]);
        pList[j] = lBest >= 0 ? pList[lBest] : j;
        lMerged = lMerged || lBest >= 0;
        lLastSeen[lSite] = j;
    }
    pMerged = lMerged;
    return true;
}

// False when memory ran out (pList and pMerged then hold no answer).
bool FillMergeList(const MoxVector4* pPoints, int pCount, int* pList, bool& pMerged)
{
    MergeGrid lGrid(pCount);
    ClosePairs lPairs;
    if (!lGrid.Init(pPoints, pCount)) return false;
    const int lMerged = AddPoints(lGrid, pCount, pList);
    if (lMerged < 0 || !FindClosePairs(lGrid, lPairs)) return false;
    pMerged = lMerged > 0;
    return lPairs.mFrom.GetCount() == 0 || ResolveClosePairs(lGrid, lPairs, pCount, pList, pMerged);
}

}  // namespace

bool MoxMesh::BuildMergeList(MoxArray<int>& pMergeList)
{
    const int lCount = GetControlPointsCount();
    if (!pMergeList.Resize(lCount) || lCount == 0) return false;
    bool lMerged = false;
    if (FillMergeList(GetControlPoints(), lCount, pMergeList.GetArray(), lMerged)) return lMerged;
    // Out of memory: nothing merges.
    for (int i = 0; i < lCount; ++i) pMergeList.GetArray()[i] = i;
    return false;
}

namespace {

// ---- Merge: steps -----------------------------------------------------------------------------------------

// A bit per control point and, once CountBelow has run, the number of set bits below each word: how
// many bits below a point are set is then two reads from arrays a 32nd and a 64th of an int per point,
// small enough to stay in cache where a table of an int per point would not.
class PointBits {
public:
    explicit PointBits(int pCount) : mWordCount(pCount / 64 + 1), mWords(mWordCount), mBelow(mWordCount) {}

    // All bits clear; false when memory ran out.
    bool Init()
    {
        if (!mWords.Get() || !mBelow.Get()) return false;
        std::fill(mWords.Get(), mWords.Get() + mWordCount, uint64_t(0));
        return true;
    }

    void Set(int pPoint) { mWords[pPoint >> 6] |= uint64_t(1) << (pPoint & 63); }
    bool Test(int pPoint) const { return (mWords[pPoint >> 6] >> (pPoint & 63)) & 1; }

    // Counts the set bits below each word, for Below.
    void CountBelow()
    {
        int lCount = 0;
        for (int w = 0; w < mWordCount; ++w) {
            mBelow[w] = lCount;
            lCount += static_cast<int>(std::bitset<64>(mWords[w]).count());
        }
    }

    // The set bits below pPoint (0 <= pPoint <= the count the bits were made for), after CountBelow.
    int Below(int pPoint) const
    {
        const uint64_t lLower = (uint64_t(1) << (pPoint & 63)) - 1;
        return mBelow[pPoint >> 6] + static_cast<int>(std::bitset<64>(mWords[pPoint >> 6] & lLower).count());
    }

private:
    int mWordCount;
    MoxScratch<uint64_t> mWords;
    MoxScratch<int> mBelow;
};

// Step 2 when no entry points forward and every control point has one: the first use of a control
// point is then its first polygon vertex in the vertices as they were, and the rewrites for the points
// below it never reach it, so passes over the polygon vertices in order, marking the points met, do what
// the pass by control point does. Normals move in place, position k taking the normal of the control
// point first used there (zero where none is): position k is written after every position below it, so
// of the normals still needed only those moving up are saved first, and no array of a normal per point
// is made. False, with nothing changed, when memory ran out.
bool MoveToFirstUses(int* pVertices, int pVertexCount, const int* pList, int pCount, MoxVector4* pNormals,
                     int pNormalCount, int pKeptCount)
{
    PointBits lMet(pCount);
    PointBits lFirst(pVertexCount);
    PointBits lSaved(pKeptCount);  // normals moving up to a later position
    if (!lMet.Init() || !lFirst.Init() || !lSaved.Init()) return false;
    for (int k = 0; k < pVertexCount; ++k) {
        const int lPoint = pVertices[k];
        if (static_cast<unsigned>(lPoint) >= static_cast<unsigned>(pCount) || lMet.Test(lPoint)) continue;
        lMet.Set(lPoint);
        lFirst.Set(k);
        if (k < pKeptCount && lPoint < k) lSaved.Set(lPoint);
    }
    lSaved.CountBelow();
    MoxScratch<MoxVector4> lSavedNormals(lSaved.Below(pKeptCount));
    if (!lSavedNormals.Get()) return false;
    for (int c = 0; c < pKeptCount; ++c)
        if (lSaved.Test(c)) lSavedNormals[lSaved.Below(c)] = pNormals[c];
    for (int k = 0; k < pKeptCount; ++k) {
        const int lPoint = k < pVertexCount && lFirst.Test(k) ? pVertices[k] : -1;
        if (lPoint < 0 || lPoint >= pNormalCount)
            pNormals[k] = MoxVector4();
        else
            pNormals[k] = lPoint < k ? lSavedNormals[lSaved.Below(lPoint)] : pNormals[lPoint];
    }
    for (int k = 0; k < pVertexCount; ++k)
        if (lFirst.Test(k)) pVertices[k] = pList[pVertices[k]];
    return true;
}

// Step 2 by control point, for any merge list: i in increasing order, its first use looked up in the
// polygon vertices as already rewritten for the control points below i. Nothing changes when memory ran
// out.
void MoveByControlPoint(MoxMesh& pMesh, MoxArray<int>& pMergeList, int pCount, bool pForward, MoxVector4* pNormals,
                        int pNormalCount, int pKeptCount)
{
    const int lVertexCount = pMesh.mPolygonVertices.GetCount();
    MoxArray<int> lFirstUse;
    MoxArray<int> lRewrittenUse;   // only when some entry points forward
    MoxArray<MoxVector4> lBuffer;  // the normals that stay
    if (!MoxFillArray(lFirstUse, pCount, INT_MAX) || (pForward && !MoxFillArray(lRewrittenUse, pCount, INT_MAX)) ||
        (pKeptCount > 0 && !MoxFillArray(lBuffer, pKeptCount, MoxVector4())))
        return;
    int* lVertices = pMesh.mPolygonVertices.GetArray();
    for (int k = lVertexCount - 1; k >= 0; --k)
        if (static_cast<unsigned>(lVertices[k]) < static_cast<unsigned>(pCount)) lFirstUse.GetArray()[lVertices[k]] = k;

    for (int i = 0; i < pCount; ++i) {
        const int lUse =
            pForward ? std::min(lFirstUse.GetArray()[i], lRewrittenUse.GetArray()[i]) : lFirstUse.GetArray()[i];
        if (lUse == INT_MAX) continue;
        if (lUse < pKeptCount && i < pNormalCount) lBuffer.GetArray()[lUse] = pNormals[i];
        const int lTarget = pMergeList[i];
        lVertices[lUse] = lTarget;
        if (pForward && lTarget > i && lTarget < pCount)
            lRewrittenUse.GetArray()[lTarget] = std::min(lRewrittenUse.GetArray()[lTarget], lUse);
    }
    if (pKeptCount > 0)
        std::memcpy(static_cast<void*>(pNormals), lBuffer.GetArray(), sizeof(MoxVector4) * size_t(pKeptCount));
}

// Step 2: control point i moves its normal and its merge-list entry to the first polygon vertex that uses
// it, i in increasing order, so normals end indexed by polygon vertex. The first use of i is looked up in
// the polygon vertices as already rewritten for the control points below i: the first original use, or
// an earlier rewritten position whose new value is i. A control point that no polygon vertex uses moves
// nothing; a polygon vertex past the control point count takes no normal. Missing normals are skipped.
// A normal moved past the end of the array is dropped.
void ReorderNormalsByPolygonVertex(MoxMesh& pMesh, MoxArray<int>& pMergeList, int pCount, VectorArray* pNormals)
{
    MoxVector4* lNormals = pNormals ? pNormals->GetLocked(MoxLayerElementArray::eReadWriteLock) : nullptr;
    const int lNormalCount = lNormals ? pNormals->GetCount() : 0;
    const int lKeptCount = std::min(pCount, lNormalCount);
    bool lForward = false;
    for (int i = 0; i < std::min(pCount, pMergeList.GetCount()) && !lForward; ++i)
        lForward = pMergeList.GetArray()[i] > i;
    const bool lInOrder = !lForward && pMergeList.GetCount() >= pCount;
    if (!lInOrder || !MoveToFirstUses(pMesh.mPolygonVertices.GetArray(), pMesh.mPolygonVertices.GetCount(),
                                      pMergeList.GetArray(), pCount, lNormals, lNormalCount, lKeptCount))
        MoveByControlPoint(pMesh, pMergeList, pCount, lForward, lNormals, lNormalCount, lKeptCount);
    if (pNormals) pNormals->Release(&lNormals);
}

// The end control point of each edge as GetMeshEdgeVertices gives it. Without the mesh's own edge-vertex
// cache, the closing polygon of each polygon vertex (the first polygon whose last vertex it is) comes from
// an inverse index; the one case that reads past the polygon vertices is asked of the mesh, once.
class EdgeEnds {
public:
    bool Init(const MoxMesh& pMesh)
    {
        mUseMesh = pMesh.mEdgeLookup.mValid;
        const int lVertexCount = pMesh.mPolygonVertices.GetCount();
        if (mUseMesh || !MoxFillArray(mClosing, lVertexCount, -1)) return true;
        for (int p = pMesh.GetPolygonCount() - 1; p >= 0; --p) {
            const int64_t lLast =
                int64_t(pMesh.mPolygons.GetArray()[p].mIndex) + pMesh.mPolygons.GetArray()[p].mSize - 1;
            if (lLast >= 0 && lLast < lVertexCount) mClosing.GetArray()[lLast] = p;
        }
        return true;
    }

    void Get(const MoxMesh& pMesh, int pEdge, int& pStart, int& pEnd)
    {
        const int lVertex = pMesh.mEdgeArray.GetArray()[pEdge];
        const int lVertexCount = pMesh.mPolygonVertices.GetCount();
        if (mUseMesh || mClosing.GetCount() != lVertexCount || lVertex < 0 || lVertex >= lVertexCount) {
            pMesh.GetMeshEdgeVertices(pEdge, pStart, pEnd);
            return;
        }
        pStart = pMesh.mPolygonVertices[lVertex];
        const int lClosing = mClosing.GetArray()[lVertex];
        if (lClosing >= 0) {
            pEnd = pMesh.mPolygonVertices[pMesh.mPolygons.GetArray()[lClosing].mIndex];
        } else if (lVertex + 1 < lVertexCount) {
            pEnd = pMesh.mPolygonVertices[lVertex + 1];
        } else {
            if (!mPastEndKnown) pMesh.GetMeshEdgeVertices(pEdge, mPastEndStart, mPastEnd);
            mPastEndKnown = true;
            pEnd = mPastEnd;
        }
    }

private:
    MoxArray<int> mClosing;
    bool mUseMesh = false;
    bool mPastEndKnown = false;
    int mPastEndStart = -1;
    int mPastEnd = -1;
};

// Step 3: keeps edge 0 and every later edge that is the first edge joining its two control points, now
// that merged polygon vertices name the same control points. When memory runs out the edges stay.
void ReduceMergedEdges(MoxMesh& pMesh)
{
    const int lEdgeCount = pMesh.mEdgeArray.GetCount();
    if (lEdgeCount == 0) return;
    if (lEdgeCount != pMesh.mPolygonVertices.GetCount())
        _MoxAssert(sgFile, sgMerge, __LINE__, sgEdgeCountNotVertexCount.mText);
    MoxEdgePairIndex lPairs;
    EdgeEnds lEnds;
    MoxArray<int> lKept;
    if (!lPairs.Build(pMesh) || !lEnds.Init(pMesh) || !lKept.Reserve(lEdgeCount)) return;
    lKept.Add(pMesh.mEdgeArray.GetArray()[0]);
    for (int e = 1; e < lEdgeCount; ++e) {
        int lStart = -1;
        int lEnd = -1;
        lEnds.Get(pMesh, e, lStart, lEnd);
        if (lPairs.Find(pMesh, lStart, lEnd) == e) lKept.Add(pMesh.mEdgeArray.GetArray()[e]);
    }
    pMesh.mEdgeArray = static_cast<MoxArray<int>&&>(lKept);
}

// Step 4 for one cluster: keeps the pairs whose control point is not the merge list's entry 0 (the
// position of the value in the list is not 0), resets the cluster and restores its settings and those
// pairs. Indices are not renumbered.
void RebuildCluster(MoxCluster& pCluster, const MoxArray<int>& pMergeList)
{
    const int lCount = pCluster.GetControlPointIndicesCount();
    MoxArray<int> lIndices;
    MoxArray<double> lWeights;
    if (!lIndices.Reserve(lCount) || !lWeights.Reserve(lCount)) return;
    const bool lHasFirst = pMergeList.GetCount() > 0;
    for (int i = 0; i < lCount; ++i) {
        const int lIndex = pCluster.GetControlPointIndices()[i];
        if (lHasFirst && pMergeList.GetArray()[0] == lIndex) continue;
        lIndices.Add(lIndex);
        lWeights.Add(pCluster.GetControlPointWeights()[i]);
    }
    const MoxString lUserDataID = pCluster.GetUserDataID();
    const MoxString lUserData = pCluster.GetUserData();
    MoxNode* lAssociateModel = pCluster.GetAssociateModel();
    MoxNode* lLink = pCluster.GetLink();
    const MoxCluster::ELinkMode lLinkMode = pCluster.GetLinkMode();
    MoxAMatrix lAssociateModelMatrix;
    MoxAMatrix lLinkMatrix;
    MoxAMatrix lMatrix;
    MoxAMatrix lParentMatrix;
    pCluster.GetTransformAssociateModelMatrix(lAssociateModelMatrix);
    pCluster.GetTransformLinkMatrix(lLinkMatrix);
    pCluster.GetTransformMatrix(lMatrix);
    pCluster.GetTransformParentMatrix(lParentMatrix);

    pCluster.Reset();
    pCluster.SetUserData(lUserDataID, lUserData);
    pCluster.SetAssociateModel(lAssociateModel);
    pCluster.SetLink(lLink);
    pCluster.SetLinkMode(lLinkMode);
    pCluster.SetTransformAssociateModelMatrix(lAssociateModelMatrix);
    pCluster.SetTransformLinkMatrix(lLinkMatrix);
    pCluster.SetTransformMatrix(lMatrix);
    pCluster.SetTransformParentMatrix(lParentMatrix);
    for (int i = 0; i < lIndices.GetCount(); ++i) pCluster.AddControlPointIndex(lIndices[i], lWeights[i]);
}

void RebuildSkinClusters(MoxMesh& pMesh, const MoxArray<int>& pMergeList)
{
    if (pMesh.GetDeformerCount(MoxDeformer::eSkin) <= 0) return;
    const MoxSkin* lSkin = static_cast<const MoxSkin*>(pMesh.GetDeformer(0, MoxDeformer::eSkin));
    for (int k = 0; k < lSkin->GetClusterCount(); ++k)
        if (MoxCluster* lCluster = lSkin->GetCluster(k)) RebuildCluster(*lCluster, pMergeList);
}

// Step 5: removes every control point i whose entry is not i and renumbers the polygon vertices as
// removing them one by one (each decrementing the entries above its position) would: an entry x becomes
// x minus the number of removed control points below x. Returns whether anything was removed.
bool RemoveMergedControlPoints(MoxMesh& pMesh, MoxArray<int>& pMergeList, int pCount)
{
    PointBits lRemoved(pCount);
    if (!lRemoved.Init()) return false;
    MoxVector4* lPoints = pMesh.GetControlPoints();
    int lRemovedCount = 0;
    for (int i = 0; i < pCount; ++i) {
        if (pMergeList[i] != i) {
            lRemoved.Set(i);
            ++lRemovedCount;
        } else {
            lPoints[i - lRemovedCount] = lPoints[i];
        }
    }
    if (lRemovedCount == 0) return false;
    lRemoved.CountBelow();
    pMesh.SetControlPointCount(pCount - lRemovedCount);
    int* lVertices = pMesh.mPolygonVertices.GetArray();
    for (int k = 0; k < pMesh.mPolygonVertices.GetCount(); ++k)
        if (lVertices[k] > 0) lVertices[k] -= lRemoved.Below(std::min(lVertices[k], pCount));
    return true;
}

// Step 6 for one shape: m control points and m normals (per control point), holding the first m values
// of the first shape that was saved. pSaved holds those values (zero past what that shape had) once the
// first shape has been read.
void TruncateTargetShape(MoxShape& pShape, int pCount, MoxArray<MoxVector4>& pSavedPoints,
                         MoxArray<MoxVector4>& pSavedNormals)
{
    VectorArray* lNormals = nullptr;
    bool lValid = pShape.GetNormals(&lNormals);
    if (!lValid || !lNormals) _MoxAssert(sgFile, sgMerge, __LINE__, sgNoNormalArray.mText);
    if (pSavedPoints.GetCount() == 0 && pCount > 0) {
        if (!MoxFillArray(pSavedPoints, pCount, MoxVector4()) || !MoxFillArray(pSavedNormals, pCount, MoxVector4())) {
            pSavedPoints.Clear();
            return;
        }
        const int lPointCount = std::min(pCount, pShape.GetControlPointsCount());
        if (lPointCount > 0)
            std::memcpy(pSavedPoints.GetArray(), pShape.GetControlPoints(), sizeof(MoxVector4) * size_t(lPointCount));
        for (int i = 0; lNormals && i < std::min(pCount, lNormals->GetCount()); ++i)
            pSavedNormals.GetArray()[i] = lNormals->GetAt(i);
    }
    pShape.InitControlPoints(pCount);
    pShape.InitNormals();
    lValid = pShape.GetNormals(&lNormals);
    if (!lValid || !lNormals) _MoxAssert(sgFile, sgMerge, __LINE__, sgNoNormalArray.mText);
    if (pSavedPoints.GetCount() == 0) return;
    const int lPointCount = std::min(pCount, pShape.GetControlPointsCount());
    if (lPointCount > 0)
        std::memcpy(pShape.GetControlPoints(), pSavedPoints.GetArray(), sizeof(MoxVector4) * size_t(lPointCount));
    for (int i = 0; lNormals && i < std::min(pCount, lNormals->GetCount()); ++i)
        lNormals->SetAt(i, pSavedNormals.GetArray()[i]);
}

}  // namespace

// Steps: normals reordered by polygon vertex with the polygon vertices rewritten, edges reduced, the first
// skin's clusters rebuilt, merged control points removed, target shapes truncated, normals mapped by
// polygon vertex when anything was removed.
void MoxMesh::MergePointsForPolygonVerteNormals(MoxArray<int>& pMergeList)
{
    const int lCount = GetControlPointsCount();
    VectorArray* lNormals = nullptr;
    const bool lValid = GetNormals(&lNormals);
    if (!lValid || !lNormals) _MoxAssert(sgFile, sgMerge, __LINE__, sgNoNormalArray.mText);
    NotePolygonEdit();
    ReorderNormalsByPolygonVertex(*this, pMergeList, lCount, lNormals);
    ReduceMergedEdges(*this);
    RebuildSkinClusters(*this, pMergeList);
    const bool lRemoved = RemoveMergedControlPoints(*this, pMergeList, lCount);

    MoxArray<MoxVector4> lSavedPoints;
    MoxArray<MoxVector4> lSavedNormals;
    const int lNewCount = GetControlPointsCount();
    MoxForEachTargetShape(*this, sgFile, sgMerge, [lNewCount, &lSavedPoints, &lSavedNormals](MoxShape& pShape) {
        TruncateTargetShape(pShape, lNewCount, lSavedPoints, lSavedNormals);
    });

    MoxLayer* lLayer = GetLayer(0);
    if (lRemoved && lLayer && lLayer->GetNormals())
        lLayer->GetNormals()->SetMappingMode(MoxLayerElement::eByPolygonVertex);
}

}  // namespace moxsdk
