#include "moxsdk/scene/moxskin.h"

#include "moxsdk/scene/moxcluster.h"

namespace moxsdk {

namespace {

constexpr const char* sgFile = "scene/moxskin";
constexpr MoxClassInfo sgClassInfo{"MoxSkin", &MoxDeformer::ClassId, &MoxSkin::Allocate};

}  // namespace

const MoxClassId MoxSkin::ClassId(&sgClassInfo);

MoxSkin* MoxSkin::Create(MoxManager* pManager, const char* pName)
{
    return static_cast<MoxSkin*>(CreateObject(ClassId, pManager, pName));
}

MoxSkin* MoxSkin::Create(MoxObject* pContainer, const char* pName)
{
    return static_cast<MoxSkin*>(CreateObjectIn(ClassId, pContainer, pName, sgFile));
}

MoxObject* MoxSkin::Allocate(MoxManager& pManager, const char* pName, const MoxObject* pFrom)
{
    return AllocateObject<MoxSkin>(pManager, pName, pFrom);
}

MoxSkin::MoxSkin(MoxManager& pManager, const char* pName) : MoxDeformer(pManager, pName) {}

MoxClassId MoxSkin::GetClassId() const
{
    return ClassId;
}

bool MoxSkin::AddCluster(MoxCluster* pCluster)
{
    return AddReference(mClusters, pCluster) >= 0;
}

MoxCluster* MoxSkin::RemoveCluster(MoxCluster* pCluster)
{
    return RemoveReference(mClusters, mClusters.Find(pCluster));
}

MoxCluster* MoxSkin::GetCluster(int pIndex) const
{
    return mClusters.GetAt(pIndex);
}

void MoxSkin::Destruct(bool pRecursive)
{
    // The reference records are undone by Destroy (or die with the manager).
    mClusters.Clear();
    MoxDeformer::Destruct(pRecursive);
}

void MoxSkin::OnReferenceDestroyed(MoxObject* pTarget)
{
    mClusters.RemoveAll(pTarget);
    MoxDeformer::OnReferenceDestroyed(pTarget);
}

}  // namespace moxsdk
