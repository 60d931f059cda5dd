#include "moxsdk/scene/geometry/moxmesh.h"

#include "detail/moxmeshlayers.h"
#include "moxsdk/core/moxassert.h"
#include "scene/geometry/detail/moxmeshreports.h"

namespace moxsdk {
namespace {

constexpr const char* sgFile = "scene/geometry/moxmesh";
using namespace detail::meshreports;

// ---- UV, material and texture indices --------------------------------------------------------------

// Layer 0's UV set of a channel, or null when the layer or the set is missing.
const MoxLayerElementUV* GetUVSet(const MoxMesh& pMesh, MoxLayerElement::EType pChannel)
{
    const MoxLayer* lLayer = pMesh.GetLayer(0);
    return lLayer ? lLayer->GetUVs(pChannel) : nullptr;
}

// Layer 0's UV set of a channel when it holds one UV index per polygon vertex (eByPolygonVertex,
// eIndexToDirect); null otherwise.
MoxLayerElementUV* GetIndexedUVSet(MoxMesh& pMesh, MoxLayerElement::EType pChannel)
{
    MoxLayer* lLayer = pMesh.GetLayer(0);
    MoxLayerElementUV* lUVs = lLayer ? lLayer->GetUVs(pChannel) : nullptr;
    if (!lUVs || lUVs->GetMappingMode() != MoxLayerElement::eByPolygonVertex ||
        lUVs->GetReferenceMode() != MoxLayerElement::eIndexToDirect)
        return nullptr;
    return lUVs;
}

// The index array of an indexed element (eIndex or eIndexToDirect) into *pOut. The getters are const
// members that hand out a writable array, as the callers of the mesh expect.
template <class ELEMENT>
bool GetIndicesOf(const ELEMENT* pElement, MoxLayerElementArrayTemplate<int>** pOut)
{
    if (!pElement || pElement->GetReferenceMode() == MoxLayerElement::eDirect) return false;
    *pOut = const_cast<MoxLayerElementArrayTemplate<int>*>(&pElement->GetIndexArray());
    return true;
}

// The mapping and reference modes a UV set takes for a requested mapping: per polygon vertex it is
// indexed; per mesh and per control point it is direct; anything else leaves it unmapped.
void SetUVSetModes(MoxLayerElementUV& pUVs, MoxLayerElement::EMappingMode pMapping)
{
    switch (pMapping) {
        case MoxLayerElement::eByPolygonVertex:
            pUVs.SetMappingMode(MoxLayerElement::eByPolygonVertex);
            pUVs.SetReferenceMode(MoxLayerElement::eIndexToDirect);
            break;
        case MoxLayerElement::eByMesh:
        case MoxLayerElement::eByControlPoint:
            pUVs.SetMappingMode(pMapping);
            pUVs.SetReferenceMode(MoxLayerElement::eDirect);
            break;
        default:
            pUVs.SetMappingMode(MoxLayerElement::eNone);
            pUVs.SetReferenceMode(MoxLayerElement::eDirect);
            break;
    }
}

// ---- Per-polygon-vertex lookup ---------------------------------------------------------------------

// The UV of one corner through an already resolved UV set: false when the lookup fails; pUnmapped tells
// an index of -1 (pUV then untouched).
bool GetCornerUV(const MoxMesh& pMesh, const MoxLayerElementUV& pUVs, int pPolygon, int pPosition, MoxVector2& pUV,
                 bool& pUnmapped)
{
    int lIndex = -1;
    if (!pMesh.GetPolygonVertexLayerElementIndex(&pUVs, pPolygon, pPosition, lIndex)) return false;
    pUnmapped = lIndex == -1;
    return pMesh.GetPolygonVertexLayerElementValue(&pUVs, pPolygon, pPosition, pUV, true);
}

// ---- Crease and hole elements ----------------------------------------------------------------------

// The element that the first layer holding one of kind pType carries, when it is mapped pMapping and
// direct (the only shape the crease and hole accessors accept); null otherwise.
template <class ELEMENT>
ELEMENT* FindShapedElement(MoxMesh& pMesh, MoxLayerElement::EType pType, MoxLayerElement::EMappingMode pMapping,
                           ELEMENT* (MoxLayer::*pGetter)())
{
    MoxLayer* lLayer = pMesh.GetLayer(0, pType, false);
    ELEMENT* lElement = lLayer ? (lLayer->*pGetter)() : nullptr;
    if (!lElement || lElement->GetMappingMode() != pMapping || lElement->GetReferenceMode() != MoxLayerElement::eDirect)
        return nullptr;
    return lElement;
}

MoxLayerElementCrease* FindEdgeCrease(MoxMesh& pMesh)
{
    return FindShapedElement(pMesh, MoxLayerElement::eEdgeCrease, MoxLayerElement::eByEdge, &MoxLayer::GetEdgeCrease);
}

MoxLayerElementCrease* FindVertexCrease(MoxMesh& pMesh)
{
    return FindShapedElement(pMesh, MoxLayerElement::eVertexCrease, MoxLayerElement::eByControlPoint,
                             &MoxLayer::GetVertexCrease);
}

MoxLayerElementHole* FindHole(MoxMesh& pMesh)
{
    return FindShapedElement(pMesh, MoxLayerElement::eHole, MoxLayerElement::eByPolygon, &MoxLayer::GetHole);
}

// Value pIndex of the element's direct array; the default value without an element or for an index
// outside 0 .. pRangeCount - 1 (or outside the direct array).
template <class T>
T GetShapedValue(const MoxLayerElementTemplate<T>* pElement, int pIndex, int pRangeCount)
{
    if (pIndex < 0 || pIndex >= pRangeCount || !pElement) return T{};
    return pElement->GetDirectArray().GetAt(pIndex);
}

template <class T>
bool GetShapedArray(MoxLayerElementTemplate<T>* pElement, MoxLayerElementArrayTemplate<T>** pOut)
{
    if (!pElement || !pOut) return false;
    *pOut = &pElement->GetDirectArray();
    return true;
}

// Writes value pIndex through a read-write lock. The index is tested against pRangeCount (the mesh's
// own count of components), and also against the direct array so that a short element is never
// written past its end.
template <class T>
bool SetShapedValue(MoxLayerElementTemplate<T>* pElement, int pIndex, int pRangeCount, const T& pValue)
{
    if (pIndex < 0 || pIndex >= pRangeCount || !pElement) return false;
    MoxLayerElementArrayTemplate<T>& lValues = pElement->GetDirectArray();
    if (lValues.GetCount() < 1 || pIndex >= lValues.GetCount()) return false;
    T* lBuffer = lValues.GetLocked(MoxLayerElementArray::eReadWriteLock);
    lBuffer[pIndex] = pValue;
    lValues.Release(&lBuffer);
    return true;
}

// Copies as many values as the element holds from pSource; a shorter source reports through its own
// range check and gives zeros for the missing entries.
template <class T>
bool SetShapedArray(MoxLayerElementTemplate<T>* pElement, const MoxArray<T>* pSource)
{
    if (!pElement || !pSource) return false;
    MoxLayerElementArrayTemplate<T>& lValues = pElement->GetDirectArray();
    const int lCount = lValues.GetCount();
    if (lCount < 1) return false;
    T* lBuffer = lValues.GetLocked(MoxLayerElementArray::eReadWriteLock);
    for (int i = 0; i < lCount; ++i) lBuffer[i] = (*pSource)[i];
    lValues.Release(&lBuffer);
    return true;
}

}  // namespace

// ---- UV sets ---------------------------------------------------------------------------------------

void MoxMesh::InitTextureUV(int pCount, MoxLayerElement::EType pTypeIdentifier)
{
    MoxLayer* lLayer = detail::MoxGetOrCreateLayer0(*this);
    MoxLayerElementUV* lUVs = lLayer ? detail::MoxGetOrCreateUVSet(*this, *lLayer, pTypeIdentifier) : nullptr;
    if (!lUVs) return;
    lUVs->GetDirectArray().Clear();
    lUVs->GetDirectArray().SetCount(pCount, eMoxMemoryNoClear);
}

void MoxMesh::AddTextureUV(MoxVector2 pUV, MoxLayerElement::EType pTypeIdentifier)
{
    MoxLayer* lLayer = GetLayer(0);
    MoxLayerElementUV* lUVs = lLayer ? lLayer->GetUVs(pTypeIdentifier) : nullptr;
    if (lUVs) lUVs->GetDirectArray().Add(pUV);
}

bool MoxMesh::GetTextureUV(MoxLayerElementArrayTemplate<MoxVector2>** pUVs,
                           MoxLayerElement::EType pTypeIdentifier) const
{
    if (!pUVs) return false;
    *pUVs = nullptr;
    const MoxLayerElementUV* lUVs = GetUVSet(*this, pTypeIdentifier);
    if (!lUVs) return false;
    *pUVs = const_cast<MoxLayerElementArrayTemplate<MoxVector2>*>(&lUVs->GetDirectArray());
    return true;
}

int MoxMesh::GetTextureUVCount(MoxLayerElement::EType pTypeIdentifier) const
{
    const MoxLayerElementUV* lUVs = GetUVSet(*this, pTypeIdentifier);
    return lUVs ? lUVs->GetDirectArray().GetCount() : 0;
}

MoxArray<MoxLayerElement::EType> MoxMesh::GetAllChannelUV(int pLayer)
{
    const MoxLayer* lLayer = GetLayer(pLayer);
    return lLayer ? lLayer->GetUVSetChannels() : MoxArray<MoxLayerElement::EType>();
}

int MoxMesh::GetUVLayerCount() const
{
    int lCount = 0;
    for (int i = 0; i < GetLayerCount(); ++i)
        if (GetLayer(i)->GetUVSetCount() > 0) ++lCount;
    return lCount;
}

// The UV set is emptied and its modes set for the requested mapping; its index array is filled later by
// SetTextureUVIndex or polygon building.
void MoxMesh::InitTextureUVIndices(MoxLayerElement::EMappingMode pMappingMode, MoxLayerElement::EType pTypeIdentifier)
{
    MoxLayer* lLayer = detail::MoxGetOrCreateLayer0(*this);
    MoxLayerElementUV* lUVs = lLayer ? detail::MoxGetOrCreateUVSet(*this, *lLayer, pTypeIdentifier) : nullptr;
    if (!lUVs) return;
    lUVs->Clear();
    SetUVSetModes(*lUVs, pMappingMode);
}

// Negative polygon indices reach the polygon table, which reports them; a polygon vertex below 0 (from
// a negative position) has no UV index and gives -1.
int MoxMesh::GetTextureUVIndex(int pPolygonIndex, int pPositionInPolygon, MoxLayerElement::EType pTypeIdentifier)
{
    const MoxLayerElementUV* lUVs = GetIndexedUVSet(*this, pTypeIdentifier);
    if (!lUVs || pPolygonIndex >= GetPolygonCount()) return -1;
    const PolygonDef& lPolygon = mPolygons[pPolygonIndex];
    if (pPositionInPolygon >= lPolygon.mSize) return -1;
    const int lPolygonVertex = lPolygon.mIndex + pPositionInPolygon;
    const MoxLayerElementArrayTemplate<int>& lIndices = lUVs->GetIndexArray();
    if (lPolygonVertex < 0 || lPolygonVertex >= lIndices.GetCount()) return -1;
    return lIndices.GetAt(lPolygonVertex);
}

// The index array is first grown to one entry per polygon vertex; a polygon vertex outside it (only
// through a negative position or an edited mIndex) is not written.
void MoxMesh::SetTextureUVIndex(int pPolygonIndex, int pPositionInPolygon, int pIndex,
                                MoxLayerElement::EType pTypeIdentifier)
{
    MoxLayerElementUV* lUVs = GetIndexedUVSet(*this, pTypeIdentifier);
    if (!lUVs || pPolygonIndex >= GetPolygonCount()) return;
    const PolygonDef& lPolygon = mPolygons[pPolygonIndex];
    if (pPositionInPolygon >= lPolygon.mSize) return;
    MoxLayerElementArrayTemplate<int>& lIndices = lUVs->GetIndexArray();
    if (lIndices.GetCount() < GetPolygonVertexCount()) lIndices.SetCount(GetPolygonVertexCount(), eMoxMemoryNoClear);
    lIndices.SetAt(lPolygon.mIndex + pPositionInPolygon, pIndex);
}

// ---- Materials and textures ------------------------------------------------------------------------

// Per control point only when the mesh has control points (otherwise the mapping stays as it was and
// the index array empty); per polygon; anything else gives one index for the whole mesh.
void MoxMesh::InitMaterialIndices(MoxLayerElement::EMappingMode pMappingMode)
{
    MoxLayer* lLayer = detail::MoxGetOrCreateLayer0(*this);
    if (!lLayer) return;
    MoxLayerElementMaterial* lMaterials = lLayer->GetMaterials();
    if (!lMaterials) lMaterials = detail::MoxInstallNewMaterials(*this, *lLayer);
    if (!lMaterials) return;
    lMaterials->SetReferenceMode(MoxLayerElement::eIndexToDirect);
    MoxLayerElementArrayTemplate<int>& lIndices = lMaterials->GetIndexArray();
    lIndices.Clear();
    if (pMappingMode == MoxLayerElement::eByControlPoint) {
        if (GetControlPointsCount() <= 0) return;
        lMaterials->SetMappingMode(MoxLayerElement::eByControlPoint);
        lIndices.SetCount(GetControlPointsCount(), eMoxMemoryNoClear);
    } else if (pMappingMode == MoxLayerElement::eByPolygon) {
        lMaterials->SetMappingMode(MoxLayerElement::eByPolygon);
        lIndices.SetCount(GetPolygonCount(), eMoxMemoryNoClear);
    } else {
        lMaterials->SetMappingMode(MoxLayerElement::eByMesh);
        lIndices.SetCount(1, eMoxMemoryNoClear);
    }
}

bool MoxMesh::GetMaterialIndices(MoxLayerElementArrayTemplate<int>** pIndexArray) const
{
    if (!pIndexArray) return false;
    *pIndexArray = nullptr;
    const MoxLayer* lLayer = GetLayer(0);
    return GetIndicesOf(lLayer ? lLayer->GetMaterials() : nullptr, pIndexArray);
}

void MoxMesh::InitTextureIndices(MoxLayerElement::EMappingMode pMappingMode, MoxLayerElement::EType pTextureType)
{
    MoxLayer* lLayer = detail::MoxGetOrCreateLayer0(*this);
    if (!lLayer) return;
    MoxLayerElementTexture* lTextures = lLayer->GetTextures(pTextureType);
    if (!lTextures) lTextures = detail::MoxInstallNewTextures(*this, *lLayer, pTextureType);
    InitTextureIndices(lTextures, pMappingMode);
}

// Textures know no per-control-point mapping: anything but eByPolygon gives one index for the mesh.
// NOLINTNEXTLINE(readability-make-member-function-const): an editing operation of the mesh's interface
void MoxMesh::InitTextureIndices(MoxLayerElementTexture* pLayerElementTexture,
                                 MoxLayerElement::EMappingMode pMappingMode)
{
    if (!pLayerElementTexture) return;
    pLayerElementTexture->SetReferenceMode(MoxLayerElement::eIndexToDirect);
    MoxLayerElementArrayTemplate<int>& lIndices = pLayerElementTexture->GetIndexArray();
    lIndices.Clear();
    const bool lByPolygon = pMappingMode == MoxLayerElement::eByPolygon;
    pLayerElementTexture->SetMappingMode(lByPolygon ? MoxLayerElement::eByPolygon : MoxLayerElement::eByMesh);
    lIndices.SetCount(lByPolygon ? GetPolygonCount() : 1, eMoxMemoryNoClear);
}

bool MoxMesh::GetTextureIndices(MoxLayerElementArrayTemplate<int>** pTextureIndexArray,
                                MoxLayerElement::EType pTextureType) const
{
    if (!pTextureIndexArray) return false;
    *pTextureIndexArray = nullptr;
    const MoxLayer* lLayer = GetLayer(0);
    return GetIndicesOf(lLayer ? lLayer->GetTextures(pTextureType) : nullptr, pTextureIndexArray);
}

// ---- Per-polygon-vertex lookup ---------------------------------------------------------------------

// Component of the corner by mapping mode, then through the index array unless direct. Range faults in
// the polygon table are silent; faults inside the element and unsupported mappings (eByMesh included)
// are reported. An index entry of -1 passes: it marks an unmapped corner.
template <class T>
bool MoxMesh::GetPolygonVertexLayerElementIndex(const MoxLayerElementTemplate<T>* pElement, int pPolygonIndex,
                                                int pPositionInPolygon, int& pIndex) const
{
    pIndex = -1;
    if (pPolygonIndex < 0 || pPolygonIndex >= GetPolygonCount()) return false;
    const PolygonDef& lPolygon = mPolygons.GetArray()[pPolygonIndex];
    if (pPositionInPolygon < 0 || pPositionInPolygon >= lPolygon.mSize) return false;

    int lComponent = -1;
    switch (pElement->GetMappingMode()) {
        case MoxLayerElement::eByPolygonVertex:
            lComponent = lPolygon.mIndex + pPositionInPolygon;
            break;
        case MoxLayerElement::eByPolygon:
            lComponent = pPolygonIndex;
            break;
        case MoxLayerElement::eByControlPoint: {
            const int lPolygonVertex = lPolygon.mIndex + pPositionInPolygon;
            if (lPolygonVertex < 0 || lPolygonVertex >= GetPolygonVertexCount()) {
                MOX_REPORT(sgFile, sgVertexIndexOutside.mText);
                return false;
            }
            lComponent = mPolygonVertices.GetArray()[lPolygonVertex];
            break;
        }
        default:
            MOX_REPORT(sgFile, sgMappingUnsupported.mText);
            return false;
    }

    if (pElement->GetReferenceMode() != MoxLayerElement::eDirect) {
        const MoxLayerElementArrayTemplate<int>& lIndices = pElement->GetIndexArray();
        if (lComponent < 0 || lComponent >= lIndices.GetCount()) {
            MOX_REPORT(sgFile, sgIndexArrayIndexOutside.mText);
            return false;
        }
        lComponent = lIndices.GetAt(lComponent);
    }
    pIndex = lComponent;
    return true;
}

// With pAllowUnmapped an index of exactly -1 succeeds and leaves pValue untouched.
template <class T>
bool MoxMesh::GetPolygonVertexLayerElementValue(const MoxLayerElementTemplate<T>* pElement, int pPolygonIndex,
                                                int pPositionInPolygon, T& pValue, bool pAllowUnmapped) const
{
    int lIndex = -1;
    if (!GetPolygonVertexLayerElementIndex(pElement, pPolygonIndex, pPositionInPolygon, lIndex)) return false;
    const MoxLayerElementArrayTemplate<T>& lValues = pElement->GetDirectArray();
    if (lIndex < 0 || lIndex >= lValues.GetCount()) {
        if (pAllowUnmapped && lIndex == -1) return true;
        MOX_REPORT(sgFile, sgDirectArrayIndexOutside.mText);
        return false;
    }
    pValue = lValues.GetAt(lIndex);
    return true;
}

template bool MoxMesh::GetPolygonVertexLayerElementIndex<MoxVector2>(const MoxLayerElementTemplate<MoxVector2>*, int,
                                                                     int, int&) const;
template bool MoxMesh::GetPolygonVertexLayerElementIndex<MoxVector4>(const MoxLayerElementTemplate<MoxVector4>*, int,
                                                                     int, int&) const;
template bool MoxMesh::GetPolygonVertexLayerElementValue<MoxVector2>(const MoxLayerElementTemplate<MoxVector2>*, int,
                                                                     int, MoxVector2&, bool) const;
template bool MoxMesh::GetPolygonVertexLayerElementValue<MoxVector4>(const MoxLayerElementTemplate<MoxVector4>*, int,
                                                                     int, MoxVector4&, bool) const;

bool MoxMesh::GetPolygonVertexNormal(int pPolyIndex, int pVertexIndex, MoxVector4& pNormal) const
{
    const MoxLayerElementNormal* lNormals = GetElementNormal(0);
    return lNormals && GetPolygonVertexLayerElementValue(lNormals, pPolyIndex, pVertexIndex, pNormal, false);
}

// One normal per corner, polygon after polygon; empty on the first corner that fails. The normal
// element is resolved once for the whole walk.
bool MoxMesh::GetPolygonVertexNormals(MoxArray<MoxVector4>& pNormals) const
{
    pNormals.Clear();
    pNormals.Resize(GetPolygonVertexCount());
    const MoxLayerElementNormal* lNormals = GetElementNormal(0);
    int lCorner = 0;
    for (int p = 0; p < GetPolygonCount(); ++p) {
        for (int v = 0; v < mPolygons.GetArray()[p].mSize; ++v) {
            MoxVector4 lNormal;
            if (!lNormals || !GetPolygonVertexLayerElementValue(lNormals, p, v, lNormal, false)) {
                pNormals.Clear();
                return false;
            }
            pNormals[lCorner++] = lNormal;
        }
    }
    return true;
}

bool MoxMesh::GetPolygonVertexUV(int pPolyIndex, int pVertexIndex, const char* pUVSetName, MoxVector2& pUV,
                                 bool& pUnmapped) const
{
    const MoxLayerElementUV* lUVs = GetElementUV(pUVSetName);
    return lUVs && GetCornerUV(*this, *lUVs, pPolyIndex, pVertexIndex, pUV, pUnmapped);
}

// One UV per corner, (0, 0) for an unmapped corner, whose polygon-vertex position is listed in
// pUnmappedUVId in increasing order. Empty on the first corner that fails. The UV set is resolved once.
bool MoxMesh::GetPolygonVertexUVs(const char* pUVSetName, MoxArray<MoxVector2>& pUVs,
                                  MoxArray<int>* pUnmappedUVId) const
{
    MoxVector2 lUV(0.0, 0.0);
    pUVs.Clear();
    pUVs.Resize(GetPolygonVertexCount());
    if (pUnmappedUVId) pUnmappedUVId->Clear();
    const MoxLayerElementUV* lUVSet = GetElementUV(pUVSetName);
    int lCorner = 0;
    for (int p = 0; p < GetPolygonCount(); ++p) {
        for (int v = 0; v < mPolygons.GetArray()[p].mSize; ++v) {
            bool lUnmapped = false;
            if (!lUVSet || !GetCornerUV(*this, *lUVSet, p, v, lUV, lUnmapped)) {
                pUVs.Clear();
                return false;
            }
            if (lUnmapped) {
                lUV = MoxVector2(0.0, 0.0);
                if (pUnmappedUVId) pUnmappedUVId->Add(lCorner);
            }
            pUVs[lCorner++] = lUV;
        }
    }
    return true;
}

// ---- Creases and holes -----------------------------------------------------------------------------

double MoxMesh::GetEdgeCreaseInfo(int pEdgeIndex)
{
    return GetShapedValue<double>(FindEdgeCrease(*this), pEdgeIndex, GetMeshEdgeCount());
}

bool MoxMesh::GetEdgeCreaseInfoArray(MoxLayerElementArrayTemplate<double>** pCreaseArray)
{
    return GetShapedArray<double>(FindEdgeCrease(*this), pCreaseArray);
}

bool MoxMesh::SetEdgeCreaseInfo(int pEdgeIndex, double pWeight)
{
    return SetShapedValue<double>(FindEdgeCrease(*this), pEdgeIndex, GetMeshEdgeCount(), pWeight);
}

bool MoxMesh::SetEdgeCreaseInfoArray(MoxArray<double>* pWeightArray)
{
    return SetShapedArray<double>(FindEdgeCrease(*this), pWeightArray);
}

double MoxMesh::GetVertexCreaseInfo(int pVertexIndex)
{
    return GetShapedValue<double>(FindVertexCrease(*this), pVertexIndex, GetControlPointsCount());
}

bool MoxMesh::GetVertexCreaseInfoArray(MoxLayerElementArrayTemplate<double>** pCreaseArray)
{
    return GetShapedArray<double>(FindVertexCrease(*this), pCreaseArray);
}

bool MoxMesh::SetVertexCreaseInfo(int pVertexIndex, double pWeight)
{
    return SetShapedValue<double>(FindVertexCrease(*this), pVertexIndex, GetControlPointsCount(), pWeight);
}

bool MoxMesh::SetVertexCreaseInfoArray(MoxArray<double>* pWeightArray)
{
    return SetShapedArray<double>(FindVertexCrease(*this), pWeightArray);
}

bool MoxMesh::GetPolyHoleInfo(int pFaceIndex)
{
    return GetShapedValue<bool>(FindHole(*this), pFaceIndex, GetPolygonCount());
}

bool MoxMesh::GetPolyHoleInfoArray(MoxLayerElementArrayTemplate<bool>** pHoleArray)
{
    return GetShapedArray<bool>(FindHole(*this), pHoleArray);
}

bool MoxMesh::SetPolyHoleInfo(int pFaceIndex, bool pIsHole)
{
    return SetShapedValue<bool>(FindHole(*this), pFaceIndex, GetPolygonCount(), pIsHole);
}

bool MoxMesh::SetPolyHoleInfoArray(MoxArray<bool>* pHoleArray)
{
    return SetShapedArray<bool>(FindHole(*this), pHoleArray);
}

// ---- Subdivision settings --------------------------------------------------------------------------

void MoxMesh::SetMeshPreviewDivisionLevels(int pPreviewDivisionLevels)
{
    mPreviewDivisionLevels = pPreviewDivisionLevels < 0 ? 0 : pPreviewDivisionLevels;
}

void MoxMesh::SetMeshRenderDivisionLevels(int pRenderDivisionLevels)
{
    mRenderDivisionLevels = pRenderDivisionLevels < 0 ? 0 : pRenderDivisionLevels;
}

}  // namespace moxsdk
