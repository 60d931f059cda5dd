// The edge table of MoxMesh and its caches: named meshes with exact expectations, the Begin/End cache
// states, reports, allocation failures, and oracle comparisons on random meshes.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "moxsdk/scene/geometry/moxmesh.h"
#include "scene/geometry/moxmeshedges_testutil.h"
#include "scene/geometry/oracle/moxmeshedgesoracle.h"
#include "support/moxtestmeshes.h"
#include "support/moxtestsupport.h"

using namespace moxsdk;
using namespace moxedgetest;

namespace {

// What an operation gives on the cube, and the reports of one run of it.
struct FailureRun {
    std::vector<int> mResult;
    std::vector<moxtest::Report> mReports;
};

// Runs pOperation on a fresh cube with its edge table, with request n failing for n = 1, 2, ... until a run
// reaches no failure; gives each failing run, then the run without failure. Nothing may leak.
std::vector<FailureRun> RunWithEachRequestFailing(std::vector<int> (*pOperation)(MoxMesh&))
{
    std::vector<FailureRun> lRuns;
    moxtest::AllocationTracker lTracker;
    for (long n = 1;; ++n) {
        const long lLive = lTracker.Live();
        bool lFailed = false;
        {
            moxtest::ManagerScope lScope;
            MoxMesh* lMesh = lScope.NewMesh();
            moxtest::MakeCube(*lMesh);
            lMesh->BuildMeshEdgeArray();
            moxtest::ReportCapture lCapture;
            const long lFailures = lTracker.Failures();
            lTracker.FailAt(n);
            std::vector<int> lResult = pOperation(*lMesh);
            lTracker.FailAt(0);
            lFailed = lTracker.Failures() > lFailures;
            lRuns.push_back({lResult, lCapture.Reports()});
        }
        EXPECT_EQ(lTracker.Live(), lLive) << n;
        if (!lFailed) return lRuns;
    }
}

// The run whose only report is pMessage from pFunction of the mesh, or null.
const FailureRun* RunReportingOnly(const std::vector<FailureRun>& pRuns, const char* pFunction, const char* pMessage)
{
    for (const FailureRun& lRun : pRuns)
        if (lRun.mReports.size() == 1 && lRun.mReports[0].mFile == sgFile && lRun.mReports[0].mFunction == pFunction &&
            lRun.mReports[0].mMessage == pMessage)
            return &lRun;
    return nullptr;
}

TEST(MoxMeshEdgeTable, NoPolygonsGiveNoEdges)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::BuildMesh(*lMesh, Points(3), {});
    lMesh->BuildMeshEdgeArray();
    EXPECT_EQ(lMesh->GetMeshEdgeCount(), 0);
}

TEST(MoxMeshEdgeTable, QuadHasFourEdgesTheLastClosingToTheFirst)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeQuad(*lMesh);
    lMesh->BuildMeshEdgeArray();
    EXPECT_EQ(Values(lMesh->mEdgeArray), (std::vector<int>{0, 1, 2, 3}));
    int lStart = -5;
    int lEnd = -5;
    lMesh->GetMeshEdgeVertices(3, lStart, lEnd);
    EXPECT_EQ(lStart, 3);
    EXPECT_EQ(lEnd, 0);
}

TEST(MoxMeshEdgeTable, TwoTrianglesShareOneEdgeInTheFirstTrianglesDirection)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeTwoTriangles(*lMesh);
    lMesh->BuildMeshEdgeArray();
    // Side 2-1 of the second triangle (polygon vertex 3) is the shared edge, met first as 1-2.
    EXPECT_EQ(Values(lMesh->mEdgeArray), (std::vector<int>{0, 1, 2, 4, 5}));
    int lStart = -5;
    int lEnd = -5;
    lMesh->GetMeshEdgeVertices(1, lStart, lEnd);
    EXPECT_EQ(lStart, 1);
    EXPECT_EQ(lEnd, 2);
}

TEST(MoxMeshEdgeTable, SidesInTheSameDirectionAreOneEdge)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::BuildMesh(*lMesh, Points(4), {{0, 1, 2}, {1, 2, 3}});
    lMesh->BuildMeshEdgeArray();
    // Side 1-2 is polygon vertex 1 and again polygon vertex 3: one edge.
    EXPECT_EQ(Values(lMesh->mEdgeArray), (std::vector<int>{0, 1, 2, 4, 5}));
}

