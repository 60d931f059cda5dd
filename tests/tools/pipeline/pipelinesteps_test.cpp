#include "pipeline/pipelinesteps.h"

#include <cmath>

#include <gtest/gtest.h>

#include "io/managedmesh.h"
#include "pipeline/demomodel.h"

using namespace moxmeshtool;
using moxsdk::MoxLayerElement;
using moxsdk::MoxVector4;

namespace {

// 16 segments (22.5 degrees between neighbouring side quads, soft at 30) and 3 rings: 64 control points,
// 48 side quads, 2 lids of 16, the bad triangle; 227 polygon vertices; 48 + 64 + 1 edges (the bad
// triangle adds the side from a point to itself).
class DemoPipeline : public ::testing::Test {
protected:
    DemoPipeline()
    {
        DemoModelOptions lOptions;
        lOptions.mSegments = 16;
        lOptions.mRings = 3;
        BuildDemoModel(lOptions, mModel);
    }
    moxsdk::MoxMesh& Mesh() { return mModel.Mesh(); }

    ManagedMesh mModel;
};

TEST(PipelineSteps, PolygonsAreDescribedBySize)
{
    ManagedMesh lModel;
    DemoModelOptions lOptions;
    lOptions.mSegments = 16;
    lOptions.mRings = 3;
    BuildDemoModel(lOptions, lModel);
    EXPECT_EQ(DescribePolygons(lModel.Mesh()), "51 polygons (1 triangle, 48 quads, 2 16-gons)");
    EXPECT_EQ(DescribeTopology(lModel.Mesh()),
              "64 control points, 51 polygons (1 triangle, 48 quads, 2 16-gons), 227 polygon vertices");
    EXPECT_EQ(CountUVSets(lModel.Mesh()), 1);
    EXPECT_EQ(CountSkinWeights(lModel.Mesh()), 2 * 64 - 2 * 16);
}

TEST_F(DemoPipeline, EdgesSmoothingAndNormals)
{
    EXPECT_EQ(BuildEdges(Mesh()), "113 edges");
    const std::string lSmoothing = SmoothByAngle(Mesh(), 30.0);
    EXPECT_EQ(lSmoothing.substr(0, lSmoothing.find(" (")), "80 soft edges, 33 hard edges");
    EXPECT_EQ(GenerateNormals(Mesh(), false), "227 normals by polygon vertex, smoothed across soft edges");

    // Lid corners lie on hard rims only: they keep the lid's own normal.
    const auto* lNormals = Mesh().GetLayer(0)->GetNormals();
    ASSERT_NE(lNormals, nullptr);
    const int lBottomLid = Mesh().GetPolygonVertexIndex(48);
    for (int k = 0; k < 16; ++k) {
        const MoxVector4 lNormal = lNormals->mDirectArray->GetAt(lBottomLid + k);
        EXPECT_NEAR(lNormal[1], -1.0, 1e-9) << k;
    }
    // A corner on the middle rings is smooth: horizontal, pointing away from the axis.
    const int lMiddle = Mesh().GetPolygonVertexIndex(16);
    const MoxVector4 lNormal = lNormals->mDirectArray->GetAt(lMiddle + 1);
    const MoxVector4 lPoint = Mesh().GetControlPointAt(Mesh().GetPolygonVertex(16, 1));
    EXPECT_NEAR(lNormal.Length(), 1.0, 1e-9);
    EXPECT_GT(lNormal.DotProduct(MoxVector4(lPoint[0], 0, lPoint[2])), 0.9 * std::hypot(lPoint[0], lPoint[2]));
}

TEST_F(DemoPipeline, TangentsSplitMergeAndCleanUp)
{
    BuildEdges(Mesh());
    SmoothByAngle(Mesh(), 30.0);
    GenerateNormals(Mesh(), false);
    EXPECT_EQ(GenerateTangents(Mesh()), "tangents and binormals for 1 UV set, 227 each");

    const std::string lSplit = SplitPoints(Mesh());
    EXPECT_EQ(lSplit.substr(0, lSplit.find(", skin")), "control points 64 -> 227, edges 113 -> 227");
    EXPECT_EQ(Mesh().GetControlPointsCount(), 227);
    EXPECT_GT(CountSkinWeights(Mesh()), 96);
    EXPECT_EQ(Mesh().GetLayer(0)->GetUVs()->GetMappingMode(), MoxLayerElement::eByControlPoint);

    const std::string lMerge = MergePoints(Mesh());
    EXPECT_EQ(lMerge.substr(0, lMerge.find(", edges")),
              "163 coincident control points merged: control points 227 -> 64");
    EXPECT_EQ(Mesh().GetLayer(0)->GetNormals()->GetMappingMode(), MoxLayerElement::eByPolygonVertex);

    EXPECT_EQ(CountEdgeNeighbours(Mesh()).substr(0, 10), "113 edges:");
    EXPECT_EQ(RemoveBadPolygons(Mesh()), "removed 1 bad polygon, 50 polygons left");
}

TEST_F(DemoPipeline, DropUnwrittenElementsKeepsWhatIsWritten)
{
    BuildEdges(Mesh());
    SmoothByAngle(Mesh(), 30.0);
    GenerateNormals(Mesh(), false);
    GenerateTangents(Mesh());
    const moxsdk::MoxLayer& lLayer = *Mesh().GetLayer(0);
    ASSERT_NE(lLayer.GetBinormals(), nullptr);
    ASSERT_NE(lLayer.GetSmoothing(), nullptr);

    DropUnwrittenElements(Mesh());
    EXPECT_EQ(lLayer.GetBinormals(), nullptr);
    EXPECT_EQ(lLayer.GetSmoothing(), nullptr);
    ASSERT_NE(lLayer.GetNormals(), nullptr);
    EXPECT_EQ(lLayer.GetNormals()->mDirectArray->GetCount(), 227);
    ASSERT_NE(lLayer.GetTangents(), nullptr);
    EXPECT_EQ(lLayer.GetTangents()->mDirectArray->GetCount(), 227);
    EXPECT_NE(lLayer.GetUVs(), nullptr);
    EXPECT_NE(lLayer.GetMaterials(), nullptr);
    EXPECT_EQ(Mesh().GetMeshEdgeCount(), 113);
}

TEST(PipelineSteps, NormalsByControlPoint)
{
    ManagedMesh lModel;
    DemoModelOptions lOptions;
    lOptions.mSegments = 8;
    lOptions.mRings = 2;
    BuildDemoModel(lOptions, lModel);
    EXPECT_EQ(GenerateNormals(lModel.Mesh(), true), "24 normals by control point");
}

TEST(PipelineSteps, TangentsNeedAUVSet)
{
    ManagedMesh lModel;
    DemoModelOptions lOptions;
    BuildDemoModel(lOptions, lModel);
    lModel.Mesh().GetLayer(0)->SetUVs(nullptr);
    EXPECT_EQ(GenerateTangents(lModel.Mesh()), "no UV set: no tangents");
}

TEST(PipelineSteps, MergeWithoutCoincidentPoints)
{
    ManagedMesh lModel;
    DemoModelOptions lOptions;
    BuildDemoModel(lOptions, lModel);
    EXPECT_EQ(MergePoints(lModel.Mesh()), "no coincident control points: nothing merged");
}

}  // namespace
