#include "moxsdk/scene/geometry/moxgeometrybase.h"

#include <gtest/gtest.h>

#include "moxsdk/scene/moxmanager.h"
#include "moxsdk/scene/moxnode.h"
#include "moxsdk/scene/moxshape.h"
#include "scene/geometry/detail/moxunwrittenvalues.h"
#include "support/moxtestsupport.h"

using namespace moxsdk;

namespace {

class GeometryBaseTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        mManager = MoxManager::Create();
        mGeometry = MoxShape::Create(mManager, "geometry");
    }
    void TearDown() override { mManager->Destroy(); }

    // Adds a layer with a UV set named pName on channel pChannel to layer pLayer (creating layers).
    MoxLayerElementUV* AddUVSet(int pLayer, MoxLayerElement::EType pChannel, const char* pName)
    {
        while (mGeometry->GetLayerCount() <= pLayer) mGeometry->CreateLayer();
        MoxLayerElementUV* lUVs = MoxLayerElementUV::Create(mGeometry, pName);
        mGeometry->GetLayer(pLayer)->SetUVs(lUVs, pChannel);
        return lUVs;
    }

    MoxManager* mManager = nullptr;
    MoxGeometryBase* mGeometry = nullptr;
};

}  // namespace

TEST_F(GeometryBaseTest, ControlPoints)
{
    EXPECT_EQ(mGeometry->GetControlPointsCount(), 0);
    EXPECT_EQ(mGeometry->GetControlPoints(), nullptr);
    mGeometry->InitControlPoints(3);
    EXPECT_EQ(mGeometry->GetControlPointsCount(), 3);
    EXPECT_EQ(mGeometry->GetControlPointAt(2), MoxVector4(0, 0, 0, 0));
    mGeometry->SetControlPointAt(MoxVector4(1, 2, 3, 1), 1);
    EXPECT_EQ(mGeometry->GetControlPoints()[1], MoxVector4(1, 2, 3, 1));
    EXPECT_EQ(mGeometry->GetControlPointAt(3), MoxVector4());
    EXPECT_EQ(mGeometry->GetControlPointAt(-1), MoxVector4());
    mGeometry->SetControlPointAt(MoxVector4(5, 5, 5, 1), 6);  // grows
    EXPECT_EQ(mGeometry->GetControlPointsCount(), 7);
    EXPECT_EQ(mGeometry->GetControlPointAt(5), MoxVector4());
    EXPECT_EQ(mGeometry->GetControlPointAt(6), MoxVector4(5, 5, 5, 1));
    mGeometry->SetControlPointAt(MoxVector4(5, 5, 5, 1), -1);
    EXPECT_EQ(mGeometry->GetControlPointsCount(), 7);
    mGeometry->SetControlPointCount(2);
    EXPECT_EQ(mGeometry->GetControlPointsCount(), 2);
    EXPECT_EQ(mGeometry->GetControlPointAt(1), MoxVector4(1, 2, 3, 1));
    mGeometry->SetControlPointCount(4);  // points shrunk away never come back
    EXPECT_EQ(mGeometry->GetControlPointAt(3), MoxVector4());
    mGeometry->SetControlPointCount(-1);
    EXPECT_EQ(mGeometry->GetControlPointsCount(), 4);
    mGeometry->InitControlPoints(-2);
    EXPECT_EQ(mGeometry->GetControlPointsCount(), 0);
}

TEST_F(GeometryBaseTest, SetControlPointAtPastTheEndIsLinearAndZeroFilled)
{
    for (int i = 0; i < 10000; ++i) mGeometry->SetControlPointAt(MoxVector4(i, 0, 0, 1), i);
    EXPECT_EQ(mGeometry->GetControlPointsCount(), 10000);
    EXPECT_EQ(mGeometry->GetControlPointAt(9999), MoxVector4(9999, 0, 0, 1));
}

