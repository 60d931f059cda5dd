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
#include "scene/geometry/oracle/moxmeshsplit_oracle.h"
#include "support/moxtestmeshes.h"
#include "support/moxtestsupport.h"

namespace moxsdk {
// Readable values in failure messages.
inline void PrintTo(const MoxVector4& pV, std::ostream* pOut)
{
    *pOut << "(" << pV[0] << ", " << pV[1] << ", " << pV[2] << ", " << pV[3] << ")";
}
inline void PrintTo(const MoxVector2& pV, std::ostream* pOut)
{
    *pOut << "(" << pV[0] << ", " << pV[1] << ")";
}
}  // namespace moxsdk

using namespace moxsdk;

namespace {

constexpr const char* sgFile = "scene/geometry/moxmesh";
constexpr MoxLayerElement::EType sgUV0 = MoxLayerElement::eTextureChannel0;

// ---- Snapshots of everything split and merge may change --------------------------------------------------

template <class T>
struct ElementState {
    bool mExists = false;
    int mMapping = -1;
    int mReference = -1;
    std::vector<T> mDirect;
    std::vector<int> mIndex;
    bool operator==(const ElementState& pO) const
    {
        return mExists == pO.mExists && mMapping == pO.mMapping && mReference == pO.mReference &&
               mDirect == pO.mDirect && mIndex == pO.mIndex;
    }
};

template <class T>
std::vector<T> Values(const MoxLayerElementArrayTemplate<T>& pArray)
{
    std::vector<T> lValues;
    lValues.reserve(pArray.GetCount());
    for (int i = 0; i < pArray.GetCount(); ++i) lValues.push_back(pArray.GetAt(i));
    return lValues;
}

template <class T>
ElementState<T> Capture(const MoxLayerElementTemplate<T>* pElement)
{
    ElementState<T> lState;
    if (!pElement) return lState;
    lState.mExists = true;
    lState.mMapping = pElement->GetMappingMode();
    lState.mReference = pElement->GetReferenceMode();
    lState.mDirect = Values(*pElement->mDirectArray);
    lState.mIndex = Values(*pElement->mIndexArray);
    return lState;
}

std::vector<MoxVector4> Points(const MoxGeometryBase& pGeometry)
{
    std::vector<MoxVector4> lPoints;
    lPoints.reserve(pGeometry.GetControlPointsCount());
    for (int i = 0; i < pGeometry.GetControlPointsCount(); ++i) lPoints.push_back(pGeometry.GetControlPointAt(i));
    return lPoints;
}

std::vector<int> ToVector(const MoxArray<int>& pArray)
{
    return std::vector<int>(pArray.GetArray(), pArray.GetArray() + pArray.GetCount());
}

struct ClusterState {
    std::vector<int> mIndices;
    std::vector<double> mWeights;
    std::string mLink, mAssociate, mUserDataID, mUserData;
    int mLinkMode = 0;
    MoxAMatrix mMatrices[4];
    bool operator==(const ClusterState& pO) const
    {
        return mIndices == pO.mIndices && mWeights == pO.mWeights && mLink == pO.mLink && mAssociate == pO.mAssociate &&
               mUserDataID == pO.mUserDataID && mUserData == pO.mUserData && mLinkMode == pO.mLinkMode &&
               std::equal(mMatrices, mMatrices + 4, pO.mMatrices);
    }
};

ClusterState Capture(const MoxCluster& pCluster)
{
    ClusterState lState;
    const int lCount = pCluster.GetControlPointIndicesCount();
    for (int i = 0; i < lCount; ++i) {
        lState.mIndices.push_back(pCluster.GetControlPointIndices()[i]);
        lState.mWeights.push_back(pCluster.GetControlPointWeights()[i]);
    }
    lState.mLink = pCluster.GetLink() ? pCluster.GetLink()->GetName() : "";
    lState.mAssociate = pCluster.GetAssociateModel() ? pCluster.GetAssociateModel()->GetName() : "";
    lState.mUserDataID = pCluster.GetUserDataID().Buffer();
    lState.mUserData = pCluster.GetUserData().Buffer();
    lState.mLinkMode = pCluster.GetLinkMode();
    pCluster.GetTransformMatrix(lState.mMatrices[0]);
    pCluster.GetTransformLinkMatrix(lState.mMatrices[1]);
    pCluster.GetTransformAssociateModelMatrix(lState.mMatrices[2]);
    pCluster.GetTransformParentMatrix(lState.mMatrices[3]);
    return lState;
}

struct ShapeState {
    std::vector<MoxVector4> mPoints;
    ElementState<MoxVector4> mNormals;
    std::vector<ElementState<MoxVector2>> mUVs;
    bool operator==(const ShapeState& pO) const
    {
        return mPoints == pO.mPoints && mNormals == pO.mNormals && mUVs == pO.mUVs;
    }
};

ShapeState Capture(const MoxShape& pShape)
{
    ShapeState lState;
    lState.mPoints = Points(pShape);
    const MoxLayer* lLayer = pShape.GetLayer(0);
    lState.mNormals = Capture<MoxVector4>(lLayer ? lLayer->GetNormals() : nullptr);
    for (int c = MoxLayerElement::eTextureChannel0; c <= MoxLayerElement::eTextureChannel1; ++c)
        lState.mUVs.push_back(Capture<MoxVector2>(lLayer ? lLayer->GetUVs(MoxLayerElement::EType(c)) : nullptr));
    return lState;
}

struct MeshState {
    std::vector<MoxVector4> mPoints;
    std::vector<int> mPolygonVertices;
    std::vector<int> mPolygons;
    std::vector<int> mEdges;
    int mLayerCount = 0;
    ElementState<MoxVector4> mNormals;
    std::vector<ElementState<MoxVector2>> mUVs;
    std::vector<ElementState<int>> mSmoothing;
    std::vector<ClusterState> mClusters;
    std::vector<ShapeState> mShapes;
};

MeshState Capture(MoxMesh& pMesh)
{
    MeshState lState;
    lState.mPoints = Points(pMesh);
    lState.mPolygonVertices = ToVector(pMesh.mPolygonVertices);
    for (const MoxMesh::PolygonDef& lPolygon : pMesh.mPolygons) {
        lState.mPolygons.push_back(lPolygon.mIndex);
        lState.mPolygons.push_back(lPolygon.mSize);
    }
    lState.mEdges = ToVector(pMesh.mEdgeArray);
    lState.mLayerCount = pMesh.GetLayerCount();
    MoxLayer* lLayer = pMesh.GetLayer(0);
    lState.mNormals = Capture<MoxVector4>(lLayer ? lLayer->GetNormals() : nullptr);
    for (int c = MoxLayerElement::eTextureChannel0; c <= MoxLayerElement::eTextureChannel1; ++c)
        lState.mUVs.push_back(Capture<MoxVector2>(lLayer ? lLayer->GetUVs(MoxLayerElement::EType(c)) : nullptr));
    for (int l = 0; l < pMesh.GetLayerCount(); ++l)
        lState.mSmoothing.push_back(Capture<int>(pMesh.GetLayer(l)->GetSmoothing()));
    for (int s = 0; s < pMesh.GetDeformerCount(MoxDeformer::eSkin); ++s) {
        const MoxSkin* lSkin = static_cast<const MoxSkin*>(pMesh.GetDeformer(s, MoxDeformer::eSkin));
        for (int k = 0; k < lSkin->GetClusterCount(); ++k) lState.mClusters.push_back(Capture(*lSkin->GetCluster(k)));
    }
    moxoracle::ForEachShape(pMesh, &moxoracle::SplitReport,
                            [&lState](MoxShape& pShape) { lState.mShapes.push_back(Capture(pShape)); });
    return lState;
}

void ExpectSameState(const MeshState& pA, const MeshState& pB, const std::string& pContext)
{
    EXPECT_EQ(pA.mPoints, pB.mPoints) << pContext;
    EXPECT_EQ(pA.mPolygonVertices, pB.mPolygonVertices) << pContext;
    EXPECT_EQ(pA.mPolygons, pB.mPolygons) << pContext;
    EXPECT_EQ(pA.mEdges, pB.mEdges) << pContext;
    EXPECT_EQ(pA.mLayerCount, pB.mLayerCount) << pContext;
    EXPECT_TRUE(pA.mNormals == pB.mNormals) << pContext;
    EXPECT_TRUE(pA.mUVs == pB.mUVs) << pContext;
    EXPECT_TRUE(pA.mSmoothing == pB.mSmoothing) << pContext;
    EXPECT_TRUE(pA.mClusters == pB.mClusters) << pContext;
    ASSERT_EQ(pA.mShapes.size(), pB.mShapes.size()) << pContext;
    for (size_t s = 0; s < pA.mShapes.size(); ++s) {
        EXPECT_EQ(pA.mShapes[s].mPoints, pB.mShapes[s].mPoints) << pContext << " shape " << s;
        EXPECT_TRUE(pA.mShapes[s].mNormals == pB.mShapes[s].mNormals) << pContext << " shape " << s;
        EXPECT_TRUE(pA.mShapes[s].mUVs == pB.mShapes[s].mUVs) << pContext << " shape " << s;
    }
}

// Every report (file, function and message; lines differ between the library and the oracle), in order.
std::vector<std::string> AllReports(const moxtest::ReportCapture& pCapture)
{
    std::vector<std::string> lReports;
    for (const moxtest::Report& lReport : pCapture.Reports())
        lReports.push_back(lReport.mFile + " " + lReport.mFunction + ": " + lReport.mMessage);
    return lReports;
}

// The reports of the operation itself (not those of the arrays or of the lookups it calls), in order.
std::vector<std::string> OwnReports(const moxtest::ReportCapture& pCapture)
{
    std::vector<std::string> lReports;
    for (const moxtest::Report& lReport : pCapture.Reports())
        if (lReport.mFunction == "SplitPoints" || lReport.mFunction == "MergePointsForPolygonVerteNormals")
            lReports.push_back(lReport.mFunction + ": " + lReport.mMessage);
    return lReports;
}

// ---- Fixture content --------------------------------------------------------------------------------------

MoxLayerElementNormal* SetNormals(MoxMesh& pMesh, MoxLayerElement::EMappingMode pMapping,
                                  MoxLayerElement::EReferenceMode pReference, const std::vector<MoxVector4>& pDirect,
                                  const std::vector<int>& pIndex = {})
{
    MoxLayerElementNormal* lNormals = MoxLayerElementNormal::Create(&pMesh, "");
    pMesh.GetLayer(0)->SetNormals(lNormals);
    lNormals->SetMappingMode(pMapping);
    lNormals->SetReferenceMode(pReference);
    for (const MoxVector4& lValue : pDirect) lNormals->mDirectArray->Add(lValue);
    for (int lIndex : pIndex) lNormals->mIndexArray->Add(lIndex);
    return lNormals;
}

MoxLayerElementUV* SetUVs(MoxLayerContainer& pContainer, MoxLayerElement::EType pType,
                          MoxLayerElement::EMappingMode pMapping, MoxLayerElement::EReferenceMode pReference,
                          const std::vector<MoxVector2>& pDirect, const std::vector<int>& pIndex = {})
{
    if (pContainer.GetLayerCount() == 0) pContainer.CreateLayer();
    MoxLayerElementUV* lUVs = MoxLayerElementUV::Create(&pContainer, "");
    pContainer.GetLayer(0)->SetUVs(lUVs, pType);
    lUVs->SetMappingMode(pMapping);
    lUVs->SetReferenceMode(pReference);
    for (const MoxVector2& lValue : pDirect) lUVs->mDirectArray->Add(lValue);
    for (int lIndex : pIndex) lUVs->mIndexArray->Add(lIndex);
    return lUVs;
}

// Normal k of a fixture: a distinct exact value.
MoxVector4 N(int pK)
{
    return MoxVector4(pK, -pK, 0.5 * pK, 1.0);
}

MoxVector2 UV(int pK)
{
    return MoxVector2(pK, 0.25 * pK);
}

std::vector<MoxVector4> Normals(int pCount)
{
    std::vector<MoxVector4> lValues;
    lValues.reserve(pCount);
    for (int k = 0; k < pCount; ++k) lValues.push_back(N(k));
    return lValues;
}

std::vector<MoxVector2> UVs(int pCount)
{
    std::vector<MoxVector2> lValues;
    lValues.reserve(pCount);
    for (int k = 0; k < pCount; ++k) lValues.push_back(UV(k));
    return lValues;
}

std::vector<int> Iota(int pCount, int pFirst = 0)
{
    std::vector<int> lValues;
    lValues.reserve(pCount);
    for (int k = 0; k < pCount; ++k) lValues.push_back(pFirst + k);
    return lValues;
}

MoxCluster* AddCluster(moxtest::ManagerScope& pScope, MoxSkin& pSkin, const std::vector<std::pair<int, double>>& pPairs)
{
    MoxCluster* lCluster = MoxCluster::Create(pScope.Get(), "cluster");
    pSkin.AddCluster(lCluster);
    for (const auto& lPair : pPairs) lCluster->AddControlPointIndex(lPair.first, lPair.second);
    return lCluster;
}

MoxShape* AddShape(moxtest::ManagerScope& pScope, MoxMesh& pMesh, MoxBlendShape*& pBlend,
                   const std::vector<MoxVector4>& pPoints)
{
    if (!pBlend) {
        pBlend = MoxBlendShape::Create(pScope.Get(), "blend");
        pMesh.AddDeformer(pBlend);
        pBlend->AddBlendShapeChannel(MoxBlendShapeChannel::Create(pScope.Get(), "channel"));
    }
    MoxShape* lShape = MoxShape::Create(pScope.Get(), "shape");
    pBlend->GetBlendShapeChannel(0)->AddTargetShape(lShape);
    lShape->InitControlPoints(int(pPoints.size()));
    for (size_t i = 0; i < pPoints.size(); ++i) lShape->SetControlPointAt(pPoints[i], int(i));
    return lShape;
}

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

// Points for an empty polygon that shares its start with the one-vertex polygon after it: the edge of
// that start is resolved (by the binary search of polygon ranges) to the empty polygon, whose next vertex is
// past the polygon vertices. Searches for other control points never reach that edge, and read nothing
// outside the polygon vertices.
const std::vector<moxtest::Point> sgEmptyBeforeOnePoints = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {2, 2, 0}};

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

