// Point splitting and vertex merging of MoxMesh.
//
// SplitPoints gives every polygon vertex that is not the first user of its control point a control point
// of its own, and carries normals, one UV set, edges, the first skin's clusters and the blend-shape target
// shapes along. BuildMergeList and MergePointsForPolygonVerteNormals fold control points closer than the
// merge distance back together.
//
// The lookups that a plain reading of these operations repeats per element are replaced by indices built
// once, each giving exactly the plain answer: the first edge starting at a polygon vertex (inverse index),
// the first edge joining two unordered control points as GetMeshEdgeIndex finds it (edges grouped by their
// smaller control point, sorted, binary-searched), the polygon of an edge (inverse index when the polygon
// table is regular), the last earlier control point within the merge distance (exact-position sites on a
// spatial grid), the first polygon vertex using a control point (inverse index, kept up to date while
// polygon vertices are rewritten), the polygon closing at a polygon vertex (inverse index) and the shift of
// a control point index by the removed points below it (prefix counts). Every operation is O(n log n) or
// better in the polygon-vertex, control-point and edge counts (the merge list: plus the number of close
// pairs of distinct positions).

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "moxsdk/core/moxassert.h"
#include "moxsdk/core/moxmemory.h"
#include "moxsdk/scene/geometry/moxmesh.h"
#include "moxsdk/scene/moxblendshape.h"
#include "moxsdk/scene/moxblendshapechannel.h"
#include "moxsdk/scene/moxcluster.h"
#include "moxsdk/scene/moxshape.h"
#include "moxsdk/scene/moxskin.h"
#include "scene/geometry/detail/moxmeshreports.h"

namespace moxsdk {
namespace {

constexpr const char* sgFile = "scene/geometry/moxmesh";
using namespace detail::meshreports;
constexpr const char* sgSplit = "SplitPoints";
constexpr const char* sgMerge = "MergePointsForPolygonVerteNormals";
// Two control points merge when their distance is strictly below this.
constexpr double sgMergeDistance = 0.0001;

typedef MoxLayerElementArrayTemplate<MoxVector4> VectorArray;
typedef MoxLayerElementArrayTemplate<MoxVector2> UVArray;
typedef MoxLayerElementArrayTemplate<int> IndexArray;

// ---- Scratch building blocks ----------------------------------------------------------------------------

// A 64-bit finaliser: spreads every input bit over the whole hash.
uint64_t MixBits(uint64_t pValue)
{
    pValue ^= pValue >> 33;
    pValue *= 0xff51afd7ed558ccdULL;
    pValue ^= pValue >> 33;
    pValue *= 0xc4ceb9fe1a85ec53ULL;
    pValue ^= pValue >> 33;
    return pValue;
}

// A MoxArray of pCount copies of pValue; false when memory ran out. A new block comes zero-filled, so a
// zero value needs no second pass.
template <class T>
bool FillArray(MoxArray<T>& pArray, int pCount, const T& pValue)
{
    const bool lFresh = pArray.GetCapacity() == 0;
    if (!pArray.Resize(pCount)) return false;
    const T lZero{};
    if (!lFresh || std::memcmp(static_cast<const void*>(&pValue), static_cast<const void*>(&lZero), sizeof(T)) != 0)
        std::fill(pArray.GetArray(), pArray.GetArray() + pCount, pValue);
    return true;
}

// An open-addressing table (linear probing) of ids whose keys live in the caller's arrays. A slot holds an
// id and the upper half of its key's hash, and the caller is asked "id k has my key" only when those
// agree, so a lookup usually touches one cache line. The table starts small and doubles when half full
// (rehashing through the caller's hash of an id), so its size follows the ids stored, not the lookups.
class IdTable {
public:
    // Room for pExpected ids before the first growth; false when memory ran out.
    bool Init(int pExpected)
    {
        int64_t lCapacity = 1024;
        while (lCapacity < 2 * int64_t(pExpected)) lCapacity *= 2;
        return Allocate(lCapacity);
    }

    // The id stored with an equal key, or -1.
    template <class SAME>
    int Find(uint64_t pHash, SAME pSame) const
    {
        const Slot* lSlots = mSlots.GetArray();
        const uint32_t lTag = static_cast<uint32_t>(pHash >> 32);
        for (uint64_t i = pHash & mMask;; i = (i + 1) & mMask) {
            const Slot& lSlot = lSlots[i];
            if (lSlot.mId < 0 || (lSlot.mTag == lTag && pSame(lSlot.mId))) return lSlot.mId;
        }
    }

    // The id stored with an equal key; when there is none, pId after storing it; -2 when memory ran out.
    // pHashOf(id) gives the hash of a stored id's key.
    template <class SAME, class HASH_OF>
    int FindOrAdd(uint64_t pHash, int pId, SAME pSame, HASH_OF pHashOf)
    {
        const int lFound = Find(pHash, pSame);
        if (lFound >= 0) return lFound;
        if (2 * (int64_t(mCount) + 1) > mSlots.GetCount() && !Grow(pHashOf)) return -2;
        Insert(pHash, pId);
        return pId;
    }

private:
    struct Slot {
        uint32_t mTag;
        int mId;
    };

    bool Allocate(int64_t pCapacity)
    {
        if (pCapacity > (int64_t(1) << 30) || !FillArray(mSlots, static_cast<int>(pCapacity), Slot{0, -1}))
            return false;
        mMask = static_cast<uint64_t>(pCapacity - 1);
        mCount = 0;
        return true;
    }

    void Insert(uint64_t pHash, int pId)
    {
        Slot* lSlots = mSlots.GetArray();
        uint64_t i = pHash & mMask;
        while (lSlots[i].mId >= 0) i = (i + 1) & mMask;
        lSlots[i] = Slot{static_cast<uint32_t>(pHash >> 32), pId};
        ++mCount;
    }

    template <class HASH_OF>
    bool Grow(HASH_OF pHashOf)
    {
        MoxArray<Slot> lOld = static_cast<MoxArray<Slot>&&>(mSlots);
        if (!Allocate(2 * int64_t(lOld.GetCount()))) return false;
        for (const Slot& lSlot : lOld)
            if (lSlot.mId >= 0) Insert(pHashOf(lSlot.mId), lSlot.mId);
        return true;
    }

    MoxArray<Slot> mSlots;
    uint64_t mMask = 0;
    int mCount = 0;
};

// Items grouped by key (count, prefix sum, fill): group g holds, in increasing order, the items i with
// key g, at mItems[Begin(g) .. End(g)). Items whose key is outside 0 .. group count - 1 are left out.
struct Groups {
    int Begin(int pGroup) const { return mOffsets.GetArray()[pGroup]; }
    int End(int pGroup) const { return mOffsets.GetArray()[pGroup + 1]; }
    int Item(int pPosition) const { return mItems.GetArray()[pPosition]; }

