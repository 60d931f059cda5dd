#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "moxsdk/scene/geometry/moxmesh.h"
#include "moxsdk/scene/moxblendshape.h"
#include "moxsdk/scene/moxblendshapechannel.h"
#include "moxsdk/scene/moxcluster.h"
#include "moxsdk/scene/moxnode.h"
#include "moxsdk/scene/moxshape.h"
#include "moxsdk/scene/moxskin.h"
#include "scene/geometry/moxmeshsplit_testutil.h"
#include "scene/geometry/oracle/moxmeshsplit_oracle.h"
#include "support/moxtestmeshes.h"
#include "support/moxtestsupport.h"

using namespace moxsdk;
using namespace moxsplittest;

namespace {

// ---- BuildMergeList ---------------------------------------------------------------------------------------

MoxMesh* MeshWithPoints(moxtest::ManagerScope& pScope, const std::vector<MoxVector4>& pPoints)
{
    MoxMesh* lMesh = pScope.NewMesh();
    lMesh->InitControlPoints(int(pPoints.size()));
    for (size_t i = 0; i < pPoints.size(); ++i) lMesh->SetControlPointAt(pPoints[i], int(i));
    return lMesh;
}

TEST(MoxMeshMergeList, CloseFirstPairMerges)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = MeshWithPoints(lScope, {{0, 0, 0}, {0.00005, 0, 0}, {1, 0, 0}});
    MoxArray<int> lList;
    EXPECT_TRUE(lMesh->BuildMergeList(lList));
    EXPECT_EQ(ToVector(lList), (std::vector<int>{0, 0, 2}));
}

TEST(MoxMeshMergeList, ExactlyTheMergeDistanceDoesNotMerge)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = MeshWithPoints(lScope, {{0, 0, 0}, {0.0001, 0, 0}, {0, 0, 0.0001}});
    MoxArray<int> lList;
    EXPECT_FALSE(lMesh->BuildMergeList(lList));
    EXPECT_EQ(ToVector(lList), (std::vector<int>{0, 1, 2}));
}

// A later i overwrites what an earlier i assigned: points 0 and 1 are both near 2, not near each other.
TEST(MoxMeshMergeList, LaterPointOverwritesEarlierAssignment)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = MeshWithPoints(lScope, {{0, 0, 0}, {0.00015, 0, 0}, {0.000075, 0, 0}});
    MoxArray<int> lList;
    EXPECT_TRUE(lMesh->BuildMergeList(lList));
    EXPECT_EQ(ToVector(lList), (std::vector<int>{0, 1, 1}));
}

TEST(MoxMeshMergeList, ChainsFollowTheEntryOfTheLastClosePoint)
{
    moxtest::ManagerScope lScope;
    // 0 - 1 - 2 is a chain of close points; 3 coincides with 0, the w component is ignored.
    MoxMesh* lMesh =
        MeshWithPoints(lScope, {{0, 0, 0}, {0.00008, 0, 0}, {0.00016, 0, 0}, {0, 0, 0, 7}, {5, 5, 5}, {5, 5, 5.00009}});
    MoxArray<int> lList;
    EXPECT_TRUE(lMesh->BuildMergeList(lList));
    EXPECT_EQ(ToVector(lList), (std::vector<int>{0, 0, 0, 0, 4, 4}));
}

TEST(MoxMeshMergeList, NonFinitePointsNeverMergeAndEmptyMeshGivesEmptyList)
{
    moxtest::ManagerScope lScope;
    const double lInf = std::numeric_limits<double>::infinity();
    const double lNaN = std::numeric_limits<double>::quiet_NaN();
    MoxMesh* lMesh =
        MeshWithPoints(lScope, {{lInf, 0, 0}, {lInf, 0, 0}, {lNaN, 0, 0}, {lNaN, 0, 0}, {1e300, 0, 0}, {1e300, 0, 0}});
    MoxArray<int> lList;
    EXPECT_TRUE(lMesh->BuildMergeList(lList));
    EXPECT_EQ(ToVector(lList), (std::vector<int>{0, 1, 2, 3, 4, 4}));

    MoxMesh* lEmpty = lScope.NewMesh();
    lList.Add(3);
    EXPECT_FALSE(lEmpty->BuildMergeList(lList));
    EXPECT_EQ(lList.GetCount(), 0);
}