TEST(MoxMeshEdgeTable, RepeatedVertexGivesADegenerateEdgeOfItsOwn)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::BuildMesh(*lMesh, Points(2), {{0, 0, 1}});
    lMesh->BuildMeshEdgeArray();
    // 0-0 is an edge; 1-0 repeats the pair of 0-1.
    EXPECT_EQ(Values(lMesh->mEdgeArray), (std::vector<int>{0, 1}));
}

TEST(MoxMeshEdgeTable, BuildingAgainReplacesTheTable)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeQuad(*lMesh);
    lMesh->SetMeshEdgeCount(9);
    lMesh->BuildMeshEdgeArray();
    EXPECT_EQ(Values(lMesh->mEdgeArray), (std::vector<int>{0, 1, 2, 3}));
}

TEST(MoxMeshEdgeTable, NullFillFunctionIsReportedAndFillsNothing)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeQuad(*lMesh);
    MoxArray<int> lTable;
    int lCount = 0;
    moxtest::ReportCapture lCapture;
    Access(*lMesh).FillMeshEdgeTable(lTable, &lCount, nullptr);
    EXPECT_TRUE(lCapture.HasOnly(sgFile, "FillMeshEdgeTable", "FillFct != NULL"));
    EXPECT_EQ(lTable.GetCount(), 0);
    EXPECT_EQ(lCount, 0);
}

TEST(MoxMeshEdgeTable, SetMeshEdgeCountResizesWithoutMeaning)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeQuad(*lMesh);
    lMesh->SetMeshEdgeCount(3);
    EXPECT_EQ(lMesh->GetMeshEdgeCount(), 3);
    EXPECT_EQ(lMesh->mEdgeArray.GetCapacity(), 3);
    lMesh->SetMeshEdgeCount(0);
    EXPECT_EQ(lMesh->GetMeshEdgeCount(), 0);
    moxtest::ReportCapture lCapture;
    lMesh->SetMeshEdgeCount(-2);
    EXPECT_TRUE(lCapture.HasOnly(sgArrayFile, "Resize", "pSize > 0"));
}

TEST(MoxMeshEdgeTable, FindPolygonIndexFindsTheRangeOfTheEdgeStart)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::BuildMesh(*lMesh, Points(6), {{0, 1, 2}, {2, 1, 3, 4}, {4, 5}});
    // Edge entries: first vertex of polygon 1, its last vertex, the last polygon's last vertex, past all.
    lMesh->SetMeshEdgeCount(5);
    int* lEdges = lMesh->mEdgeArray.GetArray();
    lEdges[0] = 3;
    lEdges[1] = 6;
    lEdges[2] = 8;
    lEdges[3] = 9;
    lEdges[4] = -1;
    EXPECT_EQ(lMesh->FindPolygonIndex(0), 1);
    EXPECT_EQ(lMesh->FindPolygonIndex(1), 1);
    EXPECT_EQ(lMesh->FindPolygonIndex(2), 2);
    EXPECT_EQ(lMesh->FindPolygonIndex(3), -1);
    EXPECT_EQ(lMesh->FindPolygonIndex(4), -1);
    EXPECT_EQ(lMesh->FindPolygonIndex(-1), -1);
    EXPECT_EQ(lMesh->FindPolygonIndex(5), -1);
}

TEST(MoxMeshEdgeTable, PolygonIndexCompareOrdersAKeyAgainstARange)
{
    const MoxMesh::PolygonDef lRange{4, 3, -1};
    const MoxMesh::PolygonDef lBefore{3, 0, 0};
    const MoxMesh::PolygonDef lInside{6, 0, 0};
    const MoxMesh::PolygonDef lAfter{7, 0, 0};
    EXPECT_EQ(MoxMesh::PolygonIndexCompare(&lBefore, &lRange), -1);
    EXPECT_EQ(MoxMesh::PolygonIndexCompare(&lInside, &lRange), 0);
    EXPECT_EQ(MoxMesh::PolygonIndexCompare(&lAfter, &lRange), 1);
    // A record written out of range does not overflow the end computation.
    const MoxMesh::PolygonDef lHuge{INT_MAX, INT_MAX, 0};
    EXPECT_EQ(MoxMesh::PolygonIndexCompare(&lBefore, &lHuge), -1);
    EXPECT_EQ(MoxMesh::PolygonIndexCompare(&lHuge, &lRange), 1);
}

