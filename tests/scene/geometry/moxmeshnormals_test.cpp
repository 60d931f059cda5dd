// Normals per control point, per polygon vertex with smoothing by polygon, the winding check, and the
// argument checks of conforming. (Smoothing by edge and conforming itself read the edge table and the
// control-point map: moxmeshnormals_edges_test.cpp.)
#include "moxsdk/scene/geometry/moxmesh.h"

#include <algorithm>
#include <cmath>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "scene/geometry/moxmeshnormals_testutil.h"
#include "support/moxpatternedmemory.h"
#include "support/moxtestmeshes.h"
#include "support/moxtestsupport.h"

using namespace moxsdk;
using namespace moxnormalstest;

namespace {

const char* const sgFile = "scene/geometry/moxmesh";

bool HasReport(const moxtest::ReportCapture& pCapture, const std::string& pFile, const std::string& pFunction,
               const std::string& pMessage)
{
    const std::vector<moxtest::Report>& lReports = pCapture.Reports();
    return std::any_of(lReports.begin(), lReports.end(), [&](const moxtest::Report& pReport) {
        return pReport.mFile == pFile && pReport.mFunction == pFunction && pReport.mMessage == pMessage;
    });
}

// The outward unit normal of each cube face, in MakeCube's polygon order.
const double sgCubeFaces[6][3] = {{0, 0, -1}, {0, 0, 1}, {0, -1, 0}, {0, 1, 0}, {-1, 0, 0}, {1, 0, 0}};

// The outward diagonal direction at cube point c: each component -1 or +1.
MoxVector4 CubeCorner(int pPoint)
{
    return MoxVector4((pPoint & 1) ? 1 : -1, ((pPoint >> 1) & 1) ? 1 : -1, ((pPoint >> 2) & 1) ? 1 : -1, 0.0);
}

// ---- Normals per control point ------------------------------------------------------------------------

TEST(MoxMeshNormalsPerControlPoint, MeshWithoutPolygonsGivesNoNormalEverywhere)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::BuildMesh(*lMesh, {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {});
    lMesh->GenerateNormalsByCtrlPoint(false);
    const std::vector<MoxVector4> lNormals = NormalsOf(*lMesh);
    ASSERT_EQ(lNormals.size(), 3u);
    for (const MoxVector4& lNormal : lNormals) ExpectVector(lNormal, 0, 0, 0, 1);
    EXPECT_EQ(lMesh->GetLayer(0)->GetNormals()->GetMappingMode(), MoxLayerElement::eByControlPoint);
    EXPECT_EQ(lMesh->GetLayer(0)->GetNormals()->GetReferenceMode(), MoxLayerElement::eDirect);
}

TEST(MoxMeshNormalsPerControlPoint, CounterClockwiseTriangleFacesPlusZ)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::BuildMesh(*lMesh, {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}});
    lMesh->GenerateNormalsByCtrlPoint(false);
    for (const MoxVector4& lNormal : NormalsOf(*lMesh)) ExpectVector(lNormal, 0, 0, 1, 0);
    lMesh->GenerateNormalsByCtrlPoint(true);
    for (const MoxVector4& lNormal : NormalsOf(*lMesh)) ExpectVector(lNormal, 0, 0, -1, 0);
}

TEST(MoxMeshNormalsPerControlPoint, SumsAreUnnormalisedAndCounted)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::BuildMesh(*lMesh, {{0, 0, 0}, {2, 0, 0}, {0, 3, 0}}, {{0, 1, 2}});
    MoxArray<MoxMesh::VertexNormalInfo> lInfo;
    lMesh->ComputeNormalsPerCtrlPoint(lInfo, false);
    ASSERT_EQ(lInfo.GetCount(), 3);
    for (int i = 0; i < 3; ++i) {
        ExpectVector(lInfo[i].mTotalNormal, 0, 0, 6, 0);  // twice the triangle's area
        EXPECT_EQ(lInfo[i].mNumNormal, 1);
    }
}

// Area weighting: a large triangle in the xy-plane and a small one folded up along their shared side.
TEST(MoxMeshNormalsPerControlPoint, SharedPointsLeanTowardsTheLargerTriangle)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::BuildMesh(*lMesh, {{0, 0, 0}, {1, 0, 0}, {0.5, 4, 0}, {0.5, 0, 0.2}}, {{0, 1, 2}, {1, 0, 3}});
    lMesh->GenerateNormalsByCtrlPoint(false);
    const std::vector<MoxVector4> lNormals = NormalsOf(*lMesh);
    // Corner sums at points 0 and 1: (0, 0, 4) from the large triangle plus (0, 0.2, 0) from the small one.
    const double lLength = std::sqrt(0.2 * 0.2 + 4.0 * 4.0);
    ExpectVector(lNormals[0], 0, 0.2 / lLength, 4.0 / lLength, 0, 1e-15);
    ExpectVector(lNormals[1], 0, 0.2 / lLength, 4.0 / lLength, 0, 1e-15);
    EXPECT_LT(lNormals[0][1], 0.05);  // far from the bisector (0, 0.707, 0.707)
    ExpectVector(lNormals[2], 0, 0, 1, 0);
    ExpectVector(lNormals[3], 0, 1, 0, 0);
}

TEST(MoxMeshNormalsPerControlPoint, PolygonsOfOneOrTwoVerticesCountAZeroNormal)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::BuildMesh(*lMesh, {{0, 0, 0}, {1, 0, 0}, {5, 5, 5}}, {{0, 1}, {2}});
    MoxArray<MoxMesh::VertexNormalInfo> lInfo;
    lMesh->ComputeNormalsPerCtrlPoint(lInfo, false);
    ASSERT_EQ(lInfo.GetCount(), 3);
    for (int i = 0; i < 3; ++i) {
        ExpectVector(lInfo[i].mTotalNormal, 0, 0, 0, 0);
        EXPECT_EQ(lInfo[i].mNumNormal, 1);
    }
    // A zero-length vector is left as it is by normalisation.
    lMesh->GenerateNormalsByCtrlPoint(false);
    for (const MoxVector4& lNormal : NormalsOf(*lMesh)) ExpectVector(lNormal, 0, 0, 0, 0);
}

TEST(MoxMeshNormalsPerControlPoint, UnusedControlPointGetsNoNormal)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::BuildMesh(*lMesh, {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {7, 7, 7}}, {{0, 1, 2}});
    lMesh->GenerateNormalsByCtrlPoint(false);
    const std::vector<MoxVector4> lNormals = NormalsOf(*lMesh);
    ASSERT_EQ(lNormals.size(), 4u);
    ExpectVector(lNormals[0], 0, 0, 1, 0);
    ExpectVector(lNormals[3], 0, 0, 0, 1);
}

