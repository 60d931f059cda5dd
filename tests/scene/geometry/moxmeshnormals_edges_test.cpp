// Normal generation smoothed by edge, and conforming normals to a reference mesh: the parts of the normal
// operations that read the edge table, the edge queries and the control-point-to-vertices map.
#include "moxsdk/scene/geometry/moxmesh.h"

#include <algorithm>
#include <cfloat>
#include <chrono>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "scene/geometry/moxmeshnormals_testutil.h"
#include "support/moxtestmeshes.h"
#include "support/moxtestsupport.h"

using namespace moxsdk;
using namespace moxnormalstest;

namespace {

const char* const sgFile = "scene/geometry/moxmesh";

MoxVector4 CubeCorner(int pPoint)
{
    return MoxVector4((pPoint & 1) ? 1 : -1, ((pPoint >> 1) & 1) ? 1 : -1, ((pPoint >> 2) & 1) ? 1 : -1, 0.0);
}

const double sgCubeFaces[6][3] = {{0, 0, -1}, {0, 0, 1}, {0, -1, 0}, {0, 1, 0}, {-1, 0, 0}, {1, 0, 0}};

// One value per edge of the built edge table: 1 where pSoft says so for the edge's two control points.
template <class SOFT>
std::vector<int> EdgeValues(MoxMesh& pMesh, SOFT&& pSoft)
{
    std::vector<int> lValues;
    for (int e = 0; e < pMesh.GetMeshEdgeCount(); ++e) {
        int lStart = -1;
        int lEnd = -1;
        pMesh.GetMeshEdgeVertices(e, lStart, lEnd);
        lValues.push_back(pSoft(lStart, lEnd) ? 1 : 0);
    }
    return lValues;
}

void ExpectSameAsPlain(MoxMesh& pMesh, bool pCW)
{
    const std::vector<MoxVector4> lPlain = PlainGenerateNormals(pMesh, pCW);
    ASSERT_TRUE(pMesh.GenerateNormals(true, false, pCW));
    const std::vector<MoxVector4> lActual = NormalsOf(pMesh);
    ASSERT_EQ(lActual.size(), lPlain.size());
    for (size_t i = 0; i < lActual.size(); ++i) EXPECT_TRUE(SameBits(lActual[i], lPlain[i])) << i;
}

// ---- Smoothing by edge -----------------------------------------------------------------------------------

TEST(MoxMeshGenerateNormalsByEdge, SoftEdgesWithoutAnEdgeTableChangeNothing)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeCube(*lMesh);
    AddSmoothing(*lMesh, MoxLayerElement::eByEdge, std::vector<int>(12, 1));
    ASSERT_EQ(lMesh->GetMeshEdgeCount(), 0);
    ASSERT_TRUE(lMesh->GenerateNormals(true, false, false));
    const std::vector<MoxVector4> lNormals = NormalsOf(*lMesh);
    ASSERT_EQ(lNormals.size(), 24u);
    for (int i = 0; i < 24; ++i)
        ExpectVector(lNormals[i], sgCubeFaces[i / 4][0], sgCubeFaces[i / 4][1], sgCubeFaces[i / 4][2], 0);
}

// Polygon vertices of the cube whose control point (6 or 7) compares as 5 through the polygon-count clamp
// in a face without point 5: such a corner is at the end of no soft side and stays faceted.
bool ClampedAway(int pPolygonVertex)
{
    return pPolygonVertex == 13 || pPolygonVertex == 14 || pPolygonVertex == 18;
}

// Every corner ends a soft side of its face, but corners compare with the edge ends through the polygon
// count (6) as clamp, so points 6 and 7 compare as 5: they are smoothed only in faces that hold point 5.
TEST(MoxMeshGenerateNormalsByEdge, CubeWithAllEdgesSoft)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeCube(*lMesh);
    lMesh->BuildMeshEdgeArray();
    ASSERT_EQ(lMesh->GetMeshEdgeCount(), 12);
    AddSmoothing(*lMesh, MoxLayerElement::eByEdge, std::vector<int>(12, 1));
    ASSERT_TRUE(lMesh->GenerateNormals(true, false, false));
    const std::vector<MoxVector4> lNormals = NormalsOf(*lMesh);
    const double lThird = 1.0 / std::sqrt(3.0);
    for (int i = 0; i < 24; ++i) {
        const MoxVector4 lCorner = CubeCorner(lMesh->mPolygonVertices[i]);
        if (ClampedAway(i))
            ExpectVector(lNormals[i], sgCubeFaces[i / 4][0], sgCubeFaces[i / 4][1], sgCubeFaces[i / 4][2], 0);
        else
            ExpectVector(lNormals[i], lCorner[0] * lThird, lCorner[1] * lThird, lCorner[2] * lThird, 0, 1e-15);
    }
}

