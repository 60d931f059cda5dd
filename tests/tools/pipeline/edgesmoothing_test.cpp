#include "pipeline/edgesmoothing.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <random>
#include <utility>

#include <gtest/gtest.h>

#include "support/moxtestmeshes.h"

using namespace moxmeshtool;
using moxsdk::MoxLayerElement;
using moxsdk::MoxMesh;
using moxsdk::MoxVector4;

namespace {

// Fills the mesh's edge array (first side met names each unordered pair of control points) and returns
// its edge-to-polygons map, one entry per polygon side on the edge: what the library's edge and
// component-map operations give for these simple meshes, set directly.
MoxMesh::ComponentMap SetEdgesAndMap(MoxMesh& pMesh)
{
    std::map<std::pair<int, int>, int> lEdgeOf;
    std::vector<std::vector<int>> lPolygons;
    pMesh.mEdgeArray.Clear();
    for (int p = 0; p < pMesh.GetPolygonCount(); ++p) {
        const int lSize = pMesh.GetPolygonSize(p);
        for (int k = 0; k < lSize; ++k) {
            int lA = pMesh.GetPolygonVertex(p, k);
            int lB = pMesh.GetPolygonVertex(p, (k + 1) % lSize);
            if (lA > lB) std::swap(lA, lB);
            const auto lFound = lEdgeOf.emplace(std::make_pair(lA, lB), static_cast<int>(lPolygons.size()));
            if (lFound.second) {
                pMesh.mEdgeArray.Add(pMesh.GetPolygonVertexIndex(p) + k);
                lPolygons.emplace_back();
            }
            lPolygons[lFound.first->second].push_back(p);
        }
    }
    MoxMesh::ComponentMap lMap;
    lMap.mOffsets.Add(0);
    for (const std::vector<int>& lEdge : lPolygons) {
        for (int p : lEdge) lMap.mData.Add(p);
        lMap.mOffsets.Add(lMap.mData.GetCount());
    }
    return lMap;
}

TEST(EdgeSmoothing, CubeFacesHaveAxisNormals)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeCube(*lMesh);
    const std::vector<MoxVector4> lNormals = ComputePolygonNormals(*lMesh);
    ASSERT_EQ(lNormals.size(), 6u);
    for (int p = 0; p < 6; ++p) {
        // Outward: the normal points away from the cube's centre.
        MoxVector4 lCentre(0, 0, 0, 0);
        for (int k = 0; k < 4; ++k) lCentre += lMesh->GetControlPointAt(lMesh->GetPolygonVertex(p, k)) * 0.25;
        EXPECT_GT(lNormals[p].DotProduct(lCentre - MoxVector4(0.5, 0.5, 0.5)), 0.0) << p;
        EXPECT_DOUBLE_EQ(lNormals[p].Length(), 1.0);
        EXPECT_EQ(std::fabs(lNormals[p][0]) + std::fabs(lNormals[p][1]) + std::fabs(lNormals[p][2]), 1.0);
    }
}

TEST(EdgeSmoothing, DegeneratePolygonsHaveNoNormal)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::BuildMesh(*lMesh, {{0, 0, 0}, {1, 0, 0}, {2, 0, 0}}, {{0, 1, 2}, {0, 1}, {0, 1, 7}, {0, 1, 1}});
    for (const MoxVector4& lNormal : ComputePolygonNormals(*lMesh)) EXPECT_EQ(lNormal, MoxVector4(0, 0, 0, 0));
}

TEST(EdgeSmoothing, CubeEdgesAreHardBelowNinetyDegreesAndSoftAtIt)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeCube(*lMesh);
    const MoxMesh::ComponentMap lMap = SetEdgesAndMap(*lMesh);
    const std::vector<MoxVector4> lNormals = ComputePolygonNormals(*lMesh);
    EXPECT_EQ(ClassifyEdges(lMap, 12, lNormals, 89.9), std::vector<int>(12, 0));
    EXPECT_EQ(ClassifyEdges(lMap, 12, lNormals, 90.0), std::vector<int>(12, 1));
}

TEST(EdgeSmoothing, FoldIsSoftUpToItsAngle)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeFold(*lMesh, 40.0);
    const MoxMesh::ComponentMap lMap = SetEdgesAndMap(*lMesh);
    ASSERT_EQ(lMesh->GetMeshEdgeCount(), 7);
    const std::vector<MoxVector4> lNormals = ComputePolygonNormals(*lMesh);
    // Edge 1 is the shared side 1-2; every other edge is a boundary.
    EXPECT_EQ(ClassifyEdges(lMap, 7, lNormals, 39.99), std::vector<int>(7, 0));
    EXPECT_EQ(ClassifyEdges(lMap, 7, lNormals, 40.01), (std::vector<int>{0, 1, 0, 0, 0, 0, 0}));
}

