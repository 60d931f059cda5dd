// Tangent and binormal generation: one tangent and one binormal per polygon vertex for a UV set.
//
// Every polygon is cut into triangles (the whole polygon when the mesh holds triangles only, otherwise
// a fan from its first vertex); each triangle gives per-corner frames (ComputeTangentsForTriangle) and
// every corner becomes one record. The records of one control point are then welded: a record joins
// the group of the LATEST earlier record whose normal agrees within 1e-06 in all four components, whose
// UV index is equal and whose handedness (tangent w) is equal unless handedness is ignored; a record
// with no such predecessor starts a group. Each group's tangents and binormals are summed in list order,
// normalised, given w = -1.0 when the summed w is negative and +1.0 otherwise, and written at the polygon
// vertex of every member. The "latest earlier match" rule is what assigning groups pairwise in list order,
// later matches overwriting earlier ones, amounts to; it is order-dependent and not transitive, and the
// weld reproduces it exactly.
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
// - All working memory (records, lists, the weld grid) is had before any layer changes; a shortage after
//   the raw arrays reports "lData".
// - A UV set name of null compares as the empty string. A layer index without a layer gives a null UV set
//   (false) in GenerateTangentsData(int, ...).
// - More than INT_MAX corners cannot be recorded: "lData" is reported and false returned.
//
// Cost: the fan pass is linear in the corners, and so are the per-control-point lists (count, prefix sum,
// fill). The weld scans short lists directly; a list longer than sgPlainWeldLimit goes through a grid of
// normal cells keyed also by UV index and handedness (WeldGrid), so that a control point shared by n
// corners costs O(n) rather than the O(n^2) of comparing all pairs.

#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <new>

#include "moxsdk/core/math/moxmath.h"
#include "moxsdk/core/moxassert.h"
#include "moxsdk/core/moxmemory.h"
#include "moxsdk/scene/geometry/moxmesh.h"
#include "scene/geometry/detail/moxmeshreports.h"
#include "scene/geometry/moxtangentbasis.h"

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

// ---- Records ------------------------------------------------------------------------------------------

// One corner during the weld; copied by value (the implicit copy constructor and assignment).
class PerVtxData {
public:
    // Not pending; the five ids are -1 (all-one bytes); the vectors are zero.
    PerVtxData() : mPending(false), mGroup(-1), mPolygon(-1), mPolygonVertex(-1), mUVIndex(-1), mControlPoint(-1) {}
    PerVtxData(int pGroup, int pPolygon, int pPolygonVertex, int pUVIndex, int pControlPoint, const MoxVector4& pNormal,
               const MoxVector4& pTangent, const MoxVector4& pBinormal)
        : mPending(true),
          mGroup(pGroup),
          mPolygon(pPolygon),
          mPolygonVertex(pPolygonVertex),
          mUVIndex(pUVIndex),
          mControlPoint(pControlPoint),
          mNormal(pNormal),
          mTangent(pTangent),
          mBinormal(pBinormal)
    {}

    void Set(int pGroup, int pPolygon, int pPolygonVertex, int pUVIndex, int pControlPoint, const MoxVector4& pNormal,
             const MoxVector4& pTangent, const MoxVector4& pBinormal)
    {
        *this = PerVtxData(pGroup, pPolygon, pPolygonVertex, pUVIndex, pControlPoint, pNormal, pTangent, pBinormal);
    }
    void SetIds(int pGroup, int pPolygon, int pPolygonVertex, int pUVIndex, int pControlPoint)
    {
        mPending = true;
        mGroup = pGroup;
        mPolygon = pPolygon;
        mPolygonVertex = pPolygonVertex;
        mUVIndex = pUVIndex;
        mControlPoint = pControlPoint;
    }
    void SetVectors(const MoxVector4& pNormal, const MoxVector4& pTangent, const MoxVector4& pBinormal)
    {
        mNormal = pNormal;
        mTangent = pTangent;
        mBinormal = pBinormal;
    }