TEST_F(GeometryBaseTest, InitNormalsPerControlPoint)
{
    mGeometry->InitControlPoints(5);
    mGeometry->InitNormals(0, 1);
    ASSERT_EQ(mGeometry->GetLayerCount(), 1);
    MoxLayerElementNormal* lNormals = mGeometry->GetLayer(0)->GetNormals();
    ASSERT_NE(lNormals, nullptr);
    EXPECT_EQ(lNormals->GetMappingMode(), MoxLayerElement::eByControlPoint);
    EXPECT_EQ(lNormals->GetReferenceMode(), MoxLayerElement::eDirect);
    EXPECT_EQ(lNormals->GetDirectArray().GetCount(), 5);
    MoxLayerElementArrayTemplate<MoxVector4>* lDirect = nullptr;
    EXPECT_TRUE(mGeometry->GetNormals(&lDirect));
    EXPECT_EQ(lDirect, lNormals->mDirectArray);
    MoxLayerElementArrayTemplate<int>* lIndices = reinterpret_cast<MoxLayerElementArrayTemplate<int>*>(1);
    EXPECT_FALSE(mGeometry->GetNormalsIndices(&lIndices));
    EXPECT_EQ(lIndices, nullptr);
}

TEST_F(GeometryBaseTest, InitNormalsPerPolygonVertexReusesAnEmptiedElement)
{
    mGeometry->InitControlPoints(4);
    mGeometry->InitNormals();
    MoxLayerElementNormal* lNormals = mGeometry->GetLayer(0)->GetNormals();
    lNormals->GetDirectArray().SetAt(0, MoxVector4(1, 1, 1, 1));
    static_cast<MoxLayerElement*>(lNormals)->Clear();
    mGeometry->InitNormals(24, 1);
    EXPECT_EQ(mGeometry->GetLayer(0)->GetNormals(), lNormals);
    EXPECT_EQ(lNormals->GetMappingMode(), MoxLayerElement::eByPolygonVertex);
    EXPECT_EQ(lNormals->GetReferenceMode(), MoxLayerElement::eDirect);
    EXPECT_EQ(lNormals->GetDirectArray().GetCount(), 24);
    EXPECT_EQ(lNormals->GetDirectArray().GetAt(0), MoxVector4());
}

TEST_F(GeometryBaseTest, InitNormalsClearModeZeroKeepsValues)
{
    mGeometry->InitNormals(3, 1);
    MoxLayerElementArrayTemplate<MoxVector4>* lDirect = nullptr;
    ASSERT_TRUE(mGeometry->GetNormals(&lDirect));
    lDirect->SetAt(1, MoxVector4(0, 1, 0, 0));
    mGeometry->InitNormals(5, 0);
    EXPECT_EQ(lDirect->GetCount(), 5);
    EXPECT_EQ(lDirect->GetAt(1), MoxVector4(0, 1, 0, 0));
    mGeometry->InitNormals(5, 1);
    EXPECT_EQ(lDirect->GetAt(1), MoxVector4());
}

TEST_F(GeometryBaseTest, GetNormalsFailsWithoutElementOrInIndexMode)
{
    MoxLayerElementArrayTemplate<MoxVector4>* lDirect = nullptr;
    EXPECT_FALSE(mGeometry->GetNormals(&lDirect));
    EXPECT_FALSE(mGeometry->GetNormals(nullptr));
    mGeometry->InitNormals(2);
    mGeometry->GetLayer(0)->GetNormals()->SetReferenceMode(MoxLayerElement::eIndex);
    EXPECT_FALSE(mGeometry->GetNormals(&lDirect));
    EXPECT_EQ(lDirect, nullptr);
    MoxLayerElementArrayTemplate<int>* lIndices = nullptr;
    EXPECT_TRUE(mGeometry->GetNormalsIndices(&lIndices));
    EXPECT_EQ(lIndices, mGeometry->GetLayer(0)->GetNormals()->mIndexArray);
    mGeometry->GetLayer(0)->GetNormals()->SetReferenceMode(MoxLayerElement::eIndexToDirect);
    EXPECT_TRUE(mGeometry->GetNormals(&lDirect));
    EXPECT_TRUE(mGeometry->GetNormalsIndices(&lIndices));
}