// Random layer content, edges and deformers, drawn from pRandom; the same seed gives the same mesh.
void AddRandomContent(moxtest::ManagerScope& pScope, MoxMesh& pMesh, std::mt19937& pRandom,
                      MoxLayerElement::EType pType)
{
    auto lInt = [&pRandom](int pLow, int pHigh) { return std::uniform_int_distribution<int>(pLow, pHigh)(pRandom); };
    const int n = pMesh.GetControlPointsCount();
    const int lVertexCount = pMesh.GetPolygonVertexCount();
    if (!pMesh.GetLayer(0) && lInt(0, 3) > 0) pMesh.CreateLayer();
    if (pMesh.GetLayer(0)) {
        const int lNormalKind = lInt(0, 6);
        const int lDirectCount = lInt(0, std::max(n, lVertexCount) + 2);
        std::vector<int> lIndex;
        lIndex.reserve(std::max(n, lVertexCount) + 1);  // the most the loop can add, without a draw
        for (int i = 0; i < std::max(n, lVertexCount) + lInt(-2, 1); ++i) lIndex.push_back(lInt(-1, lDirectCount));
        switch (lNormalKind) {
            case 1:
                SetNormals(pMesh, MoxLayerElement::eByPolygonVertex, MoxLayerElement::eDirect, Normals(lVertexCount));
                break;
            case 2:
                SetNormals(pMesh, MoxLayerElement::eByPolygonVertex, MoxLayerElement::eIndexToDirect,
                           Normals(lDirectCount), lIndex);
                break;
            case 3:
                SetNormals(pMesh, MoxLayerElement::eByControlPoint, MoxLayerElement::eDirect, Normals(lDirectCount));
                break;
            case 4:
                SetNormals(pMesh, MoxLayerElement::eByControlPoint, MoxLayerElement::eIndexToDirect,
                           Normals(lDirectCount), lIndex);
                break;
            case 5:
                SetNormals(pMesh, MoxLayerElement::eByPolygon, MoxLayerElement::eDirect,
                           Normals(pMesh.GetPolygonCount()));
                break;
            case 6:
                SetNormals(pMesh, MoxLayerElement::eByEdge, MoxLayerElement::eDirect, Normals(3));
                break;
            default:
                break;
        }
        const int lUVKind = lInt(0, 3);
        const int lUVCount = lInt(0, lVertexCount + 2);
        std::vector<int> lUVIndex;
        lUVIndex.reserve(lVertexCount);  // the most the loop can add, without a draw
        for (int i = 0; i < lVertexCount + lInt(-2, 0); ++i) lUVIndex.push_back(lInt(-1, lUVCount));
        if (lUVKind == 1)
            SetUVs(pMesh, pType, MoxLayerElement::eByPolygonVertex, MoxLayerElement::eIndexToDirect, UVs(lUVCount),
                   lUVIndex);
        if (lUVKind == 2)
            SetUVs(pMesh, pType, MoxLayerElement::eByControlPoint, MoxLayerElement::eDirect, UVs(lUVCount));
        if (lUVKind == 3)
            SetUVs(pMesh, pType, MoxLayerElement::eByPolygon, MoxLayerElement::eIndexToDirect, UVs(lUVCount), lUVIndex);
        if (lInt(0, 2) == 0) {
            const int lLayer = lInt(0, 1);
            while (pMesh.GetLayerCount() <= lLayer) pMesh.CreateLayer();
            pMesh.GetLayer(lLayer)->SetSmoothing(MoxLayerElementSmoothing::Create(&pMesh, ""));
        }
    }
    const int lEdgeKind = lInt(0, 4);
    if (lEdgeKind >= 1) pMesh.BuildMeshEdgeArray();
    if (lEdgeKind == 4) {  // each edge named by a random side joining the same two control points
        std::vector<std::pair<int, int>> lSides;
        for (int p = 0; p < pMesh.GetPolygonCount(); ++p) {
            const int lSize = pMesh.GetPolygonSize(p);
            for (int i = 0; i < lSize; ++i) {
                const int lA = pMesh.GetPolygonVertex(p, i);
                const int lB = pMesh.GetPolygonVertex(p, (i + 1) % lSize);
                lSides.emplace_back(std::min(lA, lB), std::max(lA, lB));
            }
        }
        for (int e = 0; e < pMesh.mEdgeArray.GetCount(); ++e) {
            std::vector<int> lSame;
            for (size_t v = 0; v < lSides.size(); ++v)
                if (lSides[v] == lSides[size_t(pMesh.mEdgeArray[e])]) lSame.push_back(int(v));
            pMesh.mEdgeArray[e] = lSame[size_t(lInt(0, int(lSame.size()) - 1))];
        }
    }
    if (lEdgeKind == 2) {  // a partial, reordered edge array
        std::vector<int> lEdges = ToVector(pMesh.mEdgeArray);
        std::shuffle(lEdges.begin(), lEdges.end(), pRandom);
        lEdges.resize(lEdges.size() / 2);
        pMesh.mEdgeArray.Clear();
        for (int lEdge : lEdges) pMesh.mEdgeArray.Add(lEdge);
    }
    if (lEdgeKind == 3 && lVertexCount > 0) {  // repeated starts and starts outside the polygon vertices
        for (int k = 0; k < 3; ++k) pMesh.mEdgeArray.Add(lInt(0, lVertexCount - 1));
        pMesh.mEdgeArray.Add(lInt(0, 1) ? -1 : lVertexCount);
    }
    for (int s = lInt(0, 2); s > 0; --s) {
        MoxSkin* lSkin = MoxSkin::Create(pScope.Get(), "skin");
        pMesh.AddDeformer(lSkin);
        for (int k = lInt(0, 3); k > 0; --k) {
            std::vector<std::pair<int, double>> lPairs;
            for (int i = lInt(0, 8); i > 0; --i) lPairs.emplace_back(lInt(-1, n + 1), lInt(0, 8) / 8.0);
            AddCluster(pScope, *lSkin, lPairs);
        }
    }
    MoxBlendShape* lBlend = nullptr;
    for (int s = lInt(0, 3); s > 0; --s) {
        std::vector<MoxVector4> lPoints;
        for (int i = lInt(0, n + 3); i > 0; --i) lPoints.emplace_back(lInt(0, 9), lInt(0, 9), s, 1);
        MoxShape* lShape = AddShape(pScope, pMesh, lBlend, lPoints);
        const int lNormalKind = lInt(0, 2);
        if (lNormalKind >= 1) lShape->InitNormals(lNormalKind == 2 ? int(lPoints.size()) + 1 : 0);
        if (lNormalKind >= 1)
            for (int i = 0; i < lShape->GetLayer(0)->GetNormals()->mDirectArray->GetCount(); ++i)
                lShape->GetLayer(0)->GetNormals()->mDirectArray->SetAt(i, N(i + 3 * s));
        if (lInt(0, 1))
            SetUVs(*lShape, pType, MoxLayerElement::eByControlPoint, MoxLayerElement::eDirect, UVs(lInt(0, 40)));
    }
}

