#include "moxsdk/scene/geometry/moxlayercontainer.h"

#include <gtest/gtest.h>

#include "moxsdk/scene/moxmanager.h"
#include "moxsdk/scene/moxshape.h"
#include "support/moxtestsupport.h"

using namespace moxsdk;

namespace {

// A shape (the simplest concrete layer container) in a manager of its own.
class LayerContainerTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        mManager = MoxManager::Create();
        mContainer = MoxShape::Create(mManager, "container");
    }
    void TearDown() override { mManager->Destroy(); }

    MoxManager* mManager = nullptr;
    MoxLayerContainer* mContainer = nullptr;
};

}  // namespace

TEST_F(LayerContainerTest, StartsWithoutLayers)
{
    EXPECT_EQ(mContainer->GetLayerCount(), 0);
    EXPECT_EQ(mContainer->GetLayer(0), nullptr);
    EXPECT_EQ(mContainer->GetLayer(-1), nullptr);
    EXPECT_EQ(mContainer->GetLayer(0, MoxLayerElement::eSmoothing), nullptr);
}

TEST_F(LayerContainerTest, CreateLayerAppendsAndReturnsTheIndex)
{
    EXPECT_EQ(mContainer->CreateLayer(), 0);
    EXPECT_EQ(mContainer->CreateLayer(), 1);
    EXPECT_EQ(mContainer->GetLayerCount(), 2);
    EXPECT_NE(mContainer->GetLayer(1), nullptr);
    EXPECT_NE(mContainer->GetLayer(0), mContainer->GetLayer(1));
    EXPECT_EQ(mContainer->GetLayer(2), nullptr);
    EXPECT_EQ(mContainer->GetLayer(1)->GetNormals(), nullptr);
}

TEST_F(LayerContainerTest, ClearLayersDestroysLayersAndElements)
{
    moxtest::AllocationTracker lTracker;
    mContainer->GetLayer(mContainer->CreateLayer())->SetHole(MoxLayerElementHole::Create(mContainer, ""));
    mContainer->GetLayer(mContainer->CreateLayer())->SetUVs(MoxLayerElementUV::Create(mContainer, "uv"));
    mContainer->ClearLayers();
    EXPECT_EQ(mContainer->GetLayerCount(), 0);
    EXPECT_EQ(lTracker.Live(), 0);
}

TEST_F(LayerContainerTest, GetLayerByTypeCountsOnlyLayersHoldingOne)
{
    for (int i = 0; i < 5; ++i) mContainer->CreateLayer();
    mContainer->GetLayer(1)->SetSmoothing(MoxLayerElementSmoothing::Create(mContainer, ""));
    mContainer->GetLayer(3)->SetSmoothing(MoxLayerElementSmoothing::Create(mContainer, ""));
    mContainer->GetLayer(4)->SetEdgeCrease(MoxLayerElementCrease::Create(mContainer, ""));
    EXPECT_EQ(mContainer->GetLayer(0, MoxLayerElement::eSmoothing, false), mContainer->GetLayer(1));
    EXPECT_EQ(mContainer->GetLayer(1, MoxLayerElement::eSmoothing, false), mContainer->GetLayer(3));
    EXPECT_EQ(mContainer->GetLayer(2, MoxLayerElement::eSmoothing, false), nullptr);
    EXPECT_EQ(mContainer->GetLayer(-1, MoxLayerElement::eSmoothing, false), nullptr);
    EXPECT_EQ(mContainer->GetLayer(0, MoxLayerElement::eEdgeCrease, false), mContainer->GetLayer(4));
    EXPECT_EQ(mContainer->GetLayer(0, MoxLayerElement::eVertexCrease, false), nullptr);
    EXPECT_EQ(mContainer->GetLayer(0, MoxLayerElement::eHole, false), nullptr);
    EXPECT_EQ(mContainer->GetLayerCount(MoxLayerElement::eSmoothing), 2);
    EXPECT_EQ(mContainer->GetLayerIndex(1, MoxLayerElement::eSmoothing), 3);
    const MoxLayerContainer* lConst = mContainer;
    EXPECT_EQ(lConst->GetLayer(1, MoxLayerElement::eSmoothing), mContainer->GetLayer(3));
}

TEST_F(LayerContainerTest, GetLayerForTextureChannelsDistinguishesUVsAndTextures)
{
    for (int i = 0; i < 3; ++i) mContainer->CreateLayer();
    mContainer->GetLayer(0)->SetTextures(MoxLayerElement::eTextureChannel2,
                                         MoxLayerElementTexture::Create(mContainer, ""));
    mContainer->GetLayer(1)->SetUVs(MoxLayerElementUV::Create(mContainer, "a"), MoxLayerElement::eTextureChannel2);
    mContainer->GetLayer(2)->SetUVs(MoxLayerElementUV::Create(mContainer, "b"), MoxLayerElement::eTextureChannel0);
    EXPECT_EQ(mContainer->GetLayer(0, MoxLayerElement::eTextureChannel2, true), mContainer->GetLayer(1));
    EXPECT_EQ(mContainer->GetLayer(0, MoxLayerElement::eTextureChannel2, false), mContainer->GetLayer(0));
    EXPECT_EQ(mContainer->GetLayer(0, MoxLayerElement::eTextureChannel0, true), mContainer->GetLayer(2));
    EXPECT_EQ(mContainer->GetLayer(1, MoxLayerElement::eUV), mContainer->GetLayer(2));
    EXPECT_EQ(mContainer->GetLayerCount(MoxLayerElement::eUV), 2);
    EXPECT_EQ(mContainer->GetLayerCount(MoxLayerElement::eTextureChannel2, true), 1);
    EXPECT_EQ(mContainer->GetLayerCount(MoxLayerElement::eTextureChannel2, false), 1);
}

