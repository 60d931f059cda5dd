// MoxMesh: adjacency maps.
//
// ComputeComponentMaps: the incidence of edges and polygons, both ways, in one pass over the edges. Each
// edge looks at the corners of its start control point in the control-point-to-polygon-vertex map that
// BeginAddMeshEdgeIndex builds; for a control point of high valence only the corners next to the edge's
// end are visited (MoxMesh::NextV2PVCorner), so a fan's apex costs O(log valence) per edge. Directed
// edges met before are recognised by their 64-bit keys, kept in a MoxPairSet grouped by first control
// point.
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
#include "moxsdk/core/moxassert.h"
#include "moxsdk/scene/geometry/moxmesh.h"
#include "scene/geometry/moxmeshcorners.h"

namespace moxsdk {
namespace {

using detail::MoxMapCorner;
using detail::MoxReadVertex;

constexpr const char* sgFile = "scene/geometry/moxmesh";

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
    if (mV2PVMap.mValid)
        RebuildV2PVNeighbours();
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
    const char* lMissing = !lNext.Get() ? "lNextCorner" : !lFill.Get() ? "lPolygonFill" : nullptr;
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
    int k = 0;
    lEdgeOffsets[0] = 0;
    for (int i = 0; i < lEdgeCount; ++i) {
        int lV1 = -1;
        int lV2 = -1;
        const EEdgeStatus lStatus = EdgeEnds(*this, lNext.Get(), i, &MoxReadVertex, lV1, lV2);
        if (lStatus == eEdgeOutOfRange)
            MOX_REPORT(sgFile, "mEdgeArray[i] >= 0 && mEdgeArray[i] < mPolygonVertices.GetCount()");
        if (lStatus == eEdgeStartOutside) MOX_REPORT(sgFile, "lV1 < lControlPointCount");
        if (lStatus != eEdgeOk) continue;
        // The same directed pair met on an earlier edge skips this one.
        const DirectedPair lPair = MakeDirectedPair(lControlPointCount, lV1, lV2);
        const MoxInt64Set::EInsertResult lNew = lDirectedPairs.Insert(lPair.mFirst, lPair.mSecond, lPair.mKey);
        if (lNew == MoxInt64Set::eNoMemory) {
            MOX_REPORT(sgFile, "lDirectedEdges");
            pEdgeToPolygons.Clear();
            pPolygonToEdges.Clear();
            break;
        }
        if (lNew == MoxInt64Set::ePresent) continue;
        for (int c = NextV2PVCorner(lV1, lV2, 0); c != -1; c = NextV2PVCorner(lV1, lV2, c + 1)) {
            const MoxPair<int, int> lCorner = MoxMapCorner(*this, lV1, c);
            if (!CornerHasEdge(*this, lCorner, lV1, lV2)) continue;
            MoxArray<int>& lPolygons = pEdgeToPolygons.mData;
            if (k >= lPolygons.GetCount() && !lPolygons.Grow(std::max(lPolygons.GetCount(), 1))) break;
            lPolygons.GetArray()[k++] = lCorner.mFirst;
            if (lCorner.mFirst < 0 || lCorner.mFirst >= lPolygonCount) continue;
            pPolygonToEdges.mData[pPolygonToEdges.mOffsets[lCorner.mFirst] + lFill[lCorner.mFirst]++] = i;
        }
        lEdgeOffsets[i + 1] = k;
    }
    EndAddMeshEdgeIndex();
}

}  // namespace moxsdk
