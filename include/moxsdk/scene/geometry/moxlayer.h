#pragma once
// Layer elements and layers: the per-component attribute model of geometry.
//
// A layer element is one attribute channel: a mapping mode (to which kind of component each value
// belongs), a reference mode (how a component finds its value), a direct array of values and an index
// array of integers. Reading the value of component c: eDirect -> direct[c]; eIndexToDirect ->
// direct[index[c]]; eIndex -> index[c] (the element carries integers only). Component c is the control
// point, the polygon vertex, the polygon, the edge, or 0 for eByMesh, as the mapping mode says.
//
// A layer (MoxLayer) holds at most one element of each kind, and one UV set and one texture element per
// texture channel (eTextureChannel0 = 14 .. eTextureChannel16 = 30); it owns what it holds.
//
// Reports go to _MoxAssert with the file "scene/geometry/moxlayer"; none stops an operation.

#include "moxsdk/core/base/moxarray.h"
#include "moxsdk/core/base/moxpointerlist.h"
#include "moxsdk/core/math/moxcolor.h"
#include "moxsdk/core/math/moxvector2.h"
#include "moxsdk/core/math/moxvector4.h"
#include "moxsdk/core/moxassert.h"
#include "moxsdk/core/moxmemory.h"
#include "moxsdk/core/moxstring.h"
#include "moxsdk/core/moxtypes.h"
#include "moxsdk/scene/geometry/detail/moxlayerelementreports.h"

namespace moxsdk {

class MoxLayerContainer;
class MoxSurfaceMaterial;
class MoxTexture;
namespace detail {
struct MoxUnwrittenValues;
}

// The value type code with which arrays of T are tagged: bool 9, int 10, float 11, double 12,
// MoxVector2 13, MoxVector4 and MoxColor 15 (both are four doubles), every pointer type 20 (texture,
// material and the user-data field pointers alike: all are one pointer wide).
template <class T>
struct MoxTypeCodeOf;
template <>
struct MoxTypeCodeOf<bool> {
    static constexpr EMoxType value = eMoxBool;
};
template <>
struct MoxTypeCodeOf<int> {
    static constexpr EMoxType value = eMoxInt;
};
template <>
struct MoxTypeCodeOf<float> {
    static constexpr EMoxType value = eMoxFloat;
};
template <>
struct MoxTypeCodeOf<double> {
    static constexpr EMoxType value = eMoxDouble;
};
template <>
struct MoxTypeCodeOf<MoxVector2> {
    static constexpr EMoxType value = eMoxDouble2;
};
template <>
struct MoxTypeCodeOf<MoxVector4> {
    static constexpr EMoxType value = eMoxDouble4;
};
template <>
struct MoxTypeCodeOf<MoxColor> {
    static constexpr EMoxType value = eMoxDouble4;
};
template <class T>
struct MoxTypeCodeOf<T*> {
    static constexpr EMoxType value = eMoxReference;
};

// Bytes of one value of a type code; 0 for a code that no layer element array stores.
int MoxLayerElementValueSize(EMoxType pType);

//
// MoxLayerElementArray: an untyped, growable buffer of values of one type code.
//
// Storage: one block from MoxRealloc holding `capacity` values of the code's size; the storage past the
// count holds no values (what it holds is left as it comes: no operation reads it, and a growing SetCount
// writes zeros over it). Growth is geometric, so repeated SetCount(count + 1) or Add stay linear overall.
// A failed growth, or a failed shrink in Compact, reports "mData" and leaves the array as it was.
//
// Every access names the value type it expects; an access whose type code differs from the array's
// (or whose size differs) is refused: GetAt/SetAt/RemoveAt return false, Add returns -1, GetLocked and
// GetReference return null. Any index is safe: out of range, GetAt/RemoveAt return false and leave the
// caller's storage alone, SetAt does nothing, GetReference returns null.
//
// Locks: GetLocked returns a pointer to the first value inside the storage (null when the array is
// empty or the type differs); on a non-empty array of the right type it always succeeds. Writes through
// it are kept. Release nulls the caller's pointer. The lock modes are access modes, not thread locks; a
// caller must release before any other operation on the array (which may move the storage).
//
class MoxLayerElementArray {
public:
    enum ELockMode { eReadLock = 1, eWriteLock = 2, eReadWriteLock = 3 };

