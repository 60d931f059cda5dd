#include "moxsdk/scene/moxobject.h"

#include <gtest/gtest.h>

#include "moxsdk/scene/geometry/moxgeometry.h"
#include "moxsdk/scene/geometry/moxmesh.h"
#include "moxsdk/scene/moxblendshape.h"
#include "moxsdk/scene/moxblendshapechannel.h"
#include "moxsdk/scene/moxcluster.h"
#include "moxsdk/scene/moxmanager.h"
#include "moxsdk/scene/moxnode.h"
#include "moxsdk/scene/moxshape.h"
#include "moxsdk/scene/moxskin.h"
#include "moxsdk/scene/moxsurfacematerial.h"
#include "moxsdk/scene/moxtexture.h"
#include "support/moxtestsupport.h"

using namespace moxsdk;

namespace {

// A manager destroyed at the end of the test.
struct ManagerHolder {
    ManagerHolder() : mManager(MoxManager::Create()) {}
    ManagerHolder(const ManagerHolder&) = delete;
    ManagerHolder& operator=(const ManagerHolder&) = delete;
    ~ManagerHolder()
    {
        if (mManager) mManager->Destroy();
    }
    MoxManager* mManager;
};

// Checks what the shared definitions give concrete class T: its record's name and parent, its own
// class id from a created object, and the Create report naming T's source file pFile.
template <class T>
void ExpectConcreteClassDefinitions(const char* pName, const MoxClassId& pParent, const char* pFile)
{
    EXPECT_STREQ(T::ClassId.GetName(), pName);
    EXPECT_EQ(T::ClassId.GetParent(), pParent);
    ManagerHolder lHolder;
    T* lObject = T::Create(lHolder.mManager, "object");
    ASSERT_NE(lObject, nullptr);
    EXPECT_EQ(lObject->GetClassId(), T::ClassId);
    EXPECT_TRUE(lObject->GetObjectFlags(1));
    moxtest::ReportCapture lCapture;
    EXPECT_EQ(T::Create(static_cast<MoxObject*>(nullptr), "object"), nullptr);
    EXPECT_TRUE(lCapture.HasOnly(pFile, "Create", "pContainer && pContainer->GetMoxManager()"));
}

// An abstract class's record has its name and parent and no factory.
void ExpectAbstractClassDefinitions(const MoxClassId& pId, const char* pName, const MoxClassId& pParent)
{
    EXPECT_STREQ(pId.GetName(), pName);
    EXPECT_EQ(pId.GetParent(), pParent);
    ManagerHolder lHolder;
    EXPECT_EQ(pId.Create(*lHolder.mManager, "object", nullptr), nullptr);
}

}  // namespace

TEST(MoxClassId, HierarchyAndNames)
{
    EXPECT_STREQ(MoxShape::ClassId.GetName(), "MoxShape");
    EXPECT_EQ(MoxShape::ClassId.GetParent(), MoxGeometryBase::ClassId);
    EXPECT_EQ(MoxGeometryBase::ClassId.GetParent(), MoxLayerContainer::ClassId);
    EXPECT_EQ(MoxLayerContainer::ClassId.GetParent(), MoxNodeAttribute::ClassId);
    EXPECT_EQ(MoxNodeAttribute::ClassId.GetParent(), MoxObject::ClassId);
    EXPECT_EQ(MoxGeometry::ClassId.GetParent(), MoxGeometryBase::ClassId);
    EXPECT_EQ(MoxSkin::ClassId.GetParent(), MoxDeformer::ClassId);
    EXPECT_EQ(MoxBlendShape::ClassId.GetParent(), MoxDeformer::ClassId);
    EXPECT_FALSE(MoxObject::ClassId.GetParent().IsValid());
    EXPECT_TRUE(MoxShape::ClassId.Is(MoxObject::ClassId));
    EXPECT_TRUE(MoxShape::ClassId.Is(MoxShape::ClassId));
    EXPECT_FALSE(MoxGeometryBase::ClassId.Is(MoxShape::ClassId));
    EXPECT_FALSE(MoxSkin::ClassId.Is(MoxGeometryBase::ClassId));
    EXPECT_FALSE(MoxClassId().Is(MoxObject::ClassId));
    EXPECT_FALSE(MoxObject::ClassId.Is(MoxClassId()));
    EXPECT_STREQ(MoxClassId().GetName(), "");
}