TEST(MoxMeshNormalsPerControlPoint, NegativeIndexEmptiesTheSumsAndReports)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::BuildMesh(*lMesh, {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}, {0, -1, 2}});
    MoxArray<MoxMesh::VertexNormalInfo> lInfo;
    moxtest::ReportCapture lCapture;
    lMesh->ComputeNormalsPerCtrlPoint(lInfo, false);
    EXPECT_EQ(lInfo.GetCount(), 0);
    EXPECT_TRUE(lCapture.HasOnly(sgFile, "ComputeNormalsPerCtrlPoint", "false"));
}

// The normal element is still sized and written; the empty sums read as empty records.
TEST(MoxMeshNormalsPerControlPoint, GeneratingAfterANegativeIndexStaysInsideMemory)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::BuildMesh(*lMesh, {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, -3, 2}});
    moxtest::ReportCapture lCapture;
    lMesh->GenerateNormalsByCtrlPoint(false);
    EXPECT_TRUE(HasReport(lCapture, sgFile, "ComputeNormalsPerCtrlPoint", "false"));
    EXPECT_TRUE(HasReport(lCapture, "core/base/moxarray", "operator[]", "Index is out of range!"));
    const std::vector<MoxVector4> lNormals = NormalsOf(*lMesh);
    ASSERT_EQ(lNormals.size(), 3u);
    for (const MoxVector4& lNormal : lNormals) ExpectVector(lNormal, 0, 0, 0, 1);
}

// An index past the control points is not refused here: its position reads as the origin and it receives
// no sum.
TEST(MoxMeshNormalsPerControlPoint, IndexPastTheControlPointsReadsTheOrigin)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::BuildMesh(*lMesh, {{1, 0, 0}, {1, 1, 0}}, {{0, 1, 9}});
    MoxArray<MoxMesh::VertexNormalInfo> lInfo;
    moxtest::ReportCapture lCapture;
    lMesh->ComputeNormalsPerCtrlPoint(lInfo, false);
    EXPECT_EQ(lCapture.Count(), 0u);
    ASSERT_EQ(lInfo.GetCount(), 2);
    // Triangle (1,0,0), (1,1,0), (0,0,0): counter-clockwise seen from +z, corner normals of length 1.
    ExpectVector(lInfo[0].mTotalNormal, 0, 0, 1, 0);
    ExpectVector(lInfo[1].mTotalNormal, 0, 0, 1, 0);
}

TEST(MoxMeshNormalsPerControlPoint, RecordsAlreadyHeldKeepTheirContents)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::BuildMesh(*lMesh, {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}});
    MoxArray<MoxMesh::VertexNormalInfo> lInfo;
    lInfo.Add(MoxMesh::VertexNormalInfo{MoxVector4(1, 2, 3, 4), 5});
    lMesh->ComputeNormalsPerCtrlPoint(lInfo, false);
    ASSERT_EQ(lInfo.GetCount(), 3);
    ExpectVector(lInfo[0].mTotalNormal, 1, 2, 4, 4);
    EXPECT_EQ(lInfo[0].mNumNormal, 6);
    ExpectVector(lInfo[2].mTotalNormal, 0, 0, 1, 0);
}

// ---- Normals per polygon vertex -----------------------------------------------------------------------

// The sums are bit for bit those of the plain corner walk, on random meshes of triangles and other
// polygons, well-formed or with degenerate polygons and invalid indices, in both windings.
TEST(MoxMeshNormalsPerControlPoint, MatchesThePlainWalkOnRandomMeshes)
{
    std::mt19937 lRandom(5);
    int lCompared = 0;
    for (int lRound = 0; lRound < 300; ++lRound) {
        moxtest::ManagerScope lScope;
        MoxMesh* lMesh = lScope.NewMesh();
        moxtest::RandomMeshOptions lOptions;
        lOptions.mInvalidIndices = lRound % 4 == 3;
        lOptions.mDegenerate = lRound % 2 == 1;
        lOptions.mMaxPolygonSize = lRound % 3 == 0 ? 3 : 6;
        moxtest::MakeRandomMesh(*lMesh, lRandom, lOptions);
        const bool lCW = lRound % 5 < 2;
        const std::vector<Record> lExpected = PlainPerControlPoint(*lMesh, lCW);
        MoxArray<MoxMesh::VertexNormalInfo> lInfo;
        moxtest::ReportCapture lCapture;
        lMesh->ComputeNormalsPerCtrlPoint(lInfo, lCW);
        if (lExpected.empty() && lMesh->GetControlPointsCount() > 0) {
            EXPECT_EQ(lInfo.GetCount(), 0) << lRound;
            continue;
        }
        ASSERT_EQ(size_t(lInfo.GetCount()), lExpected.size()) << lRound;
        for (int i = 0; i < lInfo.GetCount(); ++i) {
            ASSERT_TRUE(SameBits(lInfo[i].mTotalNormal, lExpected[size_t(i)].mTotal)) << lRound << " " << i;
            ASSERT_EQ(lInfo[i].mNumNormal, lExpected[size_t(i)].mCount) << lRound << " " << i;
        }
        ++lCompared;
    }
    EXPECT_GE(lCompared, 150);
}

TEST(MoxMeshNormalsPerPolygonVertex, PlanarPolygonGivesTheFaceNormalAtEveryCorner)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::BuildMesh(*lMesh, {{0, 0, 0}, {2, 0, 0}, {3, 1, 0}, {1, 3, 0}, {-1, 1, 0}}, {{0, 1, 2, 3, 4}});
    MoxArray<MoxMesh::VertexNormalInfo> lInfo;
    lMesh->ComputeNormalsPerPolygonVertex(lInfo, false);
    ASSERT_EQ(lInfo.GetCount(), 5);
    for (int i = 0; i < 5; ++i) {
        ExpectVector(lInfo[i].mTotalNormal, 0, 0, 1, 0);
        EXPECT_EQ(lInfo[i].mNumNormal, 1);
    }
}

TEST(MoxMeshNormalsPerPolygonVertex, NonPlanarQuadGivesEachCornerItsOwnNormal)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::BuildMesh(*lMesh, {{0, 0, 0}, {1, 0, 0}, {1, 1, 1}, {0, 1, 0}}, {{0, 1, 2, 3}});
    MoxArray<MoxMesh::VertexNormalInfo> lInfo;
    lMesh->ComputeNormalsPerPolygonVertex(lInfo, true);
    ASSERT_EQ(lInfo.GetCount(), 4);
    const MoxVector4 lPoints[4] = {{0, 0, 0}, {1, 0, 0}, {1, 1, 1}, {0, 1, 0}};
    for (int i = 0; i < 4; ++i) {
        MoxVector4 lExpected = (lPoints[(i + 3) % 4] - lPoints[i]).CrossProduct(lPoints[(i + 1) % 4] - lPoints[i]);
        lExpected.Normalize();
        EXPECT_TRUE(SameBits(lInfo[i].mTotalNormal, lExpected)) << i;
    }
    EXPECT_FALSE(SameBits(lInfo[0].mTotalNormal, lInfo[1].mTotalNormal));
}

