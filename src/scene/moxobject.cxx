#include "moxsdk/scene/moxobject.h"

#include "moxsdk/core/moxassert.h"
#include "moxsdk/scene/moxmanager.h"
#include "scene/detail/moxscenereports.h"

namespace moxsdk {

MOX_SCENE_CLASS_RECORD_DEFINITIONS(MoxObject, nullptr, nullptr)

bool MoxClassId::Is(const MoxClassId& pId) const
{
    if (!pId.mInfo) return false;
    for (const MoxClassInfo* lInfo = mInfo; lInfo; lInfo = lInfo->mParent ? lInfo->mParent->mInfo : nullptr)
        if (lInfo == pId.mInfo) return true;
    return false;
}

MoxObject* MoxClassId::Create(MoxManager& pManager, const char* pName, const MoxObject* pFrom) const
{
    if (!mInfo || !mInfo->mAllocate) return nullptr;
    return mInfo->mAllocate(pManager, pName, pFrom);
}

MoxObject::MoxObject(MoxManager& pManager, const char* pName) : mManager(&pManager), mName(pName) {}

MoxObject::~MoxObject() = default;

MoxObject& MoxObject::Copy(const MoxObject& /*pObject*/)
{
    return *this;
}

MoxObject* MoxObject::Clone(MoxObject* pContainer) const
{
    return mManager->CreateNewObjectFromClassId(GetClassId(), GetName(), pContainer, this);
}

bool MoxObject::GetSelected()
{
    return mSelected;
}

void MoxObject::SetSelected(bool pSelected)
{
    mSelected = pSelected;
}

void MoxObject::Compact() {}

void MoxObject::Construct(const MoxObject* /*pFrom*/) {}

void MoxObject::Destruct(bool /*pRecursive*/) {}

void MoxObject::ContentClear() {}

bool MoxObject::Copyable(const MoxObject& pObject) const
{
    return pObject.GetClassId().Is(GetClassId());
}

void MoxObject::SetObjectFlags(unsigned int pFlags, bool pValue)
{
    if (pValue)
        mObjectFlags |= pFlags;
    else
        mObjectFlags &= ~pFlags;
}

void MoxObject::Destroy(bool pRecursive)
{
    if (pRecursive) DestroyContained();
    Destruct(pRecursive);
    DisconnectAll();
    DisconnectContainment();
    mManager->Untrack(*this);
    MoxDelete(this);
}

bool MoxObject::ConnectReference(MoxObject* pTarget)
{
    if (!pTarget) return false;
    if (mReferences.Add(pTarget) < 0) return false;
    if (pTarget->mReferencedBy.Add(this) < 0) {
        mReferences.RemoveAtSwap(mReferences.GetCount() - 1);
        return false;
    }
    return true;
}

void MoxObject::DisconnectReference(MoxObject* pTarget)
{
    if (!pTarget) return;
    mReferences.RemoveAtSwap(mReferences.Find(pTarget));
    pTarget->mReferencedBy.RemoveAtSwap(pTarget->mReferencedBy.Find(this));
}

void MoxObject::OnReferenceDestroyed(MoxObject* /*pTarget*/) {}

MoxObject* MoxObject::CreateObject(const MoxClassId& pClassId, MoxManager* pManager, const char* pName)
{
    return pManager ? pManager->CreateNewObjectFromClassId(pClassId, pName) : nullptr;
}

MoxObject* MoxObject::CreateObjectIn(const MoxClassId& pClassId, MoxObject* pContainer, const char* pName,
                                     const char* pFile)
{
    if (!pContainer || !pContainer->GetMoxManager()) {
        _MoxAssert(pFile, "Create", __LINE__, detail::objectreports::sgNoManager.mText);
        return nullptr;
    }
    return pContainer->GetMoxManager()->CreateNewObjectFromClassId(pClassId, pName, pContainer);
}

bool MoxObject::SetContainer(MoxObject* pContainer)
{
    if (!pContainer || pContainer->mContained.Add(this) < 0) return false;
    mContainer = pContainer;
    return true;
}

void MoxObject::DestroyContained()
{
    // Gather every descendant first (breadth first, no recursion), detach them all, then destroy the
    // deepest first; each Destroy is then non-recursive and finds no containment left to undo.
    MoxPointerList<MoxObject> lDescendants;
    for (int i = 0; i < mContained.GetCount(); ++i) lDescendants.Add(mContained.GetAt(i));
    for (int i = 0; i < lDescendants.GetCount(); ++i) {
        MoxObject* lObject = lDescendants.GetAt(i);
        for (int c = 0; c < lObject->mContained.GetCount(); ++c) lDescendants.Add(lObject->mContained.GetAt(c));
    }
    // A descendant that could not be listed (memory ran out) is only uncontained, never left pointing to a
    // destroyed container.
    for (int i = -1; i < lDescendants.GetCount(); ++i) {
        MoxObject* lObject = i < 0 ? this : lDescendants.GetAt(i);
        for (int c = 0; c < lObject->mContained.GetCount(); ++c) lObject->mContained.GetAt(c)->mContainer = nullptr;
        lObject->mContained.Clear();
    }
    for (int i = lDescendants.GetCount() - 1; i >= 0; --i) lDescendants.GetAt(i)->Destroy(false);
}

void MoxObject::DisconnectAll()
{
    for (int i = 0; i < mReferencedBy.GetCount(); ++i) {
        MoxObject* lReferrer = mReferencedBy.GetAt(i);
        lReferrer->OnReferenceDestroyed(this);
        lReferrer->mReferences.RemoveAll(this);
    }
    mReferencedBy.Clear();
    for (int i = 0; i < mReferences.GetCount(); ++i) mReferences.GetAt(i)->mReferencedBy.RemoveAll(this);
    mReferences.Clear();
}

void MoxObject::DisconnectContainment()
{
    if (mContainer) mContainer->mContained.RemoveAll(this);
    mContainer = nullptr;
    for (int i = 0; i < mContained.GetCount(); ++i) mContained.GetAt(i)->mContainer = nullptr;
    mContained.Clear();
}

bool MoxObject::HasForeignNeighbour() const
{
    if (mContainer && mContainer->mManager != mManager) return true;
    const MoxPointerList<MoxObject>* lLists[] = {&mContained, &mReferences, &mReferencedBy};
    for (const MoxPointerList<MoxObject>* lList : lLists)
        for (int i = 0; i < lList->GetCount(); ++i)
            if (lList->GetAt(i)->mManager != mManager) return true;
    return false;
}

}  // namespace moxsdk
