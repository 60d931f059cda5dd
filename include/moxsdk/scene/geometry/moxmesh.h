#pragma once
// MoxMesh: the polygon mesh.
//
// Words used throughout this header:
//   control point   a position of the mesh (GetControlPoints), numbered from 0; several polygons may use it.
//   polygon         an ordered ring of control points (PolygonDef: first polygon vertex, size, group),
//                   numbered in creation order; its winding gives the side its normal points to.
//   position        a place inside one polygon, 0 .. size - 1 (pPositionInPolygon).
//   polygon vertex  one corner of one polygon: a position in mPolygonVertices, which holds the corner's
//                   control point. Polygon p's corners are mPolygonVertices[mPolygons[p].mIndex .. mIndex +
//                   mSize - 1], in winding order; polygons have contiguous runs, so mIndex of polygon p + 1
//                   equals mIndex + mSize of p. "Corner" and "polygon vertex" mean the same thing.
//   side            the segment from a polygon vertex to the next one of the same polygon, the last
//                   wrapping to the first. Two polygons share a side when they join the same two control
//                   points.
//   edge            an entry of mEdgeArray: the polygon vertex at which one side begins, standing for every
//                   side that joins the same two control points.
//
// Derived data (edges, normals, tangents, adjacency maps) is computed on request. The Begin/End pairs
// build optional caches that make repeated queries cheap; every query gives the same answer without
// them. Caller mistakes are reported through _MoxAssert ("scene/geometry/moxmesh") and answered with
// the failure value each operation documents; nothing aborts or throws. Some read-only queries are not
// const (CheckIfVertexNormalsCCW, GetMeshEdgeIndex, GetMeshEdgeIndexForPolygon, FindPolygonIndex, the
// crease and hole getters, GetTextureUVIndex, GetAllChannelUV) because they lock element arrays or use the
// mesh's caches; they change no data of the mesh.
//
// Each operation's documentation says what it does, what it returns and its failure values, what it
// reports, its complexity, and the deliberate quirks that callers may observe.

#include "moxsdk/core/base/moxarray.h"
#include "moxsdk/core/base/moxcontainerallocators.h"
#include "moxsdk/core/base/moxredblacktree.h"
#include "moxsdk/core/math/moxvector2.h"
#include "moxsdk/core/math/moxvector4.h"
#include "moxsdk/core/moxpair.h"
#include "moxsdk/scene/geometry/moxgeometry.h"
#include "moxsdk/scene/geometry/moxlayer.h"

namespace moxsdk {

class MoxMesh : public MoxGeometry {
public:
    static const MoxClassId ClassId;

    // ---- Nested types -------------------------------------------------------------------------------

    // One polygon: first entry in mPolygonVertices, vertex count, polygon group (-1 for none).
    struct PolygonDef {
        int mIndex;
        int mSize;
        int mGroup;
    };

    // Accumulated normal and number of contributions, per control point or per polygon vertex.
    struct VertexNormalInfo {
        MoxVector4 mTotalNormal;
        int mNumNormal;
    };

    // Control point to polygon vertices, and the set of known edges, used while edges are added.
    struct V2PVMap {
        // Edges stored as (smaller, larger) control point, ordered by second member, then first.
        typedef MoxEdgePairCompare EdgeCompare;
        // {polygon, position} pairs grouped by control point (MoxMalloc'd, or null).
        MoxPair<int, int>* mVertex2PV = nullptr;
        // Control point c's pairs start at mVertex2PVOffset[c]; control-point count + 1 entries.
        int* mVertex2PVOffset = nullptr;
        // Number of pairs per control point.
        int* mVertex2PVCount = nullptr;
        MoxSet<MoxPair<int, int>, EdgeCompare, MoxHungryAllocator> mEdgeSet;
        bool mValid = false;
        // For a polygon vertex that starts a registered edge, that edge's number.
        MoxArray<int> mPVToEdge;
    };

    // Per polygon vertex: at each polygon's last vertex, the control point of its first vertex; -1
    // elsewhere.
    struct EdgeLookupDef {
        MoxArray<int> mClosingVertex;
        bool mValid = false;
    };

    // For every control point, its polygon vertices or its neighbouring control points, stored as
    // offsets plus one flat list.
    class ControlPointToVerticesMap {
    public:
        void Clear();
        bool Valid() const { return mOffsets.GetCount() > 0; }
        int GetCount() const { return mOffsets.GetCount(); }
        int GetCount(int pControlPoint) const;
        int GetVertex(int pControlPoint, int pIndex) const;
        void FillWithControlPointInfo(MoxMesh* pMesh);
        bool FillWithAdjacencyInfo(MoxMesh* pMesh, int pControlPointCount);

        MoxArray<int> mOffsets;
        MoxArray<int> mVertices;
    };

    // A compressed adjacency list: source s's entries are mData[mOffsets[s] .. mOffsets[s + 1]).
    struct ComponentMap {
        void Clear()
        {
            mData.Clear();
            mOffsets.Clear();
        }
        int GetCount() const { return mOffsets.GetCount() > 0 ? mOffsets.GetCount() - 1 : 0; }
        // The length of source pSource's list, read from the offsets as they are (0 when negative); 0
        // outside the sources.
        int GetCount(int pSource) const;
        // Entry pIndex of source pSource's list; -1 outside the sources, the list or the data.
        int GetValue(int pSource, int pIndex) const;

        MoxArray<int> mData;
        MoxArray<int> mOffsets;
    };