TEST(MoxMeshNormalsPerPolygonVertex, RejectsIndicesPastTheControlPoints)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::BuildMesh(*lMesh, {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}, {0, 1, 3}});
    MoxArray<MoxMesh::VertexNormalInfo> lInfo;
    moxtest::ReportCapture lCapture;
    lMesh->ComputeNormalsPerPolygonVertex(lInfo, false);
    EXPECT_EQ(lInfo.GetCount(), 0);
    EXPECT_TRUE(lCapture.HasOnly(sgFile, "ComputeNormalsPerPolygonVertex", "false"));
}

TEST(MoxMeshNormalsPerPolygonVertex, MissingControlPointsAreReportedAndTheArrayKept)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::BuildMesh(*lMesh, {}, {{0, 1, 2}});
    MoxArray<MoxMesh::VertexNormalInfo> lInfo;
    lInfo.Add(MoxMesh::VertexNormalInfo{MoxVector4(1, 1, 1, 1), 7});
    moxtest::ReportCapture lCapture;
    lMesh->ComputeNormalsPerPolygonVertex(lInfo, false);
    EXPECT_TRUE(lCapture.HasOnly(sgFile, "ComputeNormalsPerPolygonVertex", "lPoints != NULL"));
    ASSERT_EQ(lInfo.GetCount(), 1);
    EXPECT_EQ(lInfo[0].mNumNormal, 7);
}

// A polygon table that no longer covers every polygon vertex (mSize lowered by hand) leaves the uncovered
// records empty: they are written as (0, 0, 0, 1).
TEST(MoxMeshNormalsPerPolygonVertex, UncoveredPolygonVerticesGetNoNormal)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeQuad(*lMesh);
    lMesh->mPolygons[0].mSize = 3;
    ASSERT_TRUE(lMesh->GenerateNormals(true, false, false));
    const std::vector<MoxVector4> lNormals = NormalsOf(*lMesh);
    ASSERT_EQ(lNormals.size(), 4u);
    for (int i = 0; i < 3; ++i) ExpectVector(lNormals[i], 0, 0, 1, 0);
    ExpectVector(lNormals[3], 0, 0, 0, 1);
}

// ---- GenerateNormals --------------------------------------------------------------------------------------

TEST(MoxMeshGenerateNormals, WithoutLayerZeroReturnsFalse)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    lMesh->InitControlPoints(3);
    EXPECT_FALSE(lMesh->GenerateNormals(true, false, false));
    EXPECT_EQ(lMesh->GetLayerCount(), 0);
}

TEST(MoxMeshGenerateNormals, CubeWithoutSmoothingGivesTheFaceNormals)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeCube(*lMesh);
    ASSERT_TRUE(lMesh->GenerateNormals(false, false, false));
    const MoxLayerElementNormal* lElement = lMesh->GetLayer(0)->GetNormals();
    EXPECT_EQ(lElement->GetMappingMode(), MoxLayerElement::eByPolygonVertex);
    EXPECT_EQ(lElement->GetReferenceMode(), MoxLayerElement::eDirect);
    const std::vector<MoxVector4> lNormals = NormalsOf(*lMesh);
    ASSERT_EQ(lNormals.size(), 24u);
    for (int i = 0; i < 24; ++i)
        ExpectVector(lNormals[i], sgCubeFaces[i / 4][0], sgCubeFaces[i / 4][1], sgCubeFaces[i / 4][2], 0);
}

TEST(MoxMeshGenerateNormals, CubeSmoothedByPolygonGivesTheCornerDiagonals)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeCube(*lMesh);
    AddSmoothing(*lMesh, MoxLayerElement::eByPolygon, {1, 1, 1, 1, 1, 1});
    ASSERT_TRUE(lMesh->GenerateNormals(true, false, false));
    const std::vector<MoxVector4> lNormals = NormalsOf(*lMesh);
    ASSERT_EQ(lNormals.size(), 24u);
    const double lThird = 1.0 / std::sqrt(3.0);
    for (int i = 0; i < 24; ++i) {
        const MoxVector4 lCorner = CubeCorner(lMesh->mPolygonVertices[i]);
        ExpectVector(lNormals[i], lCorner[0] * lThird, lCorner[1] * lThird, lCorner[2] * lThird, 0, 1e-15);
    }
}

TEST(MoxMeshGenerateNormals, SmoothingGroupsOfZeroChangeNothing)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lFaceted = lScope.NewMesh();
    MoxMesh* lZero = lScope.NewMesh();
    moxtest::MakeCube(*lFaceted);
    moxtest::MakeCube(*lZero);
    AddSmoothing(*lZero, MoxLayerElement::eByPolygon, {0, 0, 0, 0, 0, -1});
    ASSERT_TRUE(lFaceted->GenerateNormals(true, false, false));
    ASSERT_TRUE(lZero->GenerateNormals(true, false, false));
    const std::vector<MoxVector4> lA = NormalsOf(*lFaceted);
    const std::vector<MoxVector4> lB = NormalsOf(*lZero);
    ASSERT_EQ(lA.size(), lB.size());
    for (size_t i = 0; i < lA.size(); ++i) EXPECT_TRUE(SameBits(lA[i], lB[i])) << i;
}

TEST(MoxMeshGenerateNormals, ExistingNormalsAreKeptWithoutOverwrite)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeCube(*lMesh);
    lMesh->InitNormals(3, 1);
    MoxLayerElementArrayTemplate<MoxVector4>* lDirect = nullptr;
    ASSERT_TRUE(lMesh->GetNormals(&lDirect));
    lDirect->SetAt(1, MoxVector4(9, 8, 7, 6));
    EXPECT_TRUE(lMesh->GenerateNormals(false, false, false));
    EXPECT_TRUE(lMesh->GenerateNormals(false, true, true));
    const std::vector<MoxVector4> lNormals = NormalsOf(*lMesh);
    ASSERT_EQ(lNormals.size(), 3u);
    ExpectVector(lNormals[1], 9, 8, 7, 6);
}

