#include "pipeline/demomodel.h"

#include <cmath>
#include <map>

#include <gtest/gtest.h>

#include "io/toolerror.h"
#include "moxsdk/scene/moxcluster.h"
#include "moxsdk/scene/moxskin.h"
#include "pipeline/edgesmoothing.h"

using namespace moxmeshtool;
using moxsdk::MoxVector4;

namespace {

DemoModelOptions Small()
{
    DemoModelOptions lOptions;
    lOptions.mSegments = 8;
    lOptions.mRings = 3;
    return lOptions;
}

TEST(DemoModel, CountsFollowTheSize)
{
    const MeshData lData = MakeDemoModelData(Small());
    EXPECT_EQ(FindInconsistency(lData), "");
    EXPECT_EQ(lData.ControlPointCount(), 4u * 8u);
    // 24 side quads, 2 lids, the bad triangle.
    ASSERT_EQ(lData.PolygonCount(), 27u);
    EXPECT_EQ(lData.mPolygonSizes[0], 4);
    EXPECT_EQ(lData.mPolygonSizes[24], 8);
    EXPECT_EQ(lData.mPolygonSizes[25], 8);
    EXPECT_EQ(lData.mPolygonSizes[26], 3);
    EXPECT_EQ(lData.PolygonVertexCount(), 24u * 4u + 16u + 3u);
    ASSERT_EQ(lData.mUVSets.size(), 1u);
    EXPECT_EQ(lData.mUVSets[0].ValueCount(), 9 * 4 + 16);
    EXPECT_EQ(lData.mMaterialNames, (std::vector<std::string>{"side", "lids"}));
}

TEST(DemoModel, PolygonsFaceOutwards)
{
    ManagedMesh lModel;
    BuildDemoModel(Small(), lModel);
    const std::vector<MoxVector4> lNormals = ComputePolygonNormals(lModel.Mesh());
    for (int p = 0; p < 24; ++p) {
        const MoxVector4 lPoint = lModel.Mesh().GetControlPointAt(lModel.Mesh().GetPolygonVertex(p, 0));
        EXPECT_GT(lNormals[p].DotProduct(MoxVector4(lPoint[0], 0, lPoint[2])), 0.0) << p;
    }
    EXPECT_NEAR(lNormals[24][1], -1.0, 1e-12);
    EXPECT_NEAR(lNormals[25][1], 1.0, 1e-12);
    EXPECT_EQ(lNormals[26], MoxVector4(0, 0, 0, 0));  // the bad triangle
}

TEST(DemoModel, SideSeamGivesOnePointTwoUVs)
{
    const MeshData lData = MakeDemoModelData(Small());
    // Quad 7 closes the ring: its last corner is point 0 again, with the seam's other UV column.
    EXPECT_EQ(lData.mPolygonVertices[7 * 4 + 3], 0);
    const int lSeamUV = lData.mUVSets[0].mIndices[7 * 4 + 3];
    const int lStartUV = lData.mUVSets[0].mIndices[0];
    EXPECT_EQ(lData.mPolygonVertices[0], 0);
    EXPECT_NE(lSeamUV, lStartUV);
    EXPECT_DOUBLE_EQ(lData.mUVSets[0].mValues[2 * size_t(lStartUV)], 1.0);
    EXPECT_DOUBLE_EQ(lData.mUVSets[0].mValues[2 * size_t(lSeamUV)], 0.0);
}

// Same handedness everywhere: the signed area of each polygon in UV space has the sign of its winding
// seen from outside (counter-clockwise), for the side and both lids.
TEST(DemoModel, UVsKeepOneHandedness)
{
    const MeshData lData = MakeDemoModelData(Small());
    size_t lCorner = 0;
    for (size_t p = 0; p + 1 < lData.PolygonCount(); ++p) {
        double lArea = 0.0;
        const int lSize = lData.mPolygonSizes[p];
        for (int k = 0; k < lSize; ++k) {
            const auto lA = static_cast<size_t>(lData.mUVSets[0].mIndices[lCorner + k]);
            const auto lB = static_cast<size_t>(lData.mUVSets[0].mIndices[lCorner + (k + 1) % lSize]);
            const double* lUV = lData.mUVSets[0].mValues.data();
            lArea += lUV[2 * lA] * lUV[2 * lB + 1] - lUV[2 * lB] * lUV[2 * lA + 1];
        }
        EXPECT_GT(lArea, 0.0) << "polygon " << p;
        lCorner += lSize;
    }
}

TEST(DemoModel, SkinWeightsSumToOne)
{
    ManagedMesh lModel;
    BuildDemoModel(Small(), lModel);
    auto* lSkin = static_cast<moxsdk::MoxSkin*>(lModel.Mesh().GetDeformer(0, moxsdk::MoxDeformer::eSkin));
    ASSERT_NE(lSkin, nullptr);
    ASSERT_EQ(lSkin->GetClusterCount(), 2);
    std::map<int, double> lSums;
    int lWeights = 0;
    for (int c = 0; c < 2; ++c) {
        const moxsdk::MoxCluster* lCluster = lSkin->GetCluster(c);
        for (int i = 0; i < lCluster->GetControlPointIndicesCount(); ++i, ++lWeights)
            lSums[lCluster->GetControlPointIndices()[i]] += lCluster->GetControlPointWeights()[i];
    }
    EXPECT_EQ(lWeights, 2 * 32 - 2 * 8);
    ASSERT_EQ(lSums.size(), 32u);
    for (const auto& lSum : lSums) EXPECT_NEAR(lSum.second, 1.0, 1e-12);
}

TEST(DemoModel, LastPolygonRepeatsAPoint)
{
    const MeshData lData = MakeDemoModelData(Small());
    const size_t lLast = lData.PolygonVertexCount() - 3;
    EXPECT_EQ(lData.mPolygonVertices[lLast + 1], lData.mPolygonVertices[lLast + 2]);
}

TEST(DemoModel, SizesOutOfRangeAreRefused)
{
    DemoModelOptions lOptions;
    lOptions.mSegments = 2;
    EXPECT_THROW(MakeDemoModelData(lOptions), ToolError);
    lOptions.mSegments = 100000;
    lOptions.mRings = 1000;
    EXPECT_THROW(MakeDemoModelData(lOptions), ToolError);
}

}  // namespace
