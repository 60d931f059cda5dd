#pragma once
// MoxSkin: a skin deformer, an ordered list of clusters.

#include "moxsdk/core/base/moxpointerlist.h"
#include "moxsdk/scene/moxdeformer.h"

namespace moxsdk {

class MoxCluster;

class MoxSkin : public MoxDeformer {
public:
    static const MoxClassId ClassId;
    static MoxSkin* Create(MoxManager* pManager, const char* pName);
    static MoxSkin* Create(MoxObject* pContainer, const char* pName);
    static MoxObject* Allocate(MoxManager& pManager, const char* pName, const MoxObject* pFrom);

    MoxSkin(MoxManager& pManager, const char* pName);
    MoxClassId GetClassId() const override;
    EDeformerType GetDeformerType() const override { return eSkin; }

    // Appends a cluster. False for null, for a cluster already in the list, or when memory ran out.
    bool AddCluster(MoxCluster* pCluster);
    // Removes the cluster from the list; returns it, or null when it was not there.
    MoxCluster* RemoveCluster(MoxCluster* pCluster);
    int GetClusterCount() const { return mClusters.GetCount(); }
    // Cluster pIndex, or null outside the list.
    MoxCluster* GetCluster(int pIndex) const;

protected:
    void Destruct(bool pRecursive) override;
    void OnReferenceDestroyed(MoxObject* pTarget) override;

private:
    MoxPointerList<MoxCluster> mClusters;
};

}  // namespace moxsdk