moxtest::RandomMeshOptions RandomOptions(std::mt19937& pRandom)
{
    moxtest::RandomMeshOptions lOptions;
    lOptions.mMaxPoints = std::uniform_int_distribution<int>(0, 3)(pRandom) == 0 ? 120 : 25;
    lOptions.mMaxPolygons = lOptions.mMaxPoints;
    lOptions.mInvalidIndices = std::uniform_int_distribution<int>(0, 5)(pRandom) == 0;
    return lOptions;
}

// Builds the same random scenario into a fresh mesh each time it is called with the same seed.
MoxMesh* RandomScenario(moxtest::ManagerScope& pScope, unsigned pSeed, MoxLayerElement::EType pType)
{
    std::mt19937 lRandom(pSeed);
    MoxMesh* lMesh = pScope.NewMesh();
    moxtest::MakeRandomMesh(*lMesh, lRandom, RandomOptions(lRandom));
    // In one scenario of three, empty polygons each followed by a polygon of one vertex: the edge at their
    // shared start may resolve to the empty polygon, whose next vertex lies past the polygon vertices.
    if (lMesh->GetControlPointsCount() > 0 && lRandom() % 3 == 0)
        for (int k = std::uniform_int_distribution<int>(1, 3)(lRandom); k > 0; --k) {
            lMesh->BeginPolygon(-1, -1, -1, true);
            lMesh->EndPolygon();
            lMesh->BeginPolygon(-1, -1, -1, true);
            lMesh->AddPolygon(std::uniform_int_distribution<int>(0, lMesh->GetControlPointsCount() - 1)(lRandom), -1);
            lMesh->EndPolygon();
        }
    AddRandomContent(pScope, *lMesh, lRandom, pType);
    return lMesh;
}