TEST_F(GeometryBaseTest, GetNormalsLooksAtLayerZeroOnly)
{
    mGeometry->CreateLayer();
    mGeometry->CreateLayer();
    mGeometry->GetLayer(1)->SetNormals(MoxLayerElementNormal::Create(mGeometry, ""));
    MoxLayerElementArrayTemplate<MoxVector4>* lDirect = nullptr;
    EXPECT_FALSE(mGeometry->GetNormals(&lDirect));
    EXPECT_EQ(mGeometry->GetElementNormal(0), mGeometry->GetLayer(1)->GetNormals());
}

TEST_F(GeometryBaseTest, InitTangentsAndBinormalsOnTheGivenLayer)
{
    mGeometry->InitTangents(6, 2, "map1");
    mGeometry->InitBinormals(6, 2, "map1");
    ASSERT_EQ(mGeometry->GetLayerCount(), 3);
    MoxLayerElementTangent* lTangents = mGeometry->GetLayer(2)->GetTangents();
    MoxLayerElementBinormal* lBinormals = mGeometry->GetLayer(2)->GetBinormals();
    ASSERT_NE(lTangents, nullptr);
    ASSERT_NE(lBinormals, nullptr);
    EXPECT_STREQ(lTangents->GetName(), "map1");
    EXPECT_STREQ(lBinormals->GetName(), "map1");
    EXPECT_EQ(lTangents->GetMappingMode(), MoxLayerElement::eByPolygonVertex);
    EXPECT_EQ(lTangents->GetReferenceMode(), MoxLayerElement::eDirect);
    EXPECT_EQ(lTangents->GetDirectArray().GetCount(), 6);
    EXPECT_EQ(lBinormals->GetDirectArray().GetCount(), 6);
    MoxLayerElementArrayTemplate<MoxVector4>* lArray = nullptr;
    EXPECT_TRUE(mGeometry->GetTangents(&lArray, 2));
    EXPECT_EQ(lArray, lTangents->mDirectArray);
    EXPECT_TRUE(mGeometry->GetBinormals(&lArray, 2));
    EXPECT_EQ(lArray, lBinormals->mDirectArray);
    EXPECT_FALSE(mGeometry->GetTangents(&lArray, 0));
    EXPECT_EQ(lArray, nullptr);
    EXPECT_FALSE(mGeometry->GetBinormals(&lArray, 7));
    MoxLayerElementArrayTemplate<int>* lIndices = nullptr;
    EXPECT_FALSE(mGeometry->GetTangentsIndices(&lIndices, 2));
    EXPECT_FALSE(mGeometry->GetBinormalsIndices(&lIndices, 2));
    // A second call reuses the element, renames it and sizes it anew.
    lTangents->GetDirectArray().SetAt(0, MoxVector4(1, 0, 0, 1));
    mGeometry->InitTangents(3, 2, "map2");
    EXPECT_EQ(mGeometry->GetLayer(2)->GetTangents(), lTangents);
    EXPECT_STREQ(lTangents->GetName(), "map2");
    EXPECT_EQ(lTangents->GetDirectArray().GetCount(), 3);
    EXPECT_EQ(lTangents->GetDirectArray().GetAt(0), MoxVector4());
    // A count of 0 (or less) asks for no value, also with control points (only normals count those).
    mGeometry->InitControlPoints(5);
    mGeometry->InitTangents(0, 2, "map3");
    EXPECT_EQ(lTangents->GetMappingMode(), MoxLayerElement::eByPolygonVertex);
    EXPECT_EQ(lTangents->GetDirectArray().GetCount(), 0);
    mGeometry->InitBinormals(-4, 2, "map3");
    EXPECT_EQ(lBinormals->GetMappingMode(), MoxLayerElement::eByPolygonVertex);
    EXPECT_EQ(lBinormals->GetDirectArray().GetCount(), 0);
    mGeometry->InitTangents(3, -1, "none");
    EXPECT_EQ(mGeometry->GetLayerCount(), 3);
    EXPECT_EQ(mGeometry->GetElementTangentCount(), 1);
    EXPECT_EQ(mGeometry->GetElementBinormal(0), lBinormals);
}

