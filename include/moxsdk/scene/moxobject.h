#pragma once
// The object system: class identifiers and the base of every object a manager owns.
//
// A class identifier (MoxClassId) wraps a pointer to a static, constant-initialised class record:
// the class name, the parent class, and the factory the manager calls to make an object of the class.
// No registry is involved, so identifiers are usable during static initialisation and comparing two
// of them compares two pointers.
//
// Every concrete class T of the library has
//     static const MoxClassId ClassId;
//     static T* Create(MoxManager* pManager, const char* pName);
//     static T* Create(MoxObject* pContainer, const char* pName);
//     static MoxObject* Allocate(MoxManager& pManager, const char* pName, const MoxObject* pFrom);
// Allocate is the factory of the class record: it constructs the object with MoxNew<T>(pManager, pName),
// calls the virtual Construct(pFrom) and sets object flag 1 (AllocateObject<T> below does exactly that).
// Abstract levels of the hierarchy have a ClassId whose record has no factory.
// A class's source file defines all of this with one of the macros at the end of this header.
//
// Lifetime: objects are made by a MoxManager, which owns them until MoxObject::Destroy or
// MoxManager::Destroy. Objects that point to other objects (a geometry to its deformers, a skin to its
// clusters, a blend shape to its channels, a channel to its target shapes, a cluster to its link nodes)
// register each such pointer as a reference; when the target is destroyed, every object that refers to
// it is told (OnReferenceDestroyed) and drops the pointer, so no pointer is left dangling.

#include "moxsdk/core/base/moxpointerlist.h"
#include "moxsdk/core/moxassert.h"
#include "moxsdk/core/moxmemory.h"
#include "moxsdk/core/moxstring.h"
#include "moxsdk/scene/detail/moxobjectreports.h"

namespace moxsdk {

class MoxManager;
class MoxObject;
class MoxClassId;

// The factory of a class: makes, constructs and flags one object, or returns null.
typedef MoxObject* (*MoxObjectAllocateProc)(MoxManager& pManager, const char* pName, const MoxObject* pFrom);

// The static record behind a class identifier.
struct MoxClassInfo {
    const char* mName;
    const MoxClassId* mParent;        // null for MoxObject
    MoxObjectAllocateProc mAllocate;  // null for abstract levels of the hierarchy
};

class MoxClassId {
public:
    constexpr MoxClassId() : mInfo(nullptr) {}
    constexpr explicit MoxClassId(const MoxClassInfo* pInfo) : mInfo(pInfo) {}

    bool IsValid() const { return mInfo != nullptr; }
    // The class name, "" for an invalid identifier.
    const char* GetName() const { return mInfo ? mInfo->mName : ""; }
    // The parent class, invalid for MoxObject and for an invalid identifier.
    MoxClassId GetParent() const { return mInfo && mInfo->mParent ? *mInfo->mParent : MoxClassId(); }
    // True when this class is pId or derives from it. False when either identifier is invalid.
    bool Is(const MoxClassId& pId) const;
    // Calls the class's factory; null for an invalid identifier or an abstract class.
    MoxObject* Create(MoxManager& pManager, const char* pName, const MoxObject* pFrom) const;

    bool operator==(const MoxClassId& pOther) const { return mInfo == pOther.mInfo; }
    bool operator!=(const MoxClassId& pOther) const { return mInfo != pOther.mInfo; }

private:
    const MoxClassInfo* mInfo;
};

class MoxObject {
public:
    static const MoxClassId ClassId;

    // Objects are made by their class's Allocate through a manager; construct one directly only from a
    // subclass's constructor. The name is copied.
    MoxObject(MoxManager& pManager, const char* pName);
    // Frees only what the object owns; it never touches other objects (Destroy has disconnected it).
    virtual ~MoxObject();
    MoxObject(const MoxObject&) = delete;
    MoxObject& operator=(const MoxObject&) = delete;

