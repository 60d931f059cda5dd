// Tangent and binormal generation: one tangent and one binormal per polygon vertex for a UV set.
//
// Every polygon is cut into triangles (the whole polygon when the mesh holds triangles only, otherwise
// a fan from its first vertex); each triangle gives per-corner frames (ComputeTangentsForTriangle, four
// triangles at a time) and every corner becomes one record. The records of one control point are then
// welded: a record joins the group of the LATEST earlier record whose normal agrees within 1e-06 in all
// four components, whose UV index is equal and whose handedness (tangent w) is equal unless handedness
// is ignored; a record with no such predecessor starts a group. Each group's tangents and binormals are summed in list
// order, normalised, given w = -1.0 when the summed w is negative and +1.0 otherwise, and written at the polygon vertex
// of every member. The "latest earlier match" rule is what assigning groups pairwise in list order, later matches
// overwriting earlier ones, amounts to; it is order-dependent and not transitive, and the weld reproduces it exactly.
//
// Kept on purpose:
// - In the fan pass a polygon of fewer than 2 vertices still moves the running polygon-vertex counter by
//   2, so the records of the polygons after it land at shifted polygon vertices (and their control point
//   is read at the shifted position). The triangle pass never shifts.
// - A record's control point is mPolygonVertices at its (running) polygon-vertex index; an index past
//   the array is read through the array's checked access, which reports it.
// - The "already has tangents" test looks at layer 0, whatever layer receives the result.
// - Normals and UVs are read through the per-polygon-vertex lookups (normal element 0; the first UV set
//   bearing the UV set's name), the UV index through the index lookup on the given UV set. The common
//   mapping and reference modes are resolved once for the whole mesh; any corner whose lookup would
//   fail or report goes through the checked lookup itself, so reports and results are the same.
//
// Decisions where the rules leave room:
// - A corner whose normal or UV lookup fails, or whose UV is unmapped, takes (0, 0, 0, 0) / (0, 0). The UV
//   index is one running value handed to the index lookup, which sets it (to -1 when it fails); it starts
//   at -1.
// - A record whose control point lies outside 0 .. control point count - 1 joins no list (also in the fan
//   pass), and a polygon-vertex index outside the locked tangent or binormal array is not written: the
//   result arrays and the lists are never addressed out of range. A missing tangent array is skipped like
//   a missing binormal array.
// - A negative control point ("pv >= 0") frees every working array before returning false.
// - The per-polygon-vertex raw tangent and binormal arrays are allocated (their shortage fails the call
//   as "lTangents" / "lBinormals") but never written: what they would hold (the triangle pass's frames
//   on their way to the records, the fan pass's running averages) never reaches the result.
// - All working memory (lists, frames, the weld's keys and grid) is had before any layer changes; a
//   shortage after the raw arrays reports "lData". One exception: when the output element could not be
//   made or sized (memory ran out there, and its own report says so), the frames that were to live in it
//   go to working arrays allocated then, and their shortage reports "lData" after the layer changed.
// - A UV set name of null compares as the empty string. A layer index without a layer gives a null UV set
//   (false) in GenerateTangentsData(int, ...).
// - More than INT_MAX corners cannot be recorded: "lData" is reported and false returned.
//
// Layout of the work (the results are those of the rules above, bit for bit):
// - A plan walks the corners first, reading only the polygon arrays. When every corner the pass reads and
//   every polygon vertex a record goes to lie inside mPolygonVertices, no corner is negative and no fan
//   polygon has fewer than 3 vertices (every well-formed mesh), the pass cannot fail and the records are
//   the polygon vertices 0 .. n - 1 themselves: they are grouped by control point before the pass, and
//   a record's slot is its polygon vertex ("plain" records). Otherwise the pass notes each record's
//   polygon vertex and control point, its slot is its number, and the lists are grouped after the pass.
// - A record's frame lives in a tangent and a binormal slot. With plain records whose output element
//   covers every polygon vertex, the slots are the output's own values (the weld sums them and writes the
//   finished sums over them); otherwise they are working arrays. The weld's other inputs ride in the w components until
//   the weld reads them: the tangent's w is +-(normal index + 2), the binormal's w the UV index (both exact
//   in a double); the weld puts back +-1.0 and 0.0 before summing. A record keeps its normal as the index
//   of its value in the normal element's direct array (-1: the zero normal), which the weld reads back.
// - Plain records are welded during the pass: a control point's list as soon as its last record is stored
//   (ListWelder). Lists share no slot, so the order in which they are welded changes nothing. Other records
//   are welded list by list after the pass.
// - Plain records covering every polygon vertex write every output value, so the output is sized without
//   zeroing its values first, in the storage of an element already there when that holds enough:
//   re-running the generation neither frees nor zero-fills it. Otherwise the output starts at zero.
//
// Cost: the plan, the pass and the lists (count, prefix sum, place) are linear in the corners. The weld
// scans short lists directly; a list longer than sgPlainWeldLimit goes through a grid of normal cells
// keyed also by UV index and handedness (WeldGrid), so that a control point shared by n corners costs
// O(n) rather than the O(n^2) of comparing all pairs. Working memory that grows with the mesh: 4 bytes per
// corner and 4 per control point with plain records whose frames live in the output, 76 bytes per corner
// otherwise (the raw arrays are address space only).

#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "core/base/moxcountingsort.h"
#include "core/base/moxgridhash.h"
#include "core/base/moxidtable.h"
#include "core/base/moxscratch.h"
#include "moxsdk/core/math/moxmath.h"
#include "moxsdk/core/moxassert.h"
#include "moxsdk/scene/geometry/moxlayerelementreader.h"
#include "moxsdk/scene/geometry/moxmesh.h"
#include "scene/geometry/detail/moxmeshreports.h"
#include "scene/geometry/detail/moxtangentbasis.h"
#include "scene/geometry/detail/moxunwrittenvalues.h"