// Only the four vertical edges are soft: the corners of the side faces end one of them and are smoothed (a
// soft edge smooths corners even where the polygon's other sides are hard), except the clamped ones; the
// top and bottom faces have no soft side and stay faceted.
TEST(MoxMeshGenerateNormalsByEdge, CubeWithSoftVerticalEdges)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeCube(*lMesh);
    lMesh->BuildMeshEdgeArray();
    AddSmoothing(*lMesh, MoxLayerElement::eByEdge, EdgeValues(*lMesh, [](int pA, int pB) { return (pA ^ pB) == 4; }));
    ASSERT_TRUE(lMesh->GenerateNormals(true, false, false));
    const std::vector<MoxVector4> lNormals = NormalsOf(*lMesh);
    const double lThird = 1.0 / std::sqrt(3.0);
    for (int i = 0; i < 24; ++i) {
        if (i < 8 || ClampedAway(i)) {
            ExpectVector(lNormals[i], sgCubeFaces[i / 4][0], sgCubeFaces[i / 4][1], sgCubeFaces[i / 4][2], 0);
        } else {
            const MoxVector4 lCorner = CubeCorner(lMesh->mPolygonVertices[i]);
            ExpectVector(lNormals[i], lCorner[0] * lThird, lCorner[1] * lThird, lCorner[2] * lThird, 0, 1e-15);
        }
    }
    ExpectSameAsPlain(*lMesh, true);
}

// The smoothed normal of an 8-sided cylinder's side corner at point p: two side corners and one cap corner
// (see CylinderWithHardCapsSmoothedByPolygon in the other normal tests).
MoxVector4 CylinderSmoothed(int pPoint, int pSides)
{
    const double lChord = 2.0 * std::sin(M_PI / pSides);
    const double lSide = lChord * 2.0 * std::cos(M_PI / pSides);
    const double lCap = lChord * lChord * std::sin(M_PI - 2.0 * M_PI / pSides);
    const double lAngle = 2.0 * M_PI * (pPoint % pSides) / pSides;
    MoxVector4 lExpected(lSide * std::cos(lAngle), lSide * std::sin(lAngle), (pPoint < pSides ? -1 : 1) * lCap, 0);
    lExpected.Normalize();
    return lExpected;
}

// Soft vertical edges and hard rims, on a cylinder padded with empty polygons so that the polygon count
// exceeds the control point count (no corner is clamped): the sides are smoothed, with the caps' corners
// in the average, the caps stay flat.
TEST(MoxMeshGenerateNormalsByEdge, CylinderWithHardCaps)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    const int lSides = 8;
    MakeCylinder(*lMesh, lSides);
    for (int i = 0; i < lSides; ++i) lMesh->BeginPolygon(-1, -1, -1, true);
    lMesh->BuildMeshEdgeArray();
    ASSERT_EQ(lMesh->GetMeshEdgeCount(), 3 * lSides);
    AddSmoothing(*lMesh, MoxLayerElement::eByEdge,
                 EdgeValues(*lMesh, [&](int pA, int pB) { return std::abs(pA - pB) == lSides; }));
    ASSERT_TRUE(lMesh->GenerateNormals(true, false, false));
    const std::vector<MoxVector4> lNormals = NormalsOf(*lMesh);
    for (int i = 0; i < lSides * 4; ++i) {
        const MoxVector4 lExpected = CylinderSmoothed(lMesh->mPolygonVertices[i], lSides);
        ExpectVector(lNormals[i], lExpected[0], lExpected[1], lExpected[2], 0, 1e-12);
    }
    for (int i = lSides * 4; i < lSides * 5; ++i) ExpectVector(lNormals[i], 0, 0, -1, 0, 1e-15);
    for (int i = lSides * 5; i < lSides * 6; ++i) ExpectVector(lNormals[i], 0, 0, 1, 0, 1e-15);
    ExpectSameAsPlain(*lMesh, false);
}

// The same cylinder without padding: 10 polygons, so top points 10 .. 15 compare as 9. A side quad i
// (i, i + 1, 9 + i, 8 + i) stamps only its ends below 10: its top corners are smoothed in quads 0 and 1
// (which hold point 9), the corner at 8 in quad 7, and no other top corner.
TEST(MoxMeshGenerateNormalsByEdge, CylinderTopCornersCompareThroughThePolygonCountClamp)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    const int lSides = 8;
    MakeCylinder(*lMesh, lSides);
    lMesh->BuildMeshEdgeArray();
    AddSmoothing(*lMesh, MoxLayerElement::eByEdge,
                 EdgeValues(*lMesh, [&](int pA, int pB) { return std::abs(pA - pB) == lSides; }));
    ASSERT_TRUE(lMesh->GenerateNormals(true, false, false));
    const std::vector<MoxVector4> lNormals = NormalsOf(*lMesh);
    for (int i = 0; i < lSides * 4; ++i) {
        const int lQuad = i / 4;
        const int lPoint = lMesh->mPolygonVertices[i];
        const bool lSmooth = lPoint < lSides || lQuad <= 1 || (lQuad == 7 && lPoint == lSides);
        MoxVector4 lExpected = CylinderSmoothed(lPoint, lSides);
        if (!lSmooth) {
            const double lAngle = 2.0 * M_PI * (lQuad + 0.5) / lSides;
            lExpected = MoxVector4(std::cos(lAngle), std::sin(lAngle), 0, 0);
        }
        ExpectVector(lNormals[i], lExpected[0], lExpected[1], lExpected[2], 0, 1e-12);
    }
    ExpectSameAsPlain(*lMesh, false);
}

