// The control-point-to-vertices map. Polygon-vertex form: the documented cases with exact lists, the
// clamping of invalid vertices onto the last control point, running out of memory, and the map against a
// brute-force inversion on random meshes. Neighbour form (FillWithAdjacencyInfo): the documented cases with
// exact lists, failures, edges whose ends repeat, and the map against the neighbours collected by brute
// force from GetMeshEdgeVertices on random meshes, with and without the caller's edge-vertex cache.
#include "moxsdk/scene/geometry/moxmesh.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "scene/geometry/oracle/moxmeshremove_oracle.h"
#include "support/moxtestmeshes.h"
#include "support/moxtestsupport.h"

using namespace moxsdk;

namespace {

using Map = MoxMesh::ControlPointToVerticesMap;

std::vector<int> List(const Map& pMap, int pControlPoint)
{
    std::vector<int> lList;
    lList.reserve(pMap.GetCount(pControlPoint));
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

// ---- Neighbour form ----------------------------------------------------------------------------------

TEST(MoxMeshAdjacencyMap, QuadCornerNeighboursInEdgeOrder)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeQuad(*lMesh);
    moxoracle::BuildEdgesByWalk(*lMesh);
    Map lMap;
    EXPECT_TRUE(lMap.FillWithAdjacencyInfo(lMesh, lMesh->GetControlPointsCount()));
    EXPECT_EQ(List(lMap, 0), (std::vector<int>{1, 3}));
    EXPECT_EQ(List(lMap, 1), (std::vector<int>{0, 2}));
    EXPECT_EQ(List(lMap, 2), (std::vector<int>{1, 3}));
    EXPECT_EQ(List(lMap, 3), (std::vector<int>{2, 0}));
    EXPECT_EQ(lMap.mVertices.GetCount(), 8);
}

TEST(MoxMeshAdjacencyMap, NegativeEdgeEndFailsAndEmptiesTheMap)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeQuad(*lMesh);
    moxoracle::BuildEdgesByWalk(*lMesh);
    Map lMap;
    ASSERT_TRUE(lMap.FillWithAdjacencyInfo(lMesh, 4));
    lMesh->mEdgeArray.Add(-1);  // an edge whose ends read as -1
    EXPECT_FALSE(lMap.FillWithAdjacencyInfo(lMesh, 4));
    EXPECT_FALSE(lMap.Valid());
    EXPECT_EQ(lMap.mVertices.GetCount(), 0);
}

TEST(MoxMeshAdjacencyMap, NullMeshOrNoControlPointsLeavesTheMap)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeQuad(*lMesh);
    moxoracle::BuildEdgesByWalk(*lMesh);
    Map lMap;
    ASSERT_TRUE(lMap.FillWithAdjacencyInfo(lMesh, 4));
    EXPECT_FALSE(lMap.FillWithAdjacencyInfo(nullptr, 4));
    EXPECT_FALSE(lMap.FillWithAdjacencyInfo(lMesh, 0));
    EXPECT_EQ(List(lMap, 0), (std::vector<int>{1, 3}));
}

// An edge whose two ends are the same control point c: the placement writes the other end, then this end,
// into the same slot of c's list before both counters advance, so c's list grows by two but only its first
// slot is written; the second keeps what sizing the list left there (0 in a fresh map). The steps are
// followed here rather than the looser description "lists that control point twice".
TEST(MoxMeshAdjacencyMap, RepeatedEndWritesOneSlotOfTwo)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::BuildMesh(*lMesh, std::vector<moxtest::Point>(2, moxtest::Point{0, 0, 0}), {{0, 1, 1}});
    moxoracle::BuildEdgesByWalk(*lMesh);
    ASSERT_EQ(lMesh->GetMeshEdgeCount(), 2);  // 0-1 and 1-1; side 1-0 is the same edge as 0-1
    Map lMap;
    ASSERT_TRUE(lMap.FillWithAdjacencyInfo(lMesh, 2));
    EXPECT_EQ(List(lMap, 0), (std::vector<int>{1}));
    EXPECT_EQ(List(lMap, 1), (std::vector<int>{0, 1, 0}));
}

// Ends at or past the count passed in go through the arrays' reports, never outside an allocation.
TEST(MoxMeshAdjacencyMap, EndsPastTheCountAreReportedBySafeArrays)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeCube(*lMesh);
    moxoracle::BuildEdgesByWalk(*lMesh);
    Map lMap;
    moxtest::ReportCapture lReports;
    EXPECT_TRUE(lMap.FillWithAdjacencyInfo(lMesh, 3));
    EXPECT_GT(lReports.Count(), 0u);
    EXPECT_EQ(lMap.GetCount(), 3);
}

TEST(MoxMeshAdjacencyMap, MatchesBruteForceOnRandomMeshes)
{
    for (uint32_t lSeed = 1; lSeed <= 300; ++lSeed) {
        SCOPED_TRACE("seed " + std::to_string(lSeed));
        moxtest::ManagerScope lScope;
        MoxMesh* lMesh = lScope.NewMesh();
        std::mt19937 lRandom(lSeed);
        moxtest::RandomMeshOptions lOptions;
        lOptions.mMinPoints = 1;
        // Polygons of 3 or more distinct corners: every edge has two valid ends. (Empty polygons make
        // the cached edge ends read past a polygon's run; their safety is covered by the fuzzer.)
        lOptions.mDegenerate = false;
        moxtest::MakeRandomMesh(*lMesh, lRandom, lOptions);
        moxoracle::BuildEdgesByWalk(*lMesh);
        const int lCount = lMesh->GetControlPointsCount();
        std::vector<std::vector<int>> lExpected(static_cast<size_t>(lCount));
        // The fill reads the edge ends through the edge-vertex cache, which it opens itself; with empty
        // polygons the cached ends differ from the scanning ones, so the expectation reads them the same way.
        lMesh->BeginGetMeshEdgeVertices();
        for (int e = 0; e < lMesh->GetMeshEdgeCount(); ++e) {
            int lStart = -1;
            int lEnd = -1;
            lMesh->GetMeshEdgeVertices(e, lStart, lEnd);
            lExpected[size_t(lStart)].push_back(lEnd);
            // A repeated end fills one slot of the two it counts; the other stays 0 in a fresh map.
            lExpected[size_t(lEnd)].push_back(lStart == lEnd ? 0 : lStart);
        }
        lMesh->EndGetMeshEdgeVertices();
        for (bool lCached : {false, true}) {
            if (lCached) lMesh->BeginGetMeshEdgeVertices();
            Map lMap;
            moxtest::ReportCapture lReports;
            ASSERT_TRUE(lMap.FillWithAdjacencyInfo(lMesh, lCount));
            EXPECT_EQ(lReports.Count(), 0u);
            EXPECT_EQ(lMap.mVertices.GetCount(), 2 * lMesh->GetMeshEdgeCount());
            for (int c = 0; c < lCount; ++c) EXPECT_EQ(List(lMap, c), lExpected[size_t(c)]) << c;
            // The fill ends the edge-vertex cache, the caller's too.
            EXPECT_FALSE(lMesh->mEdgeLookup.mValid);
        }
    }
}

}  // namespace
