// Polygon removal and degenerate-polygon clean-up: the documented cases with exact values, every element
// kind in every mapping and reference mode on two layers, and the library against the literal versions
// of tests/scene/geometry/oracle/moxmeshremove_oracle.h on random meshes (degenerate polygons, repeated,
// negative and out-of-range vertices, inconsistent polygon ranges, stray edge entries), comparing every
// array (contents up to the capacity for the topology arrays) and every report.
#include "moxsdk/scene/geometry/moxmesh.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "moxsdk/scene/moxsurfacematerial.h"
#include "moxsdk/scene/moxtexture.h"
#include "scene/geometry/oracle/moxmeshremove_oracle.h"
#include "support/moxtestmeshes.h"
#include "support/moxtestsupport.h"

using namespace moxsdk;
using moxoracle::MeshAccess;

namespace {

using EMapping = MoxLayerElement::EMappingMode;
using EReference = MoxLayerElement::EReferenceMode;

// ---- Element values and kinds ------------------------------------------------------------------------

// A value that tells entries apart (bools follow an irregular bit pattern).
template <class T>
T Value(int pNumber)
{
    if constexpr (std::is_pointer<T>::value) {
        // Pointers that are compared, never followed.
        return reinterpret_cast<T>(uintptr_t(16) * uintptr_t(pNumber + 1));  // NOLINT(performance-no-int-to-ptr)
    } else if constexpr (std::is_same<T, bool>::value) {
        return ((0x2D6B >> (pNumber % 15)) & 1) != 0;
    } else if constexpr (std::is_same<T, int>::value) {
        return 1000 + pNumber;
    } else if constexpr (std::is_same<T, float>::value) {
        return 0.25f * float(pNumber);
    } else if constexpr (std::is_same<T, double>::value) {
        return 0.5 * pNumber + 7.0;
    } else if constexpr (std::is_same<T, MoxVector2>::value) {
        return MoxVector2(pNumber, -pNumber);
    } else if constexpr (std::is_same<T, MoxColor>::value) {
        return MoxColor(pNumber, 0.5, 0.25, 1.0);
    } else {
        return MoxVector4(pNumber, 2.0 * pNumber, 3.0, 1.0);
    }
}

enum class EKind {
    eNormal,
    eTangent,
    eBinormal,
    eVertexColor,
    eMaterial,
    eTexture,
    eUV,
    ePolygonGroup,
    eSmoothing,
    eUserData,
    eVisibility,
    eEdgeCrease,
    eVertexCrease,
    eHole,
    eCount
};

const char* KindName(EKind pKind)
{
    static const char* const sgNames[] = {"normal",     "tangent",     "binormal",      "vertex colour", "material",
                                          "texture",    "uv",          "group",         "smoothing",     "user data",
                                          "visibility", "edge crease", "vertex crease", "hole"};
    return sgNames[int(pKind)];
}

// Creates an element of pKind on pLayer (textures and UVs on pChannel) and calls pVisit with it, typed.
// User data gets one int and one double field.
template <class F>
void CreateAndVisit(MoxMesh& pMesh, MoxLayer& pLayer, EKind pKind, MoxLayerElement::EType pChannel, F&& pVisit)
{
    switch (pKind) {
        case EKind::eNormal:
            pLayer.SetNormals(MoxLayerElementNormal::Create(&pMesh, "n"));
            return pVisit(pLayer.GetNormals());
        case EKind::eTangent:
            pLayer.SetTangents(MoxLayerElementTangent::Create(&pMesh, "t"));
            return pVisit(pLayer.GetTangents());
        case EKind::eBinormal:
            pLayer.SetBinormals(MoxLayerElementBinormal::Create(&pMesh, "b"));
            return pVisit(pLayer.GetBinormals());
        case EKind::eVertexColor:
            pLayer.SetVertexColors(MoxLayerElementVertexColor::Create(&pMesh, "c"));
            return pVisit(pLayer.GetVertexColors());
        case EKind::eMaterial:
            pLayer.SetMaterials(MoxLayerElementMaterial::Create(&pMesh, "m"));
            return pVisit(pLayer.GetMaterials());
        case EKind::eTexture:
            pLayer.SetTextures(pChannel, MoxLayerElementTexture::Create(&pMesh, "x"));
            return pVisit(pLayer.GetTextures(pChannel));
        case EKind::eUV:
            pLayer.SetUVs(MoxLayerElementUV::Create(&pMesh, "uv"), pChannel);
            return pVisit(pLayer.GetUVs(pChannel));
        case EKind::ePolygonGroup:
            pLayer.SetPolygonGroups(MoxLayerElementPolygonGroup::Create(&pMesh, "g"));
            return pVisit(pLayer.GetPolygonGroups());
        case EKind::eSmoothing:
            pLayer.SetSmoothing(MoxLayerElementSmoothing::Create(&pMesh, "s"));
            return pVisit(pLayer.GetSmoothing());
        case EKind::eVisibility:
            pLayer.SetVisibility(MoxLayerElementVisibility::Create(&pMesh, "v"));
            return pVisit(pLayer.GetVisibility());
        case EKind::eEdgeCrease:
            pLayer.SetEdgeCrease(MoxLayerElementCrease::Create(&pMesh, "ec"));
            return pVisit(pLayer.GetEdgeCrease());
        case EKind::eVertexCrease:
            pLayer.SetVertexCrease(MoxLayerElementCrease::Create(&pMesh, "vc"));
            return pVisit(pLayer.GetVertexCrease());
        case EKind::eHole:
            pLayer.SetHole(MoxLayerElementHole::Create(&pMesh, "h"));
            return pVisit(pLayer.GetHole());
        default:
            return;
    }
}

template <class T>
void SetModesAndArrays(MoxLayerElementTemplate<T>* pElement, EMapping pMapping, EReference pReference,
                       const std::vector<int>& pDirect, const std::vector<int>& pIndex)
{
    pElement->SetMappingMode(pMapping);
    pElement->SetReferenceMode(pReference);
    for (int lValue : pDirect) pElement->mDirectArray->Add(Value<T>(lValue));
    for (int lValue : pIndex) pElement->mIndexArray->Add(lValue);
}

// A user-data element with fields of pTypes, each with pValues values.
MoxLayerElementUserData* MakeUserData(const std::vector<EMoxType>& pTypes, const std::vector<int>& pValues)
{
    MoxArray<MoxDataType> lTypes;
    MoxArray<const char*> lNames;
    for (EMoxType lType : pTypes) {
        lTypes.Add(MoxDataType(lType));
        lNames.Add("field");
    }
    MoxLayerElementUserData* lElement = MoxLayerElementUserData::Create(nullptr, "ud", 7, lTypes, lNames);
    lElement->ResizeAllDirectArrays(int(pValues.size()));
    for (int f = 0; f < int(pTypes.size()); ++f) {
        for (int i = 0; i < int(pValues.size()); ++i) {
            switch (pTypes[size_t(f)]) {
                case eMoxBool:
                    MoxGetDirectArray<bool>(lElement, f).SetAt(i, Value<bool>(pValues[size_t(i)]));
                    break;
                case eMoxInt:
                    MoxGetDirectArray<int>(lElement, f).SetAt(i, Value<int>(pValues[size_t(i)]));
                    break;
                case eMoxFloat:
                    MoxGetDirectArray<float>(lElement, f).SetAt(i, Value<float>(pValues[size_t(i)]));
                    break;
                case eMoxDouble:
                    MoxGetDirectArray<double>(lElement, f).SetAt(i, Value<double>(pValues[size_t(i)]));
                    break;
                case eMoxDouble4:
                    MoxGetDirectArray<MoxVector4>(lElement, f).SetAt(i, Value<MoxVector4>(pValues[size_t(i)]));
                    break;
                default:
                    break;
            }
        }
    }
    return lElement;
}

// ---- Reading arrays back -------------------------------------------------------------------------------

template <class T>
std::vector<T> Values(const MoxLayerElementArrayTemplate<T>& pArray)
{
    std::vector<T> lValues;
    lValues.reserve(pArray.GetCount());
    for (int i = 0; i < pArray.GetCount(); ++i) lValues.push_back(pArray.GetAt(i));
    return lValues;
}

std::vector<int> Ints(const MoxArray<int>& pArray)
{
    return std::vector<int>(pArray.begin(), pArray.end());
}

template <class T>
std::vector<T> ValuesOf(const std::vector<int>& pIds)
{
    std::vector<T> lValues;
    lValues.reserve(pIds.size());
    for (int lId : pIds) lValues.push_back(Value<T>(lId));
    return lValues;
}

std::vector<int> Range(int pCount, int pBase = 0)
{
    std::vector<int> lValues;
    lValues.reserve(pCount);
    for (int i = 0; i < pCount; ++i) lValues.push_back(pBase + i);
    return lValues;
}

// pValues without the entries at pPositions.
std::vector<int> Without(const std::vector<int>& pValues, const std::vector<int>& pPositions)
{
    std::vector<int> lKept;
    for (int i = 0; i < int(pValues.size()); ++i)
        if (std::find(pPositions.begin(), pPositions.end(), i) == pPositions.end()) lKept.push_back(pValues[size_t(i)]);
    return lKept;
}

std::vector<moxtest::Report> Capture(const std::function<void()>& pAction)
{
    moxtest::ReportCapture lCapture;
    pAction();
    return lCapture.Reports();
}

// ---- Fixture meshes ------------------------------------------------------------------------------------

// moxtest::MakeTwoQuads with its seven edges: polygon vertices 0, 1, 2, 3 of the first quad, then 4, 5, 6
// of the second (its side 2-1 is the shared edge).
void MakeTwoQuadsWithEdges(MoxMesh& pMesh)
{
    moxtest::MakeTwoQuads(pMesh);
    moxoracle::BuildEdgesByWalk(pMesh);
}

// ---- Removal: documented cases -------------------------------------------------------------------------

TEST(MoxMeshRemovePolygon, RemovingTheOnlyQuadLeavesNoTopologyButKeepsControlPoints)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeQuad(*lMesh);
    moxoracle::BuildEdgesByWalk(*lMesh);
    ASSERT_EQ(lMesh->GetMeshEdgeCount(), 4);
    moxtest::ReportCapture lReports;
    EXPECT_EQ(lMesh->RemovePolygon(0), 0);
    EXPECT_EQ(lMesh->GetPolygonCount(), 0);
    EXPECT_EQ(lMesh->GetPolygonVertexCount(), 0);
    EXPECT_EQ(lMesh->GetMeshEdgeCount(), 0);
    EXPECT_EQ(lMesh->GetControlPointsCount(), 4);
    EXPECT_EQ(lReports.Count(), 0u);
}

