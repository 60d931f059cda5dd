#include "io/meshbuilder.h"

#include <gtest/gtest.h>

#include "moxsdk/scene/moxsurfacematerial.h"

using namespace moxmeshtool;
using moxsdk::MoxLayerElement;
using moxsdk::MoxVector2;
using moxsdk::MoxVector4;

namespace {

// A quad and a triangle sharing side 1-2, with two materials, normals, two UV sets and tangents.
MeshData QuadAndTriangle()
{
    MeshData lData;
    lData.mPositions = {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0, 2, 0, 0};
    lData.mPolygonSizes = {4, 3};
    lData.mPolygonVertices = {0, 1, 2, 3, 1, 4, 2};
    lData.mMaterialNames = {"wood", "metal"};
    lData.mPolygonMaterials = {1, -1};
    lData.mNormals = AttributeChannel{"", 3, {0, 0, 1, 0, 0, -1}, {0, 0, 0, 0, 1, 1, 1}};
    lData.mUVSets.push_back(AttributeChannel{"first", 2, {0, 0, 1, 0, 1, 1}, {0, 1, 2, 0, 1, 2, -1}});
    lData.mUVSets.push_back(AttributeChannel{"second", 2, {0.5, 0.5}, {0, 0, 0, 0, 0, 0, 0}});
    lData.mTangents = AttributeChannel{"", 4, {1, 0, 0, -1}, {0, 0, 0, 0, 0, 0, 0}};
    return lData;
}

TEST(MeshBuilder, ControlPointsAndPolygonsKeepTheirOrderAndSizes)
{
    ManagedMesh lTarget;
    BuildMesh(QuadAndTriangle(), lTarget);
    moxsdk::MoxMesh& lMesh = lTarget.Mesh();
    ASSERT_EQ(lMesh.GetControlPointsCount(), 5);
    EXPECT_EQ(lMesh.GetControlPointAt(4), MoxVector4(2, 0, 0));
    ASSERT_EQ(lMesh.GetPolygonCount(), 2);
    EXPECT_EQ(lMesh.GetPolygonSize(0), 4);
    EXPECT_EQ(lMesh.GetPolygonSize(1), 3);
    EXPECT_EQ(lMesh.GetPolygonVertex(1, 2), 2);
    EXPECT_EQ(lMesh.GetPolygonVertexIndex(1), 4);
}

TEST(MeshBuilder, MaterialsAreNamedObjectsIndexedByPolygon)
{
    ManagedMesh lTarget;
    BuildMesh(QuadAndTriangle(), lTarget);
    const auto* lMaterials = lTarget.Mesh().GetLayer(0)->GetMaterials();
    ASSERT_NE(lMaterials, nullptr);
    EXPECT_EQ(lMaterials->GetMappingMode(), MoxLayerElement::eByPolygon);
    EXPECT_EQ(lMaterials->GetReferenceMode(), MoxLayerElement::eIndexToDirect);
    ASSERT_EQ(lMaterials->mDirectArray->GetCount(), 2);
    EXPECT_STREQ(lMaterials->mDirectArray->GetAt(0)->GetName(), "wood");
    EXPECT_STREQ(lMaterials->mDirectArray->GetAt(1)->GetName(), "metal");
    ASSERT_EQ(lMaterials->mIndexArray->GetCount(), 2);
    EXPECT_EQ(lMaterials->mIndexArray->GetAt(0), 1);
    EXPECT_EQ(lMaterials->mIndexArray->GetAt(1), -1);
}

TEST(MeshBuilder, NormalsAreIndexToDirectByPolygonVertex)
{
    ManagedMesh lTarget;
    BuildMesh(QuadAndTriangle(), lTarget);
    const auto* lNormals = lTarget.Mesh().GetLayer(0)->GetNormals();
    ASSERT_NE(lNormals, nullptr);
    EXPECT_EQ(lNormals->GetMappingMode(), MoxLayerElement::eByPolygonVertex);
    EXPECT_EQ(lNormals->GetReferenceMode(), MoxLayerElement::eIndexToDirect);
    ASSERT_EQ(lNormals->mDirectArray->GetCount(), 2);
    EXPECT_EQ(lNormals->mDirectArray->GetAt(1), MoxVector4(0, 0, -1, 0));
    EXPECT_EQ(lNormals->mIndexArray->GetCount(), 7);
    EXPECT_EQ(lNormals->mIndexArray->GetAt(4), 1);
}

TEST(MeshBuilder, UVSetIGoesToLayerIWithItsName)
{
    ManagedMesh lTarget;
    BuildMesh(QuadAndTriangle(), lTarget);
    moxsdk::MoxMesh& lMesh = lTarget.Mesh();
    ASSERT_EQ(lMesh.GetLayerCount(), 2);
    const auto* lFirst = lMesh.GetLayer(0)->GetUVs(MoxLayerElement::eTextureChannel0);
    const auto* lSecond = lMesh.GetLayer(1)->GetUVs(MoxLayerElement::eTextureChannel0);
    ASSERT_NE(lFirst, nullptr);
    ASSERT_NE(lSecond, nullptr);
    EXPECT_STREQ(lFirst->GetName(), "first");
    EXPECT_STREQ(lSecond->GetName(), "second");
    EXPECT_EQ(lFirst->mDirectArray->GetAt(2), MoxVector2(1, 1));
    EXPECT_EQ(lFirst->mIndexArray->GetAt(6), -1);
    EXPECT_EQ(lSecond->mIndexArray->GetCount(), 7);
}

TEST(MeshBuilder, TangentsKeepTheirHandedness)
{
    ManagedMesh lTarget;
    BuildMesh(QuadAndTriangle(), lTarget);
    const auto* lTangents = lTarget.Mesh().GetLayer(0)->GetTangents();
    ASSERT_NE(lTangents, nullptr);
    EXPECT_EQ(lTangents->mDirectArray->GetAt(0), MoxVector4(1, 0, 0, -1));
}

TEST(MeshBuilder, EmptyChannelsMakeNoElements)
{
    MeshData lData;
    lData.mPositions = {0, 0, 0, 1, 0, 0, 0, 1, 0};
    lData.mPolygonSizes = {3};
    lData.mPolygonVertices = {0, 1, 2};
    ManagedMesh lTarget;
    BuildMesh(lData, lTarget);
    ASSERT_EQ(lTarget.Mesh().GetLayerCount(), 1);
    const moxsdk::MoxLayer* lLayer = lTarget.Mesh().GetLayer(0);
    EXPECT_EQ(lLayer->GetNormals(), nullptr);
    EXPECT_EQ(lLayer->GetUVSetCount(), 0);
    EXPECT_EQ(lLayer->GetMaterials(), nullptr);
    EXPECT_EQ(lLayer->GetTangents(), nullptr);
}

TEST(MeshBuilder, BuildingAgainReplacesTheMesh)
{
    ManagedMesh lTarget;
    BuildMesh(QuadAndTriangle(), lTarget);
    MeshData lData;
    lData.mPositions = {0, 0, 0, 1, 0, 0, 0, 1, 0};
    lData.mPolygonSizes = {3};
    lData.mPolygonVertices = {0, 1, 2};
    BuildMesh(lData, lTarget);
    EXPECT_EQ(lTarget.Mesh().GetControlPointsCount(), 3);
    EXPECT_EQ(lTarget.Mesh().GetPolygonCount(), 1);
    EXPECT_EQ(lTarget.Mesh().GetLayer(0)->GetNormals(), nullptr);
}

}  // namespace
