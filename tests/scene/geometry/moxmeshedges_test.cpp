// The edge table, edge editing and edge queries of MoxMesh: named meshes with exact expectations, the
// Begin/End cache states, reports, allocation failures, and oracle comparisons on random meshes.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "moxsdk/scene/geometry/moxmesh.h"
#include "scene/geometry/oracle/moxmeshedgesoracle.h"
#include "support/moxtestmeshes.h"
#include "support/moxtestsupport.h"

using namespace moxsdk;

namespace {

const char* const kFile = "scene/geometry/moxmesh";
const char* const kArrayFile = "core/base/moxarray";

// Re-exports the protected edge members for the tests.
class MeshAccess : public MoxMesh {
public:
    using MoxMesh::FillMeshEdgeTable;
    using MoxMesh::GetV2PVCount;
    using MoxMesh::mV2PVControlPointCount;
    using MoxMesh::mV2PVNeighbours;
    using MoxMesh::NextV2PVCorner;
};

MeshAccess& Access(MoxMesh& pMesh)
{
    return static_cast<MeshAccess&>(pMesh);
}

std::vector<int> Values(const MoxArray<int>& pArray)
{
    return std::vector<int>(pArray.begin(), pArray.end());
}

// Count, capacity and the first pSlots slots of an int array's block (slots past the count included).
std::vector<int> Block(const MoxArray<int>& pArray, int pSlots)
{
    std::vector<int> lBlock{pArray.GetCount(), pArray.GetCapacity()};
    lBlock.insert(lBlock.end(), pArray.GetArray(), pArray.GetArray() + std::min(pSlots, pArray.GetCapacity()));
    return lBlock;
}

std::vector<std::string> Messages(const moxtest::ReportCapture& pCapture)
{
    return pCapture.Messages();
}

// The points of BuildMesh for pCount control points (positions do not matter to edges).
std::vector<moxtest::Point> Points(int pCount)
{
    std::vector<moxtest::Point> lPoints;
    for (int i = 0; i < pCount; ++i) lPoints.push_back({double(i), double(i % 7), double(i % 3)});
    return lPoints;
}

// A random mesh whose polygons have between pMinSize and pMaxSize corners, drawn among pPointCount control
// points; with pDistinct the corners of one polygon differ.
void MakeSizedMesh(MoxMesh& pMesh, std::mt19937& pRandom, int pPointCount, int pPolygonCount, int pMinSize,
                   int pMaxSize, bool pDistinct)
{
    std::uniform_int_distribution<int> lSize(pMinSize, pMaxSize);
    std::uniform_int_distribution<int> lPoint(0, pPointCount - 1);
    std::vector<std::vector<int>> lPolygons(static_cast<size_t>(pPolygonCount));
    for (std::vector<int>& lPolygon : lPolygons) {
        const int lCount = std::min(lSize(pRandom), pDistinct ? pPointCount : 1000);
        while (static_cast<int>(lPolygon.size()) < lCount) {
            const int lVertex = lPoint(pRandom);
            if (pDistinct && std::find(lPolygon.begin(), lPolygon.end(), lVertex) != lPolygon.end()) continue;
            lPolygon.push_back(lVertex);
        }
    }
    moxtest::BuildMesh(pMesh, Points(pPointCount), lPolygons);
}

// The random meshes of the oracle comparisons, by seed: mixed sizes, degenerate polygons, invalid
// indices, and (one seed in four) few control points under many polygons, so that some control points
// have a high valence.
void MakeOracleMesh(MoxMesh& pMesh, unsigned int pSeed)
{
    std::mt19937 lRandom(pSeed);
    moxtest::RandomMeshOptions lOptions;
    lOptions.mInvalidIndices = pSeed % 3 == 0;
    lOptions.mDegenerate = pSeed % 5 != 1;
    if (pSeed % 4 == 0) {
        lOptions.mMinPoints = 2;
        lOptions.mMaxPoints = 6;
        lOptions.mMinPolygons = 20;
        lOptions.mMaxPolygons = 70;
    }
    moxtest::MakeRandomMesh(pMesh, lRandom, lOptions);
}

// ---- Edge table construction -----------------------------------------------------------------------

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
    EXPECT_TRUE(lCapture.HasOnly(kFile, "FillMeshEdgeTable", "FillFct != NULL"));
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
    EXPECT_TRUE(lCapture.HasOnly(kArrayFile, "Resize", "pSize > 0"));
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
        lMesh->BuildMeshEdgeArray();
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

// ---- Edge editing ------------------------------------------------------------------------------------

TEST(MoxMeshEdgeEditing, SetMeshEdgeIndexFindsTheSideFromTheEndsPreviousVertex)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    for (bool lWithMap : {false, true}) {
        moxtest::MakeQuad(*lMesh);
        lMesh->SetMeshEdgeCount(1);
        if (lWithMap) lMesh->BeginAddMeshEdgeIndex();
        EXPECT_EQ(lMesh->SetMeshEdgeIndex(0, 1, 0, false, -1), 0);
        EXPECT_EQ(Values(lMesh->mEdgeArray), std::vector<int>{0});
        lMesh->EndAddMeshEdgeIndex();
    }
}

TEST(MoxMeshEdgeEditing, AddingAKnownEdgeWithTheCheckChangesNothing)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeQuad(*lMesh);
    lMesh->BuildMeshEdgeArray();
    EXPECT_EQ(lMesh->AddMeshEdgeIndex(0, 1, true), -1);
    EXPECT_EQ(lMesh->AddMeshEdgeIndex(1, 0, true), -1);
    EXPECT_EQ(lMesh->GetMeshEdgeCount(), 4);
    // Without the check the same side is added again.
    EXPECT_EQ(lMesh->AddMeshEdgeIndex(1, 0, false), 4);
    EXPECT_EQ(Values(lMesh->mEdgeArray), (std::vector<int>{0, 1, 2, 3, 0}));
}

TEST(MoxMeshEdgeEditing, ControlPointsSharingNoSideGiveMinusOne)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    for (bool lWithMap : {false, true}) {
        moxtest::MakeQuad(*lMesh);
        lMesh->SetMeshEdgeCount(1);
        lMesh->mEdgeArray[0] = 3;
        if (lWithMap) lMesh->BeginAddMeshEdgeIndex();
        moxtest::ReportCapture lCapture;
        EXPECT_EQ(lMesh->SetMeshEdgeIndex(0, 0, 2, false, -1), -1);
        EXPECT_EQ(lMesh->AddMeshEdgeIndex(1, 3, false), -1);
        EXPECT_EQ(lCapture.Count(), 0u);
        EXPECT_EQ(Values(lMesh->mEdgeArray), std::vector<int>{3});
        lMesh->EndAddMeshEdgeIndex();
    }
}

