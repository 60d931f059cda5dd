// Normals of MoxMesh: per control point, per polygon vertex with smoothing by polygon or by edge, the
// winding check and conforming to a reference mesh.
//
// Corner normals: the corner at control point cur, between prev and next on its polygon's closed ring, has
// the normal (next - cur) x (prev - cur) for counter-clockwise winding and (prev - cur) x (next - cur) for
// clockwise winding. Unnormalised, its length is twice the corner triangle's area, which weights the corner
// in the sums per control point.
//
// Choices made where an input leaves the arrays (all memory-safe, none reported beyond the documented
// reports):
// - A control point index at or past the control point count reads the zero point (0, 0, 0, 0), as
//   GetControlPointAt answers; only the per-control-point sums can meet one (the per-polygon-vertex
//   normals reject such indices).
// - A polygon whose run leaves mPolygonVertices is read through GetPolygonVertex, whose out-of-range reads
//   are reported by the array and stay inside memory.
// - A failed normal computation leaves an empty record array; the writers then read it through the
//   array's operator[] (each read reported), which yields empty records and so (0, 0, 0, 1).
// - Smoothing values and index entries outside their arrays read as 0, as the arrays' GetAt answers.
// - ConformNormalsTo compares no polygon vertex whose element index lies outside the reference direct
//   array; CheckIfVertexNormalsCCW skips a control point whose stored normal lies outside the direct array,
//   and answers false when the normals have no direct array.
// - Smoothing opens the edge lookups whatever the elements' mappings (opening them has effects of its
//   own), except where a table of its own gives each side's edge as they would, with no report
//   (SideEdgeTable); it always closes them, so the caches end closed either way. A table whose memory
//   cannot be had is reported with its name ("mSideEdges", "lGroupStarts", "lGroupFill", "lGroups") and the lookups
//   answer instead.
// - Regenerating normals over an element that already holds as many values writes over its storage
//   (no emptying, no zero fill); it ends as emptying it first would, since every value is written.

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "core/base/moxscratch.h"
#include "detail/moxmeshcorners.h"
#include "detail/moxmeshreports.h"
#include "detail/moxunwrittenvalues.h"
#include "moxsdk/core/math/moxmath.h"
#include "moxsdk/core/moxassert.h"
#include "moxsdk/scene/geometry/moxlayerelementreader.h"
#include "moxsdk/scene/geometry/moxmesh.h"

namespace moxsdk {
namespace {

typedef MoxMesh::VertexNormalInfo NormalInfo;

constexpr const char* sgFile = "scene/geometry/moxmesh";
using namespace detail::meshreports;
// A stored normal matches its recomputed counter-clockwise normal when closer than this.
constexpr double sgWindingTolerance = 0.01;
// Two reference normals coincide when each of their four components differs by at most this.
constexpr double sgConformTolerance = 1e-06;
// Up to this many polygon vertices at a control point, coinciding normals are found by comparing all pairs.
constexpr int sgPairwiseLimit = 16;

const MoxVector4 sgZeroPoint;

bool IsBelow(int pValue, int pEnd)
{
    return pValue >= 0 && pValue < pEnd;
}

// pStart + pOffset with two's complement wrap-around, as a 32-bit polygon-vertex index computes it.
int OffsetIndex(int pStart, int pOffset)
{
    return static_cast<int>(static_cast<uint32_t>(pStart) + static_cast<uint32_t>(pOffset));
}

// The control point of polygon vertex pPolygonVertex when it is below pCount (compared unsigned), else
// pCount - 1: the clamp of MoxMesh::GetIndex, with its checked read of mPolygonVertices.
int ClampedControlPoint(const MoxMesh& pMesh, int pPolygonVertex, int pCount)
{
    const int lValue = pMesh.mPolygonVertices[pPolygonVertex];
    return static_cast<unsigned int>(lValue) < static_cast<unsigned int>(pCount) ? lValue : pCount - 1;
}

// Control point pIndex, or the zero point outside the list (or without one).
const MoxVector4& PointOrZero(const MoxVector4* pPoints, int pPointCount, int pPoint)
{
    return pPoints && IsBelow(pPoint, pPointCount) ? pPoints[pPoint] : sgZeroPoint;
}

// The control points around one polygon, read as GetPolygonVertex reads them: straight from
// mPolygonVertices when the polygon's run lies inside it, through the checked query otherwise.
class PolygonRing {
public:
    PolygonRing(const MoxMesh& pMesh, int pPolygon) : mMesh(pMesh), mPolygon(pPolygon)
    {
        const MoxMesh::PolygonDef& lPolygon = pMesh.mPolygons.GetArray()[pPolygon];
        mSize = lPolygon.mSize;
        const bool lInside =
            lPolygon.mIndex >= 0 && mSize >= 0 && int64_t(lPolygon.mIndex) + mSize <= pMesh.mPolygonVertices.GetCount();
        mRow = lInside && mSize > 0 ? pMesh.mPolygonVertices.GetArray() + lPolygon.mIndex : nullptr;
    }

