// Allocation failure everywhere: every public operation is run on a few meshes with its n-th memory
// request failing, for n = 1, 2, ... until the operation gets through without reaching the failure.
// Each failing run must report, leave the mesh usable (a later Reset, a rerun of the operation and the
// destruction are clean) and leak nothing.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "moxsdk.h"
#include "support/moxtestmeshes.h"
#include "support/moxtestsupport.h"

using namespace moxsdk;

namespace {

typedef std::function<void(MoxMesh&)> Operation;

// A UV-mapped cube with normals by polygon vertex, smoothing by edge, an edge table, a skin and a blend
// shape: every operation finds something to work on.
void MakeRichCube(MoxMesh& pMesh)
{
    moxtest::MakeCube(pMesh);
    pMesh.BuildMeshEdgeArray();
    pMesh.InitTextureUV(4);
    MoxLayerElementArrayTemplate<MoxVector2>* lUVs = nullptr;
    pMesh.GetTextureUV(&lUVs);
    for (int i = 0; i < 4; ++i) lUVs->SetAt(i, MoxVector2(i & 1, i >> 1));
    pMesh.InitTextureUVIndices(MoxLayerElement::eByPolygonVertex);
    for (int p = 0; p < pMesh.GetPolygonCount(); ++p)
        for (int k = 0; k < 4; ++k) pMesh.SetTextureUVIndex(p, k, k);
    MoxLayerElementSmoothing* lSmoothing = MoxLayerElementSmoothing::Create(&pMesh, "");
    lSmoothing->SetMappingMode(MoxLayerElement::eByEdge);
    for (int e = 0; e < pMesh.GetMeshEdgeCount(); ++e) lSmoothing->mDirectArray->Add(e % 2);
    pMesh.GetLayer(0)->SetSmoothing(lSmoothing);
    pMesh.GenerateNormals(true, false, false);

    MoxManager* lManager = pMesh.GetMoxManager();
    MoxSkin* lSkin = MoxSkin::Create(lManager, "skin");
    MoxCluster* lCluster = MoxCluster::Create(lManager, "cluster");
    for (int i = 0; i < 8; ++i) lCluster->AddControlPointIndex(i, 0.5);
    lSkin->AddCluster(lCluster);
    pMesh.AddDeformer(lSkin);
    MoxBlendShape* lBlendShape = MoxBlendShape::Create(lManager, "blend");
    MoxBlendShapeChannel* lChannel = MoxBlendShapeChannel::Create(lManager, "channel");
    MoxShape* lShape = MoxShape::Create(lManager, "shape");
    lShape->InitControlPoints(8);
    lShape->InitNormals(0, 1);
    lChannel->AddTargetShape(lShape);
    lBlendShape->AddBlendShapeChannel(lChannel);
    pMesh.AddDeformer(lBlendShape);
}

// The mesh of degenerate polygons and invalid indices, with its edges.
void MakeDegenerate(MoxMesh& pMesh)
{
    moxtest::MakeInvalidMesh(pMesh);
    pMesh.BuildMeshEdgeArray();
}

struct NamedOperation {
    std::string mName;
    Operation mRun;
};

std::vector<NamedOperation> Operations()
{
    return {
        {"BuildMeshEdgeArray", [](MoxMesh& pMesh) { pMesh.BuildMeshEdgeArray(); }},
        {"BeginAddMeshEdgeIndex",
         [](MoxMesh& pMesh) {
             pMesh.BeginAddMeshEdgeIndex();
             pMesh.AddMeshEdgeIndex(0, 1, true);
             pMesh.EndAddMeshEdgeIndex();
         }},
        {"GetMeshEdgeIndexForPolygon",
         [](MoxMesh& pMesh) {
             pMesh.BeginGetMeshEdgeIndexForPolygon();
             for (int p = 0; p < pMesh.GetPolygonCount(); ++p) pMesh.GetMeshEdgeIndexForPolygon(p, 0);
             pMesh.EndGetMeshEdgeIndexForPolygon();
         }},
        {"GetMeshEdgeVertices",
         [](MoxMesh& pMesh) {
             pMesh.BeginGetMeshEdgeVertices();
             int lStart = 0;
             int lEnd = 0;
             for (int e = 0; e < pMesh.GetMeshEdgeCount(); ++e) pMesh.GetMeshEdgeVertices(e, lStart, lEnd);
             pMesh.EndGetMeshEdgeVertices();
         }},
        {"RemoveDuplicatedEdges",
         [](MoxMesh& pMesh) {
             MoxArray<int> lList;
             lList.Add(0);
             lList.Add(2);
             pMesh.RemoveDuplicatedEdges(lList);
         }},
        {"ComputeComponentMaps",
         [](MoxMesh& pMesh) {
             MoxMesh::ComponentMap lEdges;
             MoxMesh::ComponentMap lPolygons;
             pMesh.ComputeComponentMaps(lEdges, lPolygons);
         }},
        {"ControlPointToVerticesMap",
         [](MoxMesh& pMesh) {
             MoxMesh::ControlPointToVerticesMap lMap;
             pMesh.ComputeControlPointToVerticesMap(lMap);
             lMap.FillWithAdjacencyInfo(&pMesh, pMesh.GetControlPointsCount());
         }},
        {"RemovePolygon", [](MoxMesh& pMesh) { pMesh.RemovePolygon(0); }},
        {"RemoveBadPolygons", [](MoxMesh& pMesh) { pMesh.RemoveBadPolygons(); }},
        {"CheckSamePointTwice", [](MoxMesh& pMesh) { pMesh.CheckSamePointTwice(); }},
        {"GenerateNormalsByPolygonVertex", [](MoxMesh& pMesh) { pMesh.GenerateNormals(true, false, false); }},
        {"GenerateNormalsByCtrlPoint", [](MoxMesh& pMesh) { pMesh.GenerateNormals(true, true, false); }},
        {"CheckIfVertexNormalsCCW", [](MoxMesh& pMesh) { pMesh.CheckIfVertexNormalsCCW(); }},
        {"ConformNormalsTo", [](MoxMesh& pMesh) { pMesh.ConformNormalsTo(&pMesh); }},
        {"GenerateTangentsDataForAllUVSets",
         [](MoxMesh& pMesh) { pMesh.GenerateTangentsDataForAllUVSets(true, false); }},
        {"SplitPoints", [](MoxMesh& pMesh) { pMesh.SplitPoints(); }},
        {"Merge",
         [](MoxMesh& pMesh) {
             MoxArray<int> lList;
             pMesh.BuildMergeList(lList);
             pMesh.MergePointsForPolygonVerteNormals(lList);
         }},
        {"BuildPolygons",
         [](MoxMesh& pMesh) {
             pMesh.BeginPolygon(1, 2, 3, true);
             pMesh.AddPolygon(0, 1);
             pMesh.AddPolygon(1, 2);
             pMesh.AddPolygon(2, 3);
         }},
        {"UVAndMaterialIndices",
         [](MoxMesh& pMesh) {
             pMesh.InitMaterialIndices(MoxLayerElement::eByPolygon);
             pMesh.InitTextureIndices(MoxLayerElement::eByPolygon);
             pMesh.InitTextureUVIndices(MoxLayerElement::eByPolygonVertex);
             pMesh.SetTextureUVIndex(0, 0, 1);
         }},
        {"PolygonVertexLookups",
         [](MoxMesh& pMesh) {
             MoxArray<MoxVector4> lNormals;
             MoxArray<MoxVector2> lUVs;
             MoxArray<int> lUnmapped;
             pMesh.GetPolygonVertexNormals(lNormals);
             pMesh.GetPolygonVertexUVs(nullptr, lUVs, &lUnmapped);
         }},
        {"Copy",
         [](MoxMesh& pMesh) {
             MoxMesh* lCopy = MoxMesh::Create(pMesh.GetMoxManager(), "copy");
             if (lCopy) lCopy->Copy(pMesh);
         }},
    };
}

void Sweep(const NamedOperation& pOperation, void (*pMake)(MoxMesh&))
{
    moxtest::AllocationTracker lTracker;
    const long lLiveBefore = lTracker.Live();
    for (long n = 1; n < 100000; ++n) {
        SCOPED_TRACE(pOperation.mName + " failing request " + std::to_string(n));
        bool lReachedFailure = false;
        {
            moxtest::ManagerScope lScope;
            MoxMesh* lMesh = lScope.NewMesh();
            ASSERT_NE(lMesh, nullptr);
            pMake(*lMesh);
            moxtest::ReportCapture lCapture;
            const long lFailuresBefore = lTracker.Failures();
            lTracker.FailAt(n);
            pOperation.mRun(*lMesh);
            lTracker.FailAt(0);
            lReachedFailure = lTracker.Failures() > lFailuresBefore;
            if (lReachedFailure) {
                EXPECT_GT(lCapture.Count(), 0u) << "a failed allocation went unreported";
            }
            // The mesh stays usable: the operation runs again, then the mesh resets.
            pOperation.mRun(*lMesh);
            lMesh->Reset();
            EXPECT_EQ(lMesh->GetPolygonCount(), 0);
        }
        EXPECT_EQ(lTracker.Live(), lLiveBefore);
        if (!lReachedFailure) return;
    }
    ADD_FAILURE() << "the operation never got through";
}

class MoxMeshAllocationFailure : public testing::TestWithParam<int> {};

TEST_P(MoxMeshAllocationFailure, RichCubeReportsStaysUsableAndLeaksNothing)
{
    Sweep(Operations()[GetParam()], &MakeRichCube);
}

TEST_P(MoxMeshAllocationFailure, DegenerateMeshReportsStaysUsableAndLeaksNothing)
{
    Sweep(Operations()[GetParam()], &MakeDegenerate);
}

INSTANTIATE_TEST_SUITE_P(EveryOperation, MoxMeshAllocationFailure,
                         testing::Range(0, static_cast<int>(Operations().size())),
                         [](const testing::TestParamInfo<int>& pInfo) { return Operations()[pInfo.param].mName; });

}  // namespace