    MoxArray<int> mOffsets;
    MoxArray<int> mItems;
};

// False when memory ran out.
bool BuildGroups(const int* pKeyOf, int pItemCount, int pGroupCount, Groups& pGroups)
{
    if (pGroupCount < 0 || pGroupCount == INT_MAX || !pGroups.mOffsets.Resize(pGroupCount + 1)) return false;
    int* lOffsets = pGroups.mOffsets.GetArray();
    std::memset(lOffsets, 0, static_cast<size_t>(pGroupCount + 1) * sizeof(int));
    for (int i = 0; i < pItemCount; ++i)
        if (static_cast<unsigned>(pKeyOf[i]) < static_cast<unsigned>(pGroupCount)) ++lOffsets[pKeyOf[i] + 1];
    for (int g = 0; g < pGroupCount; ++g) lOffsets[g + 1] += lOffsets[g];
    if (!pGroups.mItems.Resize(lOffsets[pGroupCount])) return false;
    // Fill with the group starts as cursors; each cursor ends at the next group's start, so shifting the
    // offsets up by one restores them.
    int* lItems = pGroups.mItems.GetArray();
    for (int i = 0; i < pItemCount; ++i)
        if (static_cast<unsigned>(pKeyOf[i]) < static_cast<unsigned>(pGroupCount)) lItems[lOffsets[pKeyOf[i]]++] = i;
    for (int g = pGroupCount; g > 0; --g) lOffsets[g] = lOffsets[g - 1];
    lOffsets[0] = 0;
    return true;
}

// ---- Edge lookups ---------------------------------------------------------------------------------------

// The polygon FindPolygonIndex gives for an edge. When every polygon is non-empty and the vertex runs
// follow each other from 0 to the polygon-vertex count, exactly one polygon matches a polygon vertex in
// the binary search, so an inverse table (polygon vertex to polygon) gives the same answer; any other
// polygon table is asked of the mesh.
class PolygonLocator {
public:
    // False when memory ran out.
    bool Init(const MoxMesh& pMesh)
    {
        const int lVertexCount = pMesh.mPolygonVertices.GetCount();
        int lNext = 0;
        for (const MoxMesh::PolygonDef& lPolygon : pMesh.mPolygons) {
            if (lPolygon.mIndex != lNext || lPolygon.mSize <= 0 || lPolygon.mSize > lVertexCount - lNext) return true;
            lNext += lPolygon.mSize;
        }
        if (lNext != lVertexCount || !mPolygonOf.Resize(lVertexCount)) return lNext != lVertexCount;
        int* lPolygonOf = mPolygonOf.GetArray();
        for (int p = 0; p < pMesh.mPolygons.GetCount(); ++p) {
            const MoxMesh::PolygonDef& lPolygon = pMesh.mPolygons.GetArray()[p];
            std::fill(lPolygonOf + lPolygon.mIndex, lPolygonOf + lPolygon.mIndex + lPolygon.mSize, p);
        }
        mRegular = true;
        return true;
    }

    int Find(MoxMesh& pMesh, int pEdge) const
    {
        if (!mRegular) return pMesh.FindPolygonIndex(pEdge);
        const int lVertex = pMesh.mEdgeArray.GetArray()[pEdge];
        return static_cast<unsigned>(lVertex) < static_cast<unsigned>(mPolygonOf.GetCount())
                   ? mPolygonOf.GetArray()[lVertex]
                   : -1;
    }

private:
    MoxArray<int> mPolygonOf;
    bool mRegular = false;
};

// For each unordered pair of control points, the first edge that joins them as GetMeshEdgeIndex sees
// edges: in increasing order, edge e joining the control point at its polygon vertex and the one at the
// next vertex of the polygon FindPolygonIndex(e) gives (its first vertex after its last); an edge without
// a polygon joins nothing. Edges are grouped by their smaller control point, each group sorted by the
// larger one and then by edge number, so a query is a binary search in a short group (and stays
// logarithmic around a vertex shared by many edges). Built on the mesh as it is, without reading outside
// mPolygonVertices: an edge whose reads in the search would leave it (and be reported there) is not
// indexed, and a query whose search would reach such an edge is answered by the mesh's own search, so
// every answer and every report is the search's.
class EdgePairIndex {
public:
    // False when memory ran out.
    bool Build(MoxMesh& pMesh)
    {
        mControlPointCount = pMesh.GetControlPointsCount();
        const int lEdgeCount = pMesh.mEdgeArray.GetCount();
        mFirstUnreadable = lEdgeCount;
        PolygonLocator lLocator;
        MoxArray<int> lSmaller;
        MoxArray<int> lLarger;
        if (!lLocator.Init(pMesh) || !FillArray(lSmaller, lEdgeCount, -1) || !lLarger.Resize(lEdgeCount)) return false;
        for (int e = 0; e < lEdgeCount; ++e) {
            int lStart = -1;
            int lEnd = -1;
            if (!JoinedControlPoints(pMesh, lLocator, e, lStart, lEnd)) {
                mFirstUnreadable = std::min(mFirstUnreadable, e);
                continue;
            }
            // A pair with a control point outside the mesh is never asked for.
            if (lStart < 0 || lEnd < 0 || lStart >= mControlPointCount || lEnd >= mControlPointCount) continue;
            lSmaller.GetArray()[e] = std::min(lStart, lEnd);
            lLarger.GetArray()[e] = std::max(lStart, lEnd);
        }
        if (!BuildGroups(lSmaller.GetArray(), lEdgeCount, mControlPointCount, mGroups) ||
            !mEntries.Resize(mGroups.mItems.GetCount()))
            return false;
        uint64_t* lEntries = mEntries.GetArray();
        for (int k = 0; k < mGroups.mItems.GetCount(); ++k) {
            const int lEdge = mGroups.Item(k);
            lEntries[k] = (uint64_t(uint32_t(lLarger.GetArray()[lEdge])) << 32) | uint32_t(lEdge);
        }
        for (int c = 0; c < mControlPointCount; ++c)
            if (mGroups.End(c) - mGroups.Begin(c) > 1)
                std::sort(lEntries + mGroups.Begin(c), lEntries + mGroups.End(c));
        return true;
    }