// One soft slanted edge (0-4): the two triangles along it smooth their corners at 0 and at the apex; the
// third corners, the other triangles and the quad base stay faceted.
TEST(MoxMeshGenerateNormalsByEdge, PyramidOfTrianglesAndAQuadWithOneSoftEdge)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    MakePyramid(*lMesh);
    lMesh->BuildMeshEdgeArray();
    AddSmoothing(*lMesh, MoxLayerElement::eByEdge,
                 EdgeValues(*lMesh, [](int pA, int pB) { return (pA == 0 && pB == 4) || (pA == 4 && pB == 0); }));
    ASSERT_TRUE(lMesh->GenerateNormals(true, false, false));
    const std::vector<MoxVector4> lNormals = NormalsOf(*lMesh);
    const double lHalf = 1.0 / std::sqrt(2.0);
    for (int i = 0; i < 16; ++i) {
        const int lPolygon = i < 4 ? 0 : 1 + (i - 4) / 3;
        const int lPoint = lMesh->mPolygonVertices[i];
        const bool lSmooth = (lPolygon == 1 || lPolygon == 4) && (lPoint == 0 || lPoint == 4);
        if (lSmooth && lPoint == 4) {
            ExpectVector(lNormals[i], 0, 0, 1, 0, 1e-15);
        } else if (lSmooth) {
            ExpectVector(lNormals[i], -lHalf, -lHalf, 0, 0, 1e-15);
        } else if (lPolygon == 0) {
            ExpectVector(lNormals[i], 0, 0, -1, 0);
        } else {
            const double lFaces[4][2] = {{0, -1}, {1, 0}, {0, 1}, {-1, 0}};
            ExpectVector(lNormals[i], lFaces[lPolygon - 1][0] * lHalf, lFaces[lPolygon - 1][1] * lHalf, lHalf, 0,
                         1e-15);
        }
    }
    ExpectSameAsPlain(*lMesh, false);
}

// Corners compare with the edge's ends through the polygon count as clamp: with two polygons every control
// point from 1 on compares as 1, so a soft edge 1-2 smooths corner 3 of the first quad and all of the
// second. With clockwise winding the smoothed (counter-clockwise) corners are told apart by their sign.
TEST(MoxMeshGenerateNormalsByEdge, CornersCompareThroughThePolygonCountClamp)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::BuildMesh(*lMesh, {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {2, 0, 0}, {2, 1, 0}},
                       {{0, 1, 2, 3}, {1, 4, 5, 2}});
    lMesh->BuildMeshEdgeArray();
    AddSmoothing(*lMesh, MoxLayerElement::eByEdge,
                 EdgeValues(*lMesh, [](int pA, int pB) { return pA + pB == 3 && pA * pB == 2; }));
    ASSERT_TRUE(lMesh->GenerateNormals(true, false, true));
    const std::vector<MoxVector4> lNormals = NormalsOf(*lMesh);
    ASSERT_EQ(lNormals.size(), 8u);
    ExpectVector(lNormals[0], 0, 0, -1, 0);
    for (int i = 1; i < 8; ++i) ExpectVector(lNormals[i], 0, 0, 1, 0);
    ExpectSameAsPlain(*lMesh, true);
}

TEST(MoxMeshGenerateNormalsByEdge, IndexReferenceModeIsReportedAndReadAsDirect)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeCube(*lMesh);
    lMesh->BuildMeshEdgeArray();
    AddSmoothing(*lMesh, MoxLayerElement::eByEdge, std::vector<int>(12, 1), MoxLayerElement::eIndexToDirect,
                 std::vector<int>(12, 0));
    moxtest::ReportCapture lCapture;
    ASSERT_TRUE(lMesh->GenerateNormals(true, false, false));
    EXPECT_TRUE(lCapture.HasOnly(sgFile, "GenerateNormals", "lReferenceMode == MoxLayerElement::eDirect"));
    const std::vector<MoxVector4> lNormals = NormalsOf(*lMesh);
    const double lThird = 1.0 / std::sqrt(3.0);
    for (int i = 0; i < 24; ++i) {
        if (ClampedAway(i)) continue;
        const MoxVector4 lCorner = CubeCorner(lMesh->mPolygonVertices[i]);
        ExpectVector(lNormals[i], lCorner[0] * lThird, lCorner[1] * lThird, lCorner[2] * lThird, 0, 1e-15);
    }
}

TEST(MoxMeshGenerateNormalsByEdge, EdgeCachesAreClosedAfterwards)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeCube(*lMesh);
    lMesh->BuildMeshEdgeArray();
    AddSmoothing(*lMesh, MoxLayerElement::eByEdge, std::vector<int>(12, 1));
    lMesh->BeginGetMeshEdgeVertices();
    ASSERT_TRUE(lMesh->GenerateNormals(true, false, false));
    EXPECT_FALSE(lMesh->mEdgeLookup.mValid);
    EXPECT_FALSE(lMesh->mV2PVMap.mValid);
    EXPECT_EQ(lMesh->mV2PVMap.mPVToEdge.GetCount(), 0);
}

