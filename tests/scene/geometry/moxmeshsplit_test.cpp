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

// ---- SplitPoints ------------------------------------------------------------------------------------------

TEST(MoxMeshSplit, CubeBecomesTwentyFourControlPointsInPolygonVertexOrder)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeCube(*lMesh);
    const std::vector<MoxVector4> lOldPoints = Points(*lMesh);
    const std::vector<int> lOld = ToVector(lMesh->mPolygonVertices);

    EXPECT_TRUE(lMesh->SplitPoints());

    ASSERT_EQ(lMesh->GetControlPointsCount(), 24);
    // The first user of each old point keeps it (polygons 0 and 1 use all eight); every later polygon
    // vertex gets the next new point, in polygon-vertex order.
    std::vector<int> lExpected = {0, 2, 3, 1, 4, 5, 7, 6};
    for (int v = 8; v < 24; ++v) lExpected.push_back(v);
    EXPECT_EQ(ToVector(lMesh->mPolygonVertices), lExpected);
    for (int v = 0; v < 24; ++v) EXPECT_EQ(lMesh->GetControlPointAt(lExpected[v]), lOldPoints[lOld[v]]) << v;
}

TEST(MoxMeshSplit, DistinctControlPointsChangeOnlyTheModes)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeQuad(*lMesh);
    lMesh->BuildMeshEdgeArray();
    SetNormals(*lMesh, MoxLayerElement::eByPolygonVertex, MoxLayerElement::eDirect, Normals(4));
    SetUVs(*lMesh, sgUV0, MoxLayerElement::eByPolygonVertex, MoxLayerElement::eIndexToDirect, UVs(4), Iota(4));
    MeshState lBefore = Capture(*lMesh);

    EXPECT_TRUE(lMesh->SplitPoints());

    MeshState lAfter = Capture(*lMesh);
    EXPECT_EQ(lAfter.mNormals.mMapping, MoxLayerElement::eByControlPoint);
    EXPECT_EQ(lAfter.mUVs[0].mMapping, MoxLayerElement::eByControlPoint);
    EXPECT_EQ(lAfter.mUVs[0].mReference, MoxLayerElement::eDirect);
    lBefore.mNormals.mMapping = MoxLayerElement::eByControlPoint;
    lBefore.mUVs[0].mMapping = MoxLayerElement::eByControlPoint;
    lBefore.mUVs[0].mReference = MoxLayerElement::eDirect;
    ExpectSameState(lBefore, lAfter, "distinct");
}

TEST(MoxMeshSplit, WithoutLayerZeroReturnsFalseAndLeavesTheMeshAlone)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    lMesh->InitControlPoints(3);
    lMesh->mPolygonVertices.Add(0);
    lMesh->mPolygons.Add(MoxMesh::PolygonDef{0, 1, -1});
    ASSERT_EQ(lMesh->GetLayer(0), nullptr);
    const MeshState lBefore = Capture(*lMesh);
    moxtest::ReportCapture lReports;
    EXPECT_FALSE(lMesh->SplitPoints());
    EXPECT_EQ(lReports.Count(), 0u);
    ExpectSameState(lBefore, Capture(*lMesh), "no layer 0");
}

TEST(MoxMeshSplit, NegativePolygonVertexReturnsFalseAndLeavesTheMeshAlone)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::BuildMesh(*lMesh, {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}, {2, 1, 0}, {0, -1, 2}});
    lMesh->BuildMeshEdgeArray();
    SetNormals(*lMesh, MoxLayerElement::eByPolygonVertex, MoxLayerElement::eDirect, Normals(9));
    SetUVs(*lMesh, sgUV0, MoxLayerElement::eByControlPoint, MoxLayerElement::eDirect, UVs(3));
    moxtest::ManagerScope& lS = lScope;
    MoxSkin* lSkin = MoxSkin::Create(lS.Get(), "skin");
    lMesh->AddDeformer(lSkin);
    AddCluster(lScope, *lSkin, {{0, 0.5}});
    MoxBlendShape* lBlend = nullptr;
    AddShape(lScope, *lMesh, lBlend, {{1, 1, 1}, {2, 2, 2}, {3, 3, 3}});
    const MeshState lBefore = Capture(*lMesh);

    moxtest::ReportCapture lReports;
    EXPECT_FALSE(lMesh->SplitPoints());
    EXPECT_TRUE(lReports.HasOnly(sgFile, "SplitPoints", "lCurrentVertexIndex >= 0"));
    ExpectSameState(lBefore, Capture(*lMesh), "negative vertex");
}