    // GetMeshEdgeIndex(pStart, pEnd, reversed, -1) on the mesh the index was built on, with its reports:
    // -1 for a control point outside the mesh or no edge. The search visits the edges up to the one it
    // returns (all of them when it finds none): past an unindexed edge, the mesh searches itself.
    int Find(MoxMesh& pMesh, int pStart, int pEnd) const
    {
        if (pStart < 0 || pEnd < 0 || pStart >= mControlPointCount || pEnd >= mControlPointCount) return -1;
        const int lSmaller = std::min(pStart, pEnd);
        const uint64_t lLarger = uint32_t(std::max(pStart, pEnd));
        const uint64_t* lFirst = mEntries.GetArray() + mGroups.Begin(lSmaller);
        const uint64_t* lLast = mEntries.GetArray() + mGroups.End(lSmaller);
        const uint64_t* lFound = std::lower_bound(lFirst, lLast, lLarger << 32);
        const int lEdge = lFound != lLast && (*lFound >> 32) == lLarger ? static_cast<int>(uint32_t(*lFound)) : -1;
        const int lVisited = lEdge >= 0 ? lEdge + 1 : pMesh.mEdgeArray.GetCount();
        if (lVisited <= mFirstUnreadable) return lEdge;
        bool lReversed = false;
        return pMesh.GetMeshEdgeIndex(pStart, pEnd, lReversed, -1);
    }

private:
    // The control points edge pEdge joins as GetMeshEdgeIndex reads them (-1, -1 without a polygon).
    // False when one of those reads would be outside mPolygonVertices.
    static bool JoinedControlPoints(MoxMesh& pMesh, const PolygonLocator& pLocator, int pEdge, int& pStart, int& pEnd)
    {
        const int64_t lVertexCount = pMesh.mPolygonVertices.GetCount();
        const int lVertex = pMesh.mEdgeArray.GetArray()[pEdge];
        if (lVertex < 0 || lVertex >= lVertexCount) return false;
        const int lPolygon = pLocator.Find(pMesh, pEdge);
        if (lPolygon < 0) return true;
        const MoxMesh::PolygonDef& lDef = pMesh.mPolygons.GetArray()[lPolygon];
        const int64_t lNext = lVertex == int64_t(lDef.mIndex) + lDef.mSize - 1 ? lDef.mIndex : int64_t(lVertex) + 1;
        if (lNext < 0 || lNext >= lVertexCount) return false;
        pStart = pMesh.mPolygonVertices.GetArray()[lVertex];
        pEnd = pMesh.mPolygonVertices.GetArray()[lNext];
        return true;
    }

    int mControlPointCount = 0;
    int mFirstUnreadable = 0;     // the first edge that is not indexed because its reads leave the vertices
    Groups mGroups;               // per smaller control point, its edges
    MoxArray<uint64_t> mEntries;  // larger control point and edge, in group order, sorted within each group
};

// The first edge whose entry is each polygon vertex below pVertexCount (-1 for none); false when memory
// ran out.
bool BuildFirstEdgeIndex(const MoxArray<int>& pEdges, int pVertexCount, MoxArray<int>& pFirstEdge)
{
    if (!FillArray(pFirstEdge, pVertexCount, -1)) return false;
    int* lFirst = pFirstEdge.GetArray();
    for (int e = pEdges.GetCount() - 1; e >= 0; --e) {
        const int lVertex = pEdges.GetArray()[e];
        if (static_cast<unsigned>(lVertex) < static_cast<unsigned>(pVertexCount)) lFirst[lVertex] = e;
    }
    return true;
}

// ---- Split: phase 1, one record per polygon vertex ------------------------------------------------------

// What the first phase records for each polygon vertex walked, polygon by polygon and position by position
// (on a consistent mesh the walk index is the index into mPolygonVertices), and the polygon vertices of
// each old control point in walk order: its first user keeps it, every later one gets a new control point.
struct SplitRecords {
    const MoxVector4& Normal(int pVertex) const
    {
        return mNormals.GetCount() > 0 ? mNormals.GetArray()[pVertex] : mSharedNormal;
    }
    MoxVector2 UV(int pVertex) const { return mUVs.GetCount() > 0 ? mUVs.GetArray()[pVertex] : MoxVector2(); }
    int NewIndex(int pVertex) const { return mNewIndex.GetArray()[pVertex]; }
    int EdgeIndex(int pVertex) const { return mEdgeIndex.GetArray()[pVertex]; }

    int mOldCount = 0;              // control points before the split
    int mNewCount = 0;              // control points after it
    int mWalkedCount = 0;           // polygon vertices walked
    MoxArray<int> mControlPoint;    // per polygon vertex, its control point; -1 when that has no list
    MoxArray<int> mNewIndex;        // the control point it will use
    MoxArray<int> mEdgeIndex;       // the edge of the polygon side that starts at it
    MoxArray<MoxVector4> mNormals;  // its normal; empty when all share mSharedNormal
    MoxVector4 mSharedNormal;
    MoxArray<MoxVector2> mUVs;  // its UV; empty when all are (0, 0)
    Groups mLists;              // per old control point, its polygon vertices in walk order
};

// The normal each polygon vertex records, from layer 0's normals. Without a normal element every record
// holds (0, 0, 0, 0); mapping modes other than by polygon vertex and by control point leave the value of
// the previous polygon vertex, (0, 0, 0, 1) at first.
class SplitNormalReader {
public:
    explicit SplitNormalReader(MoxLayer& pLayer)
        : mElement(pLayer.GetNormals()), mMode(mElement ? mElement->GetMappingMode() : MoxLayerElement::eNone)
    {
        if (mMode != MoxLayerElement::eByControlPoint) return;
        mDirect = &mElement->GetDirectArray();
        if (mElement->GetReferenceMode() != MoxLayerElement::eDirect) mIndices = &mElement->GetIndexArray();
    }

    bool Varies() const
    {
        return mMode == MoxLayerElement::eByPolygonVertex || mMode == MoxLayerElement::eByControlPoint;
    }
    MoxVector4 First() const { return mElement ? MoxVector4(0.0, 0.0, 0.0, 1.0) : MoxVector4(0.0, 0.0, 0.0, 0.0); }

    // Updates pNormal for position pPosition of polygon pPolygon, whose control point is pControlPoint.
    // Indices outside the arrays read (0, 0, 0, 0) and 0.
    void Read(const MoxMesh& pMesh, int pPolygon, int pPosition, int pControlPoint, MoxVector4& pNormal) const
    {
        if (mMode == MoxLayerElement::eByPolygonVertex) {
            pMesh.GetPolygonVertexNormal(pPolygon, pPosition, pNormal);
        } else if (mMode == MoxLayerElement::eByControlPoint) {
            int lIndex = pControlPoint;
            if (mIndices) {
                lIndex = mIndices->GetAt(pControlPoint);
                if (lIndex < 0 || lIndex >= mDirect->GetCount())
                    _MoxAssert(sgFile, sgSplit, __LINE__, sgNormalIndexOutside.mText);
            }
            pNormal = mDirect->GetAt(lIndex);
        }
    }

private:
    const MoxLayerElementNormal* mElement;
    MoxLayerElement::EMappingMode mMode;
    const VectorArray* mDirect = nullptr;
    const IndexArray* mIndices = nullptr;
};

// The UV each polygon vertex records from the UV set being split: through GetTextureUVIndex per polygon
// vertex, or at the control point (index array not consulted); other mapping modes leave the previous
// value, (0, 0) at first.
class SplitUVReader {
public:
    SplitUVReader(const MoxLayerElementUV* pUVs, const UVArray* pDirect, MoxLayerElement::EType pType)
        : mType(pType), mMode(pUVs ? pUVs->GetMappingMode() : MoxLayerElement::eByMesh), mDirect(pDirect)
    {}