// Pairs at the largest and smallest separations that still merge (computed distance just below 0.0001)
// and just do not, at magnitudes from 0 to 5e11, where the rounding of grid coordinates is coarse. Pairs
// are far apart from each other, so the list must pair exactly the close ones.
TEST(MoxMeshMergeList, PairsAtTheMergeDistanceMergeExactlyWhenCloser)
{
    std::vector<MoxVector4> lPoints;
    std::vector<bool> lClose;
    int lRow = 0;
    for (double lMagnitude : {0.0, 0.3, 1.0, 17.0, 1e3, 1e5, 3.3e7, 1e9, 2.5e10, 5.4e11}) {
        for (int lStep = 0; lStep < 40; ++lStep) {
            const double lX = lMagnitude + lStep * 0.0000371;
            // The last y above lX whose computed distance is below 0.0001, and the one after it.
            double lY = lX + 0.0001;
            while (MoxVector4(lY, 0, 0).Distance(MoxVector4(lX, 0, 0)) >= 0.0001 && lY > lX)
                lY = std::nextafter(lY, 0.0);
            for (double lOther : {lY, std::nextafter(lY, 1e300)}) {
                for (int lAxis = 0; lAxis < 3; ++lAxis) {
                    MoxVector4 lA(0, 0, 0);
                    MoxVector4 lB(0, 0, 0);
                    lA[lAxis] = lX;
                    lB[lAxis] = lOther;
                    lA[(lAxis + 1) % 3] = lB[(lAxis + 1) % 3] = 10.0 * ++lRow;
                    lPoints.push_back(lA);
                    lPoints.push_back(lB);
                    lClose.push_back(lA.Distance(lB) < 0.0001);
                }
            }
        }
    }
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = MeshWithPoints(lScope, lPoints);
    MoxArray<int> lList;
    EXPECT_TRUE(lMesh->BuildMergeList(lList));
    int lMerged = 0;
    for (size_t k = 0; k < lClose.size(); ++k) {
        const int lFirst = int(2 * k);
        EXPECT_EQ(lList[lFirst], lFirst) << k;
        EXPECT_EQ(lList[lFirst + 1], lClose[k] ? lFirst : lFirst + 1) << k << " at " << lPoints[size_t(lFirst)][0];
        lMerged += lClose[k];
    }
    EXPECT_GT(lMerged, 1000);
    EXPECT_LT(lMerged, int(lClose.size()));
}

// Random point sets against the all-pairs rule: clusters of coincident points, points on a lattice of
// exactly the merge distance (whose computed distances fall on both sides of it), jitter around it, large
// coordinates where rounding is coarse.
std::vector<MoxVector4> RandomPointSet(std::mt19937& pRandom)
{
    auto lInt = [&pRandom](int pLow, int pHigh) { return std::uniform_int_distribution<int>(pLow, pHigh)(pRandom); };
    auto lReal = [&pRandom](double pLow, double pHigh) {
        return std::uniform_real_distribution<double>(pLow, pHigh)(pRandom);
    };
    const int lKind = lInt(0, 5);
    const int lCount = lInt(0, 400);
    const double lBase = std::vector<double>{0.0, 0.3, -12.7, 1e5, 3.7e9, 5.5e11}[size_t(lInt(0, 5))];
    std::vector<MoxVector4> lPoints;
    for (int i = 0; i < lCount; ++i) {
        if (i > 0 && lInt(0, 4) == 0) {
            lPoints.push_back(lPoints[size_t(lInt(0, i - 1))]);  // a coincident copy
            continue;
        }
        MoxVector4 lPoint;
        for (int k = 0; k < 3; ++k) {
            switch (lKind) {
                case 0:
                    lPoint[k] = lBase + lInt(0, 6) * 0.0001;
                    break;  // lattice of the merge distance
                case 1:
                    lPoint[k] = lBase + lInt(0, 30) * 0.00005;
                    break;
                case 2:
                    lPoint[k] = lBase + lReal(0, 0.0005);
                    break;
                case 3:
                    lPoint[k] = lInt(0, 3) + lReal(-0.0001, 0.0001) * (k == 0);
                    break;
                case 4:
                    lPoint[k] = lBase + (lInt(0, 1) ? 0.0 : lInt(-3, 3) * std::ldexp(1.0, -14));
                    break;
                default:
                    lPoint[k] = lInt(-2, 2) * 0.5 + lInt(0, 2) * 0.0001 * (k == 1);
                    break;
            }
        }
        lPoint[3] = lInt(0, 2);
        lPoints.push_back(lPoint);
    }
    return lPoints;
}