TEST(MoxMeshSplit, MeshWithoutEdgesGetsNoEdges)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeCube(*lMesh);
    EXPECT_TRUE(lMesh->SplitPoints());
    EXPECT_EQ(lMesh->GetMeshEdgeCount(), 0);
}

TEST(MoxMeshSplit, FullEdgeArrayEndsWithOneEdgePerPolygonVertex)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeCube(*lMesh);
    lMesh->BuildMeshEdgeArray();
    const std::vector<int> lOldEdges = ToVector(lMesh->mEdgeArray);
    ASSERT_EQ(lOldEdges.size(), 12u);

    EXPECT_TRUE(lMesh->SplitPoints());

    // The old edges stay in place; every polygon vertex that started none follows, in increasing order.
    std::vector<int> lExpected = lOldEdges;
    for (int v = 0; v < 24; ++v)
        if (std::find(lOldEdges.begin(), lOldEdges.end(), v) == lOldEdges.end()) lExpected.push_back(v);
    EXPECT_EQ(ToVector(lMesh->mEdgeArray), lExpected);
    std::vector<int> lSorted = lExpected;
    std::sort(lSorted.begin(), lSorted.end());
    EXPECT_EQ(lSorted, Iota(24));
}

// A side without an edge of its own takes the first edge joining its control points; when there is none
// its edge number is -1, and edge -1 reads as polygon vertex 0 (the array's zero value past its range):
// polygon vertex 0 then counts as starting its edge and gets no new one.
TEST(MoxMeshSplit, SidesWithoutAnyEdgeGetNewEdgesExceptAtPolygonVertexZero)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeQuad(*lMesh);
    lMesh->mEdgeArray.Add(1);
    lMesh->mEdgeArray.Add(2);
    EXPECT_TRUE(lMesh->SplitPoints());
    // Polygon vertex 3 gets an edge; the second grown entry keeps its zero.
    EXPECT_EQ(ToVector(lMesh->mEdgeArray), (std::vector<int>{1, 2, 3, 0}));

    // The shared side 1-2 is named from the second triangle (polygon vertex 3): polygon vertex 1 takes that
    // edge, which does not start at it, so it gets a new one. Side 0-1 has no edge at all: polygon vertex 0
    // gets none, and the second grown entry keeps its zero.
    MoxMesh* lTriangles = lScope.NewMesh();
    moxtest::MakeTwoTriangles(*lTriangles);
    for (int lEdge : {3, 4, 5, 2}) lTriangles->mEdgeArray.Add(lEdge);
    EXPECT_TRUE(lTriangles->SplitPoints());
    EXPECT_EQ(ToVector(lTriangles->mEdgeArray), (std::vector<int>{3, 4, 5, 2, 1, 0}));
}

TEST(MoxMeshSplit, EdgeSearchesStopBeforeAnEdgeTheyNeverReach)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::BuildMesh(*lMesh, sgEmptyBeforeOnePoints, {{0, 1, 2}, {0, 2, 1}, {}, {3}});
    SetNormals(*lMesh, MoxLayerElement::eByControlPoint, MoxLayerElement::eDirect, Normals(4));
    lMesh->BuildMeshEdgeArray();
    ASSERT_EQ(ToVector(lMesh->mEdgeArray), (std::vector<int>{0, 1, 2, 6}));
    moxtest::ReportCapture lReports;
    EXPECT_TRUE(lMesh->SplitPoints(sgUV0));
    EXPECT_EQ(lReports.Count(), 0u);
    EXPECT_EQ(ToVector(lMesh->mPolygonVertices), (std::vector<int>{0, 1, 2, 4, 5, 6, 3}));
    EXPECT_EQ(ToVector(lMesh->mEdgeArray), (std::vector<int>{0, 1, 2, 6, 3, 4, 5}));
}

