#pragma once
// Shared by the point split and vertex merge tests: snapshots of everything the two may change, fixture
// content, and the random scenarios of the oracle comparisons.

#include <gtest/gtest.h>

#include <algorithm>
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

namespace moxsplittest {

using namespace moxsdk;

constexpr const char* sgFile = "scene/geometry/moxmesh";
constexpr MoxLayerElement::EType sgUV0 = MoxLayerElement::eTextureChannel0;

// Points for an empty polygon that shares its start with the one-vertex polygon after it: the edge of
// that start is resolved (by the binary search of polygon ranges) to the empty polygon, whose next vertex is
// past the polygon vertices. Searches for other control points never reach that edge, and read nothing
// outside the polygon vertices.
inline const std::vector<moxtest::Point> sgEmptyBeforeOnePoints = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {2, 2, 0}};

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
inline std::vector<T> Values(const MoxLayerElementArrayTemplate<T>& pArray)
{
    std::vector<T> lValues;
    lValues.reserve(pArray.GetCount());
    for (int i = 0; i < pArray.GetCount(); ++i) lValues.push_back(pArray.GetAt(i));
    return lValues;
}

template <class T>
inline ElementState<T> Capture(const MoxLayerElementTemplate<T>* pElement)
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

inline std::vector<MoxVector4> Points(const MoxGeometryBase& pGeometry)
{
    std::vector<MoxVector4> lPoints;
    lPoints.reserve(pGeometry.GetControlPointsCount());
    for (int i = 0; i < pGeometry.GetControlPointsCount(); ++i) lPoints.push_back(pGeometry.GetControlPointAt(i));
    return lPoints;
}

inline std::vector<int> ToVector(const MoxArray<int>& pArray)
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

inline ClusterState Capture(const MoxCluster& pCluster)
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

inline ShapeState Capture(const MoxShape& pShape)
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

inline MeshState Capture(MoxMesh& pMesh)
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

inline void ExpectSameState(const MeshState& pA, const MeshState& pB, const std::string& pContext)
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
inline std::vector<std::string> AllReports(const moxtest::ReportCapture& pCapture)
{
    std::vector<std::string> lReports;
    for (const moxtest::Report& lReport : pCapture.Reports())
        lReports.push_back(lReport.mFile + " " + lReport.mFunction + ": " + lReport.mMessage);
    return lReports;
}

// The reports of the operation itself (not those of the arrays or of the lookups it calls), in order.
inline std::vector<std::string> OwnReports(const moxtest::ReportCapture& pCapture)
{
    std::vector<std::string> lReports;
    for (const moxtest::Report& lReport : pCapture.Reports())
        if (lReport.mFunction == "SplitPoints" || lReport.mFunction == "MergePointsForPolygonVerteNormals")
            lReports.push_back(lReport.mFunction + ": " + lReport.mMessage);
    return lReports;
}

// ---- Fixture content --------------------------------------------------------------------------------------

inline MoxLayerElementNormal* SetNormals(MoxMesh& pMesh, MoxLayerElement::EMappingMode pMapping,
                                         MoxLayerElement::EReferenceMode pReference,
                                         const std::vector<MoxVector4>& pDirect, const std::vector<int>& pIndex = {})
{
    MoxLayerElementNormal* lNormals = MoxLayerElementNormal::Create(&pMesh, "");
    pMesh.GetLayer(0)->SetNormals(lNormals);
    lNormals->SetMappingMode(pMapping);
    lNormals->SetReferenceMode(pReference);
    for (const MoxVector4& lValue : pDirect) lNormals->mDirectArray->Add(lValue);
    for (int lIndex : pIndex) lNormals->mIndexArray->Add(lIndex);
    return lNormals;
}

inline MoxLayerElementUV* SetUVs(MoxLayerContainer& pContainer, MoxLayerElement::EType pType,
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
inline MoxVector4 N(int pK)
{
    return MoxVector4(pK, -pK, 0.5 * pK, 1.0);
}

inline MoxVector2 UV(int pK)
{
    return MoxVector2(pK, 0.25 * pK);
}

inline std::vector<MoxVector4> Normals(int pCount)
{
    std::vector<MoxVector4> lValues;
    lValues.reserve(pCount);
    for (int k = 0; k < pCount; ++k) lValues.push_back(N(k));
    return lValues;
}

inline std::vector<MoxVector2> UVs(int pCount)
{
    std::vector<MoxVector2> lValues;
    lValues.reserve(pCount);
    for (int k = 0; k < pCount; ++k) lValues.push_back(UV(k));
    return lValues;
}

inline std::vector<int> Iota(int pCount, int pFirst = 0)
{
    std::vector<int> lValues;
    lValues.reserve(pCount);
    for (int k = 0; k < pCount; ++k) lValues.push_back(pFirst + k);
    return lValues;
}

inline MoxCluster* AddCluster(moxtest::ManagerScope& pScope, MoxSkin& pSkin,
                              const std::vector<std::pair<int, double>>& pPairs)
{
    MoxCluster* lCluster = MoxCluster::Create(pScope.Get(), "cluster");
    pSkin.AddCluster(lCluster);
    for (const auto& lPair : pPairs) lCluster->AddControlPointIndex(lPair.first, lPair.second);
    return lCluster;
}

inline MoxShape* AddShape(moxtest::ManagerScope& pScope, MoxMesh& pMesh, MoxBlendShape*& pBlend,
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

// ---- What split and merge promise to keep -----------------------------------------------------------------

// Whether no control point is used by two polygon vertices (as after a split): on such a mesh of
// well-formed topology, a merge by a list that BuildMergeList made keeps the topology well-formed. On
// meshes with shared points it promises nothing (it rewrites only a point's first polygon vertex).
inline bool HasOnePolygonVertexPerControlPoint(const MoxMesh& pMesh)
{
    if (!pMesh.HasWellFormedTopology()) return false;
    std::vector<bool> lUsed(size_t(pMesh.GetControlPointsCount()), false);
    for (int k = 0; k < pMesh.mPolygonVertices.GetCount(); ++k) {
        const size_t lPoint = size_t(pMesh.mPolygonVertices[k]);
        if (lUsed[lPoint]) return false;
        lUsed[lPoint] = true;
    }
    return true;
}

// ---- Random scenarios of the oracle comparisons ----------------------------------------------------------

// Random layer content, edges and deformers, drawn from pRandom; the same seed gives the same mesh.
inline void AddRandomContent(moxtest::ManagerScope& pScope, MoxMesh& pMesh, std::mt19937& pRandom,
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
            for (int i = lInt(0, 8); i > 0; --i) {
                const int lPoint = lInt(-1, n + 1);  // drawn before the weight, as the scenarios always were
                lPairs.emplace_back(lPoint, lInt(0, 8) / 8.0);
            }
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

inline moxtest::RandomMeshOptions RandomOptions(std::mt19937& pRandom)
{
    moxtest::RandomMeshOptions lOptions;
    lOptions.mMaxPoints = std::uniform_int_distribution<int>(0, 3)(pRandom) == 0 ? 120 : 25;
    lOptions.mMaxPolygons = lOptions.mMaxPoints;
    lOptions.mInvalidIndices = std::uniform_int_distribution<int>(0, 5)(pRandom) == 0;
    return lOptions;
}

// Builds the same random scenario into a fresh mesh each time it is called with the same seed.
inline MoxMesh* RandomScenario(moxtest::ManagerScope& pScope, unsigned pSeed, MoxLayerElement::EType pType)
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

}  // namespace moxsplittest