    int Size() const { return mSize; }
    // The polygon's run in mPolygonVertices, or null when it does not lie inside the array.
    const int* Row() const { return mRow; }
    int At(int pPosition) const { return mRow ? mRow[pPosition] : mMesh.GetPolygonVertex(mPolygon, pPosition); }
    int Previous(int pPosition) const { return At(pPosition == 0 ? mSize - 1 : pPosition - 1); }
    int Next(int pPosition) const { return At(pPosition + 1 == mSize ? 0 : pPosition + 1); }

private:
    const MoxMesh& mMesh;
    int mPolygon;
    int mSize;
    const int* mRow;
};

// Calls pVisit(cur, prev, next) for every corner, polygons in index order and corners in ring order; stops
// and returns false as soon as pVisit does.
template <class VISIT>
bool ForEachCorner(const MoxMesh& pMesh, VISIT&& pVisit)
{
    const int lPolygonCount = pMesh.GetPolygonCount();
    for (int p = 0; p < lPolygonCount; ++p) {
        const PolygonRing lRing(pMesh, p);
        const int lLast = lRing.Size() - 1;
        if (const int* lRow = lRing.Row()) {
            for (int i = 0; i <= lLast; ++i)
                if (!pVisit(lRow[i], lRow[i == 0 ? lLast : i - 1], lRow[i == lLast ? 0 : i + 1])) return false;
            continue;
        }
        for (int i = 0; i <= lLast; ++i)
            if (!pVisit(lRing.At(i), lRing.Previous(i), lRing.Next(i))) return false;
    }
    return true;
}

// The unnormalised corner normal (see the file comment).
MoxVector4 CornerNormal(const MoxVector4& pPrevious, const MoxVector4& pCurrent, const MoxVector4& pNext, bool pCW)
{
    const MoxVector4 lA = pPrevious - pCurrent;
    const MoxVector4 lB = pNext - pCurrent;
    return pCW ? lA.CrossProduct(lB) : lB.CrossProduct(lA);
}

// The sums of AccumulateCornerNormals on well-formed topology, where no corner needs a check: the same
// operations in the same order, with a triangle's three points read once for its three corners.
void AccumulatePlainCorners(const MoxMesh& pMesh, NormalInfo* pInfo, const MoxVector4* pPoints, bool pCW)
{
    const auto lAdd = [pInfo, pCW](int pCurrent, const MoxVector4& pPrevious, const MoxVector4& pPoint,
                                   const MoxVector4& pNext) {
        pInfo[pCurrent].mTotalNormal += CornerNormal(pPrevious, pPoint, pNext, pCW);
        ++pInfo[pCurrent].mNumNormal;
    };
    const int* lVertices = pMesh.mPolygonVertices.GetArray();
    for (const MoxMesh::PolygonDef& lPolygon : pMesh.mPolygons) {
        const int* lRow = lVertices + lPolygon.mIndex;
        if (lPolygon.mSize == 3) {
            const MoxVector4 lA = pPoints[lRow[0]];
            const MoxVector4 lB = pPoints[lRow[1]];
            const MoxVector4 lC = pPoints[lRow[2]];
            lAdd(lRow[0], lC, lA, lB);
            lAdd(lRow[1], lA, lB, lC);
            lAdd(lRow[2], lB, lC, lA);
            continue;
        }
        const int lLast = lPolygon.mSize - 1;
        for (int i = 0; i <= lLast; ++i)
            lAdd(lRow[i], pPoints[lRow[i == 0 ? lLast : i - 1]], pPoints[lRow[i]],
                 pPoints[lRow[i == lLast ? 0 : i + 1]]);
    }
}

// Adds every corner's normal to the record of its control point when that point lies below pCapacity,
// counting each contribution. False at the first corner with a negative control point.
bool AccumulateCornerNormals(const MoxMesh& pMesh, NormalInfo* pInfo, int pCapacity, bool pCW)
{
    const MoxVector4* lPoints = pMesh.GetControlPoints();
    const int lPointCount = pMesh.GetControlPointsCount();
    // Well-formed topology names only control points, all below the capacity: no corner needs a check.
    if (lPoints && pCapacity >= lPointCount && pMesh.HasWellFormedTopology()) {
        AccumulatePlainCorners(pMesh, pInfo, lPoints, pCW);
        return true;
    }
    return ForEachCorner(pMesh, [&](int pCurrent, int pPrevious, int pNext) {
        if (pCurrent < 0 || pPrevious < 0 || pNext < 0) return false;
        const MoxVector4 lNormal =
            CornerNormal(PointOrZero(lPoints, lPointCount, pPrevious), PointOrZero(lPoints, lPointCount, pCurrent),
                         PointOrZero(lPoints, lPointCount, pNext), pCW);
        if (pCurrent < pCapacity) {
            pInfo[pCurrent].mTotalNormal += lNormal;
            ++pInfo[pCurrent].mNumNormal;
        }
        return true;
    });
}

// The record's mean normal, normalised; (0, 0, 0, 1) for a record without contribution.
MoxVector4 AveragedNormal(const NormalInfo& pInfo)
{
    if (pInfo.mNumNormal <= 0) return MoxVector4(0.0, 0.0, 0.0, 1.0);
    MoxVector4 lNormal = pInfo.mTotalNormal / static_cast<double>(pInfo.mNumNormal);
    lNormal.Normalize();
    return lNormal;
}

// Vectors on their way to normalisation, in batches (one array per component): normalising many
// independent vectors in one tight loop lets their square roots and divisions overlap.
struct VectorBatch {
    static constexpr int sgSize = 64;
    double mX[sgSize];
    double mY[sgSize];
    double mZ[sgSize];
    double mW[sgSize];
    bool mSelected[sgSize];  // taken by a pass over the selected vectors only
    int mCount = 0;
};

// MoxVector4::Normalize on the batch's vectors (only the selected ones when pSelectedOnly): x, y and z
// divided by the length unless it is 0. Dividing by 1 instead is exact, so the result is bit for bit the
// same; so are the packed square roots and divisions (correctly rounded, like the scalar ones).
void NormaliseBatch(VectorBatch& pBatch, bool pSelectedOnly)
{
    int i = 0;
#if defined(__SSE2__)
    const __m128d lZero = _mm_setzero_pd();
    const __m128d lOne = _mm_set1_pd(1.0);
    for (; i + 1 < pBatch.mCount; i += 2) {
        const __m128d lX = _mm_loadu_pd(pBatch.mX + i);
        const __m128d lY = _mm_loadu_pd(pBatch.mY + i);
        const __m128d lZ = _mm_loadu_pd(pBatch.mZ + i);
        const __m128d lSquare = _mm_add_pd(_mm_add_pd(_mm_mul_pd(lX, lX), _mm_mul_pd(lY, lY)), _mm_mul_pd(lZ, lZ));
        const __m128d lLength = _mm_sqrt_pd(lSquare);
        __m128d lUse = _mm_cmpneq_pd(lLength, lZero);
        if (pSelectedOnly)
            lUse = _mm_and_pd(lUse, _mm_castsi128_pd(_mm_set_epi64x(-int64_t(pBatch.mSelected[i + 1]),
                                                                    -int64_t(pBatch.mSelected[i]))));
        const __m128d lDivisor = _mm_or_pd(_mm_and_pd(lUse, lLength), _mm_andnot_pd(lUse, lOne));
        _mm_storeu_pd(pBatch.mX + i, _mm_div_pd(lX, lDivisor));
        _mm_storeu_pd(pBatch.mY + i, _mm_div_pd(lY, lDivisor));
        _mm_storeu_pd(pBatch.mZ + i, _mm_div_pd(lZ, lDivisor));
    }
#endif
    for (; i < pBatch.mCount; ++i) {
        const double lLength =
            std::sqrt(pBatch.mX[i] * pBatch.mX[i] + pBatch.mY[i] * pBatch.mY[i] + pBatch.mZ[i] * pBatch.mZ[i]);
        const double lDivisor = lLength != 0.0 && (pBatch.mSelected[i] || !pSelectedOnly) ? lLength : 1.0;
        pBatch.mX[i] /= lDivisor;
        pBatch.mY[i] /= lDivisor;
        pBatch.mZ[i] /= lDivisor;
    }
}

// Appends one vector to the batch.
void AddToBatch(VectorBatch& pBatch, const MoxVector4& pVector, bool pSelected)
{
    const int i = pBatch.mCount++;
    pBatch.mX[i] = pVector[0];
    pBatch.mY[i] = pVector[1];
    pBatch.mZ[i] = pVector[2];
    pBatch.mW[i] = pVector[3];
    pBatch.mSelected[i] = pSelected;
}

MoxVector4 BatchVector(const VectorBatch& pBatch, int pIndex)
{
    return MoxVector4(pBatch.mX[pIndex], pBatch.mY[pIndex], pBatch.mZ[pIndex], pBatch.mW[pIndex]);
}

// Calls pStore(i, mean) for the pCount records pRecords in order, in batches, until it returns false. The
// mean is the sum divided by the count and normalised, as AveragedNormal computes it; with pGuard false, a
// record without contribution is divided by its count of 0 all the same (as AverageInPlace does).
template <class STORE>
void ForEachMeanNormal(const NormalInfo* pRecords, int pCount, bool pGuard, STORE&& pStore)
{
    VectorBatch lBatch;
    for (int lFirst = 0; lFirst < pCount; lFirst += VectorBatch::sgSize) {
        const int lEnd = std::min(pCount, lFirst + VectorBatch::sgSize);
        for (int i = lFirst; i < lEnd; ++i) {
            const NormalInfo& lRecord = pRecords[i];
            const bool lEmpty = pGuard && lRecord.mNumNormal <= 0;
            AddToBatch(lBatch,
                       lEmpty ? MoxVector4(0.0, 0.0, 0.0, 1.0)
                              : lRecord.mTotalNormal / static_cast<double>(lRecord.mNumNormal),
                       !lEmpty);
        }
        NormaliseBatch(lBatch, true);
        for (int i = 0; i < lBatch.mCount; ++i)
            if (!pStore(lFirst + i, BatchVector(lBatch, i))) return;
        lBatch.mCount = 0;
    }
}

// An element array's values through one lock, released on scope exit. A null array reads as empty.
template <class T>
class LockedValues {
public:
    LockedValues(MoxLayerElementArrayTemplate<T>* pArray, MoxLayerElementArray::ELockMode pMode)
        : mArray(pArray), mData(pArray ? pArray->GetLocked(pMode) : nullptr), mCount(mData ? pArray->GetCount() : 0)
    {}
    ~LockedValues()
    {
        if (mArray) mArray->Release(&mData);
    }
    LockedValues(const LockedValues&) = delete;
    LockedValues& operator=(const LockedValues&) = delete;
    LockedValues(LockedValues&&) = delete;
    LockedValues& operator=(LockedValues&&) = delete;

