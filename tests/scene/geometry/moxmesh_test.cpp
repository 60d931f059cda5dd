#include "moxsdk/scene/geometry/moxmesh.h"

#include <gtest/gtest.h>

#include "support/moxtestmeshes.h"
#include "support/moxtestsupport.h"

using namespace moxsdk;

namespace {

TEST(MoxMesh, QuadBuildsOnePolygonOfFourVertices)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeQuad(*lMesh);
    ASSERT_EQ(lMesh->GetPolygonCount(), 1);
    EXPECT_EQ(lMesh->mPolygons[0].mIndex, 0);
    EXPECT_EQ(lMesh->mPolygons[0].mSize, 4);
    EXPECT_EQ(lMesh->mPolygons[0].mGroup, -1);
    EXPECT_EQ(lMesh->GetPolygonVertexCount(), 4);
    EXPECT_EQ(lMesh->GetPolygonVertex(0, 4), -1);
    EXPECT_EQ(lMesh->GetPolygonVertex(0, 3), 3);
    EXPECT_EQ(lMesh->GetControlPointsCount(), 4);
}

}  // namespace