TEST(MoxMeshRemovePolygon, SharedEdgeMovesToTheNeighbourAndTheRestShifts)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    MakeTwoQuadsWithEdges(*lMesh);
    ASSERT_EQ(Ints(lMesh->mEdgeArray), (std::vector<int>{0, 1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(lMesh->RemovePolygon(0), 0);
    // Edge 1 (1 to 2) now starts at the second quad's corner 3 (2 to 1), polygon vertex 7 before the shift;
    // edges 0, 2 and 3 are gone; every start moves down by 4.
    EXPECT_EQ(Ints(lMesh->mEdgeArray), (std::vector<int>{3, 0, 1, 2}));
    ASSERT_EQ(lMesh->GetPolygonCount(), 1);
    EXPECT_EQ(lMesh->mPolygons[0].mIndex, 0);
    EXPECT_EQ(lMesh->mPolygons[0].mSize, 4);
    EXPECT_EQ(Ints(lMesh->mPolygonVertices), (std::vector<int>{1, 4, 5, 2}));
}

TEST(MoxMeshRemovePolygon, RemovingTheSecondPolygonKeepsEarlierEdgeStarts)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    MakeTwoQuadsWithEdges(*lMesh);
    EXPECT_EQ(lMesh->RemovePolygon(1), 1);
    // The shared edge already starts in the first quad; edges 4, 5, 6 go.
    EXPECT_EQ(Ints(lMesh->mEdgeArray), (std::vector<int>{0, 1, 2, 3}));
    EXPECT_EQ(Ints(lMesh->mPolygonVertices), (std::vector<int>{0, 1, 2, 3}));
}

// The ends compared by the search are clamped by the edge count, not by the control point count: with
// three edges, control points 9 and 8 both read as 2, so side 2-9 of the removed triangle matches side
// 2-8 of the other one and the edge survives there.
TEST(MoxMeshRemovePolygon, SearchClampsControlPointsByTheEdgeCount)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    std::vector<moxtest::Point> lPoints(10, moxtest::Point{0, 0, 0});
    moxtest::BuildMesh(*lMesh, lPoints, {{2, 9, 5}, {2, 8, 6}});
    for (int lStart : {0, 3, 4}) lMesh->mEdgeArray.Add(lStart);
    EXPECT_EQ(lMesh->RemovePolygon(0), 0);
    EXPECT_EQ(Ints(lMesh->mEdgeArray), (std::vector<int>{0, 0, 1}));
    EXPECT_EQ(MeshAccess::CallGetIndex(*lMesh, 1, 3), 2);  // control point 8 clamps to 2
}

TEST(MoxMeshRemovePolygon, IndexToDirectUVsLoseIndicesButKeepTheirValues)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    MakeTwoQuadsWithEdges(*lMesh);
    MoxLayerElementUV* lUVs = MoxLayerElementUV::Create(lMesh, "uv");
    lMesh->GetLayer(0)->SetUVs(lUVs);
    SetModesAndArrays(lUVs, MoxLayerElement::eByPolygonVertex, MoxLayerElement::eIndexToDirect, Range(5),
                      {4, 3, 2, 1, 0, 1, 2, 3});
    lMesh->RemovePolygon(0);
    EXPECT_EQ(Values(lUVs->GetIndexArray()), (std::vector<int>{0, 1, 2, 3}));
    EXPECT_EQ(Values(lUVs->GetDirectArray()), ValuesOf<MoxVector2>(Range(5)));
}

TEST(MoxMeshRemovePolygon, EdgeMappedElementsLoseTheRemovedEdgesOnly)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    MakeTwoQuadsWithEdges(*lMesh);
    MoxLayerElementCrease* lCrease = MoxLayerElementCrease::Create(lMesh, "crease");
    lMesh->GetLayer(0)->SetEdgeCrease(lCrease);
    SetModesAndArrays(lCrease, MoxLayerElement::eByEdge, MoxLayerElement::eDirect, Range(7), {});
    MoxLayerElementSmoothing* lSmoothing = MoxLayerElementSmoothing::Create(lMesh, "smoothing");
    lMesh->GetLayer(0)->SetSmoothing(lSmoothing);
    SetModesAndArrays(lSmoothing, MoxLayerElement::eByEdge, MoxLayerElement::eIndexToDirect, Range(2),
                      {0, 1, 0, 1, 1, 0, 1});
    lMesh->RemovePolygon(0);
    EXPECT_EQ(Values(lCrease->GetDirectArray()), ValuesOf<double>({1, 4, 5, 6}));
    EXPECT_EQ(Values(lSmoothing->GetIndexArray()), (std::vector<int>{1, 1, 0, 1}));
}

// The removed edges are taken from the largest down: on an array too short for the edge table only the
// entries that exist go, the others are passed over.
TEST(MoxMeshRemovePolygon, ShortEdgeMappedArraysLoseWhatTheyHave)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    MakeTwoQuadsWithEdges(*lMesh);
    MoxLayerElementCrease* lCrease = MoxLayerElementCrease::Create(lMesh, "crease");
    lMesh->GetLayer(0)->SetEdgeCrease(lCrease);
    SetModesAndArrays(lCrease, MoxLayerElement::eByEdge, MoxLayerElement::eDirect, Range(3), {});
    moxtest::ReportCapture lReports;
    lMesh->RemovePolygon(0);
    EXPECT_EQ(Values(lCrease->GetDirectArray()), ValuesOf<double>({1}));
    EXPECT_EQ(lReports.Count(), 0u);
}