    // A polygon vertex split off its control point.
    struct DuplicateVertex {
        int mVertexPolyIndex = 0;
        int mNewVertexIndex = 0;
        MoxVector4 mNormal{0.0, 0.0, 0.0, 1.0};
        MoxVector2 mUV;
        int mEdgeIndex = 0;
    };

    // The edge a polygon vertex's side belonged to before a split, and whether it starts a new edge.
    struct SplitEdgeData {
        int mEdgeIndex;
        bool mNewEdge;
    };

    enum ESmoothness { eSmoothnessDefault = 0, eHull = 1, eRough = 2, eMedium = 3, eFine = 4 };
    enum EBoundaryRule { eBoundaryRuleDefault = 0, eCreaseNone = 1, eCreaseEdge = 2, eCreaseAll = 3 };

    // Fill function of the edge-table walk: (table, polygon vertex starting the new edge, counter).
    typedef void (*FillFunction)(MoxArray<int>& pTable, int pPolygonVertex, int* pCount);

    // ---- Creation and lifecycle --------------------------------------------------------------------

    static MoxMesh* Create(MoxManager* pManager, const char* pName);
    // Reports "pContainer && pContainer->GetMoxManager()" and returns null for a null or unmanaged
    // container.
    static MoxMesh* Create(MoxObject* pContainer, const char* pName);
    static MoxObject* Allocate(MoxManager& pManager, const char* pName, const MoxObject* pFrom);

    MoxMesh(MoxManager& pManager, const char* pName);
    ~MoxMesh() override;
    // Objects are not values: Copy and Clone copy content between objects of a manager.
    MoxMesh(const MoxMesh&) = delete;
    MoxMesh& operator=(const MoxMesh&) = delete;
    MoxMesh(MoxMesh&&) = delete;
    MoxMesh& operator=(MoxMesh&&) = delete;

    MoxClassId GetClassId() const override;
    // Geometry (control points, layers), polygons, polygon vertices, edges and the subdivision settings
    // of another mesh; nothing when pObject is not copyable. The edge caches are not copied.
    MoxObject& Copy(const MoxObject& pObject) override;
    // Shrinks every topology array to its size, then the geometry base.
    void Compact() override;
    // Releases the auxiliary arrays, then the geometry base's content; polygons, edges, layers and
    // settings stay.
    void ContentClear() override;
    EType GetAttributeType() const override;

    // Back to the empty state: no polygons, edges, control points or layers, the auxiliary arrays
    // deleted, both edge caches marked not built (the edge-lookup array released), settings at their
    // defaults; mAuxCount and mV2PVMap.mPVToEdge stay. The three mV2PVMap blocks that an unfinished
    // edge-adding pass leaves behind are freed (and nulled), never dropped: a reset or a destruction
    // does not leak them. All array memory is released.
    void Reset();

    // ---- Polygon building and queries ---------------------------------------------------------------

    // Opens a polygon (group pGroup, -1 for none) at the end of the polygon vertices; layer 0 is created
    // when missing. The material element of layer 0 is created on the mesh's first polygon when
    // pMaterial is not -1; when it is eByPolygon and indexed (eIndex or eIndexToDirect) its index array is
    // grown (never shrunk) to the polygon count and its last polygon's entry set to pMaterial. With
    // pLegacy the same is done for the texture element of eTextureChannel0 with pTexture; without,
    // textures are not touched.
    void BeginPolygon(int pMaterial = -1, int pTexture = -1, int pGroup = -1, bool pLegacy = true);
    // As BeginPolygon with group -1, except that the material index array is set to exactly the polygon
    // count (a longer one is truncated), and that pTextures, indexed by channel, gives one texture index
    // per channel 14 .. 30 (PolySetTexture); a null pTextures records no texture.
    void BeginPolygonExt(int pMaterial, int* pTextures);
    // Appends control point pIndex (not range-checked) to the open polygon. A pTextureUVIndex other than
    // -1 creates layer 0 and its eTextureChannel0 UV set when missing (at any polygon), and is written at
    // this polygon vertex when the set is eByPolygonVertex and eIndexToDirect (its index array is sized
    // to the polygon vertex count first). Called before any Begin, the vertex is still appended and the
    // polygon table reports "Index is out of range!".
    void AddPolygon(int pIndex, int pTextureUVIndex = -1);
    // Nothing: a polygon is complete when the next one begins.
    void EndPolygon();

    // Queries return -1 for a polygon index (or position) out of range, except GetPolygonGroup, which
    // tests only the upper bound: a negative index goes to the polygon table, which reports "Index is
    // out of range!" (and reads a zero-filled scratch polygon, so the result is 0).
    int GetPolygonCount() const { return mPolygons.GetCount(); }
    int GetPolygonSize(int pPolygonIndex) const;
    int GetPolygonVertex(int pPolygonIndex, int pPositionInPolygon) const;
    int GetPolygonVertexCount() const { return mPolygonVertices.GetCount(); }
    // The polygon vertices (null when none); the caller may write through the pointer, so handing it out
    // counts as a polygon edit (NotePolygonEdit).
    int* GetPolygonVertices() const
    {
        NotePolygonEdit();
        return mPolygonVertices.GetArray();
    }
    // Records that mPolygons or mPolygonVertices may have changed. Every operation of the mesh that writes
    // them calls it; a caller that writes them inside a BeginAddMeshEdgeIndex /
    // BeginGetMeshEdgeIndexForPolygon pair directly through the members, or through a pointer obtained
    // before Begin, calls it too. The pairs' shortcut for control points of high valence describes the
    // polygons as they were at Begin, and is not used once an edit is recorded (ComputeComponentMaps
    // needs no record: it rebuilds the shortcut from the polygons as they are).
    void NotePolygonEdit() const { ++mPolygonEditCount; }
    int GetPolygonVertexIndex(int pPolygonIndex) const;
    int GetPolygonGroup(int pPolygonIndex) const;
    // True when every polygon has 3 vertices (true without polygons).
    bool IsTriangleMesh() const;