TEST(MoxMeshGenerateNormals, OverwriteReplacesExistingNormals)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeCube(*lMesh);
    lMesh->InitNormals(3, 1);
    lMesh->GetLayer(0)->GetNormals()->SetReferenceMode(MoxLayerElement::eIndexToDirect);
    lMesh->GetLayer(0)->GetNormals()->mIndexArray->Add(2);
    ASSERT_TRUE(lMesh->GenerateNormals(true, true, false));
    const MoxLayerElementNormal* lElement = lMesh->GetLayer(0)->GetNormals();
    EXPECT_EQ(lElement->GetMappingMode(), MoxLayerElement::eByControlPoint);
    EXPECT_EQ(lElement->GetReferenceMode(), MoxLayerElement::eDirect);
    EXPECT_EQ(lElement->mIndexArray->GetCount(), 0);
    const std::vector<MoxVector4> lNormals = NormalsOf(*lMesh);
    ASSERT_EQ(lNormals.size(), 8u);
    const double lThird = 1.0 / std::sqrt(3.0);
    for (int c = 0; c < 8; ++c) {
        const MoxVector4 lCorner = CubeCorner(c);
        ExpectVector(lNormals[c], lCorner[0] * lThird, lCorner[1] * lThird, lCorner[2] * lThird, 0, 1e-15);
    }
}

// Regenerating over an element that holds enough values writes over its storage, indexed or not, and
// ends as a first generation does: same modes, no index array, the same values, bit for bit; growing the
// shrunk array again gives zero values, whatever its storage past the count held.
TEST(MoxMeshGenerateNormals, RegenerationWritesOverTheElementsStorage)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lFresh = lScope.NewMesh();
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeCube(*lFresh);
    moxtest::MakeCube(*lMesh);
    ASSERT_TRUE(lFresh->GenerateNormals(true, false, false));
    ASSERT_TRUE(lMesh->GenerateNormals(true, false, true));
    MoxLayerElementNormal* lElement = lMesh->GetLayer(0)->GetNormals();
    lElement->SetReferenceMode(MoxLayerElement::eIndexToDirect);
    lElement->mIndexArray->Add(5);
    const void* lStorage = lElement->mDirectArray->GetLocked(MoxLayerElementArray::eReadLock);
    ASSERT_TRUE(lMesh->GenerateNormals(true, false, false));
    EXPECT_EQ(lElement->mDirectArray->GetLocked(MoxLayerElementArray::eReadLock), lStorage);
    EXPECT_EQ(lElement->GetMappingMode(), MoxLayerElement::eByPolygonVertex);
    EXPECT_EQ(lElement->GetReferenceMode(), MoxLayerElement::eDirect);
    EXPECT_EQ(lElement->mIndexArray->GetCount(), 0);
    const std::vector<MoxVector4> lExpected = NormalsOf(*lFresh);
    std::vector<MoxVector4> lActual = NormalsOf(*lMesh);
    ASSERT_EQ(lActual.size(), lExpected.size());
    for (size_t i = 0; i < lActual.size(); ++i) EXPECT_TRUE(SameBits(lActual[i], lExpected[i])) << i;

    ASSERT_TRUE(lFresh->GenerateNormals(true, true, false));
    ASSERT_TRUE(lMesh->GenerateNormals(true, true, false));
    EXPECT_EQ(lElement->mDirectArray->GetLocked(MoxLayerElementArray::eReadLock), lStorage);
    EXPECT_EQ(lElement->GetMappingMode(), MoxLayerElement::eByControlPoint);
    lActual = NormalsOf(*lMesh);
    ASSERT_EQ(lActual.size(), 8u);
    for (size_t i = 0; i < lActual.size(); ++i) EXPECT_TRUE(SameBits(lActual[i], NormalsOf(*lFresh)[i])) << i;
    lElement->mDirectArray->SetCount(24);
    for (int i = 8; i < 24; ++i) EXPECT_TRUE(SameBits(lElement->mDirectArray->GetAt(i), MoxVector4(0, 0, 0, 0))) << i;
}

// Hard corners follow pCW (clockwise: pointing inwards); smoothed corners always take the
// counter-clockwise average (pointing outwards).
TEST(MoxMeshGenerateNormals, ClockwiseHardCornersAndCounterClockwiseSmoothCorners)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeCube(*lMesh);
    AddSmoothing(*lMesh, MoxLayerElement::eByPolygon, {1, 0, 1, 0, 1, 0});
    ASSERT_TRUE(lMesh->GenerateNormals(true, false, true));
    const std::vector<MoxVector4> lNormals = NormalsOf(*lMesh);
    const double lThird = 1.0 / std::sqrt(3.0);
    for (int i = 0; i < 24; ++i) {
        const int lFace = i / 4;
        if (lFace % 2 == 0) {
            const MoxVector4 lCorner = CubeCorner(lMesh->mPolygonVertices[i]);
            ExpectVector(lNormals[i], lCorner[0] * lThird, lCorner[1] * lThird, lCorner[2] * lThird, 0, 1e-15);
        } else {
            ExpectVector(lNormals[i], -sgCubeFaces[lFace][0], -sgCubeFaces[lFace][1], -sgCubeFaces[lFace][2], 0);
        }
    }
}

// A smooth corner averages every corner at its point, the hard caps' corners included.
TEST(MoxMeshGenerateNormals, CylinderWithHardCapsSmoothedByPolygon)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    const int lSides = 8;
    MakeCylinder(*lMesh, lSides);
    std::vector<int> lGroups(lSides, 1);
    lGroups.push_back(0);
    lGroups.push_back(0);
    AddSmoothing(*lMesh, MoxLayerElement::eByPolygon, lGroups);
    ASSERT_TRUE(lMesh->GenerateNormals(true, false, false));
    const std::vector<MoxVector4> lNormals = NormalsOf(*lMesh);
    ASSERT_EQ(lNormals.size(), size_t(lSides * 4 + lSides * 2));
    // A side corner is the face's outward direction scaled by the chord 2 sin(pi / 8) (the other side is
    // the unit height, at a right angle); point i sums two of them, at angles 2 pi i / 8 -+ pi / 8, and one
    // cap corner, chord squared times the sine of the octagon's inner angle, along -z or +z.
    const double lChord = 2.0 * std::sin(M_PI / lSides);
    const double lSide = lChord * 2.0 * std::cos(M_PI / lSides);
    const double lCap = lChord * lChord * std::sin(M_PI - 2.0 * M_PI / lSides);
    for (int i = 0; i < lSides * 4; ++i) {
        const int lPoint = lMesh->mPolygonVertices[i];
        const double lAngle = 2.0 * M_PI * (lPoint % lSides) / lSides;
        const double lUp = lPoint < lSides ? -1.0 : 1.0;
        MoxVector4 lExpected(lSide * std::cos(lAngle), lSide * std::sin(lAngle), lUp * lCap, 0.0);
        lExpected.Normalize();
        ExpectVector(lNormals[i], lExpected[0], lExpected[1], lExpected[2], 0, 1e-12);
    }
    for (int i = lSides * 4; i < lSides * 5; ++i) ExpectVector(lNormals[i], 0, 0, -1, 0, 1e-15);
    for (int i = lSides * 5; i < lSides * 6; ++i) ExpectVector(lNormals[i], 0, 0, 1, 0, 1e-15);
    const std::vector<MoxVector4> lPlain = PlainGenerateNormals(*lMesh, false);
    for (size_t i = 0; i < lNormals.size(); ++i) EXPECT_TRUE(SameBits(lNormals[i], lPlain[i])) << i;
}