    bool mPending;       // not yet merged into an earlier record's group sums
    int mGroup;          // weld group: the index (in the record store) of the group's first record
    int mPolygon;        // polygon of the corner
    int mPolygonVertex;  // where the result is written
    int mUVIndex;        // index of the corner's UV value in the UV set
    int mControlPoint;   // the list the record belongs to
    MoxVector4 mNormal;
    MoxVector4 mTangent;  // w = +1.0 or -1.0
    MoxVector4 mBinormal;
};

// True when record pB welds to the earlier record pA.
bool Welds(const PerVtxData& pA, const PerVtxData& pB, bool pIgnoreHandedness)
{
    return pA.mUVIndex == pB.mUVIndex && (pIgnoreHandedness || pA.mTangent[3] == pB.mTangent[3]) &&
           MoxEqual(pA.mNormal, pB.mNormal, sgWeldTolerance);
}

// pCount values from MoxMalloc, freed with the holder. The values are raw storage: callers write them
// (trivially copyable types, or placement new) before reading them.
template <class T>
class ScratchBlock {
public:
    ScratchBlock() = default;
    ~ScratchBlock() { MoxFree(mData); }
    ScratchBlock(const ScratchBlock&) = delete;
    ScratchBlock& operator=(const ScratchBlock&) = delete;
    ScratchBlock(ScratchBlock&&) = delete;
    ScratchBlock& operator=(ScratchBlock&&) = delete;

    bool Allocate(int64_t pCount)
    {
        MoxFree(mData);
        mData = static_cast<T*>(MoxMalloc(MoxAllocSize(static_cast<size_t>(pCount > 0 ? pCount : 1), sizeof(T))));
        return mData != nullptr;
    }
    T* Get() const { return mData; }

private:
    T* mData = nullptr;
};

// The records of the fan pass, in the order in which they were made (only those whose control point
// exists), and for each control point the list of its records in that order: control point c's records
// are mOrder[mOffsets[c] .. mOffsets[c + 1]). The lists are built by count (while recording), prefix sum
// and fill, from a compact copy of each record's control point.
class RecordStore {
public:
    bool Allocate(int64_t pCapacity, int pControlPointCount)
    {
        if (!mRecords.Allocate(pCapacity) || !mLists.Allocate(int64_t(pControlPointCount) + 1 + 2 * pCapacity))
            return false;
        mControlPointCount = pControlPointCount;
        mOffsets = mLists.Get();
        mOrder = mOffsets + pControlPointCount + 1;
        mControlPoints = mOrder + pCapacity;
        std::memset(mOffsets, 0, (size_t(pControlPointCount) + 1) * sizeof(int));
        return true;
    }

    void Add(const PerVtxData& pRecord)
    {
        const int lControlPoint = pRecord.mControlPoint;
        if (lControlPoint < 0 || lControlPoint >= mControlPointCount) return;
        new (mRecords.Get() + mCount) PerVtxData(pRecord);
        mControlPoints[mCount++] = lControlPoint;
        ++mOffsets[lControlPoint + 1];
    }

    void BuildLists()
    {
        for (int c = 0; c < mControlPointCount; ++c) {
            mOffsets[c + 1] += mOffsets[c];
            if (mOffsets[c + 1] - mOffsets[c] > mLongest) mLongest = mOffsets[c + 1] - mOffsets[c];
        }
        // Each control point's cursor starts at its offset and ends at the next one's; then shift back.
        for (int r = 0; r < mCount; ++r) mOrder[mOffsets[mControlPoints[r]]++] = r;
        for (int c = mControlPointCount; c > 0; --c) mOffsets[c] = mOffsets[c - 1];
        mOffsets[0] = 0;
    }

    PerVtxData* GetRecords() const { return mRecords.Get(); }
    int GetControlPointCount() const { return mControlPointCount; }
    int GetLongest() const { return mLongest; }
    const int* GetList(int pControlPoint) const { return mOrder + mOffsets[pControlPoint]; }
    int GetCount(int pControlPoint) const { return mOffsets[pControlPoint + 1] - mOffsets[pControlPoint]; }

private:
    ScratchBlock<PerVtxData> mRecords;
    ScratchBlock<int> mLists;
    int* mOffsets = nullptr;
    int* mOrder = nullptr;
    int* mControlPoints = nullptr;
    int mControlPointCount = 0;
    int mCount = 0;
    int mLongest = 0;
};