TEST(MoxMeshMergeList, MatchesTheAllPairsRuleOnRandomPointSets)
{
    std::mt19937 lRandom(1234);
    int lMergedSets = 0;
    for (int lRun = 0; lRun < 400; ++lRun) {
        moxtest::ManagerScope lScope;
        MoxMesh* lMesh = MeshWithPoints(lScope, RandomPointSet(lRandom));
        MoxArray<int> lFast;
        MoxArray<int> lPlain;
        const bool lFastMerged = lMesh->BuildMergeList(lFast);
        const bool lPlainMerged = moxoracle::BuildMergeList(*lMesh, lPlain);
        ASSERT_EQ(lFastMerged, lPlainMerged) << lRun;
        ASSERT_EQ(ToVector(lFast), ToVector(lPlain)) << lRun;
        lMergedSets += lFastMerged;
        // The closed form: entry j is the entry of the last earlier point within the distance, or j.
        const MoxVector4* lPoints = lMesh->GetControlPoints();
        for (int j = 0; j < lFast.GetCount(); ++j) {
            int lLast = -1;
            for (int i = 0; i < j; ++i)
                if (lPoints[j].Distance(lPoints[i]) < 0.0001) lLast = i;
            ASSERT_EQ(lFast[j], lLast >= 0 ? lFast[lLast] : j) << lRun << " " << j;
        }
    }
    EXPECT_GT(lMergedSets, 200);
}

// The closed form of the merge list: entry j is the entry of the last earlier point within the
// distance, or j.
std::vector<int> ClosedFormMergeList(const std::vector<MoxVector4>& pPoints)
{
    std::vector<int> lList(pPoints.size());
    for (size_t j = 0; j < pPoints.size(); ++j) {
        int lLast = -1;
        for (size_t i = 0; i < j; ++i)
            if (pPoints[j].Distance(pPoints[i]) < 0.0001) lLast = int(i);
        lList[j] = lLast >= 0 ? lList[size_t(lLast)] : int(j);
    }
    return lList;
}

TEST(MoxMeshMergeList, AllPointsEqualMergeIntoTheFirst)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = MeshWithPoints(lScope, std::vector<MoxVector4>(3000, MoxVector4(-0.25, 7.5, 1e-9)));
    MoxArray<int> lList;
    EXPECT_TRUE(lMesh->BuildMergeList(lList));
    EXPECT_EQ(ToVector(lList), std::vector<int>(3000, 0));
}

// Close and nearly close pairs straddling grid cell borders along every axis and diagonal, at magnitudes
// where the rounding of scaled coordinates is fine, coarse (around 2^40 scaled) and huge, mixed with
// non-finite points, zero and huge distances.
TEST(MoxMeshMergeList, MatchesTheClosedFormAcrossCellBordersAndExtremes)
{
    std::mt19937 lRandom(99);
    std::uniform_real_distribution<double> lJitter(-0.00006, 0.00006);
    const double lInf = std::numeric_limits<double>::infinity();
    const double lNaN = std::numeric_limits<double>::quiet_NaN();
    for (double lMagnitude : {0.0, 1.0, -3.3, 2.19e8, 2.2e8, -2.3e8, 4.4e8, 1e12}) {
        std::vector<MoxVector4> lPoints;
        for (int i = 0; i < 300; ++i) {
            // A border of the grid (cells are 0.0002 wide) near the magnitude, and points around it.
            const double lBorder = std::floor(lMagnitude / 0.0002 + i) * 0.0002;
            MoxVector4 lPoint(lMagnitude, lMagnitude, lMagnitude);
            for (int lCopy = 0; lCopy < 2; ++lCopy) {
                for (int k = 0; k < 3; ++k)
                    if ((i >> k) & 1) lPoint[k] = lBorder + lJitter(lRandom);
                lPoints.push_back(lPoint);
            }
            if (i % 7 == 0) lPoints.push_back(lPoint);  // zero distance
            if (i % 11 == 0) lPoints.emplace_back(lNaN, lPoint[1], lPoint[2]);
            if (i % 13 == 0) lPoints.emplace_back(lPoint[0], -lInf, lPoint[2]);
            if (i % 17 == 0) lPoints.emplace_back(1e300, -1e300, lPoint[2]);
        }
        moxtest::ManagerScope lScope;
        MoxMesh* lMesh = MeshWithPoints(lScope, lPoints);
        MoxArray<int> lList;
        lMesh->BuildMergeList(lList);
        const std::vector<int> lExpected = ClosedFormMergeList(lPoints);
        EXPECT_EQ(ToVector(lList), lExpected) << lMagnitude;
        int lMerged = 0;
        for (size_t j = 0; j < lExpected.size(); ++j) lMerged += lExpected[j] != int(j);
        EXPECT_GT(lMerged, 60) << lMagnitude;
    }
}

