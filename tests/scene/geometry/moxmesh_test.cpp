#include "moxsdk/scene/geometry/moxmesh.h"

#include <gtest/gtest.h>

#include "moxsdk/core/moxmemory.h"
#include "moxsdk/scene/moxblendshape.h"
#include "moxsdk/scene/moxblendshapechannel.h"
#include "moxsdk/scene/moxcluster.h"
#include "moxsdk/scene/moxnode.h"
#include "moxsdk/scene/moxshape.h"
#include "moxsdk/scene/moxskin.h"
#include "support/moxtestmeshes.h"
#include "support/moxtestsupport.h"

using namespace moxsdk;

namespace {

const char* const sgMeshFile = "scene/geometry/moxmesh";
const char* const sgArrayFile = "core/base/moxarray";

// Re-exports the protected members the tests call. Built on the stack: no manager tracks it.
class TestMesh : public MoxMesh {
public:
    using MoxMesh::GetIndex;
    using MoxMesh::MoxMesh;
};

// Every subdivision setting at a non-default value.
void SetAllSettings(MoxMesh& pMesh)
{
    pMesh.SetMeshSmoothness(MoxMesh::eFine);
    pMesh.SetMeshPreviewDivisionLevels(2);
    pMesh.SetMeshRenderDivisionLevels(5);
    pMesh.SetDisplaySubdivisions(true);
    pMesh.SetBoundaryRule(MoxMesh::eCreaseEdge);
    pMesh.SetPreserveBorders(true);
    pMesh.SetPreserveHardEdges(true);
    pMesh.SetPropagateEdgeHardness(true);
}

void ExpectDefaultSettings(const MoxMesh& pMesh)
{
    EXPECT_EQ(pMesh.GetMeshSmoothness(), MoxMesh::eSmoothnessDefault);
    EXPECT_EQ(pMesh.GetMeshPreviewDivisionLevels(), 0);
    EXPECT_EQ(pMesh.GetMeshRenderDivisionLevels(), 0);
    EXPECT_FALSE(pMesh.GetDisplaySubdivisions());
    EXPECT_EQ(pMesh.GetBoundaryRule(), MoxMesh::eBoundaryRuleDefault);
    EXPECT_FALSE(pMesh.GetPreserveBorders());
    EXPECT_FALSE(pMesh.GetPreserveHardEdges());
    EXPECT_FALSE(pMesh.GetPropagateEdgeHardness());
}

void ExpectEmpty(const MoxMesh& pMesh)
{
    EXPECT_EQ(pMesh.GetPolygonCount(), 0);
    EXPECT_EQ(pMesh.GetPolygonVertexCount(), 0);
    EXPECT_EQ(pMesh.GetMeshEdgeCount(), 0);
    EXPECT_EQ(pMesh.GetControlPointsCount(), 0);
    EXPECT_EQ(pMesh.GetLayerCount(), 0);
    ExpectDefaultSettings(pMesh);
}

// The three blocks of an unfinished edge-adding pass. (The edge set's records come from a pool that
// returns memory only when the mesh goes, so tests that count blocks across a Reset fill it before
// counting.)
void FillV2PVMap(MoxMesh& pMesh)
{
    pMesh.mV2PVMap.mVertex2PV = static_cast<MoxPair<int, int>*>(MoxMalloc(4 * sizeof(MoxPair<int, int>)));
    pMesh.mV2PVMap.mVertex2PVOffset = static_cast<int*>(MoxMalloc(5 * sizeof(int)));
    pMesh.mV2PVMap.mVertex2PVCount = static_cast<int*>(MoxMalloc(4 * sizeof(int)));
    pMesh.mV2PVMap.mValid = true;
}

// Polygons with groups, polygon vertices, an edge array, control points, a layer, and filled caches.
void MakeBusyMesh(MoxMesh& pMesh)
{
    moxtest::MakeCube(pMesh);
    pMesh.mPolygons[1].mGroup = 4;
    pMesh.mPolygons[5].mGroup = 9;
    for (int e = 0; e < 12; ++e) pMesh.mEdgeArray.Add(e * 2);
    pMesh.mV2PVMap.mPVToEdge.Add(3);
    pMesh.mEdgeLookup.mClosingVertex.Add(-1);
    pMesh.mEdgeLookup.mValid = true;
    SetAllSettings(pMesh);
}

// ---- Creation and identity -------------------------------------------------------------------------

TEST(MoxMeshLifecycle, FreshMeshIsEmptyWithDefaultSettings)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    ASSERT_NE(lMesh, nullptr);
    ExpectEmpty(*lMesh);
    EXPECT_EQ(lMesh->mPolygonsAux, nullptr);
    EXPECT_EQ(lMesh->mPolygonVerticesAux, nullptr);
    EXPECT_EQ(lMesh->mAuxCount, 0);
    EXPECT_FALSE(lMesh->mV2PVMap.mValid);
    EXPECT_FALSE(lMesh->mEdgeLookup.mValid);
    EXPECT_EQ(lMesh->GetPolygonVertices(), nullptr);
    EXPECT_TRUE(lMesh->GetObjectFlags(1));
}