// The walk on a fan whose apex starts 100 edges: each spoke is registered once, from the apex.
TEST(MoxMeshEdgeTable, FanApexStartsEverySpoke)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    std::vector<std::vector<int>> lTriangles;
    lTriangles.reserve(100);
    for (int i = 0; i < 100; ++i) lTriangles.push_back({0, i + 2, i + 1});
    moxtest::BuildMesh(*lMesh, Points(102), lTriangles);
    lMesh->BuildMeshEdgeArray();
    EXPECT_EQ(Values(lMesh->mEdgeArray), moxoracle::EdgeTableWalk(*lMesh));
    int lFromApex = 0;
    for (int lVertex : lMesh->mEdgeArray) lFromApex += lMesh->mPolygonVertices[lVertex] == 0 ? 1 : 0;
    EXPECT_EQ(lFromApex, 100);
    EXPECT_EQ(lMesh->GetMeshEdgeCount(), 201);
}

TEST(MoxMeshEdgeTable, MatchesTheMultimapWalkOnRandomMeshes)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    for (unsigned int lSeed = 0; lSeed < 300; ++lSeed) {
        MakeOracleMesh(*lMesh, lSeed);
        moxtest::ReportCapture lCapture;
        const std::vector<int> lExpected = moxoracle::EdgeTableWalk(*lMesh);
        ASSERT_TRUE(moxoracle::KeepsWellFormed(*lMesh, [&] { lMesh->BuildMeshEdgeArray(); })) << "seed " << lSeed;
        ASSERT_EQ(Values(lMesh->mEdgeArray), lExpected) << "seed " << lSeed;
        ASSERT_EQ(lCapture.Count(), 0u) << "seed " << lSeed;
    }
}

// Polygon records that run past the polygon vertices (after user writes): the reads are reported by
// the array, and the edges are those of the plain walk.
TEST(MoxMeshEdgeTable, InconsistentPolygonRecordsGiveThePlainWalksEdges)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    for (unsigned int lSeed = 0; lSeed < 200; ++lSeed) {
        std::mt19937 lRandom(lSeed);
        moxtest::MakeRandomMesh(*lMesh, lRandom);
        if (lMesh->GetPolygonCount() == 0) continue;
        std::uniform_int_distribution<int> lPick(0, lMesh->GetPolygonCount() - 1);
        MoxMesh::PolygonDef& lPolygon = lMesh->mPolygons[lPick(lRandom)];
        lPolygon.mIndex += std::uniform_int_distribution<int>(-3, 3)(lRandom);
        lPolygon.mSize += std::uniform_int_distribution<int>(-2, 2)(lRandom);
        moxtest::ReportCapture lCapture;
        const std::vector<int> lExpected = moxoracle::EdgeTableWalk(*lMesh);
        const bool lOracleReported = lCapture.Count() > 0;
        lCapture.Clear();
        lMesh->BuildMeshEdgeArray();
        ASSERT_EQ(Values(lMesh->mEdgeArray), lExpected) << "seed " << lSeed;
        ASSERT_EQ(lCapture.Count() > 0, lOracleReported) << "seed " << lSeed;
    }
}