// A 1000-gon with every side soft: all corners smoothed, each polygon costing one pass over its sides and
// one over its corners.
TEST(MoxMeshGenerateNormalsByEdge, LargePolygonsStayLinear)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    const int lSides = 1000;
    MakeCylinder(*lMesh, lSides);
    lMesh->BuildMeshEdgeArray();
    AddSmoothing(*lMesh, MoxLayerElement::eByEdge, std::vector<int>(size_t(lMesh->GetMeshEdgeCount()), 1));
    ExpectSameAsPlain(*lMesh, false);
}

// The marks give bit for bit the normals of the smooth lists, on random meshes with degenerate polygons,
// repeated vertices, non-manifold edges, invalid indices, several elements by polygon and by edge, and
// edge values that are short, negative or partial.
TEST(MoxMeshGenerateNormalsByEdge, MatchesThePlainListsOnRandomMeshes)
{
    std::mt19937 lRandom(23);
    int lCompared = 0;
    for (int lRound = 0; lRound < 300; ++lRound) {
        moxtest::ManagerScope lScope;
        MoxMesh* lMesh = lScope.NewMesh();
        moxtest::RandomMeshOptions lOptions;
        lOptions.mInvalidIndices = lRound % 5 == 4;
        lOptions.mMaxPolygonSize = lRound % 10 == 0 ? 40 : 6;
        moxtest::MakeRandomMesh(*lMesh, lRandom, lOptions);
        if (!lMesh->GetLayer(0)) continue;
        if (lRound % 6 != 0) lMesh->BuildMeshEdgeArray();
        const int lEdges = lMesh->GetMeshEdgeCount();
        const int lElements = 1 + int(lRandom() % 3);
        for (int s = 0; s < lElements; ++s) {
            const bool lByEdge = lRandom() % 3 != 0;
            const int lSlots = lByEdge ? lEdges : lMesh->GetPolygonCount();
            const int lLength = lSlots + 2 - int(lRandom() % 4);
            std::vector<int> lValues(size_t(std::max(0, lLength)));
            for (int& lValue : lValues) lValue = int(lRandom() % 4) - 1;
            AddSmoothing(*lMesh, lByEdge ? MoxLayerElement::eByEdge : MoxLayerElement::eByPolygon, lValues,
                         static_cast<MoxLayerElement::EReferenceMode>(lRandom() % 3),
                         std::vector<int>(size_t(lSlots), int(lRandom() % 3)));
        }
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

// A random mesh with smoothing by edge and by polygon, its edge array built and then, per pVariant, kept (0),
// missing (1), with two entries swapped (2), without its last entry (3) or with its first entry repeated (4).
void MakeSmoothedMesh(MoxMesh& pMesh, std::mt19937& pRandom, int pVariant)
{
    moxtest::RandomMeshOptions lOptions;
    lOptions.mDegenerate = pRandom() % 3 == 0;
    moxtest::MakeRandomMesh(pMesh, pRandom, lOptions);
    if (!pMesh.GetLayer(0)) pMesh.CreateLayer();
    if (pVariant != 1) pMesh.BuildMeshEdgeArray();
    const int lEdges = pMesh.GetMeshEdgeCount();
    if (pVariant == 2 && lEdges > 1) std::swap(pMesh.mEdgeArray[0], pMesh.mEdgeArray[lEdges - 1]);
    if (pVariant == 3 && lEdges > 0) pMesh.mEdgeArray.RemoveAt(lEdges - 1);
    if (pVariant == 4 && lEdges > 0) pMesh.mEdgeArray.Add(pMesh.mEdgeArray[0]);
    std::vector<int> lSoft(size_t(pMesh.GetMeshEdgeCount()));
    for (int& lValue : lSoft) lValue = int(pRandom() % 3) - 1;
    AddSmoothing(pMesh, MoxLayerElement::eByEdge, lSoft);
    if (pRandom() % 2 == 0) AddSmoothing(pMesh, MoxLayerElement::eByPolygon, std::vector<int>(8, 1));
}

bool HasEmptyPolygon(const MoxMesh& pMesh)
{
    for (int p = 0; p < pMesh.GetPolygonCount(); ++p)
        if (pMesh.GetPolygonSize(p) < 1) return true;
    return false;
}

// Smoothing answers each side's edge from tables of its own where the edge lookups would answer alike;
// a caller's open edge-adding map makes it use the lookups. Both give the same normals, the same reports
// (on meshes whose map builds without one) and leave the lookups closed.
TEST(MoxMeshGenerateNormalsByEdge, SideTableMatchesTheEdgeLookups)
{
    std::mt19937 lRandom(71);
    int lCompared = 0;
    for (int lRound = 0; lRound < 400; ++lRound) {
        moxtest::ManagerScope lScope;
        MoxMesh* lOwn = lScope.NewMesh();
        MoxMesh* lLookups = lScope.NewMesh();
        std::mt19937 lSame = lRandom;
        MakeSmoothedMesh(*lOwn, lRandom, lRound % 5);
        MakeSmoothedMesh(*lLookups, lSame, lRound % 5);
        const bool lCW = lRound % 2 == 1;
        moxtest::ReportCapture lCapture;
        ASSERT_TRUE(lOwn->GenerateNormals(true, false, lCW));
        const std::vector<moxtest::Report> lExpected = lCapture.Reports();
        lCapture.Clear();
        lLookups->BeginAddMeshEdgeIndex();
        const bool lCompareReports = lCapture.Count() == 0;
        ASSERT_TRUE(lLookups->GenerateNormals(true, false, lCW));
        const std::vector<MoxVector4> lA = NormalsOf(*lOwn);
        const std::vector<MoxVector4> lB = NormalsOf(*lLookups);
        ASSERT_EQ(lA.size(), lB.size()) << lRound;
        for (size_t i = 0; i < lA.size(); ++i) ASSERT_TRUE(SameBits(lA[i], lB[i])) << lRound << " " << i;
        EXPECT_FALSE(lOwn->mV2PVMap.mValid);
        EXPECT_FALSE(lOwn->mEdgeLookup.mValid);
        EXPECT_EQ(lOwn->mV2PVMap.mPVToEdge.GetCount(), 0);
        if (!lCompareReports || !lOwn->HasWellFormedTopology() || HasEmptyPolygon(*lOwn)) continue;
        const std::vector<moxtest::Report>& lActual = lCapture.Reports();
        ASSERT_EQ(lActual.size(), lExpected.size()) << lRound;
        for (size_t i = 0; i < lActual.size(); ++i) {
            EXPECT_EQ(lActual[i].mFunction, lExpected[i].mFunction) << lRound;
            EXPECT_EQ(lActual[i].mMessage, lExpected[i].mMessage) << lRound;
        }
        ++lCompared;
    }
    EXPECT_GE(lCompared, 150);
}

// ---- Conforming --------------------------------------------------------------------------------------------

// Sets layer pLayer's normal element of pMesh (creating layers as needed) with the given modes and arrays.
MoxLayerElementNormal* SetNormals(MoxMesh& pMesh, int pLayer, MoxLayerElement::EMappingMode pMapping,
                                  MoxLayerElement::EReferenceMode pReference, const std::vector<MoxVector4>& pValues,
                                  const std::vector<int>& pIndices = {})
{
    while (pMesh.GetLayerCount() <= pLayer) pMesh.CreateLayer();
    MoxLayerElementNormal* lElement = MoxLayerElementNormal::Create(&pMesh, "");
    lElement->SetMappingMode(pMapping);
    lElement->SetReferenceMode(pReference);
    for (const MoxVector4& lValue : pValues) lElement->mDirectArray->Add(lValue);
    for (int lIndex : pIndices) lElement->mIndexArray->Add(lIndex);
    pMesh.GetLayer(pLayer)->SetNormals(lElement);
    return lElement;
}

TEST(MoxMeshConformNormalsTo, FacetedReferenceChangesNothing)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    MoxMesh* lReference = lScope.NewMesh();
    moxtest::MakeCube(*lMesh);
    moxtest::MakeCube(*lReference);
    AddSmoothing(*lMesh, MoxLayerElement::eByPolygon, {1, 1, 1, 1, 1, 1});
    ASSERT_TRUE(lMesh->GenerateNormals(true, false, false));
    ASSERT_TRUE(lReference->GenerateNormals(true, false, false));
    const std::vector<MoxVector4> lBefore = NormalsOf(*lMesh);
    EXPECT_TRUE(lMesh->ConformNormalsTo(lReference));
    const std::vector<MoxVector4> lAfter = NormalsOf(*lMesh);
    for (size_t i = 0; i < lBefore.size(); ++i) EXPECT_TRUE(SameBits(lBefore[i], lAfter[i])) << i;
}

TEST(MoxMeshConformNormalsTo, SmoothReferenceAveragesEachCorner)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    MoxMesh* lReference = lScope.NewMesh();
    moxtest::MakeCube(*lMesh);
    moxtest::MakeCube(*lReference);
    AddSmoothing(*lReference, MoxLayerElement::eByPolygon, {1, 1, 1, 1, 1, 1});
    ASSERT_TRUE(lMesh->GenerateNormals(true, false, false));
    ASSERT_TRUE(lReference->GenerateNormals(true, false, false));
    EXPECT_TRUE(lMesh->ConformNormalsTo(lReference));
    const std::vector<MoxVector4> lNormals = NormalsOf(*lMesh);
    const double lThird = 1.0 / std::sqrt(3.0);
    for (int i = 0; i < 24; ++i) {
        const MoxVector4 lCorner = CubeCorner(lMesh->mPolygonVertices[i]);
        ExpectVector(lNormals[i], lCorner[0] * lThird, lCorner[1] * lThird, lCorner[2] * lThird, 0, 1e-15);
    }
}