TEST(MoxMeshLifecycle, IdentityAndAttributeType)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh("named");
    EXPECT_EQ(lMesh->GetClassId(), MoxMesh::ClassId);
    EXPECT_TRUE(lMesh->Is(MoxGeometry::ClassId));
    EXPECT_EQ(static_cast<int>(lMesh->GetAttributeType()), 4);
    EXPECT_STREQ(lMesh->GetName(), "named");
    EXPECT_EQ(lMesh->GetMoxManager(), lScope.Get());
}

TEST(MoxMeshLifecycle, CreateWithNullContainerReportsAndReturnsNull)
{
    moxtest::ReportCapture lReports;
    EXPECT_EQ(MoxMesh::Create(static_cast<MoxObject*>(nullptr), "mesh"), nullptr);
    EXPECT_TRUE(lReports.HasOnly(sgMeshFile, "Create", "pContainer && pContainer->GetMoxManager()"));
}

TEST(MoxMeshLifecycle, CreateInContainerAndWithoutManager)
{
    moxtest::ManagerScope lScope;
    MoxNode* lNode = MoxNode::Create(lScope.Get(), "node");
    moxtest::ReportCapture lReports;
    MoxMesh* lMesh = MoxMesh::Create(lNode, "inside");
    ASSERT_NE(lMesh, nullptr);
    EXPECT_EQ(lMesh->GetContainer(), lNode);
    EXPECT_EQ(lMesh->GetMoxManager(), lScope.Get());
    EXPECT_EQ(MoxMesh::Create(static_cast<MoxManager*>(nullptr), "none"), nullptr);
    EXPECT_EQ(lReports.Count(), 0u);
}

TEST(MoxMeshLifecycle, AllocateConstructsAndFlags)
{
    moxtest::ManagerScope lScope;
    MoxObject* lObject = MoxMesh::Allocate(*lScope.Get(), "allocated", nullptr);
    ASSERT_NE(lObject, nullptr);
    EXPECT_TRUE(lObject->GetObjectFlags(1));
    EXPECT_EQ(lObject->GetClassId(), MoxMesh::ClassId);
    ExpectEmpty(*static_cast<MoxMesh*>(lObject));
    // Not tracked by the manager: destroy it by hand.
    MoxDelete(lObject);
}

// ---- Reset, ContentClear, Compact -------------------------------------------------------------------

TEST(MoxMeshLifecycle, ResetReturnsToFreshStateAndReleasesMemory)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    MakeBusyMesh(*lMesh);
    lMesh->BeginPolygon(3, 2, 1, true);
    lMesh->AddPolygon(0, 0);
    lMesh->mPolygonsAux = MoxNew<MoxArray<MoxMesh::PolygonDef>>();
    lMesh->mPolygonVerticesAux = MoxNew<MoxArray<int>>();
    lMesh->mAuxCount = 6;
    FillV2PVMap(*lMesh);
    lMesh->mV2PVMap.mEdgeSet.Insert(MoxPair<int, int>(0, 1));
    ASSERT_GT(lMesh->GetLayerCount(), 0);

    lMesh->Reset();
    ExpectEmpty(*lMesh);
    EXPECT_EQ(lMesh->mPolygons.GetCapacity(), 0);
    EXPECT_EQ(lMesh->mPolygonVertices.GetCapacity(), 0);
    EXPECT_EQ(lMesh->mEdgeArray.GetCapacity(), 0);
    EXPECT_EQ(lMesh->GetControlPoints(), nullptr);
    EXPECT_EQ(lMesh->mPolygonsAux, nullptr);
    EXPECT_EQ(lMesh->mPolygonVerticesAux, nullptr);
    // Kept as it was.
    EXPECT_EQ(lMesh->mAuxCount, 6);
    EXPECT_FALSE(lMesh->mV2PVMap.mValid);
    EXPECT_EQ(lMesh->mV2PVMap.mVertex2PV, nullptr);
    EXPECT_EQ(lMesh->mV2PVMap.mVertex2PVOffset, nullptr);
    EXPECT_EQ(lMesh->mV2PVMap.mVertex2PVCount, nullptr);
    EXPECT_EQ(lMesh->mV2PVMap.mEdgeSet.GetSize(), 0);
    // The edge numbers per polygon vertex are left as they are.
    ASSERT_EQ(lMesh->mV2PVMap.mPVToEdge.GetCount(), 1);
    EXPECT_EQ(lMesh->mV2PVMap.mPVToEdge[0], 3);
    EXPECT_FALSE(lMesh->mEdgeLookup.mValid);
    EXPECT_EQ(lMesh->mEdgeLookup.mClosingVertex.GetCapacity(), 0);
}

// The blocks of an unfinished edge-adding pass are freed by Reset (not merely dropped).
TEST(MoxMeshLifecycle, ResetFreesTheV2PVBlocks)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeQuad(*lMesh);
    lMesh->mV2PVMap.mEdgeSet.Insert(MoxPair<int, int>(2, 3));
    moxtest::AllocationTracker lTracker;
    FillV2PVMap(*lMesh);
    EXPECT_EQ(lTracker.Live(), 3);
    lMesh->Reset();
    EXPECT_EQ(lTracker.Live(), 0);
    EXPECT_EQ(lMesh->mV2PVMap.mEdgeSet.GetSize(), 0);
}