namespace moxsdk {
namespace {

constexpr const char* sgFile = "scene/geometry/moxmesh";
using namespace detail::meshreports;
constexpr const char* sgWorker = "GenerateTangentsData";
// Corners of one control point weld when their normals agree within this, in all four components.
constexpr double sgWeldTolerance = 1e-06;
// Lists up to this length are welded by a direct backward scan; longer ones through WeldGrid.
constexpr int sgPlainWeldLimit = 32;

void ReportFromWorker(unsigned int pLine, const char* pMessage)
{
    _MoxAssert(sgFile, sgWorker, pLine, pMessage);
}

// Polygon-vertex indices of the fan pass run on in 64 bits; a record keeps INT_MAX for anything larger
// (which no array reaches).
int ClampToInt(int64_t pValue)
{
    return pValue > INT_MAX ? INT_MAX : static_cast<int>(pValue);
}

// ---- Frames and output --------------------------------------------------------------------------------

// The locked tangent and binormal arrays of the target layer; either may be missing.
struct FrameOutput {
    MoxLayerElementArrayTemplate<MoxVector4>* mTangentArray = nullptr;
    MoxLayerElementArrayTemplate<MoxVector4>* mBinormalArray = nullptr;
    MoxVector4* mTangents = nullptr;
    MoxVector4* mBinormals = nullptr;
    int mTangentCount = 0;
    int mBinormalCount = 0;

    void Lock()
    {
        if (mTangentArray) {
            mTangents = mTangentArray->GetLocked(MoxLayerElementArray::eReadWriteLock);
            mTangentCount = mTangents ? mTangentArray->GetCount() : 0;
        }
        if (mBinormalArray) {
            mBinormals = mBinormalArray->GetLocked(MoxLayerElementArray::eReadWriteLock);
            mBinormalCount = mBinormals ? mBinormalArray->GetCount() : 0;
        }
    }
    void Release()
    {
        if (mTangents) mTangentArray->Release(&mTangents);
        if (mBinormals) mBinormalArray->Release(&mBinormals);
    }
    // Both arrays hold at least pCount values.
    bool Covers(int pCount) const { return mTangentCount >= pCount && mBinormalCount >= pCount; }
    void Write(int pPolygonVertex, const MoxVector4& pTangent, const MoxVector4& pBinormal) const
    {
        if (pPolygonVertex < mTangentCount) mTangents[pPolygonVertex] = pTangent;
        if (pPolygonVertex < mBinormalCount) mBinormals[pPolygonVertex] = pBinormal;
    }
};

// The tangent and binormal elements of pLayer, one direct value per polygon vertex, named pName, locked.
// With pWritesAll (the caller writes every value) their values are neither zeroed nor kept, and storage
// that holds enough is reused.
FrameOutput CreateOutput(MoxMesh& pMesh, int pLayer, const char* pName, bool pWritesAll)
{
    FrameOutput lOutput;
    const int lCount = pMesh.GetPolygonVertexCount();
    if (pWritesAll) {
        detail::MoxUnwrittenValues::InitTangents(pMesh, lCount, pLayer, pName);
        detail::MoxUnwrittenValues::InitBinormals(pMesh, lCount, pLayer, pName);
    } else {
        pMesh.InitTangents(lCount, pLayer, pName);
        pMesh.InitBinormals(lCount, pLayer, pName);
    }
    pMesh.GetTangents(&lOutput.mTangentArray, pLayer);
    pMesh.GetBinormals(&lOutput.mBinormalArray, pLayer);
    lOutput.Lock();
    return lOutput;
}

// Where the pass leaves each record's frame: a tangent and a binormal per slot, either working arrays or
// the output's own arrays. The weld's inputs ride in the w components (see the file comment).
class FrameSlots {
public:
    // Frames in pBlock, room for pSlotCount tangents and as many binormals.
    void UseWorking(MoxVector4* pBlock, int pSlotCount)
    {
        mTangents = pBlock;
        mBinormals = pBlock + pSlotCount;
    }
    // Frames in the output's arrays, written in place by the weld.
    void UseOutput(const FrameOutput& pOutput)
    {
        mTangents = pOutput.mTangents;
        mBinormals = pOutput.mBinormals;
    }

    // The frame of a new record, with its normal's direct-array index and its UV index.
    void Store(int pSlot, const MoxVector4& pTangent, const MoxVector4& pBinormal, int pNormalIndex, int pUVIndex) const
    {
        mTangents[pSlot] = pTangent;
        mTangents[pSlot][3] = pTangent[3] * (pNormalIndex + 2.0);
        mBinormals[pSlot] = pBinormal;
        mBinormals[pSlot][3] = pUVIndex;
    }

    // Takes back what Store put in the w components: the tangent's w becomes +-1.0 again (returned: true
    // when mirrored), the binormal's 0.0.
    bool TakeInputs(int pSlot, int& pNormalIndex, int& pUVIndex) const
    {
        double& lTangentW = mTangents[pSlot][3];
        const bool lMirrored = lTangentW < 0.0;
        pNormalIndex = static_cast<int>(std::fabs(lTangentW)) - 2;
        lTangentW = lMirrored ? -1.0 : 1.0;
        pUVIndex = static_cast<int>(mBinormals[pSlot][3]);
        mBinormals[pSlot][3] = 0.0;
        return lMirrored;
    }

    MoxVector4& Tangent(int pSlot) const { return mTangents[pSlot]; }
    MoxVector4& Binormal(int pSlot) const { return mBinormals[pSlot]; }

private:
    MoxVector4* mTangents = nullptr;
    MoxVector4* mBinormals = nullptr;
};

// ---- Reading corners ----------------------------------------------------------------------------------

// The direct-array index of an element's value for the corner at pPolygonVertex (polygon start +
// position) of polygon pPolygon, when the index lookup gives it there without a report; false sends the
// caller to the checked lookup. The index may still be -1 or outside the direct array.
template <class T>
bool TryLookupIndex(const MoxLayerElementReader<T>& pElement, int pPolygon, int64_t pPolygonVertex,
                    const int* pVertices, int pVertexCount, int& pIndex)
{
    // The lookup maps these three only; it reports the others, and a control point it cannot read.
    const MoxLayerElement::EMappingMode lMapping = pElement.GetMappingMode();
    if (lMapping != MoxLayerElement::eByPolygonVertex && lMapping != MoxLayerElement::eByPolygon &&
        lMapping != MoxLayerElement::eByControlPoint)
        return false;
    const bool lVertexInside = pPolygonVertex >= 0 && pPolygonVertex < pVertexCount;
    if (lMapping == MoxLayerElement::eByControlPoint && !lVertexInside) return false;
    const int lControlPoint = lVertexInside ? pVertices[pPolygonVertex] : -1;
    const int64_t lComponent = pElement.Component(pPolygon, pPolygonVertex, lControlPoint);
    // A negative direct component is an index the caller checks against the direct array.
    if (lComponent < 0 && pElement.GetReferenceMode() == MoxLayerElement::eDirect) {
        if (lComponent < INT_MIN) return false;
        pIndex = static_cast<int>(lComponent);
        return true;
    }
    return pElement.TryIndex(lComponent, pIndex);
}

// Triangles on their way through the batch computation of their frames, with each corner's slot (-1: no
// record), its UV index and the direct-array index of its normal (-1: the zero normal), which the weld
// compares.
class ListWelder;

struct TriangleBatch {
    detail::MoxTangentBatch mFrames;
    int mSlots[detail::sgTangentLanes][3] = {};
    int mUVIndices[detail::sgTangentLanes][3] = {};
    int mNormalIndices[detail::sgTangentLanes][3] = {};
    int mControlPoints[detail::sgTangentLanes][3] = {};  // of the records
    int mCount = 0;                                      // triangles gathered; the next one goes to lane mCount