    explicit MoxLayerElementArray(EMoxType pDataType);
    MoxLayerElementArray(const MoxLayerElementArray&) = delete;
    MoxLayerElementArray& operator=(const MoxLayerElementArray&) = delete;

    // Virtual operations, in slot order.
    virtual ~MoxLayerElementArray();
    virtual void* GetLocked(ELockMode pLockMode, EMoxType pDataType);
    virtual void Release(void** pDataPtr, EMoxType pDataType);

    // The same two slots with the array's own type code.
    void* GetLocked(ELockMode pLockMode = eReadWriteLock) { return GetLocked(pLockMode, mDataType); }
    void Release(void** pDataPtr) { Release(pDataPtr, mDataType); }

    EMoxType GetDataType() const { return mDataType; }
    int GetCount() const { return mCount; }
    // Sets the count; new values are zero whatever the clear mode. A negative count is treated as 0.
    void SetCount(int pCount, EMoxMemoryClearMode pClearMode = eMoxMemoryNoClear);
    // The same as SetCount.
    void Resize(int pItemCount, EMoxMemoryClearMode pClearMode = eMoxMemoryNoClear);
    // Releases the storage: count and capacity become 0.
    void Clear();
    // Shrinks the storage to the count.
    void Compact();
    // Copies type-compatible content (count and values) from pOther. False, nothing changed, when the type
    // codes differ or memory ran out.
    bool CopyFrom(const MoxLayerElementArray& pOther);

    // Appends the value at pItem; returns its index, or -1.
    int Add(const void* pItem, EMoxType pValueType);
    // Copies value pIndex into the storage at pItem (which must hold one value of pValueType).
    bool GetAt(int pIndex, void** pItem, EMoxType pValueType) const;
    // Writes value pIndex from pItem.
    bool SetAt(int pIndex, const void* pItem, EMoxType pValueType);
    // Removes value pIndex, shifting later ones down, and copies it to pItem when pItem is not null.
    bool RemoveAt(int pIndex, void** pItem, EMoxType pValueType);
    // Pointer to value pIndex inside the storage, or null when pIndex or the type is invalid.
    void* GetReference(int pIndex, EMoxType pValueType);
    const void* GetReference(int pIndex, EMoxType pValueType) const;

    // Typed forwards: each adds the type code of T.
    template <class T>
    T* GetLocked(T* /*pDummy*/, ELockMode pLockMode = eReadWriteLock)
    {
        return static_cast<T*>(GetLocked(pLockMode, MoxTypeCodeOf<T>::value));
    }
    template <class T>
    void Release(T** pDataPtr, T* /*pDummy*/)
    {
        Release(reinterpret_cast<void**>(pDataPtr), MoxTypeCodeOf<T>::value);
    }
    template <class T>
    bool GetAt(int pIndex, T* pItem) const
    {
        return GetAt(pIndex, reinterpret_cast<void**>(pItem), MoxTypeCodeOf<T>::value);
    }
    template <class T>
    void SetAt(int pIndex, const T& pItem)
    {
        SetAt(pIndex, static_cast<const void*>(&pItem), MoxTypeCodeOf<T>::value);
    }
    template <class T>
    void RemoveAt(int pIndex, T* pItem)
    {
        RemoveAt(pIndex, reinterpret_cast<void**>(pItem), MoxTypeCodeOf<T>::value);
    }
    template <class T>
    int Add(const T& pItem)
    {
        return Add(static_cast<const void*>(&pItem), MoxTypeCodeOf<T>::value);
    }

    // Invariants: the value size matches the type code; 0 <= count <= capacity; storage present when the
    // capacity is positive.
    bool IsValid() const;

private:
    friend struct detail::MoxUnwrittenValues;

    // SetCount without writing the new values: for the library's own generators, which write every one of
    // them before anything reads it.
    void SetCountUninitialized(int pCount);
    // True when an access with pValueType may touch the storage.
    bool Accepts(EMoxType pValueType) const { return pValueType == mDataType && mValueSize > 0; }
    // Makes room for pCount values (geometric growth); false, nothing changed, when memory ran out.
    bool Reserve(int pCount);
    unsigned char* Slot(int pIndex) const { return mData + static_cast<size_t>(pIndex) * mValueSize; }

