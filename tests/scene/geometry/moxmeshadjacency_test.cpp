// The adjacency maps of MoxMesh: ComputeComponentMaps on named meshes (closed, open, non-manifold, a
// fan), against incidence counted by brute force and against the plain per-edge corner walk.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "moxsdk/scene/geometry/moxmesh.h"
#include "scene/geometry/oracle/moxmeshedgesoracle.h"
#include "support/moxtestmeshes.h"
#include "support/moxtestsupport.h"

using namespace moxsdk;

namespace {

const char* const sgFile = "scene/geometry/moxmesh";

std::vector<int> Values(const MoxArray<int>& pArray)
{
    return std::vector<int>(pArray.begin(), pArray.end());
}

std::vector<int> List(const MoxMesh::ComponentMap& pMap, int pSource)
{
    std::vector<int> lList;
    lList.reserve(pMap.GetCount(pSource));
    for (int i = 0; i < pMap.GetCount(pSource); ++i) lList.push_back(pMap.GetValue(pSource, i));
    return lList;
}

std::vector<moxtest::Point> Points(int pCount)
{
    std::vector<moxtest::Point> lPoints;
    lPoints.reserve(pCount);
    for (int i = 0; i < pCount; ++i) lPoints.push_back({double(i), double(i % 5), 0.0});
    return lPoints;
}

// Brute force, for meshes whose polygons have distinct corners: the polygons having a side that joins the
// edge's two control points, and for each polygon the edges joining two consecutive corners.
void ExpectBruteForceIncidence(MoxMesh& pMesh, const MoxMesh::ComponentMap& pEdgeToPolygons,
                               const MoxMesh::ComponentMap& pPolygonToEdges)
{
    const int lEdgeCount = pMesh.GetMeshEdgeCount();
    std::vector<std::vector<int>> lPolygonsOf(static_cast<size_t>(lEdgeCount));
    std::vector<std::vector<int>> lEdgesOf(static_cast<size_t>(pMesh.GetPolygonCount()));
    for (int e = 0; e < lEdgeCount; ++e) {
        int u = -1;
        int w = -1;
        pMesh.GetMeshEdgeVertices(e, u, w);
        for (int q = 0; q < pMesh.GetPolygonCount(); ++q) {
            const int n = pMesh.GetPolygonSize(q);
            for (int i = 0; i < n; ++i) {
                const int a = pMesh.GetPolygonVertex(q, i);
                const int b = pMesh.GetPolygonVertex(q, (i + 1) % n);
                if ((a == u && b == w) || (a == w && b == u)) {
                    lPolygonsOf[static_cast<size_t>(e)].push_back(q);
                    lEdgesOf[static_cast<size_t>(q)].push_back(e);
                    break;
                }
            }
        }
    }
    ASSERT_EQ(pEdgeToPolygons.GetCount(), lEdgeCount);
    ASSERT_EQ(pPolygonToEdges.GetCount(), pMesh.GetPolygonCount());
    for (int e = 0; e < lEdgeCount; ++e) EXPECT_EQ(List(pEdgeToPolygons, e), lPolygonsOf[static_cast<size_t>(e)]) << e;
    for (int q = 0; q < pMesh.GetPolygonCount(); ++q)
        EXPECT_EQ(List(pPolygonToEdges, q), lEdgesOf[static_cast<size_t>(q)]) << q;
}

TEST(MoxMeshComponentMaps, ClosedCubeHasTwoPolygonsPerEdgeAndFourEdgesPerPolygon)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeCube(*lMesh);
    lMesh->BuildMeshEdgeArray();
    MoxMesh::ComponentMap lEdgeToPolygons;
    MoxMesh::ComponentMap lPolygonToEdges;
    moxtest::ReportCapture lCapture;
    lMesh->ComputeComponentMaps(lEdgeToPolygons, lPolygonToEdges);
    EXPECT_EQ(lCapture.Count(), 0u);
    ASSERT_EQ(lMesh->GetMeshEdgeCount(), 12);
    for (int e = 0; e < 12; ++e) EXPECT_EQ(lEdgeToPolygons.GetCount(e), 2);
    for (int q = 0; q < 6; ++q) EXPECT_EQ(lPolygonToEdges.GetCount(q), 4);
    EXPECT_EQ(lEdgeToPolygons.mData.GetCount(), 36);
    EXPECT_EQ(lEdgeToPolygons.mOffsets.GetCount(), 13);
    EXPECT_EQ(lPolygonToEdges.mData.GetCount(), 24);
    EXPECT_EQ(Values(lPolygonToEdges.mOffsets), (std::vector<int>{0, 4, 8, 12, 16, 20, 24}));
    ExpectBruteForceIncidence(*lMesh, lEdgeToPolygons, lPolygonToEdges);
}