    bool Has(int pIndex) const { return IsBelow(pIndex, mCount); }
    // Value pIndex, or a value-initialised T outside the array (as the array's GetAt answers).
    T At(int pIndex) const { return Has(pIndex) ? mData[pIndex] : T{}; }
    // Value pIndex; the caller has checked Has(pIndex).
    T& operator[](int pIndex) const { return mData[pIndex]; }

private:
    MoxLayerElementArrayTemplate<T>* mArray;
    T* mData;
    int mCount;
};

// The direct array of layer 0's normal element, reported (with pFunction) when there is none.
MoxLayerElementArrayTemplate<MoxVector4>* NormalArray(const MoxMesh& pMesh, const char* pFunction)
{
    MoxLayerElementArrayTemplate<MoxVector4>* lDirect = nullptr;
    const bool lValid = pMesh.GetNormals(&lDirect);
    if (!lValid || !lDirect) _MoxAssert(sgFile, pFunction, __LINE__, sgNoNormalArray.mText);
    return lDirect;
}

// True when layer 0's normal element holds at least pCount > 0 values: writing pCount values over all of
// it can then keep its storage and end as emptying it first would.
bool HoldsNormals(const MoxMesh& pMesh, int pCount)
{
    const MoxLayer* lLayer = pMesh.GetLayer(0);
    const MoxLayerElementNormal* lElement = lLayer ? lLayer->GetNormals() : nullptr;
    return pCount > 0 && lElement && lElement->mDirectArray->GetCount() >= pCount;
}

// Layer 0's normals sized for pCount values (InitNormals' count), of which the caller writes pWritten. When
// that is every value, none is zeroed first and storage that holds enough is kept; otherwise (a mesh without
// polygon vertices keeps one zero value per control point) they start at zero.
void InitWrittenNormals(MoxMesh& pMesh, int pCount, int pWritten)
{
    if (pWritten >= (pCount > 0 ? pCount : pMesh.GetControlPointsCount()))
        detail::MoxUnwrittenValues::InitNormals(pMesh, pCount);
    else
        pMesh.InitNormals(pCount, 1);
}

// Writes pCount averaged records (AveragedNormal) into pDirect, within its count. Records missing from a
// short record array (one emptied by a failed computation) are read through the array's operator[], which
// reports and yields empty records.
void WriteAveragedNormals(MoxLayerElementArrayTemplate<MoxVector4>* pDirect, const MoxArray<NormalInfo>& pInfo,
                          int pCount)
{
    const LockedValues<MoxVector4> lNormals(pDirect, MoxLayerElementArray::eReadWriteLock);
    if (!lNormals.Has(0)) return;
    const int lLimit = std::min(pCount, pDirect->GetCount());
    const int lCovered = std::min(lLimit, pInfo.GetCount());
    ForEachMeanNormal(pInfo.GetArray(), lCovered, true, [&](int pIndex, const MoxVector4& pMean) {
        lNormals[pIndex] = pMean;
        return true;
    });
    for (int i = lCovered; i < lLimit; ++i) lNormals[i] = AveragedNormal(pInfo[i]);
}

// ---- Smoothing ---------------------------------------------------------------------------------------

// Each record's sum divided by its count, normalised, with count 1. A record without contribution (a
// control point that no polygon uses) becomes not-a-number; a smooth corner can read one only when the
// polygon table does not cover its own polygon vertices.
void AverageInPlace(MoxArray<NormalInfo>& pInfo)
{
    NormalInfo* lRecords = pInfo.GetArray();
    ForEachMeanNormal(lRecords, pInfo.GetCount(), false, [lRecords](int pIndex, const MoxVector4& pMean) {
        lRecords[pIndex].mTotalNormal = pMean;
        lRecords[pIndex].mNumNormal = 1;
        return true;
    });
}

// What the smoothing elements make of a mesh: per control point the smoothed normal, per polygon vertex
// whether it takes it. Naming a polygon vertex twice gives it the same value twice, so one inside the
// table is only marked, once, where the lists would repeat it; one outside the table is applied at once to
// the records, through the arrays' checked access (reported), as a list would.
class SmoothTargets {
public:
    SmoothTargets(const MoxMesh& pMesh, MoxArray<NormalInfo>& pRecords) : mMesh(pMesh), mRecords(pRecords) {}

    // The smoothed normals: counter-clockwise sums per control point, averaged in place; no marks yet.
    void Start(MoxMesh& pMesh)
    {
        pMesh.ComputeNormalsPerCtrlPoint(mSmoothed, false);
        AverageInPlace(mSmoothed);
        mMarks.Resize(pMesh.GetPolygonVertexCount());
    }

    void Add(int pPolygonVertex)
    {
        if (IsBelow(pPolygonVertex, mMarks.GetCount()))
            mMarks.GetArray()[pPolygonVertex] = 1;
        else
            Apply(pPolygonVertex);
    }

    // Gives every marked record its smoothed normal.
    void ApplyMarked()
    {
        const unsigned char* lMarks = mMarks.GetArray();
        for (int i = 0; i < mMarks.GetCount(); ++i)
            if (lMarks[i]) Apply(i);
    }

    bool IsMarked(int pPolygonVertex) const
    {
        return IsBelow(pPolygonVertex, mMarks.GetCount()) && mMarks.GetArray()[pPolygonVertex];
    }
    // The smoothed normal of control point pControlPoint, a valid control point of a well-formed mesh.
    const MoxVector4& Smoothed(int pControlPoint) const { return mSmoothed[pControlPoint].mTotalNormal; }

private:
    void Apply(int pPolygonVertex)
    {
        const int lControlPoint = ClampedControlPoint(mMesh, pPolygonVertex, mSmoothed.GetCount());
        NormalInfo& lEntry = mRecords[pPolygonVertex];
        lEntry.mTotalNormal = mSmoothed[lControlPoint].mTotalNormal;
        lEntry.mNumNormal = 1;
    }

    const MoxMesh& mMesh;
    MoxArray<NormalInfo>& mRecords;
    MoxArray<NormalInfo> mSmoothed;
    MoxArray<unsigned char> mMarks;
};

// A reader of a smoothing element's values. The element is asked for its direct array first, for the
// report it makes when its reference mode has none (the values are then read all the same).
MoxLayerElementReader<int> SmoothingReader(MoxLayerElementSmoothing& pElement)
{
    static_cast<void>(pElement.GetDirectArray());
    return MoxLayerElementReader<int>(&pElement);
}

// The value at pIndex, or 0 outside the direct array (as the array's GetAt answers).
int ValueOrZero(const MoxLayerElementReader<int>& pReader, int pIndex)
{
    int lValue = 0;
    pReader.Value(pIndex, lValue);
    return lValue;
}

// Marks the corners of the polygons with a positive smoothing group. The group and the size are read at q
// (the polygon itself, or its index-array entry) while the first polygon vertex is read at polygon p: a
// reordering index array marks runs of q's size starting at p's first vertex, a rule kept as it is.
void MarkSmoothPolygons(const MoxMesh& pMesh, MoxLayerElementSmoothing& pElement, SmoothTargets& pTargets)
{
    const MoxLayerElementReader<int> lGroups = SmoothingReader(pElement);
    const MoxMesh::PolygonDef* lPolygons = pMesh.mPolygons.GetArray();
    for (int p = 0; p < pMesh.GetPolygonCount(); ++p) {
        // The index array's entry for an indexed element (0 past it), the polygon itself otherwise.
        int q = 0;
        lGroups.TryIndex(p, q);
        if (ValueOrZero(lGroups, q) <= 0) continue;
        const int lSize = pMesh.GetPolygonSize(q);
        for (int v = 0; v < lSize; ++v) pTargets.Add(OffsetIndex(lPolygons[p].mIndex, v));
    }
}

// The edge of every polygon side, from tables of its own where the edge lookups would give exactly its
// answers and make no report: a mesh of plain polygons (MoxHasPlainPolygons) without a map of the
// caller's open, whose edge array is the one BuildMeshEdgeArray builds, with no side from a control
// point to itself and no pair of control points joined twice in the first polygon that joins it. The
// lookups then name, for each side, the edge of its pair of control points.
// The edge array is recognised without the walk that builds it: its entries increase, no two edges join
// the same pair, and every side finds its pair among the edges that begin at or before it (so each edge
// begins at the first side of its pair, and every pair has an edge).
class SideEdgeTable {
public:
    // Checks the mesh, and with pFill also records the edge of every side.
    SideEdgeTable(const MoxMesh& pMesh, bool pFill);
    // True when the mesh qualifies (and the memory could be had).
    bool IsValid() const { return mValid; }
    // The name of the table whose memory could not be had, or null.
    const char* MissingTable() const { return mMissing; }
    // The edge of side pSide (a polygon-vertex index), when filled.
    int EdgeOf(int pSide) const { return mSideEdges[pSide]; }

private:
    // An edge in the group of its smaller control point.
    struct GroupEntry {
        int mLarger;
        int mEdge;
    };