// Polygon-vertex indices of the fan pass run on in 64 bits; a record keeps INT_MAX for anything larger
// (which no array reaches).
int ClampToInt(int64_t pValue)
{
    return pValue > INT_MAX ? INT_MAX : static_cast<int>(pValue);
}

// ---- Reading corners ----------------------------------------------------------------------------------

// One element's arrays and modes, bound once for the whole pass.
template <class T>
class ElementView {
public:
    void Bind(const MoxLayerElementTemplate<T>* pElement)
    {
        mElement = pElement;
        if (!pElement) return;
        mMapping = pElement->GetMappingMode();
        mReference = pElement->GetReferenceMode();
        mDirect = static_cast<const T*>(pElement->mDirectArray->GetReference(0, MoxTypeCodeOf<T>::value));
        mDirectCount = mDirect ? pElement->mDirectArray->GetCount() : 0;
        mIndices = static_cast<const int*>(pElement->mIndexArray->GetReference(0, eMoxInt));
        mIndexCount = mIndices ? pElement->mIndexArray->GetCount() : 0;
    }

    // The element's direct-array index for position pPolygonVertex (polygon start + position) of polygon
    // pPolygon, when the index lookup succeeds there without a report; false sends the caller to the
    // checked lookup. The index may still be -1 or outside the direct array.
    bool TryIndex(int pPolygon, int64_t pPolygonVertex, const int* pVertices, int pVertexCount, int& pIndex) const
    {
        int64_t lComponent = 0;
        switch (mMapping) {
            case MoxLayerElement::eByPolygonVertex:
                lComponent = pPolygonVertex;
                break;
            case MoxLayerElement::eByPolygon:
                lComponent = pPolygon;
                break;
            case MoxLayerElement::eByControlPoint:
                if (pPolygonVertex < 0 || pPolygonVertex >= pVertexCount) return false;
                lComponent = pVertices[pPolygonVertex];
                break;
            default:
                return false;
        }
        if (mReference != MoxLayerElement::eDirect) {
            if (lComponent < 0 || lComponent >= mIndexCount) return false;
            lComponent = mIndices[lComponent];
        }
        if (lComponent < INT_MIN || lComponent > INT_MAX) return false;
        pIndex = static_cast<int>(lComponent);
        return true;
    }

    const MoxLayerElementTemplate<T>* mElement = nullptr;
    MoxLayerElement::EMappingMode mMapping = MoxLayerElement::eNone;
    MoxLayerElement::EReferenceMode mReference = MoxLayerElement::eDirect;
    const T* mDirect = nullptr;
    int mDirectCount = 0;
    const int* mIndices = nullptr;
    int mIndexCount = 0;
};

// The three corners of one triangle, as ComputeTangentsForTriangle takes them.
struct TriangleInput {
    MoxVector4 mPositions[3];
    MoxVector4 mNormals[3];
    MoxVector2 mUVs[3];
    int mUVIndices[3];
};

// Reads corners: control point, position, normal, UV index and UV, in that order, as the lookups give them.
class CornerReader {
public:
    CornerReader(const MoxMesh& pMesh, const MoxLayerElementUV* pUVSet) : mMesh(pMesh), mUVSetName(pUVSet->GetName())
    {
        mPolygons = pMesh.mPolygons.GetArray();
        mVertices = pMesh.mPolygonVertices.GetArray();
        mVertexCount = pMesh.mPolygonVertices.GetCount();
        mNormals.Bind(pMesh.GetElementNormal(0));
        mUVIndices.Bind(pUVSet);
        mUVValues.Bind(pMesh.GetElementUV(mUVSetName));
    }