TEST(MoxMeshEdgeEditing, BeginBuildsTheMapOnce)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeTwoTriangles(*lMesh);
    lMesh->BuildMeshEdgeArray();
    lMesh->EndAddMeshEdgeIndex();
    EXPECT_FALSE(lMesh->mV2PVMap.mValid);
    lMesh->BeginAddMeshEdgeIndex();
    ASSERT_TRUE(lMesh->mV2PVMap.mValid);
    const MoxMesh::V2PVMap& lMap = lMesh->mV2PVMap;
    EXPECT_EQ(std::vector<int>(lMap.mVertex2PVCount, lMap.mVertex2PVCount + 4), (std::vector<int>{1, 2, 2, 1}));
    EXPECT_EQ(std::vector<int>(lMap.mVertex2PVOffset, lMap.mVertex2PVOffset + 5), (std::vector<int>{0, 1, 3, 5, 6}));
    std::vector<std::pair<int, int>> lPairs;
    lPairs.reserve(6);
    for (int i = 0; i < 6; ++i) lPairs.emplace_back(lMap.mVertex2PV[i].mFirst, lMap.mVertex2PV[i].mSecond);
    EXPECT_EQ(lPairs, (std::vector<std::pair<int, int>>{{0, 0}, {0, 1}, {1, 1}, {0, 2}, {1, 0}, {1, 2}}));
    std::vector<std::pair<int, int>> lEdges;
    for (const auto& lRecord : lMap.mEdgeSet)
        lEdges.emplace_back(lRecord.GetValue().mFirst, lRecord.GetValue().mSecond);
    EXPECT_EQ(lEdges, (std::vector<std::pair<int, int>>{{0, 1}, {0, 2}, {1, 2}, {1, 3}, {2, 3}}));
    EXPECT_EQ(lMap.mPVToEdge.GetCount(), 0);
    EXPECT_EQ(lMap.mPVToEdge.GetCapacity(), 6);

    moxtest::AllocationTracker lTracker;
    const MoxPair<int, int>* lPairsBlock = lMap.mVertex2PV;
    lMesh->BeginAddMeshEdgeIndex();
    EXPECT_EQ(lTracker.Requests(), 0);
    EXPECT_EQ(lMap.mVertex2PV, lPairsBlock);
    lMesh->EndAddMeshEdgeIndex();
    EXPECT_FALSE(lMap.mValid);
    EXPECT_EQ(lMap.mVertex2PV, nullptr);
    EXPECT_EQ(lMap.mVertex2PVOffset, nullptr);
    EXPECT_EQ(lMap.mVertex2PVCount, nullptr);
    EXPECT_EQ(lMap.mEdgeSet.GetSize(), 0);
    EXPECT_EQ(lMap.mEdgeSet.GetAllocator().GetRecordPoolSize(), 0u);
    lMesh->EndAddMeshEdgeIndex();
    EXPECT_FALSE(lMap.mValid);
}

TEST(MoxMeshEdgeEditing, BeginReportsVerticesOutsideTheControlPoints)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::BuildMesh(*lMesh, Points(3), {{0, 1, 5}});
    lMesh->BuildMeshEdgeArray();
    moxtest::ReportCapture lCapture;
    lMesh->BeginAddMeshEdgeIndex();
    // Counting and placing each report the vertex; edge 5-0 has a start outside the control points.
    EXPECT_EQ(Messages(lCapture), (std::vector<std::string>{"Vertex >= 0 && Vertex < lControlPointsCount",
                                                            "Vertex >= 0 && Vertex < lControlPointsCount",
                                                            "lStartVertexIndex < lControlPointsCount"}));
    for (const moxtest::Report& lReport : lCapture.Reports()) EXPECT_EQ(lReport.mFunction, "BeginAddMeshEdgeIndex");
    const MoxMesh::V2PVMap& lMap = lMesh->mV2PVMap;
    EXPECT_EQ(std::vector<int>(lMap.mVertex2PVOffset, lMap.mVertex2PVOffset + 4), (std::vector<int>{0, 1, 2, 2}));
    EXPECT_EQ(lMap.mEdgeSet.GetSize(), 2);  // 0-1 and 1-5 (the end is not checked)
    EXPECT_TRUE(lMap.mEdgeSet.Find(MoxPair<int, int>(1, 5)));
    lMesh->EndAddMeshEdgeIndex();
}

TEST(MoxMeshEdgeEditing, BeginEndsTheCallersEdgeVertexCache)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeQuad(*lMesh);
    lMesh->BuildMeshEdgeArray();
    lMesh->BeginGetMeshEdgeVertices();
    ASSERT_TRUE(lMesh->mEdgeLookup.mValid);
    lMesh->BeginAddMeshEdgeIndex();
    EXPECT_FALSE(lMesh->mEdgeLookup.mValid);
    EXPECT_EQ(lMesh->mEdgeLookup.mClosingVertex.GetCount(), 0);
    lMesh->EndAddMeshEdgeIndex();
}

