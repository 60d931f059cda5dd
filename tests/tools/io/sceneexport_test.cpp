#include "io/sceneexport.h"

#include <gtest/gtest.h>

#include "moxsdk/scene/moxsurfacematerial.h"
#include "support/moxtestmeshes.h"

using namespace moxmeshtool;
using moxsdk::MoxLayerElement;
using moxsdk::MoxVector2;
using moxsdk::MoxVector4;

namespace {

// pMesh's layer-0 normals: one per polygon vertex (the face normals of the cube's quads), direct.
void AddFaceNormals(moxsdk::MoxMesh& pMesh)
{
    auto* lNormals = moxsdk::MoxLayerElementNormal::Create(&pMesh, "");
    lNormals->SetMappingMode(MoxLayerElement::eByPolygonVertex);
    lNormals->SetReferenceMode(MoxLayerElement::eDirect);
    for (int p = 0; p < pMesh.GetPolygonCount(); ++p)
        for (int k = 0; k < 4; ++k) lNormals->mDirectArray->Add(MoxVector4(p, 0, 1, 0));
    pMesh.GetLayer(0)->SetNormals(lNormals);
}

TEST(SceneExport, PlainCubeIsOneMeshOfEightVerticesAndSixQuads)
{
    moxtest::ManagerScope lScope;
    moxsdk::MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeCube(*lMesh);
    SceneSummary lSummary;
    const auto lScene = BuildScene(*lMesh, lSummary);
    ASSERT_EQ(lScene->mNumMeshes, 1u);
    const aiMesh& lOut = *lScene->mMeshes[0];
    EXPECT_EQ(lOut.mNumVertices, 8u);
    ASSERT_EQ(lOut.mNumFaces, 6u);
    for (unsigned f = 0; f < 6; ++f) EXPECT_EQ(lOut.mFaces[f].mNumIndices, 4u);
    EXPECT_EQ(lOut.mPrimitiveTypes, unsigned(aiPrimitiveType_POLYGON));
    EXPECT_FALSE(lOut.HasNormals());
    ASSERT_EQ(lScene->mNumMaterials, 1u);
    EXPECT_STREQ(lScene->mMaterials[0]->GetName().C_Str(), "default");
    EXPECT_EQ(lSummary.mPolygons, 6);
    EXPECT_EQ(lSummary.mVertices, 8u);
    // The vertex of each corner sits at its control point.
    for (unsigned f = 0; f < 6; ++f)
        for (int k = 0; k < 4; ++k) {
            const MoxVector4 lPoint = lMesh->GetControlPointAt(lMesh->GetPolygonVertex(static_cast<int>(f), k));
            const aiVector3D& lVertex = lOut.mVertices[lOut.mFaces[f].mIndices[k]];
            EXPECT_EQ(lVertex, aiVector3D(float(lPoint[0]), float(lPoint[1]), float(lPoint[2])));
        }
}

TEST(SceneExport, DistinctCornerNormalsSplitVertices)
{
    moxtest::ManagerScope lScope;
    moxsdk::MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeCube(*lMesh);
    AddFaceNormals(*lMesh);
    SceneSummary lSummary;
    const auto lScene = BuildScene(*lMesh, lSummary);
    const aiMesh& lOut = *lScene->mMeshes[0];
    EXPECT_EQ(lOut.mNumVertices, 24u);
    ASSERT_TRUE(lOut.HasNormals());
    EXPECT_EQ(lOut.mNormals[lOut.mFaces[5].mIndices[2]], aiVector3D(5, 0, 1));
    EXPECT_TRUE(lSummary.mNormals);
}

TEST(SceneExport, NormalsPerControlPointKeepVerticesShared)
{
    moxtest::ManagerScope lScope;
    moxsdk::MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeCube(*lMesh);
    lMesh->InitNormals(0, 1);
    SceneSummary lSummary;
    const auto lScene = BuildScene(*lMesh, lSummary);
    EXPECT_EQ(lScene->mMeshes[0]->mNumVertices, 8u);
    EXPECT_TRUE(lScene->mMeshes[0]->HasNormals());
}

TEST(SceneExport, PolygonsAreGroupedByMaterialInMaterialOrder)
{
    moxtest::ManagerScope lScope;
    moxsdk::MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeCube(*lMesh);
    auto* lMaterials = moxsdk::MoxLayerElementMaterial::Create(lMesh, "");
    lMesh->GetLayer(0)->SetMaterials(lMaterials);
    lMaterials->mDirectArray->Add(moxsdk::MoxSurfaceMaterial::Create(lScope.Get(), "red"));
    lMaterials->mDirectArray->Add(moxsdk::MoxSurfaceMaterial::Create(lScope.Get(), "blue"));
    for (int lSlot : {1, 0, 1, -1, 1, 5}) lMaterials->mIndexArray->Add(lSlot);
    SceneSummary lSummary;
    const auto lScene = BuildScene(*lMesh, lSummary);
    // red, blue, the slot 5 that has no material of its own, and the default for polygon 3.
    ASSERT_EQ(lScene->mNumMaterials, 4u);
    EXPECT_STREQ(lScene->mMaterials[0]->GetName().C_Str(), "red");
    EXPECT_STREQ(lScene->mMaterials[1]->GetName().C_Str(), "blue");
    EXPECT_STREQ(lScene->mMaterials[2]->GetName().C_Str(), "material6");
    EXPECT_STREQ(lScene->mMaterials[3]->GetName().C_Str(), "default");
    ASSERT_EQ(lScene->mNumMeshes, 4u);
    EXPECT_EQ(lScene->mMeshes[0]->mMaterialIndex, 0u);
    EXPECT_EQ(lScene->mMeshes[0]->mNumFaces, 1u);
    EXPECT_EQ(lScene->mMeshes[1]->mNumFaces, 3u);
    EXPECT_STREQ(lScene->mMeshes[1]->mName.C_Str(), "blue");
    EXPECT_EQ(lScene->mMeshes[3]->mMaterialIndex, 3u);
    EXPECT_EQ(lSummary.mMaterials, 4);
}

TEST(SceneExport, PolygonsThatCannotBeWrittenAreLeftOut)
{
    moxtest::ManagerScope lScope;
    moxsdk::MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeCube(*lMesh);
    lMesh->BeginPolygon();
    lMesh->AddPolygon(0);
    lMesh->AddPolygon(1);
    lMesh->EndPolygon();
    lMesh->BeginPolygon();
    for (int lPoint : {0, 1, 99}) lMesh->AddPolygon(lPoint);
    lMesh->EndPolygon();
    SceneSummary lSummary;
    const auto lScene = BuildScene(*lMesh, lSummary);
    EXPECT_EQ(lSummary.mPolygons, 6);
    EXPECT_EQ(lSummary.mSkippedPolygons, 2);
    EXPECT_EQ(lScene->mMeshes[0]->mNumFaces, 6u);
}

TEST(SceneExport, UVSetsOfEveryLayerBecomeChannels)
{
    moxtest::ManagerScope lScope;
    moxsdk::MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeCube(*lMesh);
    for (int l = 0; l < 2; ++l) {
        if (l > 0) lMesh->CreateLayer();
        auto* lUVs = moxsdk::MoxLayerElementUV::Create(lMesh, "");
        lUVs->SetMappingMode(MoxLayerElement::eByControlPoint);
        lUVs->SetReferenceMode(MoxLayerElement::eDirect);
        for (int i = 0; i < 8; ++i) lUVs->mDirectArray->Add(MoxVector2(i, l));
        lMesh->GetLayer(l)->SetUVs(lUVs);
    }
    SceneSummary lSummary;
    const auto lScene = BuildScene(*lMesh, lSummary);
    const aiMesh& lOut = *lScene->mMeshes[0];
    EXPECT_EQ(lSummary.mUVSets, 2);
    ASSERT_TRUE(lOut.HasTextureCoords(1));
    EXPECT_EQ(lOut.mNumUVComponents[0], 2u);
    const unsigned lVertex = lOut.mFaces[0].mIndices[0];
    const int lPoint = lMesh->GetPolygonVertex(0, 0);
    EXPECT_EQ(lOut.mTextureCoords[0][lVertex], aiVector3D(float(lPoint), 0, 0));
    EXPECT_EQ(lOut.mTextureCoords[1][lVertex], aiVector3D(float(lPoint), 1, 0));
}

}  // namespace
