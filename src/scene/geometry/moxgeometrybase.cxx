#include "moxsdk/scene/geometry/moxgeometrybase.h"

#include <algorithm>
#include <cstring>

#include "scene/geometry/detail/moxunwrittenvalues.h"

namespace moxsdk {

namespace {

typedef MoxLayerElementTemplate<MoxVector4> MoxVectorElement;

// The element in pLayer that pGet gives, created with pName and installed with pSet when missing.
template <class X>
X* EnsureElement(MoxLayer& pLayer, X* (MoxLayer::*pGet)(), void (MoxLayer::*pSet)(X*), const char* pName)
{
    X* lElement = (pLayer.*pGet)();
    if (lElement) return lElement;
    lElement = X::Create(nullptr, pName);
    if (lElement) (pLayer.*pSet)(lElement);
    return lElement;
}

// Makes pElement direct with pCount values (none for a negative count), mapped by pMapping, the values as
// pValues says.
void InitVectorElement(MoxVectorElement& pElement, MoxLayerElement::EMappingMode pMapping, int pCount,
                       detail::EMoxInitValues pValues)
{
    pElement.SetMappingMode(pMapping);
    pElement.SetReferenceMode(MoxLayerElement::eDirect);
    pElement.mIndexArray->Clear();
    MoxLayerElementArray& lDirect = *pElement.mDirectArray;
    const int lCount = std::max(pCount, 0);
    switch (pValues) {
        case detail::EMoxInitValues::eZero:
            lDirect.Clear();
            lDirect.SetCount(lCount);
            break;
        case detail::EMoxInitValues::eKept:
            lDirect.SetCount(lCount);
            break;
        case detail::EMoxInitValues::eUnwritten:
            // No old value is kept either: an array too short is released first, so that its old values are
            // neither copied nor held beside the new block.
            if (lDirect.GetCount() < lCount) lDirect.Clear();
            detail::MoxUnwrittenValues::SetCount(lDirect, lCount);
            break;
    }
}

// The per-polygon-vertex element of pLayer that pGet gives (created with pName and installed with pSet
// when missing), named pName, with pCount values as pValues says.
template <class X>
void InitPolygonVertexElement(MoxLayer* pLayer, X* (MoxLayer::*pGet)(), void (MoxLayer::*pSet)(X*), const char* pName,
                              int pCount, detail::EMoxInitValues pValues)
{
    X* lElement = pLayer ? EnsureElement(*pLayer, pGet, pSet, pName) : nullptr;
    if (!lElement) return;
    lElement->SetName(pName);
    InitVectorElement(*lElement, MoxLayerElement::eByPolygonVertex, pCount, pValues);
}

// The direct array of pElement when its reference mode has one.
bool DirectArrayOf(const MoxVectorElement* pElement, MoxLayerElementArrayTemplate<MoxVector4>** pArray)
{
    if (!pArray) return false;
    *pArray = nullptr;
    if (!pElement || pElement->GetReferenceMode() == MoxLayerElement::eIndex) return false;
    *pArray = pElement->mDirectArray;
    return true;
}

// The index array of pElement when its reference mode has one.
bool IndexArrayOf(const MoxVectorElement* pElement, MoxLayerElementArrayTemplate<int>** pArray)
{
    if (!pArray) return false;
    *pArray = nullptr;
    if (!pElement || pElement->GetReferenceMode() == MoxLayerElement::eDirect) return false;
    *pArray = pElement->mIndexArray;
    return true;
}

// Grows pArray to at least pCount values (new ones zero); false when it could not.
template <class T>
bool GrowTo(MoxLayerElementArrayTemplate<T>& pArray, int pCount)
{
    if (pArray.GetCount() < pCount) pArray.SetCount(pCount);
    return pArray.GetCount() >= pCount;
}

}  // namespace

MOX_SCENE_ABSTRACT_CLASS_DEFINITIONS(MoxGeometryBase, MoxLayerContainer)

MoxGeometryBase::MoxGeometryBase(MoxManager& pManager, const char* pName) : MoxLayerContainer(pManager, pName) {}

MoxObject& MoxGeometryBase::Copy(const MoxObject& pObject)
{
    if (!Copyable(pObject) || this == &pObject) return *this;
    MoxLayerContainer::Copy(pObject);
    mControlPoints = static_cast<const MoxGeometryBase&>(pObject).mControlPoints;
    return *this;
}

void MoxGeometryBase::Compact()
{
    mControlPoints.Compact();
    MoxLayerContainer::Compact();
}

void MoxGeometryBase::ContentClear()
{
    mControlPoints.Clear();
    MoxLayerContainer::ContentClear();
}

void MoxGeometryBase::InitControlPoints(int pCount)
{
    mControlPoints.Clear();
    if (pCount > 0) mControlPoints.Resize(pCount);
}

void MoxGeometryBase::SetControlPointAt(const MoxVector4& pCtrlPoint, int pIndex)
{
    if (pIndex < 0) return;
    if (pIndex >= mControlPoints.GetCount() && !GrowControlPoints(pIndex + 1)) return;
    mControlPoints[pIndex] = pCtrlPoint;
}

void MoxGeometryBase::SetControlPointAt(const MoxVector4& pCtrlPoint, const MoxVector4& pNormal, int pIndex,
                                        bool pI2DSearch)
{
    SetControlPointAt(pCtrlPoint, pIndex);
    SetControlPointNormalAt(pNormal, pIndex, pI2DSearch);
}

MoxVector4 MoxGeometryBase::GetControlPointAt(int pIndex) const
{
    if (pIndex < 0 || pIndex >= mControlPoints.GetCount()) return MoxVector4();
    return mControlPoints[pIndex];
}

void MoxGeometryBase::SetControlPointNormalAt(const MoxVector4& pNormal, int pIndex, bool pI2DSearch)
{
    if (pIndex < 0) return;
    MoxLayer* lLayer = LayerAt(0);
    if (!lLayer) return;
    MoxLayerElementNormal* lNormals = lLayer->GetNormals();
    if (!lNormals) {
        lNormals = EnsureElement(*lLayer, &MoxLayer::GetNormals, &MoxLayer::SetNormals, "");
        if (!lNormals) return;
        lNormals->SetMappingMode(MoxLayerElement::eByControlPoint);
    }
    MoxLayerElementArrayTemplate<MoxVector4>& lDirect = *lNormals->mDirectArray;
    switch (lNormals->GetReferenceMode()) {
        case MoxLayerElement::eDirect:
            if (GrowTo(lDirect, pIndex + 1)) lDirect.SetAt(pIndex, pNormal);
            break;
        case MoxLayerElement::eIndexToDirect: {
            int lTarget = pIndex;
            if (pI2DSearch) {
                lTarget = lDirect.Find(pNormal);
                if (lTarget < 0) lTarget = lDirect.Add(pNormal);
            } else if (GrowTo(lDirect, pIndex + 1)) {
                lDirect.SetAt(pIndex, pNormal);
            } else {
                lTarget = -1;
            }
            MoxLayerElementArrayTemplate<int>& lIndices = *lNormals->mIndexArray;
            if (lTarget >= 0 && GrowTo(lIndices, pIndex + 1)) lIndices.SetAt(pIndex, lTarget);
            break;
        }
        case MoxLayerElement::eIndex:
            break;
    }
}

void MoxGeometryBase::SetControlPointCount(int pCount)
{
    if (pCount < 0) return;
    if (pCount <= mControlPoints.GetCount())
        mControlPoints.Resize(pCount);
    else
        GrowControlPoints(pCount);
}

size_t MoxGeometryBase::MemoryUsage() const
{
    return sizeof(*this) + static_cast<size_t>(mControlPoints.GetCapacity()) * sizeof(MoxVector4) +
           static_cast<size_t>(GetLayerCount()) * sizeof(MoxLayer);
}

void MoxGeometryBase::InitNormals(int pCount, int pClearMode)
{
    InitNormals(pCount, pClearMode != 0 ? detail::EMoxInitValues::eZero : detail::EMoxInitValues::eKept);
}

bool MoxGeometryBase::GetNormals(MoxLayerElementArrayTemplate<MoxVector4>** pNormals) const
{
    const MoxLayer* lLayer = GetLayer(0);
    return DirectArrayOf(lLayer ? lLayer->GetNormals() : nullptr, pNormals);
}

bool MoxGeometryBase::GetNormalsIndices(MoxLayerElementArrayTemplate<int>** pIndices) const
{
    const MoxLayer* lLayer = GetLayer(0);
    return IndexArrayOf(lLayer ? lLayer->GetNormals() : nullptr, pIndices);
}

void MoxGeometryBase::InitTangents(int pCount, int pLayerIndex, const char* pName)
{
    InitTangents(pCount, pLayerIndex, pName, detail::EMoxInitValues::eZero);
}

void MoxGeometryBase::InitBinormals(int pCount, int pLayerIndex, const char* pName)
{
    InitBinormals(pCount, pLayerIndex, pName, detail::EMoxInitValues::eZero);
}

bool MoxGeometryBase::GetTangents(MoxLayerElementArrayTemplate<MoxVector4>** pTangents, int pLayerIndex) const
{
    const MoxLayer* lLayer = GetLayer(pLayerIndex);
    return DirectArrayOf(lLayer ? lLayer->GetTangents() : nullptr, pTangents);
}

bool MoxGeometryBase::GetTangentsIndices(MoxLayerElementArrayTemplate<int>** pIndices, int pLayerIndex) const
{
    const MoxLayer* lLayer = GetLayer(pLayerIndex);
    return IndexArrayOf(lLayer ? lLayer->GetTangents() : nullptr, pIndices);
}

bool MoxGeometryBase::GetBinormals(MoxLayerElementArrayTemplate<MoxVector4>** pBinormals, int pLayerIndex) const
{
    const MoxLayer* lLayer = GetLayer(pLayerIndex);
    return DirectArrayOf(lLayer ? lLayer->GetBinormals() : nullptr, pBinormals);
}

bool MoxGeometryBase::GetBinormalsIndices(MoxLayerElementArrayTemplate<int>** pIndices, int pLayerIndex) const
{
    const MoxLayer* lLayer = GetLayer(pLayerIndex);
    return IndexArrayOf(lLayer ? lLayer->GetBinormals() : nullptr, pIndices);
}

#define MOX_ELEMENT_ACCESSORS(pKind, pType, pGetter)                                                                   \
    int MoxGeometryBase::GetElement##pKind##Count() const                                                              \
    {                                                                                                                  \
        return GetLayerCount(MoxLayerElement::pType);                                                                  \
    }                                                                                                                  \
    MoxLayerElement##pKind* MoxGeometryBase::GetElement##pKind(int pIndex)                                             \
    {                                                                                                                  \
        MoxLayer* lLayer = GetLayer(pIndex, MoxLayerElement::pType);                                                   \
        return lLayer ? lLayer->pGetter() : nullptr;                                                                   \
    }                                                                                                                  \
    const MoxLayerElement##pKind* MoxGeometryBase::GetElement##pKind(int pIndex) const                                 \
    {                                                                                                                  \
        const MoxLayer* lLayer = GetLayer(pIndex, MoxLayerElement::pType);                                             \
        return lLayer ? lLayer->pGetter() : nullptr;                                                                   \
    }

MOX_ELEMENT_ACCESSORS(Normal, eNormal, GetNormals)
MOX_ELEMENT_ACCESSORS(Tangent, eTangent, GetTangents)
MOX_ELEMENT_ACCESSORS(Binormal, eBinormal, GetBinormals)
MOX_ELEMENT_ACCESSORS(Smoothing, eSmoothing, GetSmoothing)
MOX_ELEMENT_ACCESSORS(VertexColor, eVertexColor, GetVertexColors)
MOX_ELEMENT_ACCESSORS(Material, eMaterial, GetMaterials)

#undef MOX_ELEMENT_ACCESSORS

int MoxGeometryBase::GetElementUVCount(MoxLayerElement::EType pType) const
{
    if (pType != MoxLayerElement::eUnknown) return GetLayerCount(pType, true);
    int lCount = 0;
    for (int i = 0; i < GetLayerCount(); ++i) lCount += GetLayer(i)->GetUVSetCount();
    return lCount;
}

MoxLayerElementUV* MoxGeometryBase::GetElementUV(const char* pUVSetName)
{
    for (int i = 0; i < GetLayerCount(); ++i) {
        MoxLayer* lLayer = GetLayer(i);
        for (int c = MoxLayerElement::eTextureChannel0; c <= MoxLayerElement::eTextureChannel16; ++c) {
            MoxLayerElementUV* lUVs = lLayer->GetUVs(static_cast<MoxLayerElement::EType>(c));
            if (lUVs && (!pUVSetName || std::strcmp(lUVs->GetName(), pUVSetName) == 0)) return lUVs;
        }
    }
    return nullptr;
}

const MoxLayerElementUV* MoxGeometryBase::GetElementUV(const char* pUVSetName) const
{
    return const_cast<MoxGeometryBase*>(this)->GetElementUV(pUVSetName);
}

void MoxGeometryBase::Construct(const MoxObject* pFrom)
{
    MoxLayerContainer::Construct(pFrom);
    mControlPoints.Clear();
}

void MoxGeometryBase::Destruct(bool pRecursive)
{
    mControlPoints.Clear();
    MoxLayerContainer::Destruct(pRecursive);
}

void MoxGeometryBase::InitNormals(int pCount, detail::EMoxInitValues pValues)
{
    MoxLayer* lLayer = LayerAt(0);
    MoxLayerElementNormal* lNormals =
        lLayer ? EnsureElement(*lLayer, &MoxLayer::GetNormals, &MoxLayer::SetNormals, "") : nullptr;
    if (!lNormals) return;
    // Only normals read a count of 0 (or less) as one value per control point.
    if (pCount <= 0)
        InitVectorElement(*lNormals, MoxLayerElement::eByControlPoint, GetControlPointsCount(), pValues);
    else
        InitVectorElement(*lNormals, MoxLayerElement::eByPolygonVertex, pCount, pValues);
}

void MoxGeometryBase::InitTangents(int pCount, int pLayerIndex, const char* pName, detail::EMoxInitValues pValues)
{
    InitPolygonVertexElement(LayerAt(pLayerIndex), &MoxLayer::GetTangents, &MoxLayer::SetTangents, pName, pCount,
                             pValues);
}

void MoxGeometryBase::InitBinormals(int pCount, int pLayerIndex, const char* pName, detail::EMoxInitValues pValues)
{
    InitPolygonVertexElement(LayerAt(pLayerIndex), &MoxLayer::GetBinormals, &MoxLayer::SetBinormals, pName, pCount,
                             pValues);
}

MoxLayer* MoxGeometryBase::LayerAt(int pIndex)
{
    if (pIndex < 0) return nullptr;
    while (GetLayerCount() <= pIndex)
        if (CreateLayer() < 0) return nullptr;
    return GetLayer(pIndex);
}

bool MoxGeometryBase::GrowControlPoints(int pCount)
{
    // Geometric growth keeps a run of SetControlPointAt past the end linear. A MoxArray that fails to grow
    // is left empty; the caller then finds the index out of range.
    const int lOldCount = mControlPoints.GetCount();
    const int lCapacity = mControlPoints.GetCapacity();
    if (pCount > lCapacity && !mControlPoints.Reserve(pCount > 2 * lCapacity ? pCount : 2 * lCapacity)) return false;
    if (!mControlPoints.Resize(pCount, true)) return false;
    // Slots inside the old capacity may hold points removed earlier.
    std::memset(static_cast<void*>(mControlPoints.GetArray() + lOldCount), 0,
                static_cast<size_t>(pCount - lOldCount) * sizeof(MoxVector4));
    return true;
}

}  // namespace moxsdk