TEST(MoxMeshLifecycle, DestroyFreesTheV2PVBlocks)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeQuad(*lMesh);
    moxtest::AllocationTracker lTracker;
    FillV2PVMap(*lMesh);
    lMesh->Destroy();
    EXPECT_EQ(lTracker.Live(), 0);
    EXPECT_EQ(lScope.Get()->GetObjectCount(), 0);
}

// The destructor frees the blocks even when Destruct did not run first.
TEST(MoxMeshLifecycle, DestructorFreesTheV2PVBlocks)
{
    moxtest::ManagerScope lScope;
    moxtest::AllocationTracker lTracker;
    {
        TestMesh lMesh(*lScope.Get(), "stack");
        FillV2PVMap(lMesh);
        EXPECT_GE(lTracker.Live(), 3);
    }
    EXPECT_EQ(lTracker.Live(), 0);
}

TEST(MoxMeshLifecycle, ContentClearKeepsTopologyLayersAndSettings)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    MakeBusyMesh(*lMesh);
    lMesh->InitMaterialIndices(MoxLayerElement::eByPolygon);
    lMesh->mPolygonsAux = MoxNew<MoxArray<MoxMesh::PolygonDef>>();
    lMesh->mPolygonVerticesAux = MoxNew<MoxArray<int>>();
    lMesh->mPolygonVerticesAux->Add(1);
    lMesh->mAuxCount = 3;

    lMesh->ContentClear();
    EXPECT_EQ(lMesh->mPolygonsAux, nullptr);
    EXPECT_EQ(lMesh->mPolygonVerticesAux, nullptr);
    EXPECT_EQ(lMesh->mAuxCount, 0);
    EXPECT_EQ(lMesh->GetPolygonCount(), 6);
    EXPECT_EQ(lMesh->GetPolygonVertexCount(), 24);
    EXPECT_EQ(lMesh->GetPolygonGroup(1), 4);
    EXPECT_EQ(lMesh->GetMeshEdgeCount(), 12);
    EXPECT_EQ(lMesh->GetLayerCount(), 1);
    EXPECT_NE(lMesh->GetLayer(0)->GetMaterials(), nullptr);
    EXPECT_EQ(lMesh->GetMeshSmoothness(), MoxMesh::eFine);
    EXPECT_EQ(lMesh->GetMeshRenderDivisionLevels(), 5);
    EXPECT_TRUE(lMesh->GetPropagateEdgeHardness());
    // The geometry base releases its loadable content: the control points.
    EXPECT_EQ(lMesh->GetControlPointsCount(), 0);
}

TEST(MoxMeshLifecycle, CompactLeavesCapacityEqualToSize)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    MakeBusyMesh(*lMesh);
    lMesh->mV2PVMap.mPVToEdge.Add(4);
    lMesh->mV2PVMap.mPVToEdge.Add(5);
    lMesh->mEdgeLookup.mClosingVertex.Add(2);
    lMesh->mEdgeLookup.mClosingVertex.Add(3);
    lMesh->SetControlPointCount(5);
    ASSERT_NE(lMesh->mPolygons.GetCapacity(), lMesh->mPolygons.GetCount());

    lMesh->Compact();
    EXPECT_EQ(lMesh->mPolygons.GetCapacity(), 6);
    EXPECT_EQ(lMesh->mPolygonVertices.GetCapacity(), 24);
    EXPECT_EQ(lMesh->mEdgeArray.GetCapacity(), 12);
    EXPECT_EQ(lMesh->mV2PVMap.mPVToEdge.GetCapacity(), 3);
    EXPECT_EQ(lMesh->mEdgeLookup.mClosingVertex.GetCapacity(), 3);
    EXPECT_EQ(lMesh->GetControlPointsCount(), 5);
    EXPECT_EQ(lMesh->GetPolygonVertex(5, 3), 5);
}

// ---- Copy -------------------------------------------------------------------------------------------

TEST(MoxMeshCopy, FromANonCopyableObjectLeavesTheTargetUntouched)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeQuad(*lMesh);
    lMesh->SetMeshRenderDivisionLevels(3);
    MoxShape* lShape = MoxShape::Create(lScope.Get(), "shape");
    lShape->InitControlPoints(9);
    MoxNode* lNode = MoxNode::Create(lScope.Get(), "node");

    EXPECT_EQ(&lMesh->Copy(*lShape), lMesh);
    EXPECT_EQ(&lMesh->Copy(*lNode), lMesh);
    EXPECT_EQ(lMesh->GetPolygonCount(), 1);
    EXPECT_EQ(lMesh->GetPolygonVertexCount(), 4);
    EXPECT_EQ(lMesh->GetControlPointsCount(), 4);
    EXPECT_EQ(lMesh->GetMeshRenderDivisionLevels(), 3);
}

