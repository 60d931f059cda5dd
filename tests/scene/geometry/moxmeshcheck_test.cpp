#include <gtest/gtest.h>

#include "moxsdk/scene/geometry/moxmesh.h"
#include "support/moxtestmeshes.h"
#include "support/moxtestsupport.h"

namespace {

using moxsdk::MoxLayerElement;
using moxsdk::MoxMesh;
using moxsdk::MoxVector2;
using moxsdk::MoxVector4;

class MeshCheckTest : public testing::Test {
protected:
    moxtest::ManagerScope mScope;
    MoxMesh* mMesh = mScope.NewMesh();
};

TEST_F(MeshCheckTest, EmptyMeshAndBuiltMeshesAreWellFormed)
{
    EXPECT_TRUE(mMesh->HasWellFormedTopology());
    EXPECT_TRUE(mMesh->IsWellFormed());
    moxtest::MakeCube(*mMesh);
    mMesh->BuildMeshEdgeArray();
    ASSERT_TRUE(mMesh->GenerateNormals(true));
    ASSERT_TRUE(mMesh->HasWellFormedTopology());
    EXPECT_TRUE(mMesh->IsWellFormed());
}

TEST_F(MeshCheckTest, RunsMustFollowEachOtherAndCoverThePolygonVertices)
{
    moxtest::MakeTwoTriangles(*mMesh);
    mMesh->mPolygons[1].mIndex = 4;  // a gap between the runs
    EXPECT_FALSE(mMesh->HasWellFormedTopology());
    mMesh->mPolygons[1].mIndex = 3;
    mMesh->mPolygons[1].mSize = 2;  // the runs stop short of the last polygon vertex
    EXPECT_FALSE(mMesh->HasWellFormedTopology());
    mMesh->mPolygons[1].mSize = 4;  // the last run leaves the array
    EXPECT_FALSE(mMesh->HasWellFormedTopology());
    mMesh->mPolygons[1].mSize = -1;
    EXPECT_FALSE(mMesh->HasWellFormedTopology());
    mMesh->mPolygons[1].mSize = 3;
    EXPECT_TRUE(mMesh->HasWellFormedTopology());
}

TEST_F(MeshCheckTest, PolygonVerticesMustNameControlPoints)
{
    moxtest::MakeQuad(*mMesh);
    mMesh->GetPolygonVertices()[2] = 4;
    EXPECT_FALSE(mMesh->HasWellFormedTopology());
    mMesh->GetPolygonVertices()[2] = -1;
    EXPECT_FALSE(mMesh->IsWellFormed());
    mMesh->GetPolygonVertices()[2] = 2;
    EXPECT_TRUE(mMesh->IsWellFormed());
}

TEST_F(MeshCheckTest, EdgesMustNamePolygonVertices)
{
    moxtest::MakeQuad(*mMesh);
    mMesh->BuildMeshEdgeArray();
    mMesh->mEdgeArray[3] = 4;
    EXPECT_TRUE(mMesh->HasWellFormedTopology());
    EXPECT_FALSE(mMesh->IsWellFormed());
    mMesh->mEdgeArray[3] = -1;
    EXPECT_FALSE(mMesh->IsWellFormed());
}

TEST_F(MeshCheckTest, ElementsMustBeSizedAsTheirMappingRequires)
{
    moxtest::MakeQuad(*mMesh);
    ASSERT_TRUE(mMesh->GenerateNormals(true));
    auto& lNormals = mMesh->GetLayer(0)->GetNormals()->GetDirectArray();
    lNormals.Add(MoxVector4(0, 0, 1));  // five normals for four polygon vertices
    EXPECT_FALSE(mMesh->IsWellFormed());
    lNormals.RemoveAt(4);
    EXPECT_TRUE(mMesh->IsWellFormed());

    // A UV set by polygon vertex, index to direct: the indices count the corners and stay in range;
    // -1 marks an unmapped corner.
    mMesh->InitTextureUVIndices(MoxLayerElement::eByPolygonVertex);
    mMesh->AddTextureUV(MoxVector2(0, 0));
    mMesh->AddTextureUV(MoxVector2(1, 0));
    for (int k = 0; k < 4; ++k) mMesh->SetTextureUVIndex(0, k, k % 2);
    EXPECT_TRUE(mMesh->IsWellFormed());
    mMesh->SetTextureUVIndex(0, 3, -1);
    EXPECT_TRUE(mMesh->IsWellFormed());
    mMesh->SetTextureUVIndex(0, 3, 2);
    EXPECT_FALSE(mMesh->IsWellFormed());
    mMesh->SetTextureUVIndex(0, 3, 1);
    mMesh->GetLayer(0)->GetUVs(MoxLayerElement::eTextureChannel0)->GetIndexArray().Add(0);
    EXPECT_FALSE(mMesh->IsWellFormed());
}

TEST_F(MeshCheckTest, ElementsByMeshHoldOneEntryAndUnmappedElementsAnything)
{
    moxtest::MakeQuad(*mMesh);
    mMesh->InitMaterialIndices(MoxLayerElement::eByMesh);  // one index, whatever the materials are
    EXPECT_TRUE(mMesh->IsWellFormed());
    mMesh->GetLayer(0)->GetMaterials()->GetIndexArray().Add(0);
    EXPECT_FALSE(mMesh->IsWellFormed());
    mMesh->GetLayer(0)->GetMaterials()->SetMappingMode(MoxLayerElement::eNone);
    EXPECT_TRUE(mMesh->IsWellFormed());
}

TEST_F(MeshCheckTest, RandomMeshesBuiltWithValidIndicesHaveWellFormedTopology)
{
    std::mt19937 lRandom(11);
    moxtest::RandomMeshOptions lOptions;
    lOptions.mMinPoints = 1;  // without control points no polygon vertex can be valid
    for (int lRun = 0; lRun < 100; ++lRun) {
        moxtest::MakeRandomMesh(*mMesh, lRandom, lOptions);
        EXPECT_TRUE(mMesh->HasWellFormedTopology()) << "run " << lRun;
    }
}

TEST_F(MeshCheckTest, ChecksAreSilent)
{
    moxtest::ReportCapture lCapture;
    moxtest::MakeQuad(*mMesh);
    mMesh->mPolygons[0].mSize = 9;
    mMesh->mEdgeArray.Add(7);
    EXPECT_FALSE(mMesh->IsWellFormed());
    EXPECT_EQ(lCapture.Count(), 0u);
}

}  // namespace