    // Corner pPosition of polygon pPolygon into slot pSlot of pInput; false (nothing else read) when its
    // control point is negative.
    bool Read(int pPolygon, int pPosition, TriangleInput& pInput, int pSlot)
    {
        const int64_t lVertex = int64_t(mPolygons[pPolygon].mIndex) + pPosition;
        const int lControlPoint =
            lVertex >= 0 && lVertex < mVertexCount ? mVertices[lVertex] : mMesh.GetPolygonVertex(pPolygon, pPosition);
        if (lControlPoint < 0) return false;
        pInput.mPositions[pSlot] = mMesh.GetControlPointAt(lControlPoint);
        ReadNormal(pPolygon, pPosition, lVertex, pInput.mNormals[pSlot]);
        if (!mUVIndices.TryIndex(pPolygon, lVertex, mVertices, mVertexCount, mUVIndex))
            mMesh.GetPolygonVertexLayerElementIndex(mUVIndices.mElement, pPolygon, pPosition, mUVIndex);
        pInput.mUVIndices[pSlot] = mUVIndex;
        ReadUV(pPolygon, pPosition, lVertex, pInput.mUVs[pSlot]);
        return true;
    }

    // The control point recorded for running polygon-vertex index pIndex: mPolygonVertices[pIndex], through
    // the array's checked access (which reports) when pIndex is outside it.
    int ControlPointAt(int64_t pIndex) const
    {
        return pIndex < mVertexCount ? mVertices[pIndex] : mMesh.mPolygonVertices[ClampToInt(pIndex)];
    }

private:
    void ReadNormal(int pPolygon, int pPosition, int64_t pVertex, MoxVector4& pNormal) const
    {
        pNormal = MoxVector4();
        int lIndex = -1;
        if (mNormals.TryIndex(pPolygon, pVertex, mVertices, mVertexCount, lIndex) && lIndex >= 0 &&
            lIndex < mNormals.mDirectCount)
            pNormal = mNormals.mDirect[lIndex];
        else
            mMesh.GetPolygonVertexNormal(pPolygon, pPosition, pNormal);
    }