    EMoxType mDataType;
    int mValueSize;
    unsigned char* mData = nullptr;
    int mCount = 0;
    int mCapacity = 0;
};

// The typed array: thin forwards that add the type code of T.
template <class T>
class MoxLayerElementArrayTemplate : public MoxLayerElementArray {
public:
    MoxLayerElementArrayTemplate() : MoxLayerElementArray(MoxTypeCodeOf<T>::value) {}

    using MoxLayerElementArray::Add;
    using MoxLayerElementArray::GetAt;
    using MoxLayerElementArray::GetLocked;
    using MoxLayerElementArray::Release;
    using MoxLayerElementArray::RemoveAt;
    using MoxLayerElementArray::SetAt;

    T* GetLocked(ELockMode pLockMode = eReadWriteLock) { return GetLocked(static_cast<T*>(nullptr), pLockMode); }
    void Release(T** pDataPtr) { Release(pDataPtr, static_cast<T*>(nullptr)); }

    // Value pIndex, or a value-initialised T (the zero vector, a null pointer) when pIndex is invalid.
    T GetAt(int pIndex) const
    {
        T lItem{};
        GetAt(pIndex, &lItem);
        return lItem;
    }
    void SetAt(int pIndex, const T& pItem) { SetAt<T>(pIndex, pItem); }
    // Removes value pIndex and returns it (a value-initialised T when pIndex is invalid).
    T RemoveAt(int pIndex)
    {
        T lItem{};
        RemoveAt(pIndex, &lItem);
        return lItem;
    }
    int Add(const T& pItem) { return Add<T>(pItem); }

    // Reference to value pIndex, or to mFallbackValue when pIndex is invalid.
    T& AsReference(int pIndex)
    {
        void* lItem = GetReference(pIndex, GetDataType());
        return lItem ? *static_cast<T*>(lItem) : mFallbackValue;
    }
    const T& AsReference(int pIndex) const
    {
        const void* lItem = GetReference(pIndex, GetDataType());
        return lItem ? *static_cast<const T*>(lItem) : mFallbackValue;
    }

    // First index from pStartIndex upward whose value == pItem, or -1.
    int Find(const T& pItem, int pStartIndex = 0) const
    {
        for (int i = pStartIndex < 0 ? 0 : pStartIndex; i < GetCount(); ++i)
            if (*static_cast<const T*>(GetReference(i, GetDataType())) == pItem) return i;
        return -1;
    }

    T mFallbackValue{};
};

//
// MoxLayerElement: the base of every element.
//
class MoxLayerElement {
public:
    enum EType {
        eUnknown = 0,
        eNormal = 1,
        eBinormal = 2,
        eTangent = 3,
        eMaterial = 4,
        ePolygonGroup = 5,
        eUV = 6,
        eVertexColor = 7,
        eSmoothing = 8,
        eVertexCrease = 9,
        eEdgeCrease = 10,
        eHole = 11,
        eUserData = 12,
        eVisibility = 13,
        eTextureChannel0 = 14,
        eTextureChannel1,
        eTextureChannel2,
        eTextureChannel3,
        eTextureChannel4,
        eTextureChannel5,
        eTextureChannel6,
        eTextureChannel7,
        eTextureChannel8,
        eTextureChannel9,
        eTextureChannel10,
        eTextureChannel11,
        eTextureChannel12,
        eTextureChannel13,
        eTextureChannel14,
        eTextureChannel15,
        eTextureChannel16  // 30
    };
    // The texture channels are the TextureChannelCount values eTextureChannel0 .. eTextureChannel16.
    static constexpr int TextureChannelCount = 17;
    static bool IsTextureChannel(int pType) { return pType >= eTextureChannel0 && pType <= eTextureChannel16; }

    enum EMappingMode {
        eNone = 0,
        eByControlPoint = 1,
        eByPolygonVertex = 2,
        eByPolygon = 3,
        eByEdge = 4,
        eByMesh = 5
    };
    enum EReferenceMode { eDirect = 0, eIndex = 1, eIndexToDirect = 2 };