TEST(MoxMeshEdgeEditing, DuplicateCheckGivesMinusTwo)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    for (bool lWithMap : {false, true}) {
        moxtest::MakeTwoTriangles(*lMesh);
        lMesh->BuildMeshEdgeArray();
        if (lWithMap) lMesh->BeginAddMeshEdgeIndex();
        EXPECT_EQ(lMesh->SetMeshEdgeIndex(0, 2, 1, true, -1), -2);
        EXPECT_EQ(lMesh->SetMeshEdgeIndex(0, 3, 2, true, -1), -2);
        EXPECT_EQ(Values(lMesh->mEdgeArray), (std::vector<int>{0, 1, 2, 4, 5}));
        lMesh->EndAddMeshEdgeIndex();
    }
    // Without the map only the first pExistedEdgeCount edges are searched: edge 4 (3-2) is not among 4.
    EXPECT_EQ(lMesh->SetMeshEdgeIndex(0, 3, 2, true, 4), 0);
    EXPECT_EQ(lMesh->mEdgeArray[0], 5);
}

TEST(MoxMeshEdgeEditing, EdgesSetInsideThePairAreSeenByTheDuplicateCheck)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeQuad(*lMesh);
    lMesh->BeginAddMeshEdgeIndex();
    EXPECT_EQ(lMesh->AddMeshEdgeIndex(2, 3, false), 0);
    EXPECT_EQ(lMesh->mV2PVMap.mEdgeSet.GetSize(), 1);
    EXPECT_TRUE(lMesh->mV2PVMap.mEdgeSet.Find(MoxPair<int, int>(2, 3)));
    lMesh->SetMeshEdgeCount(2);
    EXPECT_EQ(lMesh->SetMeshEdgeIndex(1, 3, 2, true, -1), -2);
    lMesh->EndAddMeshEdgeIndex();
}

TEST(MoxMeshEdgeEditing, BadArgumentsAreReportedAsFalse)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeQuad(*lMesh);
    lMesh->SetMeshEdgeCount(1);
    lMesh->mEdgeArray[0] = 2;
    const std::vector<std::vector<int>> lCalls{{0, -1, 1}, {0, 4, 1}, {0, 1, -1}, {0, 1, 4}, {-1, 0, 1}, {1, 0, 1}};
    for (const std::vector<int>& lCall : lCalls) {
        moxtest::ReportCapture lCapture;
        EXPECT_EQ(lMesh->SetMeshEdgeIndex(lCall[0], lCall[1], lCall[2], false, -1), -1);
        EXPECT_TRUE(lCapture.HasOnly(kFile, "SetMeshEdgeIndex", "false"));
    }
    EXPECT_EQ(Values(lMesh->mEdgeArray), std::vector<int>{2});
    moxtest::ReportCapture lCapture;
    EXPECT_EQ(lMesh->AddMeshEdgeIndex(0, 7, false), -1);
    EXPECT_TRUE(lCapture.HasOnly(kFile, "SetMeshEdgeIndex", "false"));
    EXPECT_EQ(Values(lMesh->mEdgeArray), std::vector<int>{2});
}

TEST(MoxMeshEdgeEditing, AddMeshEdgeIndexForPolygonChecksItsArguments)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeTwoTriangles(*lMesh);
    EXPECT_EQ(lMesh->AddMeshEdgeIndexForPolygon(0, 3), -1);
    EXPECT_EQ(lMesh->AddMeshEdgeIndexForPolygon(0, -1), -1);
    EXPECT_EQ(lMesh->AddMeshEdgeIndexForPolygon(-1, 0), -1);
    EXPECT_EQ(lMesh->AddMeshEdgeIndexForPolygon(3, 0), -1);
    EXPECT_EQ(lMesh->GetMeshEdgeCount(), 0);
    // The polygon count itself passes the range test: the polygon array reports the read (its reserved
    // slot is zero here, a polygon of size 0, so the position test then refuses).
    lMesh->mPolygons.Reserve(4);
    moxtest::ReportCapture lCapture;
    EXPECT_EQ(lMesh->AddMeshEdgeIndexForPolygon(2, 0), -1);
    EXPECT_EQ(Messages(lCapture),
              (std::vector<std::string>{
                  "Index is out of range, but not outside of capacity! Call SetAt() to use reserved memory.",
                  "Index is out of range!"}));
    EXPECT_EQ(lCapture.Reports()[0].mFile, kArrayFile);
}

TEST(MoxMeshEdgeEditing, AddMeshEdgeIndexForPolygonAddsEachSideOnce)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeTwoTriangles(*lMesh);
    lMesh->BeginAddMeshEdgeIndex();
    EXPECT_EQ(lMesh->AddMeshEdgeIndexForPolygon(1, 0), 0);   // 2-1, stored where the map finds it first
    EXPECT_EQ(lMesh->AddMeshEdgeIndexForPolygon(0, 1), -1);  // 1-2 again
    EXPECT_EQ(lMesh->AddMeshEdgeIndexForPolygon(1, 2), 1);
    lMesh->EndAddMeshEdgeIndex();
    // Side 2-1 found from control point 2's first corner (polygon vertex 2): its previous vertex is 1.
    EXPECT_EQ(Values(lMesh->mEdgeArray), (std::vector<int>{1, 5}));
}

TEST(MoxMeshEdgeEditing, PolygonPositionPastTheVerticesIsReported)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeQuad(*lMesh);
    lMesh->mPolygons[0].mSize = 6;
    moxtest::ReportCapture lCapture;
    EXPECT_EQ(lMesh->AddMeshEdgeIndexForPolygon(0, 4), -1);
    ASSERT_GE(lCapture.Count(), 1u);
    EXPECT_EQ(lCapture.Reports()[0].mFunction, "AddMeshEdgeIndexForPolygon");
    EXPECT_EQ(lCapture.Reports()[0].mMessage,
              "mPolygons[pPolygonIndex].mIndex + pPositionInPolygon < mPolygonVertices.GetCount()");
}

