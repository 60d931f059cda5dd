#pragma once
// MoxManager: creates objects from class identifiers and owns them until they are destroyed.

#include "moxsdk/core/base/moxpointerlist.h"
#include "moxsdk/scene/moxobject.h"

namespace moxsdk {

class MoxManager {
public:
    // A new, empty manager; null, after the report "lManager" (file "scene/moxmanager"), when memory ran
    // out.
    static MoxManager* Create();
    // Destroys every object the manager still owns, then the manager itself. Each object is destructed
    // first and all are freed afterwards, so no object's destruction reaches a freed neighbour. O(objects).
    void Destroy();

    // Calls the class's factory (MoxClassId::Create), tracks the new object and, when pContainer is
    // given, records that the object was created in it. When pCloneFrom is given and the new object
    // can copy from it, its content is copied with Copy. Null for an invalid or abstract class, or when
    // memory ran out (nothing is left behind then; the part that could not be had reports it: the object
    // in AllocateObject, a list entry in MoxPointerList).
    MoxObject* CreateNewObjectFromClassId(MoxClassId pClassId, const char* pName, MoxObject* pContainer = nullptr,
                                          const MoxObject* pCloneFrom = nullptr);

    // The objects the manager owns, in no particular order (destroying one moves the last into its place).
    int GetObjectCount() const { return mObjects.GetCount(); }
    MoxObject* GetObject(int pIndex) const { return mObjects.GetAt(pIndex); }

    MoxManager() = default;
    ~MoxManager() = default;
    MoxManager(const MoxManager&) = delete;
    MoxManager& operator=(const MoxManager&) = delete;

private:
    friend class MoxObject;

    bool Track(MoxObject& pObject);
    void Untrack(MoxObject& pObject);

    MoxPointerList<MoxObject> mObjects;
};

}  // namespace moxsdk