TEST(MoxMeshComponentMaps, SingleTriangle)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::BuildMesh(*lMesh, Points(3), {{0, 1, 2}});
    lMesh->BuildMeshEdgeArray();
    MoxMesh::ComponentMap lEdgeToPolygons;
    MoxMesh::ComponentMap lPolygonToEdges;
    lMesh->ComputeComponentMaps(lEdgeToPolygons, lPolygonToEdges);
    EXPECT_EQ(Values(lEdgeToPolygons.mOffsets), (std::vector<int>{0, 1, 2, 3}));
    EXPECT_EQ(std::vector<int>(lEdgeToPolygons.mData.begin(), lEdgeToPolygons.mData.begin() + 3),
              (std::vector<int>{0, 0, 0}));
    EXPECT_EQ(Values(lPolygonToEdges.mOffsets), (std::vector<int>{0, 3}));
    EXPECT_EQ(Values(lPolygonToEdges.mData), (std::vector<int>{0, 1, 2}));
}

TEST(MoxMeshComponentMaps, OutOfRangeEdgeIsReportedAndContributesNothing)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::BuildMesh(*lMesh, Points(3), {{0, 1, 2}});
    lMesh->BuildMeshEdgeArray();
    lMesh->mEdgeArray.Add(7);
    lMesh->mEdgeArray.Add(1);
    MoxMesh::ComponentMap lEdgeToPolygons;
    MoxMesh::ComponentMap lPolygonToEdges;
    moxtest::ReportCapture lCapture;
    lMesh->ComputeComponentMaps(lEdgeToPolygons, lPolygonToEdges);
    EXPECT_TRUE(lCapture.HasOnly(sgFile, "ComputeComponentMaps",
                                 "mEdgeArray[i] >= 0 && mEdgeArray[i] < mPolygonVertices.GetCount()"));
    // Edge 3 is skipped, and so is edge 4 (the directed pair 1-2 of edge 1): their end offsets stay 0.
    EXPECT_EQ(Values(lEdgeToPolygons.mOffsets), (std::vector<int>{0, 1, 2, 3, 0, 0}));
    EXPECT_EQ(lEdgeToPolygons.mData.GetCount(), 15);
    EXPECT_EQ(Values(lPolygonToEdges.mData), (std::vector<int>{0, 1, 2}));
    // Read as they are, those offsets give counts of 0.
    EXPECT_EQ(lEdgeToPolygons.GetCount(3), 0);
    EXPECT_EQ(lEdgeToPolygons.GetCount(4), 0);
}

TEST(MoxMeshComponentMaps, StartOutsideTheControlPointsIsReported)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::BuildMesh(*lMesh, Points(3), {{0, 1, 5}});
    lMesh->BuildMeshEdgeArray();
    MoxMesh::ComponentMap lEdgeToPolygons;
    MoxMesh::ComponentMap lPolygonToEdges;
    moxtest::ReportCapture lCapture;
    lMesh->ComputeComponentMaps(lEdgeToPolygons, lPolygonToEdges);
    // The first three come from building the map; the last is the skipped edge 5-0.
    EXPECT_EQ(lCapture.Messages(),
              (std::vector<std::string>{"Vertex >= 0 && Vertex < lControlPointsCount",
                                        "Vertex >= 0 && Vertex < lControlPointsCount",
                                        "lStartVertexIndex < lControlPointsCount", "lV1 < lControlPointCount"}));
    EXPECT_EQ(lCapture.Reports()[3].mFunction, "ComputeComponentMaps");
    EXPECT_EQ(Values(lEdgeToPolygons.mOffsets), (std::vector<int>{0, 1, 2, 0}));
    EXPECT_EQ(Values(lPolygonToEdges.mData), (std::vector<int>{0, 1, 0}));
}