    bool Varies() const
    {
        return mMode == MoxLayerElement::eByPolygonVertex || mMode == MoxLayerElement::eByControlPoint;
    }

    void Read(MoxMesh& pMesh, int pPolygon, int pPosition, int pControlPoint, MoxVector2& pUV) const
    {
        if (mMode == MoxLayerElement::eByPolygonVertex) {
            const int lUVIndex = pMesh.GetTextureUVIndex(pPolygon, pPosition, mType);
            if (lUVIndex == -1) _MoxAssert(sgFile, sgSplit, __LINE__, sgNoUVIndex.mText);
            pUV = mDirect->GetAt(lUVIndex);
        } else if (mMode == MoxLayerElement::eByControlPoint) {
            pUV = mDirect->GetAt(pControlPoint);
        }
    }

private:
    MoxLayerElement::EType mType;
    MoxLayerElement::EMappingMode mMode;
    const UVArray* mDirect;
};

// The edge of the polygon side that starts at a walked polygon vertex: the first edge whose entry is that
// polygon vertex, else GetMeshEdgeIndexForPolygon's answer. That answer comes from the mesh itself while
// its own edge cache is built (or when memory for the pair index ran out), else from the pair index.
class SplitEdgeFinder {
public:
    bool Init(MoxMesh& pMesh, int pWalkedCount)
    {
        mUseMesh = pMesh.mV2PVMap.mValid && pMesh.mV2PVMap.mPVToEdge.GetCount() > 0;
        return BuildFirstEdgeIndex(pMesh.mEdgeArray, pWalkedCount, mFirstEdge);
    }

    int Find(MoxMesh& pMesh, int pPolygon, int pPosition, int pVertex, int pControlPoint)
    {
        const int lFirst = mFirstEdge.GetArray()[pVertex];
        if (lFirst >= 0) return lFirst;
        if (!mUseMesh && !mPairsBuilt) {
            mPairsBuilt = true;
            mUseMesh = !mPairs.Build(pMesh);
        }
        if (mUseMesh) return pMesh.GetMeshEdgeIndexForPolygon(pPolygon, pPosition);
        const int lNext = pPosition + 1 == pMesh.GetPolygonSize(pPolygon) ? 0 : pPosition + 1;
        return mPairs.Find(pMesh, pControlPoint, pMesh.GetPolygonVertex(pPolygon, lNext));
    }

private:
    MoxArray<int> mFirstEdge;
    EdgePairIndex mPairs;
    bool mPairsBuilt = false;
    bool mUseMesh = false;
};

// The number of polygon vertices the walk visits (the sum of the positive polygon sizes). False when a
// polygon's run leaves mPolygonVertices, when the runs add up to more polygon vertices than there are (so
// corrupted sizes never make the split walk, or allocate for, phantom polygon vertices), or when the new
// control point numbers would not fit 32-bit indices.
bool CountWalkedVertices(const MoxMesh& pMesh, int pControlPointCount, int& pCount)
{
    const int64_t lVertexCount = pMesh.mPolygonVertices.GetCount();
    int64_t lTotal = 0;
    for (const MoxMesh::PolygonDef& lPolygon : pMesh.mPolygons) {
        if (lPolygon.mSize <= 0) continue;
        if (lPolygon.mIndex < 0 || int64_t(lPolygon.mIndex) + lPolygon.mSize > lVertexCount) return false;
        lTotal += lPolygon.mSize;
        if (lTotal > lVertexCount) return false;
    }
    if (lTotal + pControlPointCount > INT_MAX) return false;
    pCount = static_cast<int>(lTotal);
    return true;
}

// Phase 1: walks every polygon vertex and records it. Returns false at the first negative control point
// (reported), and when memory ran out ("dva != NULL", the lists could not be made); the mesh is unchanged.
bool RecordPolygonVertices(MoxMesh& pMesh, MoxLayer& pLayer, const MoxLayerElementUV* pUVs, const UVArray* pUVDirect,
                           MoxLayerElement::EType pType, SplitRecords& pRecords)
{
    const int lOldCount = pRecords.mOldCount;
    const int lWalked = pRecords.mWalkedCount;
    const SplitNormalReader lNormals(pLayer);
    const SplitUVReader lUVs(pUVs, pUVDirect, pType);
    SplitEdgeFinder lEdges;
    MoxArray<unsigned char> lUsed;
    const bool lHasEdges = pMesh.mEdgeArray.GetCount() > 0;
    if (!FillArray(pRecords.mControlPoint, lWalked, -1) || !pRecords.mNewIndex.Resize(lWalked) ||
        !pRecords.mEdgeIndex.Resize(lWalked) || (lNormals.Varies() && !pRecords.mNormals.Resize(lWalked)) ||
        (lUVs.Varies() && !pRecords.mUVs.Resize(lWalked)) ||
        !FillArray(lUsed, lOldCount, static_cast<unsigned char>(0)) || (lHasEdges && !lEdges.Init(pMesh, lWalked))) {
        _MoxAssert(sgFile, sgSplit, __LINE__, sgNoSplitRecord.mText);
        return false;
    }
    pRecords.mSharedNormal = lNormals.First();
    MoxVector4 lNormal = lNormals.First();
    MoxVector2 lUV;
    int lVertex = 0;
    int lNext = lOldCount;
    for (int p = 0; p < pMesh.GetPolygonCount(); ++p) {
        const int lSize = pMesh.GetPolygonSize(p);
        for (int i = 0; i < lSize; ++i, ++lVertex) {
            const int lControlPoint = pMesh.GetPolygonVertex(p, i);
            if (lControlPoint < 0) {
                _MoxAssert(sgFile, sgSplit, __LINE__, sgNegativeControlPoint.mText);
                return false;
            }
            lNormals.Read(pMesh, p, i, lControlPoint, lNormal);
            lUVs.Read(pMesh, p, i, lControlPoint, lUV);
            if (lNormals.Varies()) pRecords.mNormals.GetArray()[lVertex] = lNormal;
            if (lUVs.Varies()) pRecords.mUVs.GetArray()[lVertex] = lUV;
            // A control point past the old count has no list: its polygon vertex is left as it is.
            if (lControlPoint >= lOldCount) {
                _MoxAssert(sgFile, sgSplit, __LINE__, sgNoSplitRecord.mText);
                continue;
            }
            pRecords.mNewIndex.GetArray()[lVertex] = lUsed.GetArray()[lControlPoint] ? lNext++ : lControlPoint;
            lUsed.GetArray()[lControlPoint] = 1;
            pRecords.mEdgeIndex.GetArray()[lVertex] = lHasEdges ? lEdges.Find(pMesh, p, i, lVertex, lControlPoint) : -1;
            pRecords.mControlPoint.GetArray()[lVertex] = lControlPoint;
        }
    }
    pRecords.mNewCount = lNext;
    if (!BuildGroups(pRecords.mControlPoint.GetArray(), lWalked, lOldCount, pRecords.mLists)) {
        _MoxAssert(sgFile, sgSplit, __LINE__, sgNoSplitRecord.mText);
        return false;
    }
    return true;
}

// ---- Split: phase 2, skin clusters ----------------------------------------------------------------------

// Every cluster of the first skin gives each new copy of a weighted control point the same weight. The
// clusters of other skins are left alone.
void ExtendSkinClusters(MoxMesh& pMesh, const SplitRecords& pRecords)
{
    if (pMesh.GetDeformerCount(MoxDeformer::eSkin) <= 0) return;
    const MoxSkin* lSkin = static_cast<const MoxSkin*>(pMesh.GetDeformer(0, MoxDeformer::eSkin));
    for (int k = 0; k < lSkin->GetClusterCount(); ++k) {
        MoxCluster* lCluster = lSkin->GetCluster(k);
        if (!lCluster) {
            _MoxAssert(sgFile, sgSplit, __LINE__, sgNoCluster.mText);
            continue;
        }
        // Only the pairs the cluster had before are read; the lists move as pairs are added.
        const int lCount = lCluster->GetControlPointIndicesCount();
        for (int i = 0; i < lCount; ++i) {
            const int lControlPoint = lCluster->GetControlPointIndices()[i];
            const double lWeight = lCluster->GetControlPointWeights()[i];
            if (lControlPoint < 0 || lControlPoint >= pRecords.mOldCount) {
                _MoxAssert(sgFile, sgSplit, __LINE__, sgNoSplitRecord.mText);
                continue;
            }
            const Groups& lLists = pRecords.mLists;
            for (int r = lLists.Begin(lControlPoint) + 1; r < lLists.End(lControlPoint); ++r)
                lCluster->AddControlPointIndex(pRecords.NewIndex(lLists.Item(r)), lWeight);
        }
    }
}

// ---- Split: phase 3, new control points and per-control-point values -----------------------------------

// Writes the normal of each old control point's first user, as layer 0's normals are mapped (the modes
// read once, before any write; by control point and index to direct when there are no normals).
class SplitNormalWriter {
public:
    explicit SplitNormalWriter(MoxMesh& pMesh) : mOldCount(pMesh.GetControlPointsCount())
    {
        MoxLayer* lLayer = pMesh.GetLayer(0);
        const MoxLayerElementNormal* lElement = lLayer ? lLayer->GetNormals() : nullptr;
        mMode = lElement ? lElement->GetMappingMode() : MoxLayerElement::eByControlPoint;
        mReference = lElement ? lElement->GetReferenceMode() : MoxLayerElement::eIndexToDirect;
        const bool lValid = pMesh.GetNormals(&mNormals);
        if (!lValid || !mNormals) {
            _MoxAssert(sgFile, sgSplit, __LINE__, sgNoSplitNormals.mText);
            mNormals = nullptr;
        }
        if (mReference == MoxLayerElement::eIndexToDirect) pMesh.GetNormalsIndices(&mIndices);
        if (!lLayer) _MoxAssert(sgFile, sgSplit, __LINE__, sgNoLayer0.mText);
    }

