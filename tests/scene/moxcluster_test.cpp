#include "moxsdk/scene/moxcluster.h"

#include <gtest/gtest.h>

#include "moxsdk/scene/moxmanager.h"
#include "moxsdk/scene/moxnode.h"
#include "support/moxtestsupport.h"

using namespace moxsdk;

namespace {

class ClusterTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        mManager = MoxManager::Create();
        mCluster = MoxCluster::Create(mManager, "cluster");
    }
    void TearDown() override { mManager->Destroy(); }

    MoxManager* mManager = nullptr;
    MoxCluster* mCluster = nullptr;
};

MoxAMatrix Translation(double pX)
{
    MoxAMatrix lMatrix;
    lMatrix.SetT(MoxVector4(pX, 0, 0, 1));
    return lMatrix;
}

}  // namespace

TEST_F(ClusterTest, NewClusterIsEmpty)
{
    EXPECT_EQ(mCluster->GetControlPointIndicesCount(), 0);
    EXPECT_EQ(mCluster->GetControlPointIndices(), nullptr);
    EXPECT_EQ(mCluster->GetControlPointWeights(), nullptr);
    EXPECT_EQ(mCluster->GetLink(), nullptr);
    EXPECT_EQ(mCluster->GetAssociateModel(), nullptr);
    EXPECT_EQ(mCluster->GetLinkMode(), MoxCluster::eNormalize);
    MoxAMatrix lMatrix = Translation(3);
    EXPECT_EQ(mCluster->GetTransformMatrix(lMatrix), MoxAMatrix());
    EXPECT_TRUE(mCluster->GetUserData().IsEmpty());
}

TEST_F(ClusterTest, IndicesAndWeights)
{
    mCluster->AddControlPointIndex(4, 0.25);
    mCluster->AddControlPointIndex(-1, 0.5);  // ignored
    mCluster->AddControlPointIndex(9, 1.0);
    ASSERT_EQ(mCluster->GetControlPointIndicesCount(), 2);
    EXPECT_EQ(mCluster->GetControlPointIndices()[0], 4);
    EXPECT_EQ(mCluster->GetControlPointIndices()[1], 9);
    EXPECT_EQ(mCluster->GetControlPointWeights()[0], 0.25);
    EXPECT_EQ(mCluster->GetControlPointWeights()[1], 1.0);
    mCluster->SetControlPointIWCount(3);
    EXPECT_EQ(mCluster->GetControlPointIndicesCount(), 3);
    EXPECT_EQ(mCluster->GetControlPointIndices()[2], 0);
    for (int i = 0; i < 1000; ++i) mCluster->AddControlPointIndex(i, i * 0.001);
    EXPECT_EQ(mCluster->GetControlPointIndicesCount(), 1003);
    EXPECT_EQ(mCluster->GetControlPointWeights()[1002], 0.999);
}

TEST_F(ClusterTest, AFailedAddKeepsBothListsInStep)
{
    for (int i = 0; i < 4; ++i) mCluster->AddControlPointIndex(i, 1.0);
    moxtest::ReportCapture lCapture;
    for (long lFail = 1; lFail <= 3; ++lFail) {
        moxtest::AllocationTracker lTracker;
        lTracker.FailAt(lFail);
        mCluster->AddControlPointIndex(7, 0.5);
    }
    const int lCount = mCluster->GetControlPointIndicesCount();
    EXPECT_GE(lCount, 4);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(mCluster->GetControlPointIndices()[i], i);
    mCluster->Compact();
    EXPECT_EQ(mCluster->GetControlPointIndicesCount(), lCount);
}

TEST_F(ClusterTest, MatricesLinksUserDataAndReset)
{
    MoxNode* lBone = MoxNode::Create(mManager, "bone");
    MoxNode* lModel = MoxNode::Create(mManager, "model");
    mCluster->SetLink(lBone);
    mCluster->SetAssociateModel(lModel);
    mCluster->SetLinkMode(MoxCluster::eTotalOne);
    mCluster->SetTransformMatrix(Translation(1));
    mCluster->SetTransformLinkMatrix(Translation(2));
    mCluster->SetTransformAssociateModelMatrix(Translation(3));
    mCluster->SetTransformParentMatrix(Translation(4));
    mCluster->SetUserData("id", "payload");
    mCluster->AddControlPointIndex(1, 1.0);
    MoxAMatrix lMatrix;
    EXPECT_EQ(mCluster->GetTransformMatrix(lMatrix), Translation(1));
    EXPECT_EQ(mCluster->GetTransformLinkMatrix(lMatrix), Translation(2));
    EXPECT_EQ(mCluster->GetTransformAssociateModelMatrix(lMatrix), Translation(3));
    EXPECT_EQ(mCluster->GetTransformParentMatrix(lMatrix), Translation(4));
    EXPECT_EQ(lMatrix, Translation(4));
    EXPECT_EQ(mCluster->GetLink(), lBone);
    EXPECT_EQ(mCluster->GetAssociateModel(), lModel);
    EXPECT_EQ(mCluster->GetLinkMode(), MoxCluster::eTotalOne);
    EXPECT_EQ(mCluster->GetUserDataID(), "id");
    EXPECT_EQ(mCluster->GetUserData(), "payload");
    mCluster->Reset();
    EXPECT_EQ(mCluster->GetControlPointIndicesCount(), 0);
    EXPECT_EQ(mCluster->GetLink(), nullptr);
    EXPECT_EQ(mCluster->GetAssociateModel(), nullptr);
    EXPECT_EQ(mCluster->GetLinkMode(), MoxCluster::eNormalize);
    EXPECT_EQ(mCluster->GetTransformParentMatrix(lMatrix), MoxAMatrix());
    EXPECT_TRUE(mCluster->GetUserDataID().IsEmpty());
    // After the reset the nodes are no longer connected to the cluster.
    lBone->Destroy();
    mCluster->SetLink(lModel);
    lModel->Destroy();
    EXPECT_EQ(mCluster->GetLink(), nullptr);
}

TEST_F(ClusterTest, CopyTakesValuesNotConnections)
{
    MoxNode* lBone = MoxNode::Create(mManager, "bone");
    mCluster->SetLink(lBone);
    mCluster->AddControlPointIndex(2, 0.5);
    mCluster->SetTransformLinkMatrix(Translation(5));
    mCluster->SetUserData("a", "b");
    MoxCluster* lCopy = MoxCluster::Create(mManager, "copy");
    lCopy->Copy(*mCluster);
    EXPECT_EQ(lCopy->GetLink(), nullptr);
    ASSERT_EQ(lCopy->GetControlPointIndicesCount(), 1);
    EXPECT_EQ(lCopy->GetControlPointWeights()[0], 0.5);
    MoxAMatrix lMatrix;
    EXPECT_EQ(lCopy->GetTransformLinkMatrix(lMatrix), Translation(5));
    EXPECT_EQ(lCopy->GetUserData(), "b");
}