// A search that does reach such an edge makes the reads, and the reports, of the plain search: side 2-0
// has no edge, and its search reaches edge 2 (polygon vertex 6, control point 2, in the empty polygon).
TEST(MoxMeshSplit, EdgeSearchesReachingAnUnreadableEdgeReportAsThePlainSearch)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMeshes[2] = {lScope.NewMesh("fast"), lScope.NewMesh("plain")};
    for (MoxMesh* lMesh : lMeshes) {
        moxtest::BuildMesh(*lMesh, sgEmptyBeforeOnePoints, {{0, 1, 2}, {0, 2, 1}, {}, {2}});
        SetNormals(*lMesh, MoxLayerElement::eByControlPoint, MoxLayerElement::eDirect, Normals(4));
        for (int lEdge : {0, 1, 6}) lMesh->mEdgeArray.Add(lEdge);
    }
    moxtest::ReportCapture lReports;
    EXPECT_TRUE(lMeshes[0]->SplitPoints(sgUV0));
    const std::vector<std::string> lFastReports = lReports.Messages();
    lReports.Clear();
    EXPECT_TRUE(moxoracle::SplitPoints(*lMeshes[1], sgUV0));
    EXPECT_EQ(lFastReports, lReports.Messages());
    EXPECT_FALSE(lFastReports.empty());
    EXPECT_EQ(ToVector(lMeshes[0]->mEdgeArray), ToVector(lMeshes[1]->mEdgeArray));
    EXPECT_EQ(ToVector(lMeshes[0]->mPolygonVertices), ToVector(lMeshes[1]->mPolygonVertices));
}

TEST(MoxMeshSplit, EdgesDropTheFirstSmoothingElementOnly)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeTwoTriangles(*lMesh);
    lMesh->BuildMeshEdgeArray();
    lMesh->CreateLayer();
    lMesh->GetLayer(1)->SetSmoothing(MoxLayerElementSmoothing::Create(lMesh, ""));
    lMesh->CreateLayer();
    lMesh->GetLayer(2)->SetSmoothing(MoxLayerElementSmoothing::Create(lMesh, ""));

    EXPECT_TRUE(lMesh->SplitPoints());

    EXPECT_EQ(lMesh->GetLayer(1)->GetSmoothing(), nullptr);
    EXPECT_NE(lMesh->GetLayer(2)->GetSmoothing(), nullptr);
    EXPECT_EQ(lMesh->GetMeshEdgeCount(), 6);
}

// The smoothing element is dropped together with the edge rewrite, so a mesh without edges keeps it.
TEST(MoxMeshSplit, WithoutEdgesSmoothingStays)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeTwoTriangles(*lMesh);
    lMesh->GetLayer(0)->SetSmoothing(MoxLayerElementSmoothing::Create(lMesh, ""));
    EXPECT_TRUE(lMesh->SplitPoints());
    EXPECT_NE(lMesh->GetLayer(0)->GetSmoothing(), nullptr);
}

TEST(MoxMeshSplit, SkinClusterWeightsEveryNewCopy)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeTwoTriangles(*lMesh);  // points 1 and 2 are used twice
    MoxSkin* lSkin = MoxSkin::Create(lScope.Get(), "skin");
    lMesh->AddDeformer(lSkin);
    MoxCluster* lCluster = AddCluster(lScope, *lSkin, {{2, 0.75}, {0, 0.5}, {1, 0.25}});
    MoxSkin* lSecondSkin = MoxSkin::Create(lScope.Get(), "second");
    lMesh->AddDeformer(lSecondSkin);
    MoxCluster* lOther = AddCluster(lScope, *lSecondSkin, {{2, 1.0}});

    EXPECT_TRUE(lMesh->SplitPoints());

    // Polygon vertex 3 (point 2) became point 4, polygon vertex 4 (point 1) became point 5.
    EXPECT_EQ(ToVector(lMesh->mPolygonVertices), (std::vector<int>{0, 1, 2, 4, 5, 3}));
    const ClusterState lState = Capture(*lCluster);
    EXPECT_EQ(lState.mIndices, (std::vector<int>{2, 0, 1, 4, 5}));
    EXPECT_EQ(lState.mWeights, (std::vector<double>{0.75, 0.5, 0.25, 0.75, 0.25}));
    // Only the first skin is updated.
    EXPECT_EQ(Capture(*lOther).mIndices, (std::vector<int>{2}));
}