    bool ByPolygon() const { return mMode == MoxLayerElement::eByPolygon; }

    void WriteFirst(int pControlPoint, int pNewIndex, const MoxVector4& pNormal) const
    {
        if (!mNormals) return;
        if (mMode == MoxLayerElement::eByControlPoint) {
            int lTarget = pControlPoint;
            if (mReference != MoxLayerElement::eDirect) {
                lTarget = mIndices ? mIndices->GetAt(pControlPoint) : 0;
                if (lTarget < 0) _MoxAssert(sgFile, sgSplit, __LINE__, sgNegativeNormalIndex.mText);
            }
            mNormals->SetAt(lTarget, pNormal);
        } else if (mMode == MoxLayerElement::eByPolygonVertex) {
            if (mReference != MoxLayerElement::eDirect && mIndices) {
                if (mIndices->GetCount() < mOldCount) mIndices->SetCount(mOldCount);
                mIndices->SetAt(pNewIndex, pNewIndex);
            }
            mNormals->SetAt(pNewIndex, pNormal);
        }
    }

private:
    int mOldCount;
    MoxLayerElement::EMappingMode mMode;
    MoxLayerElement::EReferenceMode mReference;
    VectorArray* mNormals = nullptr;
    IndexArray* mIndices = nullptr;
};

// Writes pUV at pIndex, growing the array to pIndex + 1 when needed.
void WriteUV(UVArray* pUVs, int pIndex, const MoxVector2& pUV)
{
    if (!pUVs) return;
    if (pUVs->GetCount() < pIndex + 1) pUVs->SetCount(pIndex + 1);
    pUVs->SetAt(pIndex, pUV);
}

// Whether the polygon vertex's side needs an edge of its own: its recorded edge does not start at it.
void MarkSplitEdge(MoxMesh& pMesh, MoxArray<MoxMesh::SplitEdgeData>& pSplitEdges, int pVertex, int pEdge)
{
    MoxMesh::SplitEdgeData& lData = pSplitEdges[pVertex];
    if (pMesh.mEdgeArray[pEdge] == pVertex) {
        lData.mNewEdge = false;
    } else {
        lData.mNewEdge = true;
        lData.mEdgeIndex = pEdge;
    }
}

// Phase 3: every later user of an old control point gets its new control point (a copy of the old
// position), its normal and UV, and its polygon vertex is rewritten; the first user's normal and UV are
// written at the old control point. pSplitEdges is sized when the mesh has edges.
void WriteSplitControlPoints(MoxMesh& pMesh, const SplitRecords& pRecords, UVArray* pUVs,
                             MoxArray<MoxMesh::SplitEdgeData>& pSplitEdges)
{
    const bool lHasEdges = pSplitEdges.GetCount() > 0;
    const SplitNormalWriter lNormals(pMesh);
    if (pUVs && pUVs->GetCount() > 0) pUVs->Clear();
    if (pRecords.mNewCount >= pMesh.GetControlPointsCount()) pMesh.SetControlPointCount(pRecords.mNewCount);
    if (pUVs && pUVs->GetCount() <= pRecords.mNewCount) pUVs->SetCount(pRecords.mNewCount);

    const Groups& lLists = pRecords.mLists;
    for (int c = 0; c < pRecords.mOldCount; ++c) {
        if (lLists.Begin(c) == lLists.End(c)) continue;
        const int lFirst = lLists.Item(lLists.Begin(c));
        lNormals.WriteFirst(c, pRecords.NewIndex(lFirst), pRecords.Normal(lFirst));
        WriteUV(pUVs, c, pRecords.UV(lFirst));
        if (lHasEdges) MarkSplitEdge(pMesh, pSplitEdges, lFirst, pRecords.EdgeIndex(lFirst));
        for (int r = lLists.Begin(c) + 1; r < lLists.End(c); ++r) {
            const int lVertex = lLists.Item(r);
            const int lNewIndex = pRecords.NewIndex(lVertex);
            const MoxVector4 lPosition = pMesh.GetControlPointAt(c);
            if (lNormals.ByPolygon())
                pMesh.SetControlPointAt(lPosition, lNewIndex);
            else
                pMesh.SetControlPointAt(lPosition, pRecords.Normal(lVertex), lNewIndex, false);
            WriteUV(pUVs, lNewIndex, pRecords.UV(lVertex));
            pMesh.mPolygonVertices[lVertex] = lNewIndex;
            if (lHasEdges) MarkSplitEdge(pMesh, pSplitEdges, lVertex, pRecords.EdgeIndex(lVertex));
        }
    }
}

// ---- Split: phase 4, edges ------------------------------------------------------------------------------

// The edge array grows to one entry per polygon vertex; every polygon vertex whose side had no edge starting
// at it is written, in increasing order, after the old edges. Grown entries left unwritten (when old edges
// share a start) hold 0 rather than what the array's reserve held. Then the first smoothing element is
// dropped, as edges and control points no longer match it.
void AppendSplitEdges(MoxMesh& pMesh, const MoxArray<MoxMesh::SplitEdgeData>& pSplitEdges)
{
    const int lVertexCount = pMesh.mPolygonVertices.GetCount();
    int lNext = pMesh.mEdgeArray.GetCount();
    if (lVertexCount - lNext > 0 && pMesh.mEdgeArray.Grow(lVertexCount - lNext))
        std::memset(pMesh.mEdgeArray.GetArray() + lNext, 0, sizeof(int) * size_t(lVertexCount - lNext));
    for (int v = 0; v < pSplitEdges.GetCount(); ++v)
        if (pSplitEdges.GetArray()[v].mNewEdge) pMesh.mEdgeArray[lNext++] = v;
    MoxLayer* lLayer = pMesh.GetLayer(0, MoxLayerElement::eSmoothing);
    if (lLayer) lLayer->SetSmoothing(nullptr);
}

// ---- Split: phase 5, blend-shape target shapes ----------------------------------------------------------

// A target shape's values before the split, one per old shape control point; entries past what the shape
// held stay zero. The UV copy moves only as many bytes as the shape has control points (never more than
// its UV array holds), so at most the first sixteenth of the UVs survive and the rest read (0, 0).
struct SavedShape {
    bool Save(MoxShape& pShape, MoxLayerElementUV* pUVs, int pMinCount);