    // ---- Invariants ----------------------------------------------------------------------------------
    //
    // Every operation accepts any mesh and stays inside its arrays; these checks tell whether a mesh is
    // the well-formed kind that a host builds with BeginPolygon/AddPolygon and that every operation keeps
    // well-formed. Silent, O(polygon vertices + edges + element entries).

    // The topology invariants: polygon p's run starts where polygon p - 1's ends (polygon 0's at 0),
    // every size is at least 0, the runs cover mPolygonVertices exactly, and every polygon vertex names a
    // control point (0 .. control point count - 1).
    bool HasWellFormedTopology() const;
    // HasWellFormedTopology, and: every edge names a polygon vertex (0 .. polygon vertex count - 1); every
    // element of every layer is sized as its mapping requires (MoxLayer::IsSizedFor).
    bool IsWellFormed() const;

    // ---- Polygon removal and clean-up ---------------------------------------------------------------

    // Removes polygon pPolygonIndex and keeps everything indexed by polygon, polygon vertex or edge in
    // step. First every layer's direct elements become index-to-direct (where the kind allows it). Each
    // edge starting in the polygon is re-pointed to the first matching side of another polygon (lowest
    // polygon, then position; both ends read clamped to the edge count, a kept quirk) or removed. Then
    // every element of every layer loses the polygon's entries by its mapping (by polygon vertex: its run;
    // by polygon: one entry; by edge: the removed edges, last first); index-to-direct elements lose index
    // entries only, their direct arrays keep every value. Finally the polygon's vertices and record go and
    // later runs and edge starts shift down by its size.
    // Returns pPolygonIndex, or -1 (nothing changed) when it is not a polygon. Reports only what the
    // arrays report for elements shorter than the mesh requires. O(polygon vertices x polygon size) for
    // the edge search plus O(polygon vertices + edges) per element.
    int RemovePolygon(int pPolygonIndex);
    // True when some polygon is bad: fewer than 3 vertices, or a vertex -1 or repeated within the
    // polygon. The scan stops at the first polygon found by the -1/repeat test. Quirk kept: the last
    // vertex is only compared with the others, never tested for -1 by itself, so {7, 8, 9, -1} is not
    // bad. Control points are not checked against the count. Silent. O(sum of squared polygon sizes).
    bool CheckSamePointTwice() const;
    // Removes every bad polygon (as CheckSamePointTwice defines it), from the last to the first, through
    // RemovePolygon; the survivors keep their order. Returns the number removed (0 for an empty mesh).
    // O(bad polygons x RemovePolygon).
    int RemoveBadPolygons();

    // ---- UV, material and texture indices (layer 0) -------------------------------------------------
    //
    // The UV set and the texture element of a channel (eTextureChannel0 .. eTextureChannel16) and the
    // material element, all on layer 0. The Init operations create layer 0 and the element when missing
    // and choose the modes the rest of the mesh expects:
    //   InitMaterialIndices: eByControlPoint -> eByControlPoint with one index per control point (with
    //     no control points the mapping stays as it was and the index array stays empty); eByPolygon ->
    //     one index per polygon; anything else -> eByMesh with one index. Always eIndexToDirect.
    //   InitTextureIndices: eByPolygon -> one index per polygon; anything else (eByControlPoint too) ->
    //     eByMesh with one index. Always eIndexToDirect.
    //   InitTextureUVIndices: empties the UV set, then eByPolygonVertex -> eIndexToDirect; eByMesh and
    //     eByControlPoint -> eDirect; anything else (eByPolygon, eByEdge too) -> eNone, eDirect. The index
    //     array is left empty for SetTextureUVIndex or polygon building to fill.
    // New index entries are 0. The read-only operations never create anything: a missing layer or
    // element gives false, 0, -1 or no action. Nothing is reported by these operations themselves.

