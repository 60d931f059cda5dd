#include "moxsdk/scene/moxmanager.h"

#include <gtest/gtest.h>

#include "moxsdk/scene/geometry/moxgeometry.h"
#include "moxsdk/scene/moxblendshape.h"
#include "moxsdk/scene/moxblendshapechannel.h"
#include "moxsdk/scene/moxcluster.h"
#include "moxsdk/scene/moxnode.h"
#include "moxsdk/scene/moxshape.h"
#include "moxsdk/scene/moxskin.h"
#include "moxsdk/scene/moxsurfacematerial.h"
#include "moxsdk/scene/moxtexture.h"
#include "support/moxtestsupport.h"

using namespace moxsdk;

namespace {

// A skinned, blend-shaped shape with layers: every kind of object and connection the services know.
void BuildScene(MoxManager* pManager)
{
    MoxNode* lNode = MoxNode::Create(pManager, "node");
    MoxShape* lShape = MoxShape::Create(lNode, "shape");
    if (!lShape) return;
    lShape->InitControlPoints(8);
    lShape->InitNormals();
    lShape->InitTangents(8, 1, "uv");
    MoxLayer* lLayer = lShape->GetLayer(0);
    if (lLayer) lLayer->SetUVs(MoxLayerElementUV::Create(lShape, "uv"));
    MoxSkin* lSkin = MoxSkin::Create(pManager, "skin");
    for (int c = 0; c < 3; ++c) {
        MoxCluster* lCluster = MoxCluster::Create(lSkin, "cluster");
        if (!lCluster) continue;
        for (int i = 0; i < 8; ++i) lCluster->AddControlPointIndex(i, 0.25 * c);
        lCluster->SetLink(lNode);
        lCluster->SetUserData("id", "data");
        if (lSkin) lSkin->AddCluster(lCluster);
    }
    MoxBlendShape* lBlend = MoxBlendShape::Create(pManager, "blend");
    MoxBlendShapeChannel* lChannel = MoxBlendShapeChannel::Create(pManager, "channel");
    MoxShape* lTarget = MoxShape::Create(pManager, "target");
    if (lTarget) lTarget->InitControlPoints(8);
    if (lBlend) lBlend->AddBlendShapeChannel(lChannel);
    if (lChannel) lChannel->AddTargetShape(lTarget, 100.0);
    MoxSurfaceMaterial::Create(pManager, "material");
    MoxTexture::Create(pManager, "texture");
}

}  // namespace

TEST(MoxManager, CreateNewObjectFromClassId)
{
    MoxManager* lManager = MoxManager::Create();
    MoxObject* lObject = lManager->CreateNewObjectFromClassId(MoxShape::ClassId, "shape");
    ASSERT_NE(lObject, nullptr);
    EXPECT_EQ(lObject->GetClassId(), MoxShape::ClassId);
    EXPECT_EQ(lManager->GetObjectCount(), 1);
    EXPECT_EQ(lManager->GetObject(0), lObject);
    EXPECT_EQ(lManager->GetObject(1), nullptr);
    // Abstract and invalid classes make nothing.
    EXPECT_EQ(lManager->CreateNewObjectFromClassId(MoxGeometry::ClassId, "g"), nullptr);
    EXPECT_EQ(lManager->CreateNewObjectFromClassId(MoxDeformer::ClassId, "d"), nullptr);
    EXPECT_EQ(lManager->CreateNewObjectFromClassId(MoxClassId(), "x"), nullptr);
    EXPECT_EQ(lManager->GetObjectCount(), 1);
    lManager->Destroy();
}

TEST(MoxManager, CloneSourceContentIsCopied)
{
    MoxManager* lManager = MoxManager::Create();
    MoxShape* lSource = MoxShape::Create(lManager, "source");
    lSource->InitControlPoints(2);
    lSource->SetControlPointAt(MoxVector4(1, 2, 3, 1), 1);
    MoxObject* lObject = lManager->CreateNewObjectFromClassId(MoxShape::ClassId, "copy", nullptr, lSource);
    ASSERT_NE(lObject, nullptr);
    MoxShape* lCopy = static_cast<MoxShape*>(lObject);
    EXPECT_EQ(lCopy->GetControlPointsCount(), 2);
    EXPECT_EQ(lCopy->GetControlPointAt(1), MoxVector4(1, 2, 3, 1));
    // A source of another class is not copied.
    MoxNode* lNode = MoxNode::Create(lManager, "node");
    MoxObject* lOther = lManager->CreateNewObjectFromClassId(MoxShape::ClassId, "other", nullptr, lNode);
    ASSERT_NE(lOther, nullptr);
    EXPECT_EQ(static_cast<MoxShape*>(lOther)->GetControlPointsCount(), 0);
    lManager->Destroy();
}

