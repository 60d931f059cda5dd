// Polygon removal and degenerate-polygon clean-up.
//
// RemovePolygon keeps every table indexed by polygon, polygon vertex or edge in step with the shorter
// topology. Its results, down to the report sequence and the array contents left past each array's
// size, are those of the plain procedure: search the other polygons' corners once per edge of the removed
// polygon, and remove array entries one RemoveAt at a time. The work is organised differently so that one
// call costs O(mesh size + s log s) for a polygon of s vertices:
// - the corner search scans all corners once for all edges of the polygon, looking each corner's clamped
//   pair up in the sorted list of the polygon's edge pairs, and keeps the first corner per pair; the
//   corner reads that report (polygons whose range leaves mPolygonVertices) are replayed per edge up to
//   that edge's match, so the reports come out as the per-edge search makes them;
// - the entries removed from one array go in one compaction pass. Element arrays remove silently, so the
//   pass is exact for them. On MoxArray the pass also writes what the repeated RemoveAt would leave in
//   the slots past the new size, and the calls that would land past the size keep their own path (their
//   reports and their size step inside the capacity).
// User-data fields are compacted in one pass only when every field removes silently and no two fields
// share an array; otherwise RemoveFromAllDirectArrays runs once per removed entry, which costs
// O(entries x values) for an edge- or polygon-vertex-mapped direct user-data element.
//
// GetBadPolyIndices compares the corners of small polygons pair by pair and sorts those of larger ones
// instead of comparing all pairs: O(s log s) per polygon.
// RemoveBadPolygons removes the k bad polygons one RemovePolygon at a time: O(k x mesh size).

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "moxsdk/scene/geometry/moxmesh.h"