    int mCount = 0;
    MoxArray<MoxVector4> mPoints;
    MoxArray<MoxVector4> mNormals;
    MoxArray<MoxVector2> mUVs;
};

bool SavedShape::Save(MoxShape& pShape, MoxLayerElementUV* pUVs, int pMinCount)
{
    mCount = pShape.GetControlPointsCount();
    const int lSize = std::max(mCount, pMinCount);
    if (!FillArray(mPoints, lSize, MoxVector4()) || !FillArray(mNormals, lSize, MoxVector4()) ||
        (pUVs && !FillArray(mUVs, lSize, MoxVector2())))
        return false;
    if (mCount > 0) std::memcpy(mPoints.GetArray(), pShape.GetControlPoints(), sizeof(MoxVector4) * size_t(mCount));

    VectorArray* lNormals = nullptr;
    const bool lValid = pShape.GetNormals(&lNormals);
    if (!lValid || !lNormals) _MoxAssert(sgFile, sgSplit, __LINE__, sgNoNormalValues.mText);
    MoxVector4* lNormalData = lNormals ? lNormals->GetLocked(MoxLayerElementArray::eReadLock) : nullptr;
    if (lNormals && lNormals->GetCount() != mCount) _MoxAssert(sgFile, sgSplit, __LINE__, sgShapeNormalCount.mText);
    const int lNormalCount = lNormals ? std::min(mCount, lNormals->GetCount()) : 0;
    if (lNormalData && lNormalCount > 0)
        std::memcpy(mNormals.GetArray(), lNormalData, sizeof(MoxVector4) * size_t(lNormalCount));
    if (lNormals) lNormals->Release(&lNormalData);

    if (!pUVs) return true;
    UVArray& lUVs = *pUVs->mDirectArray;
    MoxVector2* lUVData = lUVs.GetLocked(MoxLayerElementArray::eReadLock);
    const size_t lBytes = std::min(size_t(mCount), sizeof(MoxVector2) * size_t(lUVs.GetCount()));
    if (lUVData && lBytes > 0) std::memcpy(static_cast<void*>(mUVs.GetArray()), lUVData, lBytes);
    lUVs.Release(&lUVData);
    return true;
}

// The locked value arrays of a target shape; writes outside them are dropped.
struct ShapeValues {
    void Write(int pTarget, const SavedShape& pSaved, int pSource) const
    {
        if (pTarget < mPointCount) mPoints[pTarget] = pSaved.mPoints.GetArray()[pSource];
        if (pTarget < mNormalCount) mNormals[pTarget] = pSaved.mNormals.GetArray()[pSource];
        if (pTarget < mUVCount && pSaved.mUVs.GetCount() > 0) mUVs[pTarget] = pSaved.mUVs.GetArray()[pSource];
    }

