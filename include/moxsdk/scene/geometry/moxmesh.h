#pragma once
// MoxMesh: the polygon mesh.
//
// A mesh holds control points (in its geometry base), polygons that index them, an optional edge table
// and layers of per-component attributes (in its layer container base). Polygon p's vertices are
// mPolygonVertices[mPolygons[p].mIndex .. mIndex + mSize - 1], in winding order; polygons are stored in
// creation order with contiguous vertex runs, so mIndex of polygon p + 1 equals mIndex + mSize of p.
// A polygon vertex is a position in mPolygonVertices. An edge is named by the polygon vertex at which
// one polygon side begins (mEdgeArray); the side runs to the next vertex of the same polygon, the last
// wrapping to the first.
//
// Derived data (edges, normals, tangents, adjacency maps) is computed on request. The Begin/End pairs
// build optional caches that make repeated queries cheap; every query gives the same answer without
// them. Caller mistakes are reported through _MoxAssert ("scene/geometry/moxmesh") and answered with
// the failure value each operation documents; nothing aborts or throws.
//
// The implementation is split by concern: moxmesh.cxx (lifecycle, polygon building and queries),
// moxmeshlayers.cxx (UV, material, texture, per-polygon-vertex lookups, creases, holes, settings),
// moxmeshremove.cxx (polygon removal and clean-up), moxmeshedges.cxx (edge table, editing, queries),
// moxmeshadjacency.cxx (control-point and component maps), moxmeshnormals.cxx, moxmeshtangents.cxx,
// moxmeshsplit.cxx (split and merge).

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
        int GetCount(int pSource) const;
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

    // Back to the empty state: no polygons, edges, control points or layers; settings at defaults.
    void Reset();

    // ---- Polygon building and queries ---------------------------------------------------------------

    void BeginPolygon(int pMaterial = -1, int pTexture = -1, int pGroup = -1, bool pLegacy = true);
    void BeginPolygonExt(int pMaterial, int* pTextures);
    void AddPolygon(int pIndex, int pTextureUVIndex = -1);
    void EndPolygon();

    int GetPolygonCount() const { return mPolygons.GetCount(); }
    int GetPolygonSize(int pPolygonIndex) const;
    int GetPolygonVertex(int pPolygonIndex, int pPositionInPolygon) const;
    int GetPolygonVertexCount() const { return mPolygonVertices.GetCount(); }
    int* GetPolygonVertices() const { return mPolygonVertices.GetArray(); }
    int GetPolygonVertexIndex(int pPolygonIndex) const;
    int GetPolygonGroup(int pPolygonIndex) const;
    bool IsTriangleMesh() const;

    // ---- Polygon removal and clean-up ---------------------------------------------------------------

    int RemovePolygon(int pPolygonIndex);
    bool CheckSamePointTwice() const;
    int RemoveBadPolygons();

    // ---- UV, material and texture indices (layer 0) -------------------------------------------------

    void InitTextureUV(int pCount, MoxLayerElement::EType pTypeIdentifier = MoxLayerElement::eTextureChannel0);
    void AddTextureUV(MoxVector2 pUV, MoxLayerElement::EType pTypeIdentifier = MoxLayerElement::eTextureChannel0);
    bool GetTextureUV(MoxLayerElementArrayTemplate<MoxVector2>** pUVs,
                      MoxLayerElement::EType pTypeIdentifier = MoxLayerElement::eTextureChannel0) const;
    int GetTextureUVCount(MoxLayerElement::EType pTypeIdentifier = MoxLayerElement::eTextureChannel0) const;
    MoxArray<MoxLayerElement::EType> GetAllChannelUV(int pLayer);
    int GetUVLayerCount() const;
    void InitMaterialIndices(MoxLayerElement::EMappingMode pMappingMode);
    bool GetMaterialIndices(MoxLayerElementArrayTemplate<int>** pIndexArray) const;
    void InitTextureIndices(MoxLayerElement::EMappingMode pMappingMode,
                            MoxLayerElement::EType pTextureType = MoxLayerElement::eTextureChannel0);
    void InitTextureIndices(MoxLayerElementTexture* pLayerElementTexture, MoxLayerElement::EMappingMode pMappingMode);
    void InitTextureUVIndices(MoxLayerElement::EMappingMode pMappingMode,
                              MoxLayerElement::EType pTypeIdentifier = MoxLayerElement::eTextureChannel0);
    bool GetTextureIndices(MoxLayerElementArrayTemplate<int>** pTextureIndexArray,
                           MoxLayerElement::EType pTextureType = MoxLayerElement::eTextureChannel0) const;
    int GetTextureUVIndex(int pPolygonIndex, int pPositionInPolygon,
                          MoxLayerElement::EType pTypeIdentifier = MoxLayerElement::eTextureChannel0);
    void SetTextureUVIndex(int pPolygonIndex, int pPositionInPolygon, int pIndex,
                           MoxLayerElement::EType pTypeIdentifier = MoxLayerElement::eTextureChannel0);

    // ---- Per-polygon-vertex lookups -----------------------------------------------------------------

    template <class T>
    bool GetPolygonVertexLayerElementIndex(const MoxLayerElementTemplate<T>* pElement, int pPolygonIndex,
                                           int pPositionInPolygon, int& pIndex) const;
    template <class T>
    bool GetPolygonVertexLayerElementValue(const MoxLayerElementTemplate<T>* pElement, int pPolygonIndex,
                                           int pPositionInPolygon, T& pValue, bool pAllowUnmapped) const;
    bool GetPolygonVertexNormal(int pPolyIndex, int pVertexIndex, MoxVector4& pNormal) const;
    bool GetPolygonVertexNormals(MoxArray<MoxVector4>& pNormals) const;
    bool GetPolygonVertexUV(int pPolyIndex, int pVertexIndex, const char* pUVSetName, MoxVector2& pUV,
                            bool& pUnmapped) const;
    bool GetPolygonVertexUVs(const char* pUVSetName, MoxArray<MoxVector2>& pUVs,
                             MoxArray<int>* pUnmappedUVId = nullptr) const;

    // ---- Crease, hole and subdivision settings ------------------------------------------------------

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

    void ComputeNormalsPerCtrlPoint(MoxArray<VertexNormalInfo>& pNormalInfo, bool pCW = false);
    void GenerateNormalsByCtrlPoint(bool pCW);
    void ComputeNormalsPerPolygonVertex(MoxArray<VertexNormalInfo>& pNormalInfo, bool pCW = false);
    bool GenerateNormals(bool pOverwrite = false, bool pByCtrlPoint = false, bool pCW = false);
    bool CheckIfVertexNormalsCCW();
    bool ConformNormalsTo(const MoxMesh* pMesh);

    // ---- Tangents and binormals ---------------------------------------------------------------------

    bool GenerateTangentsData(MoxLayerElementUV* pUVSet, int pUVSetLayerIndex, bool pOverwrite = false,
                              bool pIgnoreHandedness = false);
    bool GenerateTangentsData(const char* pUVSetName = nullptr, bool pOverwrite = false,
                              bool pIgnoreHandedness = false);
    bool GenerateTangentsData(int pUVSetLayerIndex, bool pOverwrite = false, bool pIgnoreHandedness = false);
    bool GenerateTangentsDataForAllUVSets(bool pOverwrite = false, bool pIgnoreHandedness = false);

    // ---- Edges --------------------------------------------------------------------------------------

    int GetMeshEdgeCount() const { return mEdgeArray.GetCount(); }
    void SetMeshEdgeCount(int pEdgeCount);
    void BuildMeshEdgeArray();
    int FindPolygonIndex(int pEdgeIndex);
    static int PolygonIndexCompare(const void* pA, const void* pB);

    void BeginAddMeshEdgeIndex();
    void EndAddMeshEdgeIndex();
    int AddMeshEdgeIndex(int pStartVertexIndex, int pEndVertexIndex, bool pCheckForDuplicates);
    int SetMeshEdgeIndex(int pEdgeIndex, int pStartVertexIndex, int pEndVertexIndex, bool pCheckForDuplicates,
                         int pExistedEdgeCount = -1);
    bool SetMeshEdgeIndex(int pEdgeIndex, int pPolygonIndex, int pPositionInPolygon);
    int AddMeshEdgeIndexForPolygon(int pPolygonIndex, int pPositionInPolygon);

    int GetMeshEdgeIndex(int pStartVertexIndex, int pEndVertexIndex, bool& pReversed, int pExistedEdgeCount = -1);
    void GetMeshEdgeVertices(int pEdgeIndex, int& pStartVertexIndex, int& pEndVertexIndex) const;
    void BeginGetMeshEdgeVertices();
    void EndGetMeshEdgeVertices();
    void BeginGetMeshEdgeIndexForPolygon();
    void EndGetMeshEdgeIndexForPolygon();
    int GetMeshEdgeIndexForPolygon(int pPolygonIndex, int pPositionInPolygon);
    int RemoveDuplicatedEdges(MoxArray<int>& pEdgeIndexList);

    // ---- Adjacency ----------------------------------------------------------------------------------

    void ComputeControlPointToVerticesMap(ControlPointToVerticesMap& pMap);
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
    // else pCount - 1.
    int GetIndex(int pPolygonVertex, int pCount) const;
    void PolySetTexture(MoxLayer* pLayer, int pTextureIndex, MoxLayerElement::EType pTextureType);
    void RemoveUVIndex(MoxLayerElementUV* pLayerElementUV, int pPolygonIndex, int pStart);
    void RemoveTextureIndex(MoxLayerElementTexture* pLayerElementTexture, int pPolygonIndex, int pStart);
    bool GetBadPolyIndices(MoxArray<int>& pBadPolyIndices, bool pCheckOne) const;
    void FillMeshEdgeTable(MoxArray<int>& pTable, int* pCount, FillFunction FillFct);
    // Frees the three blocks of mV2PVMap and clears its edge set; mPVToEdge and mValid are untouched.
    void FreeV2PVBlocks();
};

}  // namespace moxsdk