    // Corner pCorner of the triangle in lane mCount goes to pSlot (-1: no record), a record of pControlPoint.
    void SetRecord(int pCorner, int pSlot, int pControlPoint)
    {
        mSlots[mCount][pCorner] = pSlot;
        mControlPoints[mCount][pCorner] = pControlPoint;
    }

    // The triangle just read into lane mCount is complete; a full batch is computed and stored.
    void Commit(const FrameSlots& pFrames, ListWelder* pWelder)
    {
        if (++mCount == detail::sgTangentLanes) Flush(pFrames, pWelder);
    }

    // The frames of the gathered triangles, stored in the slots of their records; then, with pWelder, the
    // lists these records complete are welded.
    void Flush(const FrameSlots& pFrames, ListWelder* pWelder);
};

// Reads corners: control point, position, normal, UV index and UV, in that order, as the lookups give them.
class CornerReader {
public:
    CornerReader(const MoxMesh& pMesh, const MoxLayerElementUV* pUVSet) : mMesh(pMesh), mUVSetName(pUVSet->GetName())
    {
        mPolygons = pMesh.mPolygons.GetArray();
        mVertices = pMesh.mPolygonVertices.GetArray();
        mVertexCount = pMesh.mPolygonVertices.GetCount();
        mPoints = pMesh.GetControlPoints();
        mPointCount = pMesh.GetControlPointsCount();
        mNormals.Bind(pMesh.GetElementNormal(0));
        mUVIndices.Bind(pUVSet);
        mUVValues.Bind(pMesh.GetElementUV(mUVSetName));
    }

    // Corner pPosition of polygon pPolygon as corner pCorner of the triangle in pBatch's next lane; false
    // (nothing else read) when its control point is negative.
    bool Read(int pPolygon, int pPosition, TriangleBatch& pBatch, int pCorner)
    {
        const int64_t lVertex = int64_t(mPolygons[pPolygon].mIndex) + pPosition;
        const int lControlPoint =
            lVertex >= 0 && lVertex < mVertexCount ? mVertices[lVertex] : mMesh.GetPolygonVertex(pPolygon, pPosition);
        if (lControlPoint < 0) return false;
        const int lLane = pBatch.mCount;
        MoxVector4 lNormal;
        pBatch.mNormalIndices[lLane][pCorner] = ReadNormal(pPolygon, pPosition, lVertex, lNormal);
        if (!TryLookupIndex(mUVIndices, pPolygon, lVertex, mVertices, mVertexCount, mUVIndex))
            mMesh.GetPolygonVertexLayerElementIndex(mUVIndices.GetElement(), pPolygon, pPosition, mUVIndex);
        pBatch.mUVIndices[lLane][pCorner] = mUVIndex;
        MoxVector2 lUV;
        ReadUV(pPolygon, pPosition, lVertex, lUV);
        // GetControlPointAt's value: the point, or zero past the control points.
        pBatch.mFrames.SetCorner(lLane, pCorner, lControlPoint < mPointCount ? mPoints[lControlPoint] : MoxVector4(),
                                 lNormal, lUV);
        return true;
    }

    // The control point recorded for running polygon-vertex index pIndex: mPolygonVertices[pIndex], through
    // the array's checked access (which reports) when pIndex is outside it.
    int ControlPointAt(int64_t pIndex) const
    {
        return pIndex < mVertexCount ? mVertices[pIndex] : mMesh.mPolygonVertices[ClampToInt(pIndex)];
    }

    // The normal at direct-array index pIndex as Read gave it (-1: the zero normal).
    MoxVector4 NormalAt(int pIndex) const { return pIndex < 0 ? MoxVector4() : mNormals.GetDirect()[pIndex]; }

private:
    // The corner's normal into pNormal; returns its direct-array index, -1 for the zero normal. The checked
    // lookup fails wherever the fast one does; should it ever succeed, it did so without a report, and so
    // does asking it for the index.
    int ReadNormal(int pPolygon, int pPosition, int64_t pVertex, MoxVector4& pNormal) const
    {
        pNormal = MoxVector4();
        int lIndex = -1;
        if (TryLookupIndex(mNormals, pPolygon, pVertex, mVertices, mVertexCount, lIndex) &&
            mNormals.Value(lIndex, pNormal))
            return lIndex;
        if (!mMesh.GetPolygonVertexNormal(pPolygon, pPosition, pNormal)) return -1;
        mMesh.GetPolygonVertexLayerElementIndex(mNormals.GetElement(), pPolygon, pPosition, lIndex);
        return lIndex;
    }

    void ReadUV(int pPolygon, int pPosition, int64_t pVertex, MoxVector2& pUV) const
    {
        pUV = MoxVector2();
        // Without a UV set of that name the lookup fails without a report.
        if (!mUVValues.IsPresent()) return;
        int lIndex = -1;
        if (TryLookupIndex(mUVValues, pPolygon, pVertex, mVertices, mVertexCount, lIndex)) {
            if (lIndex == -1 || mUVValues.Value(lIndex, pUV)) return;
        }
        bool lUnmapped = false;
        mMesh.GetPolygonVertexUV(pPolygon, pPosition, mUVSetName, pUV, lUnmapped);
        if (lUnmapped) pUV = MoxVector2();
    }