    MoxVector4* mPoints = nullptr;
    int mPointCount = 0;
    MoxVector4* mNormals = nullptr;
    int mNormalCount = 0;
    MoxVector2* mUVs = nullptr;
    int mUVCount = 0;
};

// Gives one target shape the mesh's new control point count: old control point c and each of its new
// copies take the shape's saved values at c. A new UV set (named "") replaces the shape's UV set of the
// split channel. A shape whose values cannot be saved (out of memory) is left alone.
void ExtendTargetShape(MoxMesh& pMesh, MoxShape& pShape, const SplitRecords& pRecords, MoxLayerElement::EType pType)
{
    MoxLayer* lShapeLayer = pShape.GetLayer(0);
    MoxLayerElementUV* lOldUVs = lShapeLayer ? lShapeLayer->GetUVs(pType) : nullptr;
    SavedShape lSaved;
    if (!lSaved.Save(pShape, lOldUVs, pRecords.mOldCount)) return;

    const int lNewCount = pMesh.GetControlPointsCount();
    pShape.InitControlPoints(lNewCount);
    pShape.InitNormals();
    MoxLayerElementUV* lNewUVs = nullptr;
    if (lOldUVs) {
        lNewUVs = MoxLayerElementUV::Create(&pMesh, "");
        lShapeLayer->SetUVs(lNewUVs, pType);  // destroys the old set
        if (lNewUVs) lNewUVs->mDirectArray->Resize(lNewCount);
    }
    VectorArray* lNormals = nullptr;
    const bool lValid = pShape.GetNormals(&lNormals);
    if (!lValid || !lNormals) _MoxAssert(sgFile, sgSplit, __LINE__, sgNoNormalValues.mText);

    ShapeValues lValues;
    lValues.mPoints = pShape.GetControlPoints();
    lValues.mPointCount = pShape.GetControlPointsCount();
    lValues.mNormals = lNormals ? lNormals->GetLocked(MoxLayerElementArray::eReadWriteLock) : nullptr;
    lValues.mNormalCount = lValues.mNormals ? lNormals->GetCount() : 0;
    lValues.mUVs = lNewUVs ? lNewUVs->mDirectArray->GetLocked(MoxLayerElementArray::eReadWriteLock) : nullptr;
    lValues.mUVCount = lValues.mUVs ? lNewUVs->mDirectArray->GetCount() : 0;
    const Groups& lLists = pRecords.mLists;
    for (int c = 0; c < pRecords.mOldCount; ++c) {
        lValues.Write(c, lSaved, c);
        for (int r = lLists.Begin(c) + 1; r < lLists.End(c); ++r)
            lValues.Write(pRecords.NewIndex(lLists.Item(r)), lSaved, c);
    }
    if (lNormals) lNormals->Release(&lValues.mNormals);
    if (lNewUVs) lNewUVs->mDirectArray->Release(&lValues.mUVs);
}

// Applies pVisit to every target shape of every channel of every blend shape, in order; a missing shape
// is reported from pFunction with pMessage and skipped.
template <class VISIT>
void ForEachTargetShape(MoxMesh& pMesh, const char* pFunction, VISIT pVisit)
{
    const int lBlendShapeCount = pMesh.GetDeformerCount(MoxDeformer::eBlendShape);
    for (int b = 0; b < lBlendShapeCount; ++b) {
        const MoxBlendShape* lBlendShape =
            static_cast<const MoxBlendShape*>(pMesh.GetDeformer(b, MoxDeformer::eBlendShape));
        if (!lBlendShape) continue;
        for (int c = 0; c < lBlendShape->GetBlendShapeChannelCount(); ++c) {
            const MoxBlendShapeChannel* lChannel = lBlendShape->GetBlendShapeChannel(c);
            if (!lChannel) continue;
            for (int s = 0; s < lChannel->GetTargetShapeCount(); ++s) {
                MoxShape* lShape = lChannel->GetTargetShape(s);
                if (lShape)
                    pVisit(*lShape);
                else
                    _MoxAssert(sgFile, pFunction, __LINE__, sgNoTargetShape.mText);
            }
        }
    }
}

// ---- Split: phase 6, modes ------------------------------------------------------------------------------

// Layer 0's normals become per control point unless they are per polygon; the split UV set becomes per
// control point and direct.
void SetSplitModes(MoxMesh& pMesh, MoxLayerElement::EType pType)
{
    MoxLayer* lLayer = pMesh.GetLayer(0);
    if (!lLayer) return;
    MoxLayerElementNormal* lNormals = lLayer->GetNormals();
    if (lNormals && lNormals->GetMappingMode() != MoxLayerElement::eByPolygon)
        lNormals->SetMappingMode(MoxLayerElement::eByControlPoint);
    MoxLayerElementUV* lUVs = lLayer->GetUVs(pType);
    if (lUVs) {
        lUVs->SetMappingMode(MoxLayerElement::eByControlPoint);
        lUVs->SetReferenceMode(MoxLayerElement::eDirect);
    }
}

// ---- Merge list -----------------------------------------------------------------------------------------

// Control points with equal x, y and z (Distance ignores w) share a site: their distances to every other
// point are equal. Points with a non-finite coordinate are in no site: they are never closer than the
// merge distance to anything.
struct MergeSites {
    const MoxVector4& Position(int pSite) const { return mPositions.GetArray()[pSite]; }