TEST(MoxMeshEdgeEditing, AllocationFailureReportsTheBlockAndLeaksNothing)
{
    const char* const lNames[] = {"Vertex2PVCount", "Vertex2PVOffset", "Vertex2PVCounter", "Vertex2PV"};
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeCube(*lMesh);
    lMesh->BuildMeshEdgeArray();
    for (int i = 0; i < 4; ++i) {
        moxtest::AllocationTracker lTracker;
        moxtest::ReportCapture lCapture;
        lTracker.FailAt(i + 1);
        lMesh->BeginAddMeshEdgeIndex();
        EXPECT_TRUE(lCapture.HasOnly(sgFile, "BeginAddMeshEdgeIndex", lNames[i]));
        EXPECT_FALSE(lMesh->mV2PVMap.mValid);
        EXPECT_EQ(lMesh->mV2PVMap.mVertex2PV, nullptr);
        EXPECT_EQ(lMesh->mV2PVMap.mVertex2PVOffset, nullptr);
        EXPECT_EQ(lMesh->mV2PVMap.mVertex2PVCount, nullptr);
        EXPECT_EQ(lTracker.Live(), 0);
        // Every call then takes the scanning path.
        lMesh->SetMeshEdgeCount(13);
        EXPECT_EQ(lMesh->SetMeshEdgeIndex(12, 0, 2, true, 12), -2);
        EXPECT_EQ(lMesh->SetMeshEdgeIndex(12, 7, 0, false, -1), -1);
        lMesh->SetMeshEdgeCount(12);
    }
    // Failures further on (edge set, caches) leave a consistent map or none, and leak nothing either.
    for (int i = 5; i < 40; ++i) {
        moxtest::AllocationTracker lTracker;
        moxtest::ReportCapture lCapture;
        lTracker.FailAt(i);
        lMesh->BeginAddMeshEdgeIndex();
        lMesh->EndAddMeshEdgeIndex();
        EXPECT_EQ(lTracker.Live(), 0) << i;
    }
}

TEST(MoxMeshEdgeEditing, AccelerationBlocksWithoutMemoryAreReportedAndTheResultStays)
{
    struct Case {
        std::vector<int> (*mOperation)(MoxMesh&);
        const char* mFunction;
        std::vector<const char*> mBlocks;
    };
    const Case lCases[] = {
        {[](MoxMesh& pMesh) {
             pMesh.BeginAddMeshEdgeIndex();
             return std::vector<int>{pMesh.mV2PVMap.mValid ? pMesh.mV2PVMap.mEdgeSet.GetSize() : -1};
         },
         "BeginAddMeshEdgeIndex",
         {"lKeys", "lSorted", "lStarts"}},
        {[](MoxMesh& pMesh) {
             pMesh.BeginGetMeshEdgeIndexForPolygon();
             std::vector<int> lEdges;
             for (int p = 0; p < pMesh.GetPolygonCount(); ++p)
                 for (int k = 0; k < 4; ++k) lEdges.push_back(pMesh.GetMeshEdgeIndexForPolygon(p, k));
             pMesh.EndGetMeshEdgeIndexForPolygon();
             return lEdges;
         },
         "BeginGetMeshEdgeIndexForPolygon",
         {"mFirst", "mOthers"}},
        {[](MoxMesh& pMesh) {
             MoxArray<int> lList;
             lList.Add(0);
             lList.Add(2);
             pMesh.RemoveDuplicatedEdges(lList);
             return Values(pMesh.mEdgeArray);
         },
         "RemoveDuplicatedEdges",
         {"lFreed"}},
    };
    for (const Case& lCase : lCases) {
        SCOPED_TRACE(lCase.mFunction);
        const std::vector<FailureRun> lRuns = RunWithEachRequestFailing(lCase.mOperation);
        for (size_t i = 0; i + 1 < lRuns.size(); ++i) EXPECT_FALSE(lRuns[i].mReports.empty()) << i + 1;
        EXPECT_TRUE(lRuns.back().mReports.empty());
        for (const char* lBlock : lCase.mBlocks) {
            const FailureRun* lRun = RunReportingOnly(lRuns, lCase.mFunction, lBlock);
            ASSERT_NE(lRun, nullptr) << lBlock;
            EXPECT_EQ(lRun->mResult, lRuns.back().mResult) << lBlock;
        }
    }
}

TEST(MoxMeshEdgeQueries, EdgeVertexCacheStates)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeTwoTriangles(*lMesh);
    lMesh->EndGetMeshEdgeVertices();
    EXPECT_FALSE(lMesh->mEdgeLookup.mValid);
    lMesh->BeginGetMeshEdgeVertices();
    EXPECT_TRUE(lMesh->mEdgeLookup.mValid);
    EXPECT_EQ(Values(lMesh->mEdgeLookup.mClosingVertex), (std::vector<int>{-1, -1, 0, -1, -1, 2}));
    // A second Begin keeps the table, even if the polygons changed meanwhile.
    lMesh->mPolygonVertices[0] = 3;
    lMesh->BeginGetMeshEdgeVertices();
    EXPECT_EQ(lMesh->mEdgeLookup.mClosingVertex[2], 0);
    lMesh->EndGetMeshEdgeVertices();
    EXPECT_FALSE(lMesh->mEdgeLookup.mValid);
    EXPECT_EQ(lMesh->mEdgeLookup.mClosingVertex.GetCapacity(), 0);
}