// More distinct positions than the list keeps in its cache of recent ones, then copies of them met again
// in the order the positions came (as a split mesh appends its copies), in reverse and shuffled, with
// non-finite points between: every copy takes the first point at its position.
TEST(MoxMeshMergeList, CopiesMetLongAfterTheirPositionTakeTheFirstPoint)
{
    std::vector<MoxVector4> lPositions;
    lPositions.reserve(40000);
    for (int i = 0; i < 40000; ++i)
        lPositions.emplace_back(i % 40 * 0.001, i / 40 % 40 * 0.001,
                                i / 1600 * 0.001);  // NOLINT(bugprone-integer-division): a grid of whole steps
    std::vector<int> lOrder(lPositions.size());
    for (size_t i = 0; i < lOrder.size(); ++i) lOrder[i] = int(i);
    std::vector<MoxVector4> lPoints = lPositions;
    std::vector<int> lExpected = lOrder;
    std::mt19937 lRandom(7);
    for (int lPass = 0; lPass < 3; ++lPass) {
        if (lPass == 1) std::reverse(lOrder.begin(), lOrder.end());
        if (lPass == 2) std::shuffle(lOrder.begin(), lOrder.end(), lRandom);
        for (size_t k = 0; k < lOrder.size(); ++k) {
            lPoints.push_back(lPositions[size_t(lOrder[k])]);
            lExpected.push_back(lOrder[k]);
            if (k % 1000 == 0) {
                lPoints.emplace_back(std::numeric_limits<double>::quiet_NaN(), 0, 0);
                lExpected.push_back(int(lExpected.size()));
            }
        }
    }
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = MeshWithPoints(lScope, lPoints);
    MoxArray<int> lList;
    EXPECT_TRUE(lMesh->BuildMergeList(lList));
    EXPECT_EQ(ToVector(lList), lExpected);
}

// ---- MergePointsForPolygonVerteNormals -----------------------------------------------------------------

TEST(MoxMeshMerge, IdentityListRemovesNothingAndKeepsTheMapping)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeQuad(*lMesh);
    SetNormals(*lMesh, MoxLayerElement::eByControlPoint, MoxLayerElement::eDirect, Normals(4));
    MoxArray<int> lList;
    for (int i = 0; i < 4; ++i) lList.Add(i);
    moxtest::ReportCapture lReports;
    lMesh->MergePointsForPolygonVerteNormals(lList);
    EXPECT_EQ(lReports.Count(), 0u);
    EXPECT_EQ(lMesh->GetControlPointsCount(), 4);
    EXPECT_EQ(ToVector(lMesh->mPolygonVertices), Iota(4));
    EXPECT_EQ(lMesh->GetLayer(0)->GetNormals()->GetMappingMode(), MoxLayerElement::eByControlPoint);
}

// The search for the first edge joining (3, 3) stops at edge 3 and never resolves edge 4, whose polygon
// (the empty one) would have it read past the polygon vertices.
TEST(MoxMeshMerge, EdgeSearchesStopBeforeAnEdgeTheyNeverReach)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::BuildMesh(*lMesh, sgEmptyBeforeOnePoints, {{0, 1, 2}, {3}, {}, {3}});
    SetNormals(*lMesh, MoxLayerElement::eByControlPoint, MoxLayerElement::eDirect, Normals(4));
    for (int lEdge : {0, 1, 2, 3, 4}) lMesh->mEdgeArray.Add(lEdge);
    MoxArray<int> lList;
    for (int i = 0; i < 4; ++i) lList.Add(i);
    moxtest::ReportCapture lReports;
    lMesh->MergePointsForPolygonVerteNormals(lList);
    EXPECT_EQ(lReports.Count(), 0u);
    EXPECT_EQ(ToVector(lMesh->mEdgeArray), (std::vector<int>{0, 1, 2, 3}));
}