// The library's own Init for values it is about to write: the modes, names, layers and counts of the public
// Init operations, no index array, and the storage of the element already there reused when it holds
// enough.
TEST_F(GeometryBaseTest, UnwrittenInitShapesTheElementsAsInitDoes)
{
    mGeometry->InitControlPoints(5);
    detail::MoxUnwrittenValues::InitNormals(*mGeometry, 0);
    MoxLayerElementNormal* lNormals = mGeometry->GetLayer(0)->GetNormals();
    ASSERT_NE(lNormals, nullptr);
    EXPECT_EQ(lNormals->GetMappingMode(), MoxLayerElement::eByControlPoint);
    EXPECT_EQ(lNormals->GetReferenceMode(), MoxLayerElement::eDirect);
    EXPECT_EQ(lNormals->mDirectArray->GetCount(), 5);
    lNormals->SetReferenceMode(MoxLayerElement::eIndexToDirect);
    lNormals->mIndexArray->Add(3);
    detail::MoxUnwrittenValues::InitNormals(*mGeometry, 24);
    EXPECT_EQ(mGeometry->GetLayer(0)->GetNormals(), lNormals);
    EXPECT_EQ(lNormals->GetMappingMode(), MoxLayerElement::eByPolygonVertex);
    EXPECT_EQ(lNormals->GetReferenceMode(), MoxLayerElement::eDirect);
    EXPECT_EQ(lNormals->mIndexArray->GetCount(), 0);
    EXPECT_EQ(lNormals->mDirectArray->GetCount(), 24);
    const void* lStorage = lNormals->mDirectArray->GetLocked(MoxLayerElementArray::eReadLock);
    detail::MoxUnwrittenValues::InitNormals(*mGeometry, 10);
    EXPECT_EQ(lNormals->mDirectArray->GetCount(), 10);
    EXPECT_EQ(lNormals->mDirectArray->GetLocked(MoxLayerElementArray::eReadLock), lStorage);

    detail::MoxUnwrittenValues::InitTangents(*mGeometry, 6, 2, "map1");
    detail::MoxUnwrittenValues::InitBinormals(*mGeometry, 6, 2, "map1");
    ASSERT_EQ(mGeometry->GetLayerCount(), 3);
    for (MoxLayerElementTemplate<MoxVector4>* lElement :
         {static_cast<MoxLayerElementTemplate<MoxVector4>*>(mGeometry->GetLayer(2)->GetTangents()),
          static_cast<MoxLayerElementTemplate<MoxVector4>*>(mGeometry->GetLayer(2)->GetBinormals())}) {
        ASSERT_NE(lElement, nullptr);
        EXPECT_STREQ(lElement->GetName(), "map1");
        EXPECT_EQ(lElement->GetMappingMode(), MoxLayerElement::eByPolygonVertex);
        EXPECT_EQ(lElement->GetReferenceMode(), MoxLayerElement::eDirect);
        EXPECT_EQ(lElement->mDirectArray->GetCount(), 6);
    }
    detail::MoxUnwrittenValues::InitTangents(*mGeometry, 0, 2, "map2");
    EXPECT_STREQ(mGeometry->GetLayer(2)->GetTangents()->GetName(), "map2");
    EXPECT_EQ(mGeometry->GetLayer(2)->GetTangents()->mDirectArray->GetCount(), 0);
    detail::MoxUnwrittenValues::InitBinormals(*mGeometry, 3, -1, "none");
    EXPECT_EQ(mGeometry->GetLayerCount(), 3);
}

// When memory for the values runs out, the library's own Init leaves the element empty (no old value
// survives), with the report of the array.
TEST_F(GeometryBaseTest, UnwrittenInitWithoutMemoryLeavesNoValue)
{
    mGeometry->InitNormals(3, 1);
    moxtest::ReportCapture lCapture;
    {
        moxtest::AllocationTracker lTracker;
        lTracker.FailAll(true);
        detail::MoxUnwrittenValues::InitNormals(*mGeometry, 1000);
    }
    EXPECT_EQ(mGeometry->GetLayer(0)->GetNormals()->mDirectArray->GetCount(), 0);
    ASSERT_EQ(lCapture.Count(), 1u);
    EXPECT_EQ(lCapture.Reports()[0].mFile, "scene/geometry/moxlayer");
    EXPECT_EQ(lCapture.Reports()[0].mMessage, "mData");
}