    // The UV set of the channel (created when missing) with its direct array emptied and then sized to
    // pCount zero UVs. Modes are not touched.
    void InitTextureUV(int pCount, MoxLayerElement::EType pTypeIdentifier = MoxLayerElement::eTextureChannel0);
    // Appends pUV to the UV set's direct array when layer 0 and the set exist; never creates anything.
    void AddTextureUV(MoxVector2 pUV, MoxLayerElement::EType pTypeIdentifier = MoxLayerElement::eTextureChannel0);
    // The UV set's direct array; *pUVs is null on false. False for a null pUVs.
    bool GetTextureUV(MoxLayerElementArrayTemplate<MoxVector2>** pUVs,
                      MoxLayerElement::EType pTypeIdentifier = MoxLayerElement::eTextureChannel0) const;
    // The count of the UV set's direct array, 0 without one.
    int GetTextureUVCount(MoxLayerElement::EType pTypeIdentifier = MoxLayerElement::eTextureChannel0) const;
    // The channels of layer pLayer that hold a UV set, in increasing order; empty for a missing layer.
    MoxArray<MoxLayerElement::EType> GetAllChannelUV(int pLayer);
    // The number of layers holding at least one UV set, whatever the channel.
    int GetUVLayerCount() const;
    void InitMaterialIndices(MoxLayerElement::EMappingMode pMappingMode);
    // The material element's index array; false (and *pIndexArray null) without the element or when it
    // is eDirect. False for a null pIndexArray.
    bool GetMaterialIndices(MoxLayerElementArrayTemplate<int>** pIndexArray) const;
    void InitTextureIndices(MoxLayerElement::EMappingMode pMappingMode,
                            MoxLayerElement::EType pTextureType = MoxLayerElement::eTextureChannel0);
    // The same on a given texture element (null does nothing).
    void InitTextureIndices(MoxLayerElementTexture* pLayerElementTexture, MoxLayerElement::EMappingMode pMappingMode);
    void InitTextureUVIndices(MoxLayerElement::EMappingMode pMappingMode,
                              MoxLayerElement::EType pTypeIdentifier = MoxLayerElement::eTextureChannel0);
    // As GetMaterialIndices, for the texture element of the channel.
    bool GetTextureIndices(MoxLayerElementArrayTemplate<int>** pTextureIndexArray,
                           MoxLayerElement::EType pTextureType = MoxLayerElement::eTextureChannel0) const;
    // The UV index of one polygon vertex, when the UV set is eByPolygonVertex and eIndexToDirect; -1
    // otherwise, for a polygon index at or past the count, a position at or past the polygon's size, or
    // a polygon vertex outside the index array. A negative polygon index goes to the polygon table,
    // which reports "Index is out of range!"; a negative position is not rejected as such (the corner
    // mIndex + position is used), but a corner below 0 gives -1.
    int GetTextureUVIndex(int pPolygonIndex, int pPositionInPolygon,
                          MoxLayerElement::EType pTypeIdentifier = MoxLayerElement::eTextureChannel0);
    // Stores the UV index of one polygon vertex under the same conditions, first growing the index array
    // to one entry per polygon vertex; a corner outside the index array is not written. Silent.
    void SetTextureUVIndex(int pPolygonIndex, int pPositionInPolygon, int pIndex,
                           MoxLayerElement::EType pTypeIdentifier = MoxLayerElement::eTextureChannel0);

    // ---- Per-polygon-vertex lookups -----------------------------------------------------------------
    //
    // The value an element gives corner pPositionInPolygon of polygon pPolygonIndex. The component is
    // the polygon vertex (eByPolygonVertex), the polygon (eByPolygon) or the corner's control point
    // (eByControlPoint), then, unless eDirect, the index array's entry for it. eByMesh, eByEdge and
    // eNone are not supported. A polygon or position out of range fails silently; faults inside the
    // element are reported from "scene/geometry/moxmesh": "index into mPolygonVertices out-of-range",
    // "MappingMode not supported", "index into IndexArray out-of-range" (function
    // GetPolygonVertexLayerElementIndex), "index into DirectArray out-of-range" (function
    // GetPolygonVertexLayerElementValue). Instances exist for MoxVector2 and MoxVector4; pElement must
    // not be null.

    // The index into the direct array (-1 first; an index entry of -1 passes as an unmapped corner).
    template <class T>
    bool GetPolygonVertexLayerElementIndex(const MoxLayerElementTemplate<T>* pElement, int pPolygonIndex,
                                           int pPositionInPolygon, int& pIndex) const;
    // The value; on false pValue is untouched. With pAllowUnmapped an index of exactly -1 succeeds with
    // pValue untouched.
    template <class T>
    bool GetPolygonVertexLayerElementValue(const MoxLayerElementTemplate<T>* pElement, int pPolygonIndex,
                                           int pPositionInPolygon, T& pValue, bool pAllowUnmapped) const;
    // Through normal element 0; false without one. An unmapped corner (index -1) is an error here.
    bool GetPolygonVertexNormal(int pPolyIndex, int pVertexIndex, MoxVector4& pNormal) const;
    // One normal per corner, polygon after polygon; false and empty as soon as one corner fails.
    bool GetPolygonVertexNormals(MoxArray<MoxVector4>& pNormals) const;
    // Through the UV set named pUVSetName (the first UV set for null); false without one. An unmapped
    // corner succeeds with pUnmapped true and pUV untouched.
    bool GetPolygonVertexUV(int pPolyIndex, int pVertexIndex, const char* pUVSetName, MoxVector2& pUV,
                            bool& pUnmapped) const;
    // One UV per corner, (0, 0) for unmapped corners, whose polygon-vertex positions are appended to
    // pUnmappedUVId (cleared first) in increasing order; false and pUVs empty as soon as one corner fails.
    bool GetPolygonVertexUVs(const char* pUVSetName, MoxArray<MoxVector2>& pUVs,
                             MoxArray<int>* pUnmappedUVId = nullptr) const;

    // ---- Crease, hole and subdivision settings ------------------------------------------------------
    //
    // Creases and holes live in elements that the caller creates and sizes; these operations never
    // create one. Each takes the element from the first layer that holds one of its kind and accepts it
    // only in one shape: edge crease eByEdge / eDirect (indexed by edge), vertex crease eByControlPoint /
    // eDirect (by control point), hole eByPolygon / eDirect (by polygon). Single values are range-tested
    // against the mesh's own count (edges, control points, polygons), not against the element.
    // Failures: false for setters and array getters, 0.0 / false for single-value getters; nothing is
    // reported.
    //
    // Memory safety: a negative index is rejected (the getter gives 0.0 / false, the setter false), and a
    // setter whose index is in range for the mesh but past the end of a shorter element writes nothing
    // and returns false, so no index ever reaches outside the element's buffer. The array getters return
    // false for a null output pointer. The array setters copy as many values as the element holds (not
    // as the source holds); a shorter source reports through its own range check and supplies zeros.

