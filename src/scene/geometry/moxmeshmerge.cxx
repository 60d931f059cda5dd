// Vertex merging of MoxMesh.
//
// BuildMergeList gives every control point the entry of the last earlier control point closer than the
// merge distance, or itself; MergePointsForPolygonVerteNormals folds the control points together as such a
// list says, carrying normals, edges, the first skin's clusters and the blend-shape target shapes along.
//
// The lookups that a plain reading of these operations repeats per element are replaced by indices built
// once, each giving exactly the plain answer: the last earlier control point within the merge distance
// (exact-position sites on a spatial grid), the first edge joining two unordered control points as
// GetMeshEdgeIndex finds it (MoxEdgePairIndex), the first polygon vertex using a control point (inverse
// index, kept up to date while polygon vertices are rewritten), the polygon closing at a polygon vertex
// (inverse index) and the shift of a control point index by the removed points below it (prefix counts).
// Both operations are O(n log n) or better in the polygon-vertex, control-point and edge counts (the merge
// list: plus the number of close pairs of distinct positions).

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "core/base/moxgridhash.h"
#include "core/base/moxidtable.h"
#include "moxsdk/core/moxassert.h"
#include "moxsdk/scene/geometry/moxmesh.h"
#include "moxsdk/scene/moxcluster.h"
#include "moxsdk/scene/moxshape.h"
#include "moxsdk/scene/moxskin.h"
#include "scene/geometry/detail/moxmesharrays.h"
#include "scene/geometry/detail/moxmeshedgepairs.h"
#include "scene/geometry/detail/moxmeshtargetshapes.h"

namespace moxsdk {
namespace {

using namespace detail;

constexpr const char* sgFile = "scene/geometry/moxmesh";
constexpr const char* sgMerge = "MergePointsForPolygonVerteNormals";
// Two control points merge when their distance is strictly below this.
constexpr double sgMergeDistance = 0.0001;

typedef MoxLayerElementArrayTemplate<MoxVector4> VectorArray;

// ---- Merge list -----------------------------------------------------------------------------------------

// Control points with equal x, y and z (Distance ignores w) share a site: their distances to every other
// point are equal. Points with a non-finite coordinate are in no site: they are never closer than the
// merge distance to anything.
struct MergeSites {
    const MoxVector4& Position(int pSite) const { return mPositions.GetArray()[pSite]; }

    int mCount = 0;
    MoxArray<int> mSiteOf;            // per point, or -1
    MoxArray<MoxVector4> mPositions;  // per site, the position of its first point
    MoxGroups mPoints;                // per site, its points in increasing order (built when sites are close)
};

uint64_t ComponentBits(double pValue)
{
    const double lValue = pValue + 0.0;  // -0.0 becomes +0.0, which it equals
    uint64_t lBits = 0;
    std::memcpy(&lBits, &lValue, sizeof(lBits));
    return lBits;
}

// Grid coordinate of one position component, the cell being twice the merge distance. Rounding moves
// the coordinate by at most a quarter cell wherever two different components can lie within the merge
// distance, so such components get coordinates at most one apart.
void CellOf(const MoxVector4& pPoint, int64_t* pKey)
{
    constexpr double lScale = 1.0 / (2.0 * sgMergeDistance);
    for (int k = 0; k < 3; ++k) pKey[k] = MoxGridCoordinate(pPoint[k], lScale);
}

// The hashes of cells and sites are spatially coherent: the cells of one 4 x 4 x 4 block share a run of
// 64 table slots (a cell's offset in its block, or a site's position hash, picks the slot within the run).
// Points met in spatial order, as mesh points usually are, then touch few cache lines. The tag comes from
// the block for cells and from the exact position for sites.
uint64_t CellHash(const int64_t* pKey)
{
    const uint64_t lBlock = MoxGridBlockHash(pKey);
    const uint64_t lOffset = MoxGridOffsetInBlock(pKey);
    return MoxGridBlockSlotHash(lBlock, lOffset, lBlock ^ (lOffset << 32));
}

uint64_t SiteHash(const MoxVector4& pPoint)
{
    int64_t lKey[3];
    CellOf(pPoint, lKey);
    const uint64_t lBits[3] = {ComponentBits(pPoint[0]), ComponentBits(pPoint[1]), ComponentBits(pPoint[2])};
    const uint64_t lPosition = MoxGridCellHash(MoxGridLinearHash(lBits, 3));
    return MoxGridBlockSlotHash(MoxGridBlockHash(lKey), lPosition, lPosition);
}

bool SamePosition(const MoxVector4& pA, const MoxVector4& pB)
{
    return pA[0] == pB[0] && pA[1] == pB[1] && pA[2] == pB[2];
}

bool SameCell(const int64_t* pA, const int64_t* pB)
{
    return pA[0] == pB[0] && pA[1] == pB[1] && pA[2] == pB[2];
}

bool BuildMergeSites(const MoxVector4* pPoints, int pCount, MergeSites& pSites)
{
    MoxIdTable lTable;
    if (!MoxFillArray(pSites.mSiteOf, pCount, -1) || !lTable.Init(pCount / 8)) return false;
    for (int j = 0; j < pCount; ++j) {
        const MoxVector4& lPoint = pPoints[j];
        if (!std::isfinite(lPoint[0]) || !std::isfinite(lPoint[1]) || !std::isfinite(lPoint[2])) continue;
        const MoxVector4* lPositions = pSites.mPositions.GetArray();
        const int lSite = lTable.FindOrAdd(
            SiteHash(lPoint), pSites.mCount,
            [lPositions, &lPoint](int pSite) { return SamePosition(lPositions[pSite], lPoint); },
            [lPositions](int pSite) { return SiteHash(lPositions[pSite]); });
        if (lSite < 0 || (lSite == pSites.mCount && pSites.mPositions.Add(lPoint) != pSites.mCount++)) return false;
        pSites.mSiteOf.GetArray()[j] = lSite;
    }
    return true;
}

// The grid cells that hold sites, and the sites of each cell. A bitmap indexed by a linear hash of the
// cell, small enough to stay in cache and stepped to a neighbour by one addition, answers most lookups of
// empty cells without touching the table.
struct MergeCells {
    // pLinear is the cell's linear hash (MoxGridLinearHash of its coordinates).
    int Find(const int64_t* pKey, uint64_t pLinear) const
    {
        const uint64_t lBit = pLinear >> mOccupiedShift;
        if (!(mOccupied.GetArray()[lBit >> 6] & (uint64_t(1) << (lBit & 63)))) return -1;
        const int64_t* lKeys = mKeys.GetArray();
        return mTable.Find(CellHash(pKey),
                           [lKeys, pKey](int pCell) { return SameCell(lKeys + 3 * ptrdiff_t(pCell), pKey); });
    }