    int mCount = 0;
    MoxArray<int> mSiteOf;            // per point, or -1
    MoxArray<MoxVector4> mPositions;  // per site, the position of its first point
    Groups mPoints;                   // per site, its points in increasing order (built when sites are close)
};

uint64_t ComponentBits(double pValue)
{
    const double lValue = pValue + 0.0;  // -0.0 becomes +0.0, which it equals
    uint64_t lBits = 0;
    std::memcpy(&lBits, &lValue, sizeof(lBits));
    return lBits;
}

// Grid coordinate of one position component, the cell being twice the merge distance. The coordinate is
// monotone in the component and rounding moves it by at most a quarter cell wherever two different
// components can lie within the merge distance, so such components get coordinates at most one apart;
// huge components, where only equal values are that close, are clamped.
int64_t CellCoordinate(double pValue)
{
    constexpr double lScale = 1.0 / (2.0 * sgMergeDistance);
    constexpr double lLimit = 4611686018427387904.0;  // 2^62
    const double lCell = std::floor(pValue * lScale);
    return static_cast<int64_t>(std::min(std::max(lCell, -lLimit), lLimit));
}

void CellOf(const MoxVector4& pPoint, int64_t* pKey)
{
    for (int k = 0; k < 3; ++k) pKey[k] = CellCoordinate(pPoint[k]);
}

// The hashes of cells and sites are spatially coherent: the cells of one 4 x 4 x 4 block of cells share a
// run of 64 table slots (a cell's offset in its block, or a site's position hash, picks the slot within
// the run) and runs are spread by a mixing hash of the block. Points met in spatial order, as mesh points
// usually are, then touch few cache lines. The upper half of a hash (the table's tag) comes from the block
// for cells and from the exact position for sites.
// Odd multipliers; a linear combination of three words followed by one mixing step.
uint64_t LinearHash(uint64_t pA, uint64_t pB, uint64_t pC)
{
    return pA * 0x9e3779b97f4a7c15ULL + pB * 0xc2b2ae3d27d4eb4fULL + pC * 0x165667b19e3779f9ULL;
}

uint64_t BlockHash(const int64_t* pKey)
{
    return MixBits(LinearHash(uint64_t(pKey[0] >> 2), uint64_t(pKey[1] >> 2), uint64_t(pKey[2] >> 2)));
}

uint64_t CellHash(const int64_t* pKey)
{
    const uint64_t lBlock = BlockHash(pKey);
    const uint64_t lOffset = uint64_t(pKey[0] & 3) | uint64_t(pKey[1] & 3) << 2 | uint64_t(pKey[2] & 3) << 4;
    return ((lBlock ^ (lOffset << 32)) & 0xffffffff00000000ULL) | (((lBlock << 6) | lOffset) & 0xffffffffULL);
}

uint64_t PositionHash(const MoxVector4& pPoint)
{
    return MixBits(LinearHash(ComponentBits(pPoint[0]), ComponentBits(pPoint[1]), ComponentBits(pPoint[2])));
}

uint64_t SiteHash(const MoxVector4& pPoint)
{
    int64_t lKey[3];
    CellOf(pPoint, lKey);
    const uint64_t lPosition = PositionHash(pPoint);
    return (lPosition & 0xffffffff00000000ULL) | (((BlockHash(lKey) << 6) | (lPosition & 63)) & 0xffffffffULL);
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
    IdTable lTable;
    if (!FillArray(pSites.mSiteOf, pCount, -1) || !lTable.Init(pCount / 8)) return false;
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
    // pLinear is the cell's linear hash (LinearHash of its coordinates).
    int Find(const int64_t* pKey, uint64_t pLinear) const
    {
        const uint64_t lBit = pLinear >> mOccupiedShift;
        if (!(mOccupied.GetArray()[lBit >> 6] & (uint64_t(1) << (lBit & 63)))) return -1;
        const int64_t* lKeys = mKeys.GetArray();
        return mTable.Find(CellHash(pKey),
                           [lKeys, pKey](int pCell) { return SameCell(lKeys + 3 * ptrdiff_t(pCell), pKey); });
    }
    static uint64_t Linear(const int64_t* pKey)
    {
        return LinearHash(uint64_t(pKey[0]), uint64_t(pKey[1]), uint64_t(pKey[2]));
    }

    int mCount = 0;
    MoxArray<int64_t> mKeys;  // three coordinates per cell
    MoxArray<int> mCellOf;    // per site
    Groups mSites;            // per cell, its sites
    IdTable mTable;
    MoxArray<uint64_t> mOccupied;  // bit (linear hash >> shift) set for every cell
    int mOccupiedShift = 58;
};

// Sixteen bits per cell (at least 64), indexed by the top bits of the linear hash.
bool MarkOccupiedCells(MergeCells& pCells)
{
    int lBitsLog = 6;
    while (lBitsLog < 36 && (int64_t(1) << lBitsLog) < 16 * int64_t(pCells.mCount)) ++lBitsLog;
    if (!FillArray(pCells.mOccupied, static_cast<int>((int64_t(1) << lBitsLog) / 64), uint64_t(0))) return false;
    pCells.mOccupiedShift = 64 - lBitsLog;
    for (int c = 0; c < pCells.mCount; ++c) {
        const uint64_t lBit = MergeCells::Linear(pCells.mKeys.GetArray() + 3 * ptrdiff_t(c)) >> pCells.mOccupiedShift;
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
    return BuildGroups(pCells.mCellOf.GetArray(), pSites.mCount, pCells.mCount, pCells.mSites) &&
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
    Groups mBySite;
};

// Tests the sites of cell pA against those of cell pB (each pair once when both are the same cell).
bool AddClosePairs(const MergeSites& pSites, const MergeCells& pCells, int pA, int pB, ClosePairs& pPairs)
{
    const Groups& lSites = pCells.mSites;
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
        lStepHashes[lOffset] = MergeCells::Linear(lSteps[lOffset]);
    }
    for (int c = 0; c < pCells.mCount; ++c) {
        const int64_t* lKey = pCells.mKeys.GetArray() + 3 * ptrdiff_t(c);
        const uint64_t lLinear = MergeCells::Linear(lKey);
        for (int lOffset = 13; lOffset < 27; ++lOffset) {
            const int64_t lNeighbour[3] = {lKey[0] + lSteps[lOffset][0], lKey[1] + lSteps[lOffset][1],
                                           lKey[2] + lSteps[lOffset][2]};
            const int lOther = lOffset == 13 ? c : pCells.Find(lNeighbour, lLinear + lStepHashes[lOffset]);
            if (lOther >= 0 && !AddClosePairs(pSites, pCells, c, lOther, pPairs)) return false;
        }
    }
    return BuildGroups(pPairs.mFrom.GetArray(), pPairs.mFrom.GetCount(), pSites.mCount, pPairs.mBySite);
}

// The points of each site, needed only to find the last point of a close site before a given point.
bool GroupSitePoints(const ClosePairs& pPairs, int pCount, MergeSites& pSites)
{
    return pPairs.mFrom.GetCount() == 0 ||
           BuildGroups(pSites.mSiteOf.GetArray(), pCount, pSites.mCount, pSites.mPoints);
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
    if (!FillArray(lLastSeen, pSites.mCount, -1)) return false;
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
    if (!FillArray(lFirstUse, pCount, INT_MAX) || (lForward && !FillArray(lRewrittenUse, pCount, INT_MAX)) ||
        !FillArray(lBuffer, pCount, MoxVector4()))
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
        if (mUseMesh || !FillArray(mClosing, lVertexCount, -1)) return true;
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
    EdgePairIndex lPairs;
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
    if (!lValid || !lNormals) _MoxAssert(sgFile, sgMerge, __LINE__, sgNoNormalArray.mText);
    if (pSavedPoints.GetCount() == 0 && pCount > 0) {
        if (!FillArray(pSavedPoints, pCount, MoxVector4()) || !FillArray(pSavedNormals, pCount, MoxVector4())) {
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

// Phases: record every polygon vertex, extend the first skin's clusters, write the new control points and
// their values, rebuild the edges, extend the blend-shape target shapes, set the modes. Both failures
// (no layer 0, a negative polygon vertex) return before anything has changed.
bool MoxMesh::SplitPoints(MoxLayerElement::EType pType)
{
    MoxLayer* lLayer = GetLayer(0);
    if (!lLayer) return false;
    SplitRecords lRecords;
    lRecords.mOldCount = GetControlPointsCount();
    if (!CountWalkedVertices(*this, lRecords.mOldCount, lRecords.mWalkedCount)) return false;
    MoxLayerElementUV* lUVs = lLayer->GetUVs(pType);
    UVArray* lUVDirect = lUVs ? &lUVs->GetDirectArray() : nullptr;
    MoxArray<SplitEdgeData> lSplitEdges;
    const bool lHasEdges = mEdgeArray.GetCount() > 0 && mPolygonVertices.GetCount() > 0;
    if (!RecordPolygonVertices(*this, *lLayer, lUVs, lUVDirect, pType, lRecords)) return false;
    if (lHasEdges && !FillArray(lSplitEdges, mPolygonVertices.GetCount(), SplitEdgeData{0, false})) {
        _MoxAssert(sgFile, sgSplit, __LINE__, sgNoSplitRecord.mText);
        return false;
    }

    ExtendSkinClusters(*this, lRecords);
    WriteSplitControlPoints(*this, lRecords, lUVDirect, lSplitEdges);
    NotePolygonEdit();
    if (lHasEdges) AppendSplitEdges(*this, lSplitEdges);
    ForEachTargetShape(*this, sgSplit, [this, &lRecords, pType](MoxShape& pShape) {
        ExtendTargetShape(*this, pShape, lRecords, pType);
    });
    SetSplitModes(*this, pType);
    return lRecords.mOldCount > 0;
}

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
    ForEachTargetShape(*this, sgMerge, [lNewCount, &lSavedPoints, &lSavedNormals](MoxShape& pShape) {
        TruncateTargetShape(pShape, lNewCount, lSavedPoints, lSavedNormals);
    });

    MoxLayer* lLayer = GetLayer(0);
    if (lRemoved && lLayer && lLayer->GetNormals())
        lLayer->GetNormals()->SetMappingMode(MoxLayerElement::eByPolygonVertex);
}

}  // namespace moxsdk
