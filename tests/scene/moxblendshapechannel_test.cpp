#include "moxsdk/scene/moxblendshapechannel.h"

#include <gtest/gtest.h>

#include "moxsdk/scene/moxmanager.h"
#include "moxsdk/scene/moxshape.h"

using namespace moxsdk;

TEST(MoxBlendShapeChannel, TargetShapesWithFullDeformPercents)
{
    MoxManager* lManager = MoxManager::Create();
    MoxBlendShapeChannel* lChannel = MoxBlendShapeChannel::Create(lManager, "channel");
    MoxShape* lShapes[3];
    for (MoxShape*& lShape : lShapes) lShape = MoxShape::Create(lManager, "shape");
    EXPECT_FALSE(lChannel->AddTargetShape(nullptr));
    EXPECT_TRUE(lChannel->AddTargetShape(lShapes[0]));
    EXPECT_TRUE(lChannel->AddTargetShape(lShapes[1], 50.0));
    EXPECT_FALSE(lChannel->AddTargetShape(lShapes[1], 60.0));
    EXPECT_TRUE(lChannel->AddTargetShape(lShapes[2], 75.0));
    ASSERT_EQ(lChannel->GetTargetShapeCount(), 3);
    EXPECT_EQ(lChannel->GetTargetShape(2), lShapes[2]);
    EXPECT_EQ(lChannel->GetTargetShape(3), nullptr);
    EXPECT_EQ(lChannel->GetTargetShapeFullWeights()[0], 100.0);
    EXPECT_EQ(lChannel->GetTargetShapeFullWeights()[1], 50.0);
    EXPECT_EQ(lChannel->GetTargetShapeFullWeights()[2], 75.0);
    // Destroying a shape removes it and its percent.
    lShapes[1]->Destroy();
    ASSERT_EQ(lChannel->GetTargetShapeCount(), 2);
    EXPECT_EQ(lChannel->GetTargetShape(1), lShapes[2]);
    EXPECT_EQ(lChannel->GetTargetShapeFullWeights()[1], 75.0);
    EXPECT_EQ(lChannel->RemoveTargetShape(lShapes[0]), lShapes[0]);
    EXPECT_EQ(lChannel->RemoveTargetShape(lShapes[0]), nullptr);
    EXPECT_EQ(lChannel->GetTargetShapeFullWeights()[0], 75.0);
    lChannel->SetDeformPercent(30.0);
    EXPECT_EQ(lChannel->GetDeformPercent(), 30.0);
    MoxBlendShapeChannel* lCopy = MoxBlendShapeChannel::Create(lManager, "copy");
    lCopy->Copy(*lChannel);
    EXPECT_EQ(lCopy->GetDeformPercent(), 30.0);
    EXPECT_EQ(lCopy->GetTargetShapeCount(), 0);
    lManager->Destroy();
}

TEST(MoxBlendShapeChannel, ManyShapesStayLinear)
{
    MoxManager* lManager = MoxManager::Create();
    MoxBlendShapeChannel* lChannel = MoxBlendShapeChannel::Create(lManager, "channel");
    for (int i = 0; i < 20000; ++i) lChannel->AddTargetShape(MoxShape::Create(lManager, "s"), i);
    EXPECT_EQ(lChannel->GetTargetShapeCount(), 20000);
    EXPECT_EQ(lChannel->GetTargetShapeFullWeights()[19999], 19999.0);
    lManager->Destroy();
}