// Triangles (group 1) and a hard quad base: the apex averages the four triangle corners; a base point
// averages its two triangle corners and the base corner; the base keeps its face normal.
TEST(MoxMeshGenerateNormals, PyramidOfTrianglesAndAQuadSmoothedByPolygon)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    MakePyramid(*lMesh);
    AddSmoothing(*lMesh, MoxLayerElement::eByPolygon, {0, 1, 1, 1, 1});
    ASSERT_TRUE(lMesh->GenerateNormals(true, false, false));
    const std::vector<MoxVector4> lNormals = NormalsOf(*lMesh);
    ASSERT_EQ(lNormals.size(), 16u);
    for (int i = 0; i < 4; ++i) ExpectVector(lNormals[i], 0, 0, -1, 0);
    // Triangle (0, 1, 4): corner normals at 0 and 1 are (0, -2, 2) (length 2 sqrt 2), at the apex (0, -2, 2)
    // as well; a base corner sums two triangle corners and the base's (0, 0, -4).
    for (int i = 4; i < 16; ++i) {
        const int lPoint = lMesh->mPolygonVertices[i];
        if (lPoint == 4) {
            ExpectVector(lNormals[i], 0, 0, 1, 0, 1e-15);
            continue;
        }
        const MoxVector4 lP = lMesh->GetControlPointAt(lPoint);
        MoxVector4 lExpected(2 * lP[0], 2 * lP[1], 2 + 2 - 4, 0);
        lExpected.Normalize();
        ExpectVector(lNormals[i], lExpected[0], lExpected[1], lExpected[2], 0, 1e-15);
    }
}

// Through an index array, the group and the size are read at the indexed polygon while the run starts at
// the polygon itself.
TEST(MoxMeshGenerateNormals, IndexedSmoothingByPolygonKeepsTheMixedIndexing)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    MakePyramid(*lMesh);
    // Polygon 1 (a triangle at polygon vertices 4..6) looks at polygon 0 (the quad, group 1): four polygon
    // vertices from 4 on are smoothed, 4..7, the last one belonging to polygon 2.
    AddSmoothing(*lMesh, MoxLayerElement::eByPolygon, {1, 0, 0, 0, 0}, MoxLayerElement::eIndexToDirect,
                 {1, 0, 1, 1, 1});
    ASSERT_TRUE(lMesh->GenerateNormals(true, false, false));
    const std::vector<MoxVector4> lNormals = NormalsOf(*lMesh);
    const std::vector<MoxVector4> lPlain = PlainGenerateNormals(*lMesh, false);
    std::vector<MoxVector4> lFaceted;
    {
        MoxMesh* lCopy = lScope.NewMesh();
        MakePyramid(*lCopy);
        lCopy->GenerateNormals(true, false, false);
        lFaceted = NormalsOf(*lCopy);
    }
    for (int i = 0; i < 16; ++i) {
        EXPECT_TRUE(SameBits(lNormals[i], lPlain[i])) << i;
        EXPECT_EQ(SameBits(lNormals[i], lFaceted[i]), i < 4 || i > 7) << i;
    }
}

// Any smoothing element makes the generation open the edge lookups, whatever its mapping. On a mesh
// whose edge array was never built, opening them reports every edge start it cannot find in the edge
// array: smoothing by polygon, which reads no edge, reports them too.
TEST(MoxMeshGenerateNormals, SmoothingByPolygonWithoutEdgeArrayReportsEveryEdgeOfTheLookup)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeCube(*lMesh);
    AddSmoothing(*lMesh, MoxLayerElement::eByPolygon, {1, 1, 1, 1, 1, 1});
    moxtest::ReportCapture lCapture;
    ASSERT_TRUE(lMesh->GenerateNormals(true, false, false));
    EXPECT_EQ(lCapture.Messages(), std::vector<std::string>(12, "value != -1"));
    EXPECT_EQ(lMesh->mV2PVMap.mValid, false);
}

TEST(MoxMeshGenerateNormals, UnsupportedSmoothingMappingIsReportedAndIgnored)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeCube(*lMesh);
    lMesh->BuildMeshEdgeArray();
    AddSmoothing(*lMesh, MoxLayerElement::eByControlPoint, {1, 1, 1, 1, 1, 1, 1, 1});
    moxtest::ReportCapture lCapture;
    ASSERT_TRUE(lMesh->GenerateNormals(true, false, false));
    EXPECT_TRUE(
        lCapture.HasOnly(sgFile, "GenerateNormals",
                         "lMappingMode == MoxLayerElement::eByPolygon || lMappingMode == MoxLayerElement::eByEdge"));
    const std::vector<MoxVector4> lNormals = NormalsOf(*lMesh);
    for (int i = 0; i < 24; ++i)
        ExpectVector(lNormals[i], sgCubeFaces[i / 4][0], sgCubeFaces[i / 4][1], sgCubeFaces[i / 4][2], 0);
}

TEST(MoxMeshGenerateNormals, EdgeSmoothingInIndexModeIsReported)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeCube(*lMesh);
    AddSmoothing(*lMesh, MoxLayerElement::eByEdge, {1, 1, 1}, MoxLayerElement::eIndexToDirect);
    moxtest::ReportCapture lCapture;
    ASSERT_TRUE(lMesh->GenerateNormals(true, false, false));
    EXPECT_TRUE(HasReport(lCapture, sgFile, "GenerateNormals", "lReferenceMode == MoxLayerElement::eDirect"));
}