// Two smooth groups meeting at the apex (two pairs of equal reference normals) become one average.
TEST(MoxMeshConformNormalsTo, GroupsMeetingAtAPointAreMerged)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    MoxMesh* lReference = lScope.NewMesh();
    MakePyramid(*lMesh);
    MakePyramid(*lReference);
    std::vector<MoxVector4> lOwn(16, MoxVector4(0, 0, -1, 0));
    std::vector<MoxVector4> lRef(16, MoxVector4(0, 0, -1, 0));
    // Apex polygon vertices: 6, 9, 12, 15.
    lOwn[6] = MoxVector4(1, 0, 0, 0);
    lOwn[9] = MoxVector4(0, 1, 0, 0);
    lOwn[12] = MoxVector4(0, 0, 1, 0);
    lOwn[15] = MoxVector4(0, 0, 1, 0);
    lRef[6] = lRef[9] = MoxVector4(1, 0, 0, 0);
    lRef[12] = lRef[15] = MoxVector4(0, 1, 0, 0);
    SetNormals(*lMesh, 0, MoxLayerElement::eByPolygonVertex, MoxLayerElement::eDirect, lOwn);
    SetNormals(*lReference, 0, MoxLayerElement::eByPolygonVertex, MoxLayerElement::eDirect, lRef);
    EXPECT_TRUE(lMesh->ConformNormalsTo(lReference));
    const std::vector<MoxVector4> lNormals = NormalsOf(*lMesh);
    MoxVector4 lExpected(0.25, 0.25, 0.5, 0);
    lExpected.Normalize();
    for (int i : {6, 9, 12, 15}) EXPECT_TRUE(SameBits(lNormals[i], lExpected)) << i;
}