    double GetEdgeCreaseInfo(int pEdgeIndex);
    bool GetEdgeCreaseInfoArray(MoxLayerElementArrayTemplate<double>** pCreaseArray);
    bool SetEdgeCreaseInfo(int pEdgeIndex, double pWeight);
    bool SetEdgeCreaseInfoArray(MoxArray<double>* pWeightArray);
    double GetVertexCreaseInfo(int pVertexIndex);
    bool GetVertexCreaseInfoArray(MoxLayerElementArrayTemplate<double>** pCreaseArray);
    bool SetVertexCreaseInfo(int pVertexIndex, double pWeight);
    bool SetVertexCreaseInfoArray(MoxArray<double>* pWeightArray);
    bool GetPolyHoleInfo(int pFaceIndex);
    bool GetPolyHoleInfoArray(MoxLayerElementArrayTemplate<bool>** pHoleArray);
    bool SetPolyHoleInfo(int pFaceIndex, bool pIsHole);
    bool SetPolyHoleInfoArray(MoxArray<bool>* pHoleArray);

    ESmoothness GetMeshSmoothness() const { return mSmoothness; }
    void SetMeshSmoothness(ESmoothness pSmoothness) { mSmoothness = pSmoothness; }
    int GetMeshPreviewDivisionLevels() const { return mPreviewDivisionLevels; }
    // Negative levels are stored as 0; there is no upper bound.
    void SetMeshPreviewDivisionLevels(int pPreviewDivisionLevels);
    int GetMeshRenderDivisionLevels() const { return mRenderDivisionLevels; }
    void SetMeshRenderDivisionLevels(int pRenderDivisionLevels);
    bool GetDisplaySubdivisions() const { return mDisplaySubdivisions; }
    void SetDisplaySubdivisions(bool pDisplaySubdivisions) { mDisplaySubdivisions = pDisplaySubdivisions; }
    EBoundaryRule GetBoundaryRule() const { return mBoundaryRule; }
    void SetBoundaryRule(EBoundaryRule pBoundaryRule) { mBoundaryRule = pBoundaryRule; }
    bool GetPreserveBorders() const { return mPreserveBorders; }
    void SetPreserveBorders(bool pPreserveBorders) { mPreserveBorders = pPreserveBorders; }
    bool GetPreserveHardEdges() const { return mPreserveHardEdges; }
    void SetPreserveHardEdges(bool pPreserveHardEdges) { mPreserveHardEdges = pPreserveHardEdges; }
    bool GetPropagateEdgeHardness() const { return mPropagateEdgeHardness; }
    void SetPropagateEdgeHardness(bool pPropagateEdgeHardness) { mPropagateEdgeHardness = pPropagateEdgeHardness; }

    // ---- Normals ------------------------------------------------------------------------------------

    // pCW chooses the winding the polygons are taken to have: false (the default) counter-clockwise, the
    // normal pointing to the side from which the corners are seen counter-clockwise; true clockwise.

    // Sums, per control point, the unnormalised normals of every corner at it (the cross product of the
    // corner's two sides: weighted by area and angle, on purpose) and counts them. pNormalInfo is resized
    // to the control point count; records it already held keep their contents. A corner whose control
    // point, or a neighbour's, is negative empties pNormalInfo and reports "false"; control points at or
    // past the count are read as they come (their positions read zero). O(polygon vertices).
    void ComputeNormalsPerCtrlPoint(MoxArray<VertexNormalInfo>& pNormalInfo, bool pCW = false);
    // Replaces layer 0's normals by one per control point (eByControlPoint, eDirect): the mean of its
    // corner normals, normalised; (0, 0, 0, 1) for a point no polygon uses. Reports "isvalid && direct !=
    // NULL" when no normal array can be had. With a negative control point in a polygon the result is
    // undefined (the reads of the empty sums are reported). O(polygon vertices + control points).
    void GenerateNormalsByCtrlPoint(bool pCW);
    // One normalised corner normal per polygon vertex, in polygon-vertex order (mNumNormal 1 each): the
    // faceted normals. Without control points reports "lPoints != NULL" and leaves the array as it was; a
    // corner, or a neighbour, outside 0 .. control points - 1 empties the array and reports "false".
    // O(polygon vertices).
    void ComputeNormalsPerPolygonVertex(MoxArray<VertexNormalInfo>& pNormalInfo, bool pCW = false);
    // Gives layer 0 normals. Returns false only without layer 0. Existing normals are kept (true, no
    // change) unless pOverwrite. With pByCtrlPoint: GenerateNormalsByCtrlPoint. Otherwise one normal per
    // polygon vertex (eByPolygonVertex, eDirect): the faceted normal, except for corners that a smoothing
    // element marks smooth, which take their control point's area-weighted mean normal over every corner
    // at it. Smoothing by polygon (value > 0) marks the polygon's corners; smoothing by edge (value > 0)
    // marks, in each polygon having that edge, the corners at either end; either way the edge lookups are
    // opened, so a smoothing element on a mesh without edges reports from them. Other mappings report
    // "lMappingMode == MoxLayerElement::eByPolygon || lMappingMode == MoxLayerElement::eByEdge" and are
    // skipped; indexed edge smoothing reports "lReferenceMode == MoxLayerElement::eDirect" and is read as
    // direct. Kept quirks: the smoothed mean is always counter-clockwise whatever pCW says; smoothing by
    // polygon reads the size and value through the index array but the start at the polygon itself; the
    // edge test clamps control points to the polygon count. A corner left without a normal gets (0, 0, 0,
    // 1). O(polygon vertices + edges) with the caches the call opens.
    bool GenerateNormals(bool pOverwrite = false, bool pByCtrlPoint = false, bool pCW = false);
    // Whether layer 0's normals, read per control point (directly or through the index array), were made
    // counter-clockwise: true as soon as one control point's stored normal lies within 0.01 of its
    // recomputed counter-clockwise mean (existential on purpose; an unused point stores (0, 0, 0, 1) either
    // way and matches). False without normals, for an index array not sized to the control points
    // (reported with that condition's text) and for a negative corner ("(lCurrentIndex >= 0 &&
    // lPreviousIndex >= 0 && lNextIndex >= 0)"). Not const: it locks the element's arrays.
    // O(polygon vertices + control points).
    bool CheckIfVertexNormalsCCW();
    // Makes this mesh's normals shared wherever pMesh's are: at every control point with more than two
    // polygon vertices, all element entries whose reference normals are equal within 1e-06 get the
    // normalised mean of this mesh's values there. Two smooth groups meeting at one point become one (kept
    // on purpose). Elements mapped by control point or by polygon vertex are conformed, others skipped.
    // False, with nothing changed, for a null pMesh or one that differs in control point count, polygons,
    // their sizes and control points, or in the count, modes and array sizes of its normal elements.
    // O(polygon vertices) expected (coinciding normals are grouped, not compared pair by pair).
    bool ConformNormalsTo(const MoxMesh* pMesh);