TEST(MoxMeshRemovePolygon, OutOfRangeIndicesReturnMinusOneAndChangeNothing)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    MakeTwoQuadsWithEdges(*lMesh);
    MoxLayerElementNormal* lNormals = MoxLayerElementNormal::Create(lMesh, "n");
    lMesh->GetLayer(0)->SetNormals(lNormals);
    SetModesAndArrays(lNormals, MoxLayerElement::eByPolygonVertex, MoxLayerElement::eDirect, Range(8), {});
    EXPECT_EQ(lMesh->RemovePolygon(-1), -1);
    EXPECT_EQ(lMesh->RemovePolygon(lMesh->GetPolygonCount()), -1);
    EXPECT_EQ(lMesh->GetPolygonCount(), 2);
    EXPECT_EQ(lMesh->GetPolygonVertexCount(), 8);
    EXPECT_EQ(lMesh->GetMeshEdgeCount(), 7);
    // Not even the direct elements are converted.
    EXPECT_EQ(lNormals->GetReferenceMode(), MoxLayerElement::eDirect);
}

TEST(MoxMeshRemovePolygon, SuccessReturnsTheArgument)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeCube(*lMesh);
    EXPECT_EQ(lMesh->RemovePolygon(4), 4);
    EXPECT_EQ(lMesh->RemovePolygon(0), 0);
    EXPECT_EQ(lMesh->GetPolygonCount(), 4);
}

// Without edges nothing is searched and every later polygon moves down by the removed size.
TEST(MoxMeshRemovePolygon, WithoutEdgesOnlyPolygonsAndVerticesChange)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeCube(*lMesh);
    lMesh->RemovePolygon(1);
    EXPECT_EQ(lMesh->GetMeshEdgeCount(), 0);
    ASSERT_EQ(lMesh->GetPolygonCount(), 5);
    for (int q = 0; q < 5; ++q) EXPECT_EQ(lMesh->mPolygons[q].mIndex, 4 * q);
    EXPECT_EQ(lMesh->GetPolygonVertex(1, 0), 0);
    EXPECT_EQ(lMesh->GetPolygonVertex(1, 2), 5);
}

// The start of the removed run is the sum of the earlier sizes, negative sizes counting as 0, and the
// later polygons move down by the removed size even when their mIndex disagrees.
TEST(MoxMeshRemovePolygon, TheRemovedRunStartsAtTheSumOfEarlierSizes)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::BuildMesh(*lMesh, std::vector<moxtest::Point>(8, moxtest::Point{0, 0, 0}),
                       {{0, 1, 2}, {3, 4, 5}, {6, 7, 0}});
    lMesh->mPolygons[0].mSize = -4;  // counts as 0
    lMesh->mPolygons[2].mIndex = 40;
    lMesh->RemovePolygon(1);
    // The run removed starts at 0, not at mIndex 3.
    EXPECT_EQ(Ints(lMesh->mPolygonVertices), (std::vector<int>{3, 4, 5, 6, 7, 0}));
    EXPECT_EQ(lMesh->mPolygons[1].mIndex, 37);
}

TEST(MoxMeshRemovePolygon, ControlPointElementsAreKeptOnEveryLayer)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    MakeTwoQuadsWithEdges(*lMesh);
    lMesh->CreateLayer();
    MoxLayerElementNormal* lNormals = MoxLayerElementNormal::Create(lMesh, "n");
    lMesh->GetLayer(1)->SetNormals(lNormals);
    SetModesAndArrays(lNormals, MoxLayerElement::eByControlPoint, MoxLayerElement::eDirect, Range(6), {});
    lMesh->RemovePolygon(0);
    // Converted to index-to-direct, then left alone: control points are not removed.
    EXPECT_EQ(lNormals->GetReferenceMode(), MoxLayerElement::eIndexToDirect);
    EXPECT_EQ(Values(lNormals->GetIndexArray()), Range(6));
    EXPECT_EQ(Values(lNormals->GetDirectArray()), ValuesOf<MoxVector4>(Range(6)));
}

// User-data fields of a type that removal does not support are reported once per removed entry.
TEST(MoxMeshRemovePolygon, UserDataVectorFieldsAreReportedPerEntry)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    MakeTwoQuadsWithEdges(*lMesh);
    MoxLayerElementUserData* lUserData = MakeUserData({eMoxInt, eMoxDouble4}, Range(8));
    lUserData->SetMappingMode(MoxLayerElement::eByPolygonVertex);
    lMesh->GetLayer(0)->SetUserData(lUserData);
    moxtest::ReportCapture lReports;
    lMesh->RemovePolygon(0);
    ASSERT_EQ(lReports.Count(), 4u);
    for (const moxtest::Report& lReport : lReports.Reports()) {
        EXPECT_EQ(lReport.mFile, "scene/geometry/moxlayer");
        EXPECT_EQ(lReport.mFunction, "RemoveFromAllDirectArrays");
        EXPECT_EQ(lReport.mMessage, "unknown type");
    }
    EXPECT_EQ(Values(MoxGetDirectArray<int>(lUserData, 0)), ValuesOf<int>({4, 5, 6, 7}));
    EXPECT_EQ(MoxGetDirectArray<MoxVector4>(lUserData, 1).GetCount(), 8);
}

TEST(MoxMeshRemovePolygon, UserDataFieldsLoseTheRemovedEdges)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    MakeTwoQuadsWithEdges(*lMesh);
    MoxLayerElementUserData* lUserData = MakeUserData({eMoxInt, eMoxBool, eMoxFloat}, Range(7));
    lUserData->SetMappingMode(MoxLayerElement::eByEdge);
    lMesh->GetLayer(0)->SetUserData(lUserData);
    moxtest::ReportCapture lReports;
    lMesh->RemovePolygon(0);
    EXPECT_EQ(lReports.Count(), 0u);
    EXPECT_EQ(Values(MoxGetDirectArray<int>(lUserData, 0)), ValuesOf<int>({1, 4, 5, 6}));
    EXPECT_EQ(Values(MoxGetDirectArray<bool>(lUserData, 1)), ValuesOf<bool>({1, 4, 5, 6}));
    EXPECT_EQ(Values(MoxGetDirectArray<float>(lUserData, 2)), ValuesOf<float>({1, 4, 5, 6}));
}

// Two user-data entries naming the same field array: every removal applies twice, entry after entry.
TEST(MoxMeshRemovePolygon, SharedUserDataFieldArraysLoseEntriesPerCall)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    MakeTwoQuadsWithEdges(*lMesh);
    MoxLayerElementUserData* lUserData = MakeUserData({eMoxInt, eMoxInt}, Range(7));
    lUserData->SetMappingMode(MoxLayerElement::eByEdge);
    lUserData->mDirectArray->SetAt(1, lUserData->mDirectArray->GetAt(0));
    lMesh->GetLayer(0)->SetUserData(lUserData);
    lMesh->RemovePolygon(0);
    // Per removed edge 3, 2, 0: entry e goes, then entry e again (what was e + 1).
    EXPECT_EQ(Values(MoxGetDirectArray<int>(lUserData, 0)), ValuesOf<int>({6}));
}

// ---- Removal: every element kind, mapping and reference mode on two layers ------------------------------

bool ConvertsDirect(EKind pKind)
{
    return pKind != EKind::eSmoothing && pKind != EKind::eUserData && pKind != EKind::eEdgeCrease &&
           pKind != EKind::eVertexCrease && pKind != EKind::eHole;
}

enum class ELoses { eNothing, eIndexEntries, eDirectEntries };