TEST(MoxMeshMerge, SplitCubeMergesBackToEightPoints)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeCube(*lMesh);
    lMesh->BuildMeshEdgeArray();
    const std::vector<int> lEdges = ToVector(lMesh->mEdgeArray);
    const std::vector<int> lVertices = ToVector(lMesh->mPolygonVertices);
    SetNormals(*lMesh, MoxLayerElement::eByPolygonVertex, MoxLayerElement::eDirect, Normals(24));
    ASSERT_TRUE(lMesh->SplitPoints());
    ASSERT_EQ(lMesh->GetControlPointsCount(), 24);

    MoxArray<int> lList;
    EXPECT_TRUE(lMesh->BuildMergeList(lList));
    moxtest::ReportCapture lReports;
    lMesh->MergePointsForPolygonVerteNormals(lList);
    EXPECT_EQ(lReports.Count(), 0u);

    EXPECT_EQ(lMesh->GetControlPointsCount(), 8);
    EXPECT_EQ(ToVector(lMesh->mPolygonVertices), lVertices);
    EXPECT_EQ(ToVector(lMesh->mEdgeArray), lEdges);
    const MoxLayerElementNormal* lNormals = lMesh->GetLayer(0)->GetNormals();
    EXPECT_EQ(lNormals->GetMappingMode(), MoxLayerElement::eByPolygonVertex);
    EXPECT_EQ(Values(*lNormals->mDirectArray), Normals(24));
}

TEST(MoxMeshMerge, ReportsMissingNormalsAndEdgeCountMismatch)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeTwoTriangles(*lMesh);
    lMesh->BuildMeshEdgeArray();
    MoxArray<int> lList;
    for (int i = 0; i < 4; ++i) lList.Add(i);
    moxtest::ReportCapture lReports;
    lMesh->MergePointsForPolygonVerteNormals(lList);
    EXPECT_EQ(OwnReports(lReports),
              (std::vector<std::string>{"MergePointsForPolygonVerteNormals: isvalid && direct != NULL",
                                        "MergePointsForPolygonVerteNormals: mEdgeArray.GetCount() == "
                                        "mPolygonVertices.GetCount()"}));
    EXPECT_EQ(lMesh->GetMeshEdgeCount(), 5);
}

// Merge-list entries may point forward: a polygon vertex rewritten to a later control point is that
// point's first use when it comes before the point's own polygon vertices.
TEST(MoxMeshMerge, ForwardEntriesAreFoundAtTheirRewrittenPosition)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::BuildMesh(*lMesh, {{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {3, 0, 0}}, {{0, 1, 3, 2}});
    SetNormals(*lMesh, MoxLayerElement::eByControlPoint, MoxLayerElement::eDirect, Normals(4));
    MoxArray<int> lList;
    for (int lEntry : {3, 1, 2, 3}) lList.Add(lEntry);
    lMesh->MergePointsForPolygonVerteNormals(lList);
    // Point 0 writes 3 at position 0; point 3 then finds position 0 first and writes 3 there again.
    // Point 0 is removed, so every entry above 0 drops by one.
    EXPECT_EQ(ToVector(lMesh->mPolygonVertices), (std::vector<int>{2, 0, 2, 1}));
    EXPECT_EQ(Values(*lMesh->GetLayer(0)->GetNormals()->mDirectArray),
              (std::vector<MoxVector4>{N(3), N(1), MoxVector4(), N(2)}));
}