TEST(MoxMeshEdgeQueries, EdgeIndexForPolygonCacheStates)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeTwoTriangles(*lMesh);
    lMesh->BuildMeshEdgeArray();
    lMesh->BeginGetMeshEdgeIndexForPolygon();
    EXPECT_TRUE(lMesh->mV2PVMap.mValid);
    // Each edge's first vertex holds its edge number; vertex 3 starts no edge and holds the reserved 0.
    EXPECT_EQ(Values(lMesh->mV2PVMap.mPVToEdge), (std::vector<int>{0, 1, 2, 0, 3, 4}));
    // A second Begin walks again and records the same.
    lMesh->BeginGetMeshEdgeIndexForPolygon();
    EXPECT_EQ(Values(lMesh->mV2PVMap.mPVToEdge), (std::vector<int>{0, 1, 2, 0, 3, 4}));
    lMesh->EndGetMeshEdgeIndexForPolygon();
    EXPECT_FALSE(lMesh->mV2PVMap.mValid);
    EXPECT_EQ(lMesh->mV2PVMap.mPVToEdge.GetCapacity(), 0);
    lMesh->EndGetMeshEdgeIndexForPolygon();
    // Begin/End of the edge-adding pass alone leaves mPVToEdge empty: the query then scans.
    lMesh->BeginAddMeshEdgeIndex();
    EXPECT_EQ(lMesh->GetMeshEdgeIndexForPolygon(1, 0), 1);
    lMesh->EndAddMeshEdgeIndex();
}

TEST(MoxMeshEdgeQueries, EdgeStartMissingFromTheEdgeArrayIsReported)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeTwoTriangles(*lMesh);
    lMesh->BuildMeshEdgeArray();
    lMesh->mEdgeArray[3] = 1;  // polygon vertex 4 (side 1-3) is now missing
    moxtest::ReportCapture lCapture;
    lMesh->BeginGetMeshEdgeIndexForPolygon();
    EXPECT_TRUE(lCapture.HasOnly(sgFile, "FillV2Edge", "value != -1"));
    EXPECT_EQ(Values(lMesh->mV2PVMap.mPVToEdge), (std::vector<int>{0, 1, 2, 0, -1, 4}));
    EXPECT_EQ(lMesh->GetMeshEdgeIndexForPolygon(1, 1), -1);
    lMesh->EndGetMeshEdgeIndexForPolygon();
}

// Where the closing-vertex table and the scan differ: an empty polygon names as its last vertex the one
// before it, and overwrites that entry with the next polygon's first control point; a first control point
// of -1 reads as "no closing vertex" and the table then gives the next polygon vertex.
TEST(MoxMeshEdgeQueries, ClosingVertexTableDiffersOnEmptyPolygonsAndMinusOne)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    for (int lCase = 0; lCase < 2; ++lCase) {
        if (lCase == 0) moxtest::BuildMesh(*lMesh, Points(6), {{0, 1, 2}, {}, {3, 4, 5}});
        if (lCase == 1) moxtest::BuildMesh(*lMesh, Points(3), {{-1, 1, 2}, {2, 1, 0}});
        lMesh->SetMeshEdgeCount(1);
        lMesh->mEdgeArray[0] = 2;
        int lStart = 0;
        int lEnd = 0;
        lMesh->GetMeshEdgeVertices(0, lStart, lEnd);
        EXPECT_EQ(lEnd, lCase == 0 ? 0 : -1);
        lMesh->BeginGetMeshEdgeVertices();
        lMesh->GetMeshEdgeVertices(0, lStart, lEnd);
        EXPECT_EQ(lEnd, lCase == 0 ? 3 : 2);
        lMesh->EndGetMeshEdgeVertices();
    }
}