TEST(MoxMeshConformNormalsTo, PointWithTwoPolygonVerticesIsNeverChanged)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    MoxMesh* lReference = lScope.NewMesh();
    moxtest::MakeTwoTriangles(*lMesh);
    moxtest::MakeTwoTriangles(*lReference);
    const std::vector<MoxVector4> lOwn{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0},
                                       {1, 1, 0, 0}, {0, 1, 1, 0}, {1, 0, 1, 0}};
    SetNormals(*lMesh, 0, MoxLayerElement::eByPolygonVertex, MoxLayerElement::eDirect, lOwn);
    SetNormals(*lReference, 0, MoxLayerElement::eByPolygonVertex, MoxLayerElement::eDirect,
               std::vector<MoxVector4>(6, MoxVector4(0, 0, 1, 0)));
    EXPECT_TRUE(lMesh->ConformNormalsTo(lReference));
    const std::vector<MoxVector4> lNormals = NormalsOf(*lMesh);
    for (size_t i = 0; i < lOwn.size(); ++i) EXPECT_TRUE(SameBits(lNormals[i], lOwn[i])) << i;
}

// With mapping by control point, the polygon-vertex index is still used as the element index.
TEST(MoxMeshConformNormalsTo, PerControlPointElementsAreReadByPolygonVertex)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    MoxMesh* lReference = lScope.NewMesh();
    MakeFan(*lMesh, 5, 1.0);
    MakeFan(*lReference, 5, 1.0);
    // Apex 0 has polygon vertices 0, 3, 6, 9, 12: only 0 and 3 lie inside the six per-point values.
    std::vector<MoxVector4> lOwn;
    lOwn.reserve(6);
    for (int i = 0; i < 6; ++i) lOwn.emplace_back(i, 1, 0, 0);
    SetNormals(*lMesh, 0, MoxLayerElement::eByControlPoint, MoxLayerElement::eDirect, lOwn);
    SetNormals(*lReference, 0, MoxLayerElement::eByControlPoint, MoxLayerElement::eDirect,
               std::vector<MoxVector4>(6, MoxVector4(0, 0, 1, 0)));
    EXPECT_TRUE(lMesh->ConformNormalsTo(lReference));
    const std::vector<MoxVector4> lNormals = NormalsOf(*lMesh);
    MoxVector4 lExpected(1.5, 1, 0, 0);
    lExpected.Normalize();
    EXPECT_TRUE(SameBits(lNormals[0], lExpected));
    EXPECT_TRUE(SameBits(lNormals[3], lExpected));
    for (int i : {1, 2, 4, 5}) EXPECT_TRUE(SameBits(lNormals[i], lOwn[i])) << i;
}

TEST(MoxMeshConformNormalsTo, MeshWithoutControlPointsReportsTheInvalidMap)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    MoxMesh* lReference = lScope.NewMesh();
    moxtest::BuildMesh(*lMesh, {}, {{0, 1, 2}});
    moxtest::BuildMesh(*lReference, {}, {{0, 1, 2}});
    moxtest::ReportCapture lCapture;
    EXPECT_FALSE(lMesh->ConformNormalsTo(lReference));
    EXPECT_TRUE(lCapture.HasOnly(sgFile, "ConformNormalsTo", "lGroups.Valid()"));
}