    const MoxMesh& mMesh;
    const char* mUVSetName;
    const MoxMesh::PolygonDef* mPolygons = nullptr;
    const int* mVertices = nullptr;
    int mVertexCount = 0;
    const MoxVector4* mPoints = nullptr;
    int mPointCount = 0;
    MoxLayerElementReader<MoxVector4> mNormals;
    MoxLayerElementReader<MoxVector2> mUVIndices;
    MoxLayerElementReader<MoxVector2> mUVValues;
    int mUVIndex = -1;  // running: the index lookup sets it for every corner
};

// ---- Plan and lists -----------------------------------------------------------------------------------

// What the pass will meet, from the polygon arrays alone.
struct CornerPlan {
    int64_t mCapacity = 0;  // records the pass can make; -1 when that passes INT_MAX
    bool mPlain = true;     // the records are the polygon vertices 0 .. mCapacity - 1 (see the file comment)
};

// Walks the corners as the pass will: every polygon as one triangle (pTriangles) or as a fan, the running
// index moving by the polygon's size, by 2 for fewer than 2 vertices.
CornerPlan PlanCorners(const MoxMesh& pMesh, bool pTriangles)
{
    CornerPlan lPlan;
    const int* lVertices = pMesh.mPolygonVertices.GetArray();
    const int64_t lVertexCount = pMesh.mPolygonVertices.GetCount();
    int64_t k = 0;
    for (const MoxMesh::PolygonDef& lPolygon : pMesh.mPolygons) {
        const int n = pTriangles ? 3 : (lPolygon.mSize > 0 ? lPolygon.mSize : 0);
        if (n < 3) {
            lPlan.mPlain = false;
            k += 2;
            continue;
        }
        lPlan.mCapacity += n;
        for (int i = 0; i < n && lPlan.mPlain; ++i) {
            const int64_t lVertex = int64_t(lPolygon.mIndex) + i;
            lPlan.mPlain = lVertex >= 0 && lVertex < lVertexCount && lVertices[lVertex] >= 0 && k + i < lVertexCount;
        }
        k += n;
    }
    if (lPlan.mCapacity > INT_MAX) lPlan.mCapacity = -1;
    return lPlan;
}

// The records of the pass grouped by control point: control point c's records are the slots
// GetList(c)[0 .. GetCount(c)), in the order in which the pass makes them (counting sort by control point).
// Plain records are the polygon vertices, grouped before the pass; other records are numbered as the pass
// makes them, with their polygon vertex and control point noted, and grouped after it.
class RecordLists {
public:
    RecordLists(bool pPlain, int64_t pCapacity, int pControlPointCount)
        : mBlock(int64_t(pControlPointCount) + 1 + (pPlain ? 1 : 3) * pCapacity),
          mPlain(pPlain),
          mCapacity(static_cast<int>(pCapacity)),
          mControlPointCount(pControlPointCount)
    {
        mOffsets = mBlock.Get();
        if (!mOffsets) return;
        mSlots = mOffsets + pControlPointCount + 1;
        mPolygonVertices = mSlots + pCapacity;
        mControlPoints = mPolygonVertices + pCapacity;
    }

    bool IsAllocated() const { return mBlock.Get() != nullptr; }
    bool IsPlain() const { return mPlain; }

    // Plain records: polygon vertices 0 .. capacity - 1 grouped by the control point each holds.
    void GroupPolygonVertices(const int* pVertices)
    {
        mPlaced = detail::MoxGroupByKey(pVertices, mCapacity, mControlPointCount, mOffsets, mSlots);
    }

    // The slot of the record at running polygon-vertex index pPolygonVertex, whose control point is
    // pControlPoint; -1, no record, for a control point outside the mesh's.
    int Add(int64_t pPolygonVertex, int pControlPoint)
    {
        if (!detail::MoxIsGroupKey(pControlPoint, mControlPointCount)) return -1;
        if (mPlain) return static_cast<int>(pPolygonVertex);
        mPolygonVertices[mCount] = ClampToInt(pPolygonVertex);
        mControlPoints[mCount] = pControlPoint;
        return mCount++;
    }

    // Other records: grouped once the pass has made them.
    void GroupRecords()
    {
        mPlaced = detail::MoxGroupByKey(mControlPoints, mCount, mControlPointCount, mOffsets, mSlots);
    }