TEST(MoxMeshEdgeEditing, ThreeArgumentSetMeshEdgeIndexNamesAPolygonSide)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeTwoTriangles(*lMesh);
    lMesh->SetMeshEdgeCount(2);
    lMesh->mEdgeArray[0] = 0;
    lMesh->mEdgeArray[1] = 0;
    EXPECT_FALSE(lMesh->SetMeshEdgeIndex(2, 0, 0));
    EXPECT_FALSE(lMesh->SetMeshEdgeIndex(1, 2, 0));
    EXPECT_FALSE(lMesh->SetMeshEdgeIndex(1, 1, 3));
    EXPECT_FALSE(lMesh->SetMeshEdgeIndex(1, 0, 0));  // 0-1 exists as edge 0
    EXPECT_TRUE(lMesh->SetMeshEdgeIndex(1, 1, 2));   // 3-2, the second triangle's last side
    EXPECT_EQ(Values(lMesh->mEdgeArray), (std::vector<int>{0, 5}));
    // The map is not used: its edge set does not learn the side.
    lMesh->BeginAddMeshEdgeIndex();
    const int lSize = lMesh->mV2PVMap.mEdgeSet.GetSize();
    EXPECT_TRUE(lMesh->SetMeshEdgeIndex(1, 1, 1));
    EXPECT_EQ(lMesh->mV2PVMap.mEdgeSet.GetSize(), lSize);
    lMesh->EndAddMeshEdgeIndex();
}

TEST(MoxMeshEdgeEditing, ScanReportsAPolygonNotFollowingThePrevious)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeTwoTriangles(*lMesh);
    lMesh->SetMeshEdgeCount(1);
    lMesh->mPolygons[1].mIndex = 4;
    moxtest::ReportCapture lCapture;
    // The scan moves on to polygon 1 after vertex 2 (reported: it begins at 4), whose last vertex is then
    // 6: side 1-3 at vertex 4 runs to vertex 5 without wrapping.
    EXPECT_EQ(lMesh->SetMeshEdgeIndex(0, 1, 3, false, -1), 0);
    EXPECT_TRUE(lCapture.HasOnly(kFile, "SetMeshEdgeIndex", "i + 1 == lPolys[ lPolygonIndex ].mIndex"));
    EXPECT_EQ(lMesh->mEdgeArray[0], 4);
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
    for (int i = 0; i < 6; ++i) lPairs.push_back({lMap.mVertex2PV[i].mFirst, lMap.mVertex2PV[i].mSecond});
    EXPECT_EQ(lPairs, (std::vector<std::pair<int, int>>{{0, 0}, {0, 1}, {1, 1}, {0, 2}, {1, 0}, {1, 2}}));
    std::vector<std::pair<int, int>> lEdges;
    for (const auto& lRecord : lMap.mEdgeSet) lEdges.push_back({lRecord.GetValue().mFirst, lRecord.GetValue().mSecond});
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
        EXPECT_TRUE(lCapture.HasOnly(kFile, "BeginAddMeshEdgeIndex", lNames[i]));
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
        if (lRun.mReports.size() == 1 && lRun.mReports[0].mFile == kFile && lRun.mReports[0].mFunction == pFunction &&
            lRun.mReports[0].mMessage == pMessage)
            return &lRun;
    return nullptr;
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

// ---- Edge queries ------------------------------------------------------------------------------------

TEST(MoxMeshEdgeQueries, GetMeshEdgeIndexFindsTheSharedEdgeEitherWay)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeTwoTriangles(*lMesh);
    lMesh->BuildMeshEdgeArray();
    bool lReversed = false;
    EXPECT_EQ(lMesh->GetMeshEdgeIndex(2, 1, lReversed), 1);
    EXPECT_TRUE(lReversed);
    EXPECT_EQ(lMesh->GetMeshEdgeIndex(1, 2, lReversed), 1);
    EXPECT_FALSE(lReversed);
    EXPECT_EQ(lMesh->GetMeshEdgeIndex(0, 2, lReversed), 2);
    EXPECT_TRUE(lReversed);
    // Not found, out of range: pReversed is left alone.
    lReversed = true;
    EXPECT_EQ(lMesh->GetMeshEdgeIndex(0, 3, lReversed), -1);
    EXPECT_EQ(lMesh->GetMeshEdgeIndex(-1, 3, lReversed), -1);
    EXPECT_EQ(lMesh->GetMeshEdgeIndex(0, 4, lReversed), -1);
    EXPECT_TRUE(lReversed);
}

TEST(MoxMeshEdgeQueries, GetMeshEdgeIndexSearchesOnlyTheExistingCount)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeTwoTriangles(*lMesh);
    lMesh->BuildMeshEdgeArray();
    bool lReversed = false;
    EXPECT_EQ(lMesh->GetMeshEdgeIndex(0, 1, lReversed, 0), -1);
    EXPECT_EQ(lMesh->GetMeshEdgeIndex(0, 1, lReversed, 6), -1);
    EXPECT_EQ(lMesh->GetMeshEdgeIndex(0, 1, lReversed, 1), 0);
    EXPECT_EQ(lMesh->GetMeshEdgeIndex(3, 2, lReversed, 4), -1);
    EXPECT_EQ(lMesh->GetMeshEdgeIndex(3, 2, lReversed, 5), 4);
    EXPECT_EQ(lMesh->GetMeshEdgeIndex(3, 2, lReversed, -3), -1);
}

TEST(MoxMeshEdgeQueries, EdgeFromTheLastVertexEndsAtTheFirst)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeTwoTriangles(*lMesh);
    lMesh->BuildMeshEdgeArray();
    for (bool lWithCache : {false, true}) {
        if (lWithCache) lMesh->BeginGetMeshEdgeVertices();
        int lStart = -5;
        int lEnd = -5;
        lMesh->GetMeshEdgeVertices(4, lStart, lEnd);  // polygon vertex 5: 3 -> 2
        EXPECT_EQ(lStart, 3);
        EXPECT_EQ(lEnd, 2);
        lMesh->GetMeshEdgeVertices(2, lStart, lEnd);  // polygon vertex 2: 2 -> 0
        EXPECT_EQ(lStart, 2);
        EXPECT_EQ(lEnd, 0);
        lMesh->GetMeshEdgeVertices(5, lStart, lEnd);
        EXPECT_EQ(lStart, -1);
        EXPECT_EQ(lEnd, -1);
        lMesh->EndGetMeshEdgeVertices();
    }
}

TEST(MoxMeshEdgeQueries, EdgeOutsideThePolygonVerticesHasNoEnds)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeQuad(*lMesh);
    lMesh->SetMeshEdgeCount(2);
    lMesh->mEdgeArray[0] = 4;
    lMesh->mEdgeArray[1] = -1;
    for (int e : {-1, 0, 1, 2}) {
        int lStart = 9;
        int lEnd = 9;
        lMesh->GetMeshEdgeVertices(e, lStart, lEnd);
        EXPECT_EQ(lStart, -1);
        EXPECT_EQ(lEnd, -1);
    }
}