TEST(MoxMeshCopy, FromAMeshReproducesTopologyLayersAndSettings)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lSource = lScope.NewMesh("source");
    MakeBusyMesh(*lSource);
    lSource->InitMaterialIndices(MoxLayerElement::eByPolygon);
    lSource->mAuxCount = 2;
    MoxMesh* lTarget = lScope.NewMesh("target");
    lTarget->mV2PVMap.mPVToEdge.Add(8);
    lTarget->mAuxCount = 7;

    EXPECT_EQ(&lTarget->Copy(*lSource), lTarget);
    ASSERT_EQ(lTarget->GetPolygonCount(), 6);
    for (int p = 0; p < 6; ++p) {
        EXPECT_EQ(lTarget->mPolygons[p].mIndex, lSource->mPolygons[p].mIndex);
        EXPECT_EQ(lTarget->mPolygons[p].mSize, lSource->mPolygons[p].mSize);
        EXPECT_EQ(lTarget->mPolygons[p].mGroup, lSource->mPolygons[p].mGroup);
    }
    EXPECT_EQ(lTarget->GetPolygonGroup(1), 4);
    EXPECT_EQ(lTarget->GetPolygonGroup(5), 9);
    ASSERT_EQ(lTarget->GetPolygonVertexCount(), 24);
    for (int i = 0; i < 24; ++i) EXPECT_EQ(lTarget->mPolygonVertices[i], lSource->mPolygonVertices[i]);
    ASSERT_EQ(lTarget->GetMeshEdgeCount(), 12);
    for (int e = 0; e < 12; ++e) EXPECT_EQ(lTarget->mEdgeArray[e], e * 2);
    // Array assignment: capacity equal to size.
    EXPECT_EQ(lTarget->mPolygons.GetCapacity(), 6);
    EXPECT_EQ(lTarget->mPolygonVertices.GetCapacity(), 24);
    EXPECT_EQ(lTarget->mEdgeArray.GetCapacity(), 12);
    EXPECT_EQ(lTarget->GetControlPointsCount(), 8);
    EXPECT_EQ(lTarget->GetControlPointAt(7)[2], 1.0);
    ASSERT_EQ(lTarget->GetLayerCount(), 1);
    ASSERT_NE(lTarget->GetLayer(0)->GetMaterials(), nullptr);
    EXPECT_NE(lTarget->GetLayer(0)->GetMaterials(), lSource->GetLayer(0)->GetMaterials());
    EXPECT_EQ(lTarget->GetMeshSmoothness(), MoxMesh::eFine);
    EXPECT_EQ(lTarget->GetMeshPreviewDivisionLevels(), 2);
    EXPECT_EQ(lTarget->GetMeshRenderDivisionLevels(), 5);
    EXPECT_TRUE(lTarget->GetDisplaySubdivisions());
    EXPECT_EQ(lTarget->GetBoundaryRule(), MoxMesh::eCreaseEdge);
    EXPECT_TRUE(lTarget->GetPreserveBorders());
    EXPECT_TRUE(lTarget->GetPreserveHardEdges());
    EXPECT_TRUE(lTarget->GetPropagateEdgeHardness());
    // Neither the auxiliary count nor the edge caches travel.
    EXPECT_EQ(lTarget->mAuxCount, 7);
    ASSERT_EQ(lTarget->mV2PVMap.mPVToEdge.GetCount(), 1);
    EXPECT_EQ(lTarget->mV2PVMap.mPVToEdge[0], 8);
    EXPECT_FALSE(lTarget->mEdgeLookup.mValid);
    EXPECT_EQ(lTarget->mEdgeLookup.mClosingVertex.GetCount(), 0);
}

TEST(MoxMeshCopy, CloneMakesAnEqualMesh)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lSource = lScope.NewMesh("source");
    MakeBusyMesh(*lSource);
    MoxObject* lClone = lSource->Clone();
    ASSERT_NE(lClone, nullptr);
    ASSERT_EQ(lClone->GetClassId(), MoxMesh::ClassId);
    MoxMesh* lCopy = static_cast<MoxMesh*>(lClone);
    EXPECT_EQ(lCopy->GetPolygonCount(), 6);
    EXPECT_EQ(lCopy->GetMeshEdgeCount(), 12);
    EXPECT_EQ(lCopy->GetPolygonGroup(5), 9);
}

// ---- Object lifetime ------------------------------------------------------------------------------

// A manager destroyed with live meshes (one in the middle of an edge-adding pass), skins, clusters,
// blend shapes, channels and shapes frees every block it, or they, obtained.
TEST(MoxMeshLifecycle, ManagerDestroyedWithLiveObjectsLeaksNothing)
{
    moxtest::AllocationTracker lTracker;
    MoxManager* lManager = MoxManager::Create();
    ASSERT_NE(lManager, nullptr);
    MoxNode* lNode = MoxNode::Create(lManager, "node");
    MoxMesh* lMesh = MoxMesh::Create(lNode, "mesh");
    MakeBusyMesh(*lMesh);
    lMesh->InitTextureUV(4);
    lMesh->InitMaterialIndices(MoxLayerElement::eByPolygon);
    FillV2PVMap(*lMesh);
    lMesh->mV2PVMap.mEdgeSet.Insert(MoxPair<int, int>(0, 1));
    MoxMesh* lOther = MoxMesh::Create(lManager, "other");
    moxtest::MakeTwoTriangles(*lOther);

    MoxSkin* lSkin = MoxSkin::Create(lManager, "skin");
    for (int c = 0; c < 3; ++c) {
        MoxCluster* lCluster = MoxCluster::Create(lSkin, "cluster");
        lCluster->AddControlPointIndex(c, 0.5);
        lCluster->SetLink(lNode);
        lSkin->AddCluster(lCluster);
    }
    MoxBlendShape* lBlendShape = MoxBlendShape::Create(lManager, "blend");
    MoxBlendShapeChannel* lChannel = MoxBlendShapeChannel::Create(lManager, "channel");
    MoxShape* lShape = MoxShape::Create(lManager, "shape");
    lShape->InitControlPoints(8);
    lChannel->AddTargetShape(lShape, 50.0);
    lBlendShape->AddBlendShapeChannel(lChannel);
    lMesh->AddDeformer(lSkin);
    lMesh->AddDeformer(lBlendShape);
    lOther->AddDeformer(lSkin);
    ASSERT_GT(lTracker.Live(), 0);

    lManager->Destroy();
    EXPECT_EQ(lTracker.Live(), 0);
}