// After an invalid control point index the faceted normals are empty; the smoothing and the write read
// them through the array's checked access: every normal is (0, 0, 0, 1), nothing is touched out of bounds.
TEST(MoxMeshGenerateNormals, InvalidIndexStaysInsideMemory)
{
    for (const int lBad : {-1, 8, 1000}) {
        moxtest::ManagerScope lScope;
        MoxMesh* lMesh = lScope.NewMesh();
        moxtest::MakeCube(*lMesh);
        lMesh->mPolygonVertices[5] = lBad;
        AddSmoothing(*lMesh, MoxLayerElement::eByPolygon, {1, 1, 0, 1, 1, 1});
        moxtest::ReportCapture lCapture;
        ASSERT_TRUE(lMesh->GenerateNormals(true, false, false));
        EXPECT_TRUE(HasReport(lCapture, sgFile, "ComputeNormalsPerPolygonVertex", "false"));
        EXPECT_TRUE(HasReport(lCapture, "core/base/moxarray", "operator[]", "Index is out of range!"));
        const std::vector<MoxVector4> lNormals = NormalsOf(*lMesh);
        ASSERT_EQ(lNormals.size(), 24u);
        for (const MoxVector4& lNormal : lNormals) ExpectVector(lNormal, 0, 0, 0, 1);
    }
}

TEST(MoxMeshGenerateNormals, MissingControlPointsWriteNoNormal)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::BuildMesh(*lMesh, {}, {{0, 1, 2}});
    moxtest::ReportCapture lCapture;
    ASSERT_TRUE(lMesh->GenerateNormals(true, false, false));
    EXPECT_TRUE(HasReport(lCapture, sgFile, "ComputeNormalsPerPolygonVertex", "lPoints != NULL"));
    const std::vector<MoxVector4> lNormals = NormalsOf(*lMesh);
    ASSERT_EQ(lNormals.size(), 3u);
    for (const MoxVector4& lNormal : lNormals) ExpectVector(lNormal, 0, 0, 0, 1);
}

TEST(MoxMeshGenerateNormals, MissingNormalElementIsReported)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::BuildMesh(*lMesh, {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}});
    moxtest::ReportCapture lCapture;
    {
        moxtest::AllocationTracker lTracker;
        lTracker.FailAll(true);
        lMesh->GenerateNormalsByCtrlPoint(false);
        EXPECT_TRUE(lMesh->GenerateNormals(true, false, false));
    }
    EXPECT_TRUE(HasReport(lCapture, sgFile, "GenerateNormalsByCtrlPoint", "isvalid && direct != NULL"));
    EXPECT_TRUE(HasReport(lCapture, sgFile, "GenerateNormals", "isvalid && direct != NULL"));
    EXPECT_EQ(lMesh->GetLayer(0)->GetNormals(), nullptr);
}

// Every corner normal that can be formed is unit length; the others are (0, 0, 0, 0) (a degenerate
// corner) or (0, 0, 0, 1) (no corner at all).
TEST(MoxMeshGenerateNormals, RandomMeshesGiveUnitNormalsWhereDefined)
{
    std::mt19937 lRandom(7);
    for (int lRound = 0; lRound < 300; ++lRound) {
        moxtest::ManagerScope lScope;
        MoxMesh* lMesh = lScope.NewMesh();
        moxtest::RandomMeshOptions lOptions;
        lOptions.mMinPoints = 1;
        moxtest::MakeRandomMesh(*lMesh, lRandom, lOptions);
        if (!lMesh->GetLayer(0)) continue;
        std::vector<int> lGroups;
        lGroups.reserve(lMesh->GetPolygonCount());
        for (int p = 0; p < lMesh->GetPolygonCount(); ++p) lGroups.push_back(int(lRandom() % 3));
        if (lRound % 2) AddSmoothing(*lMesh, MoxLayerElement::eByPolygon, lGroups);
        const bool lByPoint = lRound % 3 == 0;
        ASSERT_TRUE(lMesh->GenerateNormals(true, lByPoint, lRound % 5 == 0));
        for (const MoxVector4& lNormal : NormalsOf(*lMesh)) {
            const double lLength = lNormal.Length();
            if (lLength == 0.0) {
                EXPECT_TRUE(lNormal[3] == 0.0 || lNormal[3] == 1.0);
                continue;
            }
            EXPECT_NEAR(lLength, 1.0, 1e-12);
            EXPECT_EQ(lNormal[3], 0.0);
        }
    }
}

// The marks that replace the smooth lists give bit for bit the normals of the lists, on random meshes with
// degenerate polygons, invalid indices, several smoothing elements, index arrays that reorder polygons or
// point outside, and short arrays.
TEST(MoxMeshGenerateNormals, SmoothingByPolygonMatchesThePlainLists)
{
    std::mt19937 lRandom(11);
    int lCompared = 0;
    for (int lRound = 0; lRound < 400; ++lRound) {
        moxtest::ManagerScope lScope;
        MoxMesh* lMesh = lScope.NewMesh();
        moxtest::RandomMeshOptions lOptions;
        lOptions.mInvalidIndices = lRound % 4 == 3;
        moxtest::MakeRandomMesh(*lMesh, lRandom, lOptions);
        if (!lMesh->GetLayer(0)) continue;
        const int lPolygons = lMesh->GetPolygonCount();
        const int lElements = 1 + int(lRandom() % 3);
        for (int s = 0; s < lElements; ++s) {
            const auto lReference = static_cast<MoxLayerElement::EReferenceMode>(lRandom() % 3);
            std::vector<int> lValues(size_t(lRandom() % (lPolygons + 3)));
            for (int& lValue : lValues) lValue = int(lRandom() % 4) - 1;
            std::vector<int> lIndices(size_t(lRandom() % (lPolygons + 3)));
            for (int& lIndex : lIndices) lIndex = int(lRandom() % (lPolygons + 4)) - 2;
            AddSmoothing(*lMesh, lRandom() % 5 ? MoxLayerElement::eByPolygon : MoxLayerElement::eByMesh, lValues,
                         lReference, lIndices);
        }
        if (lRound % 7 == 0 && lPolygons > 0) lMesh->mPolygons[static_cast<int>(lRandom() % lPolygons)].mSize += 2;
        const bool lCW = lRandom() % 2;
        const std::vector<MoxVector4> lExpected = PlainGenerateNormals(*lMesh, lCW);
        moxtest::ReportCapture lCapture;
        ASSERT_TRUE(lMesh->GenerateNormals(true, false, lCW));
        const std::vector<MoxVector4> lActual = NormalsOf(*lMesh);
        ASSERT_EQ(lActual.size(), lExpected.size());
        for (size_t i = 0; i < lActual.size(); ++i)
            ASSERT_TRUE(SameBits(lActual[i], lExpected[i])) << lRound << " " << i;
        ++lCompared;
    }
    EXPECT_GE(lCompared, 200);
}

// The normals GenerateNormals(true, true, pCW) writes, one per control point, from the plain walk's sums.
std::vector<MoxVector4> PlainNormalsPerControlPoint(const MoxMesh& pMesh, bool pCW)
{
    const std::vector<Record> lRecords = PlainPerControlPoint(pMesh, pCW);
    // A walk that fails leaves no sums: every control point gets no normal.
    std::vector<MoxVector4> lNormals(size_t(pMesh.GetControlPointsCount()), MoxVector4(0.0, 0.0, 0.0, 1.0));
    for (size_t i = 0; i < lRecords.size() && i < lNormals.size(); ++i) lNormals[i] = Averaged(lRecords[i]);
    return lNormals;
}