    // The first virtual operation: empties the element (both arrays for the typed elements).
    virtual void Clear();
    virtual ~MoxLayerElement();
    MoxLayerElement(const MoxLayerElement&) = delete;
    MoxLayerElement& operator=(const MoxLayerElement&) = delete;

    EMappingMode GetMappingMode() const { return mMappingMode; }
    void SetMappingMode(EMappingMode pMappingMode) { mMappingMode = pMappingMode; }
    EReferenceMode GetReferenceMode() const { return mReferenceMode; }
    void SetReferenceMode(EReferenceMode pReferenceMode) { mReferenceMode = pReferenceMode; }
    const char* GetName() const { return mName.Buffer(); }
    void SetName(const char* pName) { mName = MoxString(pName); }

    // Frees the element (destructor, then MoxFree). Whoever holds a pointer to it must drop it first.
    void Destroy();

    EMappingMode mMappingMode;
    EReferenceMode mReferenceMode;

protected:
    MoxLayerElement(const char* pName, EMappingMode pMappingMode, EReferenceMode pReferenceMode);
    // Modes and name of pOther.
    void CopyBase(const MoxLayerElement& pOther);

private:
    MoxString mName;
};

// The typed element: a direct array of T and an index array of int, both owned. Elements are made by
// their class's Create, which returns null unless both arrays exist, so the two pointers are never null.
template <class T>
class MoxLayerElementTemplate : public MoxLayerElement {
public:
    MoxLayerElementTemplate(const MoxLayerElementTemplate&) = delete;
    MoxLayerElementTemplate& operator=(const MoxLayerElementTemplate&) = delete;
    ~MoxLayerElementTemplate() override
    {
        MoxDelete(mDirectArray);
        MoxDelete(mIndexArray);
    }
    void Clear() override
    {
        mDirectArray->Clear();
        mIndexArray->Clear();
    }

    // The direct array. Reports when the reference mode uses no direct array, and returns it all the same.
    MoxLayerElementArrayTemplate<T>& GetDirectArray() { return *CheckedDirectArray(__func__); }
    const MoxLayerElementArrayTemplate<T>& GetDirectArray() const { return *CheckedDirectArray(__func__); }
    // The index array. Reports when the reference mode uses no index array, and returns it all the same.
    MoxLayerElementArrayTemplate<int>& GetIndexArray() { return *CheckedIndexArray(__func__); }
    const MoxLayerElementArrayTemplate<int>& GetIndexArray() const { return *CheckedIndexArray(__func__); }

    // eDirect -> eIndexToDirect with the identity index array 0 .. direct count - 1, so that entries can
    // later be removed from the index array alone. Other reference modes are left alone (true). False,
    // nothing changed, when memory ran out.
    bool ConvertDirectToIndexToDirect()
    {
        if (mReferenceMode != eDirect) return true;
        const int lCount = mDirectArray->GetCount();
        mIndexArray->SetCount(lCount);
        if (mIndexArray->GetCount() != lCount) return false;
        int* lIndices = mIndexArray->GetLocked(MoxLayerElementArray::eReadWriteLock);
        for (int i = 0; i < lCount; ++i) lIndices[i] = i;
        mIndexArray->Release(&lIndices);
        mReferenceMode = eIndexToDirect;
        return true;
    }

    // Modes, name and both arrays of pOther. False when memory ran out (the arrays then hold what could
    // be copied).
    bool CopyFrom(const MoxLayerElementTemplate& pOther)
    {
        if (this == &pOther) return true;
        CopyBase(pOther);
        const bool lDirect = mDirectArray->CopyFrom(*pOther.mDirectArray);
        return mIndexArray->CopyFrom(*pOther.mIndexArray) && lDirect;
    }