// ---- Polygon building -------------------------------------------------------------------------------

TEST(MoxMeshBuilding, QuadBuildsOnePolygonOfFourVertices)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    lMesh->InitControlPoints(4);
    lMesh->BeginPolygon(-1, -1, 7, true);
    for (int v = 0; v < 4; ++v) lMesh->AddPolygon(v);
    lMesh->EndPolygon();
    ASSERT_EQ(lMesh->GetPolygonCount(), 1);
    EXPECT_EQ(lMesh->mPolygons[0].mIndex, 0);
    EXPECT_EQ(lMesh->mPolygons[0].mSize, 4);
    EXPECT_EQ(lMesh->mPolygons[0].mGroup, 7);
    EXPECT_EQ(lMesh->GetPolygonVertexCount(), 4);
    EXPECT_EQ(lMesh->GetPolygonVertex(0, 4), -1);
    EXPECT_EQ(lMesh->GetPolygonVertex(0, 3), 3);
    EXPECT_EQ(lMesh->GetPolygonSize(0), 4);
    EXPECT_EQ(lMesh->GetPolygonGroup(0), 7);
    // Building with no material, texture or UV creates layer 0 and nothing in it.
    ASSERT_EQ(lMesh->GetLayerCount(), 1);
    EXPECT_EQ(lMesh->GetLayer(0)->GetMaterials(), nullptr);
    EXPECT_EQ(lMesh->GetLayer(0)->GetTextures(MoxLayerElement::eTextureChannel0), nullptr);
    EXPECT_EQ(lMesh->GetLayer(0)->GetUVs(), nullptr);
}

TEST(MoxMeshBuilding, SecondPolygonStartsAfterTheFirst)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::BuildMesh(*lMesh, {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {2, 0, 0}}, {{0, 1, 2, 3, 4}, {1, 4, 2}});
    EXPECT_EQ(lMesh->mPolygons[1].mIndex, 5);
    EXPECT_EQ(lMesh->GetPolygonVertexIndex(1), 5);
    EXPECT_EQ(lMesh->GetPolygonVertex(1, 1), 4);
    int* lVertices = lMesh->GetPolygonVertices();
    ASSERT_NE(lVertices, nullptr);
    EXPECT_EQ(lVertices[5], 1);
    lVertices[5] = 3;  // writable through the pointer
    EXPECT_EQ(lMesh->GetPolygonVertex(1, 0), 3);
}

TEST(MoxMeshBuilding, IndicesAreStoredUnchecked)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::ReportCapture lReports;
    lMesh->BeginPolygon();
    lMesh->AddPolygon(-5);
    lMesh->AddPolygon(1000);
    EXPECT_EQ(lMesh->GetPolygonVertex(0, 0), -5);
    EXPECT_EQ(lMesh->GetPolygonVertex(0, 1), 1000);
    EXPECT_EQ(lReports.Count(), 0u);
}

TEST(MoxMeshBuilding, MaterialElementCreatedOnlyOnFirstPolygonWithAMaterial)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lNone = lScope.NewMesh();
    lNone->BeginPolygon(-1, -1, -1, true);
    EXPECT_EQ(lNone->GetLayer(0)->GetMaterials(), nullptr);

    MoxMesh* lFirst = lScope.NewMesh();
    lFirst->BeginPolygon(2, -1, -1, true);
    MoxLayerElementMaterial* lMaterials = lFirst->GetLayer(0)->GetMaterials();
    ASSERT_NE(lMaterials, nullptr);
    EXPECT_EQ(lMaterials->GetMappingMode(), MoxLayerElement::eByPolygon);
    EXPECT_EQ(lMaterials->GetReferenceMode(), MoxLayerElement::eIndexToDirect);
    ASSERT_EQ(lMaterials->GetIndexArray().GetCount(), 1);
    EXPECT_EQ(lMaterials->GetIndexArray().GetAt(0), 2);
    // Later polygons extend it; -1 is written when no material is given.
    lFirst->BeginPolygon(-1, -1, -1, true);
    lFirst->BeginPolygon(5, -1, -1, true);
    ASSERT_EQ(lMaterials->GetIndexArray().GetCount(), 3);
    EXPECT_EQ(lMaterials->GetIndexArray().GetAt(1), -1);
    EXPECT_EQ(lMaterials->GetIndexArray().GetAt(2), 5);

    MoxMesh* lSecond = lScope.NewMesh();
    lSecond->BeginPolygon(-1, -1, -1, true);
    lSecond->BeginPolygon(2, -1, -1, true);
    EXPECT_EQ(lSecond->GetLayer(0)->GetMaterials(), nullptr);
}