TEST(MoxMeshComponentMaps, ComputingTwiceGivesTheSameMaps)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeGrid(*lMesh, 3, 2, false);
    lMesh->BuildMeshEdgeArray();
    MoxMesh::ComponentMap lMaps[4];
    lMesh->ComputeComponentMaps(lMaps[0], lMaps[1]);
    lMaps[2].mData.Add(99);
    lMaps[3].mOffsets.Add(99);
    lMesh->ComputeComponentMaps(lMaps[2], lMaps[3]);
    EXPECT_EQ(Values(lMaps[0].mOffsets), Values(lMaps[2].mOffsets));
    EXPECT_EQ(Values(lMaps[0].mData), Values(lMaps[2].mData));
    EXPECT_EQ(Values(lMaps[1].mOffsets), Values(lMaps[3].mOffsets));
    EXPECT_EQ(Values(lMaps[1].mData), Values(lMaps[3].mData));
    lMesh->ComputeComponentMaps(lMaps[0], lMaps[1]);
    EXPECT_EQ(Values(lMaps[0].mData), Values(lMaps[2].mData));
    EXPECT_EQ(Values(lMaps[1].mData), Values(lMaps[3].mData));
}

TEST(MoxMeshComponentMaps, EndsTheCallersEdgeAddingPass)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeQuad(*lMesh);
    lMesh->BuildMeshEdgeArray();
    lMesh->BeginAddMeshEdgeIndex();
    MoxMesh::ComponentMap lEdgeToPolygons;
    MoxMesh::ComponentMap lPolygonToEdges;
    lMesh->ComputeComponentMaps(lEdgeToPolygons, lPolygonToEdges);
    EXPECT_FALSE(lMesh->mV2PVMap.mValid);
    EXPECT_EQ(lMesh->mV2PVMap.mVertex2PV, nullptr);
    EXPECT_EQ(Values(lPolygonToEdges.mData), (std::vector<int>{0, 1, 2, 3}));
    // Without a pass of its own the operation builds and ends one.
    lMesh->ComputeComponentMaps(lEdgeToPolygons, lPolygonToEdges);
    EXPECT_FALSE(lMesh->mV2PVMap.mValid);
}

TEST(MoxMeshComponentMaps, ClosedOpenAndNonManifoldMeshesMatchBruteForce)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    MoxMesh::ComponentMap lEdgeToPolygons;
    MoxMesh::ComponentMap lPolygonToEdges;
    for (int lCase = 0; lCase < 4; ++lCase) {
        if (lCase == 0) moxtest::MakeGrid(*lMesh, 5, 4, true);
        if (lCase == 1) moxtest::MakeGrid(*lMesh, 4, 3, false);
        // Three triangles on edge 0-1, one of them wound the other way, and a bow-tie at control point 4.
        if (lCase == 2) moxtest::BuildMesh(*lMesh, Points(9), {{0, 1, 2}, {1, 0, 3}, {0, 1, 4}, {4, 5, 6}, {4, 7, 8}});
        // A fan of 50 triangles whose apex starts every spoke.
        if (lCase == 3) {
            std::vector<std::vector<int>> lFan;
            lFan.reserve(50);
            for (int i = 0; i < 50; ++i) lFan.push_back({0, i + 2, i + 1});
            moxtest::BuildMesh(*lMesh, Points(52), lFan);
        }
        lMesh->BuildMeshEdgeArray();
        lMesh->ComputeComponentMaps(lEdgeToPolygons, lPolygonToEdges);
        SCOPED_TRACE(lCase);
        ExpectBruteForceIncidence(*lMesh, lEdgeToPolygons, lPolygonToEdges);
    }
}

TEST(MoxMeshComponentMaps, NonManifoldEdgeListsAllItsPolygons)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::BuildMesh(*lMesh, Points(6), {{0, 1, 2}, {1, 0, 3}, {0, 1, 4}, {1, 0, 5}});
    lMesh->BuildMeshEdgeArray();
    MoxMesh::ComponentMap lEdgeToPolygons;
    MoxMesh::ComponentMap lPolygonToEdges;
    lMesh->ComputeComponentMaps(lEdgeToPolygons, lPolygonToEdges);
    EXPECT_EQ(List(lEdgeToPolygons, 0), (std::vector<int>{0, 1, 2, 3}));
    // 9 edges reserve 27 entries; 4 + 8 x 1 are used.
    EXPECT_EQ(lEdgeToPolygons.mData.GetCount(), 27);
}