TEST(MoxMeshEdgeQueries, UnclosedLastVertexIsReportedWithoutTheCache)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeQuad(*lMesh);
    lMesh->BuildMeshEdgeArray();
    lMesh->mPolygons[0].mSize = 3;
    moxtest::ReportCapture lCapture;
    int lStart = -5;
    int lEnd = -5;
    lMesh->GetMeshEdgeVertices(3, lStart, lEnd);
    ASSERT_GE(lCapture.Count(), 1u);
    EXPECT_EQ(lCapture.Reports()[0].mFunction, "GetMeshEdgeVertices");
    EXPECT_EQ(lCapture.Reports()[0].mMessage, "mEdgeArray[pEdgeIndex] + 1 < mPolygonVertices.GetCount()");
    EXPECT_EQ(lStart, 3);
    EXPECT_EQ(lEnd, 0);  // the array's scratch value past its capacity
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

TEST(MoxMeshEdgeQueries, GetMeshEdgeIndexForPolygonFindsTheSharedEdge)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeTwoTriangles(*lMesh);
    lMesh->BuildMeshEdgeArray();
    for (bool lWithCache : {false, true}) {
        if (lWithCache) lMesh->BeginGetMeshEdgeIndexForPolygon();
        EXPECT_EQ(lMesh->GetMeshEdgeIndexForPolygon(1, 0), 1);
        EXPECT_EQ(lMesh->GetMeshEdgeIndexForPolygon(1, 1), 3);
        EXPECT_EQ(lMesh->GetMeshEdgeIndexForPolygon(1, 2), 4);
        EXPECT_EQ(lMesh->GetMeshEdgeIndexForPolygon(0, 2), 2);
        EXPECT_EQ(lMesh->GetMeshEdgeIndexForPolygon(1, 3), -1);
        EXPECT_EQ(lMesh->GetMeshEdgeIndexForPolygon(2, 0), -1);
        EXPECT_EQ(lMesh->GetMeshEdgeIndexForPolygon(-1, 0), -1);
        lMesh->EndGetMeshEdgeIndexForPolygon();
    }
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
    EXPECT_TRUE(lCapture.HasOnly(kFile, "FillV2Edge", "value != -1"));
    EXPECT_EQ(Values(lMesh->mV2PVMap.mPVToEdge), (std::vector<int>{0, 1, 2, 0, -1, 4}));
    EXPECT_EQ(lMesh->GetMeshEdgeIndexForPolygon(1, 1), -1);
    lMesh->EndGetMeshEdgeIndexForPolygon();
}

// A polygon that joins two control points twice: the cached walk meets the second side first and reads
// the reserved 0 at its start, while the scan finds the registered edge. The answers differ there.
TEST(MoxMeshEdgeQueries, CachedWalkCanAnswerWithTheReservedZero)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::BuildMesh(*lMesh, Points(3), {{2, 0}, {0, 1}});
    lMesh->BuildMeshEdgeArray();
    EXPECT_EQ(Values(lMesh->mEdgeArray), (std::vector<int>{0, 2}));
    EXPECT_EQ(lMesh->GetMeshEdgeIndexForPolygon(1, 0), 1);
    lMesh->BeginGetMeshEdgeIndexForPolygon();
    EXPECT_EQ(lMesh->GetMeshEdgeIndexForPolygon(1, 0), 0);
    lMesh->EndGetMeshEdgeIndexForPolygon();
}

TEST(MoxMeshEdgeQueries, RemoveDuplicatedEdgesRemovesListedEdgesAndTheirCreases)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeTwoTriangles(*lMesh);
    lMesh->BuildMeshEdgeArray();
    MoxLayerElementCrease* lCreases = MoxLayerElementCrease::Create(lMesh, "");
    lCreases->SetMappingMode(MoxLayerElement::eByEdge);
    for (int i = 0; i < 5; ++i) lCreases->GetDirectArray().Add(0.5 * i);
    lMesh->GetLayer(0)->SetEdgeCrease(lCreases);
    MoxArray<int> lList;
    lList.Add(1);
    lList.Add(3);
    EXPECT_EQ(lMesh->RemoveDuplicatedEdges(lList), 2);
    EXPECT_EQ(Values(lMesh->mEdgeArray), (std::vector<int>{0, 2, 5}));
    MoxLayerElementArrayTemplate<double>& lValues = lCreases->GetDirectArray();
    ASSERT_EQ(lValues.GetCount(), 3);
    EXPECT_EQ(lValues.GetAt(0), 0.0);
    EXPECT_EQ(lValues.GetAt(1), 1.0);
    EXPECT_EQ(lValues.GetAt(2), 2.0);
}

TEST(MoxMeshEdgeQueries, RemoveDuplicatedEdgesRefusesWithoutChange)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeQuad(*lMesh);
    lMesh->BuildMeshEdgeArray();
    MoxArray<int> lList;
    EXPECT_EQ(lMesh->RemoveDuplicatedEdges(lList), 0);  // empty: nothing to remove
    lList.Add(4);
    EXPECT_EQ(lMesh->RemoveDuplicatedEdges(lList), -1);
    lList[0] = 1;
    lMesh->ClearLayers();
    EXPECT_EQ(lMesh->RemoveDuplicatedEdges(lList), -1);
    EXPECT_EQ(Values(lMesh->mEdgeArray), (std::vector<int>{0, 1, 2, 3}));
}

// The edge array given as its own list changes under the removals, which follow it one by one.
TEST(MoxMeshEdgeQueries, EdgeArrayAsItsOwnListIsFollowedOneByOne)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeTwoTriangles(*lMesh);
    lMesh->BuildMeshEdgeArray();
    lMesh->mEdgeArray[4] = 4;  // edges at polygon vertices 0, 1, 2, 4, 4
    moxtest::ReportCapture lCapture;
    EXPECT_EQ(lMesh->RemoveDuplicatedEdges(lMesh->mEdgeArray), 5);
    // Entry 4 (value 4) removes the last edge; entry 3 (4) is then past the count, which RemoveAt answers by
    // dropping the last value; entries 2, 1 and 0 remove the rest.
    EXPECT_EQ(lMesh->GetMeshEdgeCount(), 0);
}