TEST(MoxMeshMerge, ClustersDropTheFirstEntryAndKeepTheirSettings)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeQuad(*lMesh);
    SetNormals(*lMesh, MoxLayerElement::eByControlPoint, MoxLayerElement::eDirect, Normals(4));
    MoxSkin* lSkin = MoxSkin::Create(lScope.Get(), "skin");
    lMesh->AddDeformer(lSkin);
    MoxCluster* lCluster = AddCluster(lScope, *lSkin, {{0, 0.5}, {1, 0.25}, {3, 0.125}, {0, 1.0}});
    MoxNode* lLink = MoxNode::Create(lScope.Get(), "link");
    MoxNode* lAssociate = MoxNode::Create(lScope.Get(), "associate");
    lCluster->SetLink(lLink);
    lCluster->SetAssociateModel(lAssociate);
    lCluster->SetLinkMode(MoxCluster::eTotalOne);
    MoxAMatrix lMatrix;
    lMatrix.SetT(MoxVector4(1, 2, 3));
    lCluster->SetTransformMatrix(lMatrix);
    lMatrix.SetT(MoxVector4(4, 5, 6));
    lCluster->SetTransformParentMatrix(lMatrix);
    lCluster->SetUserData("id", "data");
    const ClusterState lBefore = Capture(*lCluster);

    MoxArray<int> lList;
    for (int lEntry : {0, 0, 2, 3}) lList.Add(lEntry);
    lMesh->MergePointsForPolygonVerteNormals(lList);

    // Pairs naming control point 0 (entry 0 of the list) are dropped; the others keep their indices.
    ClusterState lExpected = lBefore;
    lExpected.mIndices = {1, 3};
    lExpected.mWeights = {0.25, 0.125};
    EXPECT_TRUE(Capture(*lCluster) == lExpected);
    EXPECT_EQ(lCluster->GetLink(), lLink);
    EXPECT_EQ(lCluster->GetAssociateModel(), lAssociate);
}

TEST(MoxMeshMerge, TargetShapesAreTruncatedWithTheFirstShapesValues)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::BuildMesh(*lMesh, {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 0}}, {{0, 1, 2}, {3}});
    SetNormals(*lMesh, MoxLayerElement::eByControlPoint, MoxLayerElement::eDirect, Normals(4));
    MoxBlendShape* lBlend = nullptr;
    MoxShape* lFirst = AddShape(lScope, *lMesh, lBlend, {{1, 0, 0}, {2, 0, 0}, {3, 0, 0}, {4, 0, 0}});
    lFirst->InitNormals();
    lFirst->GetLayer(0)->GetNormals()->mDirectArray->SetAt(1, N(7));
    MoxShape* lSecond = AddShape(lScope, *lMesh, lBlend, {{9, 9, 9}, {8, 8, 8}, {7, 7, 7}, {6, 6, 6}});
    lSecond->InitNormals();

    MoxArray<int> lList;
    ASSERT_TRUE(lMesh->BuildMergeList(lList));
    moxtest::ReportCapture lReports;
    lMesh->MergePointsForPolygonVerteNormals(lList);
    EXPECT_EQ(lReports.Count(), 0u);
    ASSERT_EQ(lMesh->GetControlPointsCount(), 3);

    const std::vector<MoxVector4> lExpected = {MoxVector4(1, 0, 0), MoxVector4(2, 0, 0), MoxVector4(3, 0, 0)};
    for (MoxShape* lShape : {lFirst, lSecond}) {
        const ShapeState lState = Capture(*lShape);
        EXPECT_EQ(lState.mPoints, lExpected);
        EXPECT_EQ(lState.mNormals.mDirect, (std::vector<MoxVector4>{MoxVector4(), N(7), MoxVector4()}));
    }
}

// ---- Oracle comparisons on random meshes ------------------------------------------------------------------

// Merges pFast by pFastList and pPlain by pPlainList with the plain algorithm: the same reports and the
// same meshes after.
void ExpectSameMerge(MoxMesh& pFast, MoxArray<int>& pFastList, MoxMesh& pPlain, MoxArray<int>& pPlainList,
                     const std::string& pContext)
{
    std::vector<std::string> lFastReports;
    std::vector<std::string> lPlainReports;
    {
        moxtest::ReportCapture lReports;
        pFast.MergePointsForPolygonVerteNormals(pFastList);
        lFastReports = AllReports(lReports);
    }
    {
        moxtest::ReportCapture lReports;
        moxoracle::MergePoints(pPlain, pPlainList);
        lPlainReports = AllReports(lReports);
    }
    EXPECT_EQ(lFastReports, lPlainReports) << pContext;
    ExpectSameState(Capture(pFast), Capture(pPlain), pContext);
}