    // Records in the lists.
    int GetPlaced() const { return mPlaced; }
    int GetLongest() const
    {
        int lLongest = 0;
        for (int c = 0; c < mControlPointCount; ++c)
            if (GetCount(c) > lLongest) lLongest = GetCount(c);
        return lLongest;
    }
    int GetControlPointCount() const { return mControlPointCount; }
    const int* GetList(int pControlPoint) const { return mSlots + mOffsets[pControlPoint]; }
    int GetCount(int pControlPoint) const { return mOffsets[pControlPoint + 1] - mOffsets[pControlPoint]; }
    // Slots 0 .. GetSlotCount() - 1 can hold a record.
    int GetSlotCount() const { return mCapacity; }
    // Where the record in pSlot is written.
    int PolygonVertexOf(int pSlot) const { return mPlain ? pSlot : mPolygonVertices[pSlot]; }

private:
    MoxScratch<int> mBlock;
    bool mPlain;
    int mCapacity;
    int mControlPointCount;
    int* mOffsets = nullptr;
    int* mSlots = nullptr;
    int* mPolygonVertices = nullptr;  // other records only
    int* mControlPoints = nullptr;    // other records only
    int mCount = 0;
    int mPlaced = 0;
};

// ---- The fan pass -------------------------------------------------------------------------------------

// Triangle meshes: one triangle per polygon; each corner's control point is read right after the corner.
// False after reporting "pv >= 0".
bool CollectTriangleRecords(const MoxMesh& pMesh, CornerReader& pReader, RecordLists& pLists, const FrameSlots& pFrames,
                            ListWelder* pWelder)
{
    TriangleBatch lBatch;
    int64_t k = 0;
    for (int p = 0; p < pMesh.GetPolygonCount(); ++p) {
        for (int j = 0; j < 3; ++j, ++k) {
            if (!pReader.Read(p, j, lBatch, j)) {
                ReportFromWorker(__LINE__, sgUnreadableCorner.mText);
                return false;
            }
            const int lControlPoint = pReader.ControlPointAt(k);
            lBatch.SetRecord(j, pLists.Add(k, lControlPoint), lControlPoint);
        }
        lBatch.Commit(pFrames, pWelder);
    }
    lBatch.Flush(pFrames, pWelder);
    return true;
}

// Other meshes: triangles (0, t + 1, t + 2). Positions 0 and 1 take their frame from triangle 0, position
// t + 2 from triangle t; a record goes to the running index + its position. False after "pv >= 0".
bool CollectFanRecords(const MoxMesh& pMesh, CornerReader& pReader, RecordLists& pLists, const FrameSlots& pFrames,
                       ListWelder* pWelder)
{
    TriangleBatch lBatch;
    int64_t k = 0;
    for (int p = 0; p < pMesh.GetPolygonCount(); ++p) {
        const int n = pMesh.mPolygons.GetArray()[p].mSize > 0 ? pMesh.mPolygons.GetArray()[p].mSize : 0;
        for (int t = 0; t + 2 < n; ++t) {
            const int lPositions[3] = {0, t + 1, t + 2};
            for (int c = 0; c < 3; ++c) {
                if (!pReader.Read(p, lPositions[c], lBatch, c)) {
                    ReportFromWorker(__LINE__, sgUnreadableCorner.mText);
                    return false;
                }
            }
            for (int c = 0; c < 3; ++c) {
                const int64_t lIndex = k + lPositions[c];
                const bool lRecorded = c >= (t == 0 ? 0 : 2);
                const int lControlPoint = lRecorded ? pReader.ControlPointAt(lIndex) : -1;
                lBatch.SetRecord(c, lRecorded ? pLists.Add(lIndex, lControlPoint) : -1, lControlPoint);
            }
            lBatch.Commit(pFrames, pWelder);
        }
        // A polygon of fewer than 2 vertices still moves the index by 2 (kept on purpose).
        k += n >= 2 ? n : 2;
    }
    lBatch.Flush(pFrames, pWelder);
    return true;
}

// Every record of the pass, its frame in pFrames; with pWelder, each list welded once complete. False after
// a report.
bool CollectRecords(const MoxMesh& pMesh, CornerReader& pReader, bool pTriangles, RecordLists& pLists,
                    const FrameSlots& pFrames, ListWelder* pWelder)
{
    return pTriangles ? CollectTriangleRecords(pMesh, pReader, pLists, pFrames, pWelder)
                      : CollectFanRecords(pMesh, pReader, pLists, pFrames, pWelder);
}

// ---- Weld groups --------------------------------------------------------------------------------------

// What the weld compares of one record.
struct WeldKey {
    MoxVector4 mNormal;
    int mUVIndex;
    bool mMirrored;  // tangent w of -1.0
    bool mFinite;    // every normal component finite
};

// True when the record of pB welds to the earlier record of pA. Equal finite normals agree within any
// tolerance, which spares the component differences in the common case of smooth corners.
bool Welds(const WeldKey& pA, const WeldKey& pB, bool pIgnoreHandedness)
{
    return pA.mUVIndex == pB.mUVIndex && (pIgnoreHandedness || pA.mMirrored == pB.mMirrored) &&
           ((pA.mFinite && pA.mNormal == pB.mNormal) || MoxEqual(pA.mNormal, pB.mNormal, sgWeldTolerance));
}

// Group of list entry j: the group of its latest earlier weld partner, or j itself. Direct scan.
void AssignGroupsByScan(const WeldKey* pKeys, int pCount, bool pIgnoreHandedness, int* pGroups)
{
    for (int j = 0; j < pCount; ++j) {
        int lPartner = -1;
        for (int i = j - 1; i >= 0 && lPartner < 0; --i)
            if (Welds(pKeys[i], pKeys[j], pIgnoreHandedness)) lPartner = i;
        pGroups[j] = lPartner < 0 ? j : pGroups[lPartner];
    }
}

// The same groups for long lists. Records are bucketed by (UV index, handedness unless ignored, normal
// cell), a cell being 2^-18 (about 3.8e-06) wide per component and centred on multiples of its width. A
// partner is at most 1e-06 (0.26 cell) away per component, so it lies in the record's own cell or, along
// a component within 0.3 cell of a border, in the neighbour across that border: at most 16 cells. The own
// cell is scanned backwards first, then the neighbours only down to the best partner found so far. When
// the records of a cell mostly weld (smooth fans, near-equal normals) every record stops after a few
// steps; in the worst case a record is passed over once per distinct mutually non-welding normal in its
// neighbourhood, a number bounded by the cell size, so the work stays linear in the list length.
// Components of magnitude 2^34 or more weld only to equal values (their spacing exceeds 1e-06) and are
// keyed by value; a normal with a NaN or infinite component welds to nothing.
class WeldGrid {
public:
    // Working memory for lists of up to pLongest records; none for 0.
    explicit WeldGrid(int pLongest)
        : mKeys(pLongest > 0 ? pLongest : -1),
          mCellOf(pLongest > 0 ? pLongest : -1),
          mCellStart(pLongest > 0 ? int64_t(pLongest) + 1 : -1),
          mCellItems(pLongest > 0 ? pLongest : -1),
          mCellFill(pLongest > 0 ? pLongest : -1),
          mNeeded(pLongest > 0),
          mHasTable(pLongest > 0 && mTable.Init(pLongest))
    {}

    bool IsAllocated() const
    {
        return !mNeeded ||
               (mHasTable && mKeys.Get() && mCellOf.Get() && mCellStart.Get() && mCellItems.Get() && mCellFill.Get());
    }

    void AssignGroups(const WeldKey* pRecords, int pCount, bool pIgnoreHandedness, int* pGroups)
    {
        mRecords = pRecords;
        mIgnoreHandedness = pIgnoreHandedness;
        BucketByCell(pCount);
        for (int j = 0; j < pCount; ++j) {
            const int lPartner = mCellOf[j] < 0 ? -1 : FindLatestPartner(j);
            pGroups[j] = lPartner < 0 ? j : pGroups[lPartner];
            if (mCellOf[j] >= 0) ++mCellFill[mCellOf[j]];
        }
    }

private:
    // A cell: its UV index and flags, then per component its grid coordinate or, keyed by value, the
    // component's bits.
    struct CellKey {
        static constexpr int sgWords = 5;
        uint64_t mWords[sgWords];
    };
    static constexpr uint64_t sgMirrored = uint64_t(1) << 36;  // flag: mirrored handedness
    static constexpr int sgValueKeyedShift = 32;               // flag bits 32 .. 35: component keyed by value