    // ---- Tangents and binormals ---------------------------------------------------------------------

    // Gives layer pUVSetLayerIndex a tangent and a binormal element named after pUVSet, one direct value
    // per polygon vertex, from layer 0's normals (never created here) and the UV set. Polygons are cut
    // into fans from their first vertex; each corner takes the frame of one triangle (positions 0 and 1
    // from the first, position t + 2 from triangle t). Corners at one control point whose normals agree
    // within 1e-06, whose UV indices are equal and whose handedness agrees (or pIgnoreHandedness) share
    // one averaged, normalised tangent and binormal; a tangent's w is +1 or -1 (its handedness).
    // Returns false for a null pUVSet, without layer 0 or its normals, when working memory cannot be had
    // (reported "lTangents", "lBinormals" or "lData"), or at a negative control point ("pv >= 0"); true
    // otherwise. With pOverwrite false and tangents already on layer 0 (whatever pUVSetLayerIndex is):
    // true, nothing changed. Kept quirk: a polygon of fewer than two vertices still advances the running
    // polygon vertex by 2. O(polygon vertices) expected: the corners of one control point are grouped
    // by bucket, not compared pair by pair.
    bool GenerateTangentsData(MoxLayerElementUV* pUVSet, int pUVSetLayerIndex, bool pOverwrite = false,
                              bool pIgnoreHandedness = false);
    // The same for the first UV set named pUVSetName (null: ""), layers in order and channels
    // eTextureChannel0 .. eTextureChannel16 on each; false when none has that name.
    bool GenerateTangentsData(const char* pUVSetName = nullptr, bool pOverwrite = false,
                              bool pIgnoreHandedness = false);
    // The same for the eTextureChannel0 UV set of layer pUVSetLayerIndex (false when there is none).
    bool GenerateTangentsData(int pUVSetLayerIndex, bool pOverwrite = false, bool pIgnoreHandedness = false);
    // The same for every UV set, layers in order and channels in order on each. The result starts true
    // when the mesh has a layer (false otherwise) and becomes each call's result; a false result skips
    // the rest of that layer's channels. Returns the last result.
    bool GenerateTangentsDataForAllUVSets(bool pOverwrite = false, bool pIgnoreHandedness = false);

    // ---- Edges --------------------------------------------------------------------------------------

    int GetMeshEdgeCount() const { return mEdgeArray.GetCount(); }
    // Resizes mEdgeArray (exact reallocation); new entries name no side until SetMeshEdgeIndex sets them.
    void SetMeshEdgeCount(int pEdgeCount);
    // One entry per unordered pair of control points joined by a polygon side: the first such side in
    // (polygon, position) order, in that order; a side from a control point to itself is an edge too.
    // O(polygon vertices).
    void BuildMeshEdgeArray();
    // The polygon holding edge pEdgeIndex's polygon vertex (binary search over mPolygons); -1 for an edge
    // outside the array or a vertex outside every polygon.
    int FindPolygonIndex(int pEdgeIndex);
    // -1, 0 or 1 as the key record's mIndex lies before, inside or after polygon record pB's range.
    static int PolygonIndexCompare(const void* pA, const void* pB);