namespace moxsdk {
namespace {

// Two's-complement sum: polygon starts and sizes written by a caller may overflow int.
int WrapAdd(int pA, int pB)
{
    return static_cast<int>(static_cast<unsigned int>(pA) + static_cast<unsigned int>(pB));
}

// ---- MoxArray removals with RemoveAt's exact effect ---------------------------------------------------

// Lowers the size to pCount (below the current size) and keeps the block, as RemoveAt does: Resize to 0
// would free it, so the last step is a RemoveAt of the last entry.
void TruncateKeepingBlock(MoxArray<int>& pArray, int pCount)
{
    pArray.Resize(pCount + 1, true);
    pArray.RemoveAt(pCount);
}

// pCount calls of RemoveAt(pStart). The entries that exist go in one move; repeated RemoveAt leaves the
// old last entry in every slot it vacates, and so does this. The calls that find pStart outside the size
// take RemoveAt's own path.
void RemoveRepeatedlyAt(MoxArray<int>& pArray, int pStart, int pCount)
{
    const int lSize = pArray.GetCount();
    int lInRange = 0;
    if (pStart >= 0 && pStart < lSize && pCount > 0) lInRange = std::min(pCount, lSize - pStart);
    if (lInRange > 0) {
        int* lData = pArray.GetArray();
        const int lLast = lData[lSize - 1];
        std::memmove(lData + pStart, lData + pStart + lInRange, sizeof(int) * size_t(lSize - pStart - lInRange));
        std::fill(lData + lSize - lInRange, lData + lSize, lLast);
        TruncateKeepingBlock(pArray, lSize - lInRange);
    }
    for (int i = lInRange; i < pCount; ++i) pArray.RemoveAt(pStart);
}

// Moves the values that survive the removal of pPositions (ascending, distinct, all below pCount) down
// over the removed ones; returns the surviving count. Values are pValueSize bytes each.
int CompactOut(unsigned char* pData, int pCount, size_t pValueSize, const int* pPositions, int pPositionCount)
{
    if (pPositionCount == 0) return pCount;
    int lWrite = pPositions[0];
    for (int i = 0; i < pPositionCount; ++i) {
        const int lFrom = pPositions[i] + 1;
        const int lTo = i + 1 < pPositionCount ? pPositions[i + 1] : pCount;
        std::memmove(pData + size_t(lWrite) * pValueSize, pData + size_t(lFrom) * pValueSize,
                     size_t(lTo - lFrom) * pValueSize);
        lWrite += lTo - lFrom;
    }
    return lWrite;
}

// RemoveAt(pPositions[i]) for i from the last entry to the first, where pPositions is ascending, distinct
// and inside the size. Removal i (counted from the largest position) leaves the array's last entry at
// that moment in slot size - 1 - i; the one compaction pass writes the same values there.
void RemoveAscendingPositions(MoxArray<int>& pArray, const MoxArray<int>& pPositions)
{
    const int lSize = pArray.GetCount();
    const int lRemoved = pPositions.GetCount();
    if (lRemoved == 0) return;
    const int* lPositions = pPositions.GetArray();
    int* lData = pArray.GetArray();
    MoxArray<int> lVacated;
    int lLast = lSize - 1;  // the last entry not yet removed
    int lAbove = lRemoved - 1;
    for (int i = 0; i < lRemoved; ++i) {
        // Before removal i, positions[lRemoved - i ..] are gone.
        for (;;) {
            while (lAbove >= lRemoved - i && lPositions[lAbove] > lLast) --lAbove;
            if (lAbove < lRemoved - i || lPositions[lAbove] != lLast) break;
            --lLast;
        }
        lVacated.Add(lData[lLast]);
    }
    CompactOut(reinterpret_cast<unsigned char*>(lData), lSize, sizeof(int), lPositions, lRemoved);
    for (int i = 0; i < lVacated.GetCount(); ++i) lData[lSize - 1 - i] = lVacated[i];
    TruncateKeepingBlock(pArray, lSize - lRemoved);
}

// ---- Element array removals (RemoveAt there is silent and ignores positions past the count) ----------

// The values of pArray in place, or null when it is empty or of a type it cannot store.
unsigned char* LockedValues(MoxLayerElementArray& pArray)
{
    return static_cast<unsigned char*>(pArray.GetLocked(MoxLayerElementArray::eReadWriteLock, pArray.GetDataType()));
}

// pCount calls of RemoveAt(pStart), as one move.
void RemoveRunFromElementArray(MoxLayerElementArray& pArray, int pStart, int pCount)
{
    const int lCount = pArray.GetCount();
    if (pStart < 0 || pStart >= lCount || pCount <= 0) return;
    unsigned char* lData = LockedValues(pArray);
    if (!lData) return;
    const int lRemoved = std::min(pCount, lCount - pStart);
    const size_t lValueSize = size_t(MoxLayerElementValueSize(pArray.GetDataType()));
    std::memmove(lData + size_t(pStart) * lValueSize, lData + size_t(pStart + lRemoved) * lValueSize,
                 size_t(lCount - pStart - lRemoved) * lValueSize);
    void* lLocked = lData;
    pArray.Release(&lLocked, pArray.GetDataType());
    pArray.SetCount(lCount - lRemoved);
}

// RemoveAt of every listed position (ascending, distinct) from the largest down: the positions past the
// count are no-ops, the others go in one pass.
void RemoveAscendingFromElementArray(MoxLayerElementArray& pArray, const MoxArray<int>& pPositions)
{
    const int lCount = pArray.GetCount();
    const int* lPositions = pPositions.GetArray();
    int lInRange = 0;
    while (lInRange < pPositions.GetCount() && lPositions[lInRange] < lCount) ++lInRange;
    if (lInRange == 0) return;
    unsigned char* lData = LockedValues(pArray);
    if (!lData) return;
    const size_t lValueSize = size_t(MoxLayerElementValueSize(pArray.GetDataType()));
    const int lKept = CompactOut(lData, lCount, lValueSize, lPositions, lInRange);
    void* lLocked = lData;
    pArray.Release(&lLocked, pArray.GetDataType());
    pArray.SetCount(lKept);
}

// ---- Layer elements -------------------------------------------------------------------------------------

// The components that go with the polygon: the polygon, its run of polygon vertices, and the removed edges
// (ascending).
struct RemovedComponents {
    int mPolygon;
    int mFirstPolygonVertex;
    int mSize;
    const MoxArray<int>* mEdges;
};

// Which mappings an element kind follows, and whether its eDirect form loses direct values.
struct ElementRule {
    bool mByPolygonVertex;
    bool mByPolygon;
    bool mByEdge;
    bool mDirect;
};

constexpr ElementRule sgGeometricRule{true, true, false, true};  // normals .. vertex colours, groups, UVs, textures
constexpr ElementRule sgVisibilityRule{true, true, true, true};
constexpr ElementRule sgMaterialRule{true, true, false, false};
constexpr ElementRule sgSmoothingRule{false, true, true, true};
constexpr ElementRule sgUserDataRule{true, true, true, true};
constexpr ElementRule sgEdgeCreaseRule{false, false, true, true};

enum class EArrayChoice { eNone, eIndexArray, eDirectArray };

// The array that loses entries, by the element's modes. Edge-mapped elements referenced eIndex are left
// alone; the other mappings accept eIndex and eIndexToDirect alike.
EArrayChoice ChooseArray(const MoxLayerElement& pElement, const ElementRule& pRule)
{
    const MoxLayerElement::EMappingMode lMapping = pElement.GetMappingMode();
    const MoxLayerElement::EReferenceMode lReference = pElement.GetReferenceMode();
    const bool lFollowed = (lMapping == MoxLayerElement::eByPolygonVertex && pRule.mByPolygonVertex) ||
                           (lMapping == MoxLayerElement::eByPolygon && pRule.mByPolygon) ||
                           (lMapping == MoxLayerElement::eByEdge && pRule.mByEdge);
    if (!lFollowed) return EArrayChoice::eNone;
    if (lReference == MoxLayerElement::eDirect) return pRule.mDirect ? EArrayChoice::eDirectArray : EArrayChoice::eNone;
    if (lReference == MoxLayerElement::eIndex && lMapping == MoxLayerElement::eByEdge) return EArrayChoice::eNone;
    return EArrayChoice::eIndexArray;
}

// Removes the entries of the removed components from one array of an element mapped pMapping.
void RemoveComponents(MoxLayerElementArray& pArray, MoxLayerElement::EMappingMode pMapping,
                      const RemovedComponents& pRemoved)
{
    if (pMapping == MoxLayerElement::eByPolygonVertex)
        RemoveRunFromElementArray(pArray, pRemoved.mFirstPolygonVertex, pRemoved.mSize);
    else if (pMapping == MoxLayerElement::eByPolygon)
        pArray.RemoveAt(pRemoved.mPolygon, nullptr, pArray.GetDataType());
    else if (pMapping == MoxLayerElement::eByEdge)
        RemoveAscendingFromElementArray(pArray, *pRemoved.mEdges);
}

template <class T>
void UpdateElement(MoxLayerElementTemplate<T>* pElement, const ElementRule& pRule, const RemovedComponents& pRemoved)
{
    if (!pElement) return;
    const EArrayChoice lChoice = ChooseArray(*pElement, pRule);
    if (lChoice == EArrayChoice::eIndexArray)
        RemoveComponents(pElement->GetIndexArray(), pElement->GetMappingMode(), pRemoved);
    else if (lChoice == EArrayChoice::eDirectArray)
        RemoveComponents(pElement->GetDirectArray(), pElement->GetMappingMode(), pRemoved);
}

// The value array of user-data field pField as RemoveFromAllDirectArrays reaches it, or null for a field
// type that it reports as unknown.
MoxLayerElementArray* FieldArray(MoxLayerElementUserData& pElement, int pField)
{
    switch (pElement.GetDataType(pField).GetType()) {
        case eMoxBool:
            return &MoxGetDirectArray<bool>(&pElement, pField);
        case eMoxInt:
            return &MoxGetDirectArray<int>(&pElement, pField);
        case eMoxFloat:
            return &MoxGetDirectArray<float>(&pElement, pField);
        case eMoxDouble:
            return &MoxGetDirectArray<double>(&pElement, pField);
        default:
            return nullptr;
    }
}

// Collects the field arrays and tells whether removing from each in one pass gives what
// RemoveFromAllDirectArrays per entry gives: every field removes silently and no two share an array.
bool CollectDistinctFieldArrays(MoxLayerElementUserData& pElement, MoxArray<MoxLayerElementArray*>& pFields)
{
    for (int i = 0; i < pElement.GetDirectArrayCount(); ++i) {
        MoxLayerElementArray* lField = FieldArray(pElement, i);
        if (!lField || pFields.Add(lField) < 0) return false;
    }
    MoxArray<MoxLayerElementArray*> lSorted(pFields);
    if (lSorted.GetCount() != pFields.GetCount()) return false;
    std::sort(lSorted.begin(), lSorted.end());
    return std::adjacent_find(lSorted.begin(), lSorted.end()) == lSorted.end();
}

// The direct user-data form: the entries go from every field's value array.
void RemoveFromUserDataFields(MoxLayerElementUserData& pElement, const RemovedComponents& pRemoved)
{
    const MoxLayerElement::EMappingMode lMapping = pElement.GetMappingMode();
    if (lMapping == MoxLayerElement::eByPolygon) {
        pElement.RemoveFromAllDirectArrays(pRemoved.mPolygon);
        return;
    }
    MoxArray<MoxLayerElementArray*> lFields;
    if (CollectDistinctFieldArrays(pElement, lFields)) {
        for (MoxLayerElementArray* lField : lFields) RemoveComponents(*lField, lMapping, pRemoved);
        return;
    }
    if (lMapping == MoxLayerElement::eByPolygonVertex) {
        for (int i = 0; i < pRemoved.mSize; ++i) pElement.RemoveFromAllDirectArrays(pRemoved.mFirstPolygonVertex);
        return;
    }
    for (int i = pRemoved.mEdges->GetCount() - 1; i >= 0; --i)
        pElement.RemoveFromAllDirectArrays((*pRemoved.mEdges)[i]);
}

void UpdateUserData(MoxLayerElementUserData* pElement, const RemovedComponents& pRemoved)
{
    if (!pElement) return;
    const EArrayChoice lChoice = ChooseArray(*pElement, sgUserDataRule);
    if (lChoice == EArrayChoice::eIndexArray)
        RemoveComponents(pElement->GetIndexArray(), pElement->GetMappingMode(), pRemoved);
    else if (lChoice == EArrayChoice::eDirectArray)
        RemoveFromUserDataFields(*pElement, pRemoved);
}

// The elements that come before the texture channels in the update order.
void UpdateLeadingElements(MoxLayer& pLayer, const RemovedComponents& pRemoved)
{
    UpdateElement(pLayer.GetNormals(), sgGeometricRule, pRemoved);
    UpdateElement(pLayer.GetTangents(), sgGeometricRule, pRemoved);
    UpdateElement(pLayer.GetBinormals(), sgGeometricRule, pRemoved);
    UpdateElement(pLayer.GetVertexColors(), sgGeometricRule, pRemoved);
    UpdateElement(pLayer.GetMaterials(), sgMaterialRule, pRemoved);
}

// The elements that come after the texture channels. Vertex crease and hole elements are not touched.
void UpdateTrailingElements(MoxLayer& pLayer, const RemovedComponents& pRemoved)
{
    UpdateElement(pLayer.GetPolygonGroups(), sgGeometricRule, pRemoved);
    UpdateElement(pLayer.GetSmoothing(), sgSmoothingRule, pRemoved);
    UpdateUserData(pLayer.GetUserData(), pRemoved);
    UpdateElement(pLayer.GetVisibility(), sgVisibilityRule, pRemoved);
    UpdateElement(pLayer.GetEdgeCrease(), sgEdgeCreaseRule, pRemoved);
}

// ---- Edge re-pointing ------------------------------------------------------------------------------------

// The clamping read of GetIndex: the value when it is below pCount taken as unsigned, else pCount - 1.
int Clamp(int pValue, int pCount)
{
    return static_cast<unsigned int>(pValue) < static_cast<unsigned int>(pCount) ? pValue : pCount - 1;
}

// GetIndex(pPolygonVertex, pCount), reports included.
int ClampedVertex(const MoxMesh& pMesh, int pPolygonVertex, int pCount)
{
    return Clamp(pMesh.mPolygonVertices[pPolygonVertex], pCount);
}

// What mPolygonVertices[pIndex] yields, without its range reports: the slot inside the capacity (stale
// past the size), else the zeroed scratch value.
int SilentVertex(const MoxMesh& pMesh, int pIndex)
{
    return pIndex >= 0 && pIndex < pMesh.mPolygonVertices.GetCapacity() ? pMesh.mPolygonVertices.GetArray()[pIndex] : 0;
}

uint64_t UnorderedPair(int pA, int pB)
{
    const uint32_t lLow = static_cast<uint32_t>(std::min(pA, pB));
    const uint32_t lHigh = static_cast<uint32_t>(std::max(pA, pB));
    return (uint64_t(lLow) << 32) | lHigh;
}

// A corner of another polygon: polygon q, position k (q = -1: none).
struct Corner {
    int mPolygon;
    int mPosition;
};

// The polygon's geometry and the edge count the clamping reads use.
struct RemovedPolygon {
    int mPolygon;
    int mStart;
    int mSize;
    int mEdgeCount;
};

bool StartsInPolygon(int pPolygonVertex, const RemovedPolygon& pPolygon)
{
    return pPolygonVertex >= pPolygon.mStart && int64_t(pPolygonVertex) < int64_t(pPolygon.mStart) + pPolygon.mSize;
}

// The polygon vertex at which the edge starting at pPolygonVertex ends: the next one, the last wrapping
// to the first.
int SecondEndVertex(int pPolygonVertex, const RemovedPolygon& pPolygon)
{
    const bool lLast = int64_t(pPolygonVertex) == int64_t(pPolygon.mStart) + pPolygon.mSize - 1;
    return lLast ? pPolygon.mStart : WrapAdd(pPolygonVertex, 1);
}

// The sorted, distinct pairs (first end, second end) of the polygon's edges that a corner can match. The
// second end is clamped by the edge count (not the control point count, deliberately), as a corner's ends
// are; the first end is not, so an edge whose first end lies outside 0 .. edge count - 1 matches nothing.
void CollectEdgePairs(const MoxMesh& pMesh, const RemovedPolygon& pPolygon, MoxArray<uint64_t>& pPairs)
{
    const int* lEdges = pMesh.mEdgeArray.GetArray();
    for (int e = 0; e < pMesh.mEdgeArray.GetCount(); ++e) {
        if (!StartsInPolygon(lEdges[e], pPolygon)) continue;
        const int lA = SilentVertex(pMesh, lEdges[e]);
        const int lB = Clamp(SilentVertex(pMesh, SecondEndVertex(lEdges[e], pPolygon)), pPolygon.mEdgeCount);
        if (static_cast<unsigned int>(lA) < static_cast<unsigned int>(pPolygon.mEdgeCount))
            pPairs.Add(UnorderedPair(lA, lB));
    }
    std::sort(pPairs.begin(), pPairs.end());
    pPairs.Resize(int(std::unique(pPairs.begin(), pPairs.end()) - pPairs.begin()), true);
}

// True when polygon pPolygon has corners and its range leaves mPolygonVertices: its reads report.
bool ReadsOutOfRange(const MoxMesh& pMesh, const MoxMesh::PolygonDef& pPolygon)
{
    return pPolygon.mSize > 0 &&
           (pPolygon.mIndex < 0 || int64_t(pPolygon.mIndex) + pPolygon.mSize > pMesh.mPolygonVertices.GetCount());
}

// The position of pPair in the sorted pPairs, or -1.
int FindPair(const MoxArray<uint64_t>& pPairs, uint64_t pPair)
{
    const uint64_t* lBegin = pPairs.GetArray();
    const uint64_t* lEnd = lBegin + pPairs.GetCount();
    const uint64_t* lFound = std::lower_bound(lBegin, lEnd, pPair);
    return lFound != lEnd && *lFound == pPair ? int(lFound - lBegin) : -1;
}

// Corner pPosition's control point of a polygon, read as the search reads it but without reports (the raw
// slot when the polygon's range lies inside mPolygonVertices).
int CornerValue(const MoxMesh& pMesh, const MoxMesh::PolygonDef& pPolygon, int pPosition, bool pInRange)
{
    return pInRange ? pMesh.mPolygonVertices.GetArray()[pPolygon.mIndex + pPosition]
                    : SilentVertex(pMesh, WrapAdd(pPolygon.mIndex, pPosition));
}

// One scan over the corners of every polygon but the removed one, in (polygon, position) order: for each
// pair of pPairs the first corner whose clamped ends form it, and the polygons whose reads report.
void FindFirstCorners(const MoxMesh& pMesh, const RemovedPolygon& pPolygon, const MoxArray<uint64_t>& pPairs,
                      MoxArray<Corner>& pFirst, MoxArray<int>& pReporting)
{
    for (int i = 0; i < pPairs.GetCount(); ++i) pFirst.Add(Corner{-1, 0});
    // Without memory for every pair's corner (or without pairs) only the reporting polygons are listed.
    const bool lSearch = pPairs.GetCount() > 0 && pFirst.GetCount() == pPairs.GetCount();
    // Nearly every corner falls outside the range of the polygon's few pairs: two comparisons reject it.
    const uint64_t lLowest = lSearch ? pPairs.GetArray()[0] : 0;
    const uint64_t lHighest = lSearch ? pPairs.GetArray()[pPairs.GetCount() - 1] : 0;
    const int lEdgeCount = pPolygon.mEdgeCount;
    const MoxMesh::PolygonDef* lPolygons = pMesh.mPolygons.GetArray();
    const int lPolygonCount = pMesh.mPolygons.GetCount();
    for (int q = 0; q < lPolygonCount; ++q) {
        const MoxMesh::PolygonDef& lPolygon = lPolygons[q];
        if (q == pPolygon.mPolygon || lPolygon.mSize <= 0) continue;
        const bool lInRange = !ReadsOutOfRange(pMesh, lPolygon);
        if (!lInRange) pReporting.Add(q);
        if (!lSearch) continue;
        // Each corner runs from vertex k to vertex k + 1, the last one back to vertex 0.
        const int lFirstEnd = Clamp(CornerValue(pMesh, lPolygon, 0, lInRange), lEdgeCount);
        int lC1 = lFirstEnd;
        for (int k = 0; k < lPolygon.mSize; ++k) {
            const int lC2 =
                k + 1 < lPolygon.mSize ? Clamp(CornerValue(pMesh, lPolygon, k + 1, lInRange), lEdgeCount) : lFirstEnd;
            const uint64_t lKey = UnorderedPair(lC1, lC2);
            lC1 = lC2;
            if (lKey < lLowest || lKey > lHighest) continue;
            const int lPair = FindPair(pPairs, lKey);
            if (lPair >= 0 && pFirst[lPair].mPolygon < 0) pFirst[lPair] = Corner{q, k};
        }
    }
}

// The reads that the per-edge search makes up to and including corner pMatch (through every corner when
// pMatch is none), for their reports: only the polygons listed in pReporting can report.
void ReplaySearchReads(const MoxMesh& pMesh, const MoxArray<int>& pReporting, Corner pMatch, int pEdgeCount)
{
    for (int q : pReporting) {
        if (pMatch.mPolygon >= 0 && q > pMatch.mPolygon) return;
        const MoxMesh::PolygonDef& lPolygon = pMesh.mPolygons.GetArray()[q];
        const int lLast = q == pMatch.mPolygon ? pMatch.mPosition : lPolygon.mSize - 1;
        for (int k = 0; k <= lLast; ++k) {
            ClampedVertex(pMesh, WrapAdd(lPolygon.mIndex, k), pEdgeCount);
            ClampedVertex(pMesh, WrapAdd(lPolygon.mIndex, (k + 1) % lPolygon.mSize), pEdgeCount);
        }
    }
}

// Every edge that starts in the removed polygon either moves to the first corner of another polygon that
// joins the same two (clamped) control points, in either direction, or is listed in pRemovedEdges
// (ascending).
void RepointEdges(MoxMesh& pMesh, const RemovedPolygon& pPolygon, MoxArray<int>& pRemovedEdges)
{
    MoxArray<uint64_t> lPairs;
    CollectEdgePairs(pMesh, pPolygon, lPairs);
    MoxArray<Corner> lFirst;
    MoxArray<int> lReporting;
    FindFirstCorners(pMesh, pPolygon, lPairs, lFirst, lReporting);
    for (int e = 0; e < pMesh.mEdgeArray.GetCount(); ++e) {
        const int lStart = pMesh.mEdgeArray.GetArray()[e];
        if (!StartsInPolygon(lStart, pPolygon)) continue;
        const int lA = pMesh.mPolygonVertices[lStart];
        const int lB = ClampedVertex(pMesh, SecondEndVertex(lStart, pPolygon), pPolygon.mEdgeCount);
        const bool lComparable = static_cast<unsigned int>(lA) < static_cast<unsigned int>(pPolygon.mEdgeCount);
        const int lPair = lComparable ? FindPair(lPairs, UnorderedPair(lA, lB)) : -1;
        const Corner lMatch = lPair >= 0 && lPair < lFirst.GetCount() ? lFirst[lPair] : Corner{-1, 0};
        ReplaySearchReads(pMesh, lReporting, lMatch, pPolygon.mEdgeCount);
        if (lMatch.mPolygon >= 0)
            pMesh.mEdgeArray.GetArray()[e] =
                WrapAdd(pMesh.mPolygons.GetArray()[lMatch.mPolygon].mIndex, lMatch.mPosition);
        else
            pRemovedEdges.Add(e);
    }
}

// The position of polygon pPolygon's first vertex counted from the sizes before it (negative sizes count
// as 0): mIndex in a consistent mesh.
int FirstPolygonVertexBySizes(const MoxMesh& pMesh, int pPolygon)
{
    int lStart = 0;
    for (int q = 0; q < pPolygon; ++q) lStart = WrapAdd(lStart, std::max(pMesh.mPolygons.GetArray()[q].mSize, 0));
    return lStart;
}

// Polygons from pFirst on start pShift earlier; so do the edges that start at or after pStart.
void ShiftAfterRemoval(MoxMesh& pMesh, int pFirst, int pStart, int pShift)
{
    MoxMesh::PolygonDef* lPolygons = pMesh.mPolygons.GetArray();
    for (int q = pFirst; q < pMesh.mPolygons.GetCount(); ++q)
        lPolygons[q].mIndex = WrapAdd(lPolygons[q].mIndex, -pShift);
    int* lEdges = pMesh.mEdgeArray.GetArray();
    for (int e = 0; e < pMesh.mEdgeArray.GetCount(); ++e)
        if (lEdges[e] >= pStart) lEdges[e] = WrapAdd(lEdges[e], -pShift);
}

// Polygons up to this size are compared pair by pair in a local buffer; larger ones are sorted.
constexpr int sgPairwiseLimit = 16;

bool HasRepeat(int* pCorners, int pSize)
{
    if (pSize <= sgPairwiseLimit) {
        for (int j = 0; j + 1 < pSize; ++j)
            if (std::find(pCorners + j + 1, pCorners + pSize, pCorners[j]) != pCorners + pSize) return true;
        return false;
    }
    std::sort(pCorners, pCorners + pSize);
    return std::adjacent_find(pCorners, pCorners + pSize) != pCorners + pSize;
}

// Vertex pPosition of polygon pPolygon as GetPolygonVertex reads it (pPosition is inside the polygon's
// size), reports included.
int PolygonVertex(const MoxMesh& pMesh, int pPolygon, int pPosition)
{
    return pMesh.mPolygonVertices[WrapAdd(pMesh.mPolygons.GetArray()[pPolygon].mIndex, pPosition)];
}

// Without scratch memory the pairs are compared in place, reading the vertices again.
bool HasInvalidOrRepeatedCornerInPlace(const MoxMesh& pMesh, int pPolygon, int pSize)
{
    for (int j = 0; j + 1 < pSize; ++j) {
        const int lVertex = PolygonVertex(pMesh, pPolygon, j);
        if (lVertex == -1) return true;
        for (int k = j + 1; k < pSize; ++k)
            if (PolygonVertex(pMesh, pPolygon, k) == lVertex) return true;
    }
    return false;
}

// Polygon pPolygon (of pSize >= 3 vertices) is bad when one of its vertices but the last is -1, or two of its
// vertices are the same control point: the outcome of comparing every vertex j < pSize - 1 with -1 and
// with every later vertex. The last vertex alone is never tested for -1. Each vertex is read once, in
// order. pScratch is reused across polygons.
bool HasInvalidOrRepeatedCorner(const MoxMesh& pMesh, int pPolygon, int pSize, MoxArray<int>& pScratch)
{
    int lLocal[sgPairwiseLimit];
    int* lCorners = lLocal;
    if (pSize > sgPairwiseLimit) {
        if (!pScratch.Resize(pSize, true)) return HasInvalidOrRepeatedCornerInPlace(pMesh, pPolygon, pSize);
        lCorners = pScratch.GetArray();
    }
    for (int k = 0; k < pSize; ++k) lCorners[k] = PolygonVertex(pMesh, pPolygon, k);
    if (std::find(lCorners, lCorners + pSize - 1, -1) != lCorners + pSize - 1) return true;
    return HasRepeat(lCorners, pSize);
}

}  // namespace

// ---- Polygon removal ----------------------------------------------------------------------------------

// Steps: convert direct elements, re-point or drop the polygon's edges, update every layer element, then
// remove the polygon's vertices and its record and shift what follows.
int MoxMesh::RemovePolygon(int pPolygonIndex)
{
    if (pPolygonIndex < 0 || pPolygonIndex >= mPolygons.GetCount()) return -1;
    NotePolygonEdit();
    for (int lLayer = 0; lLayer < GetLayerCount(); ++lLayer) ConvertDirectToIndexToDirect(lLayer);

    const PolygonDef lPolygon = mPolygons.GetArray()[pPolygonIndex];
    MoxArray<int> lRemovedEdges;
    if (mEdgeArray.GetCount() > 0) {
        const RemovedPolygon lRemoved{pPolygonIndex, lPolygon.mIndex, lPolygon.mSize, mEdgeArray.GetCount()};
        RepointEdges(*this, lRemoved, lRemovedEdges);
        RemoveAscendingPositions(mEdgeArray, lRemovedEdges);
    }

    const int lFirstVertex = FirstPolygonVertexBySizes(*this, pPolygonIndex);
    const RemovedComponents lComponents{pPolygonIndex, lFirstVertex, lPolygon.mSize, &lRemovedEdges};
    for (int lIndex = 0; lIndex < GetLayerCount(); ++lIndex) {
        MoxLayer* lLayer = GetLayer(lIndex);
        if (!lLayer) continue;
        UpdateLeadingElements(*lLayer, lComponents);
        for (int lChannel = MoxLayerElement::eTextureChannel0; lChannel <= MoxLayerElement::eTextureChannel16;
             ++lChannel)
            RemoveTextureIndex(lLayer->GetTextures(MoxLayerElement::EType(lChannel)), pPolygonIndex, lFirstVertex);
        for (int lChannel = MoxLayerElement::eTextureChannel0; lChannel <= MoxLayerElement::eTextureChannel16;
             ++lChannel)
            RemoveUVIndex(lLayer->GetUVs(MoxLayerElement::EType(lChannel)), pPolygonIndex, lFirstVertex);
        UpdateTrailingElements(*lLayer, lComponents);
    }

    RemoveRepeatedlyAt(mPolygonVertices, lFirstVertex, lPolygon.mSize);
    const int lShift = std::max(lPolygon.mSize, 0);
    mPolygons.RemoveAt(pPolygonIndex);
    ShiftAfterRemoval(*this, pPolygonIndex, lFirstVertex, lShift);
    return pPolygonIndex;
}

// The element belongs to the mesh's layers, so the call edits the mesh even though no member changes.
void MoxMesh::RemoveUVIndex(  // NOLINT(readability-make-member-function-const)
    MoxLayerElementUV* pLayerElementUV, int pPolygonIndex, int pStart)
{
    if (!pLayerElementUV) return;
    const MoxArray<int> lNoEdges;
    const RemovedComponents lRemoved{pPolygonIndex, pStart, mPolygons[pPolygonIndex].mSize, &lNoEdges};
    UpdateElement(pLayerElementUV, sgGeometricRule, lRemoved);
}

void MoxMesh::RemoveTextureIndex(  // NOLINT(readability-make-member-function-const)
    MoxLayerElementTexture* pLayerElementTexture, int pPolygonIndex, int pStart)
{
    if (!pLayerElementTexture) return;
    const MoxArray<int> lNoEdges;
    const RemovedComponents lRemoved{pPolygonIndex, pStart, mPolygons[pPolygonIndex].mSize, &lNoEdges};
    UpdateElement(pLayerElementTexture, sgGeometricRule, lRemoved);
}

// ---- Degenerate polygons -------------------------------------------------------------------------------

// A polygon of fewer than 3 vertices is listed even when pCheckOne is set, and the scan goes on past it;
// pCheckOne returns at the first polygon found bad by its vertices.
bool MoxMesh::GetBadPolyIndices(MoxArray<int>& pBadPolyIndices, bool pCheckOne) const
{
    const int lPolygonCount = GetPolygonCount();
    MoxArray<int> lScratch;
    for (int i = 0; i < lPolygonCount; ++i) {
        const int lSize = GetPolygonSize(i);
        if (lSize < 3) {
            pBadPolyIndices.Add(i);
            continue;
        }
        if (!HasInvalidOrRepeatedCorner(*this, i, lSize, lScratch)) continue;
        if (pCheckOne) return true;
        pBadPolyIndices.Add(i);
    }
    return pBadPolyIndices.GetCount() > 0;
}

bool MoxMesh::CheckSamePointTwice() const
{
    MoxArray<int> lBadPolyIndices;
    return GetBadPolyIndices(lBadPolyIndices, true);
}

// From the last bad polygon to the first, so the indices still to be removed stay valid.
int MoxMesh::RemoveBadPolygons()
{
    MoxArray<int> lBadPolyIndices;
    GetBadPolyIndices(lBadPolyIndices, false);
    for (int i = lBadPolyIndices.GetCount() - 1; i >= 0; --i) RemovePolygon(lBadPolyIndices[i]);
    return lBadPolyIndices.GetCount();
}

}  // namespace moxsdk