// The decision is the angle's, atan2 in degrees within the threshold plus 1e-9, however it is reached:
// pairs of normals at the threshold, a hair off it and far from it, of unit length or not quite, for
// thresholds inside and outside 0 .. 180.
TEST(EdgeSmoothing, DecisionIsTheAnglesNearAndFarFromTheThreshold)
{
    std::mt19937 lRandom(11);
    std::uniform_real_distribution<double> lUnit(-1.0, 1.0);
    const auto lRandomUnit = [&] {
        MoxVector4 lV(lUnit(lRandom), lUnit(lRandom), lUnit(lRandom), 0.0);
        lV.Normalize();
        return lV;
    };
    const double lPi = 3.14159265358979323846;
    for (double lThreshold : {-1.0, 0.0, 1e-7, 0.5, 30.0, 45.0, 89.99, 90.0, 135.0, 179.9, 180.0, 200.0}) {
        std::vector<MoxVector4> lNormals;
        MoxMesh::ComponentMap lMap;
        lMap.mOffsets.Add(0);
        for (int i = 0; i < 4000; ++i) {
            const MoxVector4 lA = lRandomUnit();
            MoxVector4 lAxis = lA.CrossProduct(lRandomUnit());
            lAxis.Normalize();
            const double lOffsets[] = {0.0, 1e-12, -1e-12, 1e-9, -1e-9, 1e-7, -1e-7, 1e-4, -1e-4, 3.0, -3.0};
            const double lDegrees = std::min(180.0, std::max(0.0, lThreshold + lOffsets[i % 11]));
            const double lAngle = lDegrees * lPi / 180.0;
            MoxVector4 lB = lA * std::cos(lAngle) + lAxis.CrossProduct(lA) * std::sin(lAngle);
            lB.Normalize();
            // Some pairs a little off unit length, as normals of other origins may be.
            if (i % 7 == 3) lB = lB * (1.0 + 1e-9);
            lNormals.push_back(lA);
            lNormals.push_back(lB);
            lMap.mData.Add(2 * i);
            lMap.mData.Add(2 * i + 1);
            lMap.mOffsets.Add(2 * i + 2);
        }
        const std::vector<int> lValues = ClassifyEdges(lMap, 4000, lNormals, lThreshold);
        for (int i = 0; i < 4000; ++i) {
            const MoxVector4& lA = lNormals[2 * size_t(i)];
            const MoxVector4& lB = lNormals[2 * size_t(i) + 1];
            const double lAngle = std::atan2(lA.CrossProduct(lB).Length(), lA.DotProduct(lB)) * 180.0 / lPi;
            ASSERT_EQ(lValues[i], lAngle <= lThreshold + 1e-9 ? 1 : 0) << lThreshold << " " << i;
        }
    }
}

TEST(EdgeSmoothing, NonManifoldAndRepeatedEdgesAreHard)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    // Three coplanar triangles on side 0-1; then a map in which one polygon holds an edge twice.
    moxtest::BuildMesh(*lMesh, {{0, 0, 0}, {1, 0, 0}, {0.5, 1, 0}, {0.5, -1, 0}, {0.5, 2, 0}},
                       {{0, 1, 2}, {1, 0, 3}, {0, 1, 4}});
    const MoxMesh::ComponentMap lMap = SetEdgesAndMap(*lMesh);
    const std::vector<int> lValues = ClassifyEdges(lMap, lMesh->GetMeshEdgeCount(), ComputePolygonNormals(*lMesh), 180);
    EXPECT_EQ(lValues[0], 0);  // side 0-1, in three polygons
    MoxMesh::ComponentMap lTwice;
    lTwice.mOffsets.Add(0);
    lTwice.mData.Add(0);
    lTwice.mData.Add(0);
    lTwice.mOffsets.Add(2);
    EXPECT_EQ(ClassifyEdges(lTwice, 1, ComputePolygonNormals(*lMesh), 180), std::vector<int>{0});
}

TEST(EdgeSmoothing, BadMapRangesCountAsNoPolygon)
{
    MoxMesh::ComponentMap lMap;
    for (int lOffset : {0, 5, 2, 3}) lMap.mOffsets.Add(lOffset);
    lMap.mData.Add(0);
    lMap.mData.Add(0);
    lMap.mData.Add(1);
    const int* lPolygons = nullptr;
    int lCount = -1;
    EXPECT_FALSE(EdgePolygons(lMap, 0, lPolygons, lCount));  // past the data
    EXPECT_FALSE(EdgePolygons(lMap, 1, lPolygons, lCount));  // backwards
    EXPECT_TRUE(EdgePolygons(lMap, 2, lPolygons, lCount));
    EXPECT_EQ(lCount, 1);
    EXPECT_FALSE(EdgePolygons(lMap, 3, lPolygons, lCount));  // no offset after it
    EXPECT_EQ(lCount, 0);
    const EdgeCounts lCounts = CountEdges(lMap, 4);
    EXPECT_EQ(lCounts.mIsolated, 3);
    EXPECT_EQ(lCounts.mBoundary, 1);
}

TEST(EdgeSmoothing, StoredAsLayerZeroSmoothingByEdge)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeFold(*lMesh, 20.0);
    const MoxMesh::ComponentMap lMap = SetEdgesAndMap(*lMesh);
    const EdgeSmoothingSummary lSummary = SetSmoothingFromAngle(*lMesh, lMap, 30.0);
    EXPECT_EQ(lSummary.mSoft, 1);
    EXPECT_EQ(lSummary.mHard, 6);
    EXPECT_EQ(lSummary.mEdges.mBoundary, 6);
    EXPECT_EQ(lSummary.mEdges.mManifold, 1);
    const auto* lSmoothing = lMesh->GetLayer(0)->GetSmoothing();
    ASSERT_NE(lSmoothing, nullptr);
    EXPECT_EQ(lSmoothing->GetMappingMode(), MoxLayerElement::eByEdge);
    EXPECT_EQ(lSmoothing->GetReferenceMode(), MoxLayerElement::eDirect);
    ASSERT_EQ(lSmoothing->mDirectArray->GetCount(), 7);
    EXPECT_EQ(lSmoothing->mDirectArray->GetAt(1), 1);
    EXPECT_EQ(lSmoothing->mDirectArray->GetAt(0), 0);
    // Again with a smaller angle: the same element, new values.
    SetSmoothingFromAngle(*lMesh, lMap, 10.0);
    EXPECT_EQ(lMesh->GetLayer(0)->GetSmoothing(), lSmoothing);
    EXPECT_EQ(lSmoothing->mDirectArray->GetAt(1), 0);
    EXPECT_EQ(lSmoothing->mIndexArray->GetCount(), 0);
}

}  // namespace