TEST(MoxMeshSplit, ByPolygonNormalsKeepTheirMapping)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeTwoTriangles(*lMesh);
    SetNormals(*lMesh, MoxLayerElement::eByPolygon, MoxLayerElement::eDirect, Normals(2));
    EXPECT_TRUE(lMesh->SplitPoints());
    const MoxLayerElementNormal* lNormals = lMesh->GetLayer(0)->GetNormals();
    EXPECT_EQ(lNormals->GetMappingMode(), MoxLayerElement::eByPolygon);
    EXPECT_EQ(Values(*lNormals->mDirectArray), Normals(2));
    EXPECT_EQ(lMesh->GetControlPointsCount(), 6);
}

TEST(MoxMeshSplit, ByPolygonVertexNormalsBecomePerControlPoint)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeTwoTriangles(*lMesh);
    SetNormals(*lMesh, MoxLayerElement::eByPolygonVertex, MoxLayerElement::eDirect, Normals(6));
    EXPECT_TRUE(lMesh->SplitPoints());
    const MoxLayerElementNormal* lNormals = lMesh->GetLayer(0)->GetNormals();
    EXPECT_EQ(lNormals->GetMappingMode(), MoxLayerElement::eByControlPoint);
    // Polygon vertices 0..5 now use points 0, 1, 2, 4, 5, 3: each point holds its polygon vertex's normal.
    EXPECT_EQ(Values(*lNormals->mDirectArray), (std::vector<MoxVector4>{N(0), N(1), N(2), N(5), N(3), N(4)}));
}

TEST(MoxMeshSplit, IndexedPerVertexNormalsAndUVsAreResolvedPerPolygonVertex)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeTwoTriangles(*lMesh);
    SetNormals(*lMesh, MoxLayerElement::eByPolygonVertex, MoxLayerElement::eIndexToDirect, Normals(3),
               {2, 1, 0, 0, 1, 2});
    SetUVs(*lMesh, sgUV0, MoxLayerElement::eByPolygonVertex, MoxLayerElement::eIndexToDirect, UVs(3),
           {0, 1, 2, 2, 0, 1});

    moxtest::ReportCapture lReports;
    EXPECT_TRUE(lMesh->SplitPoints());
    EXPECT_EQ(lReports.Count(), 0u);

    const MoxLayerElementNormal* lNormals = lMesh->GetLayer(0)->GetNormals();
    EXPECT_EQ(lNormals->GetMappingMode(), MoxLayerElement::eByControlPoint);
    EXPECT_EQ(lNormals->GetReferenceMode(), MoxLayerElement::eIndexToDirect);
    // Point c's normal is direct[index[c]]: first users write at index c = c, new points are appended with
    // an identity index.
    EXPECT_EQ(Values(*lNormals->mIndexArray), Iota(6));
    EXPECT_EQ(Values(*lNormals->mDirectArray), (std::vector<MoxVector4>{N(2), N(1), N(0), N(2), N(0), N(1)}));
    const MoxLayerElementUV* lUVs = lMesh->GetLayer(0)->GetUVs();
    EXPECT_EQ(Values(*lUVs->mDirectArray), (std::vector<MoxVector2>{UV(0), UV(1), UV(2), UV(1), UV(2), UV(0)}));
    EXPECT_EQ(lUVs->GetMappingMode(), MoxLayerElement::eByControlPoint);
    EXPECT_EQ(lUVs->GetReferenceMode(), MoxLayerElement::eDirect);
}