    bool Recognise(const MoxMesh& pMesh);

    bool mFill;
    MoxScratch<int> mSideEdges;
    const char* mMissing = nullptr;
    bool mValid = false;
};

// Calls pVisit(side, start, end, first side of its polygon) for every side of a mesh of plain polygons, in
// order, until pVisit returns false; false then.
template <class VISIT>
bool ForEachPlainSide(const MoxMesh& pMesh, VISIT&& pVisit)
{
    const int* lVertices = pMesh.mPolygonVertices.GetArray();
    const MoxMesh::PolygonDef* lPolygons = pMesh.mPolygons.GetArray();
    for (int p = 0; p < pMesh.GetPolygonCount(); ++p) {
        const int lFirst = lPolygons[p].mIndex;
        const int lLast = lFirst + lPolygons[p].mSize - 1;
        for (int k = lFirst; k <= lLast; ++k)
            if (!pVisit(k, lVertices[k], lVertices[k == lLast ? lFirst : k + 1], lFirst)) return false;
    }
    return true;
}

// True when the entries increase from 0 on and stay below pEnd.
bool IsIncreasingBelow(const int* pValues, int pCount, int pEnd)
{
    int lFloor = 0;
    for (int i = 0; i < pCount; lFloor = pValues[i++] + 1)
        if (pValues[i] < lFloor || pValues[i] >= pEnd) return false;
    return true;
}

SideEdgeTable::SideEdgeTable(const MoxMesh& pMesh, bool pFill)
    : mFill(pFill), mSideEdges(pFill ? pMesh.GetPolygonVertexCount() : 0)
{
    if (!mSideEdges.Get()) mMissing = sgNoSideEdgesMemory.mText;
    mValid = mSideEdges.Get() && !pMesh.mV2PVMap.mValid && detail::MoxHasPlainPolygons(pMesh) && Recognise(pMesh);
}

// Groups the edges by smaller control point (a counting sort over the sides, the edges being the sides
// they begin at), each edge entered when the walk reaches its side, so that a side looks its pair up
// among the edges that begin at or before it.
bool SideEdgeTable::Recognise(const MoxMesh& pMesh)
{
    const int lEdgeCount = pMesh.GetMeshEdgeCount();
    const int* lEdges = pMesh.mEdgeArray.GetArray();
    if (!IsIncreasingBelow(lEdges, lEdgeCount, pMesh.GetPolygonVertexCount())) return false;
    const int lPointCount = pMesh.GetControlPointsCount();
    MoxScratch<int> lGroupStarts(int64_t(lPointCount) + 1);
    MoxScratch<int> lGroupFill(lPointCount);
    MoxScratch<GroupEntry> lGroups(lEdgeCount);
    mMissing = !lGroupStarts.Get() ? sgNoGroupStartsMemory.mText
               : !lGroupFill.Get() ? sgNoGroupFillMemory.mText
               : !lGroups.Get()    ? sgNoEdgeGroupsMemory.mText
                                   : nullptr;
    if (mMissing) return false;
    std::fill(lGroupStarts.Get(), lGroupStarts.Get() + lPointCount + 1, 0);
    int e = 0;
    const bool lCounted = ForEachPlainSide(pMesh, [&](int pSide, int pStart, int pEnd, int) {
        if (pStart == pEnd) return false;
        if (e < lEdgeCount && lEdges[e] == pSide) {
            ++lGroupStarts[std::min(pStart, pEnd) + 1];
            ++e;
        }
        return true;
    });
    if (!lCounted) return false;
    for (int c = 0; c < lPointCount; ++c) lGroupStarts[c + 1] += lGroupStarts[c];
    std::fill(lGroupFill.Get(), lGroupFill.Get() + lPointCount, 0);
    int* lSideEdges = mFill ? mSideEdges.Get() : nullptr;
    e = 0;
    return ForEachPlainSide(pMesh, [&](int pSide, int pStart, int pEnd, int pFirstSide) {
        const int lSmaller = std::min(pStart, pEnd);
        const int lLarger = std::max(pStart, pEnd);
        GroupEntry* lGroup = lGroups.Get() + lGroupStarts[lSmaller];
        int lFound = -1;
        for (int i = 0; i < lGroupFill[lSmaller] && lFound == -1; ++i)
            if (lGroup[i].mLarger == lLarger) lFound = lGroup[i].mEdge;
        if (e < lEdgeCount && lEdges[e] == pSide) {
            if (lFound != -1) return false;
            lGroup[lGroupFill[lSmaller]++] = GroupEntry{lLarger, e};
            lFound = e++;
        } else if (lFound == -1 || lEdges[lFound] >= pFirstSide) {
            return false;
        }
        if (lSideEdges) lSideEdges[pSide] = lFound;
        return true;
    });
}

// Marks, for every soft edge named by a side of polygon p, the corners of p at either end of the edge:
// pSoftSide(polygon, its record, position, start, end) tells whether the side at that position lies on a
// soft edge, and gives the edge's two control points.
// Corners compare through GetIndex's clamp with the polygon count as the bound (a control point at or past
// the polygon count compares as polygon count - 1), a rule kept as it is. pStamp, one entry per polygon,
// records which clamped control points end a soft edge of the current polygon, so a polygon costs one
// pass over its sides and one over its corners whatever its size.
template <class SOFT_SIDE>
void MarkSoftEdgeCorners(const MoxMesh& pMesh, MoxArray<int>& pStamp, SmoothTargets& pTargets, SOFT_SIDE&& pSoftSide)
{
    const int lPolygonCount = pMesh.GetPolygonCount();
    pStamp.ResizeUninitialized(lPolygonCount);
    int* lStamp = pStamp.GetArray();
    std::fill(lStamp, lStamp + pStamp.GetCount(), -1);
    if (pStamp.GetCount() != lPolygonCount) return;
    auto lStampEnd = [&](int pControlPoint, int pPolygon) {
        if (IsBelow(pControlPoint, lPolygonCount)) lStamp[pControlPoint] = pPolygon;
    };
    for (int p = 0; p < lPolygonCount; ++p) {
        const MoxMesh::PolygonDef lPolygon = pMesh.mPolygons.GetArray()[p];
        bool lSoftSide = false;
        for (int v = 0; v < lPolygon.mSize; ++v) {
            int lStart = -1;
            int lEnd = -1;
            if (!pSoftSide(p, lPolygon, v, lStart, lEnd)) continue;
            lStampEnd(lStart, p);
            lStampEnd(lEnd, p);
            lSoftSide = true;
        }
        if (!lSoftSide) continue;
        for (int k = 0; k < lPolygon.mSize; ++k) {
            const int lPolygonVertex = OffsetIndex(lPolygon.mIndex, k);
            if (lStamp[ClampedControlPoint(pMesh, lPolygonVertex, lPolygonCount)] == p) pTargets.Add(lPolygonVertex);
        }
    }
}

// Marks the corners at the ends of the soft edges of one element mapped by edge, each side's edge taken
// from pSides when it is valid, else from the edge lookups (opened by the caller).
void MarkSoftEdges(MoxMesh& pMesh, MoxLayerElementSmoothing& pElement, const SideEdgeTable& pSides,
                   MoxArray<int>& pStamp, SmoothTargets& pTargets)
{
    const MoxLayerElementReader<int> lSoft = SmoothingReader(pElement);
    if (pSides.IsValid()) {
        // A side's edge joins the side's own two control points.
        const int* lVertices = pMesh.mPolygonVertices.GetArray();
        MarkSoftEdgeCorners(pMesh, pStamp, pTargets,
                            [&](int, const MoxMesh::PolygonDef& pPolygon, int pPosition, int& pStart, int& pEnd) {
                                const int lSide = pPolygon.mIndex + pPosition;
                                if (ValueOrZero(lSoft, pSides.EdgeOf(lSide)) <= 0) return false;
                                pStart = lVertices[lSide];
                                pEnd = lVertices[pPosition + 1 == pPolygon.mSize ? pPolygon.mIndex : lSide + 1];
                                return true;
                            });
        return;
    }
    MarkSoftEdgeCorners(pMesh, pStamp, pTargets,
                        [&](int pPolygon, const MoxMesh::PolygonDef&, int pPosition, int& pStart, int& pEnd) {
                            const int lEdge = pMesh.GetMeshEdgeIndexForPolygon(pPolygon, pPosition);
                            if (lEdge == -1 || ValueOrZero(lSoft, lEdge) <= 0) return false;
                            pMesh.GetMeshEdgeVertices(lEdge, pStart, pEnd);
                            return true;
                        });
}

// True when a smoothing element is mapped by edge.
bool HasEdgeSmoothing(const MoxMesh& pMesh)
{
    for (int s = 0; s < pMesh.GetElementSmoothingCount(); ++s)
        if (pMesh.GetElementSmoothing(s)->GetMappingMode() == MoxLayerElement::eByEdge) return true;
    return false;
}

// Runs every smoothing element's gather into pTargets: corners take the counter-clockwise, area-weighted
// average normal of their control point (whatever winding the faceted normals use). Reports carry
// pFunction.
void GatherSmoothTargets(MoxMesh& pMesh, SmoothTargets& pTargets, const char* pFunction)
{
    pTargets.Start(pMesh);
    // The edge lookups are opened whatever the elements' mappings: opening them has effects of its own (its
    // reports, and the end of a caller's open edge-adding pass), which smoothing by polygon keeps too. Where
    // the side table gives their answers without a report, it stands in for them.
    const SideEdgeTable lSides(pMesh, HasEdgeSmoothing(pMesh));
    if (const char* lMissing = lSides.MissingTable()) _MoxAssert(sgFile, pFunction, __LINE__, lMissing);
    if (!lSides.IsValid()) {
        pMesh.BeginGetMeshEdgeIndexForPolygon();
        pMesh.BeginGetMeshEdgeVertices();
    }
    MoxArray<int> lStamp;
    for (int s = 0; s < pMesh.GetElementSmoothingCount(); ++s) {
        MoxLayerElementSmoothing* lElement = pMesh.GetElementSmoothing(s);
        const MoxLayerElement::EMappingMode lMappingMode = lElement->GetMappingMode();
        if (lMappingMode == MoxLayerElement::eByPolygon) {
            MarkSmoothPolygons(pMesh, *lElement, pTargets);
        } else if (lMappingMode == MoxLayerElement::eByEdge) {
            if (lElement->GetReferenceMode() != MoxLayerElement::eDirect)
                _MoxAssert(sgFile, pFunction, __LINE__, sgEdgeSmoothingIndexed.mText);
            MarkSoftEdges(pMesh, *lElement, lSides, lStamp, pTargets);
        } else {
            _MoxAssert(sgFile, pFunction, __LINE__, sgSmoothingMappingUnsupported.mText);
        }
    }
    pMesh.EndGetMeshEdgeVertices();
    pMesh.EndGetMeshEdgeIndexForPolygon();
}

// Normalises the batch as the general path does and stores it from polygon vertex pFirst on.
void FlushBatch(VectorBatch& pBatch, MoxVector4* pOut, int pFirst)
{
    NormaliseBatch(pBatch, true);
    NormaliseBatch(pBatch, false);
    for (int i = 0; i < pBatch.mCount; ++i) pOut[pFirst + i] = BatchVector(pBatch, i);
    pBatch.mCount = 0;
}

// Writes the per-polygon-vertex normals of a well-formed mesh straight into pDirect (within its count),
// with the operations of the general path: a corner's normal normalised when computed and once more when
// written; a smoothed corner's control point normal (already normalised) normalised once more.
void WriteCornerNormals(const MoxMesh& pMesh, MoxLayerElementArrayTemplate<MoxVector4>* pDirect, bool pCW,
                        const SmoothTargets& pTargets)
{
    const LockedValues<MoxVector4> lNormals(pDirect, MoxLayerElementArray::eReadWriteLock);
    if (!lNormals.Has(0)) return;
    const MoxVector4* lPoints = pMesh.GetControlPoints();
    VectorBatch lBatch;
    int k = 0;
    ForEachCorner(pMesh, [&](int pCurrent, int pPrevious, int pNext) {
        if (!lNormals.Has(k)) return false;
        const bool lSmoothed = pTargets.IsMarked(k);
        const MoxVector4 lNormal = lSmoothed ? pTargets.Smoothed(pCurrent)
                                             : CornerNormal(lPoints[pPrevious], lPoints[pCurrent], lPoints[pNext], pCW);
        AddToBatch(lBatch, lNormal, !lSmoothed);
        if (++k % VectorBatch::sgSize == 0) FlushBatch(lBatch, &lNormals[0], k - VectorBatch::sgSize);
        return true;
    });
    FlushBatch(lBatch, &lNormals[0], k - lBatch.mCount);
}

// ---- Conforming ---------------------------------------------------------------------------------------

// Same control point count, polygon count, polygon-vertex count, polygon sizes (none negative) and
// control point at every corner.
bool SameTopology(const MoxMesh& pA, const MoxMesh& pB)
{
    if (pA.GetControlPointsCount() != pB.GetControlPointsCount() || pA.GetPolygonCount() != pB.GetPolygonCount() ||
        pA.GetPolygonVertexCount() != pB.GetPolygonVertexCount())
        return false;
    for (int p = 0; p < pA.GetPolygonCount(); ++p) {
        const PolygonRing lA(pA, p);
        const PolygonRing lB(pB, p);
        if (lA.Size() < 0 || lB.Size() < 0 || lA.Size() != lB.Size()) return false;
        for (int i = 0; i < lA.Size(); ++i)
            if (lA.At(i) != lB.At(i)) return false;
    }
    return true;
}

// Same number of normal elements, and element by element the same modes and array counts (the index
// arrays only where the reference mode uses one).
bool SameNormalLayout(const MoxMesh& pA, const MoxMesh& pB)
{
    if (pA.GetElementNormalCount() != pB.GetElementNormalCount()) return false;
    for (int i = 0; i < pA.GetElementNormalCount(); ++i) {
        const MoxLayerElementNormal* lA = pA.GetElementNormal(i);
        const MoxLayerElementNormal* lB = pB.GetElementNormal(i);
        if (!lA || !lB || lA->GetMappingMode() != lB->GetMappingMode() ||
            lA->GetReferenceMode() != lB->GetReferenceMode() ||
            lA->GetDirectArray().GetCount() != lB->GetDirectArray().GetCount())
            return false;
        if (lA->GetReferenceMode() != MoxLayerElement::eDirect &&
            lA->GetIndexArray().GetCount() != lB->GetIndexArray().GetCount())
            return false;
    }
    return true;
}

// One polygon vertex of a control point: its element index, its reference normal and its grid cells.
struct ConformEntry {
    MoxVector4 mValue;
    double mCoarse[4];
    double mFine[4];
    int mIndex;
    unsigned char mLarge;  // bit d: component d is too large for the grid, its cells are the value itself
    bool mMatched;
};

// The grid that finds coinciding reference normals without comparing all pairs. A component x below
// 2^35 in magnitude lies in fine cell floor(x 2^20) and coarse cell floor(x 2^17); both products are exact.
// - Same fine cell in all four components: the components differ by less than 2^-20 < 1e-06, so the
//   entries coincide.
// - Coinciding entries differ by less than 0.1311 coarse cell widths per component, so they lie in the
//   same or an adjacent coarse cell, and in the adjacent one only when the component lies within that
//   distance of the cell's border (tested with a margin of 0.14).
// - From 2^35 on, neighbouring doubles are 2^-17 or more apart: components that large coincide only when
//   equal, and never with a component below 2^35 (which is at least 2^-18 away). Their cells are the
//   value itself, flagged in mLarge so that they never mix with grid cells.
// Every candidate found is confirmed with the exact comparison, so the grid only decides what is compared.
constexpr double sgFineScale = 1048576.0;           // 2^20
constexpr double sgCoarseScale = 131072.0;          // 2^17
constexpr double sgLargeComponent = 34359738368.0;  // 2^35
constexpr double sgBorderMargin = 0.14;

// Cells are kept canonical (adding 0.0 turns a -0 cell into +0) so that equal cells hash alike.
void SetGridCells(ConformEntry& pEntry)
{
    pEntry.mLarge = 0;
    for (int d = 0; d < 4; ++d) {
        const double lValue = pEntry.mValue[d];
        if (std::fabs(lValue) >= sgLargeComponent) {
            pEntry.mLarge = static_cast<unsigned char>(pEntry.mLarge | (1 << d));
            pEntry.mFine[d] = lValue;
            pEntry.mCoarse[d] = lValue;
        } else {
            pEntry.mFine[d] = std::floor(lValue * sgFineScale) + 0.0;
            pEntry.mCoarse[d] = std::floor(lValue * sgCoarseScale) + 0.0;
        }
    }
}

uint64_t CoarseCellHash(unsigned char pLarge, const double* pCells)
{
    uint64_t lHash = pLarge;
    for (int d = 0; d < 4; ++d) {
        uint64_t lBits = 0;
        std::memcpy(&lBits, &pCells[d], sizeof(lBits));
        lHash = (lHash ^ lBits) * 0x9E3779B97F4A7C15ull;
        lHash ^= lHash >> 29;
    }
    return lHash;
}

// -1, 0 or 1 as the coarse cell (flags, then cells) of pA comes before, equals or follows pCells.
int CompareCoarse(const ConformEntry& pA, unsigned char pLarge, const double* pCells)
{
    if (pA.mLarge != pLarge) return pA.mLarge < pLarge ? -1 : 1;
    for (int d = 0; d < 4; ++d)
        if (pA.mCoarse[d] != pCells[d]) return pA.mCoarse[d] < pCells[d] ? -1 : 1;
    return 0;
}

bool SameFineCell(const ConformEntry& pA, const ConformEntry& pB)
{
    return pA.mLarge == pB.mLarge && pA.mFine[0] == pB.mFine[0] && pA.mFine[1] == pB.mFine[1] &&
           pA.mFine[2] == pB.mFine[2] && pA.mFine[3] == pB.mFine[3];
}

// An entry in the grid order: by the hash of its coarse cell, then by the coarse cell itself, then by its
// fine cell; so every coarse cell is one run, and every fine cell one run inside it.
struct GridSlot {
    uint64_t mHash;
    int mEntry;
};

// The grid of one control point: the entries in grid order, and an open-addressing table (a power of two
// of slots, linear probing) from each coarse cell to the start of its run.
struct Grid {
    ConformEntry* mEntries = nullptr;
    const GridSlot* mOrder = nullptr;
    int mCount = 0;
    const int* mTable = nullptr;
    uint64_t mMask = 0;
};

// Scratch of the coincidence search, kept across control points: the arrays only grow (a resize to zero
// would free them), and the used lengths are counted apart.
struct ConformScratch {
    MoxArray<ConformEntry> mEntries;
    MoxArray<GridSlot> mOrder;
    MoxArray<int> mTable;
    MoxArray<int> mIndices;
    int mIndexCount = 0;
};

// Sizes pArray to at least pCount elements without shrinking it; false when memory ran out.
template <class T>
bool Provide(MoxArray<T>& pArray, int pCount)
{
    return pCount <= pArray.GetCount() || pArray.ResizeUninitialized(pCount, true);
}

bool Coincide(const ConformEntry& pA, const ConformEntry& pB)
{
    return MoxEqual(pA.mValue, pB.mValue, sgConformTolerance);
}

// Marks every entry that coincides with another one, comparing the pairs (a pair of two marked entries
// can change nothing and is skipped).
void MatchPairwise(ConformEntry* pEntries, int pCount)
{
    for (int a = 0; a < pCount; ++a)
        for (int b = a + 1; b < pCount; ++b)
            if (!(pEntries[a].mMatched && pEntries[b].mMatched) && Coincide(pEntries[a], pEntries[b])) {
                pEntries[a].mMatched = true;
                pEntries[b].mMatched = true;
            }
}

bool InCell(const Grid& pGrid, int pPosition, uint64_t pHash, unsigned char pLarge, const double* pCells)
{
    return pGrid.mOrder[pPosition].mHash == pHash &&
           CompareCoarse(pGrid.mEntries[pGrid.mOrder[pPosition].mEntry], pLarge, pCells) == 0;
}

// The start of coarse cell (pLarge, pCells) in the grid order, or -1 when no entry lies in it.
int FindCell(const Grid& pGrid, unsigned char pLarge, const double* pCells)
{
    const uint64_t lHash = CoarseCellHash(pLarge, pCells);
    for (uint64_t i = lHash & pGrid.mMask; pGrid.mTable[i] != -1; i = (i + 1) & pGrid.mMask)
        if (InCell(pGrid, pGrid.mTable[i], lHash, pLarge, pCells)) return pGrid.mTable[i];
    return -1;
}

// Builds the table of the grid: each run start of a coarse cell, under that cell's hash.
bool BuildCellTable(Grid& pGrid, MoxArray<int>& pTable)
{
    uint64_t lSize = 2;
    while (lSize < 2 * uint64_t(pGrid.mCount)) lSize *= 2;
    if (!Provide(pTable, static_cast<int>(lSize))) return false;
    int* lTable = pTable.GetArray();
    std::fill(lTable, lTable + lSize, -1);
    pGrid.mTable = lTable;
    pGrid.mMask = lSize - 1;
    for (int r = 0; r < pGrid.mCount; ++r) {
        const ConformEntry& lEntry = pGrid.mEntries[pGrid.mOrder[r].mEntry];
        if (r > 0 && InCell(pGrid, r - 1, pGrid.mOrder[r].mHash, lEntry.mLarge, lEntry.mCoarse)) continue;
        uint64_t i = pGrid.mOrder[r].mHash & pGrid.mMask;
        while (lTable[i] != -1) i = (i + 1) & pGrid.mMask;
        lTable[i] = r;
    }
    return true;
}

// Looks for a partner of entry pEntry among the entries of coarse cell (pLarge, pCells); marks both on
// success.
bool MatchInCell(const Grid& pGrid, int pEntry, unsigned char pLarge, const double* pCells)
{
    const int lStart = FindCell(pGrid, pLarge, pCells);
    if (lStart < 0) return false;
    const uint64_t lHash = pGrid.mOrder[lStart].mHash;
    for (int i = lStart; i < pGrid.mCount && InCell(pGrid, i, lHash, pLarge, pCells); ++i) {
        const int lOther = pGrid.mOrder[i].mEntry;
        if (lOther == pEntry || !Coincide(pGrid.mEntries[pEntry], pGrid.mEntries[lOther])) continue;
        pGrid.mEntries[pEntry].mMatched = true;
        pGrid.mEntries[lOther].mMatched = true;
        return true;
    }
    return false;
}

// Looks for a partner of an entry alone in its fine cell, in its own coarse cell and in the adjacent ones
// that its position near the cell borders allows (at most 16 cells).
void MatchAlone(const Grid& pGrid, int pEntry)
{
    const ConformEntry& lEntry = pGrid.mEntries[pEntry];
    int lSteps[4] = {0, 0, 0, 0};
    for (int d = 0; d < 4; ++d) {
        if (lEntry.mLarge & (1 << d)) continue;
        const double lInCell = lEntry.mValue[d] * sgCoarseScale - lEntry.mCoarse[d];
        lSteps[d] = lInCell < sgBorderMargin ? -1 : lInCell > 1.0 - sgBorderMargin ? 1 : 0;
    }
    for (int lCombination = 0; lCombination < 16; ++lCombination) {
        double lCells[4];
        bool lValid = true;
        for (int d = 0; d < 4; ++d) {
            const bool lStep = (lCombination >> d) & 1;
            lValid = lValid && (!lStep || lSteps[d] != 0);
            lCells[d] = lEntry.mCoarse[d] + (lStep ? lSteps[d] : 0);
        }
        if (lValid && MatchInCell(pGrid, pEntry, lEntry.mLarge, lCells)) return;
    }
}

// Marks every entry that coincides with another one, through the grid: entries sharing a fine cell
// coincide; an entry alone in its fine cell is compared with the entries of the coarse cells it may reach.
void MatchThroughGrid(ConformEntry* pEntries, int pCount, ConformScratch& pScratch)
{
    if (!Provide(pScratch.mOrder, pCount)) return;
    GridSlot* lOrder = pScratch.mOrder.GetArray();
    for (int i = 0; i < pCount; ++i) {
        SetGridCells(pEntries[i]);
        lOrder[i] = GridSlot{CoarseCellHash(pEntries[i].mLarge, pEntries[i].mCoarse), i};
    }
    std::sort(lOrder, lOrder + pCount, [pEntries](const GridSlot& pA, const GridSlot& pB) {
        if (pA.mHash != pB.mHash) return pA.mHash < pB.mHash;
        const ConformEntry& lA = pEntries[pA.mEntry];
        const ConformEntry& lB = pEntries[pB.mEntry];
        const int lCoarse = CompareCoarse(lA, lB.mLarge, lB.mCoarse);
        if (lCoarse != 0) return lCoarse < 0;
        return std::lexicographical_compare(lA.mFine, lA.mFine + 4, lB.mFine, lB.mFine + 4);
    });
    for (int lBegin = 0; lBegin < pCount;) {
        int lEnd = lBegin + 1;
        while (lEnd < pCount && SameFineCell(pEntries[lOrder[lBegin].mEntry], pEntries[lOrder[lEnd].mEntry])) ++lEnd;
        if (lEnd - lBegin > 1)
            for (int i = lBegin; i < lEnd; ++i) pEntries[lOrder[i].mEntry].mMatched = true;
        lBegin = lEnd;
    }
    Grid lGrid;
    lGrid.mEntries = pEntries;
    lGrid.mOrder = lOrder;
    lGrid.mCount = pCount;
    if (!BuildCellTable(lGrid, pScratch.mTable)) return;
    for (int i = 0; i < pCount; ++i)
        if (!pEntries[i].mMatched) MatchAlone(lGrid, i);
}

// The element indices, ascending and distinct, of the polygon vertices of control point pPoint whose reference
// normals coincide within the tolerance with the reference normal of at least one other polygon vertex of
// the point: exactly the indices that comparing every pair inserts. An entry whose element index lies outside the
// reference array, or whose reference normal has a component that is not finite, coincides with nothing.
void FindCoincidingIndices(const MoxMesh::ControlPointToVerticesMap& pGroups, int pPoint,
                           const LockedValues<int>* pIndices, const LockedValues<MoxVector4>& pReference,
                           ConformScratch& pScratch)
{
    const int lCount = pGroups.GetCount(pPoint);
    pScratch.mIndexCount = 0;
    if (!Provide(pScratch.mEntries, lCount) || !Provide(pScratch.mIndices, lCount)) return;
    ConformEntry* lEntries = pScratch.mEntries.GetArray();
    int lUsed = 0;
    for (int j = 0; j < lCount; ++j) {
        const int lPolygonVertex = pGroups.GetVertex(pPoint, j);
        const int lIndex = pIndices ? pIndices->At(lPolygonVertex) : lPolygonVertex;
        if (!pReference.Has(lIndex)) continue;
        const MoxVector4& lValue = pReference[lIndex];
        if (!std::isfinite(lValue[0]) || !std::isfinite(lValue[1]) || !std::isfinite(lValue[2]) ||
            !std::isfinite(lValue[3]))
            continue;
        lEntries[lUsed].mValue = lValue;
        lEntries[lUsed].mIndex = lIndex;
        lEntries[lUsed].mMatched = false;
        ++lUsed;
    }
    if (lUsed <= sgPairwiseLimit)
        MatchPairwise(lEntries, lUsed);
    else
        MatchThroughGrid(lEntries, lUsed, pScratch);
    int* lIndices = pScratch.mIndices.GetArray();
    int lFound = 0;
    for (int i = 0; i < lUsed; ++i)
        if (lEntries[i].mMatched) lIndices[lFound++] = lEntries[i].mIndex;
    std::sort(lIndices, lIndices + lFound);
    pScratch.mIndexCount = static_cast<int>(std::unique(lIndices, lIndices + lFound) - lIndices);
}

// Replaces this element's values at the pCount indices pIndices by their normalised average (the sum
// starting from the zero vector, in ascending index order).
void AverageElementValues(MoxLayerElementNormal& pElement, const int* pIndices, int pCount)
{
    const LockedValues<MoxVector4> lValues(&pElement.GetDirectArray(), MoxLayerElementArray::eReadWriteLock);
    MoxVector4 lSum;
    for (int i = 0; i < pCount; ++i) lSum += lValues.At(pIndices[i]);
    MoxVector4 lAverage = lSum / static_cast<double>(pCount);
    lAverage.Normalize();
    for (int i = 0; i < pCount; ++i)
        if (lValues.Has(pIndices[i])) lValues[pIndices[i]] = lAverage;
}

// Conforms one normal element to the reference element of the same rank, control point after control
// point (points with 1 or 2 polygon vertices are left alone). Each point reads the reference after the
// previous points were written, which matters when the reference is this mesh.
void ConformElement(const MoxMesh::ControlPointToVerticesMap& pGroups, MoxLayerElementNormal& pElement,
                    const MoxLayerElementNormal& pReference, ConformScratch& pScratch)
{
    // The reference is only read, through a read lock.
    auto* lReferenceArray = const_cast<MoxLayerElementArrayTemplate<MoxVector4>*>(&pReference.GetDirectArray());
    const LockedValues<MoxVector4> lReference(lReferenceArray, MoxLayerElementArray::eReadLock);
    const bool lIndexed = pElement.GetReferenceMode() != MoxLayerElement::eDirect;
    const LockedValues<int> lIndices(lIndexed ? &pElement.GetIndexArray() : nullptr, MoxLayerElementArray::eReadLock);
    for (int q = 0; q < pGroups.GetCount(); ++q) {
        if (pGroups.GetCount(q) <= 2) continue;
        FindCoincidingIndices(pGroups, q, lIndexed ? &lIndices : nullptr, lReference, pScratch);
        if (pScratch.mIndexCount > 0)
            AverageElementValues(pElement, pScratch.mIndices.GetArray(), pScratch.mIndexCount);
    }
}

}  // namespace

// ---- Normals per control point --------------------------------------------------------------------------

void MoxMesh::ComputeNormalsPerCtrlPoint(MoxArray<VertexNormalInfo>& pNormalInfo, bool pCW)
{
    pNormalInfo.Resize(GetControlPointsCount(), false);
    if (!AccumulateCornerNormals(*this, pNormalInfo.GetArray(), pNormalInfo.GetCapacity(), pCW)) {
        pNormalInfo.Clear();
        MOX_REPORT(sgFile, sgFailed.mText);
    }
}

void MoxMesh::GenerateNormalsByCtrlPoint(bool pCW)
{
    MoxArray<VertexNormalInfo> lNormals;
    ComputeNormalsPerCtrlPoint(lNormals, pCW);
    InitWrittenNormals(*this, 0, GetControlPointsCount());
    WriteAveragedNormals(NormalArray(*this, __func__), lNormals, GetControlPointsCount());
}

// ---- Normals per polygon vertex ---------------------------------------------------------------------------

// Entry k belongs to the k-th corner of the walk; a polygon table whose runs leave mPolygonVertices can
// walk past the array (those writes go through operator[] and are reported) or leave entries unreached
// (those are left empty rather than uninitialised).
void MoxMesh::ComputeNormalsPerPolygonVertex(MoxArray<VertexNormalInfo>& pNormalInfo, bool pCW)
{
    const MoxVector4* lPoints = GetControlPoints();
    if (!lPoints) {
        MOX_REPORT(sgFile, sgNoControlPoints.mText);
        return;
    }
    pNormalInfo.ResizeUninitialized(GetPolygonVertexCount(), false);
    const int lPointCount = GetControlPointsCount();
    const int lCount = pNormalInfo.GetCount();
    VertexNormalInfo* lData = pNormalInfo.GetArray();
    int64_t k = 0;
    const bool lComplete = ForEachCorner(*this, [&](int pCurrent, int pPrevious, int pNext) {
        if (!IsBelow(pCurrent, lPointCount) || !IsBelow(pPrevious, lPointCount) || !IsBelow(pNext, lPointCount))
            return false;
        MoxVector4 lNormal = CornerNormal(lPoints[pPrevious], lPoints[pCurrent], lPoints[pNext], pCW);
        lNormal.Normalize();
        VertexNormalInfo& lEntry = k < lCount ? lData[k] : pNormalInfo[static_cast<int>(std::min<int64_t>(k, INT_MAX))];
        lEntry.mTotalNormal = lNormal;
        lEntry.mNumNormal = 1;
        ++k;
        return true;
    });
    if (!lComplete) {
        pNormalInfo.Clear();
        MOX_REPORT(sgFile, sgFailed.mText);
        return;
    }
    if (k < lCount)
        std::memset(static_cast<void*>(lData + k), 0, static_cast<size_t>(lCount - k) * sizeof(VertexNormalInfo));
}

bool MoxMesh::GenerateNormals(bool pOverwrite, bool pByCtrlPoint, bool pCW)
{
    MoxLayer* lLayer = GetLayer(0);
    if (!lLayer) return false;
    if (MoxLayerElementNormal* lExisting = lLayer->GetNormals()) {
        if (!pOverwrite) return true;
        if (!HoldsNormals(*this, pByCtrlPoint ? GetControlPointsCount() : GetPolygonVertexCount())) lExisting->Clear();
    }
    if (pByCtrlPoint) {
        GenerateNormalsByCtrlPoint(pCW);
        return true;
    }
    // A well-formed mesh gets its normals written straight into the element; any other goes through the
    // records of ComputeNormalsPerPolygonVertex, with their reports and checked reads. Both give the same
    // values.
    // With well-formed topology polygon vertex k is the k-th corner of the walk and no read leaves an
    // array, so the corner normals can be written straight into the element.
    const bool lWellFormed = GetControlPoints() && HasWellFormedTopology();
    MoxArray<VertexNormalInfo> lRecords;
    if (!lWellFormed) ComputeNormalsPerPolygonVertex(lRecords, pCW);
    SmoothTargets lSmooth(*this, lRecords);
    if (GetElementSmoothingCount() > 0) GatherSmoothTargets(*this, lSmooth, __func__);
    if (!lWellFormed) lSmooth.ApplyMarked();
    const int lCount = GetPolygonVertexCount();
    InitWrittenNormals(*this, lCount, lCount);
    MoxLayerElementArrayTemplate<MoxVector4>* lDirect = NormalArray(*this, __func__);
    if (lWellFormed)
        WriteCornerNormals(*this, lDirect, pCW, lSmooth);
    else
        WriteAveragedNormals(lDirect, lRecords, lCount);
    return true;
}

// ---- Winding check and conforming --------------------------------------------------------------------------

// Existential on purpose: the first control point whose stored normal lies within the tolerance of its
// counter-clockwise normal answers true.
bool MoxMesh::CheckIfVertexNormalsCCW()
{
    MoxLayer* lLayer = GetLayer(0);
    MoxLayerElementNormal* lElement = lLayer ? lLayer->GetNormals() : nullptr;
    if (!lElement || lElement->GetDirectArray().GetCount() == 0) return false;
    const int lPointCount = GetControlPointsCount();
    if (lElement->GetReferenceMode() != MoxLayerElement::eDirect &&
        lElement->GetIndexArray().GetCount() != lPointCount) {
        MOX_REPORT(sgFile, sgNormalIndicesNotPerPoint.mText);
        return false;
    }
    MoxArray<VertexNormalInfo> lExpected;
    lExpected.Resize(lPointCount, false);
    if (!AccumulateCornerNormals(*this, lExpected.GetArray(), lExpected.GetCapacity(), false)) {
        MOX_REPORT(sgFile, sgCornerOutsideControlPoints.mText);
        return false;
    }
    MoxLayerElementArrayTemplate<MoxVector4>* lDirect = nullptr;
    const bool lValid = GetNormals(&lDirect);
    if (!lValid || !lDirect) {
        MOX_REPORT(sgFile, sgNoNormalValues.mText);
        return false;
    }
    // Through the index array when the element has one (as long as the control points, checked above).
    const MoxLayerElementReader<MoxVector4> lStored(lElement);
    bool lMatch = false;
    ForEachMeanNormal(lExpected.GetArray(), std::min(lPointCount, lExpected.GetCount()), true,
                      [&](int pPoint, const MoxVector4& pExpected) {
                          MoxVector4 lNormal;
                          lMatch = lStored.Value(lStored.IndexOf(pPoint), lNormal) &&
                                   (lNormal - pExpected).Length() < sgWindingTolerance;
                          return !lMatch;
                      });
    return lMatch;
}

// At every control point with more than two polygon vertices, all polygon vertices whose reference normals
// coincide with another's share one average: two separate smooth groups meeting at a point are merged.
bool MoxMesh::ConformNormalsTo(const MoxMesh* pMesh)
{
    if (!pMesh || !SameTopology(*this, *pMesh) || !SameNormalLayout(*this, *pMesh)) return false;
    ControlPointToVerticesMap lGroups;
    ComputeControlPointToVerticesMap(lGroups);
    if (!lGroups.Valid()) {
        MOX_REPORT(sgFile, sgNoControlPointGroups.mText);
        return false;
    }
    ConformScratch lScratch;
    for (int i = 0; i < GetElementNormalCount(); ++i) {
        MoxLayerElementNormal* lElement = GetElementNormal(i);
        const MoxLayerElement::EMappingMode lMapping = lElement->GetMappingMode();
        if (lMapping == MoxLayerElement::eByControlPoint || lMapping == MoxLayerElement::eByPolygonVertex)
            ConformElement(lGroups, *lElement, *pMesh->GetElementNormal(i), lScratch);
    }
    return true;
}

}  // namespace moxsdk