// A fan apex shared by 100,000 polygon vertices, smooth and faceted references: the result is the one of
// all pairs, and the time stays far from quadratic.
TEST(MoxMeshConformNormalsTo, FanApexIsNearLinear)
{
    for (const bool lSmooth : {true, false}) {
        moxtest::ManagerScope lScope;
        MoxMesh* lMesh = lScope.NewMesh();
        MoxMesh* lReference = lScope.NewMesh();
        MakeFan(*lMesh, 100000, 0.5);
        MakeFan(*lReference, 100000, 0.5);
        ASSERT_TRUE(lMesh->GenerateNormals(true, false, false));
        if (lSmooth) AddSmoothing(*lReference, MoxLayerElement::eByPolygon, std::vector<int>(100000, 1));
        ASSERT_TRUE(lReference->GenerateNormals(true, false, false));
        const auto lStart = std::chrono::steady_clock::now();
        EXPECT_TRUE(lMesh->ConformNormalsTo(lReference));
        const double lSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - lStart).count();
        EXPECT_LT(lSeconds, 5.0);
        const std::vector<MoxVector4> lNormals = NormalsOf(*lMesh);
        if (lSmooth) {
            for (int i = 0; i < 300000; i += 3) ExpectVector(lNormals[i], 0, 0, 1, 0, 1e-9);
        }
    }
}

// Components far from the unit range, at a fan apex large enough for the grid: neighbouring huge doubles,
// the largest doubles, the border of the range the grid covers, fine and coarse cell borders.
TEST(MoxMeshConformNormalsTo, ExtremeComponentsMatchAllPairs)
{
    const double lLarge = 34359738368.0;  // 2^35
    const std::vector<std::vector<double>> lSets{
        {1e305, std::nextafter(1e305, 0.0), std::nextafter(1e305, DBL_MAX), -1e305, 1e305},
        {DBL_MAX, std::nextafter(DBL_MAX, 0.0), -DBL_MAX, DBL_MAX},
        {lLarge, std::nextafter(lLarge, 0.0), std::nextafter(lLarge, DBL_MAX), -lLarge, lLarge},
        {1.0 / 1048576.0, 1.0 / 1048576.0 + 9e-07, 1.0 / 1048576.0 - 9e-07, 1.0 / 1048576.0 + 1e-06},
        {3.0 / 131072.0, 3.0 / 131072.0 - 1e-06, 3.0 / 131072.0 + 1e-06, 3.0 / 131072.0 + 2e-06},
        {DBL_MIN, -DBL_MIN, 4.9e-324, 0.0, -0.0, 1e-06, -1e-06}};
    for (size_t lSet = 0; lSet < lSets.size(); ++lSet)
        for (int lDimension = 0; lDimension < 4; ++lDimension) {
            moxtest::ManagerScope lScope;
            MoxMesh* lMesh = lScope.NewMesh();
            MoxMesh* lReference = lScope.NewMesh();
            MakeFan(*lMesh, 40, 0.5);
            MakeFan(*lReference, 40, 0.5);
            std::vector<MoxVector4> lOwn;
            std::vector<MoxVector4> lRef;
            for (int i = 0; i < 120; ++i) {
                lOwn.emplace_back(i, 1, 2, 0);
                MoxVector4 lValue(0.5, 0.25, 0.125, 1.0);
                // Apex polygon vertices are 0, 3, 6, ...: the first ones take the set's values once each.
                const size_t lApex = size_t(i / 3);
                lValue[lDimension] = i % 3 == 0 && lApex < lSets[lSet].size() ? lSets[lSet][lApex] : 0.75;
                lRef.push_back(lValue);
            }
            SetNormals(*lMesh, 0, MoxLayerElement::eByPolygonVertex, MoxLayerElement::eDirect, lOwn);
            SetNormals(*lReference, 0, MoxLayerElement::eByPolygonVertex, MoxLayerElement::eDirect, lRef);
            const std::vector<std::vector<MoxVector4>> lExpected = PlainConform(*lMesh, *lReference);
            EXPECT_TRUE(lMesh->ConformNormalsTo(lReference));
            const std::vector<MoxVector4> lActual = NormalsOf(*lMesh);
            for (size_t i = 0; i < lActual.size(); ++i)
                ASSERT_TRUE(SameBits(lActual[i], lExpected[0][i])) << lSet << " " << lDimension << " " << i;
        }
}

// A value drawn to make coincidences likely: a few base directions (some huge), moved by offsets around
// the tolerance, across grid cell borders, or by nothing; now and then not finite.
double DrawComponent(std::mt19937& pRandom, double pBase)
{
    const double lOffsets[] = {0.0,   1e-06,  -1e-06, 5e-07, -5e-07,  9.999e-07, 1.0001e-06,
                               2e-06, -2e-06, 1e-09,  3e-06, 7.6e-06, -7.6e-06,  1.5e-06};
    double lValue = pBase + lOffsets[pRandom() % (sizeof(lOffsets) / sizeof(lOffsets[0]))];
    switch (pRandom() % 12) {
        case 0:
            lValue = std::nextafter(lValue, 10.0);
            break;
        case 1:
            lValue = std::nextafter(lValue, -10.0);
            break;
        case 2:
            lValue += std::uniform_real_distribution<double>(-3e-06, 3e-06)(pRandom);
            break;
        default:
            break;
    }
    return lValue;
}