    MoxLayerElementArrayTemplate<T>* mDirectArray;
    MoxLayerElementArrayTemplate<int>* mIndexArray;

protected:
    MoxLayerElementTemplate(const char* pName, EMappingMode pMappingMode, EReferenceMode pReferenceMode)
        : MoxLayerElement(pName, pMappingMode, pReferenceMode),
          mDirectArray(MoxNew<MoxLayerElementArrayTemplate<T>>()),
          mIndexArray(MoxNew<MoxLayerElementArrayTemplate<int>>())
    {}

private:
    // The arrays, after the report that a reference mode without them deserves; pFunction names the caller.
    MoxLayerElementArrayTemplate<T>* CheckedDirectArray(const char* pFunction) const
    {
        if (mReferenceMode != eDirect && mReferenceMode != eIndexToDirect)
            _MoxAssert("scene/geometry/moxlayer", pFunction, __LINE__,
                       detail::layerelementreports::sgNoDirectArrayInMode.mText);
        return mDirectArray;
    }
    MoxLayerElementArrayTemplate<int>* CheckedIndexArray(const char* pFunction) const
    {
        if (mReferenceMode != eIndex && mReferenceMode != eIndexToDirect)
            _MoxAssert("scene/geometry/moxlayer", pFunction, __LINE__,
                       detail::layerelementreports::sgNoIndexArrayInMode.mText);
        return mIndexArray;
    }
};

// The typed element classes. Each Create makes an empty element (null when memory ran out, after the
// report "lElement", "mDirectArray" or "mIndexArray" from Create, naming what could not be had); the owner
// argument names the container that asks and is not kept: an element belongs to the layer it is set on.
// New elements have mapping eNone and reference eDirect, except material and texture elements
// (eByPolygon, eIndexToDirect) and UV elements (eByPolygonVertex, eIndexToDirect), which polygon
// building fills as polygons are added.
class MoxLayerElementNormal : public MoxLayerElementTemplate<MoxVector4> {
public:
    static MoxLayerElementNormal* Create(MoxLayerContainer* pOwner, const char* pName);
    explicit MoxLayerElementNormal(const char* pName);
};

class MoxLayerElementBinormal : public MoxLayerElementTemplate<MoxVector4> {
public:
    static MoxLayerElementBinormal* Create(MoxLayerContainer* pOwner, const char* pName);
    explicit MoxLayerElementBinormal(const char* pName);
};

class MoxLayerElementTangent : public MoxLayerElementTemplate<MoxVector4> {
public:
    static MoxLayerElementTangent* Create(MoxLayerContainer* pOwner, const char* pName);
    explicit MoxLayerElementTangent(const char* pName);
};

class MoxLayerElementMaterial : public MoxLayerElementTemplate<MoxSurfaceMaterial*> {
public:
    static MoxLayerElementMaterial* Create(MoxLayerContainer* pOwner, const char* pName);
    explicit MoxLayerElementMaterial(const char* pName);
};

class MoxLayerElementPolygonGroup : public MoxLayerElementTemplate<int> {
public:
    static MoxLayerElementPolygonGroup* Create(MoxLayerContainer* pOwner, const char* pName);
    explicit MoxLayerElementPolygonGroup(const char* pName);
};

class MoxLayerElementUV : public MoxLayerElementTemplate<MoxVector2> {
public:
    static MoxLayerElementUV* Create(MoxLayerContainer* pOwner, const char* pName);
    explicit MoxLayerElementUV(const char* pName);
};

class MoxLayerElementVertexColor : public MoxLayerElementTemplate<MoxColor> {
public:
    static MoxLayerElementVertexColor* Create(MoxLayerContainer* pOwner, const char* pName);
    explicit MoxLayerElementVertexColor(const char* pName);
};

class MoxLayerElementSmoothing : public MoxLayerElementTemplate<int> {
public:
    static MoxLayerElementSmoothing* Create(MoxLayerContainer* pOwner, const char* pName);
    explicit MoxLayerElementSmoothing(const char* pName);
};

class MoxLayerElementCrease : public MoxLayerElementTemplate<double> {
public:
    static MoxLayerElementCrease* Create(MoxLayerContainer* pOwner, const char* pName);
    explicit MoxLayerElementCrease(const char* pName);
};

class MoxLayerElementHole : public MoxLayerElementTemplate<bool> {
public:
    static MoxLayerElementHole* Create(MoxLayerContainer* pOwner, const char* pName);
    explicit MoxLayerElementHole(const char* pName);
};

class MoxLayerElementVisibility : public MoxLayerElementTemplate<bool> {
public:
    static MoxLayerElementVisibility* Create(MoxLayerContainer* pOwner, const char* pName);
    explicit MoxLayerElementVisibility(const char* pName);
};

class MoxLayerElementTexture : public MoxLayerElementTemplate<MoxTexture*> {
public:
    static MoxLayerElementTexture* Create(MoxLayerContainer* pOwner, const char* pName);
    explicit MoxLayerElementTexture(const char* pName);
};

//
// MoxLayerElementUserData: user-defined fields. The direct array holds one entry per field, a pointer to
// that field's own value array (a MoxLayerElementArrayTemplate of the field's type); mDataTypes holds the
// field types. Supported field types: bool, int, float, double (9 to 12), MoxVector2 (13), MoxVector4 (15).
// The element owns its field arrays through a list of its own, so rewriting the public direct array can
// neither free nor leak them.
//
class MoxLayerElementUserData : public MoxLayerElementTemplate<void*> {
public:
    // Null when the two lists differ in length, a field type is not supported, or memory ran out (reported
    // as for the other elements; a field's array or name that cannot be had as "lArray" or "lName", from
    // AddField).
    static MoxLayerElementUserData* Create(MoxLayerContainer* pOwner, const char* pName, int pId,
                                           const MoxArray<MoxDataType>& pDataTypes,
                                           const MoxArray<const char*>& pDataNames);
    // A deep copy of pOther (fields, values, modes, name and id); null when memory ran out.
    static MoxLayerElementUserData* Create(MoxLayerContainer* pOwner, const MoxLayerElementUserData* pOther);

