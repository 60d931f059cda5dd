// MoxMesh: edge editing and edge queries, on the edge table and the caches of moxmeshedgetable.cxx (each
// query reads a cache when it is built and scans otherwise, with the same answer).
//
// Speed: every operation gives exactly what the plain algorithm gives, without its quadratic parts.
// - The map walks of SetMeshEdgeIndex and GetMeshEdgeIndexForPolygon visit, at a control point of high
//   valence, only the corners next to the other end (MoxMesh::NextV2PVCorner).
// - RemoveDuplicatedEdges compacts each array once for a list in increasing order, and reproduces what
//   the one-by-one removals leave in mEdgeArray's reserved slots. Any other list (repeats, disorder,
//   negative entries, or the edge array itself) is removed one by one, as it asks: O(list x edges).
// GetMeshEdgeIndex stays a scan of the edges (O(edges) per call), and so do the duplicate checks that
// call it; GetMeshEdgeVertices without its cache scans the polygons.
//
// Decisions where the behaviour is otherwise open:
// - RemoveDuplicatedEdges with an empty list removes nothing and returns 0, without a report.
// - The map walks treat a control point outside the map (negative, or added after Begin) as having no
//   corners, and the scan of the five-argument SetMeshEdgeIndex finds nothing on a mesh without polygons.
// - A polygon record is read once per query, so an out-of-range polygon index is reported once.
// - GetMeshEdgeIndexForPolygon with its cache answers from the corner walk alone, -1 when it finds
//   nothing; it falls back to GetMeshEdgeIndex only when the cache is not built.

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>

#include "core/base/moxscratch.h"
#include "detail/moxmeshcorners.h"
#include "detail/moxmeshreports.h"
#include "moxsdk/core/moxassert.h"
#include "moxsdk/scene/geometry/moxmesh.h"

namespace moxsdk {
namespace {

using detail::MoxMapCorner;
using detail::MoxPolygonPosition;
using detail::MoxReadVertex;

constexpr const char* sgFile = "scene/geometry/moxmesh";
using namespace detail::meshreports;

// The polygon vertex after position pPosition of pPolygon, the last wrapping to the first.
int64_t SideEnd(const MoxMesh::PolygonDef& pPolygon, int pPosition)
{
    return pPosition == pPolygon.mSize - 1 ? pPolygon.mIndex : int64_t(pPolygon.mIndex) + pPosition + 1;
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
}  // namespace

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

namespace {

// The polygon vertex after pVertex in pPolygon, which contains it: the first after the last.
int64_t NextVertex(const MoxMesh::PolygonDef& pPolygon, int pVertex)
{
    return pVertex == int64_t(pPolygon.mIndex) + pPolygon.mSize - 1 ? pPolygon.mIndex : int64_t(pVertex) + 1;
}
}  // namespace

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

namespace {

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

// As CompactValues for a layer element array, whose RemoveAt ignores positions past its count and whose
// storage past the count holds no values (what the compaction leaves there stays).
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