TEST(MoxMeshComponentMaps, DataGrowsWhenEdgesHaveManyPolygons)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    std::vector<std::vector<int>> lTriangles;
    lTriangles.reserve(8);
    for (int i = 0; i < 8; ++i) lTriangles.push_back({0, 1, 2});
    moxtest::BuildMesh(*lMesh, Points(3), lTriangles);
    lMesh->BuildMeshEdgeArray();
    MoxMesh::ComponentMap lEdgeToPolygons;
    MoxMesh::ComponentMap lPolygonToEdges;
    lMesh->ComputeComponentMaps(lEdgeToPolygons, lPolygonToEdges);
    // 3 edges reserve 9 entries; 24 are needed: the array doubles to 18, then 36.
    EXPECT_EQ(lEdgeToPolygons.mData.GetCount(), 36);
    EXPECT_EQ(Values(lEdgeToPolygons.mOffsets), (std::vector<int>{0, 8, 16, 24}));
    EXPECT_EQ(List(lEdgeToPolygons, 2), (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7}));
    EXPECT_EQ(List(lPolygonToEdges, 5), (std::vector<int>{0, 1, 2}));
}

TEST(MoxMeshComponentMaps, GetCountAndGetValueOutsideTheMap)
{
    MoxMesh::ComponentMap lMap;
    EXPECT_EQ(lMap.GetCount(), 0);
    EXPECT_EQ(lMap.GetCount(0), 0);
    EXPECT_EQ(lMap.GetValue(0, 0), -1);
    lMap.mOffsets.Add(0);
    lMap.mOffsets.Add(2);
    lMap.mOffsets.Add(5);
    for (int v : {7, 8, 9}) lMap.mData.Add(v);
    EXPECT_EQ(lMap.GetCount(), 2);
    EXPECT_EQ(lMap.GetCount(-1), 0);
    EXPECT_EQ(lMap.GetCount(2), 0);
    EXPECT_EQ(lMap.GetCount(1), 3);
    EXPECT_EQ(lMap.GetValue(0, 1), 8);
    EXPECT_EQ(lMap.GetValue(0, 2), -1);
    EXPECT_EQ(lMap.GetValue(1, 0), 9);
    EXPECT_EQ(lMap.GetValue(1, 1), -1);  // past the data
    EXPECT_EQ(lMap.GetValue(-1, 0), -1);
}

// Against the plain per-edge walk over every corner, on random meshes (degenerate polygons, invalid
// indices, control points of high valence) with edge arrays built, edited or corrupted.
// The maps match the oracle's: the edge-to-polygons data up to the entries the oracle filled (its array
// may have grown past them), everything else whole.
void ExpectOracleMaps(const moxoracle::ComponentMaps& pExpected, const MoxMesh::ComponentMap& pEdgeToPolygons,
                      const MoxMesh::ComponentMap& pPolygonToEdges)
{
    ASSERT_EQ(Values(pEdgeToPolygons.mOffsets), pExpected.mEdgeOffsets);
    const std::vector<int> lData = Values(pEdgeToPolygons.mData);
    ASSERT_GE(lData.size(), pExpected.mEdgePolygons.size());
    ASSERT_EQ(std::vector<int>(lData.begin(), lData.begin() + static_cast<long>(pExpected.mEdgePolygons.size())),
              pExpected.mEdgePolygons);
    ASSERT_EQ(Values(pPolygonToEdges.mOffsets), pExpected.mPolygonOffsets);
    ASSERT_EQ(Values(pPolygonToEdges.mData), pExpected.mPolygonEdges);
}