// Every element kind and mode that RemoveDuplicatedEdges names, and those it leaves alone.
TEST(MoxMeshEdgeQueries, RemoveDuplicatedEdgesTouchesOnlyEdgeMappedDirectAndIndexArrays)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeCube(*lMesh);
    lMesh->BuildMeshEdgeArray();
    MoxLayer* lLayer = lMesh->GetLayer(0);
    MoxLayerElementSmoothing* lSmoothing = MoxLayerElementSmoothing::Create(lMesh, "");
    lSmoothing->SetMappingMode(MoxLayerElement::eByEdge);
    lSmoothing->SetReferenceMode(MoxLayerElement::eIndexToDirect);
    MoxLayerElementVisibility* lVisibility = MoxLayerElementVisibility::Create(lMesh, "");
    lVisibility->SetMappingMode(MoxLayerElement::eByEdge);
    lVisibility->SetReferenceMode(MoxLayerElement::eIndex);
    MoxLayerElementCrease* lCreases = MoxLayerElementCrease::Create(lMesh, "");
    lCreases->SetMappingMode(MoxLayerElement::eByPolygon);
    for (int i = 0; i < 12; ++i) {
        lSmoothing->GetIndexArray().Add(i);
        lSmoothing->GetDirectArray().Add(100 + i);
        lVisibility->GetIndexArray().Add(i);
        lCreases->GetDirectArray().Add(double(i));
    }
    lLayer->SetSmoothing(lSmoothing);
    lLayer->SetVisibility(lVisibility);
    lLayer->SetEdgeCrease(lCreases);
    MoxArray<int> lList;
    for (int e : {0, 5, 6, 11}) lList.Add(e);
    moxtest::ReportCapture lCapture;
    EXPECT_EQ(lMesh->RemoveDuplicatedEdges(lList), 4);
    EXPECT_EQ(lCapture.Count(), 0u);
    EXPECT_EQ(lMesh->GetMeshEdgeCount(), 8);
    std::vector<int> lIndices;
    for (int i = 0; i < lSmoothing->GetIndexArray().GetCount(); ++i)
        lIndices.push_back(lSmoothing->GetIndexArray().GetAt(i));
    EXPECT_EQ(lIndices, (std::vector<int>{1, 2, 3, 4, 7, 8, 9, 10}));
    EXPECT_EQ(lSmoothing->GetDirectArray().GetCount(), 12);
    EXPECT_EQ(lVisibility->GetIndexArray().GetCount(), 12);
    EXPECT_EQ(lCreases->GetDirectArray().GetCount(), 12);
}

// User data in eDirect mode loses the values of its bool, int, float and double fields; a field of
// another type is reported once per removed edge.
TEST(MoxMeshEdgeQueries, RemoveDuplicatedEdgesRemovesUserDataValues)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeQuad(*lMesh);
    lMesh->BuildMeshEdgeArray();
    MoxArray<MoxDataType> lTypes;
    lTypes.Add(MoxDataType(eMoxInt));
    lTypes.Add(MoxDataType(eMoxDouble4));
    lTypes.Add(MoxDataType(eMoxBool));
    MoxArray<const char*> lNames;
    lNames.Add("count");
    lNames.Add("direction");
    lNames.Add("flag");
    MoxLayerElementUserData* lUserData = MoxLayerElementUserData::Create(lMesh, "data", 7, lTypes, lNames);
    ASSERT_NE(lUserData, nullptr);
    lUserData->SetMappingMode(MoxLayerElement::eByEdge);
    lUserData->ResizeAllDirectArrays(4);
    MoxLayerElementArrayTemplate<int>& lCounts = MoxGetDirectArray<int>(lUserData, 0);
    for (int i = 0; i < 4; ++i) lCounts.SetAt(i, 10 * i);
    lMesh->GetLayer(0)->SetUserData(lUserData);
    MoxArray<int> lList;
    lList.Add(0);
    lList.Add(2);
    moxtest::ReportCapture lCapture;
    EXPECT_EQ(lMesh->RemoveDuplicatedEdges(lList), 2);
    EXPECT_EQ(Messages(lCapture), (std::vector<std::string>{"unknown type", "unknown type"}));
    EXPECT_EQ(lCapture.Reports()[0].mFunction, "RemoveFromAllDirectArrays");
    ASSERT_EQ(lCounts.GetCount(), 2);
    EXPECT_EQ(lCounts.GetAt(0), 10);
    EXPECT_EQ(lCounts.GetAt(1), 30);
    EXPECT_EQ(MoxGetDirectArray<bool>(lUserData, 2).GetCount(), 2);
    EXPECT_EQ(MoxGetDirectArray<MoxVector4>(lUserData, 1).GetCount(), 4);
}

// ---- With and without the caches ---------------------------------------------------------------------

// On meshes without empty polygons or invalid indices, the closing-vertex table gives the scan's ends.
TEST(MoxMeshEdgeQueries, EdgeVerticesAreTheSameWithAndWithoutTheCache)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    for (unsigned int lSeed = 0; lSeed < 250; ++lSeed) {
        std::mt19937 lRandom(lSeed);
        MakeSizedMesh(*lMesh, lRandom, 2 + static_cast<int>(lSeed % 30), static_cast<int>(lSeed % 40), 1, 7, false);
        lMesh->BuildMeshEdgeArray();
        if (lSeed % 2) lMesh->AddMeshEdgeIndex(0, 1, false);
        std::vector<int> lScanned;
        for (int e = -1; e <= lMesh->GetMeshEdgeCount(); ++e) {
            int lStart = 0;
            int lEnd = 0;
            lMesh->GetMeshEdgeVertices(e, lStart, lEnd);
            lScanned.insert(lScanned.end(), {lStart, lEnd});
        }
        lMesh->BeginGetMeshEdgeVertices();
        std::vector<int> lCached;
        for (int e = -1; e <= lMesh->GetMeshEdgeCount(); ++e) {
            int lStart = 0;
            int lEnd = 0;
            lMesh->GetMeshEdgeVertices(e, lStart, lEnd);
            lCached.insert(lCached.end(), {lStart, lEnd});
        }
        lMesh->EndGetMeshEdgeVertices();
        ASSERT_EQ(lCached, lScanned) << "seed " << lSeed;
    }
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

// On meshes whose polygons have distinct corners, with the edge array of BuildMeshEdgeArray.
TEST(MoxMeshEdgeQueries, EdgeIndexForPolygonIsTheSameWithAndWithoutTheCache)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    for (unsigned int lSeed = 0; lSeed < 250; ++lSeed) {
        std::mt19937 lRandom(lSeed);
        // Few points under many polygons in one seed of three: control points of high valence.
        const int lPoints = lSeed % 3 == 0 ? 5 : 3 + static_cast<int>(lSeed % 40);
        MakeSizedMesh(*lMesh, lRandom, lPoints, static_cast<int>(lSeed % 60), 3, 6, true);
        lMesh->BuildMeshEdgeArray();
        std::vector<int> lScanned;
        for (int p = 0; p < lMesh->GetPolygonCount(); ++p)
            for (int i = 0; i < lMesh->GetPolygonSize(p); ++i)
                lScanned.push_back(lMesh->GetMeshEdgeIndexForPolygon(p, i));
        lMesh->BeginGetMeshEdgeIndexForPolygon();
        std::vector<int> lCached;
        for (int p = 0; p < lMesh->GetPolygonCount(); ++p)
            for (int i = 0; i < lMesh->GetPolygonSize(p); ++i)
                lCached.push_back(lMesh->GetMeshEdgeIndexForPolygon(p, i));
        lMesh->EndGetMeshEdgeIndexForPolygon();
        ASSERT_EQ(lCached, lScanned) << "seed " << lSeed;
    }
}

