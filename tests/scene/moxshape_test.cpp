#include "moxsdk/scene/moxshape.h"

#include <gtest/gtest.h>

#include "moxsdk/scene/moxmanager.h"

using namespace moxsdk;

TEST(MoxShape, IsAGeometryBaseWithoutPolygons)
{
    MoxManager* lManager = MoxManager::Create();
    MoxShape* lShape = MoxShape::Create(lManager, "shape");
    EXPECT_EQ(lShape->GetAttributeType(), MoxNodeAttribute::eShape);
    EXPECT_TRUE(lShape->Is(MoxGeometryBase::ClassId));
    EXPECT_EQ(lShape->GetControlPointsCount(), 0);
    EXPECT_EQ(lShape->GetLayerCount(), 0);
    lShape->InitControlPoints(4);
    lShape->InitNormals(0, 1);
    EXPECT_EQ(lShape->GetLayer(0)->GetNormals()->GetDirectArray().GetCount(), 4);
    EXPECT_EQ(MoxNodeAttribute::eMesh, 4);
    lManager->Destroy();
}
