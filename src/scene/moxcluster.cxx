#include "moxsdk/scene/moxcluster.h"

#include "moxsdk/scene/moxnode.h"

namespace moxsdk {

MOX_SCENE_OBJECT_DEFINITIONS(MoxCluster, MoxObject, "scene/moxcluster")

MoxCluster::MoxCluster(MoxManager& pManager, const char* pName) : MoxObject(pManager, pName) {}

MoxObject& MoxCluster::Copy(const MoxObject& pObject)
{
    if (!Copyable(pObject)) return *this;
    MoxObject::Copy(pObject);
    const MoxCluster& lOther = static_cast<const MoxCluster&>(pObject);
    mControlPointIndices = lOther.mControlPointIndices;
    mControlPointWeights = lOther.mControlPointWeights;
    if (mControlPointIndices.GetCount() != mControlPointWeights.GetCount()) SetControlPointIWCount(0);
    mLinkMode = lOther.mLinkMode;
    mTransform = lOther.mTransform;
    mTransformLink = lOther.mTransformLink;
    mTransformAssociateModel = lOther.mTransformAssociateModel;
    mTransformParent = lOther.mTransformParent;
    mUserDataID = lOther.mUserDataID;
    mUserData = lOther.mUserData;
    return *this;
}

void MoxCluster::Compact()
{
    mControlPointIndices.Compact();
    mControlPointWeights.Compact();
    MoxObject::Compact();
}

void MoxCluster::AddControlPointIndex(int pIndex, double pWeight)
{
    if (pIndex < 0) return;
    // Both lists grow by one or neither does. A failed MoxArray growth empties the array, so when either
    // list is full the pair is appended to copies, which replace the lists only when both grew.
    const int lCount = mControlPointIndices.GetCount();
    if (mControlPointIndices.GetCapacity() > lCount && mControlPointWeights.GetCapacity() > lCount) {
        mControlPointIndices.Add(pIndex);
        mControlPointWeights.Add(pWeight);
        return;
    }
    MoxArray<int> lIndices(mControlPointIndices);
    MoxArray<double> lWeights(mControlPointWeights);
    if (lIndices.GetCount() != lCount || lWeights.GetCount() != lCount) return;
    if (lIndices.Add(pIndex) < 0 || lWeights.Add(pWeight) < 0) return;
    mControlPointIndices = static_cast<MoxArray<int>&&>(lIndices);
    mControlPointWeights = static_cast<MoxArray<double>&&>(lWeights);
}

void MoxCluster::SetControlPointIWCount(int pCount)
{
    if (pCount <= 0) {
        mControlPointIndices.Clear();
        mControlPointWeights.Clear();
        return;
    }
    if (!mControlPointIndices.Resize(pCount) || !mControlPointWeights.Resize(pCount)) {
        mControlPointIndices.Clear();
        mControlPointWeights.Clear();
    }
}

void MoxCluster::Reset()
{
    SetControlPointIWCount(0);
    SetLink(nullptr);
    SetAssociateModel(nullptr);
    mLinkMode = eNormalize;
    mTransform = MoxAMatrix();
    mTransformLink = MoxAMatrix();
    mTransformAssociateModel = MoxAMatrix();
    mTransformParent = MoxAMatrix();
    mUserDataID = MoxString();
    mUserData = MoxString();
}

void MoxCluster::SetLink(const MoxNode* pNode)
{
    ReplaceNode(mLink, const_cast<MoxNode*>(pNode));
}

void MoxCluster::SetAssociateModel(MoxNode* pNode)
{
    ReplaceNode(mAssociateModel, pNode);
}

void MoxCluster::SetUserData(const MoxString& pUserDataID, const MoxString& pUserData)
{
    mUserDataID = pUserDataID;
    mUserData = pUserData;
}

void MoxCluster::Construct(const MoxObject* pFrom)
{
    MoxObject::Construct(pFrom);
    Reset();
}

void MoxCluster::Destruct(bool pRecursive)
{
    // The reference records are undone by Destroy (or die with the manager); only the pointers go here.
    mLink = nullptr;
    mAssociateModel = nullptr;
    mControlPointIndices.Clear();
    mControlPointWeights.Clear();
    MoxObject::Destruct(pRecursive);
}

void MoxCluster::OnReferenceDestroyed(MoxObject* pTarget)
{
    if (mLink == pTarget) mLink = nullptr;
    if (mAssociateModel == pTarget) mAssociateModel = nullptr;
    MoxObject::OnReferenceDestroyed(pTarget);
}

void MoxCluster::ReplaceNode(MoxNode*& pSlot, MoxNode* pNode)
{
    if (pSlot == pNode) return;
    if (pNode && !ConnectReference(pNode)) return;
    if (pSlot) DisconnectReference(pSlot);
    pSlot = pNode;
}

}  // namespace moxsdk