// Whatever the library's own Init left in the storage, the public Init operations give zero values:
// clear mode 1 all of them, clear mode 0 the new ones (the ones in range are kept).
TEST_F(GeometryBaseTest, PublicInitGivesZerosOverStorageLeftUnwritten)
{
    const MoxVector4 lStale(7, 7, 7, 7);
    auto lFill = [&lStale](MoxLayerElementArrayTemplate<MoxVector4>& pArray) {
        MoxVector4* lValues = pArray.GetLocked();
        for (int i = 0; i < pArray.GetCount(); ++i) lValues[i] = lStale;
        pArray.Release(&lValues);
    };
    detail::MoxUnwrittenValues::InitNormals(*mGeometry, 12);
    MoxLayerElementArrayTemplate<MoxVector4>& lNormals = *mGeometry->GetLayer(0)->GetNormals()->mDirectArray;
    lFill(lNormals);
    detail::MoxUnwrittenValues::InitNormals(*mGeometry, 4);
    mGeometry->InitNormals(8, 0);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(lNormals.GetAt(i), lStale) << i;
    for (int i = 4; i < 8; ++i) EXPECT_EQ(lNormals.GetAt(i), MoxVector4()) << i;
    mGeometry->InitNormals(12, 1);
    for (int i = 0; i < 12; ++i) EXPECT_EQ(lNormals.GetAt(i), MoxVector4()) << i;

    detail::MoxUnwrittenValues::InitTangents(*mGeometry, 12, 0, "map");
    detail::MoxUnwrittenValues::InitBinormals(*mGeometry, 12, 0, "map");
    MoxLayerElementArrayTemplate<MoxVector4>& lTangents = *mGeometry->GetLayer(0)->GetTangents()->mDirectArray;
    MoxLayerElementArrayTemplate<MoxVector4>& lBinormals = *mGeometry->GetLayer(0)->GetBinormals()->mDirectArray;
    lFill(lTangents);
    lFill(lBinormals);
    detail::MoxUnwrittenValues::InitTangents(*mGeometry, 2, 0, "map");
    detail::MoxUnwrittenValues::InitBinormals(*mGeometry, 2, 0, "map");
    mGeometry->InitTangents(12, 0, "map");
    mGeometry->InitBinormals(12, 0, "map");
    for (int i = 0; i < 12; ++i) {
        EXPECT_EQ(lTangents.GetAt(i), MoxVector4()) << i;
        EXPECT_EQ(lBinormals.GetAt(i), MoxVector4()) << i;
    }
}

TEST_F(GeometryBaseTest, SetControlPointAtWithNormal)
{
    mGeometry->InitControlPoints(2);
    mGeometry->SetControlPointAt(MoxVector4(1, 0, 0, 1), MoxVector4(0, 0, 1, 0), 3);
    EXPECT_EQ(mGeometry->GetControlPointsCount(), 4);
    MoxLayerElementNormal* lNormals = mGeometry->GetLayer(0)->GetNormals();
    ASSERT_NE(lNormals, nullptr);
    EXPECT_EQ(lNormals->GetMappingMode(), MoxLayerElement::eByControlPoint);
    EXPECT_EQ(lNormals->GetReferenceMode(), MoxLayerElement::eDirect);
    EXPECT_EQ(lNormals->GetDirectArray().GetCount(), 4);
    EXPECT_EQ(lNormals->GetDirectArray().GetAt(3), MoxVector4(0, 0, 1, 0));
    // The mapping mode is the caller's: a per-polygon-vertex element is written the same way.
    lNormals->SetMappingMode(MoxLayerElement::eByPolygonVertex);
    mGeometry->SetControlPointNormalAt(MoxVector4(0, 1, 0, 0), 1);
    EXPECT_EQ(lNormals->GetDirectArray().GetAt(1), MoxVector4(0, 1, 0, 0));
    EXPECT_EQ(lNormals->GetMappingMode(), MoxLayerElement::eByPolygonVertex);
}