// A mesh without normals gets a normal element from writing the new points (zero normals); the missing
// normals are reported once.
TEST(MoxMeshSplit, WithoutNormalsReportsAndCreatesZeroNormalsForNewPoints)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeTwoTriangles(*lMesh);
    moxtest::ReportCapture lReports;
    EXPECT_TRUE(lMesh->SplitPoints());
    EXPECT_TRUE(lReports.HasOnly(sgFile, "SplitPoints", "isvalid && lNormals"));
    const MoxLayerElementNormal* lNormals = lMesh->GetLayer(0)->GetNormals();
    ASSERT_NE(lNormals, nullptr);
    EXPECT_EQ(lNormals->GetMappingMode(), MoxLayerElement::eByControlPoint);
    EXPECT_EQ(Values(*lNormals->mDirectArray), std::vector<MoxVector4>(6, MoxVector4(0, 0, 0, 0)));
}

TEST(MoxMeshSplit, ReportsOutOfRangeIndicesAndMissingLists)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    // Polygon vertex 5 uses point 4, past the point count: it has no list and keeps its index.
    moxtest::BuildMesh(*lMesh, {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0}}, {{0, 1, 2}, {2, 1, 4}});
    SetNormals(*lMesh, MoxLayerElement::eByControlPoint, MoxLayerElement::eIndexToDirect, Normals(2), {0, 1, 7, -1});
    SetUVs(*lMesh, sgUV0, MoxLayerElement::eByPolygonVertex, MoxLayerElement::eIndexToDirect, UVs(3), {0, 1, 2});
    MoxSkin* lSkin = MoxSkin::Create(lScope.Get(), "skin");
    lMesh->AddDeformer(lSkin);
    AddCluster(lScope, *lSkin, {{9, 1.0}});

    moxtest::ReportCapture lReports;
    EXPECT_TRUE(lMesh->SplitPoints());
    const char* lRange = "index >= 0 && index < GetLayer(0)->GetNormals()->GetDirectArray().GetCount()";
    EXPECT_EQ(OwnReports(lReports), (std::vector<std::string>{
                                        std::string("SplitPoints: ") + lRange,  // polygon vertex 2: index 7
                                        std::string("SplitPoints: ") + lRange,  // polygon vertex 3: index 7
                                        "SplitPoints: -1 != lUVindex",          // polygon vertex 3
                                        "SplitPoints: -1 != lUVindex",          // polygon vertex 4
                                        "SplitPoints: -1 != lUVindex",          // polygon vertex 5
                                        "SplitPoints: dva != NULL",             // polygon vertex 5: point 4
                                        "SplitPoints: dva != NULL",             // cluster index 9
                                    }));
    EXPECT_EQ(ToVector(lMesh->mPolygonVertices), (std::vector<int>{0, 1, 2, 4, 5, 4}));
    const MoxLayerElementUV* lUVs = lMesh->GetLayer(0)->GetUVs();
    // A missing UV index reads (0, 0).
    EXPECT_EQ(Values(*lUVs->mDirectArray),
              (std::vector<MoxVector2>{UV(0), UV(1), UV(2), MoxVector2(), MoxVector2(), MoxVector2()}));
}

TEST(MoxMeshSplit, NegativeNormalIndexOfAFirstUserIsReported)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeQuad(*lMesh);
    SetNormals(*lMesh, MoxLayerElement::eByControlPoint, MoxLayerElement::eIndexToDirect, Normals(4), {0, 1, 2, -1});
    moxtest::ReportCapture lReports;
    EXPECT_TRUE(lMesh->SplitPoints());
    EXPECT_EQ(OwnReports(lReports),
              (std::vector<std::string>{
                  "SplitPoints: index >= 0 && index < GetLayer(0)->GetNormals()->GetDirectArray().GetCount()",
                  "SplitPoints: index >= 0"}));
}

TEST(MoxMeshSplit, MeshWithoutControlPointsReturnsFalse)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    lMesh->CreateLayer();
    moxtest::ReportCapture lReports;
    EXPECT_FALSE(lMesh->SplitPoints());
}