    // Virtual operations, in slot order after the destructor.
    virtual MoxClassId GetClassId() const;
    // Copies the content of pObject (never its name, manager, containment or references to other
    // objects) when Copyable(pObject); otherwise changes nothing. Returns *this.
    virtual MoxObject& Copy(const MoxObject& pObject);
    // A new object of the same class, made by this object's manager (in pContainer when given) and
    // given this object's content with Copy. Null on failure.
    virtual MoxObject* Clone(MoxObject* pContainer = nullptr) const;
    virtual bool GetSelected();
    virtual void SetSelected(bool pSelected);
    // Releases spare memory; changes no value.
    virtual void Compact();

protected:
    // Brings a freshly allocated object to its initial state. pFrom is the source object handed to
    // the manager (the manager copies its content after construction; Construct itself ignores it).
    virtual void Construct(const MoxObject* pFrom);
    // Releases the content before destruction. pRecursive is the argument given to Destroy.
    virtual void Destruct(bool pRecursive);

public:
    // Releases loaded content that can be rebuilt; the base has none.
    virtual void ContentClear();

    MoxManager* GetMoxManager() const { return mManager; }
    const char* GetName() const { return mName.Buffer(); }
    void SetName(const char* pName) { mName = MoxString(pName); }

    // True when pObject's class is this object's class or derives from it: a geometry base can copy
    // from a mesh (its base part), a mesh cannot copy from a shape.
    bool Copyable(const MoxObject& pObject) const;
    // True when this object's class is pClassId or derives from it.
    bool Is(const MoxClassId& pClassId) const { return GetClassId().Is(pClassId); }

    // Object flags: a bit set. Flag 1 means "constructed by its class factory".
    void SetObjectFlags(unsigned int pFlags, bool pValue);
    bool GetObjectFlags(unsigned int pFlags) const { return (mObjectFlags & pFlags) != 0; }
    unsigned int GetObjectFlags() const { return mObjectFlags; }

    // The object this one was created in (Create(pContainer, ...)), or null.
    MoxObject* GetContainer() const { return mContainer; }
    int GetContainedCount() const { return mContained.GetCount(); }
    MoxObject* GetContained(int pIndex) const { return mContained.GetAt(pIndex); }

    // Destructs the object, disconnects it from every object that refers to it and from everything
    // it refers to, removes it from its container and its manager, and frees it. With pRecursive the
    // objects created in it are destroyed first (depth first); without, they stay, uncontained.
    void Destroy(bool pRecursive = false);

protected:
    // Records that this object holds one pointer to pTarget. False (nothing recorded) when memory ran
    // out; the caller must then not keep the pointer. A null target is refused.
    bool ConnectReference(MoxObject* pTarget);
    // Forgets one recorded pointer to pTarget (the object has dropped it).
    void DisconnectReference(MoxObject* pTarget);
    // pTarget is being destroyed: drop every pointer to it. The base holds none.
    virtual void OnReferenceDestroyed(MoxObject* pTarget);

    // Appends pTarget to one of this object's lists of referenced objects and records the reference.
    // Returns the new entry's index, or -1 (nothing changed) for a null target, a target already in the
    // list, or when memory ran out.
    template <class T>
    int AddReference(MoxPointerList<T>& pList, T* pTarget)
    {
        if (!pTarget || pList.Find(pTarget) >= 0 || !ConnectReference(pTarget)) return -1;
        const int lIndex = pList.Add(pTarget);
        if (lIndex < 0) DisconnectReference(pTarget);
        return lIndex;
    }
    // Removes entry pIndex of such a list and forgets its reference; the removed object, or null
    // outside the list.
    template <class T>
    T* RemoveReference(MoxPointerList<T>& pList, int pIndex)
    {
        T* lTarget = pList.GetAt(pIndex);
        if (!lTarget) return nullptr;
        pList.RemoveAt(pIndex);
        DisconnectReference(lTarget);
        return lTarget;
    }

    // The creation helpers behind every class's Create functions. CreateObjectIn reports
    // "pContainer && pContainer->GetMoxManager()" from function "Create" of pFile when the container
    // is null or has no manager, and returns null.
    static MoxObject* CreateObject(const MoxClassId& pClassId, MoxManager* pManager, const char* pName);
    static MoxObject* CreateObjectIn(const MoxClassId& pClassId, MoxObject* pContainer, const char* pName,
                                     const char* pFile);

    // The uniform body of every class's Allocate. An object that cannot be had is reported as "lObject"
    // (file "scene/moxobject") and gives null.
    template <class T>
    static MoxObject* AllocateObject(MoxManager& pManager, const char* pName, const MoxObject* pFrom)
    {
        T* lObject = MoxNew<T>(pManager, pName);
        if (!lObject) {
            MOX_REPORT("scene/moxobject", detail::objectallocationreports::sgNoObjectMemory.mText);
            return nullptr;
        }
        MoxObject* lBase = lObject;
        lBase->Construct(pFrom);
        lBase->SetObjectFlags(1, true);
        return lBase;
    }

private:
    friend class MoxManager;