    MoxLayerElementUserData(const char* pName, int pId);
    MoxLayerElementUserData(const MoxLayerElementUserData&) = delete;
    MoxLayerElementUserData& operator=(const MoxLayerElementUserData&) = delete;
    ~MoxLayerElementUserData() override;
    // Empties every field's values and the index array; the fields themselves stay.
    void Clear() override;

    int GetId() const { return mId; }
    // The type of field pIndex; MoxDataType() (undefined) outside the fields.
    MoxDataType GetDataType(int pIndex) const;
    // The name of field pIndex; "" outside the fields.
    const char* GetDataName(int pIndex) const;
    // The count of the direct array: one entry per field.
    int GetDirectArrayCount() const { return mDirectArray->GetCount(); }

    // The pointer stored for field pIndex, read through AsReference on the direct array. The validity
    // test is deliberately "pIndex >= 0 || pIndex < count" (a disjunction): every non-negative index
    // passes, and one past the end yields the direct array's fallback value (null unless set). On pass
    // *pStatus (when given) becomes true. On failure *pStatus becomes false, "Index out of bounds" is
    // reported and null is returned.
    void* GetDirectArrayVoid(int pIndex, bool* pStatus = nullptr);
    const void* GetDirectArrayVoid(int pIndex, bool* pStatus = nullptr) const;

    // Sets the value count of every field to pSize.
    void ResizeAllDirectArrays(int pSize);
    // Removes value pIndex from every bool, int, float and double field; any other field type reports
    // "unknown type" and is left alone.
    void RemoveFromAllDirectArrays(int pIndex);

    // Fields, values, modes, name and id of pOther. False when memory ran out.
    bool CopyFrom(const MoxLayerElementUserData& pOther);

    MoxArray<MoxDataType> mDataTypes;

private:
    // Appends one field of type pType named pName; false when the type is not supported or memory ran out.
    bool AddField(const MoxDataType& pType, const char* pName);
    void FreeFields();