    static constexpr double sgCellScale = 262144.0;        // 2^18 cells per unit
    static constexpr double sgValueKeyed = 17179869184.0;  // 2^34

    // The key of pRecord's cell and, per component, the neighbour (-1, 0, +1) that may hold a partner.
    // False for a normal that welds to nothing.
    bool MakeKey(const WeldKey& pRecord, CellKey& pKey, int* pSides) const
    {
        uint64_t lFlags = !mIgnoreHandedness && pRecord.mMirrored ? sgMirrored : 0;
        for (int i = 0; i < 4; ++i) {
            const double lValue = pRecord.mNormal[i];
            if (!std::isfinite(lValue)) return false;
            pSides[i] = 0;
            if (std::fabs(lValue) >= sgValueKeyed) {
                std::memcpy(&pKey.mWords[1 + i], &lValue, sizeof(lValue));
                lFlags |= uint64_t(1) << (sgValueKeyedShift + i);
                continue;
            }
            // Cells centred on multiples of their width: exact values such as 0 and 1 lie mid-cell.
            const double lScaled = lValue * sgCellScale + 0.5;
            const int64_t lCell = MoxGridCoordinate(lScaled, 1.0);
            const double lOffset = lScaled - double(lCell);
            pSides[i] = lOffset < 0.3 ? -1 : (lOffset > 0.7 ? 1 : 0);
            pKey.mWords[1 + i] = uint64_t(lCell);
        }
        pKey.mWords[0] = uint64_t(uint32_t(pRecord.mUVIndex)) | lFlags;
        return true;
    }

    static uint64_t Hash(const CellKey& pKey)
    {
        return MoxGridCellHash(MoxGridLinearHash(pKey.mWords, CellKey::sgWords));
    }

    static bool SameKey(const CellKey& pA, const CellKey& pB)
    {
        return std::memcmp(pA.mWords, pB.mWords, sizeof(pA.mWords)) == 0;
    }

    // The cell of pKey; -1 when absent.
    int FindCell(const CellKey& pKey) const
    {
        return mTable.Find(Hash(pKey), [this, &pKey](int pCell) { return SameKey(mKeys[pCell], pKey); });
    }

    // The cell of pKey, added as the next cell when absent.
    int AddCell(const CellKey& pKey)
    {
        mKeys[mCellCount] = pKey;
        const int lCell = mTable.FindOrAdd(
            Hash(pKey), mCellCount, [this, &pKey](int pCell) { return SameKey(mKeys[pCell], pKey); },
            [this](int pCell) { return Hash(mKeys[pCell]); });
        if (lCell == mCellCount) ++mCellCount;
        return lCell;
    }

    // Cell of every entry, and every cell's entries in list order (counting sort by cell).
    void BucketByCell(int pCount)
    {
        // Within the room the constructor made: no allocation, and no growth while adding.
        mTable.Reset(pCount);
        mCellCount = 0;
        for (int j = 0; j < pCount; ++j) {
            CellKey lKey;
            int lSides[4];
            mCellOf[j] = MakeKey(mRecords[j], lKey, lSides) ? AddCell(lKey) : -1;
        }
        detail::MoxGroupByKey(mCellOf.Get(), pCount, mCellCount, mCellStart.Get(), mCellItems.Get());
        std::memset(mCellFill.Get(), 0, size_t(mCellCount) * sizeof(int));
    }

    // Latest entry of pCell before entry pEntry (the cell's filled part) that welds to it, scanning down to
    // pBest (exclusive); pBest when there is none.
    int ScanCell(int pCell, int pEntry, int pBest) const
    {
        const int* lItems = mCellItems.Get() + mCellStart[pCell];
        for (int i = mCellFill[pCell] - 1; i >= 0 && lItems[i] > pBest; --i)
            if (Welds(mRecords[lItems[i]], mRecords[pEntry], mIgnoreHandedness)) return lItems[i];
        return pBest;
    }

    // Latest earlier entry that entry pEntry welds to, or -1: its own cell first, then its neighbours.
    int FindLatestPartner(int pEntry) const
    {
        CellKey lKey{};
        int lSides[4] = {0, 0, 0, 0};
        MakeKey(mRecords[pEntry], lKey, lSides);
        int lBest = ScanCell(mCellOf[pEntry], pEntry, -1);
        int lAxes[4];
        int lAxisCount = 0;
        for (int i = 0; i < 4; ++i)
            if (lSides[i] != 0) lAxes[lAxisCount++] = i;
        for (int lMask = 1; lMask < (1 << lAxisCount); ++lMask) {
            CellKey lNeighbour = lKey;
            for (int a = 0; a < lAxisCount; ++a)
                if (lMask & (1 << a)) lNeighbour.mWords[1 + lAxes[a]] += uint64_t(int64_t(lSides[lAxes[a]]));
            const int lCell = FindCell(lNeighbour);
            if (lCell >= 0) lBest = ScanCell(lCell, pEntry, lBest);
        }
        return lBest;
    }

    MoxScratch<CellKey> mKeys;
    MoxScratch<int> mCellOf;
    MoxScratch<int> mCellStart;
    MoxScratch<int> mCellItems;
    MoxScratch<int> mCellFill;  // per cell: entries already passed (while assigning)
    bool mNeeded;
    MoxIdTable mTable;  // cells by key
    bool mHasTable;
    int mCellCount = 0;
    const WeldKey* mRecords = nullptr;
    bool mIgnoreHandedness = false;
};

// ---- Averaging and output -----------------------------------------------------------------------------

// Normalised, with w = -1.0 when the summed w is negative and +1.0 otherwise.
void FinishSum(MoxVector4& pSum)
{
    pSum.Normalize();
    pSum[3] = pSum[3] < 0.0 ? -1.0 : 1.0;
}

// The weld of every control point's list, with working memory for the longest list.
class Weld {
public:
    Weld(int pLongest, bool pIgnoreHandedness)
        : mKeys(pLongest),
          mGroups(pLongest),
          mLinks(2 * int64_t(pLongest)),
          mSums(2 * int64_t(pLongest)),
          mGrid(pLongest > sgPlainWeldLimit ? pLongest : 0),
          mIgnoreHandedness(pIgnoreHandedness)
    {}