// ---- Oracle comparisons ------------------------------------------------------------------------------

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
        lMesh->BeginGetMeshEdgeIndexForPolygon();
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
        lMesh->BeginAddMeshEdgeIndex();
        const MoxMesh::V2PVMap& lMap = lMesh->mV2PVMap;
        const size_t n = lExpected.mCount.size();
        ASSERT_TRUE(lMap.mValid);
        ASSERT_EQ(std::vector<int>(lMap.mVertex2PVCount, lMap.mVertex2PVCount + n), lExpected.mCount) << lSeed;
        ASSERT_EQ(std::vector<int>(lMap.mVertex2PVOffset, lMap.mVertex2PVOffset + n + 1), lExpected.mOffset) << lSeed;
        std::vector<std::pair<int, int>> lPairs;
        for (size_t i = 0; i < lExpected.mPairs.size(); ++i)
            lPairs.push_back({lMap.mVertex2PV[i].mFirst, lMap.mVertex2PV[i].mSecond});
        ASSERT_EQ(lPairs, lExpected.mPairs) << lSeed;
        std::vector<std::pair<int, int>> lEdges;
        for (const auto& lRecord : lMap.mEdgeSet)
            lEdges.push_back({lRecord.GetValue().mFirst, lRecord.GetValue().mSecond});
        ASSERT_EQ(lEdges, lExpected.mEdges) << lSeed;
        ASSERT_TRUE(lMap.mEdgeSet.IsValid());
        lMesh->EndAddMeshEdgeIndex();
    }
}

// SetMeshEdgeIndex with the map, for every pair of control points, against the walk over all corners.
TEST(MoxMeshEdgeOracle, MapSideMatchesTheWalkOverEveryCorner)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    int lIndexed = 0;
    for (unsigned int lSeed = 0; lSeed < 240; ++lSeed) {
        MakeOracleMesh(*lMesh, lSeed);
        const int n = std::min(lMesh->GetControlPointsCount(), 12);
        lMesh->SetMeshEdgeCount(1);
        const moxoracle::V2PV lOracle = moxoracle::BuildV2PV(*lMesh);
        lMesh->BeginAddMeshEdgeIndex();
        lIndexed += Access(*lMesh).mV2PVNeighbours.GetCount() > 0 ? 1 : 0;
        for (int a = 0; a < n; ++a) {
            for (int b = 0; b < n; ++b) {
                moxtest::ReportCapture lCapture;
                const int lExpected = moxoracle::MapSide(*lMesh, lOracle, a, b);
                const std::vector<std::string> lExpectedReports = Messages(lCapture);
                lCapture.Clear();
                lMesh->mEdgeArray[0] = -7;
                const int lResult = lMesh->SetMeshEdgeIndex(0, a, b, false, -1);
                ASSERT_EQ(lResult, lExpected == -2 ? -1 : 0) << lSeed << " " << a << " " << b;
                if (lExpected != -2) {
                    ASSERT_EQ(lMesh->mEdgeArray[0], lExpected) << lSeed << " " << a << " " << b;
                }
                ASSERT_EQ(Messages(lCapture), lExpectedReports) << lSeed;
            }
        }
        lMesh->EndAddMeshEdgeIndex();
    }
    // Enough of the meshes have control points of high valence for the neighbour index to be tested.
    EXPECT_GT(lIndexed, 30);
}

// GetMeshEdgeIndexForPolygon with the cache, for every side, against the walk over all corners.
TEST(MoxMeshEdgeOracle, CachedEdgeForSideMatchesTheWalkOverEveryCorner)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    for (unsigned int lSeed = 0; lSeed < 240; ++lSeed) {
        MakeOracleMesh(*lMesh, lSeed);
        lMesh->BuildMeshEdgeArray();
        const moxoracle::V2PV lOracle = moxoracle::BuildV2PV(*lMesh);
        lMesh->BeginGetMeshEdgeIndexForPolygon();
        if (lMesh->mV2PVMap.mPVToEdge.GetCount() == 0) {
            lMesh->EndGetMeshEdgeIndexForPolygon();
            continue;
        }
        for (int p = 0; p < lMesh->GetPolygonCount(); ++p) {
            const MoxMesh::PolygonDef lPolygon = lMesh->mPolygons[p];
            for (int i = 0; i < lPolygon.mSize; ++i) {
                const int lStart = lMesh->mPolygonVertices[lPolygon.mIndex + i];
                const int lEnd =
                    lMesh->mPolygonVertices[i == lPolygon.mSize - 1 ? lPolygon.mIndex : lPolygon.mIndex + i + 1];
                moxtest::ReportCapture lCapture;
                const int lExpected =
                    moxoracle::MapEdgeForSide(*lMesh, lOracle, lMesh->mV2PVMap.mPVToEdge, lStart, lEnd);
                const std::vector<std::string> lExpectedReports = Messages(lCapture);
                lCapture.Clear();
                ASSERT_EQ(lMesh->GetMeshEdgeIndexForPolygon(p, i), lExpected) << lSeed << " " << p << " " << i;
                ASSERT_EQ(Messages(lCapture), lExpectedReports) << lSeed;
            }
        }
        lMesh->EndGetMeshEdgeIndexForPolygon();
    }
}

// A fan's apex gets a neighbour index; its candidates are exactly the corners next to each neighbour.
TEST(MoxMeshEdgeOracle, NeighbourIndexVisitsTheCornersNextToTheNeighbour)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    std::vector<std::vector<int>> lTriangles;
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

