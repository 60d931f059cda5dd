#include "moxsdk/scene/geometry/moxlayer.h"

#include <climits>
#include <cstring>
#include <type_traits>

#include "scene/geometry/detail/moxlayerreports.h"

namespace moxsdk {

namespace {

constexpr const char* sgFile = "scene/geometry/moxlayer";
using namespace detail::layerreports;

static_assert(sizeof(MoxColor) == sizeof(MoxVector4), "colours and four-vectors share one type code");

// True when pElement and both of its arrays could be had; otherwise reports, from pFunction, the first of
// "lElement", "mDirectArray" and "mIndexArray" that is missing.
template <class X>
bool IsWhole(const X* pElement, const char* pFunction)
{
    const char* lMissing = !pElement                 ? sgNoElement.mText
                           : !pElement->mDirectArray ? sgNoDirectArray.mText
                           : !pElement->mIndexArray  ? sgNoIndexArray.mText
                                                     : nullptr;
    if (lMissing) _MoxAssert(sgFile, pFunction, __LINE__, lMissing);
    return !lMissing;
}

// Makes an element of class X; null unless the element and both of its arrays could be had (what could
// not is reported from pFunction).
template <class X>
X* CreateElement(const char* pName, const char* pFunction)
{
    X* lElement = MoxNew<X>(pName);
    if (!IsWhole(lElement, pFunction)) {
        MoxDelete(lElement);
        return nullptr;
    }
    return lElement;
}

// The position of a texture channel type among the channels, or -1.
int ChannelSlot(MoxLayerElement::EType pType)
{
    return MoxLayerElement::IsTextureChannel(pType) ? pType - MoxLayerElement::eTextureChannel0 : -1;
}

// Installs pElement in pSlot, freeing the element it replaces (unless it is the same).
template <class X>
void Replace(X*& pSlot, X* pElement)
{
    if (pSlot == pElement) return;
    if (pSlot) pSlot->Destroy();
    pSlot = pElement;
}

// A fresh deep copy of pSource (null for null); pOk becomes false when memory ran out.
template <class X>
X* CloneElement(const X* pSource, bool& pOk)
{
    if (!pSource) return nullptr;
    X* lCopy = X::Create(nullptr, pSource->GetName());
    if (!lCopy || !lCopy->CopyFrom(*pSource)) pOk = false;
    return lCopy;
}

MoxLayerElementUserData* CloneElement(const MoxLayerElementUserData* pSource, bool& pOk)
{
    if (!pSource) return nullptr;
    MoxLayerElementUserData* lCopy = MoxLayerElementUserData::Create(nullptr, pSource);
    if (!lCopy) pOk = false;
    return lCopy;
}

// The kinds a layer converts to index-to-direct (MoxLayer::ConvertDirectToIndexToDirect says why the
// others stay direct).
template <class X>
constexpr bool sgConvertsToIndexToDirect =
    !std::is_same<X, MoxLayerElementSmoothing>::value && !std::is_same<X, MoxLayerElementCrease>::value &&
    !std::is_same<X, MoxLayerElementHole>::value && !std::is_same<X, MoxLayerElementUserData>::value;

// Converts pElement when present and of a converted kind; pOk becomes false when memory ran out.
template <class X>
void Convert(X* pElement, bool& pOk)
{
    if constexpr (sgConvertsToIndexToDirect<X>)
        if (pElement && !pElement->ConvertDirectToIndexToDirect()) pOk = false;
}

// Shrinks both arrays of pElement when present.
template <class X>
void CompactElement(X* pElement)
{
    if (!pElement) return;
    pElement->mDirectArray->Compact();
    pElement->mIndexArray->Compact();
}

// True when pElement is absent or sized as IsSizedFor says; pRequired gives the entry count per mapping mode.
template <class T>
bool IsElementSized(const MoxLayerElementTemplate<T>* pElement, const int (&pRequired)[6])
{
    if (!pElement) return true;
    const int lMapping = pElement->GetMappingMode();
    if (lMapping <= MoxLayerElement::eNone || lMapping > MoxLayerElement::eByMesh)
        return lMapping == MoxLayerElement::eNone;
    const int lRequired = pRequired[lMapping];
    const MoxLayerElement::EReferenceMode lReference = pElement->GetReferenceMode();
    if (lReference == MoxLayerElement::eDirect)
        return std::is_pointer<T>::value || pElement->GetDirectArray().GetCount() == lRequired;
    const MoxLayerElementArrayTemplate<int>& lIndices = pElement->GetIndexArray();
    if (lIndices.GetCount() != lRequired) return false;
    if (std::is_pointer<T>::value || lReference != MoxLayerElement::eIndexToDirect) return true;
    const int lValueCount = pElement->GetDirectArray().GetCount();
    for (int i = 0; i < lRequired; ++i) {
        const int lIndex = lIndices.GetAt(i);
        if (lIndex < -1 || lIndex >= lValueCount) return false;
    }
    return true;
}

// A copy of pText in memory of its own, or null.
char* CopyText(const char* pText)
{
    const size_t lLength = std::strlen(pText ? pText : "");
    char* lCopy = static_cast<char*>(MoxMalloc(lLength + 1));
    if (lCopy) std::memcpy(lCopy, pText ? pText : "", lLength + 1);
    return lCopy;
}

// A new, empty value array of T for a user field; null, after the report "lArray" (from AddField, the
// only caller), when memory ran out.
template <class T>
MoxLayerElementArray* NewFieldArrayOf()
{
    MoxLayerElementArray* lArray = MoxNew<MoxLayerElementArrayTemplate<T>>();
    if (!lArray) _MoxAssert(sgFile, "AddField", __LINE__, sgNoFieldArray.mText);
    return lArray;
}

// A new, empty value array for a user field of type pType; null for an unsupported type, or when memory
// ran out (reported).
MoxLayerElementArray* NewFieldArray(EMoxType pType)
{
    switch (pType) {
        case eMoxBool:
            return NewFieldArrayOf<bool>();
        case eMoxInt:
            return NewFieldArrayOf<int>();
        case eMoxFloat:
            return NewFieldArrayOf<float>();
        case eMoxDouble:
            return NewFieldArrayOf<double>();
        case eMoxDouble2:
            return NewFieldArrayOf<MoxVector2>();
        case eMoxDouble4:
            return NewFieldArrayOf<MoxVector4>();
        default:
            return nullptr;
    }
}

}  // namespace

int MoxLayerElementValueSize(EMoxType pType)
{
    switch (pType) {
        case eMoxBool:
            return static_cast<int>(sizeof(bool));
        case eMoxInt:
            return static_cast<int>(sizeof(int));
        case eMoxFloat:
            return static_cast<int>(sizeof(float));
        case eMoxDouble:
            return static_cast<int>(sizeof(double));
        case eMoxDouble2:
            return static_cast<int>(sizeof(MoxVector2));
        case eMoxDouble4:
            return static_cast<int>(sizeof(MoxVector4));
        case eMoxReference:
            return static_cast<int>(sizeof(void*));
        default:
            return 0;
    }
}

//
// MoxLayerElementArray
//

MoxLayerElementArray::MoxLayerElementArray(EMoxType pDataType)
    : mDataType(pDataType), mValueSize(MoxLayerElementValueSize(pDataType))
{}

MoxLayerElementArray::~MoxLayerElementArray()
{
    Clear();
}

void* MoxLayerElementArray::GetLocked(ELockMode /*pLockMode*/, EMoxType pDataType)
{
    // The values are handed out in place for every mode: a read lock simply promises not to write.
    if (!Accepts(pDataType) || mCount == 0) return nullptr;
    return mData;
}

void MoxLayerElementArray::Release(void** pDataPtr, EMoxType /*pDataType*/)
{
    if (pDataPtr) *pDataPtr = nullptr;
}

void MoxLayerElementArray::SetCount(int pCount, EMoxMemoryClearMode /*pClearMode*/)
{
    const int lOldCount = mCount;
    SetCountUninitialized(pCount);
    // Both clear modes: the storage past the old count holds whatever was left there.
    if (mCount > lOldCount) std::memset(Slot(lOldCount), 0, static_cast<size_t>(mCount - lOldCount) * mValueSize);
}

void MoxLayerElementArray::SetCountUninitialized(int pCount)
{
    if (pCount < 0) pCount = 0;
    if (pCount > mCount && !Reserve(pCount)) return;
    mCount = pCount;
}

void MoxLayerElementArray::Resize(int pItemCount, EMoxMemoryClearMode pClearMode)
{
    SetCount(pItemCount, pClearMode);
}

void MoxLayerElementArray::Clear()
{
    MoxFree(mData);
    mData = nullptr;
    mCount = 0;
    mCapacity = 0;
}

void MoxLayerElementArray::Compact()
{
    if (mCount == mCapacity) return;
    if (mCount == 0) {
        Clear();
        return;
    }
    void* lBlock = MoxRealloc(mData, static_cast<size_t>(mCount) * mValueSize);
    if (!lBlock) {
        MOX_REPORT(sgFile, sgNoValueMemory.mText);
        return;  // the larger block stays valid
    }
    mData = static_cast<unsigned char*>(lBlock);
    mCapacity = mCount;
}

bool MoxLayerElementArray::CopyFrom(const MoxLayerElementArray& pOther)
{
    if (this == &pOther) return true;
    if (pOther.mDataType != mDataType || pOther.mValueSize != mValueSize) return false;
    if (!Reserve(pOther.mCount)) return false;
    if (pOther.mCount > 0) std::memcpy(mData, pOther.mData, static_cast<size_t>(pOther.mCount) * mValueSize);
    mCount = pOther.mCount;
    return true;
}

int MoxLayerElementArray::Add(const void* pItem, EMoxType pValueType)
{
    if (!pItem || !Accepts(pValueType) || mCount == INT_MAX) return -1;
    // pItem may point into the storage that Reserve moves.
    unsigned char lCopy[sizeof(MoxVector4)];
    std::memcpy(lCopy, pItem, static_cast<size_t>(mValueSize));
    if (!Reserve(mCount + 1)) return -1;
    std::memcpy(Slot(mCount), lCopy, static_cast<size_t>(mValueSize));
    return mCount++;
}

bool MoxLayerElementArray::GetAt(int pIndex, void** pItem, EMoxType pValueType) const
{
    const void* lSlot = GetReference(pIndex, pValueType);
    if (!lSlot || !pItem) return false;
    std::memcpy(pItem, lSlot, static_cast<size_t>(mValueSize));
    return true;
}

bool MoxLayerElementArray::SetAt(int pIndex, const void* pItem, EMoxType pValueType)
{
    void* lSlot = GetReference(pIndex, pValueType);
    if (!lSlot || !pItem) return false;
    std::memmove(lSlot, pItem, static_cast<size_t>(mValueSize));
    return true;
}

bool MoxLayerElementArray::RemoveAt(int pIndex, void** pItem, EMoxType pValueType)
{
    const void* lSlot = GetReference(pIndex, pValueType);
    if (!lSlot) return false;
    if (pItem) std::memcpy(pItem, lSlot, static_cast<size_t>(mValueSize));
    std::memmove(Slot(pIndex), Slot(pIndex + 1), static_cast<size_t>(mCount - pIndex - 1) * mValueSize);
    --mCount;
    return true;
}

void* MoxLayerElementArray::GetReference(int pIndex, EMoxType pValueType)
{
    return const_cast<void*>(static_cast<const MoxLayerElementArray*>(this)->GetReference(pIndex, pValueType));
}

const void* MoxLayerElementArray::GetReference(int pIndex, EMoxType pValueType) const
{
    if (!Accepts(pValueType) || pIndex < 0 || pIndex >= mCount) return nullptr;
    return Slot(pIndex);
}

bool MoxLayerElementArray::IsValid() const
{
    return mValueSize == MoxLayerElementValueSize(mDataType) && mCount >= 0 && mCount <= mCapacity &&
           (mCapacity == 0 || mData);
}

bool MoxLayerElementArray::Reserve(int pCount)
{
    if (pCount <= mCapacity) return true;
    if (mValueSize <= 0) return false;
    const long long lDoubled = 2LL * mCapacity;
    const long long lWanted = lDoubled > pCount ? lDoubled : pCount;
    const int lCapacity = lWanted > INT_MAX ? INT_MAX : static_cast<int>(lWanted);
    const size_t lBytes = MoxAllocSize(static_cast<size_t>(lCapacity), static_cast<size_t>(mValueSize));
    // An empty array has no values to carry over: a fresh block spares the copy that a reallocation makes.
    void* lBlock = mCount == 0 ? MoxMalloc(lBytes) : MoxRealloc(mData, lBytes);
    if (!lBlock) {
        MOX_REPORT(sgFile, sgNoValueMemory.mText);
        return false;
    }
    if (mCount == 0) MoxFree(mData);
    mData = static_cast<unsigned char*>(lBlock);
    mCapacity = lCapacity;
    return true;
}

//
// MoxLayerElement and the typed element classes
//

MoxLayerElement::MoxLayerElement(const char* pName, EMappingMode pMappingMode, EReferenceMode pReferenceMode)
    : mMappingMode(pMappingMode), mReferenceMode(pReferenceMode), mName(pName)
{}

MoxLayerElement::~MoxLayerElement() = default;

void MoxLayerElement::Clear() {}

void MoxLayerElement::Destroy()
{
    MoxDelete(this);
}

void MoxLayerElement::CopyBase(const MoxLayerElement& pOther)
{
    mMappingMode = pOther.mMappingMode;
    mReferenceMode = pOther.mReferenceMode;
    mName = pOther.mName;
}

#define MOX_LAYER_ELEMENT_BODY(pClass, pMapping, pReference)                                                           \
    pClass* pClass::Create(MoxLayerContainer* /*pOwner*/, const char* pName)                                           \
    {                                                                                                                  \
        return CreateElement<pClass>(pName, __func__);                                                                 \
    }                                                                                                                  \
    pClass::pClass(const char* pName) : MoxLayerElementTemplate(pName, pMapping, pReference) {}

MOX_LAYER_ELEMENT_BODY(MoxLayerElementNormal, eNone, eDirect)
MOX_LAYER_ELEMENT_BODY(MoxLayerElementBinormal, eNone, eDirect)
MOX_LAYER_ELEMENT_BODY(MoxLayerElementTangent, eNone, eDirect)
MOX_LAYER_ELEMENT_BODY(MoxLayerElementMaterial, eByPolygon, eIndexToDirect)
MOX_LAYER_ELEMENT_BODY(MoxLayerElementPolygonGroup, eNone, eDirect)
MOX_LAYER_ELEMENT_BODY(MoxLayerElementUV, eByPolygonVertex, eIndexToDirect)
MOX_LAYER_ELEMENT_BODY(MoxLayerElementVertexColor, eNone, eDirect)
MOX_LAYER_ELEMENT_BODY(MoxLayerElementSmoothing, eNone, eDirect)
MOX_LAYER_ELEMENT_BODY(MoxLayerElementCrease, eNone, eDirect)
MOX_LAYER_ELEMENT_BODY(MoxLayerElementHole, eNone, eDirect)
MOX_LAYER_ELEMENT_BODY(MoxLayerElementVisibility, eNone, eDirect)
MOX_LAYER_ELEMENT_BODY(MoxLayerElementTexture, eByPolygon, eIndexToDirect)

#undef MOX_LAYER_ELEMENT_BODY

//
// MoxLayerElementUserData
//

MoxLayerElementUserData* MoxLayerElementUserData::Create(MoxLayerContainer* /*pOwner*/, const char* pName, int pId,
                                                         const MoxArray<MoxDataType>& pDataTypes,
                                                         const MoxArray<const char*>& pDataNames)
{
    if (pDataTypes.GetCount() != pDataNames.GetCount()) return nullptr;
    MoxLayerElementUserData* lElement = MoxNew<MoxLayerElementUserData>(pName, pId);
    bool lOk = IsWhole(lElement, __func__);
    for (int i = 0; lOk && i < pDataTypes.GetCount(); ++i) lOk = lElement->AddField(pDataTypes[i], pDataNames[i]);
    if (!lOk) {
        MoxDelete(lElement);
        return nullptr;
    }
    return lElement;
}

MoxLayerElementUserData* MoxLayerElementUserData::Create(MoxLayerContainer* /*pOwner*/,
                                                         const MoxLayerElementUserData* pOther)
{
    if (!pOther) return nullptr;
    MoxLayerElementUserData* lElement = MoxNew<MoxLayerElementUserData>(pOther->GetName(), pOther->mId);
    if (!IsWhole(lElement, __func__) || !lElement->CopyFrom(*pOther)) {
        MoxDelete(lElement);
        return nullptr;
    }
    return lElement;
}

MoxLayerElementUserData::MoxLayerElementUserData(const char* pName, int pId)
    : MoxLayerElementTemplate(pName, eNone, eDirect), mId(pId)
{}

MoxLayerElementUserData::~MoxLayerElementUserData()
{
    FreeFields();
}

void MoxLayerElementUserData::Clear()
{
    for (int i = 0; i < mFields.GetCount(); ++i) mFields.GetAt(i)->Clear();
    mIndexArray->Clear();
}

MoxDataType MoxLayerElementUserData::GetDataType(int pIndex) const
{
    return pIndex >= 0 && pIndex < mDataTypes.GetCount() ? mDataTypes[pIndex] : MoxDataType();
}

const char* MoxLayerElementUserData::GetDataName(int pIndex) const
{
    const char* lName = mDataNames.GetAt(pIndex);
    return lName ? lName : "";
}

void* MoxLayerElementUserData::GetDirectArrayVoid(int pIndex, bool* pStatus)
{
    // Deliberately a disjunction: every non-negative index passes and reads the fallback past the end.
    if (pIndex >= 0 || pIndex < mDirectArray->GetCount()) {
        if (pStatus) *pStatus = true;
        return mDirectArray->AsReference(pIndex);
    }
    if (pStatus) *pStatus = false;
    MOX_REPORT(sgFile, sgFieldIndexOutside.mText);
    return nullptr;
}

const void* MoxLayerElementUserData::GetDirectArrayVoid(int pIndex, bool* pStatus) const
{
    return const_cast<MoxLayerElementUserData*>(this)->GetDirectArrayVoid(pIndex, pStatus);
}

void MoxLayerElementUserData::ResizeAllDirectArrays(int pSize)
{
    for (int i = 0; i < mFields.GetCount(); ++i) mFields.GetAt(i)->SetCount(pSize);
}

void MoxLayerElementUserData::RemoveFromAllDirectArrays(int pIndex)
{
    for (int i = 0; i < mDirectArray->GetCount(); ++i) {
        switch (GetDataType(i).GetType()) {
            case eMoxBool:
                MoxGetDirectArray<bool>(this, i).RemoveAt(pIndex);
                break;
            case eMoxInt:
                MoxGetDirectArray<int>(this, i).RemoveAt(pIndex);
                break;
            case eMoxFloat:
                MoxGetDirectArray<float>(this, i).RemoveAt(pIndex);
                break;
            case eMoxDouble:
                MoxGetDirectArray<double>(this, i).RemoveAt(pIndex);
                break;
            default:
                MOX_REPORT(sgFile, sgUnknownFieldType.mText);
                break;
        }
    }
}

bool MoxLayerElementUserData::CopyFrom(const MoxLayerElementUserData& pOther)
{
    if (this == &pOther) return true;
    FreeFields();
    CopyBase(pOther);
    mId = pOther.mId;
    bool lOk = mIndexArray->CopyFrom(*pOther.mIndexArray);
    for (int i = 0; lOk && i < pOther.mFields.GetCount(); ++i) {
        lOk = AddField(pOther.GetDataType(i), pOther.GetDataName(i)) &&
              mFields.GetAt(i)->CopyFrom(*pOther.mFields.GetAt(i));
    }
    return lOk;
}

bool MoxLayerElementUserData::AddField(const MoxDataType& pType, const char* pName)
{
    MoxLayerElementArray* lArray = NewFieldArray(pType.GetType());
    char* lName = CopyText(pName);
    if (!lName) MOX_REPORT(sgFile, sgNoFieldName.mText);
    const int lField = mFields.GetCount();
    bool lOk = lArray && lName && mFields.Add(lArray) == lField;
    lOk = lOk && mDataNames.Add(lName) == lField;
    if (lOk) {
        MoxArray<MoxDataType> lTypes(mDataTypes);
        lOk = lTypes.GetCount() == lField && lTypes.Add(pType) == lField;
        if (lOk) mDataTypes = static_cast<MoxArray<MoxDataType>&&>(lTypes);
    }
    lOk = lOk && mDirectArray->Add(static_cast<void*>(lArray)) == lField;
    if (lOk) return true;
    // Undo whatever part of the field was recorded.
    if (mFields.GetCount() > lField) mFields.RemoveAt(lField);
    if (mDataNames.GetCount() > lField) mDataNames.RemoveAt(lField);
    if (mDataTypes.GetCount() > lField) mDataTypes.RemoveAt(lField);
    MoxDelete(lArray);
    MoxFree(lName);
    return false;
}

void MoxLayerElementUserData::FreeFields()
{
    for (int i = 0; i < mFields.GetCount(); ++i) MoxDelete(mFields.GetAt(i));
    for (int i = 0; i < mDataNames.GetCount(); ++i) MoxFree(mDataNames.GetAt(i));
    mFields.Clear();
    mDataNames.Clear();
    mDataTypes.Clear();
    if (mDirectArray) mDirectArray->Clear();  // null only in an element whose Create failed
}

//
// MoxLayer
//

MoxLayerElementUV* MoxLayer::GetUVs(MoxLayerElement::EType pType)
{
    const int lSlot = ChannelSlot(pType);
    return lSlot < 0 ? nullptr : mUVs[lSlot];
}

const MoxLayerElementUV* MoxLayer::GetUVs(MoxLayerElement::EType pType) const
{
    return const_cast<MoxLayer*>(this)->GetUVs(pType);
}

MoxLayerElementTexture* MoxLayer::GetTextures(MoxLayerElement::EType pType)
{
    const int lSlot = ChannelSlot(pType);
    return lSlot < 0 ? nullptr : mTextures[lSlot];
}

const MoxLayerElementTexture* MoxLayer::GetTextures(MoxLayerElement::EType pType) const
{
    return const_cast<MoxLayer*>(this)->GetTextures(pType);
}

int MoxLayer::GetUVSetCount() const
{
    int lCount = 0;
    for (const MoxLayerElementUV* lUVs : mUVs)
        if (lUVs) ++lCount;
    return lCount;
}

MoxArray<MoxLayerElement::EType> MoxLayer::GetUVSetChannels() const
{
    MoxArray<MoxLayerElement::EType> lChannels;
    for (int i = 0; i < MoxLayerElement::TextureChannelCount; ++i)
        if (mUVs[i]) lChannels.Add(static_cast<MoxLayerElement::EType>(MoxLayerElement::eTextureChannel0 + i));
    return lChannels;
}

MoxLayerElement* MoxLayer::GetLayerElementOfType(MoxLayerElement::EType pType, bool pIsUV)
{
    switch (pType) {
        case MoxLayerElement::eNormal:
            return mNormals;
        case MoxLayerElement::eBinormal:
            return mBinormals;
        case MoxLayerElement::eTangent:
            return mTangents;
        case MoxLayerElement::eMaterial:
            return mMaterials;
        case MoxLayerElement::ePolygonGroup:
            return mPolygonGroups;
        case MoxLayerElement::eVertexColor:
            return mVertexColors;
        case MoxLayerElement::eSmoothing:
            return mSmoothing;
        case MoxLayerElement::eVertexCrease:
            return mVertexCrease;
        case MoxLayerElement::eEdgeCrease:
            return mEdgeCrease;
        case MoxLayerElement::eHole:
            return mHole;
        case MoxLayerElement::eUserData:
            return mUserData;
        case MoxLayerElement::eVisibility:
            return mVisibility;
        case MoxLayerElement::eUV:
            for (MoxLayerElementUV* lUVs : mUVs)
                if (lUVs) return lUVs;
            return nullptr;
        default:
            if (pIsUV) return GetUVs(pType);
            return GetTextures(pType);
    }
}

const MoxLayerElement* MoxLayer::GetLayerElementOfType(MoxLayerElement::EType pType, bool pIsUV) const
{
    return const_cast<MoxLayer*>(this)->GetLayerElementOfType(pType, pIsUV);
}

void MoxLayer::SetNormals(MoxLayerElementNormal* pElement)
{
    Replace(mNormals, pElement);
}

void MoxLayer::SetBinormals(MoxLayerElementBinormal* pElement)
{
    Replace(mBinormals, pElement);
}

void MoxLayer::SetTangents(MoxLayerElementTangent* pElement)
{
    Replace(mTangents, pElement);
}

void MoxLayer::SetMaterials(MoxLayerElementMaterial* pElement)
{
    Replace(mMaterials, pElement);
}

void MoxLayer::SetPolygonGroups(MoxLayerElementPolygonGroup* pElement)
{
    Replace(mPolygonGroups, pElement);
}

void MoxLayer::SetUVs(MoxLayerElementUV* pElement, MoxLayerElement::EType pType)
{
    const int lSlot = ChannelSlot(pType);
    if (lSlot >= 0)
        Replace(mUVs[lSlot], pElement);
    else if (pElement)
        pElement->Destroy();
}

void MoxLayer::SetVertexColors(MoxLayerElementVertexColor* pElement)
{
    Replace(mVertexColors, pElement);
}

void MoxLayer::SetSmoothing(MoxLayerElementSmoothing* pElement)
{
    Replace(mSmoothing, pElement);
}

void MoxLayer::SetVertexCrease(MoxLayerElementCrease* pElement)
{
    Replace(mVertexCrease, pElement);
}

void MoxLayer::SetEdgeCrease(MoxLayerElementCrease* pElement)
{
    Replace(mEdgeCrease, pElement);
}

void MoxLayer::SetHole(MoxLayerElementHole* pElement)
{
    Replace(mHole, pElement);
}

void MoxLayer::SetUserData(MoxLayerElementUserData* pElement)
{
    Replace(mUserData, pElement);
}

void MoxLayer::SetVisibility(MoxLayerElementVisibility* pElement)
{
    Replace(mVisibility, pElement);
}

void MoxLayer::SetTextures(MoxLayerElement::EType pType, MoxLayerElementTexture* pElement)
{
    const int lSlot = ChannelSlot(pType);
    if (lSlot >= 0)
        Replace(mTextures[lSlot], pElement);
    else if (pElement)
        pElement->Destroy();
}

template <class Layer, class Visit>
void MoxLayer::VisitSlots(Layer& pLayer, const MoxLayer& pOther, Visit&& pVisit)
{
    pVisit(pLayer.mNormals, pOther.mNormals);
    pVisit(pLayer.mBinormals, pOther.mBinormals);
    pVisit(pLayer.mTangents, pOther.mTangents);
    pVisit(pLayer.mMaterials, pOther.mMaterials);
    pVisit(pLayer.mPolygonGroups, pOther.mPolygonGroups);
    pVisit(pLayer.mVertexColors, pOther.mVertexColors);
    pVisit(pLayer.mSmoothing, pOther.mSmoothing);
    pVisit(pLayer.mVertexCrease, pOther.mVertexCrease);
    pVisit(pLayer.mEdgeCrease, pOther.mEdgeCrease);
    pVisit(pLayer.mHole, pOther.mHole);
    pVisit(pLayer.mUserData, pOther.mUserData);
    pVisit(pLayer.mVisibility, pOther.mVisibility);
    for (int i = 0; i < MoxLayerElement::TextureChannelCount; ++i) {
        pVisit(pLayer.mUVs[i], pOther.mUVs[i]);
        pVisit(pLayer.mTextures[i], pOther.mTextures[i]);
    }
}

void MoxLayer::Clear()
{
    VisitSlots(*this, *this, [](auto*& pSlot, auto*) {
        Replace(pSlot, static_cast<std::remove_reference_t<decltype(pSlot)>>(nullptr));
    });
}

bool MoxLayer::CopyFrom(const MoxLayer& pOther)
{
    if (this == &pOther) return true;
    bool lOk = true;
    VisitSlots(*this, pOther, [&](auto*& pSlot, const auto* pSource) { Replace(pSlot, CloneElement(pSource, lOk)); });
    return lOk;
}

bool MoxLayer::ConvertDirectToIndexToDirect()
{
    bool lOk = true;
    VisitSlots(*this, *this, [&](auto* pSlot, auto*) { Convert(pSlot, lOk); });
    return lOk;
}

bool MoxLayer::IsSizedFor(int pControlPointCount, int pPolygonVertexCount, int pPolygonCount, int pEdgeCount) const
{
    const int lRequired[] = {0, pControlPointCount, pPolygonVertexCount, pPolygonCount, pEdgeCount, 1};
    bool lSized = true;
    VisitSlots(*this, *this,
               [&](const auto* pSlot, const auto*) { lSized = lSized && IsElementSized(pSlot, lRequired); });
    return lSized;
}

void MoxLayer::Compact()
{
    VisitSlots(*this, *this, [](auto* pSlot, auto*) { CompactElement(pSlot); });
}

}  // namespace moxsdk