TEST(MoxManager, IndicesStayConsistentWhenObjectsGo)
{
    MoxManager* lManager = MoxManager::Create();
    MoxNode* lNodes[5];
    for (auto& lNode : lNodes) lNode = MoxNode::Create(lManager, "n");
    lNodes[1]->Destroy();
    lNodes[0]->Destroy();
    lNodes[4]->Destroy();
    EXPECT_EQ(lManager->GetObjectCount(), 2);
    for (int i = 0; i < lManager->GetObjectCount(); ++i) {
        MoxObject* lObject = lManager->GetObject(i);
        EXPECT_TRUE(lObject == lNodes[2] || lObject == lNodes[3]);
    }
    lNodes[3]->Destroy();
    lNodes[2]->Destroy();
    EXPECT_EQ(lManager->GetObjectCount(), 0);
    lManager->Destroy();
}

TEST(MoxManager, DestroyWithLiveObjectsLeaksNothing)
{
    moxtest::AllocationTracker lTracker;
    MoxManager* lManager = MoxManager::Create();
    BuildScene(lManager);
    EXPECT_EQ(lManager->GetObjectCount(), 11);
    lManager->Destroy();
    EXPECT_EQ(lTracker.Live(), 0);
}

TEST(MoxManager, DestroyLeavesNoPointerInAnotherManager)
{
    MoxManager* lFirst = MoxManager::Create();
    MoxManager* lSecond = MoxManager::Create();
    MoxSkin* lSkin = MoxSkin::Create(lFirst, "skin");
    MoxNode* lContainer = MoxNode::Create(lFirst, "container");
    MoxCluster* lCluster = MoxCluster::Create(lSecond, "cluster");
    MoxNode* lContained = MoxNode::Create(lSecond, "contained");
    lSkin->AddCluster(lCluster);
    MoxNode* lChildOfForeign = MoxNode::Create(lContained, "child");  // made by the second manager
    ASSERT_NE(lChildOfForeign, nullptr);
    MoxShape* lShape = MoxShape::Create(lContainer, "shape");  // made by the first manager
    ASSERT_NE(lShape, nullptr);
    lSecond->Destroy();
    EXPECT_EQ(lSkin->GetClusterCount(), 0);
    lFirst->Destroy();
}

TEST(MoxManager, EveryFailingAllocationLeavesNothingBehind)
{
    moxtest::ReportCapture lCapture;
    long lRequests = 0;
    {
        moxtest::AllocationTracker lTracker;
        MoxManager* lManager = MoxManager::Create();
        BuildScene(lManager);
        lManager->Destroy();
        lRequests = lTracker.Requests();
    }
    for (long lFail = 1; lFail <= lRequests; ++lFail) {
        moxtest::AllocationTracker lTracker;
        lTracker.FailAt(lFail);
        MoxManager* lManager = MoxManager::Create();
        if (lManager) {
            BuildScene(lManager);
            lManager->Destroy();
        }
        EXPECT_EQ(lTracker.Live(), 0) << "failing allocation " << lFail;
    }
}

TEST(MoxManager, ManagerWithoutMemoryIsReported)
{
    moxtest::ReportCapture lCapture;
    moxtest::AllocationTracker lTracker;
    lTracker.FailAll(true);
    EXPECT_EQ(MoxManager::Create(), nullptr);
    EXPECT_TRUE(lCapture.HasOnly("scene/moxmanager", "Create", "lManager"));
}

TEST(MoxManager, EachMissingPartOfANewObjectIsReportedOnce)
{
    MoxManager* lManager = MoxManager::Create();
    moxtest::ReportCapture lCapture;
    {
        moxtest::AllocationTracker lTracker;
        lTracker.FailAt(1);  // the object
        EXPECT_EQ(MoxNode::Create(lManager, "node"), nullptr);
        EXPECT_TRUE(lCapture.HasOnly("scene/moxobject", "AllocateObject", "lObject"));
        lCapture.Clear();
        lTracker.FailAt(2);  // the copy of its name: the object is made, unnamed
        MoxNode* lNode = MoxNode::Create(lManager, "node");
        ASSERT_NE(lNode, nullptr);
        EXPECT_STREQ(lNode->GetName(), "");
        EXPECT_TRUE(lCapture.HasOnly("core/moxstring", "Assign", "lData"));
        lCapture.Clear();
        // The manager's list of objects cannot grow past its first block of 4: the request after the
        // object's own ones fails.
        const long lBefore = lTracker.Requests();
        ASSERT_NE(MoxNode::Create(lManager, ""), nullptr);
        const long lPerObject = lTracker.Requests() - lBefore;
        for (int i = 0; i < 2; ++i) ASSERT_NE(MoxNode::Create(lManager, ""), nullptr);
        lTracker.FailAt(lPerObject + 1);
        EXPECT_EQ(MoxNode::Create(lManager, ""), nullptr);
        EXPECT_TRUE(lCapture.HasOnly("core/base/moxpointerlist", "AddRaw", "mData"));
        EXPECT_EQ(lManager->GetObjectCount(), 4);
    }
    lManager->Destroy();
}