    void ReadUV(int pPolygon, int pPosition, int64_t pVertex, MoxVector2& pUV) const
    {
        pUV = MoxVector2();
        // Without a UV set of that name the lookup fails without a report.
        if (!mUVValues.mElement) return;
        int lIndex = -1;
        if (mUVValues.TryIndex(pPolygon, pVertex, mVertices, mVertexCount, lIndex)) {
            if (lIndex == -1) return;
            if (lIndex >= 0 && lIndex < mUVValues.mDirectCount) {
                pUV = mUVValues.mDirect[lIndex];
                return;
            }
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
    ElementView<MoxVector4> mNormals;
    ElementView<MoxVector2> mUVIndices;
    ElementView<MoxVector2> mUVValues;
    int mUVIndex = -1;  // running: the index lookup sets it for every corner
};

// ---- The fan pass -------------------------------------------------------------------------------------

// Number of records the pass can make, or -1 when that passes INT_MAX.
int64_t CountCorners(const MoxMesh& pMesh, bool pTriangles)
{
    int64_t lCount = 0;
    for (const MoxMesh::PolygonDef& lPolygon : pMesh.mPolygons)
        if (pTriangles || lPolygon.mSize >= 3) lCount += pTriangles ? 3 : lPolygon.mSize;
    return lCount > INT_MAX ? -1 : lCount;
}

// Triangle meshes: one triangle per polygon; each corner's control point is read right after the corner.
// False after reporting "pv >= 0".
bool CollectTriangleRecords(const MoxMesh& pMesh, CornerReader& pReader, RecordStore& pRecords)
{
    int64_t k = 0;
    for (int p = 0; p < pMesh.GetPolygonCount(); ++p) {
        TriangleInput lInput;
        PerVtxData lCorners[3];
        for (int j = 0; j < 3; ++j, ++k) {
            if (!pReader.Read(p, j, lInput, j)) {
                ReportFromWorker(__LINE__, sgUnreadableCorner.mText);
                return false;
            }
            lCorners[j].SetIds(-1, p, ClampToInt(k), lInput.mUVIndices[j], pReader.ControlPointAt(k));
        }
        MoxVector4 lTangents[3];
        MoxVector4 lBinormals[3];
        ComputeTangentsForTriangle(lTangents, lBinormals, lInput.mPositions, lInput.mNormals, lInput.mUVs);
        for (int j = 0; j < 3; ++j) {
            lCorners[j].SetVectors(lInput.mNormals[j], lTangents[j], lBinormals[j]);
            pRecords.Add(lCorners[j]);
        }
    }
    return true;
}

// Other meshes: triangles (0, t + 1, t + 2). Positions 0 and 1 take their frame from triangle 0, position
// t + 2 from triangle t; a record goes to the running index + its position. False after "pv >= 0".
bool CollectFanRecords(const MoxMesh& pMesh, CornerReader& pReader, RecordStore& pRecords)
{
    int64_t k = 0;
    for (int p = 0; p < pMesh.GetPolygonCount(); ++p) {
        const int n = pMesh.mPolygons.GetArray()[p].mSize > 0 ? pMesh.mPolygons.GetArray()[p].mSize : 0;
        for (int t = 0; t + 2 < n; ++t) {
            const int lPositions[3] = {0, t + 1, t + 2};
            TriangleInput lInput;
            for (int c = 0; c < 3; ++c) {
                if (!pReader.Read(p, lPositions[c], lInput, c)) {
                    ReportFromWorker(__LINE__, sgUnreadableCorner.mText);
                    return false;
                }
            }
            MoxVector4 lTangents[3];
            MoxVector4 lBinormals[3];
            ComputeTangentsForTriangle(lTangents, lBinormals, lInput.mPositions, lInput.mNormals, lInput.mUVs);
            for (int c = t == 0 ? 0 : 2; c < 3; ++c) {
                const int64_t lIndex = k + lPositions[c];
                PerVtxData lRecord;
                lRecord.Set(-1, p, ClampToInt(lIndex), lInput.mUVIndices[c], pReader.ControlPointAt(lIndex),
                            lInput.mNormals[c], lTangents[c], lBinormals[c]);
                pRecords.Add(lRecord);
            }
        }
        // A polygon of fewer than 2 vertices still moves the index by 2 (kept on purpose).
        k += n >= 2 ? n : 2;
    }
    return true;
}

// ---- Weld groups --------------------------------------------------------------------------------------

// Group of list entry j: the group of its latest earlier weld partner, or its own record. Direct scan.
void AssignGroupsByScan(PerVtxData* pRecords, const int* pList, int pCount, bool pIgnoreHandedness)
{
    for (int j = 0; j < pCount; ++j) {
        PerVtxData& lRecord = pRecords[pList[j]];
        int lPartner = -1;
        for (int i = j - 1; i >= 0 && lPartner < 0; --i)
            if (Welds(pRecords[pList[i]], lRecord, pIgnoreHandedness)) lPartner = i;
        lRecord.mGroup = lPartner < 0 ? pList[j] : pRecords[pList[lPartner]].mGroup;
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
    bool Reserve(int pLongest)
    {
        mTableSize = 2;
        while (mTableSize < 2 * int64_t(pLongest)) mTableSize *= 2;
        return mKeys.Allocate(pLongest) && mTable.Allocate(mTableSize) && mCellOf.Allocate(pLongest) &&
               mCellStart.Allocate(int64_t(pLongest) + 1) && mCellItems.Allocate(pLongest) &&
               mCellFill.Allocate(pLongest);
    }

    void AssignGroups(PerVtxData* pRecords, const int* pList, int pCount, bool pIgnoreHandedness)
    {
        mRecords = pRecords;
        mList = pList;
        mIgnoreHandedness = pIgnoreHandedness;
        BucketByCell(pCount);
        for (int j = 0; j < pCount; ++j) {
            const int lPartner = mCellOf.Get()[j] < 0 ? -1 : FindLatestPartner(j);
            PerVtxData& lRecord = pRecords[pList[j]];
            lRecord.mGroup = lPartner < 0 ? pList[j] : pRecords[pList[lPartner]].mGroup;
            if (mCellOf.Get()[j] >= 0) ++mCellFill.Get()[mCellOf.Get()[j]];
        }
    }

private:
    struct CellKey {
        double mCoord[4];
        int mUVIndex;
        int mFlags;  // bit i: component i keyed by value; bit 4: mirrored handedness
    };

    static constexpr double sgCellScale = 262144.0;        // 2^18 cells per unit
    static constexpr double sgValueKeyed = 17179869184.0;  // 2^34

    // The key of pRecord's cell and, per component, the neighbour (-1, 0, +1) that may hold a partner.
    // False for a normal that welds to nothing.
    bool MakeKey(const PerVtxData& pRecord, CellKey& pKey, int* pSides) const
    {
        pKey.mUVIndex = pRecord.mUVIndex;
        pKey.mFlags = !mIgnoreHandedness && pRecord.mTangent[3] < 0.0 ? 16 : 0;
        for (int i = 0; i < 4; ++i) {
            const double lValue = pRecord.mNormal[i];
            if (!std::isfinite(lValue)) return false;
            pSides[i] = 0;
            if (std::fabs(lValue) >= sgValueKeyed) {
                pKey.mCoord[i] = lValue;
                pKey.mFlags |= 1 << i;
                continue;
            }
            const double lScaled = lValue * sgCellScale + 0.5;
            const double lCell = std::floor(lScaled);
            const double lOffset = lScaled - lCell;
            pSides[i] = lOffset < 0.3 ? -1 : (lOffset > 0.7 ? 1 : 0);
            pKey.mCoord[i] = lCell + 0.0;  // no -0.0 in keys
        }
        return true;
    }

    static uint64_t Hash(const CellKey& pKey)
    {
        uint64_t lHash = (uint64_t(uint32_t(pKey.mUVIndex)) << 8 | uint64_t(pKey.mFlags)) * 0x9E3779B97F4A7C15ull;
        for (double lCoord : pKey.mCoord) {
            uint64_t lBits = 0;
            std::memcpy(&lBits, &lCoord, sizeof(lBits));
            lHash = (lHash ^ lBits) * 0xFF51AFD7ED558CCDull;
            lHash ^= lHash >> 32;
        }
        return lHash;
    }

    static bool SameKey(const CellKey& pA, const CellKey& pB)
    {
        return pA.mUVIndex == pB.mUVIndex && pA.mFlags == pB.mFlags && pA.mCoord[0] == pB.mCoord[0] &&
               pA.mCoord[1] == pB.mCoord[1] && pA.mCoord[2] == pB.mCoord[2] && pA.mCoord[3] == pB.mCoord[3];
    }

    // The cell of pKey, added when pInsert; -1 when absent.
    int FindCell(const CellKey& pKey, bool pInsert)
    {
        int* lTable = mTable.Get();
        for (uint64_t h = Hash(pKey) & mMask;; h = (h + 1) & mMask) {
            const int lCell = lTable[h];
            if (lCell >= 0 && SameKey(mKeys.Get()[lCell], pKey)) return lCell;
            if (lCell >= 0) continue;
            if (!pInsert) return -1;
            mKeys.Get()[mCellCount] = pKey;
            lTable[h] = mCellCount;
            return mCellCount++;
        }
    }

    // Cell of every entry, and every cell's entries in list order (count, prefix sum, fill).
    void BucketByCell(int pCount)
    {
        int64_t lSize = 2;
        while (lSize < 2 * int64_t(pCount)) lSize *= 2;
        mMask = uint64_t(lSize) - 1;
        std::memset(mTable.Get(), 0xFF, size_t(lSize) * sizeof(int));
        mCellCount = 0;
        int* lCellOf = mCellOf.Get();
        for (int j = 0; j < pCount; ++j) {
            CellKey lKey;
            int lSides[4];
            lCellOf[j] = MakeKey(mRecords[mList[j]], lKey, lSides) ? FindCell(lKey, true) : -1;
        }
        int* lStart = mCellStart.Get();
        std::memset(lStart, 0, (size_t(mCellCount) + 1) * sizeof(int));
        for (int j = 0; j < pCount; ++j)
            if (lCellOf[j] >= 0) ++lStart[lCellOf[j] + 1];
        for (int c = 0; c < mCellCount; ++c) lStart[c + 1] += lStart[c];
        std::memset(mCellFill.Get(), 0, size_t(mCellCount) * sizeof(int));
        for (int j = 0; j < pCount; ++j)
            if (lCellOf[j] >= 0) mCellItems.Get()[lStart[lCellOf[j]] + mCellFill.Get()[lCellOf[j]]++] = j;
        std::memset(mCellFill.Get(), 0, size_t(mCellCount) * sizeof(int));
    }

    // Latest entry of pCell before entry pEntry (the cell's filled part) that welds to it, scanning down to
    // pBest (exclusive); pBest when there is none.
    int ScanCell(int pCell, int pEntry, int pBest) const
    {
        const int* lItems = mCellItems.Get() + mCellStart.Get()[pCell];
        const PerVtxData& lRecord = mRecords[mList[pEntry]];
        for (int i = mCellFill.Get()[pCell] - 1; i >= 0 && lItems[i] > pBest; --i)
            if (Welds(mRecords[mList[lItems[i]]], lRecord, mIgnoreHandedness)) return lItems[i];
        return pBest;
    }

    // Latest earlier entry that entry pEntry welds to, or -1: its own cell first, then its neighbours.
    int FindLatestPartner(int pEntry)
    {
        CellKey lKey{};
        int lSides[4] = {0, 0, 0, 0};
        MakeKey(mRecords[mList[pEntry]], lKey, lSides);
        int lBest = ScanCell(mCellOf.Get()[pEntry], pEntry, -1);
        int lAxes[4];
        int lAxisCount = 0;
        for (int i = 0; i < 4; ++i)
            if (lSides[i] != 0) lAxes[lAxisCount++] = i;
        for (int lMask = 1; lMask < (1 << lAxisCount); ++lMask) {
            CellKey lNeighbour = lKey;
            for (int a = 0; a < lAxisCount; ++a)
                if (lMask & (1 << a)) lNeighbour.mCoord[lAxes[a]] += lSides[lAxes[a]];
            const int lCell = FindCell(lNeighbour, false);
            if (lCell >= 0) lBest = ScanCell(lCell, pEntry, lBest);
        }
        return lBest;
    }

    ScratchBlock<CellKey> mKeys;
    ScratchBlock<int> mTable;
    ScratchBlock<int> mCellOf;
    ScratchBlock<int> mCellStart;
    ScratchBlock<int> mCellItems;
    ScratchBlock<int> mCellFill;  // per cell: entries already passed (while assigning)
    int64_t mTableSize = 0;
    uint64_t mMask = 0;
    int mCellCount = 0;
    PerVtxData* mRecords = nullptr;
    const int* mList = nullptr;
    bool mIgnoreHandedness = false;
};

// ---- Averaging and output -----------------------------------------------------------------------------

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
    void Write(int pPolygonVertex, const MoxVector4& pTangent, const MoxVector4& pBinormal) const
    {
        if (pPolygonVertex < mTangentCount) mTangents[pPolygonVertex] = pTangent;
        if (pPolygonVertex < mBinormalCount) mBinormals[pPolygonVertex] = pBinormal;
    }
};

// Normalised, with w = -1.0 when the summed w is negative and +1.0 otherwise.
void FinishSum(MoxVector4& pSum)
{
    pSum.Normalize();
    pSum[3] = pSum[3] < 0.0 ? -1.0 : 1.0;
}

// Sums each group in list order into its first record, then writes the finished sums at every member's
// polygon vertex.
void AverageAndWriteGroups(PerVtxData* pRecords, const int* pList, int pCount, const FrameOutput& pOutput)
{
    for (int j = 0; j < pCount; ++j) {
        PerVtxData& lRecord = pRecords[pList[j]];
        if (lRecord.mGroup == pList[j]) continue;
        PerVtxData& lFirst = pRecords[lRecord.mGroup];
        lFirst.mTangent += lRecord.mTangent;
        lFirst.mBinormal += lRecord.mBinormal;
        lRecord.mPending = false;
    }
    for (int j = 0; j < pCount; ++j) {
        const PerVtxData& lRecord = pRecords[pList[j]];
        PerVtxData& lFirst = pRecords[lRecord.mGroup];
        // A group's first record comes before its other members, so it is finished before they are written.
        if (lRecord.mGroup == pList[j]) {
            FinishSum(lFirst.mTangent);
            FinishSum(lFirst.mBinormal);
        }
        pOutput.Write(lRecord.mPolygonVertex, lFirst.mTangent, lFirst.mBinormal);
    }
}

// The tangent and binormal elements of pLayer, one direct value per polygon vertex, named pName, locked.
FrameOutput CreateOutput(MoxMesh& pMesh, int pLayer, const char* pName)
{
    FrameOutput lOutput;
    pMesh.InitTangents(pMesh.GetPolygonVertexCount(), pLayer, pName);
    pMesh.GetTangents(&lOutput.mTangentArray, pLayer);
    pMesh.InitBinormals(pMesh.GetPolygonVertexCount(), pLayer, pName);
    pMesh.GetBinormals(&lOutput.mBinormalArray, pLayer);
    lOutput.Lock();
    return lOutput;
}

// Every record of the fan pass, with its control point lists. False after a report.
//
// The two per-polygon-vertex raw arrays are the pass's reserved working storage: a shortage of memory for
// them fails the call as "lTangents" / "lBinormals". Nothing they would hold reaches the result (the
// triangle frames go straight into the records, and the fan's running averages per polygon vertex are
// never read), so they are never written: they cost address space only.
bool CollectRecords(const MoxMesh& pMesh, const MoxLayerElementUV* pUVSet, RecordStore& pRecords)
{
    ScratchBlock<MoxVector4> lRawTangents;
    ScratchBlock<MoxVector4> lRawBinormals;
    if (!lRawTangents.Allocate(pMesh.GetPolygonVertexCount())) {
        ReportFromWorker(__LINE__, sgNoTangentMemory.mText);
        return false;
    }
    if (!lRawBinormals.Allocate(pMesh.GetPolygonVertexCount())) {
        ReportFromWorker(__LINE__, sgNoBinormalMemory.mText);
        return false;
    }
    const bool lTriangles = pMesh.IsTriangleMesh();
    const int64_t lCapacity = CountCorners(pMesh, lTriangles);
    if (lCapacity < 0 || !pRecords.Allocate(lCapacity, pMesh.GetControlPointsCount())) {
        ReportFromWorker(__LINE__, sgNoTangentRecordMemory.mText);
        return false;
    }
    CornerReader lReader(pMesh, pUVSet);
    if (!(lTriangles ? CollectTriangleRecords(pMesh, lReader, pRecords) : CollectFanRecords(pMesh, lReader, pRecords)))
        return false;
    pRecords.BuildLists();
    return true;
}

}  // namespace

bool MoxMesh::GenerateTangentsData(MoxLayerElementUV* pUVSet, int pUVSetLayerIndex, bool pOverwrite,
                                   bool pIgnoreHandedness)
{
    MoxLayer* lLayer0 = GetLayer(0);
    if (!pUVSet || !lLayer0 || !lLayer0->GetNormals()) return false;
    if (!pOverwrite && lLayer0->GetTangents()) return true;

    // Records of every corner, then the lists per control point and the weld's scratch: all working memory
    // is had before any layer changes.
    RecordStore lRecords;
    if (!CollectRecords(*this, pUVSet, lRecords)) return false;
    WeldGrid lGrid;
    if (lRecords.GetLongest() > sgPlainWeldLimit && !lGrid.Reserve(lRecords.GetLongest())) {
        ReportFromWorker(__LINE__, sgNoTangentRecordMemory.mText);
        return false;
    }

    FrameOutput lOutput = CreateOutput(*this, pUVSetLayerIndex, pUVSet->GetName());
    PerVtxData* lData = lRecords.GetRecords();
    for (int c = 0; c < lRecords.GetControlPointCount(); ++c) {
        const int lCount = lRecords.GetCount(c);
        if (lCount == 0) continue;
        if (lCount > sgPlainWeldLimit)
            lGrid.AssignGroups(lData, lRecords.GetList(c), lCount, pIgnoreHandedness);
        else
            AssignGroupsByScan(lData, lRecords.GetList(c), lCount, pIgnoreHandedness);
        AverageAndWriteGroups(lData, lRecords.GetList(c), lCount, lOutput);
    }
    lOutput.Release();
    return true;
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
