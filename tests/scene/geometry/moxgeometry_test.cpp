#include "moxsdk/scene/geometry/moxgeometry.h"

#include <gtest/gtest.h>

#include "moxsdk/scene/moxblendshape.h"
#include "moxsdk/scene/moxmanager.h"
#include "moxsdk/scene/moxskin.h"

using namespace moxsdk;

namespace {

// The smallest concrete geometry: MoxGeometry itself has no factory, so tests make one directly.
class TestGeometry : public MoxGeometry {
public:
    static const MoxClassId ClassId;
    static MoxObject* Allocate(MoxManager& pManager, const char* pName, const MoxObject* pFrom)
    {
        return AllocateObject<TestGeometry>(pManager, pName, pFrom);
    }
    TestGeometry(MoxManager& pManager, const char* pName) : MoxGeometry(pManager, pName) {}
    MoxClassId GetClassId() const override { return ClassId; }
};

const MoxClassInfo sgTestGeometryInfo{"TestGeometry", &MoxGeometry::ClassId, &TestGeometry::Allocate};
const MoxClassId TestGeometry::ClassId(&sgTestGeometryInfo);

class GeometryTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        mManager = MoxManager::Create();
        mGeometry = static_cast<MoxGeometry*>(mManager->CreateNewObjectFromClassId(TestGeometry::ClassId, "g"));
    }
    void TearDown() override { mManager->Destroy(); }

    MoxManager* mManager = nullptr;
    MoxGeometry* mGeometry = nullptr;
};

}  // namespace

TEST_F(GeometryTest, AddDeformerRefusesNullAndDuplicates)
{
    ASSERT_NE(mGeometry, nullptr);
    MoxSkin* lSkin = MoxSkin::Create(mManager, "skin");
    EXPECT_EQ(mGeometry->AddDeformer(lSkin), 0);
    EXPECT_EQ(mGeometry->AddDeformer(lSkin), -1);
    EXPECT_EQ(mGeometry->AddDeformer(nullptr), -1);
    EXPECT_EQ(mGeometry->GetDeformerCount(), 1);
    EXPECT_EQ(mGeometry->GetDeformer(0), lSkin);
    EXPECT_EQ(mGeometry->GetDeformer(1), nullptr);
}

TEST_F(GeometryTest, DeformersByType)
{
    MoxSkin* lSkin0 = MoxSkin::Create(mManager, "skin0");
    MoxBlendShape* lBlend0 = MoxBlendShape::Create(mManager, "blend0");
    MoxSkin* lSkin1 = MoxSkin::Create(mManager, "skin1");
    mGeometry->AddDeformer(lSkin0);
    mGeometry->AddDeformer(lBlend0);
    mGeometry->AddDeformer(lSkin1);
    EXPECT_EQ(mGeometry->GetDeformerCount(), 3);
    EXPECT_EQ(mGeometry->GetDeformerCount(MoxDeformer::eSkin), 2);
    EXPECT_EQ(mGeometry->GetDeformerCount(MoxDeformer::eBlendShape), 1);
    EXPECT_EQ(mGeometry->GetDeformerCount(MoxDeformer::eVertexCache), 0);
    EXPECT_EQ(mGeometry->GetDeformer(0, MoxDeformer::eSkin), lSkin0);
    EXPECT_EQ(mGeometry->GetDeformer(1, MoxDeformer::eSkin), lSkin1);
    EXPECT_EQ(mGeometry->GetDeformer(2, MoxDeformer::eSkin), nullptr);
    EXPECT_EQ(mGeometry->GetDeformer(-1, MoxDeformer::eSkin), nullptr);
    EXPECT_EQ(mGeometry->GetDeformer(0, MoxDeformer::eBlendShape), lBlend0);
    EXPECT_EQ(lSkin0->GetDeformerType(), MoxDeformer::eSkin);
    EXPECT_EQ(lBlend0->GetDeformerType(), 2);
}

TEST_F(GeometryTest, RemovingOrDestroyingADeformer)
{
    MoxSkin* lSkin = MoxSkin::Create(mManager, "skin");
    MoxBlendShape* lBlend = MoxBlendShape::Create(mManager, "blend");
    mGeometry->AddDeformer(lSkin);
    mGeometry->AddDeformer(lBlend);
    EXPECT_EQ(mGeometry->RemoveDeformer(0), lSkin);
    EXPECT_EQ(mGeometry->RemoveDeformer(5), nullptr);
    EXPECT_EQ(mGeometry->GetDeformer(0), lBlend);
    lBlend->Destroy();
    EXPECT_EQ(mGeometry->GetDeformerCount(), 0);
    // A removed deformer is no longer connected: destroying it later touches nothing.
    lSkin->Destroy();
    EXPECT_EQ(mManager->GetObjectCount(), 1);
}

TEST_F(GeometryTest, DestroyingTheGeometryKeepsItsDeformers)
{
    MoxSkin* lSkin = MoxSkin::Create(mManager, "skin");
    mGeometry->AddDeformer(lSkin);
    mGeometry->Destroy();
    mGeometry = nullptr;
    EXPECT_EQ(mManager->GetObjectCount(), 1);
    lSkin->Destroy();
    EXPECT_EQ(mManager->GetObjectCount(), 0);
}