// Builds two polygons with a material element, then gives its index array ten entries 100 .. 109.
MoxLayerElementMaterial* TwoPolygonsWithTenMaterialIndices(MoxMesh& pMesh)
{
    pMesh.BeginPolygon(0, -1, -1, true);
    pMesh.BeginPolygon(1, -1, -1, true);
    MoxLayerElementMaterial* lMaterials = pMesh.GetLayer(0)->GetMaterials();
    lMaterials->GetIndexArray().SetCount(10);
    for (int i = 0; i < 10; ++i) lMaterials->GetIndexArray().SetAt(i, 100 + i);
    return lMaterials;
}

TEST(MoxMeshBuilding, BeginPolygonOnlyGrowsTheMaterialIndexArray)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    MoxLayerElementMaterial* lMaterials = TwoPolygonsWithTenMaterialIndices(*lMesh);
    lMesh->BeginPolygon(7, -1, -1, true);
    const MoxLayerElementArrayTemplate<int>& lIndices = lMaterials->GetIndexArray();
    ASSERT_EQ(lIndices.GetCount(), 10);
    EXPECT_EQ(lIndices.GetAt(1), 101);
    EXPECT_EQ(lIndices.GetAt(2), 7);
    EXPECT_EQ(lIndices.GetAt(3), 103);
    EXPECT_EQ(lIndices.GetAt(9), 109);
}

TEST(MoxMeshBuilding, BeginPolygonExtTruncatesTheMaterialIndexArray)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    MoxLayerElementMaterial* lMaterials = TwoPolygonsWithTenMaterialIndices(*lMesh);
    int lTextures[31];
    for (int& lTexture : lTextures) lTexture = -1;
    lMesh->BeginPolygonExt(7, lTextures);
    const MoxLayerElementArrayTemplate<int>& lIndices = lMaterials->GetIndexArray();
    ASSERT_EQ(lIndices.GetCount(), 3);
    EXPECT_EQ(lIndices.GetAt(0), 100);
    EXPECT_EQ(lIndices.GetAt(1), 101);
    EXPECT_EQ(lIndices.GetAt(2), 7);
    EXPECT_EQ(lMesh->GetPolygonGroup(2), -1);
}

TEST(MoxMeshBuilding, MaterialElementOutsideIndexedByPolygonIsLeftAlone)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    lMesh->BeginPolygon(1, -1, -1, true);
    MoxLayerElementMaterial* lMaterials = lMesh->GetLayer(0)->GetMaterials();
    lMaterials->SetReferenceMode(MoxLayerElement::eDirect);
    lMesh->BeginPolygon(2, -1, -1, true);
    lMaterials->SetReferenceMode(MoxLayerElement::eIndexToDirect);
    EXPECT_EQ(lMaterials->GetIndexArray().GetCount(), 1);
    lMaterials->SetMappingMode(MoxLayerElement::eByMesh);
    lMesh->BeginPolygon(3, -1, -1, true);
    EXPECT_EQ(lMaterials->GetIndexArray().GetCount(), 1);
    // eIndex counts as indexed.
    lMaterials->SetMappingMode(MoxLayerElement::eByPolygon);
    lMaterials->SetReferenceMode(MoxLayerElement::eIndex);
    lMesh->BeginPolygon(4, -1, -1, true);
    ASSERT_EQ(lMaterials->GetIndexArray().GetCount(), 4);
    EXPECT_EQ(lMaterials->GetIndexArray().GetAt(3), 4);
}

TEST(MoxMeshBuilding, LegacyTextureFollowsTheMaterialRules)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    lMesh->BeginPolygon(-1, 3, -1, true);
    MoxLayerElementTexture* lTextures = lMesh->GetLayer(0)->GetTextures(MoxLayerElement::eTextureChannel0);
    ASSERT_NE(lTextures, nullptr);
    EXPECT_EQ(lTextures->GetMappingMode(), MoxLayerElement::eByPolygon);
    EXPECT_EQ(lTextures->GetReferenceMode(), MoxLayerElement::eIndexToDirect);
    lMesh->BeginPolygon(-1, 4, -1, true);
    ASSERT_EQ(lTextures->GetIndexArray().GetCount(), 2);
    EXPECT_EQ(lTextures->GetIndexArray().GetAt(0), 3);
    EXPECT_EQ(lTextures->GetIndexArray().GetAt(1), 4);
    // Only grown, never truncated.
    lTextures->GetIndexArray().SetCount(6);
    lMesh->BeginPolygon(-1, 8, -1, true);
    ASSERT_EQ(lTextures->GetIndexArray().GetCount(), 6);
    EXPECT_EQ(lTextures->GetIndexArray().GetAt(2), 8);
    // Not created on a later polygon.
    MoxMesh* lLate = lScope.NewMesh();
    lLate->BeginPolygon(-1, -1, -1, true);
    lLate->BeginPolygon(-1, 3, -1, true);
    EXPECT_EQ(lLate->GetLayer(0)->GetTextures(MoxLayerElement::eTextureChannel0), nullptr);
}

