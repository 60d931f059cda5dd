#include "moxsdk/scene/moxblendshape.h"

#include <gtest/gtest.h>

#include "moxsdk/scene/moxblendshapechannel.h"
#include "moxsdk/scene/moxmanager.h"

using namespace moxsdk;

TEST(MoxBlendShape, ChannelList)
{
    MoxManager* lManager = MoxManager::Create();
    MoxBlendShape* lBlend = MoxBlendShape::Create(lManager, "blend");
    MoxBlendShapeChannel* lFirst = MoxBlendShapeChannel::Create(lManager, "first");
    MoxBlendShapeChannel* lSecond = MoxBlendShapeChannel::Create(lManager, "second");
    EXPECT_EQ(lBlend->GetDeformerType(), MoxDeformer::eBlendShape);
    EXPECT_FALSE(lBlend->AddBlendShapeChannel(nullptr));
    EXPECT_TRUE(lBlend->AddBlendShapeChannel(lFirst));
    EXPECT_FALSE(lBlend->AddBlendShapeChannel(lFirst));
    EXPECT_TRUE(lBlend->AddBlendShapeChannel(lSecond));
    EXPECT_EQ(lBlend->GetBlendShapeChannelCount(), 2);
    EXPECT_EQ(lBlend->GetBlendShapeChannel(1), lSecond);
    EXPECT_EQ(lBlend->GetBlendShapeChannel(2), nullptr);
    EXPECT_EQ(lBlend->RemoveBlendShapeChannel(lFirst), lFirst);
    EXPECT_EQ(lBlend->RemoveBlendShapeChannel(lFirst), nullptr);
    lSecond->Destroy();
    EXPECT_EQ(lBlend->GetBlendShapeChannelCount(), 0);
    lManager->Destroy();
}