TEST_F(GeometryBaseTest, SetControlPointNormalAtIndexToDirect)
{
    mGeometry->InitNormals();
    MoxLayerElementNormal* lNormals = mGeometry->GetLayer(0)->GetNormals();
    lNormals->SetReferenceMode(MoxLayerElement::eIndexToDirect);
    const MoxVector4 lUp(0, 0, 1, 0);
    mGeometry->SetControlPointNormalAt(lUp, 2, false);
    ASSERT_EQ(lNormals->GetIndexArray().GetCount(), 3);
    EXPECT_EQ(lNormals->GetIndexArray().GetAt(2), 2);
    EXPECT_EQ(lNormals->GetDirectArray().GetAt(2), lUp);
    // With the search an equal value is shared, a new one appended.
    mGeometry->SetControlPointNormalAt(lUp, 4, true);
    EXPECT_EQ(lNormals->GetIndexArray().GetAt(4), 2);
    EXPECT_EQ(lNormals->GetDirectArray().GetCount(), 3);
    mGeometry->SetControlPointNormalAt(MoxVector4(1, 0, 0, 0), 0, true);
    EXPECT_EQ(lNormals->GetIndexArray().GetAt(0), 3);
    EXPECT_EQ(lNormals->GetDirectArray().GetAt(3), MoxVector4(1, 0, 0, 0));
    // eIndex elements and negative indices are left alone.
    lNormals->SetReferenceMode(MoxLayerElement::eIndex);
    mGeometry->SetControlPointNormalAt(lUp, 9);
    mGeometry->SetControlPointNormalAt(lUp, -1);
    EXPECT_EQ(lNormals->GetIndexArray().GetCount(), 5);
}

TEST_F(GeometryBaseTest, ElementCountsAndLookups)
{
    for (int i = 0; i < 4; ++i) mGeometry->CreateLayer();
    mGeometry->GetLayer(1)->SetNormals(MoxLayerElementNormal::Create(mGeometry, "n1"));
    mGeometry->GetLayer(3)->SetNormals(MoxLayerElementNormal::Create(mGeometry, "n3"));
    mGeometry->GetLayer(2)->SetSmoothing(MoxLayerElementSmoothing::Create(mGeometry, "s"));
    mGeometry->GetLayer(0)->SetVertexColors(MoxLayerElementVertexColor::Create(mGeometry, "c"));
    mGeometry->GetLayer(2)->SetMaterials(MoxLayerElementMaterial::Create(mGeometry, "m"));
    EXPECT_EQ(mGeometry->GetElementNormalCount(), 2);
    EXPECT_STREQ(mGeometry->GetElementNormal()->GetName(), "n1");
    EXPECT_STREQ(mGeometry->GetElementNormal(1)->GetName(), "n3");
    EXPECT_EQ(mGeometry->GetElementNormal(2), nullptr);
    EXPECT_EQ(mGeometry->GetElementNormal(-1), nullptr);
    EXPECT_EQ(mGeometry->GetElementSmoothingCount(), 1);
    EXPECT_STREQ(mGeometry->GetElementSmoothing(0)->GetName(), "s");
    EXPECT_EQ(mGeometry->GetElementSmoothing(1), nullptr);
    EXPECT_EQ(mGeometry->GetElementVertexColorCount(), 1);
    EXPECT_EQ(mGeometry->GetElementMaterialCount(), 1);
    EXPECT_STREQ(mGeometry->GetElementMaterial()->GetName(), "m");
    const MoxGeometryBase* lConst = mGeometry;
    EXPECT_STREQ(lConst->GetElementNormal(1)->GetName(), "n3");
    EXPECT_STREQ(lConst->GetElementVertexColor(0)->GetName(), "c");
}