TEST(MoxMeshEdgeOracle, PVToEdgeMatchesTheLinearSearch)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    for (unsigned int lSeed = 0; lSeed < 300; ++lSeed) {
        MakeOracleMesh(*lMesh, lSeed);
        lMesh->BuildMeshEdgeArray();
        // Some edge arrays lose or repeat entries, so that starts go missing or occur twice.
        std::mt19937 lRandom(lSeed);
        if (lSeed % 2 && lMesh->GetMeshEdgeCount() > 0) {
            std::uniform_int_distribution<int> lPick(0, lMesh->GetMeshEdgeCount() - 1);
            lMesh->mEdgeArray[lPick(lRandom)] = lMesh->mEdgeArray[lPick(lRandom)];
            lMesh->mEdgeArray[lPick(lRandom)] = std::uniform_int_distribution<int>(-3, 200)(lRandom);
        }
        int lMissing = 0;
        moxtest::ReportCapture lCapture;
        const std::vector<int> lExpected = moxoracle::PVToEdge(*lMesh, &lMissing);
        ASSERT_TRUE(moxoracle::KeepsWellFormed(*lMesh, [&] { lMesh->BeginGetMeshEdgeIndexForPolygon(); })) << lSeed;
        ASSERT_EQ(Values(lMesh->mV2PVMap.mPVToEdge), lExpected) << "seed " << lSeed;
        int lReported = 0;
        for (const moxtest::Report& lReport : lCapture.Reports())
            lReported += lReport.mMessage == "value != -1" ? 1 : 0;
        ASSERT_EQ(lReported, lMissing) << "seed " << lSeed;
        lMesh->EndGetMeshEdgeIndexForPolygon();
    }
}

TEST(MoxMeshEdgeOracle, MapMatchesTheCountingSort)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    for (unsigned int lSeed = 0; lSeed < 300; ++lSeed) {
        MakeOracleMesh(*lMesh, lSeed);
        lMesh->BuildMeshEdgeArray();
        if (lSeed % 2) lMesh->AddMeshEdgeIndex(0, 1, false);
        const moxoracle::V2PV lExpected = moxoracle::BuildV2PV(*lMesh);
        moxtest::ReportCapture lCapture;
        ASSERT_TRUE(moxoracle::KeepsWellFormed(*lMesh, [&] { lMesh->BeginAddMeshEdgeIndex(); })) << lSeed;
        const MoxMesh::V2PVMap& lMap = lMesh->mV2PVMap;
        const size_t n = lExpected.mCount.size();
        ASSERT_TRUE(lMap.mValid);
        ASSERT_EQ(std::vector<int>(lMap.mVertex2PVCount, lMap.mVertex2PVCount + n), lExpected.mCount) << lSeed;
        ASSERT_EQ(std::vector<int>(lMap.mVertex2PVOffset, lMap.mVertex2PVOffset + n + 1), lExpected.mOffset) << lSeed;
        std::vector<std::pair<int, int>> lPairs;
        for (size_t i = 0; i < lExpected.mPairs.size(); ++i)
            lPairs.emplace_back(lMap.mVertex2PV[i].mFirst, lMap.mVertex2PV[i].mSecond);
        ASSERT_EQ(lPairs, lExpected.mPairs) << lSeed;
        std::vector<std::pair<int, int>> lEdges;
        for (const auto& lRecord : lMap.mEdgeSet)
            lEdges.emplace_back(lRecord.GetValue().mFirst, lRecord.GetValue().mSecond);
        ASSERT_EQ(lEdges, lExpected.mEdges) << lSeed;
        ASSERT_TRUE(lMap.mEdgeSet.IsValid());
        lMesh->EndAddMeshEdgeIndex();
    }
}

// A fan's apex gets a neighbour index; its candidates are exactly the corners next to each neighbour.
TEST(MoxMeshEdgeOracle, NeighbourIndexVisitsTheCornersNextToTheNeighbour)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    std::vector<std::vector<int>> lTriangles;
    lTriangles.reserve(80);
    for (int i = 0; i < 80; ++i) lTriangles.push_back({0, i % 40 + 2, i % 40 + 1});
    moxtest::BuildMesh(*lMesh, Points(42), lTriangles);
    lMesh->BeginAddMeshEdgeIndex();
    MeshAccess& lAccess = Access(*lMesh);
    ASSERT_GT(lAccess.mV2PVNeighbours.GetCount(), 0);
    EXPECT_EQ(lAccess.GetV2PVCount(0), 80);
    for (int lNeighbour = 0; lNeighbour < 43; ++lNeighbour) {
        std::vector<int> lCandidates;
        for (int k = lAccess.NextV2PVCorner(0, lNeighbour, 0); k != -1;
             k = lAccess.NextV2PVCorner(0, lNeighbour, k + 1))
            lCandidates.push_back(k);
        std::vector<int> lExpected;
        for (int k = 0; k < 80; ++k)
            if (lNeighbour >= 1 && lNeighbour <= 41 && (k % 40 + 2 == lNeighbour || k % 40 + 1 == lNeighbour))
                lExpected.push_back(k);
        EXPECT_EQ(lCandidates, lExpected) << lNeighbour;
    }
    // Other control points are walked corner by corner; outside the map there are no corners.
    EXPECT_EQ(lAccess.NextV2PVCorner(5, 99, 1), 1);
    EXPECT_EQ(lAccess.NextV2PVCorner(5, 99, 4), -1);
    EXPECT_EQ(lAccess.NextV2PVCorner(-1, 0, 0), -1);
    EXPECT_EQ(lAccess.NextV2PVCorner(42, 0, 0), -1);
    // Once the polygons change, the index is no longer used.
    lMesh->BeginPolygon();
    lMesh->AddPolygon(0);
    EXPECT_EQ(lAccess.NextV2PVCorner(0, 7, 3), 3);
    lMesh->EndAddMeshEdgeIndex();
    EXPECT_EQ(lAccess.mV2PVNeighbours.GetCount(), 0);
    EXPECT_EQ(lAccess.GetV2PVCount(0), 0);
}