// What an element loses, by kind, mapping and reference mode (after the direct-to-index conversion).
ELoses ExpectedLoss(EKind pKind, EMapping pMapping, EReference pReference)
{
    const bool lIndexed = pReference != MoxLayerElement::eDirect;
    const ELoses lFromReference = lIndexed ? ELoses::eIndexEntries : ELoses::eDirectEntries;
    const bool lPolygonal = pMapping == MoxLayerElement::eByPolygonVertex || pMapping == MoxLayerElement::eByPolygon;
    const bool lByEdge = pMapping == MoxLayerElement::eByEdge;
    const ELoses lEdgeLoss = pReference == MoxLayerElement::eIndex ? ELoses::eNothing : lFromReference;
    switch (pKind) {
        case EKind::eNormal:
        case EKind::eTangent:
        case EKind::eBinormal:
        case EKind::eVertexColor:
        case EKind::ePolygonGroup:
        case EKind::eTexture:
        case EKind::eUV:
            return lPolygonal ? lFromReference : ELoses::eNothing;
        case EKind::eVisibility:
        case EKind::eUserData:
            return lPolygonal ? lFromReference : lByEdge ? lEdgeLoss : ELoses::eNothing;
        case EKind::eMaterial:
            return lPolygonal && lIndexed ? ELoses::eIndexEntries : ELoses::eNothing;
        case EKind::eSmoothing:
            return pMapping == MoxLayerElement::eByPolygon ? lFromReference : lByEdge ? lEdgeLoss : ELoses::eNothing;
        case EKind::eEdgeCrease:
            return lByEdge ? lEdgeLoss : ELoses::eNothing;
        default:
            return ELoses::eNothing;
    }
}

// Entry counts on the two-quad mesh per mapping, and the entries that polygon 0 takes with it.
int ComponentCount(EMapping pMapping)
{
    switch (pMapping) {
        case MoxLayerElement::eByControlPoint:
            return 6;
        case MoxLayerElement::eByPolygonVertex:
            return 8;
        case MoxLayerElement::eByPolygon:
            return 2;
        case MoxLayerElement::eByEdge:
            return 7;
        default:
            return 1;
    }
}

std::vector<int> RemovedComponents(EMapping pMapping)
{
    switch (pMapping) {
        case MoxLayerElement::eByPolygonVertex:
            return {0, 1, 2, 3};
        case MoxLayerElement::eByPolygon:
            return {0};
        case MoxLayerElement::eByEdge:
            return {0, 2, 3};
        default:
            return {};
    }
}

struct ElementCase {
    EKind mKind;
    EMapping mMapping;
    EReference mReference;
};

std::string CaseName(const ElementCase& pCase)
{
    return std::string(KindName(pCase.mKind)) + " mapping " + std::to_string(int(pCase.mMapping)) + " reference " +
           std::to_string(int(pCase.mReference));
}

template <class T>
void CheckElement(MoxLayerElementTemplate<T>* pElement, const ElementCase& pCase, int pLayer)
{
    SCOPED_TRACE(CaseName(pCase) + " layer " + std::to_string(pLayer));
    ASSERT_NE(pElement, nullptr);
    const int lCount = ComponentCount(pCase.mMapping);
    const bool lConverted = pCase.mReference == MoxLayerElement::eDirect && ConvertsDirect(pCase.mKind);
    const EReference lReference = lConverted ? MoxLayerElement::eIndexToDirect : pCase.mReference;
    EXPECT_EQ(pElement->GetReferenceMode(), lReference);
    std::vector<int> lDirect = Range(lCount, 100 * pLayer);
    std::vector<int> lIndex = lConverted ? Range(lCount) : Range(lCount, 50);
    const ELoses lLoss = ExpectedLoss(pCase.mKind, pCase.mMapping, lReference);
    if (lLoss == ELoses::eIndexEntries) lIndex = Without(lIndex, RemovedComponents(pCase.mMapping));
    if (lLoss == ELoses::eDirectEntries) lDirect = Without(lDirect, RemovedComponents(pCase.mMapping));
    EXPECT_EQ(Values(*pElement->mDirectArray), ValuesOf<T>(lDirect));
    EXPECT_EQ(Values(*pElement->mIndexArray), lIndex);
}

// User data holds its values in one int field.
void CheckUserData(MoxLayerElementUserData* pElement, const ElementCase& pCase, int pLayer)
{
    SCOPED_TRACE(CaseName(pCase) + " layer " + std::to_string(pLayer));
    ASSERT_NE(pElement, nullptr);
    const int lCount = ComponentCount(pCase.mMapping);
    std::vector<int> lDirect = Range(lCount, 100 * pLayer);
    std::vector<int> lIndex = Range(lCount, 50);
    const ELoses lLoss = ExpectedLoss(pCase.mKind, pCase.mMapping, pCase.mReference);
    if (lLoss == ELoses::eIndexEntries) lIndex = Without(lIndex, RemovedComponents(pCase.mMapping));
    if (lLoss == ELoses::eDirectEntries) lDirect = Without(lDirect, RemovedComponents(pCase.mMapping));
    EXPECT_EQ(pElement->GetReferenceMode(), pCase.mReference);
    EXPECT_EQ(Values(MoxGetDirectArray<int>(pElement, 0)), ValuesOf<int>(lDirect));
    EXPECT_EQ(Values(*pElement->mIndexArray), lIndex);
}

void InstallCase(MoxMesh& pMesh, const ElementCase& pCase, int pLayer)
{
    MoxLayer& lLayer = *pMesh.GetLayer(pLayer);
    const int lCount = ComponentCount(pCase.mMapping);
    if (pCase.mKind == EKind::eUserData) {
        MoxLayerElementUserData* lUserData = MakeUserData({eMoxInt}, Range(lCount, 100 * pLayer));
        lUserData->SetMappingMode(pCase.mMapping);
        lUserData->SetReferenceMode(pCase.mReference);
        for (int lValue : Range(lCount, 50)) lUserData->mIndexArray->Add(lValue);
        lLayer.SetUserData(lUserData);
        return;
    }
    const MoxLayerElement::EType lChannel =
        pLayer == 0 ? MoxLayerElement::eTextureChannel0 : MoxLayerElement::eTextureChannel9;
    CreateAndVisit(pMesh, lLayer, pCase.mKind, lChannel, [&](auto* pElement) {
        SetModesAndArrays(pElement, pCase.mMapping, pCase.mReference, Range(lCount, 100 * pLayer), Range(lCount, 50));
    });
}

void CheckCase(MoxMesh& pMesh, const ElementCase& pCase, int pLayer)
{
    MoxLayer& lLayer = *pMesh.GetLayer(pLayer);
    if (pCase.mKind == EKind::eUserData) return CheckUserData(lLayer.GetUserData(), pCase, pLayer);
    const MoxLayerElement::EType lChannel =
        pLayer == 0 ? MoxLayerElement::eTextureChannel0 : MoxLayerElement::eTextureChannel9;
    switch (pCase.mKind) {
        case EKind::eNormal:
            return CheckElement(lLayer.GetNormals(), pCase, pLayer);
        case EKind::eTangent:
            return CheckElement(lLayer.GetTangents(), pCase, pLayer);
        case EKind::eBinormal:
            return CheckElement(lLayer.GetBinormals(), pCase, pLayer);
        case EKind::eVertexColor:
            return CheckElement(lLayer.GetVertexColors(), pCase, pLayer);
        case EKind::eMaterial:
            return CheckElement(lLayer.GetMaterials(), pCase, pLayer);
        case EKind::eTexture:
            return CheckElement(lLayer.GetTextures(lChannel), pCase, pLayer);
        case EKind::eUV:
            return CheckElement(lLayer.GetUVs(lChannel), pCase, pLayer);
        case EKind::ePolygonGroup:
            return CheckElement(lLayer.GetPolygonGroups(), pCase, pLayer);
        case EKind::eSmoothing:
            return CheckElement(lLayer.GetSmoothing(), pCase, pLayer);
        case EKind::eVisibility:
            return CheckElement(lLayer.GetVisibility(), pCase, pLayer);
        case EKind::eEdgeCrease:
            return CheckElement(lLayer.GetEdgeCrease(), pCase, pLayer);
        case EKind::eVertexCrease:
            return CheckElement(lLayer.GetVertexCrease(), pCase, pLayer);
        case EKind::eHole:
            return CheckElement(lLayer.GetHole(), pCase, pLayer);
        default:
            return;
    }
}

