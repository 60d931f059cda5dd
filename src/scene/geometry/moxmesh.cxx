// MoxMesh: lifecycle, polygon building and queries. The mesh's other operations are split by concern:
// moxmeshlayers.cxx (UV, material, texture, per-polygon-vertex lookups, creases, holes, settings),
// moxmeshremove.cxx (polygon removal and clean-up), moxmeshedgetable.cxx (edge table and its caches),
// moxmeshedgequeries.cxx (edge editing and queries), moxmeshcpmap.cxx (control-point maps),
// moxmeshadjacency.cxx (component maps), moxmeshnormals.cxx, moxmeshtangents.cxx, moxmeshsplit.cxx (split
// and merge).
#include "moxsdk/scene/geometry/moxmesh.h"

#include <algorithm>
#include <climits>
#include <cstdint>

#include "detail/moxmeshlayers.h"
#include "moxsdk/core/moxassert.h"
#include "moxsdk/core/moxmemory.h"

namespace moxsdk {
namespace {

// True when an element's index array is kept in step with polygon building: mapped by polygon and
// indexed (eIndex or eIndexToDirect).
bool IsIndexedByPolygon(const MoxLayerElement* pElement)
{
    return pElement && pElement->GetMappingMode() == MoxLayerElement::eByPolygon &&
           (pElement->GetReferenceMode() == MoxLayerElement::eIndex ||
            pElement->GetReferenceMode() == MoxLayerElement::eIndexToDirect);
}

// Grows the index array to pCount entries when it is shorter (never truncates), then writes pValue at
// pCount - 1.
template <class ELEMENT>
void GrowAndSetLastIndex(ELEMENT* pElement, int pCount, int pValue)
{
    MoxLayerElementArrayTemplate<int>& lIndices = pElement->GetIndexArray();
    if (lIndices.GetCount() < pCount) lIndices.SetCount(pCount, eMoxMemoryNoClear);
    lIndices.SetAt(pCount - 1, pValue);
}

// Sets the index array to exactly pCount entries (truncating a longer one), then writes pValue at
// pCount - 1.
template <class ELEMENT>
void SizeAndSetLastIndex(ELEMENT* pElement, int pCount, int pValue)
{
    MoxLayerElementArrayTemplate<int>& lIndices = pElement->GetIndexArray();
    lIndices.SetCount(pCount, eMoxMemoryNoClear);
    lIndices.SetAt(pCount - 1, pValue);
}

// Layer 0's material element, created on the mesh's first polygon when a material is given.
MoxLayerElementMaterial* GetMaterialsForNewPolygon(MoxMesh& pMesh, MoxLayer& pLayer, int pMaterial)
{
    MoxLayerElementMaterial* lMaterials = pLayer.GetMaterials();
    if (!lMaterials && pMesh.GetPolygonCount() == 1 && pMaterial != -1)
        lMaterials = detail::MoxInstallNewMaterials(pMesh, pLayer);
    return lMaterials;
}

}  // namespace

// ---- Creation and lifecycle ------------------------------------------------------------------------

MOX_SCENE_OBJECT_DEFINITIONS(MoxMesh, MoxGeometry, "scene/geometry/moxmesh")

MoxMesh::MoxMesh(MoxManager& pManager, const char* pName) : MoxGeometry(pManager, pName) {}

// A mesh destroyed inside an unfinished edge-adding pass must not leak the V2PV blocks.
MoxMesh::~MoxMesh()
{
    FreeV2PVBlocks();
}

MoxNodeAttribute::EType MoxMesh::GetAttributeType() const
{
    return eMesh;
}

void MoxMesh::Construct(const MoxObject* pFrom)
{
    MoxGeometry::Construct(pFrom);
    mPolygonsAux = nullptr;
    mPolygonVerticesAux = nullptr;
    mAuxCount = 0;
    Reset();
}

void MoxMesh::Destruct(bool pRecursive)
{
    Reset();
    MoxGeometry::Destruct(pRecursive);
}

// Steps in order: auxiliary arrays, topology, control points, layers, edge caches, settings. The V2PV
// blocks of an unfinished edge-adding pass are freed rather than dropped, so a reset never leaks.
void MoxMesh::Reset()
{
    MoxDelete(mPolygonsAux);
    mPolygonsAux = nullptr;
    MoxDelete(mPolygonVerticesAux);
    mPolygonVerticesAux = nullptr;

    mPolygons.Clear();
    mPolygonVertices.Clear();
    NotePolygonEdit();
    mEdgeArray.Clear();
    mControlPoints.Clear();
    ClearLayers();

    FreeV2PVBlocks();
    mV2PVMap.mValid = false;

    mEdgeLookup.mValid = false;
    mEdgeLookup.mClosingVertex.Clear();

    mSmoothness = eSmoothnessDefault;
    mPreviewDivisionLevels = 0;
    mRenderDivisionLevels = 0;
    mDisplaySubdivisions = false;
    mBoundaryRule = eBoundaryRuleDefault;
    mPreserveBorders = false;
    mPreserveHardEdges = false;
    mPropagateEdgeHardness = false;
}

void MoxMesh::FreeV2PVBlocks()
{
    MoxFree(mV2PVMap.mVertex2PV);
    MoxFree(mV2PVMap.mVertex2PVOffset);
    MoxFree(mV2PVMap.mVertex2PVCount);
    mV2PVMap.mVertex2PV = nullptr;
    mV2PVMap.mVertex2PVOffset = nullptr;
    mV2PVMap.mVertex2PVCount = nullptr;
    mV2PVControlPointCount = 0;
    mV2PVMap.mEdgeSet.ClearAndRelease();
}

void MoxMesh::ContentClear()
{
    MoxDelete(mPolygonsAux);
    mPolygonsAux = nullptr;
    MoxDelete(mPolygonVerticesAux);
    mPolygonVerticesAux = nullptr;
    mAuxCount = 0;
    MoxGeometryBase::ContentClear();
}

void MoxMesh::Compact()
{
    mPolygons.Compact();
    mPolygonVertices.Compact();
    mEdgeArray.Compact();
    mV2PVMap.mPVToEdge.Compact();
    mEdgeLookup.mClosingVertex.Compact();
    MoxGeometryBase::Compact();
}

// The auxiliary arrays and the edge caches are not copied: the copy's caches keep their own state and
// are rebuilt by their Begin operations.
MoxObject& MoxMesh::Copy(const MoxObject& pObject)
{
    if (!Copyable(pObject)) return *this;
    MoxGeometry::Copy(pObject);
    const MoxMesh& lSource = static_cast<const MoxMesh&>(pObject);
    mPolygons = lSource.mPolygons;
    mPolygonVertices = lSource.mPolygonVertices;
    NotePolygonEdit();
    mEdgeArray = lSource.mEdgeArray;
    mSmoothness = lSource.mSmoothness;
    mPreviewDivisionLevels = lSource.mPreviewDivisionLevels;
    mRenderDivisionLevels = lSource.mRenderDivisionLevels;
    mDisplaySubdivisions = lSource.mDisplaySubdivisions;
    mBoundaryRule = lSource.mBoundaryRule;
    mPreserveBorders = lSource.mPreserveBorders;
    mPreserveHardEdges = lSource.mPreserveHardEdges;
    mPropagateEdgeHardness = lSource.mPropagateEdgeHardness;
    return *this;
}

// ---- Polygon building ------------------------------------------------------------------------------

// Appends a polygon, takes (or creates) layer 0, keeps its material index array in step, and, when
// pLegacy, the texture index array of the default channel. Elements are created only on the first
// polygon and only for a value other than -1; a longer index array is kept (only grown).
void MoxMesh::BeginPolygon(int pMaterial, int pTexture, int pGroup, bool pLegacy)
{
    mPolygons.Add(PolygonDef{mPolygonVertices.GetCount(), 0, pGroup});
    NotePolygonEdit();
    const int lCount = mPolygons.GetCount();
    MoxLayer* lLayer = detail::MoxGetOrCreateLayer0(*this);
    if (!lLayer) return;
    MoxLayerElementMaterial* lMaterials = GetMaterialsForNewPolygon(*this, *lLayer, pMaterial);
    if (IsIndexedByPolygon(lMaterials)) GrowAndSetLastIndex(lMaterials, lCount, pMaterial);

    if (!pLegacy) return;
    MoxLayerElementTexture* lTextures = lLayer->GetTextures(MoxLayerElement::eTextureChannel0);
    if (!lTextures && lCount == 1 && pTexture != -1)
        lTextures = detail::MoxInstallNewTextures(*this, *lLayer, MoxLayerElement::eTextureChannel0);
    if (IsIndexedByPolygon(lTextures)) GrowAndSetLastIndex(lTextures, lCount, pTexture);
}

// As BeginPolygon with group -1, but the material index array is set to exactly the polygon count
// (truncating a longer one), and one texture index per channel 14..30 is read from pTextures.
void MoxMesh::BeginPolygonExt(int pMaterial, int* pTextures)
{
    mPolygons.Add(PolygonDef{mPolygonVertices.GetCount(), 0, -1});
    NotePolygonEdit();
    const int lCount = mPolygons.GetCount();
    MoxLayer* lLayer = detail::MoxGetOrCreateLayer0(*this);
    if (!lLayer) return;
    MoxLayerElementMaterial* lMaterials = GetMaterialsForNewPolygon(*this, *lLayer, pMaterial);
    if (IsIndexedByPolygon(lMaterials)) SizeAndSetLastIndex(lMaterials, lCount, pMaterial);

    if (!pTextures) return;
    for (int lChannel = MoxLayerElement::eTextureChannel0; lChannel <= MoxLayerElement::eTextureChannel16; ++lChannel)
        PolySetTexture(lLayer, pTextures[lChannel], static_cast<MoxLayerElement::EType>(lChannel));
}

// A texture element created here always lands on the default channel, whatever channel was asked
// for; the channel asked for stays without an element.
void MoxMesh::PolySetTexture(MoxLayer* pLayer, int pTextureIndex, MoxLayerElement::EType pTextureType)
{
    if (!pLayer) return;
    const int lCount = mPolygons.GetCount();
    MoxLayerElementTexture* lTextures = pLayer->GetTextures(pTextureType);
    if (!lTextures && lCount == 1 && pTextureIndex != -1)
        lTextures = detail::MoxInstallNewTextures(*this, *pLayer, MoxLayerElement::eTextureChannel0);
    if (IsIndexedByPolygon(lTextures)) SizeAndSetLastIndex(lTextures, lCount, pTextureIndex);
}

// Appends the vertex; a UV index other than -1 creates the default UV set when missing (at any
// polygon) and is recorded when the set is per polygon vertex and index-to-direct. Called before any
// Begin, the size increment goes to index -1 and is reported by the array.
void MoxMesh::AddPolygon(int pIndex, int pTextureUVIndex)
{
    mPolygonVertices.Add(pIndex);
    NotePolygonEdit();
    if (pTextureUVIndex != -1) {
        MoxLayer* lLayer = detail::MoxGetOrCreateLayer0(*this);
        MoxLayerElementUV* lUVs =
            lLayer ? detail::MoxGetOrCreateUVSet(*this, *lLayer, MoxLayerElement::eTextureChannel0) : nullptr;
        if (lUVs && lUVs->GetMappingMode() == MoxLayerElement::eByPolygonVertex &&
            lUVs->GetReferenceMode() == MoxLayerElement::eIndexToDirect) {
            const int lCount = mPolygonVertices.GetCount();
            lUVs->GetIndexArray().SetCount(lCount, eMoxMemoryNoClear);
            lUVs->GetIndexArray().SetAt(lCount - 1, pTextureUVIndex);
        }
    }
    mPolygons[mPolygons.GetCount() - 1].mSize++;
}

void MoxMesh::EndPolygon() {}

// ---- Polygon queries -------------------------------------------------------------------------------

int MoxMesh::GetPolygonSize(int pPolygonIndex) const
{
    if (pPolygonIndex < 0 || pPolygonIndex >= mPolygons.GetCount()) return -1;
    return mPolygons.GetArray()[pPolygonIndex].mSize;
}

int MoxMesh::GetPolygonVertex(int pPolygonIndex, int pPositionInPolygon) const
{
    if (pPolygonIndex < 0 || pPolygonIndex >= mPolygons.GetCount()) return -1;
    const PolygonDef& lPolygon = mPolygons.GetArray()[pPolygonIndex];
    if (pPositionInPolygon < 0 || pPositionInPolygon >= lPolygon.mSize) return -1;
    // 64-bit sum: a caller-written mIndex near INT_MAX must not overflow (the array reports the range).
    const int64_t lPolygonVertex = int64_t(lPolygon.mIndex) + pPositionInPolygon;
    return mPolygonVertices[lPolygonVertex > INT_MAX ? INT_MAX : static_cast<int>(lPolygonVertex)];
}

int MoxMesh::GetPolygonVertexIndex(int pPolygonIndex) const
{
    if (pPolygonIndex < 0 || pPolygonIndex >= mPolygons.GetCount()) return -1;
    return mPolygons.GetArray()[pPolygonIndex].mIndex;
}

// Only the upper bound is tested: a negative index goes to the array, which reports it.
int MoxMesh::GetPolygonGroup(int pPolygonIndex) const
{
    if (pPolygonIndex >= mPolygons.GetCount()) return -1;
    return mPolygons[pPolygonIndex].mGroup;
}

// Stops at the first polygon of another size.
bool MoxMesh::IsTriangleMesh() const
{
    return std::all_of(mPolygons.begin(), mPolygons.end(),
                       [](const PolygonDef& pPolygon) { return pPolygon.mSize == 3; });
}

int MoxMesh::GetIndex(int pPolygonVertex, int pCount) const
{
    const int lValue = mPolygonVertices[pPolygonVertex];
    return static_cast<unsigned int>(lValue) < static_cast<unsigned int>(pCount) ? lValue : pCount - 1;
}

}  // namespace moxsdk