// With the caller's map open, the corners of Begin are read as they are when the maps are computed: on a
// fan whose apex has 30 to 40 corners, a vertex written after Begin (recorded or not) puts polygon m on
// edge 0 (0 -> 1), below and above the corner count where the apex's corners are indexed by neighbour.
TEST(MoxMeshComponentMaps, CallersMapSeesVerticesWrittenAfterBegin)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    MoxMesh::ComponentMap lEdgeToPolygons;
    MoxMesh::ComponentMap lPolygonToEdges;
    for (int n = 30; n <= 40; ++n) {
        const int m = n / 2;
        for (bool lRecorded : {true, false}) {
            moxtest::MakeClosedFan(*lMesh, n, n + 1);
            lMesh->BuildMeshEdgeArray();
            lMesh->BeginAddMeshEdgeIndex();
            if (lRecorded)
                lMesh->GetPolygonVertices()[3 * m + 1] = 1;
            else
                lMesh->mPolygonVertices[3 * m + 1] = 1;
            moxtest::ReportCapture lReports;
            lMesh->ComputeComponentMaps(lEdgeToPolygons, lPolygonToEdges);
            EXPECT_EQ(List(lEdgeToPolygons, 0), (std::vector<int>{0, m, n - 1})) << n << " " << lRecorded;
            EXPECT_EQ(lReports.Count(), 0u) << n;
        }
    }
}

// Polygon edits between the caller's Begin and the maps, on fans whose apex has 30 to 40 corners (some
// with more triangles at the apex): the maps are those of the plain walk over the corners of Begin, read
// as they are, with the same reports. Writes straight to mPolygonVertices are not recorded.
TEST(MoxMeshComponentMaps, CallersMapAfterPolygonEditsMatchesThePlainWalk)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    for (unsigned int lSeed = 0; lSeed < 220; ++lSeed) {
        // Fresh maps, as in the oracle: a write past a list lands where the array's capacity says.
        MoxMesh::ComponentMap lEdgeToPolygons;
        MoxMesh::ComponentMap lPolygonToEdges;
        std::mt19937 lRandom(lSeed);
        const int n = 30 + static_cast<int>(lSeed % 11);
        moxtest::MakeBusyFan(*lMesh, lRandom, n, n + 2);
        lMesh->BuildMeshEdgeArray();
        const moxoracle::V2PV lMap = moxoracle::BuildV2PV(*lMesh);
        lMesh->BeginAddMeshEdgeIndex();
        for (int k = std::uniform_int_distribution<int>(1, 4)(lRandom); k > 0; --k)
            moxtest::EditPolygonsRandomly(*lMesh, lRandom, false);
        moxtest::ReportCapture lCapture;
        const moxoracle::ComponentMaps lExpected = moxoracle::ComputeComponentMaps(*lMesh, lMap);
        const std::vector<std::string> lExpectedReports = lCapture.Messages();
        lCapture.Clear();
        ASSERT_TRUE(moxoracle::KeepsWellFormed(*lMesh, [&] {
            lMesh->ComputeComponentMaps(lEdgeToPolygons, lPolygonToEdges);
        })) << lSeed;
        ASSERT_NO_FATAL_FAILURE(ExpectOracleMaps(lExpected, lEdgeToPolygons, lPolygonToEdges)) << lSeed;
        // The oracle counts the maps' own reports rather than making them; the array reports are compared.
        std::vector<std::string> lArrayReports;
        for (const moxtest::Report& lReport : lCapture.Reports())
            if (lReport.mFunction != "ComputeComponentMaps") lArrayReports.push_back(lReport.mMessage);
        ASSERT_EQ(lArrayReports, lExpectedReports) << lSeed;
        ASSERT_FALSE(lMesh->mV2PVMap.mValid);
    }
}