TEST(MoxMeshBuilding, NonLegacyBeginPolygonNeverTouchesTextures)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    lMesh->BeginPolygon(1, 5, 2, false);
    EXPECT_EQ(lMesh->GetLayer(0)->GetTextures(MoxLayerElement::eTextureChannel0), nullptr);
    EXPECT_NE(lMesh->GetLayer(0)->GetMaterials(), nullptr);
    EXPECT_EQ(lMesh->GetPolygonGroup(0), 2);

    lMesh->BeginPolygon(1, 6, -1, true);  // a legacy call on polygon 2 creates nothing either
    lMesh->InitTextureIndices(MoxLayerElement::eByPolygon);
    MoxLayerElementTexture* lTextures = lMesh->GetLayer(0)->GetTextures(MoxLayerElement::eTextureChannel0);
    ASSERT_NE(lTextures, nullptr);
    lTextures->GetIndexArray().SetAt(0, 11);
    lTextures->GetIndexArray().SetAt(1, 12);
    lMesh->BeginPolygon(1, 7, -1, false);
    ASSERT_EQ(lTextures->GetIndexArray().GetCount(), 2);
    EXPECT_EQ(lTextures->GetIndexArray().GetAt(0), 11);
    EXPECT_EQ(lTextures->GetIndexArray().GetAt(1), 12);
}

TEST(MoxMeshBuilding, BeginPolygonExtCreatesATextureOnTheDefaultChannelOnly)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    int lTextures[31];
    for (int& lTexture : lTextures) lTexture = -1;
    lTextures[20] = 6;
    lMesh->BeginPolygonExt(-1, lTextures);
    MoxLayer* lLayer = lMesh->GetLayer(0);
    EXPECT_EQ(lLayer->GetTextures(static_cast<MoxLayerElement::EType>(20)), nullptr);
    MoxLayerElementTexture* lDefault = lLayer->GetTextures(MoxLayerElement::eTextureChannel0);
    ASSERT_NE(lDefault, nullptr);
    ASSERT_EQ(lDefault->GetIndexArray().GetCount(), 1);
    EXPECT_EQ(lDefault->GetIndexArray().GetAt(0), 6);
    EXPECT_EQ(lLayer->GetMaterials(), nullptr);
}

TEST(MoxMeshBuilding, BeginPolygonExtSizesEveryChannelToThePolygonCount)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    lMesh->BeginPolygon(-1, -1, -1, true);
    lMesh->InitTextureIndices(MoxLayerElement::eByPolygon, MoxLayerElement::eTextureChannel0);
    lMesh->InitTextureIndices(MoxLayerElement::eByPolygon, MoxLayerElement::eTextureChannel16);
    MoxLayer* lLayer = lMesh->GetLayer(0);
    lLayer->GetTextures(MoxLayerElement::eTextureChannel16)->GetIndexArray().SetCount(9);
    int lTextures[31];
    for (int c = 0; c < 31; ++c) lTextures[c] = c;
    lMesh->BeginPolygonExt(-1, lTextures);
    const MoxLayerElementArrayTemplate<int>& lFirst =
        lLayer->GetTextures(MoxLayerElement::eTextureChannel0)->GetIndexArray();
    const MoxLayerElementArrayTemplate<int>& lLast =
        lLayer->GetTextures(MoxLayerElement::eTextureChannel16)->GetIndexArray();
    ASSERT_EQ(lFirst.GetCount(), 2);
    EXPECT_EQ(lFirst.GetAt(1), 14);
    ASSERT_EQ(lLast.GetCount(), 2);  // truncated from 9
    EXPECT_EQ(lLast.GetAt(1), 30);
    // No element appears on the other channels at a later polygon.
    EXPECT_EQ(lLayer->GetTextures(MoxLayerElement::eTextureChannel1), nullptr);
}

TEST(MoxMeshBuilding, BeginPolygonExtWithoutTexturesRecordsNone)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    lMesh->BeginPolygonExt(3, nullptr);
    EXPECT_EQ(lMesh->GetPolygonCount(), 1);
    EXPECT_NE(lMesh->GetLayer(0)->GetMaterials(), nullptr);
    EXPECT_EQ(lMesh->GetLayer(0)->GetTextures(MoxLayerElement::eTextureChannel0), nullptr);
}

TEST(MoxMeshBuilding, UVIndexCreatesTheUVSetAtAnyPolygon)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    lMesh->BeginPolygon();
    lMesh->AddPolygon(0);
    lMesh->AddPolygon(1);
    lMesh->AddPolygon(2);
    lMesh->BeginPolygon();
    lMesh->AddPolygon(2);
    EXPECT_EQ(lMesh->GetLayer(0)->GetUVs(), nullptr);
    lMesh->AddPolygon(1, 8);
    MoxLayerElementUV* lUVs = lMesh->GetLayer(0)->GetUVs(MoxLayerElement::eTextureChannel0);
    ASSERT_NE(lUVs, nullptr);
    EXPECT_EQ(lUVs->GetMappingMode(), MoxLayerElement::eByPolygonVertex);
    EXPECT_EQ(lUVs->GetReferenceMode(), MoxLayerElement::eIndexToDirect);
    ASSERT_EQ(lUVs->GetIndexArray().GetCount(), 5);
    EXPECT_EQ(lUVs->GetIndexArray().GetAt(4), 8);
    EXPECT_EQ(lUVs->GetIndexArray().GetAt(0), 0);
    // A -1 leaves the index array as it is.
    lMesh->AddPolygon(3, -1);
    EXPECT_EQ(lUVs->GetIndexArray().GetCount(), 5);
    lMesh->AddPolygon(4, 9);
    ASSERT_EQ(lUVs->GetIndexArray().GetCount(), 7);
    EXPECT_EQ(lUVs->GetIndexArray().GetAt(6), 9);
    EXPECT_EQ(lMesh->GetPolygonSize(1), 4);
    // A UV set in another shape is not written (but is not replaced either).
    lUVs->SetReferenceMode(MoxLayerElement::eDirect);
    lMesh->AddPolygon(5, 10);
    EXPECT_EQ(lMesh->GetLayer(0)->GetUVs(), lUVs);
    EXPECT_EQ(lUVs->mIndexArray->GetCount(), 7);
}

