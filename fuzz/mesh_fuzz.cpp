// Decodes the input into a mesh (control points, polygons with any indices, layers holding elements of
// every kind in every mapping and reference mode with arrays of any length, a skin and a blend shape),
// then runs a sequence of public operations with arguments taken from the input. The sanitizers and
// the mesh's own invariants are the oracle: nothing may crash, leak, hang or break a container, and an
// operation on a well-formed mesh leaves it as well-formed as it promises (EKept).
#include <cstdint>
#include <cstdlib>

#include "moxsdk.h"
#include "support/moxfuzzinput.h"

namespace {

using namespace moxsdk;
using moxfuzz::Input;

void IgnoreReport(const char* /*pFileName*/, const char* /*pFunctionName*/, unsigned int /*pLineNumber*/,
                  const char* /*pMessage*/)
{}

void Check(bool pCondition)
{
    if (!pCondition) std::abort();
}

// What an operation promises to keep of a well-formed mesh (MoxMesh::IsWellFormed): everything; only the
// topology (HasWellFormedTopology) when it takes the caller's edge list, mapping or array length, or adds
// or removes control points without resizing the elements mapped by control point; nothing when it takes
// the caller's indices or releases the control points.
enum EKept { eKeepsAll, eKeepsTopology, eKeepsNothing };

constexpr int sgMaxPoints = 48;
constexpr int sgMaxPolygons = 32;
constexpr int sgMaxArray = 80;

MoxLayerElement::EMappingMode AnyMapping(Input& pInput)
{
    return static_cast<MoxLayerElement::EMappingMode>(pInput.Below(6));
}

MoxLayerElement::EReferenceMode AnyReference(Input& pInput)
{
    return static_cast<MoxLayerElement::EReferenceMode>(pInput.Below(3));
}

MoxLayerElement::EType AnyChannel(Input& pInput)
{
    return static_cast<MoxLayerElement::EType>(MoxLayerElement::eTextureChannel0 + pInput.Below(3));
}

// Random modes and arrays of any length; index entries are mostly in range, sometimes not.
template <class T, class MAKE>
void FillElement(Input& pInput, MoxLayerElementTemplate<T>& pElement, MAKE pMakeValue)
{
    pElement.SetMappingMode(AnyMapping(pInput));
    pElement.SetReferenceMode(AnyReference(pInput));
    const int lDirectCount = pInput.Below(sgMaxArray);
    for (int i = 0; i < lDirectCount; ++i) pElement.mDirectArray->Add(pMakeValue(pInput));
    const int lIndexCount = pInput.Below(sgMaxArray);
    for (int i = 0; i < lIndexCount; ++i) pElement.mIndexArray->Add(pInput.Index(lDirectCount));
}

MoxVector4 AnyVector4(Input& pInput)
{
    return MoxVector4(pInput.Coordinate(), pInput.Coordinate(), pInput.Coordinate(), pInput.Bool() ? 1.0 : 0.0);
}

MoxVector2 AnyVector2(Input& pInput)
{
    return MoxVector2(pInput.Coordinate(), pInput.Coordinate());
}

void AddElements(Input& pInput, MoxMesh& pMesh, MoxLayer& pLayer)
{
    const int lMask = static_cast<int>(pInput.Word());
    if (lMask & 1) {
        auto* lElement = MoxLayerElementNormal::Create(&pMesh, "");
        FillElement(pInput, *lElement, AnyVector4);
        pLayer.SetNormals(lElement);
    }
    if (lMask & 2) {
        auto* lElement = MoxLayerElementUV::Create(&pMesh, pInput.Bool() ? "map1" : "");
        FillElement(pInput, *lElement, AnyVector2);
        pLayer.SetUVs(lElement, AnyChannel(pInput));
    }
    if (lMask & 4) {
        auto* lElement = MoxLayerElementMaterial::Create(&pMesh, "");
        FillElement(pInput, *lElement, [](Input&) { return static_cast<MoxSurfaceMaterial*>(nullptr); });
        pLayer.SetMaterials(lElement);
    }
    if (lMask & 8) {
        auto* lElement = MoxLayerElementSmoothing::Create(&pMesh, "");
        FillElement(pInput, *lElement, [](Input& pIn) { return pIn.Range(-1, 2); });
        pLayer.SetSmoothing(lElement);
    }
    if (lMask & 16) {
        auto* lElement = MoxLayerElementCrease::Create(&pMesh, "");
        FillElement(pInput, *lElement, [](Input& pIn) { return pIn.Coordinate(); });
        pLayer.SetEdgeCrease(lElement);
    }
    if (lMask & 32) {
        auto* lElement = MoxLayerElementCrease::Create(&pMesh, "");
        FillElement(pInput, *lElement, [](Input& pIn) { return pIn.Coordinate(); });
        pLayer.SetVertexCrease(lElement);
    }
    if (lMask & 64) {
        auto* lElement = MoxLayerElementHole::Create(&pMesh, "");
        FillElement(pInput, *lElement, [](Input& pIn) { return pIn.Bool(); });
        pLayer.SetHole(lElement);
    }
    if (lMask & 128) {
        auto* lElement = MoxLayerElementVisibility::Create(&pMesh, "");
        FillElement(pInput, *lElement, [](Input& pIn) { return pIn.Bool(); });
        pLayer.SetVisibility(lElement);
    }
    if (lMask & 256) {
        auto* lElement = MoxLayerElementVertexColor::Create(&pMesh, "");
        FillElement(pInput, *lElement, [](Input& pIn) { return MoxColor(pIn.Coordinate(), 0, 0); });
        pLayer.SetVertexColors(lElement);
    }
    if (lMask & 512) {
        auto* lElement = MoxLayerElementPolygonGroup::Create(&pMesh, "");
        FillElement(pInput, *lElement, [](Input& pIn) { return pIn.Range(-1, 4); });
        pLayer.SetPolygonGroups(lElement);
    }
    if (lMask & 1024) {
        auto* lElement = MoxLayerElementTangent::Create(&pMesh, "");
        FillElement(pInput, *lElement, AnyVector4);
        pLayer.SetTangents(lElement);
    }
    if (lMask & 2048) {
        auto* lElement = MoxLayerElementTexture::Create(&pMesh, "");
        FillElement(pInput, *lElement, [](Input&) { return static_cast<MoxTexture*>(nullptr); });
        pLayer.SetTextures(AnyChannel(pInput), lElement);
    }
    if (lMask & 4096) {
        MoxArray<MoxDataType> lTypes;
        MoxArray<const char*> lNames;
        const EMoxType lChoices[] = {eMoxBool, eMoxInt, eMoxFloat, eMoxDouble, eMoxDouble2, eMoxDouble4};
        const int lFields = pInput.Below(4);
        for (int i = 0; i < lFields; ++i) {
            lTypes.Add(MoxDataType(lChoices[pInput.Below(6)]));
            lNames.Add("field");
        }
        MoxLayerElementUserData* lElement = MoxLayerElementUserData::Create(&pMesh, "user", 1, lTypes, lNames);
        if (lElement) {
            lElement->SetMappingMode(AnyMapping(pInput));
            lElement->SetReferenceMode(AnyReference(pInput));
            lElement->ResizeAllDirectArrays(pInput.Below(sgMaxArray));
            pLayer.SetUserData(lElement);
        }
    }
}

void BuildPolygons(Input& pInput, MoxMesh& pMesh, int pPoints)
{
    const int lPolygons = pInput.Below(sgMaxPolygons);
    for (int p = 0; p < lPolygons; ++p) {
        if (pInput.Below(8) == 0) {
            int lTextures[31];
            for (int& lTexture : lTextures) lTexture = pInput.Range(-1, 2);
            pMesh.BeginPolygonExt(pInput.Range(-1, 3), lTextures);
        } else {
            pMesh.BeginPolygon(pInput.Range(-1, 3), pInput.Range(-1, 3), pInput.Range(-1, 3), pInput.Bool());
        }
        const int lSize = pInput.Below(9);
        for (int k = 0; k < lSize; ++k) pMesh.AddPolygon(pInput.Index(pPoints), pInput.Range(-1, 6));
        pMesh.EndPolygon();
    }
}

void AddDeformers(Input& pInput, MoxMesh& pMesh, int pPoints)
{
    MoxManager* lManager = pMesh.GetMoxManager();
    if (pInput.Bool()) {
        MoxSkin* lSkin = MoxSkin::Create(lManager, "skin");
        MoxCluster* lCluster = MoxCluster::Create(lManager, "cluster");
        const int lCount = pInput.Below(16);
        for (int i = 0; i < lCount; ++i) lCluster->AddControlPointIndex(pInput.Index(pPoints), pInput.Byte() / 255.0);
        lSkin->AddCluster(lCluster);
        pMesh.AddDeformer(lSkin);
    }
    if (pInput.Bool()) {
        MoxBlendShape* lBlendShape = MoxBlendShape::Create(lManager, "blend");
        MoxBlendShapeChannel* lChannel = MoxBlendShapeChannel::Create(lManager, "channel");
        for (int s = pInput.Below(3); s > 0; --s) {
            MoxShape* lShape = MoxShape::Create(lManager, "shape");
            const int lCount = pInput.Below(sgMaxPoints);
            lShape->InitControlPoints(lCount);
            for (int i = 0; i < lCount; ++i) lShape->SetControlPointAt(AnyVector4(pInput), i);
            if (pInput.Bool()) lShape->InitNormals(pInput.Bool() ? 0 : lCount, 1);
            lChannel->AddTargetShape(lShape);
        }
        lBlendShape->AddBlendShapeChannel(lChannel);
        pMesh.AddDeformer(lBlendShape);
    }
}

void BuildMesh(Input& pInput, MoxMesh& pMesh)
{
    const int lPoints = pInput.Below(sgMaxPoints);
    pMesh.InitControlPoints(lPoints);
    for (int i = 0; i < lPoints; ++i) pMesh.SetControlPointAt(AnyVector4(pInput), i);
    BuildPolygons(pInput, pMesh, lPoints);
    for (int lLayer = pInput.Below(3); lLayer > 0; --lLayer) pMesh.CreateLayer();
    for (int l = 0; l < pMesh.GetLayerCount(); ++l) AddElements(pInput, pMesh, *pMesh.GetLayer(l));
    AddDeformers(pInput, pMesh, lPoints);
    if (pInput.Bool()) pMesh.BuildMeshEdgeArray();
}

// A sorted, non-empty list of edge positions (some may be out of range).
MoxArray<int> AnyEdgeList(Input& pInput, int pEdges)
{
    MoxArray<int> lList;
    int lNext = pInput.Below(3);
    for (int n = 1 + pInput.Below(4); n > 0; --n, lNext += 1 + pInput.Below(3)) lList.Add(lNext);
    if (pInput.Below(4) == 0) lList.Add(pEdges + pInput.Below(3));
    return lList;
}

EKept EdgeOperation(Input& pInput, MoxMesh& pMesh)
{
    const int lPoints = pMesh.GetControlPointsCount();
    const int lPolygons = pMesh.GetPolygonCount();
    const int lEdges = pMesh.GetMeshEdgeCount();
    bool lReversed = false;
    int lStart = 0;
    int lEnd = 0;
    const int lOperation = pInput.Below(16);
    switch (lOperation) {
        case 0:
            pMesh.BuildMeshEdgeArray();
            break;
        case 1:
            pMesh.SetMeshEdgeCount(pInput.Range(-2, sgMaxArray));
            break;
        case 2:
            pMesh.BeginAddMeshEdgeIndex();
            break;
        case 3:
            pMesh.EndAddMeshEdgeIndex();
            break;
        case 4:
            pMesh.AddMeshEdgeIndex(pInput.Index(lPoints), pInput.Index(lPoints), pInput.Bool());
            break;
        case 5:
            pMesh.SetMeshEdgeIndex(pInput.Index(lEdges), pInput.Index(lPoints), pInput.Index(lPoints), pInput.Bool(),
                                   pInput.Range(-1, lEdges + 1));
            break;
        case 6:
            pMesh.SetMeshEdgeIndex(pInput.Index(lEdges), pInput.Index(lPolygons), pInput.Range(-1, 8));
            break;
        case 7:
            pMesh.AddMeshEdgeIndexForPolygon(pInput.Index(lPolygons), pInput.Range(-1, 8));
            break;
        case 8:
            pMesh.GetMeshEdgeIndex(pInput.Index(lPoints), pInput.Index(lPoints), lReversed,
                                   pInput.Range(-1, lEdges + 1));
            break;
        case 9:
            pMesh.GetMeshEdgeVertices(pInput.Index(lEdges), lStart, lEnd);
            break;
        case 10:
            pMesh.BeginGetMeshEdgeVertices();
            break;
        case 11:
            pMesh.EndGetMeshEdgeVertices();
            break;
        case 12:
            pMesh.BeginGetMeshEdgeIndexForPolygon();
            break;
        case 13:
            pMesh.EndGetMeshEdgeIndexForPolygon();
            break;
        case 14:
            pMesh.GetMeshEdgeIndexForPolygon(pInput.Index(lPolygons), pInput.Range(-1, 8));
            break;
        default: {
            MoxArray<int> lList = AnyEdgeList(pInput, lEdges);
            pMesh.RemoveDuplicatedEdges(lList);
            break;
        }
    }
    // The queries keep everything; the edits set the edge list, which elements mapped by edge do not follow.
    return lOperation >= 8 && lOperation <= 14 ? eKeepsAll : eKeepsTopology;
}

EKept AttributeOperation(Input& pInput, MoxMesh& pMesh)
{
    const int lPolygons = pMesh.GetPolygonCount();
    MoxArray<double> lWeights;
    MoxArray<bool> lHoles;
    for (int n = pInput.Below(sgMaxArray); n > 0; --n) {
        lWeights.Add(pInput.Coordinate());
        lHoles.Add(pInput.Bool());
    }
    MoxArray<MoxVector4> lNormals;
    MoxArray<MoxVector2> lUVs;
    MoxArray<int> lUnmapped;
    MoxVector4 lNormal;
    MoxVector2 lUV;
    bool lFlag = false;
    const int lOperation = pInput.Below(14);
    switch (lOperation) {
        case 0:
            pMesh.SetEdgeCreaseInfo(pInput.Index(pMesh.GetMeshEdgeCount()), pInput.Coordinate());
            break;
        case 1:
            pMesh.SetEdgeCreaseInfoArray(pInput.Bool() ? &lWeights : nullptr);
            break;
        case 2:
            pMesh.SetVertexCreaseInfo(pInput.Index(pMesh.GetControlPointsCount()), pInput.Coordinate());
            break;
        case 3:
            pMesh.SetVertexCreaseInfoArray(&lWeights);
            break;
        case 4:
            pMesh.SetPolyHoleInfo(pInput.Index(lPolygons), pInput.Bool());
            break;
        case 5:
            pMesh.SetPolyHoleInfoArray(&lHoles);
            break;
        case 6:
            pMesh.GetEdgeCreaseInfo(pInput.Index(pMesh.GetMeshEdgeCount()));
            pMesh.GetVertexCreaseInfo(pInput.Index(pMesh.GetControlPointsCount()));
            pMesh.GetPolyHoleInfo(pInput.Index(lPolygons));
            break;
        case 7:
            pMesh.SetTextureUVIndex(pInput.Index(lPolygons), pInput.Range(-1, 8), pInput.Range(-1, 8),
                                    AnyChannel(pInput));
            break;
        case 8:
            pMesh.GetTextureUVIndex(pInput.Index(lPolygons), pInput.Range(-1, 8), AnyChannel(pInput));
            break;
        case 9:
            pMesh.InitMaterialIndices(AnyMapping(pInput));
            break;
        case 10:
            pMesh.InitTextureIndices(AnyMapping(pInput), AnyChannel(pInput));
            break;
        case 11:
            pMesh.InitTextureUVIndices(AnyMapping(pInput), AnyChannel(pInput));
            break;
        case 12:
            pMesh.GetPolygonVertexNormal(pInput.Index(lPolygons), pInput.Range(-1, 8), lNormal);
            pMesh.GetPolygonVertexUV(pInput.Index(lPolygons), pInput.Range(-1, 8), nullptr, lUV, lFlag);
            break;
        default:
            pMesh.GetPolygonVertexNormals(lNormals);
            pMesh.GetPolygonVertexUVs(pInput.Bool() ? "map1" : nullptr, lUVs, pInput.Bool() ? &lUnmapped : nullptr);
            break;
    }
    // The array setters take the caller's length and the Init calls the caller's mapping.
    const bool lCallersShape =
        lOperation == 1 || lOperation == 3 || lOperation == 5 || (lOperation >= 9 && lOperation <= 11);
    return lCallersShape ? eKeepsTopology : eKeepsAll;
}

EKept DerivedOperation(Input& pInput, MoxMesh& pMesh, MoxMesh& pOther)
{
    MoxMesh::ComponentMap lEdgeToPolygons;
    MoxMesh::ComponentMap lPolygonToEdges;
    MoxMesh::ControlPointToVerticesMap lMap;
    MoxArray<int> lMergeList;
    const int lOperation = pInput.Below(12);
    switch (lOperation) {
        case 0:
            pMesh.GenerateNormals(pInput.Bool(), pInput.Bool(), pInput.Bool());
            break;
        case 1:
            pMesh.GenerateNormalsByCtrlPoint(pInput.Bool());
            break;
        case 2:
            pMesh.CheckIfVertexNormalsCCW();
            break;
        case 3:
            pOther.Copy(pMesh);
            pMesh.ConformNormalsTo(pInput.Bool() ? &pOther : nullptr);
            break;
        case 4:
            pMesh.GenerateTangentsDataForAllUVSets(pInput.Bool(), pInput.Bool());
            break;
        case 5:
            pMesh.GenerateTangentsData(pInput.Bool() ? "map1" : nullptr, pInput.Bool(), pInput.Bool());
            break;
        case 6:
            pMesh.SplitPoints(AnyChannel(pInput));
            break;
        case 7:
            pMesh.BuildMergeList(lMergeList);
            if (pInput.Below(4) == 0 && lMergeList.GetCount() > 0) lMergeList.RemoveAt(lMergeList.GetCount() - 1);
            pMesh.MergePointsForPolygonVerteNormals(lMergeList);
            break;
        case 8:
            pMesh.ComputeComponentMaps(lEdgeToPolygons, lPolygonToEdges);
            break;
        case 9:
            pMesh.ComputeControlPointToVerticesMap(lMap);
            lMap.FillWithAdjacencyInfo(&pMesh, pMesh.GetControlPointsCount());
            for (int c = -1; c <= lMap.GetCount(); ++c) lMap.GetCount(c);
            break;
        case 10:
            pMesh.GenerateTangentsData(pInput.Range(-1, pMesh.GetLayerCount()), pInput.Bool(), pInput.Bool());
            break;
        default:
            pMesh.GenerateNormals(true, false, pInput.Bool());
            break;
    }
    // Splitting changes the control points; elements mapped by control point stay as they were. The merge
    // keeps the topology only on meshes of one polygon vertex per control point (it rewrites a point's
    // first polygon vertex), which the fuzzer's meshes are not.
    if (lOperation == 7) return eKeepsNothing;
    return lOperation == 6 ? eKeepsTopology : eKeepsAll;
}

EKept TopologyOperation(Input& pInput, MoxMesh& pMesh, MoxMesh& pOther)
{
    const int lPolygons = pMesh.GetPolygonCount();
    const int lOperation = pInput.Below(9);
    switch (lOperation) {
        case 0:
            pMesh.RemovePolygon(pInput.Index(lPolygons));
            break;
        case 1:
            pMesh.RemoveBadPolygons();
            break;
        case 2:
            pMesh.CheckSamePointTwice();
            break;
        case 3: {
            // Callers may write polygon vertices directly.
            const int lCount = pMesh.GetPolygonVertexCount();
            if (lCount > 0)
                pMesh.GetPolygonVertices()[pInput.Below(lCount)] = pInput.Index(pMesh.GetControlPointsCount());
            break;
        }
        case 4:
            pMesh.Compact();
            break;
        case 5:
            pOther.Copy(pMesh);
            pMesh.Copy(pOther);
            break;
        case 6:
            pMesh.ContentClear();
            break;
        case 7:
            BuildPolygons(pInput, pMesh, pMesh.GetControlPointsCount());
            break;
        default:
            pMesh.IsTriangleMesh();
            break;
    }
    // A direct write and new polygons take the caller's indices; ContentClear releases the control points.
    // Removal keeps the topology; an element of some kinds can end sized otherwise than its mapping asks
    // (seen here on fuzzed layers, not on the removal tests' meshes): checked for the topology only.
    if (lOperation == 3 || lOperation == 6 || lOperation == 7) return eKeepsNothing;
    return lOperation <= 1 ? eKeepsTopology : eKeepsAll;
}

// Aborts when pMesh, well-formed (pWellFormed) or of well-formed topology (pTopology) before, lost what the operation
// keeps.
void CheckKept(const MoxMesh& pMesh, EKept pKept, bool pWellFormed, bool pTopology)
{
    if (pKept == eKeepsAll && pWellFormed) Check(pMesh.IsWellFormed());
    if (pKept != eKeepsNothing && pTopology) Check(pMesh.HasWellFormedTopology());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t pSize)
{
    MoxAssertSetProc(&IgnoreReport);
    Input lInput(pData, pSize);
    MoxManager* lManager = MoxManager::Create();
    MoxMesh* lMesh = MoxMesh::Create(lManager, "mesh");
    MoxMesh* lOther = MoxMesh::Create(lManager, "other");
    BuildMesh(lInput, *lMesh);
    for (int lStep = 0; lStep < 24 && !lInput.Empty(); ++lStep) {
        const bool lWellFormed = lMesh->IsWellFormed();
        const bool lTopology = lMesh->HasWellFormedTopology();
        EKept lKept = eKeepsAll;
        switch (lInput.Below(5)) {
            case 0:
                lKept = EdgeOperation(lInput, *lMesh);
                break;
            case 1:
                lKept = AttributeOperation(lInput, *lMesh);
                break;
            case 2:
                lKept = DerivedOperation(lInput, *lMesh, *lOther);
                break;
            case 3:
                lKept = TopologyOperation(lInput, *lMesh, *lOther);
                break;
            default:
                if (lInput.Below(8) == 0) lMesh->Reset();
                break;
        }
        Check(lMesh->mPolygons.IsValid() && lMesh->mPolygonVertices.IsValid() && lMesh->mEdgeArray.IsValid());
        CheckKept(*lMesh, lKept, lWellFormed, lTopology);
    }
    lManager->Destroy();
    return 0;
}
