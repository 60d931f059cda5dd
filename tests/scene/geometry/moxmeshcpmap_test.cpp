// The control-point-to-vertices map, polygon-vertex form: the documented cases with exact lists, the
// clamping of invalid vertices onto the last control point, running out of memory, and the map against a
// brute-force inversion on random meshes.
#include "moxsdk/scene/geometry/moxmesh.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "support/moxtestmeshes.h"
#include "support/moxtestsupport.h"

using namespace moxsdk;

namespace {

using Map = MoxMesh::ControlPointToVerticesMap;

std::vector<int> List(const Map& pMap, int pControlPoint)
{
    std::vector<int> lList;
    for (int i = 0; i < pMap.GetCount(pControlPoint); ++i) lList.push_back(pMap.GetVertex(pControlPoint, i));
    return lList;
}

std::vector<moxtest::Point> Points(int pCount)
{
    return std::vector<moxtest::Point>(size_t(pCount), moxtest::Point{0, 0, 0});
}

TEST(MoxMeshControlPointMap, MeshWithoutControlPointsGivesAnEmptyMap)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeQuad(*lMesh);
    Map lMap;
    lMesh->ComputeControlPointToVerticesMap(lMap);
    ASSERT_TRUE(lMap.Valid());
    lMesh->Reset();
    lMesh->ComputeControlPointToVerticesMap(lMap);
    EXPECT_FALSE(lMap.Valid());
    EXPECT_EQ(lMap.GetCount(), 0);
    EXPECT_EQ(lMap.mVertices.GetCount(), 0);
}

TEST(MoxMeshControlPointMap, UnusedControlPointHasAnEmptyList)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::BuildMesh(*lMesh, Points(5), {{0, 1, 3}, {3, 4, 1}});
    Map lMap;
    lMesh->ComputeControlPointToVerticesMap(lMap);
    ASSERT_EQ(lMap.GetCount(), 5);
    EXPECT_EQ(lMap.GetCount(2), 0);
    EXPECT_EQ(List(lMap, 0), (std::vector<int>{0}));
    EXPECT_EQ(List(lMap, 1), (std::vector<int>{1, 5}));
    EXPECT_EQ(List(lMap, 3), (std::vector<int>{2, 3}));
    EXPECT_EQ(List(lMap, 4), (std::vector<int>{4}));
    EXPECT_EQ(std::vector<int>(lMap.mOffsets.begin(), lMap.mOffsets.end()), (std::vector<int>{0, 1, 3, 3, 5}));
}

TEST(MoxMeshControlPointMap, OutOfRangeQueries)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeQuad(*lMesh);
    Map lMap;
    lMesh->ComputeControlPointToVerticesMap(lMap);
    moxtest::ReportCapture lReports;
    EXPECT_EQ(lMap.GetVertex(-1, 0), -1);
    EXPECT_EQ(lMap.GetVertex(lMap.GetCount(), 0), -1);
    EXPECT_EQ(lMap.GetCount(lMap.GetCount()), 0);
    EXPECT_EQ(lMap.GetCount(-1), 0);
    EXPECT_EQ(lReports.Count(), 0u);
}

// The entry index is not checked against the list: past mVertices the array reports.
TEST(MoxMeshControlPointMap, VertexPastTheListsIsTheArraysReport)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeQuad(*lMesh);
    Map lMap;
    lMesh->ComputeControlPointToVerticesMap(lMap);
    EXPECT_EQ(lMap.GetVertex(0, 1), 1);  // the next list's entry
    moxtest::ReportCapture lReports;
    lMap.GetVertex(3, 1);
    EXPECT_TRUE(lReports.HasOnly("core/base/moxarray", "operator[]", "Index is out of range!"));
}

// Negative and too large vertices land on the last control point, in polygon-vertex order.
TEST(MoxMeshControlPointMap, InvalidVerticesCountForTheLastControlPoint)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::BuildMesh(*lMesh, Points(3), {{-1, 1, 7}, {2, 0, -5}});
    Map lMap;
    lMesh->ComputeControlPointToVerticesMap(lMap);
    EXPECT_EQ(List(lMap, 0), (std::vector<int>{4}));
    EXPECT_EQ(List(lMap, 1), (std::vector<int>{1}));
    EXPECT_EQ(List(lMap, 2), (std::vector<int>{0, 2, 3, 5}));
}

