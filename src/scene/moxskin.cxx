#include "moxsdk/scene/moxskin.h"

#include "moxsdk/scene/moxcluster.h"

namespace moxsdk {

MOX_SCENE_OBJECT_DEFINITIONS(MoxSkin, MoxDeformer, "scene/moxskin")

MoxSkin::MoxSkin(MoxManager& pManager, const char* pName) : MoxDeformer(pManager, pName) {}

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