TEST(MoxMeshRemovePolygon, EveryElementKindMappingAndReferenceOnTwoLayers)
{
    const EMapping lMappings[] = {
        MoxLayerElement::eNone,      MoxLayerElement::eByControlPoint, MoxLayerElement::eByPolygonVertex,
        MoxLayerElement::eByPolygon, MoxLayerElement::eByEdge,         MoxLayerElement::eByMesh};
    const EReference lReferences[] = {MoxLayerElement::eDirect, MoxLayerElement::eIndex,
                                      MoxLayerElement::eIndexToDirect};
    for (int lKind = 0; lKind < int(EKind::eCount); ++lKind) {
        for (EMapping lMapping : lMappings) {
            for (EReference lReference : lReferences) {
                const ElementCase lCase{EKind(lKind), lMapping, lReference};
                moxtest::ManagerScope lScope;
                MoxMesh* lMesh = lScope.NewMesh();
                MakeTwoQuadsWithEdges(*lMesh);
                lMesh->CreateLayer();
                InstallCase(*lMesh, lCase, 0);
                InstallCase(*lMesh, lCase, 1);
                moxtest::ReportCapture lReports;
                ASSERT_EQ(lMesh->RemovePolygon(0), 0);
                EXPECT_EQ(lReports.Count(), 0u) << CaseName(lCase);
                CheckCase(*lMesh, lCase, 0);
                CheckCase(*lMesh, lCase, 1);
                EXPECT_EQ(Ints(lMesh->mEdgeArray), (std::vector<int>{3, 0, 1, 2}));
                EXPECT_EQ(Ints(lMesh->mPolygonVertices), (std::vector<int>{1, 4, 5, 2}));
            }
        }
    }
}

TEST(MoxMeshRemovePolygon, RemoveUVAndTextureIndexFollowTheirElementsModes)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    MakeTwoQuadsWithEdges(*lMesh);
    MoxLayerElementUV* lUVs = MoxLayerElementUV::Create(lMesh, "uv");
    SetModesAndArrays(lUVs, MoxLayerElement::eByPolygonVertex, MoxLayerElement::eDirect, Range(8), Range(8));
    MoxLayerElementTexture* lTextures = MoxLayerElementTexture::Create(lMesh, "tx");
    SetModesAndArrays(lTextures, MoxLayerElement::eByPolygon, MoxLayerElement::eIndex, Range(2), Range(2));
    MeshAccess::CallRemoveUVIndex(*lMesh, lUVs, 1, 4);
    MeshAccess::CallRemoveTextureIndex(*lMesh, lTextures, 1, 4);
    MeshAccess::CallRemoveUVIndex(*lMesh, nullptr, 1, 4);
    MeshAccess::CallRemoveTextureIndex(*lMesh, nullptr, 1, 4);
    EXPECT_EQ(Values(lUVs->GetDirectArray()), ValuesOf<MoxVector2>(Range(4)));
    EXPECT_EQ(Values(*lUVs->mIndexArray), Range(8));
    EXPECT_EQ(Values(lTextures->GetIndexArray()), (std::vector<int>{0}));
    lUVs->Destroy();
    lTextures->Destroy();
}

// ---- Degenerate polygons -------------------------------------------------------------------------------

std::vector<int> BadPolygons(const MoxMesh& pMesh, bool pCheckOne, bool* pResult = nullptr)
{
    MoxArray<int> lList;
    const bool lResult = MeshAccess::CallGetBadPolyIndices(pMesh, lList, pCheckOne);
    if (pResult) *pResult = lResult;
    return Ints(lList);
}

TEST(MoxMeshBadPolygons, DistinctTrianglesAreGood)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeTwoTriangles(*lMesh);
    EXPECT_FALSE(lMesh->CheckSamePointTwice());
    EXPECT_EQ(lMesh->RemoveBadPolygons(), 0);
    EXPECT_EQ(lMesh->GetPolygonCount(), 2);
}

TEST(MoxMeshBadPolygons, RepeatedVertexIsFoundAndRemoved)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::BuildMesh(*lMesh, std::vector<moxtest::Point>(6, moxtest::Point{0, 0, 0}), {{0, 1, 2}, {4, 5, 4}});
    EXPECT_TRUE(lMesh->CheckSamePointTwice());
    EXPECT_EQ(BadPolygons(*lMesh, false), (std::vector<int>{1}));
    EXPECT_EQ(lMesh->RemoveBadPolygons(), 1);
    EXPECT_EQ(lMesh->GetPolygonCount(), 1);
    EXPECT_EQ(Ints(lMesh->mPolygonVertices), (std::vector<int>{0, 1, 2}));
}

// Polygons of fewer than 3 vertices are listed even when checking for one, and the scan goes on past
// them; a polygon bad by its vertices ends the scan at once.
TEST(MoxMeshBadPolygons, SmallPolygonsAreListedEvenWhenCheckingForOne)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::BuildMesh(*lMesh, std::vector<moxtest::Point>(9, moxtest::Point{0, 0, 0}),
                       {{0, 1}, {2, 3, 4}, {5}, {}, {6, 7, 6}, {8, 8}});
    bool lResult = false;
    EXPECT_EQ(BadPolygons(*lMesh, true, &lResult), (std::vector<int>{0, 2, 3}));
    EXPECT_TRUE(lResult);
    EXPECT_EQ(BadPolygons(*lMesh, false, &lResult), (std::vector<int>{0, 2, 3, 4, 5}));
    EXPECT_TRUE(lResult);
    EXPECT_TRUE(lMesh->CheckSamePointTwice());
}

// The last vertex is only compared with the others, never tested for -1 by itself.
TEST(MoxMeshBadPolygons, MinusOneCountsExceptInTheLastPosition)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::BuildMesh(*lMesh, std::vector<moxtest::Point>(10, moxtest::Point{0, 0, 0}),
                       {{7, -1, 8, 9}, {7, 8, 9, -1}, {-1, 7, 8}, {5, -1, 6, -1}});
    EXPECT_EQ(BadPolygons(*lMesh, false), (std::vector<int>{0, 2, 3}));
}

TEST(MoxMeshBadPolygons, RemovalRunsFromTheLastBadPolygonDown)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::BuildMesh(*lMesh, std::vector<moxtest::Point>(16, moxtest::Point{0, 0, 0}),
                       {{0, 1, 2}, {3, 3, 4}, {5, 6, 7, 8}, {9, 10}, {11, 12, 13}});
    EXPECT_EQ(lMesh->RemoveBadPolygons(), 2);
    ASSERT_EQ(lMesh->GetPolygonCount(), 3);
    EXPECT_EQ(Ints(lMesh->mPolygonVertices), (std::vector<int>{0, 1, 2, 5, 6, 7, 8, 11, 12, 13}));
    EXPECT_EQ(lMesh->mPolygons[1].mIndex, 3);
    EXPECT_EQ(lMesh->mPolygons[2].mIndex, 7);
}

TEST(MoxMeshBadPolygons, EmptyMeshHasNone)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    EXPECT_FALSE(lMesh->CheckSamePointTwice());
    EXPECT_EQ(lMesh->RemoveBadPolygons(), 0);
}

// The list is not emptied first: what the caller put there counts towards the result.
TEST(MoxMeshBadPolygons, EarlierEntriesCountTowardsTheResult)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeQuad(*lMesh);
    MoxArray<int> lList;
    lList.Add(99);
    EXPECT_TRUE(MeshAccess::CallGetBadPolyIndices(*lMesh, lList, false));
    EXPECT_EQ(Ints(lList), (std::vector<int>{99}));
}

TEST(MoxMeshBadPolygons, LargePolygonsAreCheckedExactly)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    const int lSize = 200000;
    std::vector<int> lGood = Range(lSize);
    lGood.back() = -1;
    std::vector<int> lRepeat = Range(lSize);
    lRepeat[lSize - 2] = 3;
    moxtest::BuildMesh(*lMesh, std::vector<moxtest::Point>(size_t(lSize), moxtest::Point{0, 0, 0}), {lGood, lRepeat});
    EXPECT_EQ(BadPolygons(*lMesh, false), (std::vector<int>{1}));
}