// Generation writes every value of the element it sizes, whatever the storage held: fresh blocks and the
// storage of the element already there are filled with a pattern first, and the values still match the
// plain walk bit for bit (per polygon vertex and per control point, with degenerate polygons, invalid
// indices, polygons of one or two vertices and meshes whose polygons are all empty).
TEST(MoxMeshGenerateNormals, EveryValueIsWrittenOverPatternedStorage)
{
    std::mt19937 lRandom(13);
    for (int lRound = 0; lRound < 300; ++lRound) {
        moxtest::ManagerScope lScope;
        MoxMesh* lMesh = lScope.NewMesh();
        moxtest::RandomMeshOptions lOptions;
        lOptions.mInvalidIndices = lRound % 4 == 3;
        lOptions.mMaxPolygonSize = lRound % 8 == 0 ? 0 : 6;  // empty polygons only: no polygon vertex at all
        lOptions.mMinPoints = 1;
        moxtest::MakeRandomMesh(*lMesh, lRandom, lOptions);
        if (!lMesh->GetLayer(0)) continue;
        if (lRound % 2) AddSmoothing(*lMesh, MoxLayerElement::eByPolygon, {1, 0, 1, 1, 0, 1, 1, 1});
        const bool lCW = lRound % 3 == 0;
        const bool lByPoint = lRound % 5 < 2;
        const std::vector<MoxVector4> lExpected =
            lByPoint ? PlainNormalsPerControlPoint(*lMesh, lCW) : PlainGenerateNormals(*lMesh, lCW);
        for (int lPass = 0; lPass < 2; ++lPass) {
            {
                const moxtest::PatternedMalloc lPattern;
                moxtest::ReportCapture lCapture;
                ASSERT_TRUE(lMesh->GenerateNormals(true, lByPoint, lCW));
            }
            const std::vector<MoxVector4> lActual = NormalsOf(*lMesh);
            ASSERT_EQ(lActual.size(), lExpected.size()) << lRound;
            for (size_t i = 0; i < lActual.size(); ++i)
                ASSERT_TRUE(SameBits(lActual[i], lExpected[i])) << lRound << " pass " << lPass << " value " << i;
            MoxLayerElementArrayTemplate<MoxVector4>* lDirect = nullptr;
            if (lMesh->GetNormals(&lDirect)) moxtest::FillWithPattern(lDirect);
        }
    }
}

// A user may write anything through GetPolygonVertices and the polygon table: every mode stays inside
// memory and terminates.
TEST(MoxMeshGenerateNormals, CorruptedTopologyStaysInsideMemory)
{
    std::mt19937 lRandom(5);
    for (int lRound = 0; lRound < 200; ++lRound) {
        moxtest::ManagerScope lScope;
        MoxMesh* lMesh = lScope.NewMesh();
        moxtest::RandomMeshOptions lOptions;
        lOptions.mInvalidIndices = true;
        moxtest::MakeRandomMesh(*lMesh, lRandom, lOptions);
        if (!lMesh->GetLayer(0) || lMesh->GetPolygonCount() == 0) continue;
        MoxMesh::PolygonDef& lPolygon = lMesh->mPolygons[static_cast<int>(lRandom() % lMesh->GetPolygonCount())];
        switch (lRandom() % 4) {
            case 0:
                lPolygon.mIndex = -int(lRandom() % 5) - 1;
                break;
            case 1:
                lPolygon.mIndex += 3 + int(lRandom() % 40);
                break;
            case 2:
                lPolygon.mSize = -int(lRandom() % 3) - 1;
                break;
            default:
                lPolygon.mSize += int(lRandom() % 40);
                break;
        }
        AddSmoothing(*lMesh, MoxLayerElement::eByPolygon, {1, 1, 1, 1, 1, 1, 1, 1});
        AddSmoothing(*lMesh, MoxLayerElement::eByEdge, {1, 1, 1, 1, 1, 1, 1, 1});
        moxtest::ReportCapture lCapture;
        EXPECT_TRUE(lMesh->GenerateNormals(true, false, lRound % 2));
        EXPECT_TRUE(lMesh->GenerateNormals(true, true, lRound % 2));
        lMesh->CheckIfVertexNormalsCCW();
    }
}

// ---- Winding check --------------------------------------------------------------------------------------

TEST(MoxMeshCheckIfVertexNormalsCCW, CounterClockwiseNormalsMatch)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeCube(*lMesh);
    ASSERT_TRUE(lMesh->GenerateNormals(true, true, false));
    EXPECT_TRUE(lMesh->CheckIfVertexNormalsCCW());
    ASSERT_TRUE(lMesh->GenerateNormals(true, true, true));
    EXPECT_FALSE(lMesh->CheckIfVertexNormalsCCW());
}

// An unused control point stores (0, 0, 0, 1) with either winding, which is also its expected normal.
TEST(MoxMeshCheckIfVertexNormalsCCW, PointDegenerateInBothWindingsMatches)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::BuildMesh(*lMesh, {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {3, 3, 3}}, {{0, 1, 2}});
    ASSERT_TRUE(lMesh->GenerateNormals(true, true, true));
    EXPECT_TRUE(lMesh->CheckIfVertexNormalsCCW());
}

// One matching control point is enough, however many others disagree.
TEST(MoxMeshCheckIfVertexNormalsCCW, OneMatchingPointIsEnough)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeCube(*lMesh);
    ASSERT_TRUE(lMesh->GenerateNormals(true, true, true));
    MoxLayerElementArrayTemplate<MoxVector4>* lDirect = nullptr;
    ASSERT_TRUE(lMesh->GetNormals(&lDirect));
    MoxVector4 lOutward = CubeCorner(6);
    lOutward.Normalize();
    lDirect->SetAt(6, lOutward + MoxVector4(0.005, 0, 0, 0));
    EXPECT_TRUE(lMesh->CheckIfVertexNormalsCCW());
    lDirect->SetAt(6, lOutward + MoxVector4(0.011, 0, 0, 0));
    EXPECT_FALSE(lMesh->CheckIfVertexNormalsCCW());
}