    // Builds mV2PVMap (the polygon vertices of each control point, and the set of existing edges); does
    // nothing when built. A failed allocation is reported with the block's name and leaves it unbuilt,
    // with nothing leaked. O(polygon vertices + edges).
    void BeginAddMeshEdgeIndex();
    // Frees mV2PVMap (its edge set's record pool included) and mPVToEdge; harmless when not built.
    void EndAddMeshEdgeIndex();
    // Appends an edge for the side joining the two control points; -1 (nothing added) when the check
    // finds the edge or when no side joins them. The check scans the edges (O(edges)).
    int AddMeshEdgeIndex(int pStartVertexIndex, int pEndVertexIndex, bool pCheckForDuplicates);
    // Entry pEdgeIndex names the first side (polygon order) joining the two control points, as that
    // polygon winds it. pEdgeIndex on success, -1 for bad arguments (reported as "false") or no such
    // side, -2 for a known edge when checking. With mV2PVMap built: O(corners of the start control point)
    // (O(log) for one of high valence while no polygon edit is recorded since Begin, see NotePolygonEdit);
    // without: a scan of every polygon vertex.
    int SetMeshEdgeIndex(int pEdgeIndex, int pStartVertexIndex, int pEndVertexIndex, bool pCheckForDuplicates,
                         int pExistedEdgeCount = -1);
    // Entry pEdgeIndex names the side at pPositionInPolygon of pPolygonIndex; false for bad arguments or
    // when an edge joins the side's control points already (O(edges)).
    bool SetMeshEdgeIndex(int pEdgeIndex, int pPolygonIndex, int pPositionInPolygon);
    // AddMeshEdgeIndex with the check, for a polygon side. The polygon index equal to the polygon count
    // passes the range test (the polygon array reports the read).
    int AddMeshEdgeIndexForPolygon(int pPolygonIndex, int pPositionInPolygon);

    // The first of edges 0 .. limit - 1 (limit pExistedEdgeCount, or the edge count for -1) joining the
    // two control points, pReversed telling whether it runs from end to start; -1 when none, for control
    // points outside the mesh or a limit above the edge count. O(edges).
    int GetMeshEdgeIndex(int pStartVertexIndex, int pEndVertexIndex, bool& pReversed, int pExistedEdgeCount = -1);
    // The control points an edge joins; -1 for both outside the edges or the polygon vertices. O(1) with
    // BeginGetMeshEdgeVertices, else a scan of the polygons.
    void GetMeshEdgeVertices(int pEdgeIndex, int& pStartVertexIndex, int& pEndVertexIndex) const;
    void BeginGetMeshEdgeVertices();
    void EndGetMeshEdgeVertices();
    // Builds mV2PVMap and records in mPVToEdge each edge start's position in mEdgeArray (meaningful for
    // an edge array made by BuildMeshEdgeArray). O(polygon vertices + edges).
    void BeginGetMeshEdgeIndexForPolygon();
    void EndGetMeshEdgeIndexForPolygon();
    // The edge of the side at pPositionInPolygon of pPolygonIndex; -1 when none or for bad arguments.
    // With the cache, from the corners of the side's start control point (see moxmeshedgequeries.cxx for
    // where that differs from GetMeshEdgeIndex), else GetMeshEdgeIndex.
    int GetMeshEdgeIndexForPolygon(int pPolygonIndex, int pPositionInPolygon);
    // Removes the listed edges (an increasing list) from mEdgeArray and from layer 0's edge-mapped
    // smoothing, user data, visibility and edge crease; the list's count, or -1 (nothing changed) when its
    // last entry is not an edge or layer 0 is missing; 0 for an empty list. O(edges) for an increasing list.
    int RemoveDuplicatedEdges(MoxArray<int>& pEdgeIndexList);

    // ---- Adjacency ----------------------------------------------------------------------------------

    // Fills pMap with, for every control point, its polygon vertices in increasing order (offsets plus
    // one flat list; FillWithControlPointInfo). A polygon vertex naming a control point outside the count
    // is listed under the last control point. Silent. O(polygon vertices + control points).
    void ComputeControlPointToVerticesMap(ControlPointToVerticesMap& pMap);
    // For every edge the polygons containing it, for every polygon its edges (both maps cleared first).
    // Builds mV2PVMap when needed and ends it in every case, also when the caller had built it. An edge
    // whose polygon vertex or start is out of range is reported and skipped, as is a directed pair met on
    // an earlier edge; a skipped edge's end offset stays 0. O(polygon vertices + edges).
    void ComputeComponentMaps(ComponentMap& pEdgeToPolygons, ComponentMap& pPolygonToEdges);

    // ---- Split and merge ----------------------------------------------------------------------------