// The map describes the corners of Begin, while SetMeshEdgeIndex reads their neighbours as they are when it
// runs: on a fan, apex 0 answers the same below and above the corner count where its corners are indexed
// by neighbour (32), whether the vertex is written through GetPolygonVertices or through the member with
// the edit recorded.
TEST(MoxMeshEdgeOracle, ApexSeesAVertexWrittenAfterBegin)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    for (int n = 30; n <= 40; ++n) {
        const int m = n / 2;
        for (bool lThroughMember : {false, true}) {
            moxtest::MakeClosedFan(*lMesh, n, n + 3);
            lMesh->BuildMeshEdgeArray();
            lMesh->BeginAddMeshEdgeIndex();
            if (lThroughMember) {
                lMesh->mPolygonVertices[3 * m + 1] = n + 2;
                lMesh->NotePolygonEdit();
            } else {
                lMesh->GetPolygonVertices()[3 * m + 1] = n + 2;
            }
            moxtest::ReportCapture lReports;
            EXPECT_EQ(lMesh->SetMeshEdgeIndex(0, 0, n + 2, false, -1), 0) << n;
            EXPECT_EQ(lMesh->mEdgeArray[0], 3 * m) << n;
            EXPECT_EQ(lReports.Count(), 0u) << n;
            lMesh->EndAddMeshEdgeIndex();
        }
    }
}

// The same after a polygon is removed and another appended (the counts are those of Begin again).
TEST(MoxMeshEdgeOracle, ApexSeesPolygonsReplacedAfterBegin)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    for (int n = 30; n <= 40; ++n) {
        moxtest::MakeClosedFan(*lMesh, n, n + 1);
        lMesh->BuildMeshEdgeArray();
        lMesh->BeginAddMeshEdgeIndex();
        EXPECT_EQ(lMesh->RemovePolygon(0), 0) << n;
        lMesh->BeginPolygon(-1, -1, -1, true);
        for (int lVertex : {0, 5, 0}) lMesh->AddPolygon(lVertex, -1);
        lMesh->EndPolygon();
        moxtest::ReportCapture lReports;
        EXPECT_EQ(lMesh->SetMeshEdgeIndex(0, 0, 0, false, -1), 0) << n;
        EXPECT_EQ(lMesh->mEdgeArray[0], 3 * (n - 1) + 2) << n;
        EXPECT_EQ(lReports.Count(), 0u) << n;
        lMesh->EndAddMeshEdgeIndex();
    }
}

// Control points added after Begin are outside the map: no corners, no read outside its blocks.
TEST(MoxMeshEdgeOracle, ControlPointsAddedInsideThePairHaveNoCorners)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeQuad(*lMesh);
    lMesh->BuildMeshEdgeArray();
    lMesh->BeginGetMeshEdgeIndexForPolygon();
    lMesh->SetControlPointCount(100);
    lMesh->mPolygonVertices[0] = 60;
    lMesh->SetMeshEdgeCount(5);
    EXPECT_EQ(lMesh->SetMeshEdgeIndex(4, 60, 1, false, -1), -1);
    EXPECT_EQ(lMesh->GetMeshEdgeIndexForPolygon(0, 0), -1);
    lMesh->EndGetMeshEdgeIndexForPolygon();
}

}  // namespace