// A palette of base directions for one mesh; components from a few values, some on grid cell borders,
// some huge.
std::vector<MoxVector4> DrawPalette(std::mt19937& pRandom)
{
    const double lBases[] = {
        0.0,  0.5,          -0.5,  1.0,         0.7071, 3.0 / 131072.0, 34359738368.0, -34359738368.0,
        1e12, 0.25 + 1e-07, 1e305, -DBL_MAX / 2};
    const size_t lBaseCount = sizeof(lBases) / sizeof(lBases[0]);
    std::vector<MoxVector4> lPalette;
    for (int i = 0; i < 3; ++i) {
        MoxVector4 lBase;
        for (int d = 0; d < 4; ++d) lBase[d] = lBases[pRandom() % lBaseCount];
        lPalette.push_back(lBase);
    }
    return lPalette;
}

MoxVector4 DrawNormal(std::mt19937& pRandom, const std::vector<MoxVector4>& pPalette)
{
    if (pRandom() % 97 == 0) return MoxVector4(std::numeric_limits<double>::infinity(), 0, 0, 0);
    if (pRandom() % 97 == 0) return MoxVector4(0, std::numeric_limits<double>::quiet_NaN(), 0, 0);
    const MoxVector4& lBase = pPalette[pRandom() % pPalette.size()];
    MoxVector4 lValue;
    for (int d = 0; d < 4; ++d) lValue[d] = pRandom() % 2 ? lBase[d] : DrawComponent(pRandom, lBase[d]);
    return lValue;
}

// The grid gives exactly the indices of all pairs: random meshes (degenerate ones included) and fans whose
// apex takes the grid path, elements by control point and by polygon vertex, direct, index-to-direct and
// index reference, index arrays pointing anywhere, several layers, and a mesh conformed to itself.
TEST(MoxMeshConformNormalsTo, MatchesAllPairsOnRandomMeshes)
{
    std::mt19937 lRandom(31);
    int lCompared = 0;
    for (int lRound = 0; lRound < 300; ++lRound) {
        moxtest::ManagerScope lScope;
        MoxMesh* lMesh = lScope.NewMesh();
        if (lRound % 3 == 0) {
            MakeFan(*lMesh, 10 + int(lRandom() % 200), 0.5);
        } else {
            moxtest::RandomMeshOptions lOptions;
            lOptions.mInvalidIndices = lRound % 4 == 1;
            lOptions.mMaxPoints = 12;
            moxtest::MakeRandomMesh(*lMesh, lRandom, lOptions);
        }
        const bool lSelf = lRound % 7 == 0;
        MoxMesh* lReference = lSelf ? lMesh : lScope.NewMesh();
        if (!lSelf) lReference->Copy(*lMesh);
        const int lCorners = lMesh->GetPolygonVertexCount();
        const int lLayers = 1 + int(lRandom() % 2);
        const std::vector<MoxVector4> lPalette = DrawPalette(lRandom);
        for (int l = 0; l < lLayers; ++l) {
            const auto lMapping = static_cast<MoxLayerElement::EMappingMode>(1 + lRandom() % 3);
            const auto lMode = static_cast<MoxLayerElement::EReferenceMode>(lRandom() % 3);
            const int lCount = lMapping == MoxLayerElement::eByControlPoint && lRandom() % 2
                                   ? lMesh->GetControlPointsCount()
                                   : std::max(0, lCorners + int(lRandom() % 5) - 2);
            const int lIndexCount = lCorners + int(lRandom() % 3) - 1;
            std::vector<MoxVector4> lOwn;
            std::vector<MoxVector4> lRef;
            std::vector<int> lIndices;
            for (int i = 0; i < lCount; ++i) {
                lOwn.push_back(DrawNormal(lRandom, lPalette));
                lRef.push_back(DrawNormal(lRandom, lPalette));
            }
            for (int i = 0; i < std::max(0, lIndexCount); ++i) lIndices.push_back(int(lRandom() % (lCount + 3)) - 1);
            SetNormals(*lMesh, l, lMapping, lMode, lOwn, lIndices);
            if (!lSelf) SetNormals(*lReference, l, lMapping, lMode, lRef, lIndices);
        }
        const std::vector<std::vector<MoxVector4>> lExpected = PlainConform(*lMesh, *lReference);
        moxtest::ReportCapture lCapture;
        const bool lResult = lMesh->ConformNormalsTo(lReference);
        EXPECT_EQ(lResult, lMesh->GetControlPointsCount() > 0);
        for (int i = 0; i < lMesh->GetElementNormalCount(); ++i) {
            const MoxLayerElementNormal* lElement = lMesh->GetElementNormal(i);
            ASSERT_EQ(lElement->mDirectArray->GetCount(), int(lExpected[size_t(i)].size()));
            for (int j = 0; j < lElement->mDirectArray->GetCount(); ++j)
                ASSERT_TRUE(SameBits(lElement->mDirectArray->GetAt(j), lExpected[size_t(i)][size_t(j)]))
                    << lRound << " " << i << " " << j;
        }
        ++lCompared;
    }
    EXPECT_GE(lCompared, 200);
}

}  // namespace
