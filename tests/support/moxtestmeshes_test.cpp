// The named fixture meshes have the topology their comments promise.
#include "support/moxtestmeshes.h"

#include <gtest/gtest.h>

#include <vector>

#include "support/moxtestsupport.h"

using namespace moxsdk;

namespace {

std::vector<int> Sizes(const MoxMesh& pMesh)
{
    std::vector<int> lSizes;
    lSizes.reserve(pMesh.GetPolygonCount());
    for (int p = 0; p < pMesh.GetPolygonCount(); ++p) lSizes.push_back(pMesh.GetPolygonSize(p));
    return lSizes;
}

TEST(MoxTestMeshes, NamedMeshesHaveTheirCounts)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeTwoQuads(*lMesh);
    EXPECT_EQ(Sizes(*lMesh), (std::vector<int>{4, 4}));
    moxtest::MakeCylinder(*lMesh, 5);
    EXPECT_EQ(lMesh->GetControlPointsCount(), 10);
    EXPECT_EQ(Sizes(*lMesh), (std::vector<int>{4, 4, 4, 4, 4, 5, 5}));
    moxtest::MakePyramid(*lMesh);
    EXPECT_EQ(Sizes(*lMesh), (std::vector<int>{4, 3, 3, 3, 3}));
    moxtest::MakeFan(*lMesh, 6, 0.5);
    EXPECT_EQ(lMesh->GetControlPointsCount(), 7);
    EXPECT_EQ(lMesh->GetPolygonCount(), 6);
    moxtest::MakeGrid(*lMesh, 3, 2, false);
    EXPECT_EQ(lMesh->GetControlPointsCount(), 12);
    EXPECT_EQ(lMesh->GetPolygonCount(), 6);
    moxtest::MakeGrid(*lMesh, 3, 2, true);
    EXPECT_EQ(lMesh->GetControlPointsCount(), 6);
    moxtest::MakeNGon(*lMesh, 7);
    EXPECT_EQ(Sizes(*lMesh), (std::vector<int>{7}));
    moxtest::MakeDegeneratePolygons(*lMesh);
    EXPECT_EQ(Sizes(*lMesh), (std::vector<int>{4, 3, 3, 2}));
    moxtest::MakeInvalidMesh(*lMesh);
    EXPECT_EQ(Sizes(*lMesh), (std::vector<int>{4, 3, 2, 0, 3, 4, 3}));
}

TEST(MoxTestMeshes, FoldTurnsTheSecondQuadUp)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeFold(*lMesh, 90.0);
    moxtest::ExpectVector(lMesh->GetControlPointAt(4), 1.0, 0.0, 1.0, 1.0, 1e-15);
}

TEST(MoxTestMeshes, NonManifoldEdgeJoinsThreeTriangles)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeNonManifoldEdge(*lMesh);
    lMesh->BuildMeshEdgeArray();
    EXPECT_EQ(lMesh->GetMeshEdgeCount(), 7);
    int lSidesOnEdge = 0;
    for (int p = 0; p < 3; ++p)
        for (int k = 0; k < 3; ++k) {
            const int a = lMesh->GetPolygonVertex(p, k);
            const int b = lMesh->GetPolygonVertex(p, (k + 1) % 3);
            if ((a == 0 && b == 1) || (a == 1 && b == 0)) ++lSidesOnEdge;
        }
    EXPECT_EQ(lSidesOnEdge, 3);
}

TEST(MoxTestMeshes, UVSeamGivesTheSharedPointsTwoUVs)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeUVSeam(*lMesh);
    const MoxLayerElementUV* lUVs = lMesh->GetLayer(0)->GetUVs();
    ASSERT_NE(lUVs, nullptr);
    EXPECT_STREQ(lUVs->GetName(), "seam");
    ASSERT_EQ(lUVs->mDirectArray->GetCount(), 8);
    ASSERT_EQ(lUVs->mIndexArray->GetCount(), 8);
    // Point 1 is the left quad's corner 1 and the right quad's corner 0.
    EXPECT_EQ(lUVs->mDirectArray->GetAt(1), MoxVector2(1, 0));
    EXPECT_EQ(lUVs->mDirectArray->GetAt(4), MoxVector2(0, 0));
}

}  // namespace