    // Records that this object was created in pContainer; false when memory ran out.
    bool SetContainer(MoxObject* pContainer);
    // Destroys every object created in this one and, transitively, in those.
    void DestroyContained();
    // Tells every referrer that this object goes and forgets every reference both ways.
    void DisconnectAll();
    // Leaves the container's list of contained objects; the contained objects become uncontained.
    void DisconnectContainment();
    // True when the container, a contained object or a reference belongs to another manager.
    bool HasForeignNeighbour() const;

    MoxManager* mManager;
    MoxString mName;
    unsigned int mObjectFlags = 0;
    bool mSelected = false;
    int mManagerIndex = -1;  // position in the manager's list, -1 when not tracked
    MoxObject* mContainer = nullptr;
    MoxPointerList<MoxObject> mContained;     // objects created in this one
    MoxPointerList<MoxObject> mReferences;    // one entry per pointer this object holds to another object
    MoxPointerList<MoxObject> mReferencedBy;  // one entry per pointer another object holds to this one
};

}  // namespace moxsdk

// The definitions every class of the hierarchy repeats, written once. Each macro is used once, at
// namespace moxsdk scope in the class's own source file, and defines a file-static class record
// sgClassInfo there, so that file must not define another sgClassInfo.
//
// MOX_SCENE_CLASS_RECORD_DEFINITIONS(pClass, pParentId, pAllocate) defines the record (name "pClass",
// parent pParentId (a const MoxClassId* or nullptr), factory pAllocate (or nullptr)), pClass::ClassId
// on it and pClass::GetClassId, which returns pClass::ClassId.
#define MOX_SCENE_CLASS_RECORD_DEFINITIONS(pClass, pParentId, pAllocate)                                               \
    namespace {                                                                                                        \
    constexpr MoxClassInfo sgClassInfo{#pClass, pParentId, pAllocate};                                                 \
    }                                                                                                                  \
    const MoxClassId pClass::ClassId(&sgClassInfo);                                                                    \
    MoxClassId pClass::GetClassId() const                                                                              \
    {                                                                                                                  \
        return ClassId;                                                                                                \
    }

// An abstract level of the hierarchy below pParent: its record has no factory.
#define MOX_SCENE_ABSTRACT_CLASS_DEFINITIONS(pClass, pParent)                                                          \
    MOX_SCENE_CLASS_RECORD_DEFINITIONS(pClass, &pParent::ClassId, nullptr)

// A concrete class below pParent: the record with pClass::Allocate as its factory, plus
//     pClass::Create(MoxManager*, const char*)   -- CreateObject with pClass::ClassId
//     pClass::Create(MoxObject*, const char*)    -- CreateObjectIn with pClass::ClassId; its report names
//                                                   pFile, the class's source path without extension
//     pClass::Allocate(...)                      -- AllocateObject<pClass>
// pClass names a class: the declarations cannot put it in parentheses.
// NOLINTBEGIN(bugprone-macro-parentheses)
#define MOX_SCENE_OBJECT_DEFINITIONS(pClass, pParent, pFile)                                                           \
    MOX_SCENE_CLASS_RECORD_DEFINITIONS(pClass, &pParent::ClassId, &pClass::Allocate)                                   \
    pClass* pClass::Create(MoxManager* pManager, const char* pName)                                                    \
    {                                                                                                                  \
        return static_cast<pClass*>(CreateObject(ClassId, pManager, pName));                                           \
    }                                                                                                                  \
    pClass* pClass::Create(MoxObject* pContainer, const char* pName)                                                   \
    {                                                                                                                  \
        return static_cast<pClass*>(CreateObjectIn(ClassId, pContainer, pName, pFile));                                \
    }                                                                                                                  \
    MoxObject* pClass::Allocate(MoxManager& pManager, const char* pName, const MoxObject* pFrom)                       \
    {                                                                                                                  \
        return AllocateObject<pClass>(pManager, pName, pFrom);                                                         \
    }
// NOLINTEND(bugprone-macro-parentheses)