TEST(MoxClassId, EveryConcreteClassHasItsRecordFactoryAndReportPath)
{
    ExpectConcreteClassDefinitions<MoxBlendShape>("MoxBlendShape", MoxDeformer::ClassId, "scene/moxblendshape");
    ExpectConcreteClassDefinitions<MoxBlendShapeChannel>("MoxBlendShapeChannel", MoxObject::ClassId,
                                                         "scene/moxblendshapechannel");
    ExpectConcreteClassDefinitions<MoxCluster>("MoxCluster", MoxObject::ClassId, "scene/moxcluster");
    ExpectConcreteClassDefinitions<MoxNode>("MoxNode", MoxObject::ClassId, "scene/moxnode");
    ExpectConcreteClassDefinitions<MoxShape>("MoxShape", MoxGeometryBase::ClassId, "scene/moxshape");
    ExpectConcreteClassDefinitions<MoxSkin>("MoxSkin", MoxDeformer::ClassId, "scene/moxskin");
    ExpectConcreteClassDefinitions<MoxSurfaceMaterial>("MoxSurfaceMaterial", MoxObject::ClassId,
                                                       "scene/moxsurfacematerial");
    ExpectConcreteClassDefinitions<MoxTexture>("MoxTexture", MoxObject::ClassId, "scene/moxtexture");
    ExpectConcreteClassDefinitions<MoxMesh>("MoxMesh", MoxGeometry::ClassId, "scene/geometry/moxmesh");
}

TEST(MoxClassId, AbstractClassesHaveNoFactory)
{
    ExpectAbstractClassDefinitions(MoxObject::ClassId, "MoxObject", MoxClassId());
    ExpectAbstractClassDefinitions(MoxDeformer::ClassId, "MoxDeformer", MoxObject::ClassId);
    ExpectAbstractClassDefinitions(MoxNodeAttribute::ClassId, "MoxNodeAttribute", MoxObject::ClassId);
    ExpectAbstractClassDefinitions(MoxLayerContainer::ClassId, "MoxLayerContainer", MoxNodeAttribute::ClassId);
    ExpectAbstractClassDefinitions(MoxGeometryBase::ClassId, "MoxGeometryBase", MoxLayerContainer::ClassId);
    ExpectAbstractClassDefinitions(MoxGeometry::ClassId, "MoxGeometry", MoxGeometryBase::ClassId);
}

TEST(MoxObject, CreateGivesAConstructedFlaggedObject)
{
    ManagerHolder lHolder;
    MoxNode* lNode = MoxNode::Create(lHolder.mManager, "node");
    ASSERT_NE(lNode, nullptr);
    EXPECT_STREQ(lNode->GetName(), "node");
    EXPECT_EQ(lNode->GetMoxManager(), lHolder.mManager);
    EXPECT_EQ(lNode->GetClassId(), MoxNode::ClassId);
    EXPECT_TRUE(lNode->GetObjectFlags(1));
    EXPECT_FALSE(lNode->GetObjectFlags(2));
    lNode->SetObjectFlags(6, true);
    EXPECT_EQ(lNode->GetObjectFlags(), 7u);
    lNode->SetObjectFlags(2, false);
    EXPECT_EQ(lNode->GetObjectFlags(), 5u);
    EXPECT_EQ(lHolder.mManager->GetObjectCount(), 1);
    EXPECT_EQ(MoxNode::Create(static_cast<MoxManager*>(nullptr), "x"), nullptr);
}

TEST(MoxObject, CreateInANullContainerReports)
{
    moxtest::ReportCapture lCapture;
    EXPECT_EQ(MoxSkin::Create(static_cast<MoxObject*>(nullptr), "skin"), nullptr);
    EXPECT_TRUE(lCapture.HasOnly("scene/moxskin", "Create", "pContainer && pContainer->GetMoxManager()"));
    lCapture.Clear();
    EXPECT_EQ(MoxShape::Create(static_cast<MoxObject*>(nullptr), "shape"), nullptr);
    EXPECT_TRUE(lCapture.HasOnly("scene/moxshape", "Create", "pContainer && pContainer->GetMoxManager()"));
}

TEST(MoxObject, CreateInAContainerRecordsContainment)
{
    ManagerHolder lHolder;
    MoxNode* lNode = MoxNode::Create(lHolder.mManager, "node");
    MoxSkin* lSkin = MoxSkin::Create(lNode, "skin");
    ASSERT_NE(lSkin, nullptr);
    EXPECT_EQ(lSkin->GetMoxManager(), lHolder.mManager);
    EXPECT_EQ(lSkin->GetContainer(), lNode);
    EXPECT_EQ(lNode->GetContainedCount(), 1);
    EXPECT_EQ(lNode->GetContained(0), lSkin);
    lSkin->Destroy();
    EXPECT_EQ(lNode->GetContainedCount(), 0);
}

TEST(MoxObject, CopyableFollowsTheHierarchy)
{
    ManagerHolder lHolder;
    MoxShape* lShape = MoxShape::Create(lHolder.mManager, "shape");
    MoxNode* lNode = MoxNode::Create(lHolder.mManager, "node");
    EXPECT_TRUE(lShape->Copyable(*lShape));
    EXPECT_FALSE(lShape->Copyable(*lNode));
    EXPECT_FALSE(lNode->Copyable(*lShape));
    EXPECT_TRUE(lShape->Is(MoxGeometryBase::ClassId));
    EXPECT_FALSE(lNode->Is(MoxGeometryBase::ClassId));
}