TEST_F(LayerContainerTest, ConvertDirectToIndexToDirect)
{
    EXPECT_FALSE(mContainer->ConvertDirectToIndexToDirect(0));
    mContainer->CreateLayer();
    MoxLayer* lLayer = mContainer->GetLayer(0);
    MoxLayerElementVertexColor* lColours = MoxLayerElementVertexColor::Create(mContainer, "");
    lColours->SetMappingMode(MoxLayerElement::eByPolygonVertex);
    for (int i = 0; i < 4; ++i) lColours->GetDirectArray().Add(MoxColor(i, 0, 0, 1));
    lLayer->SetVertexColors(lColours);
    MoxLayerElementPolygonGroup* lGroups = MoxLayerElementPolygonGroup::Create(mContainer, "");
    lGroups->SetMappingMode(MoxLayerElement::eByPolygon);
    lGroups->SetReferenceMode(MoxLayerElement::eIndex);
    lGroups->GetIndexArray().Add(3);
    lLayer->SetPolygonGroups(lGroups);
    MoxLayerElementMaterial* lMaterials = MoxLayerElementMaterial::Create(mContainer, "");
    lMaterials->SetReferenceMode(MoxLayerElement::eDirect);
    lLayer->SetMaterials(lMaterials);
    EXPECT_TRUE(mContainer->ConvertDirectToIndexToDirect(0));
    EXPECT_EQ(lColours->GetReferenceMode(), MoxLayerElement::eIndexToDirect);
    ASSERT_EQ(lColours->GetIndexArray().GetCount(), 4);
    EXPECT_EQ(lColours->GetIndexArray().GetAt(3), 3);
    EXPECT_EQ(lColours->GetMappingMode(), MoxLayerElement::eByPolygonVertex);
    // An eIndex element is left alone; an empty direct element gets an empty index array.
    EXPECT_EQ(lGroups->GetReferenceMode(), MoxLayerElement::eIndex);
    EXPECT_EQ(lGroups->GetIndexArray().GetAt(0), 3);
    EXPECT_EQ(lMaterials->GetReferenceMode(), MoxLayerElement::eIndexToDirect);
    EXPECT_EQ(lMaterials->GetIndexArray().GetCount(), 0);
    // Removing entries from the index array alone now keeps the values.
    lColours->GetIndexArray().RemoveAt(1);
    EXPECT_EQ(lColours->GetDirectArray().GetAt(lColours->GetIndexArray().GetAt(1)), MoxColor(2, 0, 0, 1));
    EXPECT_FALSE(mContainer->ConvertDirectToIndexToDirect(5));
}

TEST_F(LayerContainerTest, CopyDeepCopiesTheLayers)
{
    mContainer->CreateLayer();
    mContainer->CreateLayer();
    MoxLayerElementHole* lHole = MoxLayerElementHole::Create(mContainer, "");
    lHole->GetDirectArray().Add(true);
    mContainer->GetLayer(1)->SetHole(lHole);
    MoxShape* lCopy = MoxShape::Create(mManager, "copy");
    lCopy->CreateLayer();
    lCopy->GetLayer(0)->SetNormals(MoxLayerElementNormal::Create(lCopy, ""));
    lCopy->Copy(*mContainer);
    ASSERT_EQ(lCopy->GetLayerCount(), 2);
    EXPECT_EQ(lCopy->GetLayer(0)->GetNormals(), nullptr);
    ASSERT_NE(lCopy->GetLayer(1)->GetHole(), nullptr);
    EXPECT_NE(lCopy->GetLayer(1)->GetHole(), lHole);
    EXPECT_TRUE(lCopy->GetLayer(1)->GetHole()->GetDirectArray().GetAt(0));
}

TEST_F(LayerContainerTest, LayerWithoutMemoryIsReportedOnce)
{
    moxtest::ReportCapture lCapture;
    moxtest::AllocationTracker lTracker;
    lTracker.FailAt(1);  // the layer
    EXPECT_EQ(mContainer->CreateLayer(), -1);
    EXPECT_TRUE(lCapture.HasOnly("scene/geometry/moxlayercontainer", "CreateLayer", "lLayer"));
    lCapture.Clear();
    lTracker.FailAt(2);  // the first block of the layer list
    EXPECT_EQ(mContainer->CreateLayer(), -1);
    EXPECT_TRUE(lCapture.HasOnly("core/base/moxpointerlist", "AddRaw", "mData"));
    EXPECT_EQ(mContainer->GetLayerCount(), 0);
    EXPECT_EQ(lTracker.Live(), 0);
}