    // Gives every polygon vertex that is not the first user of its control point a new control point (a
    // copy of the position), numbered from the old count in polygon-vertex order, whatever the values.
    // Layer 0's normals and the UV set of channel pType then hold one value per control point (normals
    // mapped by polygon keep their mapping); the first skin's clusters weight every copy like its
    // original; with edges, every polygon vertex ends starting an edge (new ones follow the old, in
    // polygon-vertex order; grown entries no polygon vertex claims hold 0) and the first smoothing element
    // is dropped (a mesh without edges keeps it); blend-shape target shapes get the new count, each copy
    // taking its original's point, normal (normals re-made per control point) and UV (a new UV set, named
    // "", replaces the shape's). The shapes' UV copy keeps a deliberate short read: as many bytes as the
    // shape has control points, never more than its UV array holds; everything not read is 0. Values read
    // through an index outside its array read 0.
    // Returns false, with nothing changed, without layer 0, at a negative polygon vertex ("lCurrentVertexIndex
    // >= 0"), when scratch memory cannot be had ("dva != NULL"), or when a polygon's vertex run leaves the
    // polygon vertices or the runs add up to more than there are (a corrupted polygon table); otherwise
    // whether the mesh had control points. A polygon vertex or cluster entry naming a
    // control point past the count reports "dva != NULL" and is left as it is. O(n log n) in polygon
    // vertices, control points and edges.
    bool SplitPoints(MoxLayerElement::EType pType = MoxLayerElement::eTextureChannel0);
    // One entry per control point: the entry of the last earlier control point closer than 0.0001 (strict,
    // MoxVector4::Distance over x, y, z), or the point itself; points with a non-finite coordinate merge
    // with nothing. True when some pair is that close. When scratch memory cannot be had, every entry is
    // its own index and the result is false. O(n) expected; O(n + close pairs of distinct positions) worst.
    bool BuildMergeList(MoxArray<int>& pMergeList);
    // Applies a merge list (normally BuildMergeList's, on a mesh where each control point has one polygon
    // vertex): for each control point in order, its first polygon vertex (as already rewritten) takes its
    // normal, indexed by polygon vertex from then on, and its merge-list entry; a control point without a
    // polygon vertex moves nothing, and positions past the control point count take no normal (without
    // normals the polygon vertices are still rewritten). Then edge 0 and every edge that is the first to
    // join its two control points are kept; the first skin's clusters drop the pairs naming the list's
    // entry 0 and keep their settings; control points whose entry differs from their index are removed
    // (polygon vertices renumbered); every target shape is cut to the new count and takes the first
    // shape's values (0 past what that shape held); the normals become mapped by polygon vertex when
    // anything was removed. A list shorter than the control points is read through the array's range
    // report. A step whose scratch memory cannot be had is skipped. O(n log n).
    void MergePointsForPolygonVerteNormals(MoxArray<int>& pMergeList);

    // ---- Data members (public, in declaration order) -----------------------------------------------

    MoxArray<PolygonDef> mPolygons;
    MoxArray<int> mPolygonVertices;
    MoxArray<int> mEdgeArray;
    MoxArray<PolygonDef>* mPolygonsAux = nullptr;
    MoxArray<int>* mPolygonVerticesAux = nullptr;
    int mAuxCount = 0;
    ESmoothness mSmoothness = eSmoothnessDefault;
    int mPreviewDivisionLevels = 0;
    int mRenderDivisionLevels = 0;
    bool mDisplaySubdivisions = false;
    EBoundaryRule mBoundaryRule = eBoundaryRuleDefault;
    bool mPreserveBorders = false;
    bool mPreserveHardEdges = false;
    bool mPropagateEdgeHardness = false;
    V2PVMap mV2PVMap;
    EdgeLookupDef mEdgeLookup;

protected:
    void Construct(const MoxObject* pFrom) override;
    void Destruct(bool pRecursive) override;

    // The control point of polygon vertex pPolygonVertex when it is below pCount (compared unsigned),
    // else pCount - 1: a negative entry and one at or past pCount both clamp to pCount - 1.
    int GetIndex(int pPolygonVertex, int pCount) const;
    // The texture index of channel pTextureType for the newest polygon. An element created here (first
    // polygon, index not -1) always lands on eTextureChannel0, whatever channel was asked for; an indexed
    // eByPolygon element gets exactly one index per polygon, the last one pTextureIndex.
    void PolySetTexture(MoxLayer* pLayer, int pTextureIndex, MoxLayerElement::EType pTextureType);
    void RemoveUVIndex(MoxLayerElementUV* pLayerElementUV, int pPolygonIndex, int pStart);
    void RemoveTextureIndex(MoxLayerElementTexture* pLayerElementTexture, int pPolygonIndex, int pStart);
    bool GetBadPolyIndices(MoxArray<int>& pBadPolyIndices, bool pCheckOne) const;
    void FillMeshEdgeTable(MoxArray<int>& pTable, int* pCount, FillFunction FillFct);
    // Frees the three blocks of mV2PVMap and clears its edge set; mPVToEdge and mValid are untouched.
    void FreeV2PVBlocks();

    // What mV2PVMap's blocks do not record, kept beside them by BeginAddMeshEdgeIndex and dropped by
    // EndAddMeshEdgeIndex: the number of control points the blocks cover, and, for each control point of
    // high valence, its corners sorted by neighbouring control point (layout in moxmeshedgetable.cxx).
    int mV2PVControlPointCount = 0;
    MoxArray<long long> mV2PVNeighbours;
    // The number of polygon edits recorded (NotePolygonEdit); it only grows, wrapping.
    mutable unsigned int mPolygonEditCount = 0;
    // Builds mV2PVNeighbours anew over the built map's corners, from the polygons as they are now (the map
    // keeps describing the corners of Begin). Nothing when the map is not built.
    void RebuildV2PVNeighbours();
    // The number of {polygon, position} pairs of pControlPoint in mV2PVMap; 0 when the blocks are absent
    // or do not cover it.
    int GetV2PVCount(int pControlPoint) const;
    // The first position at or after pFrom among pControlPoint's pairs in mV2PVMap whose corner may have
    // pNeighbour as its previous or next control point; -1 past the last. For most control points that
    // is simply pFrom; for one of high valence only the candidates are visited, so that walking a fan's
    // apex for one neighbour costs O(log valence) instead of O(valence). The candidates are those of the
    // polygons as they were at Begin: once a polygon edit is recorded, or the polygon or polygon-vertex
    // count differs, every pair is visited again.
    int NextV2PVCorner(int pControlPoint, int pNeighbour, int pFrom) const;
};

}  // namespace moxsdk