TEST(MoxMeshComponentMaps, MatchThePlainWalkOnRandomMeshes)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    MoxMesh::ComponentMap lEdgeToPolygons;
    MoxMesh::ComponentMap lPolygonToEdges;
    for (unsigned int lSeed = 0; lSeed < 300; ++lSeed) {
        std::mt19937 lRandom(lSeed);
        moxtest::RandomMeshOptions lOptions;
        lOptions.mInvalidIndices = lSeed % 3 == 0;
        if (lSeed % 4 == 0) {
            lOptions.mMinPoints = 2;
            lOptions.mMaxPoints = 6;
            lOptions.mMinPolygons = 20;
            lOptions.mMaxPolygons = 70;
        }
        moxtest::MakeRandomMesh(*lMesh, lRandom, lOptions);
        lMesh->BuildMeshEdgeArray();
        if (lSeed % 5 == 1 && lMesh->GetMeshEdgeCount() > 0) {
            lMesh->mEdgeArray.Add(lMesh->mEdgeArray[0]);
            lMesh->mEdgeArray.Add(std::uniform_int_distribution<int>(-2, lMesh->GetPolygonVertexCount() + 2)(lRandom));
        }
        moxtest::ReportCapture lCapture;
        const moxoracle::ComponentMaps lExpected = moxoracle::ComputeComponentMaps(*lMesh);
        lCapture.Clear();
        ASSERT_TRUE(moxoracle::KeepsWellFormed(*lMesh, [&] {
            lMesh->ComputeComponentMaps(lEdgeToPolygons, lPolygonToEdges);
        })) << lSeed;
        ASSERT_NO_FATAL_FAILURE(ExpectOracleMaps(lExpected, lEdgeToPolygons, lPolygonToEdges)) << lSeed;
        int lOutOfRange = 0;
        int lStart = 0;
        for (const moxtest::Report& lReport : lCapture.Reports()) {
            if (lReport.mFunction != "ComputeComponentMaps") continue;
            lOutOfRange +=
                lReport.mMessage == "mEdgeArray[i] >= 0 && mEdgeArray[i] < mPolygonVertices.GetCount()" ? 1 : 0;
            lStart += lReport.mMessage == "lV1 < lControlPointCount" ? 1 : 0;
        }
        ASSERT_EQ(lOutOfRange, lExpected.mSkippedOutOfRange) << lSeed;
        ASSERT_EQ(lStart, lExpected.mSkippedStart) << lSeed;
        ASSERT_FALSE(lMesh->mV2PVMap.mValid);
    }
}

// Without a caller's map, meshes of plain polygons (well-formed, none empty: polygons of one and two
// vertices, repeated control points, fans whose apex has 30 to 70 corners, random meshes over few control
// points) give the plain walk's maps and reports (only the array's, where a polygon listed on more edges
// than it has sides writes past its list), and end a caller's edge vertex lookup.
TEST(MoxMeshComponentMaps, PlainPolygonsWithoutCallersMapMatchThePlainWalk)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    for (unsigned int lSeed = 0; lSeed < 300; ++lSeed) {
        MoxMesh::ComponentMap lEdgeToPolygons;
        MoxMesh::ComponentMap lPolygonToEdges;
        std::mt19937 lRandom(lSeed);
        if (lSeed % 3 == 0) {
            moxtest::MakeBusyFan(*lMesh, lRandom, 30 + static_cast<int>(lSeed % 41), 75);
        } else if (lSeed % 3 == 1) {
            moxtest::RandomMeshOptions lOptions;
            lOptions.mDegenerate = false;
            lOptions.mMinPoints = 3;
            lOptions.mMaxPoints = lSeed % 2 == 0 ? 6 : 40;
            lOptions.mMinPolygons = 1;
            lOptions.mMaxPolygons = 80;
            moxtest::MakeRandomMesh(*lMesh, lRandom, lOptions);
        } else {
            std::vector<std::vector<int>> lPolygons = {{0}, {0, 1}, {0, 1, 0, 2}, {1, 1, 2}, {2, 0}};
            std::uniform_int_distribution<int> lPoint(0, 4);
            for (int i = 0; i < 40; ++i) lPolygons.push_back({0, lPoint(lRandom), lPoint(lRandom)});
            std::shuffle(lPolygons.begin(), lPolygons.end(), lRandom);
            moxtest::BuildMesh(*lMesh, Points(5), lPolygons);
        }
        lMesh->BuildMeshEdgeArray();
        ASSERT_TRUE(lMesh->HasWellFormedTopology()) << lSeed;
        lMesh->BeginGetMeshEdgeVertices();
        moxtest::ReportCapture lCapture;
        const moxoracle::ComponentMaps lExpected = moxoracle::ComputeComponentMaps(*lMesh);
        const std::vector<std::string> lExpectedReports = lCapture.Messages();
        lCapture.Clear();
        ASSERT_TRUE(moxoracle::KeepsWellFormed(*lMesh, [&] {
            lMesh->ComputeComponentMaps(lEdgeToPolygons, lPolygonToEdges);
        })) << lSeed;
        ASSERT_NO_FATAL_FAILURE(ExpectOracleMaps(lExpected, lEdgeToPolygons, lPolygonToEdges)) << lSeed;
        ASSERT_EQ(lCapture.Messages(), lExpectedReports) << lSeed;
        ASSERT_FALSE(lMesh->mV2PVMap.mValid);
        ASSERT_FALSE(lMesh->mEdgeLookup.mValid);
    }
}

}  // namespace