TEST(MoxMeshSplitOracle, MergeMatchesThePlainAlgorithmOnRandomMeshes)
{
    int lTopologiesKept = 0;
    for (unsigned lSeed = 1; lSeed <= 400; ++lSeed) {
        moxtest::ManagerScope lScope;
        MoxMesh* lFast = RandomScenario(lScope, lSeed, sgUV0);
        MoxMesh* lPlain = RandomScenario(lScope, lSeed, sgUV0);
        std::mt19937 lRandom(std::mt19937::result_type(lSeed * 7919u));
        // Mostly split meshes, as the merge expects; sometimes the mesh as built.
        if (lSeed % 4 != 0) {
            moxtest::ReportCapture lQuiet;
            lFast->SplitPoints();
            lPlain->SplitPoints();
        }
        MoxArray<int> lList;
        const int n = lFast->GetControlPointsCount();
        const int lListKind = int(lSeed % 6);
        const bool lWellFormed = lFast->IsWellFormed();
        if (lListKind <= 2) {
            lFast->BuildMergeList(lList);
        } else if (lListKind == 3) {  // any entries, also forward and out of range
            for (int i = 0; i < n; ++i) lList.Add(std::uniform_int_distribution<int>(-1, n)(lRandom));
        } else if (lListKind == 4) {  // shorter than the control points
            lFast->BuildMergeList(lList);
            if (lList.GetCount() > 0) lList.Resize(lList.GetCount() / 2);
        } else {
            for (int i = 0; i < n; ++i) lList.Add(i);
        }
        const std::string lContext = "seed " + std::to_string(lSeed);
        // Building the list changes nothing; merging by it keeps the topology of a split mesh.
        if (lWellFormed) {
            EXPECT_TRUE(lFast->IsWellFormed()) << lContext;
        }
        const bool lKeepsTopology = lListKind != 3 && HasOnePolygonVertexPerControlPoint(*lFast);
        lTopologiesKept += lKeepsTopology;
        MoxArray<int> lPlainList(lList);
        ExpectSameMerge(*lFast, lList, *lPlain, lPlainList, lContext);
        if (lKeepsTopology) {
            EXPECT_TRUE(lFast->HasWellFormedTopology()) << lContext;
        }
        if (HasFailure()) return;
    }
    EXPECT_GT(lTopologiesKept, 150);
}

// Lists whose entries never point forward, on meshes whose control points are used many times, not at
// all or from past the end, with fewer or more normals than control points: the pass over the polygon
// vertices in order must move every entry and normal as the pass by control point does.
TEST(MoxMeshSplitOracle, MergeWithBackwardEntriesMatchesThePlainAlgorithm)
{
    for (unsigned lSeed = 1; lSeed <= 200; ++lSeed) {
        std::mt19937 lRandom(lSeed);
        const int lCount = std::uniform_int_distribution<int>(1, 40)(lRandom);
        std::vector<moxtest::Point> lPoints;
        lPoints.reserve(size_t(lCount));
        for (int i = 0; i < lCount; ++i) lPoints.push_back({double(i), double(i % 3), 0.0});
        std::vector<std::vector<int>> lPolygons(std::uniform_int_distribution<size_t>(1, 12)(lRandom));
        for (std::vector<int>& lPolygon : lPolygons)
            for (int v = std::uniform_int_distribution<int>(3, 5)(lRandom); v > 0; --v)
                lPolygon.push_back(std::uniform_int_distribution<int>(0, lCount + 1)(lRandom));
        const int lNormalCount = std::uniform_int_distribution<int>(0, 2 * lCount)(lRandom);
        std::vector<int> lEntries;
        lEntries.reserve(size_t(lCount));
        for (int i = 0; i < lCount; ++i)
            lEntries.push_back(lRandom() % 2 ? i : std::uniform_int_distribution<int>(0, i)(lRandom));

        moxtest::ManagerScope lScope;
        MoxMesh* lFast = lScope.NewMesh();
        MoxMesh* lPlain = lScope.NewMesh();
        MoxArray<int> lFastList;
        MoxArray<int> lPlainList;
        for (MoxMesh* lMesh : {lFast, lPlain}) {
            moxtest::ReportCapture lQuiet;
            moxtest::BuildMesh(*lMesh, lPoints, lPolygons);
            SetNormals(*lMesh, MoxLayerElement::eByControlPoint, MoxLayerElement::eDirect, Normals(lNormalCount));
        }
        for (int lEntry : lEntries) {
            lFastList.Add(lEntry);
            lPlainList.Add(lEntry);
        }
        const std::string lContext = "seed " + std::to_string(lSeed);
        ExpectSameMerge(*lFast, lFastList, *lPlain, lPlainList, lContext);
        if (HasFailure()) return;
    }
}
}  // namespace
