// Point splitting of MoxMesh.
//
// SplitPoints gives every polygon vertex that is not the first user of its control point a control point
// of its own, and carries normals, one UV set, edges, the first skin's clusters and the blend-shape target
// shapes along. BuildMergeList and MergePointsForPolygonVerteNormals (moxmeshmerge.cxx) fold them back.
//
// The lookups that a plain reading of the split repeats per element are replaced by indices built once,
// each giving exactly the plain answer: the first edge starting at a polygon vertex (inverse index), the
// first edge joining two unordered control points as GetMeshEdgeIndex finds it (MoxEdgePairIndex) and the
// polygon vertices of each control point (grouped by key). The split is O(n log n) or better in the
// polygon-vertex, control-point and edge counts.

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>

#include "moxsdk/core/moxassert.h"
#include "moxsdk/scene/geometry/moxlayerelementreader.h"
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
constexpr const char* sgSplit = "SplitPoints";

typedef MoxLayerElementArrayTemplate<MoxVector4> VectorArray;
typedef MoxLayerElementArrayTemplate<MoxVector2> UVArray;
typedef MoxLayerElementArrayTemplate<int> IndexArray;

// The first edge whose entry is each polygon vertex below pVertexCount (-1 for none); false when memory
// ran out.
bool BuildFirstEdgeIndex(const MoxArray<int>& pEdges, int pVertexCount, MoxArray<int>& pFirstEdge)
{
    if (!MoxFillArray(pFirstEdge, pVertexCount, -1)) return false;
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
    MoxGroups mLists;           // per old control point, its polygon vertices in walk order
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
        mReader.Bind(mElement);
        mDirect = &mElement->GetDirectArray();
        if (mElement->GetReferenceMode() != MoxLayerElement::eDirect) mIndices = &mElement->GetIndexArray();
    }

    bool Varies() const
    {
        return mMode == MoxLayerElement::eByPolygonVertex || mMode == MoxLayerElement::eByControlPoint;
    }
    MoxVector4 First() const { return mElement ? MoxVector4(0.0, 0.0, 0.0, 1.0) : MoxVector4(0.0, 0.0, 0.0, 0.0); }

    // Updates pNormal for position pPosition of polygon pPolygon, whose control point is pControlPoint.
    // Indices outside the arrays read (0, 0, 0, 0) and 0, through the arrays' own checked reads.
    void Read(const MoxMesh& pMesh, int pPolygon, int pPosition, int pControlPoint, MoxVector4& pNormal) const
    {
        int lIndex = -1;
        if (mMode == MoxLayerElement::eByPolygonVertex) {
            pMesh.GetPolygonVertexNormal(pPolygon, pPosition, pNormal);
        } else if (mMode == MoxLayerElement::eByControlPoint &&
                   !(mReader.TryIndex(pControlPoint, lIndex) && mReader.Value(lIndex, pNormal))) {
            ReadOutside(pControlPoint, pNormal);
        }
    }

private:
    // The by-control-point read that leaves an array, with its reports.
    void ReadOutside(int pControlPoint, MoxVector4& pNormal) const
    {
        int lIndex = pControlPoint;
        if (mIndices) {
            lIndex = mIndices->GetAt(pControlPoint);
            if (lIndex < 0 || lIndex >= mDirect->GetCount())
                _MoxAssert(sgFile, sgSplit, __LINE__, sgNormalIndexOutside.mText);
        }
        pNormal = mDirect->GetAt(lIndex);
    }

    const MoxLayerElementNormal* mElement;
    MoxLayerElement::EMappingMode mMode;
    MoxLayerElementReader<MoxVector4> mReader;
    const VectorArray* mDirect = nullptr;
    const IndexArray* mIndices = nullptr;
};

// The UV each polygon vertex records from the UV set being split: through GetTextureUVIndex per polygon
// vertex, or at the control point (index array not consulted); other mapping modes leave the previous
// value, (0, 0) at first. An index outside the direct array reads through the array's checked read.
class SplitUVReader {
public:
    SplitUVReader(const MoxLayerElementUV* pUVs, const UVArray* pDirect, MoxLayerElement::EType pType)
        : mType(pType), mMode(pUVs ? pUVs->GetMappingMode() : MoxLayerElement::eByMesh), mReader(pUVs), mDirect(pDirect)
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
            ReadDirect(lUVIndex, pUV);
        } else if (mMode == MoxLayerElement::eByControlPoint) {
            ReadDirect(pControlPoint, pUV);
        }
    }

private:
    void ReadDirect(int pIndex, MoxVector2& pUV) const
    {
        if (!mReader.Value(pIndex, pUV)) pUV = mDirect->GetAt(pIndex);
    }

    MoxLayerElement::EType mType;
    MoxLayerElement::EMappingMode mMode;
    MoxLayerElementReader<MoxVector2> mReader;
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
    MoxEdgePairIndex mPairs;
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
    if (!MoxFillArray(pRecords.mControlPoint, lWalked, -1) || !pRecords.mNewIndex.Resize(lWalked) ||
        !pRecords.mEdgeIndex.Resize(lWalked) || (lNormals.Varies() && !pRecords.mNormals.Resize(lWalked)) ||
        (lUVs.Varies() && !pRecords.mUVs.Resize(lWalked)) ||
        !MoxFillArray(lUsed, lOldCount, static_cast<unsigned char>(0)) || (lHasEdges && !lEdges.Init(pMesh, lWalked))) {
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
    if (!MoxBuildGroups(pRecords.mControlPoint.GetArray(), lWalked, lOldCount, pRecords.mLists)) {
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
            const MoxGroups& lLists = pRecords.mLists;
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

    const MoxGroups& lLists = pRecords.mLists;
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
    if (!MoxFillArray(mPoints, lSize, MoxVector4()) || !MoxFillArray(mNormals, lSize, MoxVector4()) ||
        (pUVs && !MoxFillArray(mUVs, lSize, MoxVector2())))
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
    const MoxGroups& lLists = pRecords.mLists;
    for (int c = 0; c < pRecords.mOldCount; ++c) {
        lValues.Write(c, lSaved, c);
        for (int r = lLists.Begin(c) + 1; r < lLists.End(c); ++r)
            lValues.Write(pRecords.NewIndex(lLists.Item(r)), lSaved, c);
    }
    if (lNormals) lNormals->Release(&lValues.mNormals);
    if (lNewUVs) lNewUVs->mDirectArray->Release(&lValues.mUVs);
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
    if (lHasEdges && !MoxFillArray(lSplitEdges, mPolygonVertices.GetCount(), SplitEdgeData{0, false})) {
        _MoxAssert(sgFile, sgSplit, __LINE__, sgNoSplitRecord.mText);
        return false;
    }

    ExtendSkinClusters(*this, lRecords);
    WriteSplitControlPoints(*this, lRecords, lUVDirect, lSplitEdges);
    NotePolygonEdit();
    if (lHasEdges) AppendSplitEdges(*this, lSplitEdges);
    MoxForEachTargetShape(*this, sgFile, sgSplit, [this, &lRecords, pType](MoxShape& pShape) {
        ExtendTargetShape(*this, pShape, lRecords, pType);
    });
    SetSplitModes(*this, pType);
    return lRecords.mOldCount > 0;
}

}  // namespace moxsdk