    int mCount = 0;
    MoxArray<int64_t> mKeys;  // three coordinates per cell
    MoxArray<int> mCellOf;    // per site
    MoxGroups mSites;         // per cell, its sites
    MoxIdTable mTable;
    MoxArray<uint64_t> mOccupied;  // bit (linear hash >> shift) set for every cell
    int mOccupiedShift = 58;
};

// Sixteen bits per cell (at least 64), indexed by the top bits of the linear hash.
bool MarkOccupiedCells(MergeCells& pCells)
{
    int lBitsLog = 6;
    while (lBitsLog < 36 && (int64_t(1) << lBitsLog) < 16 * int64_t(pCells.mCount)) ++lBitsLog;
    if (!MoxFillArray(pCells.mOccupied, static_cast<int>((int64_t(1) << lBitsLog) / 64), uint64_t(0))) return false;
    pCells.mOccupiedShift = 64 - lBitsLog;
    for (int c = 0; c < pCells.mCount; ++c) {
        const uint64_t lBit = MoxGridLinearHash(pCells.mKeys.GetArray() + 3 * ptrdiff_t(c)) >> pCells.mOccupiedShift;
        pCells.mOccupied.GetArray()[lBit >> 6] |= uint64_t(1) << (lBit & 63);
    }
    return true;
}

bool BuildMergeCells(const MergeSites& pSites, MergeCells& pCells)
{
    if (pSites.mCount > INT_MAX / 3 || !pCells.mKeys.Resize(3 * pSites.mCount) ||
        !pCells.mCellOf.Resize(pSites.mCount) || !pCells.mTable.Init(pSites.mCount))
        return false;
    int64_t* lKeys = pCells.mKeys.GetArray();
    for (int s = 0; s < pSites.mCount; ++s) {
        int64_t* lKey = lKeys + 3 * ptrdiff_t(pCells.mCount);
        CellOf(pSites.Position(s), lKey);
        const int lCell = pCells.mTable.FindOrAdd(
            CellHash(lKey), pCells.mCount,
            [lKeys, lKey](int pCell) { return SameCell(lKeys + 3 * ptrdiff_t(pCell), lKey); },
            [lKeys](int pCell) { return CellHash(lKeys + 3 * ptrdiff_t(pCell)); });
        if (lCell < 0) return false;
        if (lCell == pCells.mCount) ++pCells.mCount;
        pCells.mCellOf.GetArray()[s] = lCell;
    }
    return MoxBuildGroups(pCells.mCellOf.GetArray(), pSites.mCount, pCells.mCount, pCells.mSites) &&
           MarkOccupiedCells(pCells);
}

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
bool AddClosePairs(const MergeSites& pSites, const MergeCells& pCells, int pA, int pB, ClosePairs& pPairs)
{
    const MoxGroups& lSites = pCells.mSites;
    for (int a = lSites.Begin(pA); a < lSites.End(pA); ++a) {
        const int lSiteA = lSites.Item(a);
        for (int b = pA == pB ? a + 1 : lSites.Begin(pB); b < lSites.End(pB); ++b) {
            const int lSiteB = lSites.Item(b);
            if (pSites.Position(lSiteA).Distance(pSites.Position(lSiteB)) < sgMergeDistance &&
                !pPairs.Add(lSiteA, lSiteB))
                return false;
        }
    }
    return true;
}

// Every pair of close sites lies in one cell or in two neighbouring cells; each cell visits itself and the
// half of its 26 neighbours that follow it, so every pair of cells is tested once.
bool FindClosePairs(const MergeSites& pSites, const MergeCells& pCells, ClosePairs& pPairs)
{
    int64_t lSteps[27][3];
    uint64_t lStepHashes[27];
    for (int lOffset = 13; lOffset < 27; ++lOffset) {
        lSteps[lOffset][0] = lOffset / 9 - 1;
        lSteps[lOffset][1] = lOffset / 3 % 3 - 1;
        lSteps[lOffset][2] = lOffset % 3 - 1;
        lStepHashes[lOffset] = MoxGridLinearHash(lSteps[lOffset]);
    }
    for (int c = 0; c < pCells.mCount; ++c) {
        const int64_t* lKey = pCells.mKeys.GetArray() + 3 * ptrdiff_t(c);
        const uint64_t lLinear = MoxGridLinearHash(lKey);
        for (int lOffset = 13; lOffset < 27; ++lOffset) {
            const int64_t lNeighbour[3] = {lKey[0] + lSteps[lOffset][0], lKey[1] + lSteps[lOffset][1],
                                           lKey[2] + lSteps[lOffset][2]};
            const int lOther = lOffset == 13 ? c : pCells.Find(lNeighbour, lLinear + lStepHashes[lOffset]);
            if (lOther >= 0 && !AddClosePairs(pSites, pCells, c, lOther, pPairs)) return false;
        }
    }
    return MoxBuildGroups(pPairs.mFrom.GetArray(), pPairs.mFrom.GetCount(), pSites.mCount, pPairs.mBySite);
}

// The points of each site, needed only to find the last point of a close site before a given point.
bool GroupSitePoints(const ClosePairs& pPairs, int pCount, MergeSites& pSites)
{
    return pPairs.mFrom.GetCount() == 0 ||
           MoxBuildGroups(pSites.mSiteOf.GetArray(), pCount, pSites.mCount, pSites.mPoints);
}

// The last point of pSite below pPoint, or -1.
int LastPointBefore(const MergeSites& pSites, int pSite, int pPoint)
{
    const int* lFirst = pSites.mPoints.mItems.GetArray() + pSites.mPoints.Begin(pSite);
    const int* lEnd = pSites.mPoints.mItems.GetArray() + pSites.mPoints.End(pSite);
    const int* lFound = std::lower_bound(lFirst, lEnd, pPoint);
    return lFound == lFirst ? -1 : lFound[-1];
}

// Entry j becomes the entry of the last i < j closer than the merge distance, or j: the all-pairs rule
// "for each i, every later j close to i takes i's entry" leaves exactly that, since a later i overwrites
// an earlier one and entry i never exceeds i. Returns whether any pair was close; false without an answer
// (pMerged untouched) when memory ran out.
bool ResolveMergeList(const MergeSites& pSites, const ClosePairs& pPairs, int pCount, int* pList, bool& pMerged)
{
    MoxArray<int> lLastSeen;
    if (!MoxFillArray(lLastSeen, pSites.mCount, -1)) return false;
    bool lMerged = false;
    for (int j = 0; j < pCount; ++j) {
        const int lSite = pSites.mSiteOf.GetArray()[j];
        if (lSite < 0) {
            pList[j] = j;
            continue;
        }
        int lBest = lLastSeen.GetArray()[lSite];
        for (int k = pPairs.mBySite.Begin(lSite); k < pPairs.mBySite.End(lSite); ++k)
            lBest = std::max(lBest, LastPointBefore(pSites, pPairs.mTo.GetArray()[pPairs.mBySite.Item(k)], j));
        pList[j] = lBest >= 0 ? pList[lBest] : j;
        lMerged = lMerged || lBest >= 0;
        lLastSeen.GetArray()[lSite] = j;
    }
    pMerged = lMerged;
    return true;
}

// False when memory ran out.
bool FillMergeList(const MoxVector4* pPoints, int pCount, int* pList, bool& pMerged)
{
    MergeSites lSites;
    MergeCells lCells;
    ClosePairs lPairs;
    return BuildMergeSites(pPoints, pCount, lSites) && BuildMergeCells(lSites, lCells) &&
           FindClosePairs(lSites, lCells, lPairs) && GroupSitePoints(lPairs, pCount, lSites) &&
           ResolveMergeList(lSites, lPairs, pCount, pList, pMerged);
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

// Step 2: control point i moves its normal and its merge-list entry to the first polygon vertex that uses
// it, i in increasing order, so normals end indexed by polygon vertex. The first use of i is looked up in
// the polygon vertices as already rewritten for the control points below i: the first original use, or
// an earlier rewritten position whose new value is i. A control point that no polygon vertex uses moves
// nothing; a polygon vertex past the control point count takes no normal. Missing normals are skipped.
void ReorderNormalsByPolygonVertex(MoxMesh& pMesh, MoxArray<int>& pMergeList, int pCount, VectorArray* pNormals)
{
    const int lVertexCount = pMesh.mPolygonVertices.GetCount();
    MoxArray<int> lFirstUse;
    MoxArray<int> lRewrittenUse;  // only when some entry points forward
    MoxArray<MoxVector4> lBuffer;
    bool lForward = false;
    for (int i = 0; i < std::min(pCount, pMergeList.GetCount()) && !lForward; ++i)
        lForward = pMergeList.GetArray()[i] > i;
    if (!MoxFillArray(lFirstUse, pCount, INT_MAX) || (lForward && !MoxFillArray(lRewrittenUse, pCount, INT_MAX)) ||
        !MoxFillArray(lBuffer, pCount, MoxVector4()))
        return;
    int* lVertices = pMesh.mPolygonVertices.GetArray();
    for (int k = lVertexCount - 1; k >= 0; --k)
        if (static_cast<unsigned>(lVertices[k]) < static_cast<unsigned>(pCount)) lFirstUse.GetArray()[lVertices[k]] = k;

    MoxVector4* lNormals = pNormals ? pNormals->GetLocked(MoxLayerElementArray::eReadWriteLock) : nullptr;
    const int lNormalCount = lNormals ? pNormals->GetCount() : 0;
    for (int i = 0; i < pCount; ++i) {
        const int lUse =
            lForward ? std::min(lFirstUse.GetArray()[i], lRewrittenUse.GetArray()[i]) : lFirstUse.GetArray()[i];
        if (lUse == INT_MAX) continue;
        if (lUse < pCount && i < lNormalCount) lBuffer.GetArray()[lUse] = lNormals[i];
        const int lTarget = pMergeList[i];
        lVertices[lUse] = lTarget;
        if (lForward && lTarget > i && lTarget < pCount)
            lRewrittenUse.GetArray()[lTarget] = std::min(lRewrittenUse.GetArray()[lTarget], lUse);
    }
    if (lNormals && pCount > 0)
        std::memcpy(static_cast<void*>(lNormals), lBuffer.GetArray(),
                    sizeof(MoxVector4) * size_t(std::min(pCount, lNormalCount)));
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
        _MoxAssert(sgFile, sgMerge, __LINE__, "mEdgeArray.GetCount() == mPolygonVertices.GetCount()");
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
    MoxArray<int> lRemovedBelow;
    if (!lRemovedBelow.Resize(pCount + 1)) return false;
    int* lBelow = lRemovedBelow.GetArray();
    MoxVector4* lPoints = pMesh.GetControlPoints();
    lBelow[0] = 0;
    for (int i = 0; i < pCount; ++i) {
        const bool lRemoved = pMergeList[i] != i;
        if (!lRemoved) lPoints[i - lBelow[i]] = lPoints[i];
        lBelow[i + 1] = lBelow[i] + (lRemoved ? 1 : 0);
    }
    const int lRemovedCount = lBelow[pCount];
    if (lRemovedCount == 0) return false;
    pMesh.SetControlPointCount(pCount - lRemovedCount);
    int* lVertices = pMesh.mPolygonVertices.GetArray();
    for (int k = 0; k < pMesh.mPolygonVertices.GetCount(); ++k)
        if (lVertices[k] > 0) lVertices[k] -= lBelow[std::min(lVertices[k], pCount)];
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
    if (!lValid || !lNormals) _MoxAssert(sgFile, sgMerge, __LINE__, "isvalid && direct != NULL");
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
    if (!lValid || !lNormals) _MoxAssert(sgFile, sgMerge, __LINE__, "isvalid && direct != NULL");
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
    if (!lValid || !lNormals) _MoxAssert(sgFile, sgMerge, __LINE__, "isvalid && direct != NULL");
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