    int mId;
    MoxPointerList<MoxLayerElementArray> mFields;  // owned, one per field, in field order
    MoxPointerList<char> mDataNames;               // owned copies, one per field
};

namespace detail {
// The empty array that MoxGetDirectArray hands out when a field has no array of type T; emptied on
// every use, so nothing written to it survives.
template <class T>
MoxLayerElementArrayTemplate<T>& MoxUserDataSink()
{
    static thread_local MoxLayerElementArrayTemplate<T> sgSink;
    sgSink.Clear();
    return sgSink;
}
}  // namespace detail

// The value array of field pIndex, through GetDirectArrayVoid. When that gives null, or an array whose type
// code is not the code of T, the result is an empty scratch array rather than an invalid reference.
template <class T>
MoxLayerElementArrayTemplate<T>& MoxGetDirectArray(MoxLayerElementUserData* pElement, int pIndex,
                                                   bool* pStatus = nullptr)
{
    void* lField = pElement ? pElement->GetDirectArrayVoid(pIndex, pStatus) : nullptr;
    auto* lArray = static_cast<MoxLayerElementArray*>(lField);
    if (!lArray || lArray->GetDataType() != MoxTypeCodeOf<T>::value) return detail::MoxUserDataSink<T>();
    return *static_cast<MoxLayerElementArrayTemplate<T>*>(lArray);
}

//
// MoxLayer: one element of each kind, one UV set and one texture element per texture channel. The layer
// owns its elements: every setter frees the element it replaces (setting the same pointer again keeps
// it), null removes the element, and the destructor frees all. A setter given a type that is not a
// texture channel destroys the element it was handed (ownership passed to the layer either way).
//
class MoxLayer {
public:
    MoxLayer() = default;
    ~MoxLayer() { Clear(); }
    MoxLayer(const MoxLayer&) = delete;
    MoxLayer& operator=(const MoxLayer&) = delete;

    MoxLayerElementNormal* GetNormals() { return mNormals; }
    const MoxLayerElementNormal* GetNormals() const { return mNormals; }
    MoxLayerElementBinormal* GetBinormals() { return mBinormals; }
    const MoxLayerElementBinormal* GetBinormals() const { return mBinormals; }
    MoxLayerElementTangent* GetTangents() { return mTangents; }
    const MoxLayerElementTangent* GetTangents() const { return mTangents; }
    MoxLayerElementMaterial* GetMaterials() { return mMaterials; }
    const MoxLayerElementMaterial* GetMaterials() const { return mMaterials; }
    MoxLayerElementPolygonGroup* GetPolygonGroups() { return mPolygonGroups; }
    const MoxLayerElementPolygonGroup* GetPolygonGroups() const { return mPolygonGroups; }
    MoxLayerElementVertexColor* GetVertexColors() { return mVertexColors; }
    const MoxLayerElementVertexColor* GetVertexColors() const { return mVertexColors; }
    MoxLayerElementSmoothing* GetSmoothing() { return mSmoothing; }
    const MoxLayerElementSmoothing* GetSmoothing() const { return mSmoothing; }
    MoxLayerElementCrease* GetVertexCrease() { return mVertexCrease; }
    const MoxLayerElementCrease* GetVertexCrease() const { return mVertexCrease; }
    MoxLayerElementCrease* GetEdgeCrease() { return mEdgeCrease; }
    const MoxLayerElementCrease* GetEdgeCrease() const { return mEdgeCrease; }
    MoxLayerElementHole* GetHole() { return mHole; }
    const MoxLayerElementHole* GetHole() const { return mHole; }
    MoxLayerElementUserData* GetUserData() { return mUserData; }
    const MoxLayerElementUserData* GetUserData() const { return mUserData; }
    MoxLayerElementVisibility* GetVisibility() { return mVisibility; }
    const MoxLayerElementVisibility* GetVisibility() const { return mVisibility; }
    // The UV set / texture element of a texture channel; null for none or a type that is not a channel.
    MoxLayerElementUV* GetUVs(MoxLayerElement::EType pType = MoxLayerElement::eTextureChannel0);
    const MoxLayerElementUV* GetUVs(MoxLayerElement::EType pType = MoxLayerElement::eTextureChannel0) const;
    MoxLayerElementTexture* GetTextures(MoxLayerElement::EType pType);
    const MoxLayerElementTexture* GetTextures(MoxLayerElement::EType pType) const;

    // The number of channels that hold a UV set, and those channels in increasing order.
    int GetUVSetCount() const;
    MoxArray<MoxLayerElement::EType> GetUVSetChannels() const;