TEST(MoxMeshCheckIfVertexNormalsCCW, NormalsThroughAnIndexArray)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeCube(*lMesh);
    ASSERT_TRUE(lMesh->GenerateNormals(true, true, true));
    MoxLayerElementNormal* lElement = lMesh->GetLayer(0)->GetNormals();
    lElement->SetReferenceMode(MoxLayerElement::eIndexToDirect);
    MoxVector4 lOutward = CubeCorner(2);
    lOutward.Normalize();
    lElement->mDirectArray->Add(lOutward);
    for (int c = 0; c < 8; ++c) lElement->mIndexArray->Add(c);
    EXPECT_FALSE(lMesh->CheckIfVertexNormalsCCW());
    lElement->mIndexArray->SetAt(2, 8);
    EXPECT_TRUE(lMesh->CheckIfVertexNormalsCCW());
    // An index past the direct array reads no stored normal: that point cannot match.
    lElement->mIndexArray->SetAt(2, 9);
    EXPECT_FALSE(lMesh->CheckIfVertexNormalsCCW());
}

TEST(MoxMeshCheckIfVertexNormalsCCW, IndexArrayOfTheWrongLengthIsReported)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeCube(*lMesh);
    ASSERT_TRUE(lMesh->GenerateNormals(true, true, false));
    MoxLayerElementNormal* lElement = lMesh->GetLayer(0)->GetNormals();
    lElement->SetReferenceMode(MoxLayerElement::eIndexToDirect);
    for (int c = 0; c < 7; ++c) lElement->mIndexArray->Add(c);
    moxtest::ReportCapture lCapture;
    EXPECT_FALSE(lMesh->CheckIfVertexNormalsCCW());
    EXPECT_TRUE(lCapture.HasOnly(sgFile, "CheckIfVertexNormalsCCW",
                                 "GetLayer(0)->GetNormals()->GetIndexArray().GetCount() == GetControlPointsCount()"));
}

TEST(MoxMeshCheckIfVertexNormalsCCW, FalseWithoutNormals)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    lMesh->InitControlPoints(3);
    EXPECT_FALSE(lMesh->CheckIfVertexNormalsCCW());  // no layer
    moxtest::MakeCube(*lMesh);
    EXPECT_FALSE(lMesh->CheckIfVertexNormalsCCW());  // no normal element
    lMesh->InitNormals(0, 1);
    lMesh->GetLayer(0)->GetNormals()->mDirectArray->Clear();
    moxtest::ReportCapture lCapture;
    EXPECT_FALSE(lMesh->CheckIfVertexNormalsCCW());  // empty direct array
    EXPECT_EQ(lCapture.Count(), 0u);
}

TEST(MoxMeshCheckIfVertexNormalsCCW, NegativeIndexIsReported)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeCube(*lMesh);
    ASSERT_TRUE(lMesh->GenerateNormals(true, true, false));
    lMesh->mPolygonVertices[3] = -1;
    moxtest::ReportCapture lCapture;
    EXPECT_FALSE(lMesh->CheckIfVertexNormalsCCW());
    EXPECT_TRUE(lCapture.HasOnly(sgFile, "CheckIfVertexNormalsCCW",
                                 "(lCurrentIndex >= 0 && lPreviousIndex >= 0 && lNextIndex >= 0)"));
}

TEST(MoxMeshCheckIfVertexNormalsCCW, NormalsWithoutDirectArrayAreReported)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeCube(*lMesh);
    ASSERT_TRUE(lMesh->GenerateNormals(true, true, false));
    MoxLayerElementNormal* lElement = lMesh->GetLayer(0)->GetNormals();
    lElement->SetReferenceMode(MoxLayerElement::eIndex);
    for (int c = 0; c < 8; ++c) lElement->mIndexArray->Add(c);
    moxtest::ReportCapture lCapture;
    EXPECT_FALSE(lMesh->CheckIfVertexNormalsCCW());
    EXPECT_TRUE(HasReport(lCapture, sgFile, "CheckIfVertexNormalsCCW", "isvalid && direct"));
}

// ---- Conforming: the checks made before any normal is read ------------------------------------------------

TEST(MoxMeshConformNormalsTo, NullReferenceIsRefused)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeCube(*lMesh);
    EXPECT_FALSE(lMesh->ConformNormalsTo(nullptr));
}

TEST(MoxMeshConformNormalsTo, DifferentTopologyIsRefusedAndNothingChanges)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    MoxMesh* lReference = lScope.NewMesh();
    moxtest::MakeCube(*lMesh);
    moxtest::MakeCube(*lReference);
    ASSERT_TRUE(lMesh->GenerateNormals(true, false, false));
    ASSERT_TRUE(lReference->GenerateNormals(true, true, false));
    lReference->GetLayer(0)->GetNormals()->SetMappingMode(MoxLayerElement::eByPolygonVertex);
    lReference->GetLayer(0)->GetNormals()->mDirectArray->SetCount(24);
    const std::vector<MoxVector4> lBefore = NormalsOf(*lMesh);
    lReference->mPolygonVertices[13] = 0;  // one polygon vertex differs
    EXPECT_FALSE(lMesh->ConformNormalsTo(lReference));
    lReference->mPolygonVertices[13] = lMesh->mPolygonVertices[13];
    lReference->mPolygons[2].mSize = -4;
    EXPECT_FALSE(lMesh->ConformNormalsTo(lReference));
    lReference->mPolygons[2].mSize = 4;
    lReference->InitControlPoints(9);
    EXPECT_FALSE(lMesh->ConformNormalsTo(lReference));
    const std::vector<MoxVector4> lAfter = NormalsOf(*lMesh);
    for (size_t i = 0; i < lBefore.size(); ++i) EXPECT_TRUE(SameBits(lBefore[i], lAfter[i]));
}

TEST(MoxMeshConformNormalsTo, DifferentNormalLayoutIsRefused)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    MoxMesh* lReference = lScope.NewMesh();
    moxtest::MakeCube(*lMesh);
    moxtest::MakeCube(*lReference);
    ASSERT_TRUE(lMesh->GenerateNormals(true, false, false));
    EXPECT_FALSE(lMesh->ConformNormalsTo(lReference));  // the reference has no normals
    ASSERT_TRUE(lReference->GenerateNormals(true, true, false));
    EXPECT_FALSE(lMesh->ConformNormalsTo(lReference));  // mapping and count differ
    ASSERT_TRUE(lReference->GenerateNormals(true, false, false));
    lReference->GetLayer(0)->GetNormals()->SetReferenceMode(MoxLayerElement::eIndexToDirect);
    EXPECT_FALSE(lMesh->ConformNormalsTo(lReference));  // reference mode differs
    lMesh->GetLayer(0)->GetNormals()->SetReferenceMode(MoxLayerElement::eIndexToDirect);
    lMesh->GetLayer(0)->GetNormals()->mIndexArray->Add(0);
    EXPECT_FALSE(lMesh->ConformNormalsTo(lReference));  // index counts differ
}

}  // namespace