TEST(MoxMeshSplit, BlendShapeTargetsAreExtendedWithTheShortUVCopy)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeTwoTriangles(*lMesh);  // becomes 6 points: 4 is a copy of 2, 5 a copy of 1
    SetNormals(*lMesh, MoxLayerElement::eByPolygonVertex, MoxLayerElement::eDirect, Normals(6));
    MoxBlendShape* lBlend = nullptr;
    // 32 control points: their UV copy moves 32 bytes, the first two UVs.
    std::vector<MoxVector4> lShapePoints;
    lShapePoints.reserve(32);
    for (int i = 0; i < 32; ++i) lShapePoints.emplace_back(i, 10 + i, 20 + i, 1);
    MoxShape* lShape = AddShape(lScope, *lMesh, lBlend, lShapePoints);
    lShape->InitNormals();
    for (int i = 0; i < 32; ++i) lShape->GetLayer(0)->GetNormals()->mDirectArray->SetAt(i, N(i));
    std::vector<MoxVector2> lShapeUVs;
    lShapeUVs.reserve(32);
    for (int i = 0; i < 32; ++i) lShapeUVs.push_back(UV(i + 1));
    SetUVs(*lShape, sgUV0, MoxLayerElement::eByControlPoint, MoxLayerElement::eDirect, lShapeUVs);

    moxtest::ReportCapture lReports;
    EXPECT_TRUE(lMesh->SplitPoints());
    EXPECT_EQ(lReports.Count(), 0u);

    const std::vector<int> lSource = {0, 1, 2, 3, 2, 1};  // old point of each new point
    const ShapeState lState = Capture(*lShape);
    ASSERT_EQ(lState.mPoints.size(), 6u);
    for (int i = 0; i < 6; ++i) {
        EXPECT_EQ(lState.mPoints[i], lShapePoints[lSource[i]]) << i;
        EXPECT_EQ(lState.mNormals.mDirect[i], N(lSource[i])) << i;
    }
    EXPECT_EQ(lState.mNormals.mMapping, MoxLayerElement::eByControlPoint);
    const ElementState<MoxVector2>& lUVs = lState.mUVs[0];
    ASSERT_TRUE(lUVs.mExists);
    EXPECT_EQ(lUVs.mMapping, MoxLayerElement::eByPolygonVertex);  // a new UV set keeps its creation modes
    EXPECT_EQ(lUVs.mDirect, (std::vector<MoxVector2>{UV(1), UV(2), MoxVector2(), MoxVector2(), MoxVector2(), UV(2)}));
}

TEST(MoxMeshSplit, BlendShapeReportsMissingAndMismatchedNormals)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeTwoTriangles(*lMesh);
    SetNormals(*lMesh, MoxLayerElement::eByPolygonVertex, MoxLayerElement::eDirect, Normals(6));
    MoxBlendShape* lBlend = nullptr;
    MoxShape* lFirst = AddShape(lScope, *lMesh, lBlend, {{1, 0, 0}, {2, 0, 0}});  // no normals; fewer points
    MoxShape* lSecond = AddShape(lScope, *lMesh, lBlend, {{1, 1, 0}, {2, 2, 0}, {3, 3, 0}, {4, 4, 0}});
    lSecond->InitNormals(5);  // five normals for four points
    moxtest::ReportCapture lReports;
    EXPECT_TRUE(lMesh->SplitPoints());
    EXPECT_EQ(OwnReports(lReports),
              (std::vector<std::string>{"SplitPoints: isvalid && direct",
                                        "SplitPoints: direct->GetCount() == lCurrentShape->GetControlPointsCount()"}));
    // Points the shape did not have read zero.
    EXPECT_EQ(Capture(*lFirst).mPoints, (std::vector<MoxVector4>{MoxVector4(1, 0, 0), MoxVector4(2, 0, 0), MoxVector4(),
                                                                 MoxVector4(), MoxVector4(), MoxVector4(2, 0, 0)}));
    EXPECT_EQ(Capture(*lSecond).mNormals.mDirect.size(), 6u);
}