TEST_F(GeometryBaseTest, GetElementUVByNameScansLayersThenChannels)
{
    EXPECT_EQ(mGeometry->GetElementUV(), nullptr);
    EXPECT_EQ(mGeometry->GetElementUVCount(), 0);
    MoxLayerElementUV* lLayer0High = AddUVSet(0, MoxLayerElement::eTextureChannel16, "shared");
    MoxLayerElementUV* lLayer0Low = AddUVSet(0, MoxLayerElement::eTextureChannel3, "low");
    MoxLayerElementUV* lLayer1 = AddUVSet(1, MoxLayerElement::eTextureChannel0, "shared");
    MoxLayerElementUV* lLayer2 = AddUVSet(2, MoxLayerElement::eTextureChannel0, "other");
    EXPECT_EQ(mGeometry->GetElementUV(), lLayer0Low);
    EXPECT_EQ(mGeometry->GetElementUV(nullptr), lLayer0Low);
    EXPECT_EQ(mGeometry->GetElementUV("shared"), lLayer0High);
    EXPECT_EQ(mGeometry->GetElementUV("other"), lLayer2);
    EXPECT_EQ(mGeometry->GetElementUV("missing"), nullptr);
    EXPECT_EQ(mGeometry->GetElementUV(""), nullptr);
    EXPECT_EQ(mGeometry->GetElementUVCount(), 4);
    EXPECT_EQ(mGeometry->GetElementUVCount(MoxLayerElement::eTextureChannel0), 2);
    EXPECT_EQ(mGeometry->GetElementUVCount(MoxLayerElement::eTextureChannel3), 1);
    const MoxGeometryBase* lConst = mGeometry;
    EXPECT_EQ(lConst->GetElementUV("shared"), lLayer0High);
    (void)lLayer1;
}

TEST_F(GeometryBaseTest, CopyDeepCopiesControlPointsAndLayers)
{
    mGeometry->InitControlPoints(3);
    mGeometry->SetControlPointAt(MoxVector4(1, 2, 3, 1), 2);
    mGeometry->InitNormals();
    mGeometry->GetLayer(0)->GetNormals()->GetDirectArray().SetAt(2, MoxVector4(0, 0, 1, 0));
    AddUVSet(1, MoxLayerElement::eTextureChannel1, "uv");
    MoxShape* lCopy = MoxShape::Create(mManager, "copy");
    lCopy->InitControlPoints(9);
    lCopy->Copy(*mGeometry);
    ASSERT_EQ(lCopy->GetControlPointsCount(), 3);
    EXPECT_NE(lCopy->GetControlPoints(), mGeometry->GetControlPoints());
    EXPECT_EQ(lCopy->GetControlPointAt(2), MoxVector4(1, 2, 3, 1));
    ASSERT_EQ(lCopy->GetLayerCount(), 2);
    ASSERT_NE(lCopy->GetLayer(0)->GetNormals(), nullptr);
    EXPECT_NE(lCopy->GetLayer(0)->GetNormals(), mGeometry->GetLayer(0)->GetNormals());
    EXPECT_EQ(lCopy->GetLayer(0)->GetNormals()->GetDirectArray().GetAt(2), MoxVector4(0, 0, 1, 0));
    EXPECT_EQ(lCopy->GetLayer(0)->GetNormals()->GetMappingMode(), MoxLayerElement::eByControlPoint);
    ASSERT_NE(lCopy->GetElementUV("uv"), nullptr);
    mGeometry->SetControlPointAt(MoxVector4(), 2);
    EXPECT_EQ(lCopy->GetControlPointAt(2), MoxVector4(1, 2, 3, 1));
    // Not copyable: unchanged.
    MoxNode* lNode = MoxNode::Create(mManager, "node");
    lCopy->Copy(*lNode);
    EXPECT_EQ(lCopy->GetControlPointsCount(), 3);
}

TEST_F(GeometryBaseTest, CompactAndContentClear)
{
    for (int i = 0; i < 5; ++i) mGeometry->SetControlPointAt(MoxVector4(i, 0, 0, 1), i);
    mGeometry->InitNormals();
    mGeometry->Compact();
    EXPECT_EQ(mGeometry->GetControlPointsCount(), 5);
    EXPECT_EQ(mGeometry->GetControlPointAt(4), MoxVector4(4, 0, 0, 1));
    EXPECT_GT(mGeometry->MemoryUsage(), 5 * sizeof(MoxVector4));
    mGeometry->ContentClear();
    EXPECT_EQ(mGeometry->GetControlPointsCount(), 0);
    EXPECT_EQ(mGeometry->GetLayerCount(), 1);
}