// ---- The library against the literal versions ----------------------------------------------------------

template <class T>
void ExpectSameTopologyArray(const MoxArray<T>& pA, const MoxArray<T>& pB, const char* pWhat)
{
    ASSERT_EQ(pA.GetCount(), pB.GetCount()) << pWhat;
    ASSERT_EQ(pA.GetCapacity(), pB.GetCapacity()) << pWhat;
    if (pA.GetCapacity() > 0) {
        EXPECT_EQ(std::memcmp(pA.GetArray(), pB.GetArray(), sizeof(T) * size_t(pA.GetCapacity())), 0) << pWhat;
    }
}

void ExpectSameValues(MoxLayerElementArray& pA, MoxLayerElementArray& pB, const char* pWhat)
{
    ASSERT_EQ(pA.GetCount(), pB.GetCount()) << pWhat;
    ASSERT_EQ(pA.GetDataType(), pB.GetDataType()) << pWhat;
    void* lA = pA.GetLocked(MoxLayerElementArray::eReadLock, pA.GetDataType());
    void* lB = pB.GetLocked(MoxLayerElementArray::eReadLock, pB.GetDataType());
    if (lA && lB) {
        EXPECT_EQ(std::memcmp(lA, lB, size_t(pA.GetCount()) * size_t(MoxLayerElementValueSize(pA.GetDataType()))), 0)
            << pWhat;
    }
    pA.Release(&lA, pA.GetDataType());
    pB.Release(&lB, pB.GetDataType());
}

template <class T>
void ExpectSameElement(MoxLayerElementTemplate<T>* pA, MoxLayerElementTemplate<T>* pB, const char* pWhat)
{
    ASSERT_EQ(pA == nullptr, pB == nullptr) << pWhat;
    if (!pA) return;
    EXPECT_EQ(pA->GetMappingMode(), pB->GetMappingMode()) << pWhat;
    EXPECT_EQ(pA->GetReferenceMode(), pB->GetReferenceMode()) << pWhat;
    ExpectSameValues(*pA->mDirectArray, *pB->mDirectArray, pWhat);
    ExpectSameValues(*pA->mIndexArray, *pB->mIndexArray, pWhat);
}

void ExpectSameUserData(MoxLayerElementUserData* pA, MoxLayerElementUserData* pB)
{
    ASSERT_EQ(pA == nullptr, pB == nullptr);
    if (!pA) return;
    EXPECT_EQ(pA->GetMappingMode(), pB->GetMappingMode());
    EXPECT_EQ(pA->GetReferenceMode(), pB->GetReferenceMode());
    ExpectSameValues(*pA->mIndexArray, *pB->mIndexArray, "user data index");
    ASSERT_EQ(pA->GetDirectArrayCount(), pB->GetDirectArrayCount());
    for (int i = 0; i < pA->GetDirectArrayCount(); ++i)
        ExpectSameValues(*static_cast<MoxLayerElementArray*>(pA->GetDirectArrayVoid(i)),
                         *static_cast<MoxLayerElementArray*>(pB->GetDirectArrayVoid(i)), "user data field");
}

void ExpectSameLayer(MoxLayer& pA, MoxLayer& pB)
{
    ExpectSameElement(pA.GetNormals(), pB.GetNormals(), "normals");
    ExpectSameElement(pA.GetTangents(), pB.GetTangents(), "tangents");
    ExpectSameElement(pA.GetBinormals(), pB.GetBinormals(), "binormals");
    ExpectSameElement(pA.GetVertexColors(), pB.GetVertexColors(), "vertex colours");
    ExpectSameElement(pA.GetMaterials(), pB.GetMaterials(), "materials");
    for (int c = MoxLayerElement::eTextureChannel0; c <= MoxLayerElement::eTextureChannel16; ++c) {
        ExpectSameElement(pA.GetTextures(MoxLayerElement::EType(c)), pB.GetTextures(MoxLayerElement::EType(c)),
                          "textures");
        ExpectSameElement(pA.GetUVs(MoxLayerElement::EType(c)), pB.GetUVs(MoxLayerElement::EType(c)), "uvs");
    }
    ExpectSameElement(pA.GetPolygonGroups(), pB.GetPolygonGroups(), "groups");
    ExpectSameElement(pA.GetSmoothing(), pB.GetSmoothing(), "smoothing");
    ExpectSameUserData(pA.GetUserData(), pB.GetUserData());
    ExpectSameElement(pA.GetVisibility(), pB.GetVisibility(), "visibility");
    ExpectSameElement(pA.GetEdgeCrease(), pB.GetEdgeCrease(), "edge crease");
    ExpectSameElement(pA.GetVertexCrease(), pB.GetVertexCrease(), "vertex crease");
    ExpectSameElement(pA.GetHole(), pB.GetHole(), "hole");
}

void ExpectSameMesh(MoxMesh& pA, MoxMesh& pB)
{
    ASSERT_EQ(pA.mPolygons.GetCount(), pB.mPolygons.GetCount());
    ExpectSameTopologyArray(pA.mPolygons, pB.mPolygons, "polygons");
    ExpectSameTopologyArray(pA.mPolygonVertices, pB.mPolygonVertices, "polygon vertices");
    ExpectSameTopologyArray(pA.mEdgeArray, pB.mEdgeArray, "edges");
    EXPECT_EQ(pA.GetControlPointsCount(), pB.GetControlPointsCount());
    ASSERT_EQ(pA.GetLayerCount(), pB.GetLayerCount());
    for (int l = 0; l < pA.GetLayerCount(); ++l) ExpectSameLayer(*pA.GetLayer(l), *pB.GetLayer(l));
}

void ExpectSameReports(const std::vector<moxtest::Report>& pA, const std::vector<moxtest::Report>& pB)
{
    ASSERT_EQ(pA.size(), pB.size());
    for (size_t i = 0; i < pA.size(); ++i) {
        EXPECT_EQ(pA[i].mFile, pB[i].mFile) << i;
        EXPECT_EQ(pA[i].mFunction, pB[i].mFunction) << i;
        EXPECT_EQ(pA[i].mLine, pB[i].mLine) << i;
        EXPECT_EQ(pA[i].mMessage, pB[i].mMessage) << i;
    }
}

// An element of pKind with random modes and arrays roughly (sometimes not quite) as long as its mapping
// needs.
void AddRandomElement(MoxMesh& pMesh, MoxLayer& pLayer, EKind pKind, MoxLayerElement::EType pChannel,
                      std::mt19937& pRandom)
{
    auto lUniform = [&pRandom](int pLow, int pHigh) {
        return std::uniform_int_distribution<int>(pLow, pHigh)(pRandom);
    };
    const EMapping lMapping = EMapping(lUniform(0, 5));
    const EReference lReference = EReference(lUniform(0, 2));
    int lCount = lUniform(0, 4);
    if (lMapping == MoxLayerElement::eByControlPoint) lCount = pMesh.GetControlPointsCount();
    if (lMapping == MoxLayerElement::eByPolygonVertex) lCount = pMesh.GetPolygonVertexCount();
    if (lMapping == MoxLayerElement::eByPolygon) lCount = pMesh.GetPolygonCount();
    if (lMapping == MoxLayerElement::eByEdge) lCount = pMesh.GetMeshEdgeCount();
    if (lUniform(0, 3) == 0) lCount = std::max(0, lCount + lUniform(-3, 3));
    std::vector<int> lDirect = Range(lCount, lUniform(0, 1000));
    std::vector<int> lIndex;
    const int lIndexCount = lUniform(0, 3) == 0 ? std::max(0, lCount + lUniform(-3, 3)) : lCount;
    lIndex.reserve(lIndexCount);
    for (int i = 0; i < lIndexCount; ++i) lIndex.push_back(lUniform(-1, lCount));
    if (pKind == EKind::eUserData) {
        std::vector<EMoxType> lTypes;
        const EMoxType lChoices[] = {eMoxInt, eMoxBool, eMoxFloat, eMoxDouble, eMoxDouble4};
        for (int f = lUniform(0, 3); f > 0; --f) lTypes.push_back(lChoices[lUniform(0, 4)]);
        MoxLayerElementUserData* lUserData = MakeUserData(lTypes, lDirect);
        lUserData->SetMappingMode(lMapping);
        lUserData->SetReferenceMode(lReference);
        for (int lValue : lIndex) lUserData->mIndexArray->Add(lValue);
        if (lTypes.size() >= 2 && lUniform(0, 3) == 0)
            lUserData->mDirectArray->SetAt(1, lUserData->mDirectArray->GetAt(0));
        pLayer.SetUserData(lUserData);
        return;
    }
    CreateAndVisit(pMesh, pLayer, pKind, pChannel,
                   [&](auto* pElement) { SetModesAndArrays(pElement, lMapping, lReference, lDirect, lIndex); });
}