    // The element of a kind. Texture channel types give the channel's UV set when pIsUV is true and its
    // texture element otherwise; eUV gives the UV set of the lowest channel that has one; eUnknown gives null.
    MoxLayerElement* GetLayerElementOfType(MoxLayerElement::EType pType, bool pIsUV = false);
    const MoxLayerElement* GetLayerElementOfType(MoxLayerElement::EType pType, bool pIsUV = false) const;

    void SetNormals(MoxLayerElementNormal* pElement);
    void SetBinormals(MoxLayerElementBinormal* pElement);
    void SetTangents(MoxLayerElementTangent* pElement);
    void SetMaterials(MoxLayerElementMaterial* pElement);
    void SetPolygonGroups(MoxLayerElementPolygonGroup* pElement);
    void SetUVs(MoxLayerElementUV* pElement, MoxLayerElement::EType pType = MoxLayerElement::eTextureChannel0);
    void SetVertexColors(MoxLayerElementVertexColor* pElement);
    void SetSmoothing(MoxLayerElementSmoothing* pElement);
    void SetVertexCrease(MoxLayerElementCrease* pElement);
    void SetEdgeCrease(MoxLayerElementCrease* pElement);
    void SetHole(MoxLayerElementHole* pElement);
    void SetUserData(MoxLayerElementUserData* pElement);
    void SetVisibility(MoxLayerElementVisibility* pElement);
    void SetTextures(MoxLayerElement::EType pType, MoxLayerElementTexture* pElement);

    // Frees every element.
    void Clear();
    // Deep copy of every element of pOther (replacing this layer's elements). False when memory ran out;
    // the layer then holds the elements that could be copied.
    bool CopyFrom(const MoxLayer& pOther);
    // Rewrites the eDirect elements into eIndexToDirect with identity index arrays (see
    // MoxLayerElementTemplate::ConvertDirectToIndexToDirect). Converted: normals, binormals, tangents,
    // materials, polygon groups, vertex colours, visibility, every UV set and every texture element.
    // Left as they are: smoothing (normal generation reads edge smoothing directly), vertex and edge
    // crease and hole (their accessors accept only eDirect), and user data (its direct array lists
    // fields, not values). False when memory ran out for some element (that element stays eDirect).
    bool ConvertDirectToIndexToDirect();
    // Shrinks every array of every element to its count.
    void Compact();
    // True when every element's arrays are sized as its mapping requires, for a mesh of these counts: the
    // index array (eIndex, eIndexToDirect) or the direct array (eDirect) holds one entry per control
    // point, polygon vertex, polygon or edge, or exactly one for eByMesh; eNone requires nothing. The
    // indices of an index-to-direct element of values lie in -1 .. direct count - 1 (-1: an unmapped
    // component); elements of pointers (materials, textures, user data) refer to objects outside the
    // element, so only their index arrays are sized. O(total index count).
    bool IsSizedFor(int pControlPointCount, int pPolygonVertexCount, int pPolygonCount, int pEdgeCount) const;

private:
    // Calls pVisit(slot of pLayer, the same slot of pOther) for every element slot, in the order above:
    // the single kinds, then UV set and texture of each channel in turn.
    template <class Layer, class Visit>
    static void VisitSlots(Layer& pLayer, const MoxLayer& pOther, Visit&& pVisit);

    MoxLayerElementNormal* mNormals = nullptr;
    MoxLayerElementBinormal* mBinormals = nullptr;
    MoxLayerElementTangent* mTangents = nullptr;
    MoxLayerElementMaterial* mMaterials = nullptr;
    MoxLayerElementPolygonGroup* mPolygonGroups = nullptr;
    MoxLayerElementVertexColor* mVertexColors = nullptr;
    MoxLayerElementSmoothing* mSmoothing = nullptr;
    MoxLayerElementCrease* mVertexCrease = nullptr;
    MoxLayerElementCrease* mEdgeCrease = nullptr;
    MoxLayerElementHole* mHole = nullptr;
    MoxLayerElementUserData* mUserData = nullptr;
    MoxLayerElementVisibility* mVisibility = nullptr;
    MoxLayerElementUV* mUVs[MoxLayerElement::TextureChannelCount] = {};
    MoxLayerElementTexture* mTextures[MoxLayerElement::TextureChannelCount] = {};
};

}  // namespace moxsdk