TEST(MoxObject, DestroyRemovesFromEveryList)
{
    ManagerHolder lHolder;
    MoxManager* lManager = lHolder.mManager;
    MoxSkin* lSkin = MoxSkin::Create(lManager, "skin");
    MoxCluster* lCluster = MoxCluster::Create(lManager, "cluster");
    MoxNode* lBone = MoxNode::Create(lManager, "bone");
    MoxBlendShape* lBlend = MoxBlendShape::Create(lManager, "blend");
    MoxBlendShapeChannel* lChannel = MoxBlendShapeChannel::Create(lManager, "channel");
    MoxShape* lTarget = MoxShape::Create(lManager, "target");
    ASSERT_TRUE(lSkin->AddCluster(lCluster));
    lCluster->SetLink(lBone);
    lCluster->SetAssociateModel(lBone);
    ASSERT_TRUE(lBlend->AddBlendShapeChannel(lChannel));
    ASSERT_TRUE(lChannel->AddTargetShape(lTarget, 50.0));
    EXPECT_EQ(lManager->GetObjectCount(), 6);

    lBone->Destroy();
    EXPECT_EQ(lCluster->GetLink(), nullptr);
    EXPECT_EQ(lCluster->GetAssociateModel(), nullptr);
    lCluster->Destroy();
    EXPECT_EQ(lSkin->GetClusterCount(), 0);
    lTarget->Destroy();
    EXPECT_EQ(lChannel->GetTargetShapeCount(), 0);
    EXPECT_EQ(lChannel->GetTargetShapeFullWeights(), nullptr);
    lChannel->Destroy();
    EXPECT_EQ(lBlend->GetBlendShapeChannelCount(), 0);
    EXPECT_EQ(lManager->GetObjectCount(), 2);
    // The owner going first leaves the owned objects alone.
    MoxSkin* lSkin2 = MoxSkin::Create(lManager, "skin2");
    MoxCluster* lCluster2 = MoxCluster::Create(lManager, "cluster2");
    lSkin2->AddCluster(lCluster2);
    lSkin2->Destroy();
    lCluster2->Destroy();
    EXPECT_EQ(lManager->GetObjectCount(), 2);
}

TEST(MoxObject, RecursiveDestroyTakesTheContainedObjects)
{
    ManagerHolder lHolder;
    MoxNode* lRoot = MoxNode::Create(lHolder.mManager, "root");
    MoxNode* lChild = MoxNode::Create(lRoot, "child");
    MoxNode* lGrandChild = MoxNode::Create(lChild, "grandchild");
    MoxNode* lOther = MoxNode::Create(lHolder.mManager, "other");
    ASSERT_NE(lGrandChild, nullptr);
    lRoot->Destroy(true);
    EXPECT_EQ(lHolder.mManager->GetObjectCount(), 1);
    EXPECT_EQ(lHolder.mManager->GetObject(0), lOther);
}

TEST(MoxObject, NonRecursiveDestroyLeavesTheContainedObjectsUncontained)
{
    ManagerHolder lHolder;
    MoxNode* lRoot = MoxNode::Create(lHolder.mManager, "root");
    MoxNode* lChild = MoxNode::Create(lRoot, "child");
    lRoot->Destroy();
    EXPECT_EQ(lHolder.mManager->GetObjectCount(), 1);
    EXPECT_EQ(lChild->GetContainer(), nullptr);
}

TEST(MoxObject, CloneCopiesContentIntoANewObject)
{
    ManagerHolder lHolder;
    MoxCluster* lCluster = MoxCluster::Create(lHolder.mManager, "cluster");
    lCluster->AddControlPointIndex(3, 0.5);
    lCluster->SetLinkMode(MoxCluster::eAdditive);
    MoxObject* lClone = lCluster->Clone();
    ASSERT_NE(lClone, nullptr);
    EXPECT_EQ(lClone->GetClassId(), MoxCluster::ClassId);
    MoxCluster* lCopy = static_cast<MoxCluster*>(lClone);
    EXPECT_STREQ(lCopy->GetName(), "cluster");
    EXPECT_EQ(lCopy->GetControlPointIndicesCount(), 1);
    EXPECT_EQ(lCopy->GetControlPointWeights()[0], 0.5);
    EXPECT_EQ(lCopy->GetLinkMode(), MoxCluster::eAdditive);
    EXPECT_TRUE(lCopy->GetObjectFlags(1));
}

TEST(MoxObject, SelectionFlag)
{
    ManagerHolder lHolder;
    MoxTexture* lTexture = MoxTexture::Create(lHolder.mManager, "texture");
    EXPECT_FALSE(lTexture->GetSelected());
    lTexture->SetSelected(true);
    EXPECT_TRUE(lTexture->GetSelected());
    EXPECT_EQ(MoxSurfaceMaterial::Create(lTexture, "material")->GetContainer(), lTexture);
}