// Spare capacity with known contents (a fresh block's spare slots are indeterminate): the arrays of two
// meshes built alike then match up to their capacities, and out-of-range reads inside the capacity see
// these slots.
void FillSpareSlots(MoxMesh& pMesh, std::mt19937& pRandom)
{
    auto lUniform = [&pRandom](int pLow, int pHigh) {
        return std::uniform_int_distribution<int>(pLow, pHigh)(pRandom);
    };
    for (MoxArray<int>* lArray : {&pMesh.mPolygonVertices, &pMesh.mEdgeArray}) {
        if (lUniform(0, 2) == 0) lArray->Reserve(lArray->GetCount() + lUniform(1, 6));
        for (int i = lArray->GetCount(); i < lArray->GetCapacity(); ++i) lArray->GetArray()[i] = lUniform(-3, 40);
    }
    for (int i = pMesh.mPolygons.GetCount(); i < pMesh.mPolygons.GetCapacity(); ++i)
        pMesh.mPolygons.GetArray()[i] = MoxMesh::PolygonDef{lUniform(-3, 40), lUniform(-3, 5), -1};
}

// A random mesh with edges, some inconsistency, known slots past the arrays' sizes and random elements on
// two layers. The same seed builds the same mesh, down to the arrays' capacities and spare slots.
void BuildRandomScene(MoxMesh& pMesh, uint32_t pSeed)
{
    std::mt19937 lRandom(pSeed);
    auto lUniform = [&lRandom](int pLow, int pHigh) {
        return std::uniform_int_distribution<int>(pLow, pHigh)(lRandom);
    };
    moxtest::RandomMeshOptions lOptions;
    lOptions.mMaxPoints = lUniform(0, 3) == 0 ? 6 : 30;
    lOptions.mMaxPolygons = lUniform(0, 4) == 0 ? 60 : 14;
    lOptions.mMaxPolygonSize = lUniform(0, 4) == 0 ? 12 : 5;
    lOptions.mInvalidIndices = lUniform(0, 2) == 0;
    moxtest::MakeRandomMesh(pMesh, lRandom, lOptions);
    if (lUniform(0, 5) != 0) moxoracle::BuildEdgesByWalk(pMesh);
    for (int i = lUniform(0, 3) == 0 ? lUniform(1, 4) : 0; i > 0; --i)
        pMesh.mEdgeArray.Add(lUniform(-2, pMesh.GetPolygonVertexCount() + 2));
    const int lPolygonCount = pMesh.GetPolygonCount();
    for (int i = lUniform(0, 4) == 0 ? lUniform(1, 3) : 0; i > 0 && lPolygonCount > 0; --i) {
        MoxMesh::PolygonDef& lPolygon = pMesh.mPolygons[lUniform(0, lPolygonCount - 1)];
        if (lUniform(0, 1) == 0)
            lPolygon.mSize += lUniform(-4, 3);
        else
            lPolygon.mIndex += lUniform(-4, 4);
    }
    FillSpareSlots(pMesh, lRandom);
    while (pMesh.GetLayerCount() < 2) pMesh.CreateLayer();
    for (int l = 0; l < 2; ++l) {
        for (int lKind = 0; lKind < int(EKind::eCount); ++lKind) {
            const bool lChannelKind = EKind(lKind) == EKind::eTexture || EKind(lKind) == EKind::eUV;
            for (int lRepeat = lChannelKind ? 2 : 1; lRepeat > 0; --lRepeat) {
                if (lUniform(0, 2) == 0) continue;
                const auto lChannel = MoxLayerElement::EType(MoxLayerElement::eTextureChannel0 + lUniform(0, 16));
                AddRandomElement(pMesh, *pMesh.GetLayer(l), EKind(lKind), lChannel, lRandom);
            }
        }
    }
}

// A polygon to remove: mostly valid, sometimes one step outside the range.
int PickPolygon(const MoxMesh& pMesh, std::mt19937& pRandom)
{
    return std::uniform_int_distribution<int>(-1, pMesh.GetPolygonCount())(pRandom);
}

TEST(MoxMeshRemoveOracle, RemovePolygonMatchesTheLiteralSearchOnRandomMeshes)
{
    for (uint32_t lSeed = 1; lSeed <= 300; ++lSeed) {
        SCOPED_TRACE("seed " + std::to_string(lSeed));
        moxtest::ManagerScope lScope;
        MoxMesh* lLibrary = lScope.NewMesh("library");
        MoxMesh* lOracle = lScope.NewMesh("oracle");
        BuildRandomScene(*lLibrary, lSeed);
        BuildRandomScene(*lOracle, lSeed);
        ExpectSameMesh(*lLibrary, *lOracle);
        std::mt19937 lRandom(std::mt19937::result_type(lSeed * 7919u));
        for (int lStep = 0; lStep < 4; ++lStep) {
            const int p = PickPolygon(*lLibrary, lRandom);
            int lLibraryResult = 0;
            int lOracleResult = 0;
            const auto lLibraryReports = Capture([&] { lLibraryResult = lLibrary->RemovePolygon(p); });
            const auto lOracleReports = Capture([&] { lOracleResult = moxoracle::RemovePolygon(*lOracle, p); });
            EXPECT_EQ(lLibraryResult, lOracleResult);
            ExpectSameReports(lLibraryReports, lOracleReports);
            ExpectSameMesh(*lLibrary, *lOracle);
            if (::testing::Test::HasFailure()) return;
        }
    }
}

// Well-formed meshes (no invalid index, every element sized for its mapping) stay well-formed through
// every removal, down to no polygon at all.
TEST(MoxMeshRemoveOracle, WellFormedMeshesStayWellFormed)
{
    for (uint32_t lSeed = 1; lSeed <= 100; ++lSeed) {
        SCOPED_TRACE("seed " + std::to_string(lSeed));
        moxtest::ManagerScope lScope;
        MoxMesh* lMesh = lScope.NewMesh();
        std::mt19937 lRandom(lSeed);
        moxtest::RandomMeshOptions lOptions;
        lOptions.mMinPoints = 3;
        lOptions.mDegenerate = lSeed % 2 == 0;
        moxtest::MakeRandomMesh(*lMesh, lRandom, lOptions);
        lMesh->BuildMeshEdgeArray();
        lMesh->GenerateNormals(true, lSeed % 3 == 0, false);
        lMesh->InitMaterialIndices(lSeed % 4 == 0 ? MoxLayerElement::eByPolygon : MoxLayerElement::eByMesh);
        ASSERT_TRUE(lMesh->IsWellFormed());
        moxtest::ReportCapture lQuiet;
        if (lSeed % 5 == 0) lMesh->RemoveBadPolygons();
        EXPECT_TRUE(lMesh->IsWellFormed());
        while (lMesh->GetPolygonCount() > 0) {
            lMesh->RemovePolygon(std::uniform_int_distribution<int>(0, lMesh->GetPolygonCount() - 1)(lRandom));
            ASSERT_TRUE(lMesh->IsWellFormed()) << lMesh->GetPolygonCount() << " polygons left";
        }
    }
}