// Polygon edits inside the pair on fans whose apex has 30 to 40 corners, some with more triangles at the
// apex: SetMeshEdgeIndex and GetMeshEdgeIndexForPolygon answer as the walk over every corner of the map
// built at Begin, reading the polygons as they are, with the same reports.
TEST(MoxMeshEdgeOracle, EdgeQueriesAfterPolygonEditsMatchTheWalkOverEveryCorner)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    for (unsigned int lSeed = 0; lSeed < 220; ++lSeed) {
        std::mt19937 lRandom(lSeed);
        auto lPick = [&lRandom](int pLow, int pHigh) {
            return std::uniform_int_distribution<int>(pLow, pHigh)(lRandom);
        };
        const int n = 30 + static_cast<int>(lSeed % 11);
        moxtest::MakeBusyFan(*lMesh, lRandom, n, n + 3);
        lMesh->BuildMeshEdgeArray();
        const moxoracle::V2PV lMap = moxoracle::BuildV2PV(*lMesh);
        const bool lForPolygon = lSeed % 2 == 0;
        if (lForPolygon)
            lMesh->BeginGetMeshEdgeIndexForPolygon();
        else
            lMesh->BeginAddMeshEdgeIndex();
        for (int lStep = 0; lStep < 8 && lMesh->GetMeshEdgeCount() > 0; ++lStep) {
            if (lStep > 0) moxtest::EditPolygonsRandomly(*lMesh, lRandom, true);
            for (int q = 0; q < 6; ++q) {
                const int lStart = lPick(0, 2) == 0 ? lPick(0, n + 2) : 0;
                const int lEnd = lPick(0, n + 2);
                moxtest::ReportCapture lReports;
                const int lSide = moxoracle::MapSide(*lMesh, lMap, lStart, lEnd);
                const std::vector<std::string> lExpectedReports = lReports.Messages();
                lReports.Clear();
                const int lBefore = lMesh->mEdgeArray[0];
                const int lResult = lMesh->SetMeshEdgeIndex(0, lStart, lEnd, false, -1);
                ASSERT_EQ(lResult, lSide == -2 ? -1 : 0) << lSeed << " " << lStep;
                ASSERT_EQ(lMesh->mEdgeArray[0], lSide == -2 ? lBefore : lSide) << lSeed << " " << lStep;
                ASSERT_EQ(lReports.Messages(), lExpectedReports) << lSeed << " " << lStep;
            }
            for (int q = 0; lForPolygon && q < 6; ++q) {
                const int p = lPick(0, lMesh->GetPolygonCount() - 1);
                const int lSize = lMesh->GetPolygonSize(p);
                const int i = lPick(0, lSize - 1);
                const int lStart = lMesh->GetPolygonVertex(p, i);
                const int lEnd = lMesh->GetPolygonVertex(p, (i + 1) % lSize);
                moxtest::ReportCapture lReports;
                const int lExpected = moxoracle::MapEdgeForSide(*lMesh, lMap, lMesh->mV2PVMap.mPVToEdge, lStart, lEnd);
                const std::vector<std::string> lExpectedReports = lReports.Messages();
                lReports.Clear();
                ASSERT_EQ(lMesh->GetMeshEdgeIndexForPolygon(p, i), lExpected) << lSeed << " " << lStep;
                ASSERT_EQ(lReports.Messages(), lExpectedReports) << lSeed << " " << lStep;
            }
        }
        if (lForPolygon)
            lMesh->EndGetMeshEdgeIndexForPolygon();
        else
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

// RemoveDuplicatedEdges against RemoveAt one by one, on twin meshes: edges (with the reserved slots),
// edge-mapped elements of every mode, user data fields, and reports.
TEST(MoxMeshEdgeOracle, RemoveDuplicatedEdgesMatchesRemovalOneByOne)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMeshes[2] = {lScope.NewMesh("fast"), lScope.NewMesh("plain")};
    for (unsigned int lSeed = 0; lSeed < 300; ++lSeed) {
        std::vector<int> lList;
        for (MoxMesh* lMesh : lMeshes) {
            MakeOracleMesh(*lMesh, lSeed);
            lMesh->BuildMeshEdgeArray();
            const int lEdgeCount = lMesh->GetMeshEdgeCount();
            if (lSeed % 3 == 0) lMesh->mEdgeArray.Reserve(lEdgeCount + 5);
            MoxLayer* lLayer = lMesh->GetLayer(0);
            if (!lLayer) lLayer = lMesh->GetLayer(lMesh->CreateLayer());
            MoxLayerElementSmoothing* lSmoothing = MoxLayerElementSmoothing::Create(lMesh, "");
            lSmoothing->SetMappingMode(MoxLayerElement::eByEdge);
            lSmoothing->SetReferenceMode(lSeed % 2 ? MoxLayerElement::eDirect : MoxLayerElement::eIndexToDirect);
            MoxLayerElementCrease* lCreases = MoxLayerElementCrease::Create(lMesh, "");
            lCreases->SetMappingMode(MoxLayerElement::eByEdge);
            for (int i = 0; i < lEdgeCount - static_cast<int>(lSeed % 4); ++i) {
                lSmoothing->GetDirectArray().Add(i);
                lSmoothing->GetIndexArray().Add(2 * i);
                lCreases->GetDirectArray().Add(0.25 * i);
            }
            lLayer->SetSmoothing(lSmoothing);
            lLayer->SetEdgeCrease(lCreases);
            // The list: increasing from 0 in most seeds, else with repeats, disorder or negatives.
            std::mt19937 lRandom(lSeed);
            lList.clear();
            for (int e = 0; e < lEdgeCount; ++e)
                if (std::uniform_int_distribution<int>(0, 9)(lRandom) < 2) lList.push_back(e);
            if (lSeed % 10 == 7 && !lList.empty()) lList.insert(lList.begin(), lList.back());
            if (lSeed % 10 == 8) lList.insert(lList.begin(), -1);
            if (lSeed % 10 == 9 && !lList.empty()) lList.push_back(lList.back());
        }
        if (lList.empty()) continue;
        MoxArray<int> lMoxList;
        for (int lEdge : lList) lMoxList.Add(lEdge);
        const int lEdgeCount = lMeshes[0]->GetMeshEdgeCount();
        moxtest::ReportCapture lCapture;
        // The plain algorithm on the second mesh.
        MoxMesh& lPlain = *lMeshes[1];
        int lPlainResult = -1;
        if (lList.back() < lPlain.GetMeshEdgeCount()) {
            lPlainResult = static_cast<int>(lList.size());
            for (int i = lMoxList.GetCount() - 1; i >= 0; --i) lPlain.mEdgeArray.RemoveAt(lMoxList[i]);
            MoxLayer* lLayer = lPlain.GetLayer(0);
            MoxLayerElementSmoothing* lSmoothing = lLayer->GetSmoothing();
            MoxLayerElementArray& lSmoothingArray =
                lSmoothing->GetReferenceMode() == MoxLayerElement::eDirect
                    ? static_cast<MoxLayerElementArray&>(lSmoothing->GetDirectArray())
                    : lSmoothing->GetIndexArray();
            for (int i = lMoxList.GetCount() - 1; i >= 0; --i) lSmoothingArray.RemoveAt(lMoxList[i], nullptr, eMoxInt);
            for (int i = lMoxList.GetCount() - 1; i >= 0; --i)
                lLayer->GetEdgeCrease()->GetDirectArray().RemoveAt(lMoxList[i]);
        }
        const std::vector<std::string> lExpectedReports = Messages(lCapture);
        lCapture.Clear();
        ASSERT_EQ(lMeshes[0]->RemoveDuplicatedEdges(lMoxList), lPlainResult) << lSeed;
        ASSERT_EQ(Messages(lCapture), lExpectedReports) << lSeed;
        // The slots freed by the removals keep what the one-by-one removals leave there.
        ASSERT_EQ(Block(lMeshes[0]->mEdgeArray, lEdgeCount), Block(lPlain.mEdgeArray, lEdgeCount)) << lSeed;
        for (int lMode = 0; lMode < 3; ++lMode) {
            MoxLayer* lFast = lMeshes[0]->GetLayer(0);
            MoxLayer* lSlow = lPlain.GetLayer(0);
            const MoxLayerElementArray* lArrays[2] = {
                lMode == 0   ? static_cast<MoxLayerElementArray*>(&lFast->GetSmoothing()->GetDirectArray())
                : lMode == 1 ? static_cast<MoxLayerElementArray*>(&lFast->GetSmoothing()->GetIndexArray())
                             : static_cast<MoxLayerElementArray*>(&lFast->GetEdgeCrease()->GetDirectArray()),
                lMode == 0   ? static_cast<MoxLayerElementArray*>(&lSlow->GetSmoothing()->GetDirectArray())
                : lMode == 1 ? static_cast<MoxLayerElementArray*>(&lSlow->GetSmoothing()->GetIndexArray())
                             : static_cast<MoxLayerElementArray*>(&lSlow->GetEdgeCrease()->GetDirectArray())};
            ASSERT_EQ(lArrays[0]->GetCount(), lArrays[1]->GetCount()) << lSeed << " " << lMode;
            for (int i = 0; i < lArrays[0]->GetCount(); ++i) {
                const void* lA = lArrays[0]->GetReference(i, lArrays[0]->GetDataType());
                const void* lB = lArrays[1]->GetReference(i, lArrays[1]->GetDataType());
                ASSERT_EQ(std::memcmp(lA, lB, static_cast<size_t>(MoxLayerElementValueSize(lArrays[0]->GetDataType()))),
                          0)
                    << lSeed << " " << lMode << " " << i;
            }
        }
    }
}