    bool IsAllocated() const
    {
        return mKeys.Get() && mGroups.Get() && mLinks.Get() && mSums.Get() && mGrid.IsAllocated();
    }

    // Every control point's list in turn.
    void RunAll(const RecordLists& pLists, const FrameSlots& pFrames, const CornerReader& pReader,
                const FrameOutput& pOutput)
    {
        for (int c = 0; c < pLists.GetControlPointCount(); ++c)
            if (pLists.GetCount(c) > 0) Run(pLists.GetList(c), pLists.GetCount(c), pFrames, pReader, pLists, pOutput);
    }

    // The records of pSlots (one control point's list): their weld keys, their groups, then the sums.
    void Run(const int* pSlots, int pCount, const FrameSlots& pFrames, const CornerReader& pReader,
             const RecordLists& pLists, const FrameOutput& pOutput)
    {
        ReadKeys(pSlots, pCount, pFrames, pReader);
        if (pCount > sgPlainWeldLimit)
            mGrid.AssignGroups(mKeys.Get(), pCount, mIgnoreHandedness, mGroups.Get());
        else
            AssignGroupsByScan(mKeys.Get(), pCount, mIgnoreHandedness, mGroups.Get());
        AverageAndWrite(pSlots, pCount, pFrames, pLists, pOutput);
    }

private:
    void ReadKeys(const int* pSlots, int pCount, const FrameSlots& pFrames, const CornerReader& pReader)
    {
        for (int j = 0; j < pCount; ++j) {
            int lNormalIndex = -1;
            WeldKey& lKey = mKeys[j];
            lKey.mMirrored = pFrames.TakeInputs(pSlots[j], lNormalIndex, lKey.mUVIndex);
            lKey.mNormal = pReader.NormalAt(lNormalIndex);
            lKey.mFinite = std::isfinite(lKey.mNormal[0]) && std::isfinite(lKey.mNormal[1]) &&
                           std::isfinite(lKey.mNormal[2]) && std::isfinite(lKey.mNormal[3]);
        }
    }

    // Each group's members chained in list order: mLinks[j] is the member after entry j (-1 after the last).
    void LinkGroups(int pCount)
    {
        int* lNext = mLinks.Get();
        int* lLast = lNext + pCount;  // per group (by its first entry): the member chained last so far
        for (int j = 0; j < pCount; ++j) {
            lNext[j] = -1;
            if (mGroups[j] != j) lNext[lLast[mGroups[j]]] = j;
            lLast[mGroups[j]] = j;
        }
    }

    // Sums each group in list order (held in registers along the group's chain) and finishes it, then
    // writes the finished sums at every member's polygon vertex, in list order.
    void AverageAndWrite(const int* pSlots, int pCount, const FrameSlots& pFrames, const RecordLists& pLists,
                         const FrameOutput& pOutput)
    {
        LinkGroups(pCount);
        MoxVector4* lTangentSums = mSums.Get();
        MoxVector4* lBinormalSums = lTangentSums + pCount;
        for (int j = 0; j < pCount; ++j) {
            if (mGroups[j] != j) continue;
            MoxVector4 lTangent = pFrames.Tangent(pSlots[j]);
            MoxVector4 lBinormal = pFrames.Binormal(pSlots[j]);
            for (int m = mLinks[j]; m >= 0; m = mLinks[m]) {
                lTangent += pFrames.Tangent(pSlots[m]);
                lBinormal += pFrames.Binormal(pSlots[m]);
            }
            FinishSum(lTangent);
            FinishSum(lBinormal);
            lTangentSums[j] = lTangent;
            lBinormalSums[j] = lBinormal;
        }
        for (int j = 0; j < pCount; ++j)
            pOutput.Write(pLists.PolygonVertexOf(pSlots[j]), lTangentSums[mGroups[j]], lBinormalSums[mGroups[j]]);
    }

    MoxScratch<WeldKey> mKeys;
    MoxScratch<int> mGroups;
    MoxScratch<int> mLinks;        // LinkGroups: the chains, then the last member per group
    MoxScratch<MoxVector4> mSums;  // finished sums per group (by its first entry): tangents, then binormals
    WeldGrid mGrid;
    bool mIgnoreHandedness;
};

// Welds each control point's list as soon as the pass has stored the list's last record, while its frames
// and normals are still in cache, rather than in a second sweep over all of them. For plain records only:
// the pass makes them in list order (polygon-vertex order), so the last slot of a list comes last.
class ListWelder {
public:
    ListWelder(Weld& pWeld, const RecordLists& pLists, const FrameSlots& pFrames, const CornerReader& pReader,
               const FrameOutput& pOutput)
        : mWeld(pWeld), mLists(pLists), mFrames(pFrames), mReader(pReader), mOutput(pOutput)
    {}