TEST(MoxMeshBuilding, AddPolygonBeforeAnyBeginReportsAndStillAppends)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::ReportCapture lReports;
    lMesh->AddPolygon(4);
    EXPECT_TRUE(lReports.HasOnly(sgArrayFile, "operator[]", "Index is out of range!"));
    EXPECT_EQ(lMesh->GetPolygonVertexCount(), 1);
    EXPECT_EQ(lMesh->GetPolygonCount(), 0);
}

TEST(MoxMeshBuilding, PolygonsOfSizeZeroToTwoAreKept)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::BuildMesh(*lMesh, {{0, 0, 0}, {1, 0, 0}}, {{}, {0}, {0, 1}});
    ASSERT_EQ(lMesh->GetPolygonCount(), 3);
    EXPECT_EQ(lMesh->GetPolygonSize(0), 0);
    EXPECT_EQ(lMesh->GetPolygonSize(1), 1);
    EXPECT_EQ(lMesh->GetPolygonSize(2), 2);
    EXPECT_EQ(lMesh->GetPolygonVertexIndex(1), 0);
    EXPECT_EQ(lMesh->GetPolygonVertexIndex(2), 1);
    EXPECT_EQ(lMesh->GetPolygonVertex(0, 0), -1);
}

// ---- Queries ---------------------------------------------------------------------------------------

TEST(MoxMeshQueries, OutOfRangeQueriesReturnMinusOneQuietly)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeTwoTriangles(*lMesh);
    moxtest::ReportCapture lReports;
    EXPECT_EQ(lMesh->GetPolygonSize(-1), -1);
    EXPECT_EQ(lMesh->GetPolygonSize(2), -1);
    EXPECT_EQ(lMesh->GetPolygonVertex(-1, 0), -1);
    EXPECT_EQ(lMesh->GetPolygonVertex(2, 0), -1);
    EXPECT_EQ(lMesh->GetPolygonVertex(0, -1), -1);
    EXPECT_EQ(lMesh->GetPolygonVertex(0, 3), -1);
    EXPECT_EQ(lMesh->GetPolygonVertexIndex(-1), -1);
    EXPECT_EQ(lMesh->GetPolygonVertexIndex(2), -1);
    EXPECT_EQ(lMesh->GetPolygonGroup(2), -1);
    EXPECT_EQ(lReports.Count(), 0u);
}

TEST(MoxMeshQueries, NegativePolygonGroupReportsFromTheArray)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeTwoTriangles(*lMesh);
    lMesh->mPolygons[0].mGroup = 3;
    moxtest::ReportCapture lReports;
    // The access reaches the array's zero-filled scratch polygon.
    EXPECT_EQ(lMesh->GetPolygonGroup(-1), 0);
    EXPECT_TRUE(lReports.HasOnly(sgArrayFile, "operator[]", "Index is out of range!"));
    lReports.Clear();
    EXPECT_EQ(lMesh->GetPolygonGroup(0), 3);
    EXPECT_EQ(lReports.Count(), 0u);
}

TEST(MoxMeshQueries, IsTriangleMesh)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    EXPECT_TRUE(lMesh->IsTriangleMesh());
    moxtest::MakeTwoTriangles(*lMesh);
    EXPECT_TRUE(lMesh->IsTriangleMesh());
    lMesh->BeginPolygon();
    for (int v = 0; v < 4; ++v) lMesh->AddPolygon(v);
    EXPECT_FALSE(lMesh->IsTriangleMesh());
    moxtest::MakeQuad(*lMesh);
    EXPECT_FALSE(lMesh->IsTriangleMesh());
    moxtest::BuildMesh(*lMesh, {}, {{0, 1}});
    EXPECT_FALSE(lMesh->IsTriangleMesh());
}

TEST(MoxMeshQueries, GetIndexClampsNegativeAndTooLargeEntries)
{
    moxtest::ManagerScope lScope;
    TestMesh lMesh(*lScope.Get(), "clamp");
    lMesh.BeginPolygon();
    lMesh.AddPolygon(-1);
    lMesh.AddPolygon(7);
    lMesh.AddPolygon(3);
    lMesh.AddPolygon(0);
    lMesh.AddPolygon(5);
    EXPECT_EQ(lMesh.GetIndex(0, 5), 4);
    EXPECT_EQ(lMesh.GetIndex(1, 5), 4);
    EXPECT_EQ(lMesh.GetIndex(2, 5), 3);
    EXPECT_EQ(lMesh.GetIndex(3, 5), 0);
    EXPECT_EQ(lMesh.GetIndex(4, 5), 4);
    EXPECT_EQ(lMesh.GetIndex(4, 6), 5);
}

}  // namespace