TEST(MoxMeshSplitOracle, SplitMatchesThePlainAlgorithmOnRandomMeshes)
{
    int lSplits = 0;
    for (unsigned lSeed = 1; lSeed <= 400; ++lSeed) {
        const MoxLayerElement::EType lType = lSeed % 5 == 0 ? MoxLayerElement::eTextureChannel1 : sgUV0;
        moxtest::ManagerScope lScope;
        MoxMesh* lFast = RandomScenario(lScope, lSeed, lType);
        MoxMesh* lPlain = RandomScenario(lScope, lSeed, lType);
        bool lFastResult;
        bool lPlainResult;
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
        lSplits += lFastResult;
        if (HasFailure()) return;
    }
    EXPECT_GT(lSplits, 200);
}

TEST(MoxMeshSplitOracle, MergeMatchesThePlainAlgorithmOnRandomMeshes)
{
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
        MoxArray<int> lPlainList(lList);
        std::vector<std::string> lFastReports;
        std::vector<std::string> lPlainReports;
        {
            moxtest::ReportCapture lReports;
            lFast->MergePointsForPolygonVerteNormals(lList);
            lFastReports = AllReports(lReports);
        }
        {
            moxtest::ReportCapture lReports;
            moxoracle::MergePoints(*lPlain, lPlainList);
            lPlainReports = AllReports(lReports);
        }
        const std::string lContext = "seed " + std::to_string(lSeed);
        EXPECT_EQ(lFastReports, lPlainReports) << lContext;
        ExpectSameState(Capture(*lFast), Capture(*lPlain), lContext);
        if (HasFailure()) return;
    }
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

        ASSERT_TRUE(lMesh->SplitPoints());
        EXPECT_EQ(lMesh->GetMeshEdgeCount(), lVertexCount);
        MoxArray<int> lList;
        lMesh->BuildMergeList(lList);
        lMesh->MergePointsForPolygonVerteNormals(lList);

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
