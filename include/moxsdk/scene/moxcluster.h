#pragma once
// MoxCluster: one influence of a skin: weighted control point indices, the node that drives them (link),
// an optional associate model, a link mode, four transform matrices and a user-data string pair.

#include "moxsdk/core/base/moxarray.h"
#include "moxsdk/core/math/moxamatrix.h"
#include "moxsdk/core/moxstring.h"
#include "moxsdk/scene/moxobject.h"

namespace moxsdk {

class MoxNode;

class MoxCluster : public MoxObject {
public:
    enum ELinkMode { eNormalize, eAdditive, eTotalOne };

    static const MoxClassId ClassId;
    static MoxCluster* Create(MoxManager* pManager, const char* pName);
    static MoxCluster* Create(MoxObject* pContainer, const char* pName);
    static MoxObject* Allocate(MoxManager& pManager, const char* pName, const MoxObject* pFrom);

    MoxCluster(MoxManager& pManager, const char* pName);
    MoxClassId GetClassId() const override;
    // Copies indices, weights, link mode, matrices and user data; the link and associate model are
    // connections and are not copied.
    MoxObject& Copy(const MoxObject& pObject) override;
    void Compact() override;

    // Appends one (index, weight) pair. A negative index is ignored. If memory runs out, both lists are
    // left as they were.
    void AddControlPointIndex(int pIndex, double pWeight);
    int GetControlPointIndicesCount() const { return GetCount(); }
    // The index and weight lists, parallel; null when the cluster has no pair.
    int* GetControlPointIndices() const { return GetCount() > 0 ? mControlPointIndices.GetArray() : nullptr; }
    double* GetControlPointWeights() const { return GetCount() > 0 ? mControlPointWeights.GetArray() : nullptr; }
    // Sets both lists to pCount pairs; new pairs are (0, 0.0). A negative count empties them.
    void SetControlPointIWCount(int pCount);

    // Back to the state of a new cluster: no pairs, no link, no associate model, eNormalize, identity
    // matrices, empty user data.
    void Reset();

    void SetLink(const MoxNode* pNode);
    MoxNode* GetLink() const { return mLink; }
    void SetAssociateModel(MoxNode* pNode);
    MoxNode* GetAssociateModel() const { return mAssociateModel; }
    void SetLinkMode(ELinkMode pMode) { mLinkMode = pMode; }
    ELinkMode GetLinkMode() const { return mLinkMode; }

    void SetTransformMatrix(const MoxAMatrix& pMatrix) { mTransform = pMatrix; }
    MoxAMatrix& GetTransformMatrix(MoxAMatrix& pMatrix) const { return pMatrix = mTransform; }
    void SetTransformLinkMatrix(const MoxAMatrix& pMatrix) { mTransformLink = pMatrix; }
    MoxAMatrix& GetTransformLinkMatrix(MoxAMatrix& pMatrix) const { return pMatrix = mTransformLink; }
    void SetTransformAssociateModelMatrix(const MoxAMatrix& pMatrix) { mTransformAssociateModel = pMatrix; }
    MoxAMatrix& GetTransformAssociateModelMatrix(MoxAMatrix& pMatrix) const
    {
        return pMatrix = mTransformAssociateModel;
    }
    void SetTransformParentMatrix(const MoxAMatrix& pMatrix) { mTransformParent = pMatrix; }
    MoxAMatrix& GetTransformParentMatrix(MoxAMatrix& pMatrix) const { return pMatrix = mTransformParent; }

    void SetUserData(const MoxString& pUserDataID, const MoxString& pUserData);
    MoxString GetUserDataID() const { return mUserDataID; }
    MoxString GetUserData() const { return mUserData; }

protected:
    void Construct(const MoxObject* pFrom) override;
    void Destruct(bool pRecursive) override;
    void OnReferenceDestroyed(MoxObject* pTarget) override;

private:
    int GetCount() const { return mControlPointIndices.GetCount(); }
    // Replaces the node held in pSlot, keeping the reference records in step.
    void ReplaceNode(MoxNode*& pSlot, MoxNode* pNode);

    MoxArray<int> mControlPointIndices;
    MoxArray<double> mControlPointWeights;
    MoxNode* mLink = nullptr;
    MoxNode* mAssociateModel = nullptr;
    ELinkMode mLinkMode = eNormalize;
    MoxAMatrix mTransform;
    MoxAMatrix mTransformLink;
    MoxAMatrix mTransformAssociateModel;
    MoxAMatrix mTransformParent;
    MoxString mUserDataID;
    MoxString mUserData;
};

}  // namespace moxsdk