TEST(MoxMeshRemoveOracle, BadPolygonsMatchTheAllPairsCheckOnRandomMeshes)
{
    for (uint32_t lSeed = 1; lSeed <= 300; ++lSeed) {
        SCOPED_TRACE("seed " + std::to_string(lSeed));
        moxtest::ManagerScope lScope;
        MoxMesh* lLibrary = lScope.NewMesh("library");
        MoxMesh* lOracle = lScope.NewMesh("oracle");
        BuildRandomScene(*lLibrary, lSeed);
        BuildRandomScene(*lOracle, lSeed);
        for (bool lCheckOne : {false, true}) {
            for (bool lPrefilled : {false, true}) {
                MoxArray<int> lLibraryList;
                MoxArray<int> lOracleList;
                if (lPrefilled) {
                    lLibraryList.Add(-5);
                    lOracleList.Add(-5);
                }
                bool lLibraryResult = false;
                bool lOracleResult = false;
                const auto lLibraryReports = Capture(
                    [&] { lLibraryResult = MeshAccess::CallGetBadPolyIndices(*lLibrary, lLibraryList, lCheckOne); });
                const auto lOracleReports =
                    Capture([&] { lOracleResult = moxoracle::GetBadPolyIndices(*lLibrary, lOracleList, lCheckOne); });
                EXPECT_EQ(lLibraryResult, lOracleResult);
                EXPECT_EQ(Ints(lLibraryList), Ints(lOracleList));
                ExpectSameReports(lLibraryReports, lOracleReports);
            }
        }
        {
            moxtest::ReportCapture lQuiet;
            MoxArray<int> lList;
            EXPECT_EQ(lLibrary->CheckSamePointTwice(), moxoracle::GetBadPolyIndices(*lLibrary, lList, true));
        }
        int lLibraryRemoved = 0;
        int lOracleRemoved = 0;
        const auto lLibraryReports = Capture([&] { lLibraryRemoved = lLibrary->RemoveBadPolygons(); });
        const auto lOracleReports = Capture([&] { lOracleRemoved = moxoracle::RemoveBadPolygons(*lOracle); });
        EXPECT_EQ(lLibraryRemoved, lOracleRemoved);
        ExpectSameReports(lLibraryReports, lOracleReports);
        ExpectSameMesh(*lLibrary, *lOracle);
        if (::testing::Test::HasFailure()) return;
    }
}

// Polygon starts near the ends of the int range, sizes past the vertex list and edge entries anywhere:
// the reads wrap and stay inside the arrays (the sanitizer build checks), with the literal results.
TEST(MoxMeshRemoveOracle, ExtremePolygonRangesMatchTheLiteralSearch)
{
    const int lStarts[] = {INT_MAX - 2, INT_MIN + 3, -100, 1000};
    for (uint32_t lSeed = 1; lSeed <= 200; ++lSeed) {
        SCOPED_TRACE("seed " + std::to_string(lSeed));
        moxtest::ManagerScope lScope;
        MoxMesh* lMeshes[] = {lScope.NewMesh("library"), lScope.NewMesh("oracle")};
        for (MoxMesh* lMesh : lMeshes) {
            BuildRandomScene(*lMesh, lSeed);
            std::mt19937 lRandom(lSeed);
            auto lUniform = [&lRandom](int pLow, int pHigh) {
                return std::uniform_int_distribution<int>(pLow, pHigh)(lRandom);
            };
            const int lCount = lMesh->GetPolygonCount();
            for (int i = 0; i < 2 && lCount > 0; ++i) {
                MoxMesh::PolygonDef& lPolygon = lMesh->mPolygons[lUniform(0, lCount - 1)];
                if (lUniform(0, 1) == 0)
                    lPolygon.mIndex = lStarts[lUniform(0, 3)];
                else
                    lPolygon.mSize = lMesh->GetPolygonVertexCount() + lUniform(1, 20);
            }
            if (lMesh->GetMeshEdgeCount() > 0 && lUniform(0, 1) == 0)
                lMesh->mEdgeArray[0] = lUniform(0, 1) == 0 ? INT_MAX : INT_MIN;
        }
        std::mt19937 lRandom(std::mt19937::result_type(lSeed * 31u));
        for (int lStep = 0; lStep < 3; ++lStep) {
            const int p = PickPolygon(*lMeshes[0], lRandom);
            int lLibraryResult = 0;
            int lOracleResult = 0;
            const auto lLibraryReports = Capture([&] { lLibraryResult = lMeshes[0]->RemovePolygon(p); });
            const auto lOracleReports = Capture([&] { lOracleResult = moxoracle::RemovePolygon(*lMeshes[1], p); });
            EXPECT_EQ(lLibraryResult, lOracleResult);
            ExpectSameReports(lLibraryReports, lOracleReports);
            ExpectSameMesh(*lMeshes[0], *lMeshes[1]);
            if (::testing::Test::HasFailure()) return;
        }
    }
}

// Whichever allocation fails, removal and clean-up stay inside their arrays and leave them valid.
TEST(MoxMeshRemoveOracle, RunningOutOfMemoryStaysSafe)
{
    for (long lFail = 1; lFail <= 40; ++lFail) {
        SCOPED_TRACE("failing allocation " + std::to_string(lFail));
        moxtest::ManagerScope lScope;
        MoxMesh* lMesh = lScope.NewMesh();
        BuildRandomScene(*lMesh, 5u + uint32_t(lFail % 7));
        moxtest::ReportCapture lReports;
        {
            moxtest::AllocationTracker lTracker;
            lTracker.FailAt(lFail);
            lMesh->RemovePolygon(lMesh->GetPolygonCount() / 2);
            lMesh->CheckSamePointTwice();
            lMesh->RemoveBadPolygons();
        }
        EXPECT_TRUE(lMesh->mPolygons.IsValid());
        EXPECT_TRUE(lMesh->mPolygonVertices.IsValid());
        EXPECT_TRUE(lMesh->mEdgeArray.IsValid());
    }
}

// A polygon of 6,000 vertices next to triangles that share some of its sides: many edges re-pointed and
// many removed at once, polygon-vertex and edge elements on two layers, as the literal version does it.
TEST(MoxMeshRemoveOracle, LargePolygonMatchesTheLiteralSearch)
{
    const int lSize = 6000;
    moxtest::ManagerScope lScope;
    MoxMesh* lMeshes[] = {lScope.NewMesh("library"), lScope.NewMesh("oracle")};
    for (MoxMesh* lMesh : lMeshes) {
        std::vector<std::vector<int>> lPolygons{{0, 1, 2}, Range(lSize)};
        for (int i = 0; i + 1 < lSize; i += 7) lPolygons.push_back({i + 1, i, lSize + i % 5});
        moxtest::BuildMesh(*lMesh, std::vector<moxtest::Point>(size_t(lSize + 5), moxtest::Point{0, 0, 0}), lPolygons);
        moxoracle::BuildEdgesByWalk(*lMesh);
        lMesh->CreateLayer();
        std::mt19937 lRandom(11);
        FillSpareSlots(*lMesh, lRandom);
        const EKind lKinds[] = {EKind::eNormal,   EKind::eUV,         EKind::eSmoothing,
                                EKind::eUserData, EKind::eVisibility, EKind::eEdgeCrease};
        for (int l = 0; l < 2; ++l)
            for (EKind lKind : lKinds)
                AddRandomElement(*lMesh, *lMesh->GetLayer(l), lKind, MoxLayerElement::eTextureChannel0, lRandom);
    }
    const auto lLibraryReports = Capture([&] { lMeshes[0]->RemovePolygon(1); });
    const auto lOracleReports = Capture([&] { moxoracle::RemovePolygon(*lMeshes[1], 1); });
    ExpectSameReports(lLibraryReports, lOracleReports);
    ExpectSameMesh(*lMeshes[0], *lMeshes[1]);
    EXPECT_EQ(lMeshes[0]->GetPolygonCount(), int(1 + (lSize + 5) / 7));
}

}  // namespace
