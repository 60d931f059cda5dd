#include "moxsdk/scene/moxmanager.h"

#include "moxsdk/core/moxassert.h"
#include "scene/detail/moxscenereports.h"

namespace moxsdk {

MoxManager* MoxManager::Create()
{
    MoxManager* lManager = MoxNew<MoxManager>();
    if (!lManager) MOX_REPORT("scene/moxmanager", detail::managerreports::sgNoManagerMemory.mText);
    return lManager;
}

void MoxManager::Destroy()
{
    // Objects tied to objects of another manager are disconnected one by one, so that the other manager
    // keeps no pointer to them. The rest die together: all are destructed before any is freed, so no
    // destruction reaches freed memory, and no bookkeeping between them needs undoing (linear overall).
    for (int i = 0; i < mObjects.GetCount(); ++i) {
        MoxObject* lObject = mObjects.GetAt(i);
        if (lObject->HasForeignNeighbour()) {
            lObject->DisconnectAll();
            lObject->DisconnectContainment();
        }
    }
    for (int i = 0; i < mObjects.GetCount(); ++i) mObjects.GetAt(i)->Destruct(false);
    for (int i = 0; i < mObjects.GetCount(); ++i) MoxDelete(mObjects.GetAt(i));
    mObjects.Clear();
    MoxDelete(this);
}

MoxObject* MoxManager::CreateNewObjectFromClassId(MoxClassId pClassId, const char* pName, MoxObject* pContainer,
                                                  const MoxObject* pCloneFrom)
{
    MoxObject* lObject = pClassId.Create(*this, pName, pCloneFrom);
    if (!lObject) return nullptr;
    if (!Track(*lObject)) {
        lObject->Destroy(false);
        return nullptr;
    }
    if (pContainer && !lObject->SetContainer(pContainer)) {
        lObject->Destroy(false);
        return nullptr;
    }
    if (pCloneFrom && lObject->Copyable(*pCloneFrom)) lObject->Copy(*pCloneFrom);
    return lObject;
}

bool MoxManager::Track(MoxObject& pObject)
{
    const int lIndex = mObjects.Add(&pObject);
    if (lIndex < 0) return false;
    pObject.mManagerIndex = lIndex;
    return true;
}

void MoxManager::Untrack(MoxObject& pObject)
{
    const int lIndex = pObject.mManagerIndex;
    pObject.mManagerIndex = -1;
    if (mObjects.GetAt(lIndex) != &pObject) return;
    mObjects.RemoveAtSwap(lIndex);
    if (MoxObject* lMoved = mObjects.GetAt(lIndex)) lMoved->mManagerIndex = lIndex;
}

}  // namespace moxsdk