// ---- Oracle comparisons on random meshes ------------------------------------------------------------------

TEST(MoxMeshSplitOracle, SplitMatchesThePlainAlgorithmOnRandomMeshes)
{
    int lSplits = 0;
    int lWellFormedTopologies = 0;
    for (unsigned lSeed = 1; lSeed <= 400; ++lSeed) {
        const MoxLayerElement::EType lType = lSeed % 5 == 0 ? MoxLayerElement::eTextureChannel1 : sgUV0;
        moxtest::ManagerScope lScope;
        MoxMesh* lFast = RandomScenario(lScope, lSeed, lType);
        MoxMesh* lPlain = RandomScenario(lScope, lSeed, lType);
        // The split keeps a well-formed topology; elements mapped by control point stay as they were.
        const bool lTopology = lFast->HasWellFormedTopology();
        bool lFastResult = false;
        bool lPlainResult = false;
        std::vector<std::string> lFastReports;
        std::vector<std::string> lPlainReports;
        {
            moxtest::ReportCapture lReports;
            lFastResult = lFast->SplitPoints(lType);
            lFastReports = AllReports(lReports);
        }
        {
            moxtest::ReportCapture lReports;
            lPlainResult = moxoracle::SplitPoints(*lPlain, lType);
            lPlainReports = AllReports(lReports);
        }
        const std::string lContext = "seed " + std::to_string(lSeed);
        ASSERT_EQ(lFastResult, lPlainResult) << lContext;
        EXPECT_EQ(lFastReports, lPlainReports) << lContext;
        ExpectSameState(Capture(*lFast), Capture(*lPlain), lContext);
        if (lTopology) {
            EXPECT_TRUE(lFast->HasWellFormedTopology()) << lContext;
        }
        lWellFormedTopologies += lTopology;
        lSplits += lFastResult;
        if (HasFailure()) return;
    }
    EXPECT_GT(lSplits, 200);
    EXPECT_GT(lWellFormedTopologies, 200);
}

// ---- Round trip -------------------------------------------------------------------------------------------

TEST(MoxMeshSplit, SplitThenMergeRestoresLargerMeshes)
{
    std::mt19937 lRandom(77);
    for (int lRun = 0; lRun < 60; ++lRun) {
        moxtest::ManagerScope lScope;
        MoxMesh* lMesh = lScope.NewMesh();
        moxtest::RandomMeshOptions lOptions;
        lOptions.mMinPoints = 20;
        lOptions.mMaxPoints = 400;
        lOptions.mMinPolygons = 20;
        lOptions.mMaxPolygons = 400;
        lOptions.mCoincidentPoints = false;
        // Polygons of size 0 would make the polygon lookup of an edge (a binary search in which an empty
        // polygon starting at the same vertex compares equal) miss some edges; the oracle tests cover them.
        lOptions.mDegenerate = false;
        moxtest::MakeRandomMesh(*lMesh, lRandom, lOptions);
        // Distinct positions, further apart than the merge distance.
        for (int i = 0; i < lMesh->GetControlPointsCount(); ++i)
            lMesh->SetControlPointAt(MoxVector4(i, i % 7, 0.5 * i), i);
        lMesh->BuildMeshEdgeArray();
        const int lVertexCount = lMesh->GetPolygonVertexCount();
        SetNormals(*lMesh, MoxLayerElement::eByPolygonVertex, MoxLayerElement::eDirect, Normals(lVertexCount));
        const std::vector<MoxVector4> lPoints = Points(*lMesh);
        const std::vector<int> lVertices = ToVector(lMesh->mPolygonVertices);
        const std::vector<int> lEdges = ToVector(lMesh->mEdgeArray);
        ASSERT_TRUE(lMesh->IsWellFormed()) << lRun;

        ASSERT_TRUE(lMesh->SplitPoints());
        EXPECT_EQ(lMesh->GetMeshEdgeCount(), lVertexCount);
        EXPECT_TRUE(HasOnePolygonVertexPerControlPoint(*lMesh)) << lRun;
        MoxArray<int> lList;
        lMesh->BuildMergeList(lList);
        lMesh->MergePointsForPolygonVerteNormals(lList);
        EXPECT_TRUE(lMesh->HasWellFormedTopology()) << lRun;

        EXPECT_EQ(Points(*lMesh), lPoints) << lRun;
        EXPECT_EQ(ToVector(lMesh->mPolygonVertices), lVertices) << lRun;
        EXPECT_EQ(ToVector(lMesh->mEdgeArray), lEdges) << lRun;
        const std::vector<MoxVector4> lNormals = Values(*lMesh->GetLayer(0)->GetNormals()->mDirectArray);
        ASSERT_GE(int(lNormals.size()), lVertexCount);
        EXPECT_EQ(std::vector<MoxVector4>(lNormals.begin(), lNormals.begin() + lVertexCount), Normals(lVertexCount))
            << lRun;
        if (HasFailure()) return;
    }
}

