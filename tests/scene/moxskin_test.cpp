#include "moxsdk/scene/moxskin.h"

#include <gtest/gtest.h>

#include "moxsdk/scene/moxcluster.h"
#include "moxsdk/scene/moxmanager.h"

using namespace moxsdk;

TEST(MoxSkin, ClusterList)
{
    MoxManager* lManager = MoxManager::Create();
    MoxSkin* lSkin = MoxSkin::Create(lManager, "skin");
    MoxCluster* lFirst = MoxCluster::Create(lManager, "first");
    MoxCluster* lSecond = MoxCluster::Create(lManager, "second");
    EXPECT_EQ(lSkin->GetDeformerType(), MoxDeformer::eSkin);
    EXPECT_EQ(lSkin->GetDeformerType(), 1);
    EXPECT_FALSE(lSkin->AddCluster(nullptr));
    EXPECT_TRUE(lSkin->AddCluster(lFirst));
    EXPECT_FALSE(lSkin->AddCluster(lFirst));
    EXPECT_TRUE(lSkin->AddCluster(lSecond));
    EXPECT_EQ(lSkin->GetClusterCount(), 2);
    EXPECT_EQ(lSkin->GetCluster(0), lFirst);
    EXPECT_EQ(lSkin->GetCluster(1), lSecond);
    EXPECT_EQ(lSkin->GetCluster(2), nullptr);
    EXPECT_EQ(lSkin->GetCluster(-1), nullptr);
    EXPECT_EQ(lSkin->RemoveCluster(lFirst), lFirst);
    EXPECT_EQ(lSkin->RemoveCluster(lFirst), nullptr);
    EXPECT_EQ(lSkin->GetCluster(0), lSecond);
    lSecond->Destroy();
    EXPECT_EQ(lSkin->GetClusterCount(), 0);
    lManager->Destroy();
}