// Every edge operation on meshes whose records, edges and control points were corrupted by hand, inside
// and outside the Begin/End pairs: the results are whatever the reads give, but nothing reads or writes
// outside an allocation (checked by the sanitizer build) and nothing leaks.
TEST(MoxMeshEdgeSafety, OperationsStaySafeOnCorruptedMeshes)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    MoxMesh::ComponentMap lMaps[2];
    moxtest::ReportCapture lCapture;
    for (unsigned int lSeed = 0; lSeed < 300; ++lSeed) {
        MakeOracleMesh(*lMesh, lSeed);
        std::mt19937 lRandom(lSeed);
        auto lDraw = [&lRandom](int pLow, int pHigh) {
            return std::uniform_int_distribution<int>(pLow, pHigh)(lRandom);
        };
        lMesh->BuildMeshEdgeArray();
        if (lSeed % 2) lMesh->BeginGetMeshEdgeIndexForPolygon();
        if (lSeed % 3) lMesh->BeginGetMeshEdgeVertices();
        for (int k = 0; k < 3 && lMesh->GetPolygonCount() > 0; ++k) {
            MoxMesh::PolygonDef& lPolygon = lMesh->mPolygons[lDraw(0, lMesh->GetPolygonCount() - 1)];
            lPolygon.mIndex += lDraw(-6, 6);
            lPolygon.mSize += lDraw(-4, 4);
        }
        for (int k = 0; k < 3 && lMesh->GetMeshEdgeCount() > 0; ++k)
            lMesh->mEdgeArray[lDraw(0, lMesh->GetMeshEdgeCount() - 1)] = lDraw(-5, lMesh->GetPolygonVertexCount() + 5);
        if (lSeed % 5 == 0) lMesh->SetControlPointCount(lMesh->GetControlPointsCount() + lDraw(-3, 3));
        const int n = lMesh->GetControlPointsCount();
        for (int k = 0; k < 20; ++k) {
            bool lReversed = false;
            int lStart = 0;
            int lEnd = 0;
            lMesh->GetMeshEdgeIndex(lDraw(-1, n), lDraw(-1, n), lReversed, lDraw(-2, lMesh->GetMeshEdgeCount() + 1));
            lMesh->GetMeshEdgeVertices(lDraw(-1, lMesh->GetMeshEdgeCount()), lStart, lEnd);
            lMesh->GetMeshEdgeIndexForPolygon(lDraw(-1, lMesh->GetPolygonCount()), lDraw(-1, 6));
            lMesh->FindPolygonIndex(lDraw(-1, lMesh->GetMeshEdgeCount()));
            lMesh->SetMeshEdgeIndex(lDraw(-1, lMesh->GetMeshEdgeCount()), lDraw(-1, n), lDraw(-1, n), lDraw(0, 1) == 1);
            lMesh->SetMeshEdgeIndex(lDraw(-1, lMesh->GetMeshEdgeCount()), lDraw(-1, lMesh->GetPolygonCount()),
                                    lDraw(-1, 6));
            lMesh->AddMeshEdgeIndex(lDraw(-1, n), lDraw(-1, n), lDraw(0, 1) == 1);
            lMesh->AddMeshEdgeIndexForPolygon(lDraw(-1, lMesh->GetPolygonCount()), lDraw(-1, 6));
        }
        lMesh->ComputeComponentMaps(lMaps[0], lMaps[1]);
        lMesh->BeginGetMeshEdgeIndexForPolygon();
        lMesh->EndGetMeshEdgeIndexForPolygon();
        MoxArray<int> lList;
        for (int e = 0; e < lMesh->GetMeshEdgeCount(); e += 1 + lDraw(0, 4))
            lList.Add(lSeed % 7 == 0 ? lDraw(-2, e) : e);
        lMesh->RemoveDuplicatedEdges(lList);
        lMesh->BuildMeshEdgeArray();
        lMesh->EndGetMeshEdgeVertices();
        lCapture.Clear();
    }
    lMesh->Reset();
}

}  // namespace