// ---- Corrupted tables ---------------------------------------------------------------------------------------

// Polygon tables edited by hand (runs out of order, overlapping, past the polygon vertices, huge sizes),
// edges and merge lists with any entries: nothing may crash or touch memory outside an allocation. A
// table whose runs leave the polygon vertices or claim more than there are is refused by the split.
TEST(MoxMeshSplit, CorruptedTablesAreSafe)
{
    std::mt19937 lRandom(99);
    auto lInt = [&lRandom](int pLow, int pHigh) { return std::uniform_int_distribution<int>(pLow, pHigh)(lRandom); };
    int lRefused = 0;
    for (unsigned lSeed = 1; lSeed <= 300; ++lSeed) {
        moxtest::ManagerScope lScope;
        MoxMesh* lMesh = RandomScenario(lScope, lSeed, sgUV0);
        const int lVertexCount = lMesh->GetPolygonVertexCount();
        for (MoxMesh::PolygonDef& lPolygon : lMesh->mPolygons) {
            if (lInt(0, 3) != 0) continue;
            lPolygon.mIndex = lInt(0, 5) == 0 ? lInt(-3, 3) : lInt(0, lVertexCount + 2);
            lPolygon.mSize = lInt(0, 9) == 0 ? 2000000000 : lInt(-2, 6);
        }
        for (int k = lInt(0, 3); k > 0; --k) lMesh->mEdgeArray.Add(lInt(-3, lVertexCount + 3));
        const MeshState lBefore = Capture(*lMesh);
        moxtest::ReportCapture lQuiet;
        const bool lSplit = lMesh->SplitPoints();
        if (!lSplit && lMesh->GetControlPointsCount() > 0 && lMesh->GetLayer(0)) {
            ++lRefused;
            ExpectSameState(lBefore, Capture(*lMesh), "refused " + std::to_string(lSeed));
        }
        MoxArray<int> lList;
        lMesh->BuildMergeList(lList);
        for (int k = lInt(0, 3); k > 0; --k)
            if (lList.GetCount() > 0) lList[lInt(0, lList.GetCount() - 1)] = lInt(-5, lList.GetCount() + 5);
        lMesh->MergePointsForPolygonVerteNormals(lList);
    }
    EXPECT_GT(lRefused, 10);
}

// ---- Memory ------------------------------------------------------------------------------------------------

TEST(MoxMeshSplit, FailedAllocationsNeitherCrashNorLeak)
{
    for (long lFail = 1; lFail < 400; ++lFail) {
        moxtest::ReportCapture lQuiet;
        moxtest::AllocationTracker lTracker;
        {
            moxtest::ManagerScope lScope;
            MoxMesh* lMesh = RandomScenario(lScope, 11, sgUV0);
            lTracker.FailAt(lFail);
            lMesh->SplitPoints();
            MoxArray<int> lList;
            lMesh->BuildMergeList(lList);
            lMesh->MergePointsForPolygonVerteNormals(lList);
            lTracker.FailAt(0);
        }
        EXPECT_EQ(lTracker.Live(), 0) << lFail;
    }
}

}  // namespace