    // The frame of the record in pSlot, of control point pControlPoint, is stored.
    void Stored(int pSlot, int pControlPoint) const
    {
        const int* lList = mLists.GetList(pControlPoint);
        const int lCount = mLists.GetCount(pControlPoint);
        if (lList[lCount - 1] == pSlot) mWeld.Run(lList, lCount, mFrames, mReader, mLists, mOutput);
    }

private:
    Weld& mWeld;
    const RecordLists& mLists;
    const FrameSlots& mFrames;
    const CornerReader& mReader;
    const FrameOutput& mOutput;
};

void TriangleBatch::Flush(const FrameSlots& pFrames, ListWelder* pWelder)
{
    if (mCount == 0) return;
    detail::MoxComputeTangentBatch(mFrames);
    for (int l = 0; l < mCount; ++l)
        for (int k = 0; k < 3; ++k)
            if (mSlots[l][k] >= 0)
                pFrames.Store(mSlots[l][k], mFrames.mTangents[l][k], mFrames.mBinormals[l][k], mNormalIndices[l][k],
                              mUVIndices[l][k]);
    if (pWelder)
        for (int l = 0; l < mCount; ++l)
            for (int k = 0; k < 3; ++k)
                if (mSlots[l][k] >= 0) pWelder->Stored(mSlots[l][k], mControlPoints[l][k]);
    mCount = 0;
}

// Plain records: the pass puts their frames in the output's own arrays when these cover every slot,
// otherwise (the output could not be made or sized) in working arrays had now, and welds each list as soon
// as it is complete. False after a report.
bool CollectAndWeldPlain(const MoxMesh& pMesh, CornerReader& pReader, bool pTriangles, RecordLists& pLists, Weld& pWeld,
                         const FrameOutput& pOutput)
{
    const int lSlots = pLists.GetSlotCount();
    const bool lInOutput = pOutput.Covers(lSlots);
    const MoxScratch<MoxVector4> lWorking(lInOutput ? -1 : 2 * int64_t(lSlots));
    FrameSlots lFrames;
    if (lInOutput) {
        lFrames.UseOutput(pOutput);
    } else if (lWorking.Get()) {
        lFrames.UseWorking(lWorking.Get(), lSlots);
    } else {
        ReportFromWorker(__LINE__, sgNoTangentRecordMemory.mText);
        return false;
    }
    ListWelder lWelder(pWeld, pLists, lFrames, pReader, pOutput);
    return CollectRecords(pMesh, pReader, pTriangles, pLists, lFrames, &lWelder);
}

// The raw per-polygon-vertex arrays, reserved and released at once (see the file comment). False after
// reporting their shortage.
bool ReserveRawArrays(const MoxMesh& pMesh)
{
    const MoxScratch<MoxVector4> lRawTangents(pMesh.GetPolygonVertexCount());
    if (!lRawTangents.Get()) {
        ReportFromWorker(__LINE__, sgNoTangentMemory.mText);
        return false;
    }
    const MoxScratch<MoxVector4> lRawBinormals(pMesh.GetPolygonVertexCount());
    if (!lRawBinormals.Get()) {
        ReportFromWorker(__LINE__, sgNoBinormalMemory.mText);
        return false;
    }
    return true;
}

}  // namespace

bool MoxMesh::GenerateTangentsData(MoxLayerElementUV* pUVSet, int pUVSetLayerIndex, bool pOverwrite,
                                   bool pIgnoreHandedness)
{
    MoxLayer* lLayer0 = GetLayer(0);
    if (!pUVSet || !lLayer0 || !lLayer0->GetNormals()) return false;
    if (!pOverwrite && lLayer0->GetTangents()) return true;

    // The plan, then all working memory before any layer changes: the lists (grouped at once for plain
    // records), for other records their frames and the pass itself, then the weld's keys and grid.
    const bool lTriangles = IsTriangleMesh();
    const CornerPlan lPlan = PlanCorners(*this, lTriangles);
    if (!ReserveRawArrays(*this)) return false;
    const bool lPlain = lPlan.mPlain && GetLayer(pUVSetLayerIndex) != nullptr;
    RecordLists lLists(lPlain, lPlan.mCapacity, GetControlPointsCount());
    if (lPlan.mCapacity < 0 || !lLists.IsAllocated()) {
        ReportFromWorker(__LINE__, sgNoTangentRecordMemory.mText);
        return false;
    }
    CornerReader lReader(*this, pUVSet);
    const MoxScratch<MoxVector4> lWorkingFrames(lPlain ? -1 : 2 * int64_t(lLists.GetSlotCount()));
    FrameSlots lFrames;
    if (lPlain) {
        lLists.GroupPolygonVertices(mPolygonVertices.GetArray());
    } else {
        if (!lWorkingFrames.Get()) {
            ReportFromWorker(__LINE__, sgNoTangentRecordMemory.mText);
            return false;
        }
        lFrames.UseWorking(lWorkingFrames.Get(), lLists.GetSlotCount());
        if (!CollectRecords(*this, lReader, lTriangles, lLists, lFrames, nullptr)) return false;
        lLists.GroupRecords();
    }
    Weld lWeld(lLists.GetLongest(), pIgnoreHandedness);
    if (!lWeld.IsAllocated()) {
        ReportFromWorker(__LINE__, sgNoTangentRecordMemory.mText);
        return false;
    }

    // Plain records covering every polygon vertex write every output value.
    const bool lCoversAll = lPlain && lLists.GetPlaced() == GetPolygonVertexCount();
    FrameOutput lOutput = CreateOutput(*this, pUVSetLayerIndex, pUVSet->GetName(), lCoversAll);
    bool lDone = true;
    if (lPlain)
        lDone = CollectAndWeldPlain(*this, lReader, lTriangles, lLists, lWeld, lOutput);
    else
        lWeld.RunAll(lLists, lFrames, lReader, lOutput);
    lOutput.Release();
    return lDone;
}

bool MoxMesh::GenerateTangentsData(const char* pUVSetName, bool pOverwrite, bool pIgnoreHandedness)
{
    const char* lName = pUVSetName ? pUVSetName : "";
    for (int i = 0; i < GetLayerCount(); ++i) {
        MoxLayer* lLayer = GetLayer(i);
        for (int c = MoxLayerElement::eTextureChannel0; c <= MoxLayerElement::eTextureChannel16; ++c) {
            MoxLayerElementUV* lUVSet = lLayer->GetUVs(static_cast<MoxLayerElement::EType>(c));
            if (lUVSet && std::strcmp(lUVSet->GetName(), lName) == 0)
                return GenerateTangentsData(lUVSet, i, pOverwrite, pIgnoreHandedness);
        }
    }
    return false;
}

bool MoxMesh::GenerateTangentsData(int pUVSetLayerIndex, bool pOverwrite, bool pIgnoreHandedness)
{
    MoxLayer* lLayer = GetLayer(pUVSetLayerIndex);
    MoxLayerElementUV* lUVSet = lLayer ? lLayer->GetUVs(MoxLayerElement::eTextureChannel0) : nullptr;
    return GenerateTangentsData(lUVSet, pUVSetLayerIndex, pOverwrite, pIgnoreHandedness);
}

bool MoxMesh::GenerateTangentsDataForAllUVSets(bool pOverwrite, bool pIgnoreHandedness)
{
    bool lResult = GetLayerCount() > 0;
    for (int i = 0; i < GetLayerCount(); ++i) {
        MoxLayer* lLayer = GetLayer(i);
        for (int c = MoxLayerElement::eTextureChannel0; c <= MoxLayerElement::eTextureChannel16; ++c) {
            MoxLayerElementUV* lUVSet = lLayer->GetUVs(static_cast<MoxLayerElement::EType>(c));
            if (!lUVSet) continue;
            lResult = GenerateTangentsData(lUVSet, i, pOverwrite, pIgnoreHandedness);
            if (!lResult) break;
        }
    }
    return lResult;
}

}  // namespace moxsdk