TEST(MoxMeshControlPointMap, NullMeshLeavesTheMapAsItWas)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeQuad(*lMesh);
    Map lMap;
    lMesh->ComputeControlPointToVerticesMap(lMap);
    lMap.FillWithControlPointInfo(nullptr);
    EXPECT_EQ(lMap.GetCount(), 4);
    EXPECT_EQ(List(lMap, 2), (std::vector<int>{2}));
    lMap.Clear();
    EXPECT_FALSE(lMap.Valid());
    EXPECT_EQ(lMap.mVertices.GetCount(), 0);
}

// Control points used by no polygon vertex at all: every list is empty.
TEST(MoxMeshControlPointMap, ControlPointsWithoutPolygons)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::BuildMesh(*lMesh, Points(3), {});
    Map lMap;
    lMesh->ComputeControlPointToVerticesMap(lMap);
    EXPECT_EQ(lMap.GetCount(), 3);
    for (int c = 0; c < 3; ++c) EXPECT_EQ(lMap.GetCount(c), 0);
}

// Whatever allocation fails, the map is either complete or empty, and nothing leaks.
TEST(MoxMeshControlPointMap, RunningOutOfMemoryLeavesAnEmptyMap)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeCube(*lMesh);
    for (long lFail = 1; lFail <= 4; ++lFail) {
        Map lMap;
        moxtest::ReportCapture lReports;
        {
            moxtest::AllocationTracker lTracker;
            lTracker.FailAt(lFail);
            lMesh->ComputeControlPointToVerticesMap(lMap);
            if (lTracker.Failures() > 0) {
                EXPECT_FALSE(lMap.Valid()) << lFail;
                EXPECT_EQ(lMap.mVertices.GetCount(), 0) << lFail;
            } else {
                EXPECT_EQ(List(lMap, 0), (std::vector<int>{0, 8, 16})) << lFail;
            }
            lMap.Clear();
            EXPECT_EQ(lTracker.Live(), 0) << lFail;
        }
    }
}

// The map against the inversion by brute force: control point c lists, in increasing order, every
// polygon vertex whose value (clamped as GetIndex does) is c.
TEST(MoxMeshControlPointMap, MatchesBruteForceOnRandomMeshes)
{
    for (uint32_t lSeed = 1; lSeed <= 300; ++lSeed) {
        SCOPED_TRACE("seed " + std::to_string(lSeed));
        moxtest::ManagerScope lScope;
        MoxMesh* lMesh = lScope.NewMesh();
        std::mt19937 lRandom(lSeed);
        moxtest::RandomMeshOptions lOptions;
        lOptions.mInvalidIndices = lSeed % 2 == 0;
        lOptions.mMaxPolygonSize = lSeed % 5 == 0 ? 12 : 6;
        moxtest::MakeRandomMesh(*lMesh, lRandom, lOptions);
        Map lMap;
        moxtest::ReportCapture lReports;
        lMesh->ComputeControlPointToVerticesMap(lMap);
        const int lCount = lMesh->GetControlPointsCount();
        ASSERT_EQ(lMap.GetCount(), lCount);
        if (lCount == 0) continue;
        EXPECT_EQ(lMap.mOffsets[0], 0);
        EXPECT_EQ(lMap.mVertices.GetCount(), lMesh->GetPolygonVertexCount());
        std::vector<std::vector<int>> lExpected(static_cast<size_t>(lCount));
        for (int lVertex = 0; lVertex < lMesh->GetPolygonVertexCount(); ++lVertex) {
            const int lValue = lMesh->mPolygonVertices[lVertex];
            lExpected[size_t(lValue >= 0 && lValue < lCount ? lValue : lCount - 1)].push_back(lVertex);
        }
        for (int c = 0; c < lCount; ++c) EXPECT_EQ(List(lMap, c), lExpected[size_t(c)]) << c;
        EXPECT_EQ(lReports.Count(), 0u);
    }
}

}  // namespace
