// UV, material and texture indices; per-polygon-vertex element lookup; creases, holes and subdivision
// settings of MoxMesh.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "moxsdk/scene/geometry/moxmesh.h"
#include "support/moxtestmeshes.h"
#include "support/moxtestsupport.h"

using namespace moxsdk;

namespace {

const char* const sgMeshFile = "scene/geometry/moxmesh";
const char* const sgLayerFile = "scene/geometry/moxlayer";
const char* const sgArrayFile = "core/base/moxarray";
const char* const sgIndexFunction = "GetPolygonVertexLayerElementIndex";
const char* const sgValueFunction = "GetPolygonVertexLayerElementValue";

typedef MoxLayerElement LE;

const LE::EMappingMode sgAllMappings[] = {LE::eNone,      LE::eByControlPoint, LE::eByPolygonVertex,
                                          LE::eByPolygon, LE::eByEdge,         LE::eByMesh};
const LE::EReferenceMode sgAllReferences[] = {LE::eDirect, LE::eIndex, LE::eIndexToDirect};

LE::EType Channel(int pValue)
{
    return static_cast<LE::EType>(pValue);
}

// Sets count and values of an index array.
void SetIndices(MoxLayerElementArrayTemplate<int>& pArray, const std::vector<int>& pValues)
{
    pArray.Clear();
    for (int lValue : pValues) pArray.Add(lValue);
}

std::vector<int> IndicesOf(const MoxLayerElementArrayTemplate<int>& pArray)
{
    std::vector<int> lValues;
    lValues.reserve(pArray.GetCount());
    for (int i = 0; i < pArray.GetCount(); ++i) lValues.push_back(pArray.GetAt(i));
    return lValues;
}

// The two triangles (0, 1, 2) and (2, 1, 3), plus a quad (0, 1, 3, 2): 10 polygon vertices.
MoxMesh* MakeThreePolygons(moxtest::ManagerScope& pScope)
{
    MoxMesh* lMesh = pScope.NewMesh();
    moxtest::BuildMesh(*lMesh, {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0}}, {{0, 1, 2}, {2, 1, 3}, {0, 1, 3, 2}});
    return lMesh;
}

// ==== UV sets ========================================================================================

TEST(MoxMeshUVs, InitTextureUVCreatesLayerAndSetAndSizesTheDirectArray)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    lMesh->InitTextureUV(5, LE::eTextureChannel2);
    ASSERT_EQ(lMesh->GetLayerCount(), 1);
    MoxLayerElementUV* lUVs = lMesh->GetLayer(0)->GetUVs(LE::eTextureChannel2);
    ASSERT_NE(lUVs, nullptr);
    EXPECT_STREQ(lUVs->GetName(), "");
    EXPECT_EQ(lUVs->GetDirectArray().GetCount(), 5);
    EXPECT_EQ(lMesh->GetLayer(0)->GetUVs(LE::eTextureChannel0), nullptr);
    EXPECT_EQ(lMesh->GetTextureUVCount(LE::eTextureChannel2), 5);
    EXPECT_EQ(lMesh->GetTextureUVCount(), 0);
}

TEST(MoxMeshUVs, InitTextureUVEmptiesTheDirectArrayAndKeepsModes)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    lMesh->InitTextureUV(0);
    for (int i = 0; i < 3; ++i) lMesh->AddTextureUV(MoxVector2(i + 1.0, 2.0));
    MoxLayerElementUV* lUVs = lMesh->GetLayer(0)->GetUVs();
    lUVs->SetMappingMode(LE::eByControlPoint);
    lUVs->SetReferenceMode(LE::eDirect);
    lUVs->mIndexArray->Add(4);

    lMesh->InitTextureUV(2);
    EXPECT_EQ(lMesh->GetLayer(0)->GetUVs(), lUVs);
    ASSERT_EQ(lUVs->GetDirectArray().GetCount(), 2);
    EXPECT_EQ(lUVs->GetDirectArray().GetAt(0), MoxVector2(0.0, 0.0));
    EXPECT_EQ(lUVs->GetDirectArray().GetAt(1), MoxVector2(0.0, 0.0));
    EXPECT_EQ(lUVs->GetMappingMode(), LE::eByControlPoint);
    EXPECT_EQ(lUVs->GetReferenceMode(), LE::eDirect);
    EXPECT_EQ(lUVs->mIndexArray->GetCount(), 1);
}

TEST(MoxMeshUVs, AddTextureUVNeverCreatesAnything)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    lMesh->AddTextureUV(MoxVector2(1, 1));
    EXPECT_EQ(lMesh->GetLayerCount(), 0);
    lMesh->InitTextureUV(0, LE::eTextureChannel1);
    lMesh->AddTextureUV(MoxVector2(1, 1));  // channel 14 has no set
    EXPECT_EQ(lMesh->GetLayer(0)->GetUVs(LE::eTextureChannel0), nullptr);
    lMesh->AddTextureUV(MoxVector2(0.25, 0.5), LE::eTextureChannel1);
    lMesh->AddTextureUV(MoxVector2(0.75, 1.0), LE::eTextureChannel1);
    ASSERT_EQ(lMesh->GetTextureUVCount(LE::eTextureChannel1), 2);
    MoxLayerElementArrayTemplate<MoxVector2>* lArray = nullptr;
    ASSERT_TRUE(lMesh->GetTextureUV(&lArray, LE::eTextureChannel1));
    EXPECT_EQ(lArray->GetAt(1), MoxVector2(0.75, 1.0));
}

TEST(MoxMeshUVs, GetTextureUV)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    EXPECT_FALSE(lMesh->GetTextureUV(nullptr));
    MoxLayerElementArrayTemplate<MoxVector2>* lArray = reinterpret_cast<MoxLayerElementArrayTemplate<MoxVector2>*>(8);
    EXPECT_FALSE(lMesh->GetTextureUV(&lArray));  // no layer 0
    EXPECT_EQ(lArray, nullptr);
    lMesh->CreateLayer();
    lArray = reinterpret_cast<MoxLayerElementArrayTemplate<MoxVector2>*>(8);
    EXPECT_FALSE(lMesh->GetTextureUV(&lArray));  // no UV set
    EXPECT_EQ(lArray, nullptr);
    EXPECT_EQ(lMesh->GetLayerCount(), 1);
    lMesh->InitTextureUV(3);
    ASSERT_TRUE(lMesh->GetTextureUV(&lArray));
    EXPECT_EQ(lArray, &lMesh->GetLayer(0)->GetUVs()->GetDirectArray());
    EXPECT_EQ(lArray->GetCount(), 3);
}

TEST(MoxMeshUVs, TextureChannelThatIsNotAChannelCreatesNothing)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    lMesh->InitTextureUV(3, LE::eNormal);
    lMesh->InitTextureUVIndices(LE::eByPolygonVertex, LE::eMaterial);
    lMesh->InitTextureIndices(LE::eByPolygon, LE::eHole);
    ASSERT_EQ(lMesh->GetLayerCount(), 1);
    EXPECT_EQ(lMesh->GetLayer(0)->GetUVSetCount(), 0);
    for (int c = LE::eTextureChannel0; c <= LE::eTextureChannel16; ++c)
        EXPECT_EQ(lMesh->GetLayer(0)->GetTextures(Channel(c)), nullptr);
    EXPECT_EQ(lMesh->GetTextureUVCount(LE::eNormal), 0);
}

TEST(MoxMeshUVs, GetAllChannelUV)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    lMesh->InitTextureUV(1, LE::eTextureChannel16);
    lMesh->InitTextureUV(1, LE::eTextureChannel0);
    lMesh->InitTextureUV(1, LE::eTextureChannel3);
    MoxArray<LE::EType> lChannels = lMesh->GetAllChannelUV(0);
    ASSERT_EQ(lChannels.GetCount(), 3);
    EXPECT_EQ(lChannels[0], LE::eTextureChannel0);
    EXPECT_EQ(lChannels[1], LE::eTextureChannel3);
    EXPECT_EQ(lChannels[2], LE::eTextureChannel16);
    // A missing layer gives an empty list rather than a fault.
    EXPECT_EQ(lMesh->GetAllChannelUV(1).GetCount(), 0);
    EXPECT_EQ(lMesh->GetAllChannelUV(-1).GetCount(), 0);
}

TEST(MoxMeshUVs, GetUVLayerCountCountsALayerOnce)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    EXPECT_EQ(lMesh->GetUVLayerCount(), 0);
    lMesh->InitTextureUV(1, LE::eTextureChannel0);
    lMesh->InitTextureUV(1, LE::eTextureChannel5);
    lMesh->InitTextureUV(1, LE::eTextureChannel16);
    EXPECT_EQ(lMesh->GetUVLayerCount(), 1);
    lMesh->CreateLayer();  // layer 1: no UV set
    EXPECT_EQ(lMesh->GetUVLayerCount(), 1);
    const int lThird = lMesh->CreateLayer();
    lMesh->GetLayer(lThird)->SetUVs(MoxLayerElementUV::Create(lMesh, "second"), LE::eTextureChannel9);
    EXPECT_EQ(lMesh->GetUVLayerCount(), 2);
}

// One row per requested mapping: the modes a UV set takes.
TEST(MoxMeshUVs, InitTextureUVIndicesModeTable)
{
    struct Row {
        LE::EMappingMode mRequested;
        LE::EMappingMode mMapping;
        LE::EReferenceMode mReference;
    };
    const Row lRows[] = {
        {LE::eByPolygonVertex, LE::eByPolygonVertex, LE::eIndexToDirect},
        {LE::eByMesh, LE::eByMesh, LE::eDirect},
        {LE::eByControlPoint, LE::eByControlPoint, LE::eDirect},
        {LE::eByPolygon, LE::eNone, LE::eDirect},
        {LE::eByEdge, LE::eNone, LE::eDirect},
        {LE::eNone, LE::eNone, LE::eDirect},
    };
    for (const Row& lRow : lRows) {
        SCOPED_TRACE(lRow.mRequested);
        moxtest::ManagerScope lScope;
        MoxMesh* lMesh = MakeThreePolygons(lScope);
        lMesh->InitTextureUV(4, LE::eTextureChannel1);
        MoxLayerElementUV* lUVs = lMesh->GetLayer(0)->GetUVs(LE::eTextureChannel1);
        lUVs->mIndexArray->Add(3);
        lMesh->InitTextureUVIndices(lRow.mRequested, LE::eTextureChannel1);
        ASSERT_EQ(lMesh->GetLayer(0)->GetUVs(LE::eTextureChannel1), lUVs);
        EXPECT_EQ(lUVs->GetMappingMode(), lRow.mMapping);
        EXPECT_EQ(lUVs->GetReferenceMode(), lRow.mReference);
        // The element is emptied and the index array not sized.
        EXPECT_EQ(lUVs->mIndexArray->GetCount(), 0);
        EXPECT_EQ(lUVs->mDirectArray->GetCount(), 0);
    }
}

TEST(MoxMeshUVs, InitTextureUVIndicesCreatesLayerAndSet)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    lMesh->InitTextureUVIndices(LE::eByPolygon);
    ASSERT_EQ(lMesh->GetLayerCount(), 1);
    MoxLayerElementUV* lUVs = lMesh->GetLayer(0)->GetUVs();
    ASSERT_NE(lUVs, nullptr);
    EXPECT_EQ(lUVs->GetMappingMode(), LE::eNone);
    EXPECT_EQ(lUVs->GetReferenceMode(), LE::eDirect);
}

// ---- GetTextureUVIndex / SetTextureUVIndex ---------------------------------------------------------

// Three polygons with an indexed UV set on channel 14 whose index array is 20 .. 29.
MoxMesh* MakeIndexedUVMesh(moxtest::ManagerScope& pScope)
{
    MoxMesh* lMesh = MakeThreePolygons(pScope);
    lMesh->InitTextureUV(30);
    lMesh->InitTextureUVIndices(LE::eByPolygonVertex);
    std::vector<int> lIndices;
    lIndices.reserve(10);
    for (int i = 0; i < 10; ++i) lIndices.push_back(20 + i);
    SetIndices(lMesh->GetLayer(0)->GetUVs()->GetIndexArray(), lIndices);
    return lMesh;
}

TEST(MoxMeshUVIndex, GetTextureUVIndexReadsThePolygonVertexEntry)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = MakeIndexedUVMesh(lScope);
    moxtest::ReportCapture lReports;
    EXPECT_EQ(lMesh->GetTextureUVIndex(0, 0), 20);
    EXPECT_EQ(lMesh->GetTextureUVIndex(1, 2), 25);
    EXPECT_EQ(lMesh->GetTextureUVIndex(2, 3), 29);
    EXPECT_EQ(lMesh->GetTextureUVIndex(2, 4), -1);                        // position at the size
    EXPECT_EQ(lMesh->GetTextureUVIndex(3, 0), -1);                        // polygon at the count
    EXPECT_EQ(lMesh->GetTextureUVIndex(0, 0, LE::eTextureChannel1), -1);  // no set on that channel
    EXPECT_EQ(lReports.Count(), 0u);
    // The index array shorter than the polygon vertices.
    lMesh->GetLayer(0)->GetUVs()->GetIndexArray().SetCount(8);
    EXPECT_EQ(lMesh->GetTextureUVIndex(2, 1), 27);
    EXPECT_EQ(lMesh->GetTextureUVIndex(2, 2), -1);
}

TEST(MoxMeshUVIndex, GetTextureUVIndexOnADirectSetIsMinusOne)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = MakeIndexedUVMesh(lScope);
    MoxLayerElementUV* lUVs = lMesh->GetLayer(0)->GetUVs();
    lUVs->SetReferenceMode(LE::eDirect);
    EXPECT_EQ(lUVs->mIndexArray->GetCount(), 10);
    EXPECT_EQ(lMesh->GetTextureUVIndex(0, 1), -1);
    lUVs->SetReferenceMode(LE::eIndexToDirect);
    lUVs->SetMappingMode(LE::eByControlPoint);
    EXPECT_EQ(lMesh->GetTextureUVIndex(0, 1), -1);
}

TEST(MoxMeshUVIndex, NegativeArgumentsOfGetTextureUVIndex)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = MakeIndexedUVMesh(lScope);
    moxtest::ReportCapture lReports;
    // A negative polygon reaches the polygon table, which reports; its scratch polygon has size 0.
    EXPECT_EQ(lMesh->GetTextureUVIndex(-1, 0), -1);
    EXPECT_TRUE(lReports.HasOnly(sgArrayFile, "operator[]", "Index is out of range!"));
    lReports.Clear();
    // A negative position is not rejected as such: polygon 1, position -1 is polygon 0's last corner.
    EXPECT_EQ(lMesh->GetTextureUVIndex(1, -1), 22);
    // A corner below 0 has no index.
    EXPECT_EQ(lMesh->GetTextureUVIndex(0, -1), -1);
    EXPECT_EQ(lReports.Count(), 0u);
}

TEST(MoxMeshUVIndex, SetTextureUVIndexGrowsTheIndexArrayToThePolygonVertexCount)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = MakeIndexedUVMesh(lScope);
    MoxLayerElementArrayTemplate<int>& lIndices = lMesh->GetLayer(0)->GetUVs()->GetIndexArray();
    lIndices.SetCount(3);
    lMesh->SetTextureUVIndex(1, 1, 77);
    EXPECT_EQ(IndicesOf(lIndices), (std::vector<int>{20, 21, 22, 0, 77, 0, 0, 0, 0, 0}));
    // A longer array is not shrunk.
    lIndices.SetCount(12);
    lMesh->SetTextureUVIndex(2, 0, 5);
    EXPECT_EQ(lIndices.GetCount(), 12);
    EXPECT_EQ(lIndices.GetAt(6), 5);
}

TEST(MoxMeshUVIndex, SetTextureUVIndexSilentlyIgnoresWhatItCannotStore)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = MakeIndexedUVMesh(lScope);
    MoxLayerElementUV* lUVs = lMesh->GetLayer(0)->GetUVs();
    const std::vector<int> lBefore = IndicesOf(*lUVs->mIndexArray);
    moxtest::ReportCapture lReports;
    lMesh->SetTextureUVIndex(3, 0, 1);
    lMesh->SetTextureUVIndex(0, 3, 1);
    lMesh->SetTextureUVIndex(0, -1, 1);  // corner -1: not written
    lMesh->SetTextureUVIndex(0, 0, 1, LE::eTextureChannel1);
    lUVs->SetMappingMode(LE::eByPolygon);
    lMesh->SetTextureUVIndex(0, 0, 1);
    EXPECT_EQ(IndicesOf(*lUVs->mIndexArray), lBefore);
    EXPECT_EQ(lReports.Count(), 0u);
    lUVs->SetMappingMode(LE::eByPolygonVertex);
    lMesh->SetTextureUVIndex(1, -1, 99);  // polygon 0's last corner
    EXPECT_EQ(lUVs->mIndexArray->GetAt(2), 99);
}

TEST(MoxMeshUVIndex, AddPolygonFillsWhatInitTextureUVIndicesPrepares)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    lMesh->InitControlPoints(4);
    lMesh->InitTextureUVIndices(LE::eByPolygonVertex);  // empties the whole set: UVs come after
    lMesh->AddTextureUV(MoxVector2(0, 0));
    lMesh->AddTextureUV(MoxVector2(1, 0));
    lMesh->AddTextureUV(MoxVector2(1, 1));
    lMesh->BeginPolygon();
    lMesh->AddPolygon(0, 0);
    lMesh->AddPolygon(1, 1);
    lMesh->AddPolygon(2, 2);
    EXPECT_EQ(lMesh->GetTextureUVIndex(0, 2), 2);
    MoxVector2 lUV;
    bool lUnmapped = true;
    ASSERT_TRUE(lMesh->GetPolygonVertexUV(0, 1, nullptr, lUV, lUnmapped));
    EXPECT_FALSE(lUnmapped);
    EXPECT_EQ(lUV, MoxVector2(1, 0));
}

// ==== Materials and textures =========================================================================

// One row per requested mapping, on a mesh with 4 control points and 3 polygons.
TEST(MoxMeshMaterials, InitMaterialIndicesModeTable)
{
    struct Row {
        LE::EMappingMode mRequested;
        LE::EMappingMode mMapping;
        int mCount;
    };
    const Row lRows[] = {
        {LE::eByControlPoint, LE::eByControlPoint, 4},
        {LE::eByPolygon, LE::eByPolygon, 3},
        {LE::eByPolygonVertex, LE::eByMesh, 1},
        {LE::eByEdge, LE::eByMesh, 1},
        {LE::eByMesh, LE::eByMesh, 1},
        {LE::eNone, LE::eByMesh, 1},
    };
    for (const Row& lRow : lRows) {
        SCOPED_TRACE(lRow.mRequested);
        moxtest::ManagerScope lScope;
        MoxMesh* lMesh = MakeThreePolygons(lScope);
        EXPECT_EQ(lMesh->GetLayer(0)->GetMaterials(), nullptr);
        lMesh->InitMaterialIndices(lRow.mRequested);
        MoxLayerElementMaterial* lMaterials = lMesh->GetLayer(0)->GetMaterials();
        ASSERT_NE(lMaterials, nullptr);
        EXPECT_EQ(lMaterials->GetMappingMode(), lRow.mMapping);
        EXPECT_EQ(lMaterials->GetReferenceMode(), LE::eIndexToDirect);
        EXPECT_EQ(lMaterials->mIndexArray->GetCount(), lRow.mCount);
        for (int i = 0; i < lRow.mCount; ++i) EXPECT_EQ(lMaterials->mIndexArray->GetAt(i), 0);
    }
}

// Without control points the per-control-point request keeps the old mapping and an empty index array.
TEST(MoxMeshMaterials, InitMaterialIndicesByControlPointOnAMeshWithoutPoints)
{
    for (LE::EMappingMode lOld : {LE::eByPolygon, LE::eByMesh, LE::eByEdge}) {
        moxtest::ManagerScope lScope;
        MoxMesh* lMesh = lScope.NewMesh();
        lMesh->BeginPolygon(1);
        lMesh->BeginPolygon(2);
        MoxLayerElementMaterial* lMaterials = lMesh->GetLayer(0)->GetMaterials();
        lMaterials->SetMappingMode(lOld);
        lMaterials->SetReferenceMode(LE::eDirect);
        lMesh->InitMaterialIndices(LE::eByControlPoint);
        EXPECT_EQ(lMaterials->GetMappingMode(), lOld);
        EXPECT_EQ(lMaterials->GetReferenceMode(), LE::eIndexToDirect);
        EXPECT_EQ(lMaterials->mIndexArray->GetCount(), 0);
    }
    // A new element keeps its own default mapping.
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    lMesh->InitMaterialIndices(LE::eByControlPoint);
    ASSERT_EQ(lMesh->GetLayerCount(), 1);
    MoxLayerElementMaterial* lMaterials = lMesh->GetLayer(0)->GetMaterials();
    ASSERT_NE(lMaterials, nullptr);
    EXPECT_EQ(lMaterials->GetMappingMode(), LE::eByPolygon);
    EXPECT_EQ(lMaterials->mIndexArray->GetCount(), 0);
}

TEST(MoxMeshMaterials, InitMaterialIndicesReusesAndEmptiesTheElement)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = MakeThreePolygons(lScope);
    lMesh->InitMaterialIndices(LE::eByPolygon);
    MoxLayerElementMaterial* lMaterials = lMesh->GetLayer(0)->GetMaterials();
    SetIndices(*lMaterials->mIndexArray, {4, 5, 6});
    lMesh->InitMaterialIndices(LE::eByPolygon);
    EXPECT_EQ(lMesh->GetLayer(0)->GetMaterials(), lMaterials);
    EXPECT_EQ(IndicesOf(*lMaterials->mIndexArray), (std::vector<int>{0, 0, 0}));
}

TEST(MoxMeshMaterials, GetMaterialIndices)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = MakeThreePolygons(lScope);
    EXPECT_FALSE(lMesh->GetMaterialIndices(nullptr));
    MoxLayerElementArrayTemplate<int>* lIndices = reinterpret_cast<MoxLayerElementArrayTemplate<int>*>(8);
    EXPECT_FALSE(lMesh->GetMaterialIndices(&lIndices));  // no element
    EXPECT_EQ(lIndices, nullptr);
    lMesh->InitMaterialIndices(LE::eByPolygon);
    MoxLayerElementMaterial* lMaterials = lMesh->GetLayer(0)->GetMaterials();
    ASSERT_TRUE(lMesh->GetMaterialIndices(&lIndices));
    EXPECT_EQ(lIndices, lMaterials->mIndexArray);
    lMaterials->SetReferenceMode(LE::eIndex);
    EXPECT_TRUE(lMesh->GetMaterialIndices(&lIndices));
    lMaterials->SetReferenceMode(LE::eDirect);
    lIndices = reinterpret_cast<MoxLayerElementArrayTemplate<int>*>(8);
    moxtest::ReportCapture lReports;
    EXPECT_FALSE(lMesh->GetMaterialIndices(&lIndices));
    EXPECT_EQ(lIndices, nullptr);
    EXPECT_EQ(lReports.Count(), 0u);
    // Without layer 0.
    MoxMesh* lEmpty = lScope.NewMesh();
    EXPECT_FALSE(lEmpty->GetMaterialIndices(&lIndices));
    EXPECT_EQ(lEmpty->GetLayerCount(), 0);
}

// One row per requested mapping: textures know no per-control-point mapping.
TEST(MoxMeshTextures, InitTextureIndicesModeTable)
{
    struct Row {
        LE::EMappingMode mRequested;
        LE::EMappingMode mMapping;
        int mCount;
    };
    const Row lRows[] = {
        {LE::eByPolygon, LE::eByPolygon, 3},    {LE::eByControlPoint, LE::eByMesh, 1},
        {LE::eByPolygonVertex, LE::eByMesh, 1}, {LE::eByEdge, LE::eByMesh, 1},
        {LE::eByMesh, LE::eByMesh, 1},          {LE::eNone, LE::eByMesh, 1},
    };
    for (const Row& lRow : lRows) {
        SCOPED_TRACE(lRow.mRequested);
        moxtest::ManagerScope lScope;
        MoxMesh* lMesh = MakeThreePolygons(lScope);
        lMesh->InitTextureIndices(lRow.mRequested, LE::eTextureChannel4);
        MoxLayerElementTexture* lTextures = lMesh->GetLayer(0)->GetTextures(LE::eTextureChannel4);
        ASSERT_NE(lTextures, nullptr);
        EXPECT_EQ(lMesh->GetLayer(0)->GetTextures(LE::eTextureChannel0), nullptr);
        EXPECT_EQ(lTextures->GetMappingMode(), lRow.mMapping);
        EXPECT_EQ(lTextures->GetReferenceMode(), LE::eIndexToDirect);
        EXPECT_EQ(lTextures->mIndexArray->GetCount(), lRow.mCount);
    }
}

TEST(MoxMeshTextures, ByControlPointGivesOneIndexForTexturesAndOnePerPointForMaterials)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = MakeThreePolygons(lScope);
    lMesh->InitTextureIndices(LE::eByControlPoint);
    lMesh->InitMaterialIndices(LE::eByControlPoint);
    MoxLayerElementTexture* lTextures = lMesh->GetLayer(0)->GetTextures(LE::eTextureChannel0);
    MoxLayerElementMaterial* lMaterials = lMesh->GetLayer(0)->GetMaterials();
    EXPECT_EQ(lTextures->GetMappingMode(), LE::eByMesh);
    EXPECT_EQ(lTextures->mIndexArray->GetCount(), 1);
    EXPECT_EQ(lMaterials->GetMappingMode(), LE::eByControlPoint);
    EXPECT_EQ(lMaterials->mIndexArray->GetCount(), 4);
}

TEST(MoxMeshTextures, InitTextureIndicesOnAGivenElement)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = MakeThreePolygons(lScope);
    MoxLayerElementTexture* lTextures = MoxLayerElementTexture::Create(lMesh, "own");
    lTextures->SetReferenceMode(LE::eDirect);
    lTextures->mIndexArray->Add(9);
    lMesh->InitTextureIndices(lTextures, LE::eByPolygon);
    EXPECT_EQ(lTextures->GetMappingMode(), LE::eByPolygon);
    EXPECT_EQ(lTextures->GetReferenceMode(), LE::eIndexToDirect);
    EXPECT_EQ(IndicesOf(*lTextures->mIndexArray), (std::vector<int>{0, 0, 0}));
    lMesh->InitTextureIndices(static_cast<MoxLayerElementTexture*>(nullptr), LE::eByPolygon);
    lTextures->Destroy();
}

TEST(MoxMeshTextures, GetTextureIndices)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = MakeThreePolygons(lScope);
    EXPECT_FALSE(lMesh->GetTextureIndices(nullptr));
    MoxLayerElementArrayTemplate<int>* lIndices = reinterpret_cast<MoxLayerElementArrayTemplate<int>*>(8);
    EXPECT_FALSE(lMesh->GetTextureIndices(&lIndices));
    EXPECT_EQ(lIndices, nullptr);
    lMesh->InitTextureIndices(LE::eByPolygon, LE::eTextureChannel7);
    EXPECT_FALSE(lMesh->GetTextureIndices(&lIndices));
    ASSERT_TRUE(lMesh->GetTextureIndices(&lIndices, LE::eTextureChannel7));
    EXPECT_EQ(lIndices->GetCount(), 3);
    lMesh->GetLayer(0)->GetTextures(LE::eTextureChannel7)->SetReferenceMode(LE::eDirect);
    EXPECT_FALSE(lMesh->GetTextureIndices(&lIndices, LE::eTextureChannel7));
    EXPECT_EQ(lIndices, nullptr);
}

// ==== Per-polygon-vertex lookup ======================================================================

// Three polygons (10 corners) with a UV element on layer 0 in the given modes. Direct values are
// (i, 10 i) for i in 0 .. 9.
MoxLayerElementUV* AddUVElement(MoxMesh& pMesh, LE::EMappingMode pMapping, LE::EReferenceMode pReference,
                                const char* pName = "uv")
{
    MoxLayerElementUV* lUVs = MoxLayerElementUV::Create(&pMesh, pName);
    lUVs->SetMappingMode(pMapping);
    lUVs->SetReferenceMode(pReference);
    for (int i = 0; i < 10; ++i) lUVs->mDirectArray->Add(MoxVector2(i, 10.0 * i));
    pMesh.GetLayer(0)->SetUVs(lUVs, LE::eTextureChannel0);
    return lUVs;
}

// The expected component for corner (p, v) of MakeThreePolygons by mapping mode.
int ComponentOf(const MoxMesh& pMesh, LE::EMappingMode pMapping, int pPolygon, int pPosition)
{
    if (pMapping == LE::eByPolygon) return pPolygon;
    const int lCorner = pMesh.mPolygons[pPolygon].mIndex + pPosition;
    return pMapping == LE::eByPolygonVertex ? lCorner : pMesh.mPolygonVertices[lCorner];
}

// Every supported mapping with every reference mode; the index array maps component c to 9 - c.
TEST(MoxMeshLookup, EveryMappingAndReferenceMode)
{
    for (LE::EMappingMode lMapping : {LE::eByPolygonVertex, LE::eByPolygon, LE::eByControlPoint}) {
        for (LE::EReferenceMode lReference : sgAllReferences) {
            SCOPED_TRACE(testing::Message() << "mapping " << lMapping << " reference " << lReference);
            moxtest::ManagerScope lScope;
            MoxMesh* lMesh = MakeThreePolygons(lScope);
            MoxLayerElementUV* lUVs = AddUVElement(*lMesh, lMapping, lReference);
            SetIndices(*lUVs->mIndexArray, {9, 8, 7, 6, 5, 4, 3, 2, 1, 0});
            for (int p = 0; p < 3; ++p) {
                for (int v = 0; v < lMesh->GetPolygonSize(p); ++v) {
                    moxtest::ReportCapture lReports;
                    const int lComponent = ComponentOf(*lMesh, lMapping, p, v);
                    const int lExpected = lReference == LE::eDirect ? lComponent : 9 - lComponent;
                    int lIndex = -5;
                    ASSERT_TRUE(lMesh->GetPolygonVertexLayerElementIndex(lUVs, p, v, lIndex));
                    EXPECT_EQ(lIndex, lExpected);
                    MoxVector2 lUV(-1, -1);
                    ASSERT_TRUE(lMesh->GetPolygonVertexLayerElementValue(lUVs, p, v, lUV, false));
                    EXPECT_EQ(lUV, MoxVector2(lExpected, 10.0 * lExpected));
                    if (lReference == LE::eIndex) {
                        // The direct array is read all the same; the element reports the mode.
                        EXPECT_TRUE(lReports.HasOnly(sgLayerFile, "GetDirectArray",
                                                     "mReferenceMode == MoxLayerElement::eDirect || "
                                                     "mReferenceMode == MoxLayerElement::eIndexToDirect"));
                    } else {
                        EXPECT_EQ(lReports.Count(), 0u);
                    }
                }
            }
        }
    }
}

TEST(MoxMeshLookup, UnsupportedMappingsReportAndFail)
{
    for (LE::EMappingMode lMapping : {LE::eByMesh, LE::eByEdge, LE::eNone}) {
        for (LE::EReferenceMode lReference : sgAllReferences) {
            SCOPED_TRACE(testing::Message() << "mapping " << lMapping << " reference " << lReference);
            moxtest::ManagerScope lScope;
            MoxMesh* lMesh = MakeThreePolygons(lScope);
            MoxLayerElementUV* lUVs = AddUVElement(*lMesh, lMapping, lReference);
            SetIndices(*lUVs->mIndexArray, {0});
            moxtest::ReportCapture lReports;
            int lIndex = 3;
            EXPECT_FALSE(lMesh->GetPolygonVertexLayerElementIndex(lUVs, 0, 0, lIndex));
            EXPECT_EQ(lIndex, -1);
            EXPECT_TRUE(lReports.HasOnly(sgMeshFile, sgIndexFunction, "MappingMode not supported"));
            lReports.Clear();
            MoxVector2 lUV(4, 4);
            bool lUnmapped = false;
            EXPECT_FALSE(lMesh->GetPolygonVertexLayerElementValue(lUVs, 2, 3, lUV, true));
            EXPECT_FALSE(lMesh->GetPolygonVertexUV(1, 1, "uv", lUV, lUnmapped));
            EXPECT_EQ(lUV, MoxVector2(4, 4));
            EXPECT_EQ(lReports.Messages(),
                      (std::vector<std::string>{"MappingMode not supported", "MappingMode not supported"}));
            MoxArray<MoxVector2> lUVList;
            EXPECT_FALSE(lMesh->GetPolygonVertexUVs("uv", lUVList));
            EXPECT_EQ(lUVList.GetCount(), 0);
        }
    }
}

TEST(MoxMeshLookup, OutOfRangeCornersFailWithoutReport)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = MakeThreePolygons(lScope);
    MoxLayerElementUV* lUVs = AddUVElement(*lMesh, LE::eByMesh, LE::eDirect);  // would report if reached
    moxtest::ReportCapture lReports;
    int lIndex = 5;
    EXPECT_FALSE(lMesh->GetPolygonVertexLayerElementIndex(lUVs, -1, 0, lIndex));
    EXPECT_EQ(lIndex, -1);
    EXPECT_FALSE(lMesh->GetPolygonVertexLayerElementIndex(lUVs, 3, 0, lIndex));
    EXPECT_FALSE(lMesh->GetPolygonVertexLayerElementIndex(lUVs, 0, -1, lIndex));
    EXPECT_FALSE(lMesh->GetPolygonVertexLayerElementIndex(lUVs, 0, 3, lIndex));
    EXPECT_FALSE(lMesh->GetPolygonVertexLayerElementIndex(lUVs, 2, 4, lIndex));
    MoxVector2 lUV(1, 2);
    bool lUnmapped = false;
    EXPECT_FALSE(lMesh->GetPolygonVertexUV(-1, 0, nullptr, lUV, lUnmapped));
    EXPECT_FALSE(lMesh->GetPolygonVertexUV(0, 3, nullptr, lUV, lUnmapped));
    MoxVector4 lNormal;
    lMesh->InitNormals();
    EXPECT_FALSE(lMesh->GetPolygonVertexNormal(-1, 0, lNormal));
    EXPECT_FALSE(lMesh->GetPolygonVertexNormal(1, 3, lNormal));
    EXPECT_EQ(lUV, MoxVector2(1, 2));
    EXPECT_EQ(lReports.Count(), 0u);
}

TEST(MoxMeshLookup, ControlPointOfACornerOutsideThePolygonVertices)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = MakeThreePolygons(lScope);
    MoxLayerElementUV* lUVs = AddUVElement(*lMesh, LE::eByControlPoint, LE::eDirect);
    lMesh->mPolygons[2].mIndex = 8;  // corners 8 .. 11, two past the end
    moxtest::ReportCapture lReports;
    int lIndex = 0;
    EXPECT_TRUE(lMesh->GetPolygonVertexLayerElementIndex(lUVs, 2, 1, lIndex));
    EXPECT_EQ(lIndex, 2);
    EXPECT_FALSE(lMesh->GetPolygonVertexLayerElementIndex(lUVs, 2, 2, lIndex));
    EXPECT_EQ(lIndex, -1);
    EXPECT_TRUE(lReports.HasOnly(sgMeshFile, sgIndexFunction, "index into mPolygonVertices out-of-range"));
    lReports.Clear();
    lMesh->mPolygons[0].mIndex = -2;
    EXPECT_FALSE(lMesh->GetPolygonVertexLayerElementIndex(lUVs, 0, 1, lIndex));
    EXPECT_TRUE(lReports.HasOnly(sgMeshFile, sgIndexFunction, "index into mPolygonVertices out-of-range"));
    lReports.Clear();
    // Per polygon vertex the corner is not checked here; the direct array check catches it.
    lUVs->SetMappingMode(LE::eByPolygonVertex);
    EXPECT_TRUE(lMesh->GetPolygonVertexLayerElementIndex(lUVs, 0, 1, lIndex));
    EXPECT_EQ(lIndex, -1);
    MoxVector2 lUV(3, 3);
    EXPECT_FALSE(lMesh->GetPolygonVertexLayerElementValue(lUVs, 0, 0, lUV, true));
    EXPECT_TRUE(lReports.HasOnly(sgMeshFile, sgValueFunction, "index into DirectArray out-of-range"));
    EXPECT_EQ(lUV, MoxVector2(3, 3));
}

TEST(MoxMeshLookup, IndexArrayOutOfRange)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = MakeThreePolygons(lScope);
    MoxLayerElementUV* lUVs = AddUVElement(*lMesh, LE::eByPolygonVertex, LE::eIndexToDirect);
    SetIndices(*lUVs->mIndexArray, {0, 1, 2, 3});
    moxtest::ReportCapture lReports;
    int lIndex = 0;
    EXPECT_TRUE(lMesh->GetPolygonVertexLayerElementIndex(lUVs, 1, 0, lIndex));
    EXPECT_EQ(lIndex, 3);
    EXPECT_FALSE(lMesh->GetPolygonVertexLayerElementIndex(lUVs, 1, 1, lIndex));
    EXPECT_EQ(lIndex, -1);
    EXPECT_TRUE(lReports.HasOnly(sgMeshFile, sgIndexFunction, "index into IndexArray out-of-range"));
    lReports.Clear();
    // A negative control point, per control point with an index array.
    lUVs->SetMappingMode(LE::eByControlPoint);
    lMesh->mPolygonVertices[0] = -1;
    EXPECT_FALSE(lMesh->GetPolygonVertexLayerElementIndex(lUVs, 0, 0, lIndex));
    EXPECT_TRUE(lReports.HasOnly(sgMeshFile, sgIndexFunction, "index into IndexArray out-of-range"));
    lReports.Clear();
    MoxVector2 lUV(5, 5);
    bool lUnmapped = true;
    EXPECT_FALSE(lMesh->GetPolygonVertexUV(0, 0, "uv", lUV, lUnmapped));
    EXPECT_TRUE(lUnmapped);  // untouched on failure
    EXPECT_EQ(lUV, MoxVector2(5, 5));
    EXPECT_TRUE(lReports.HasOnly(sgMeshFile, sgIndexFunction, "index into IndexArray out-of-range"));
}

TEST(MoxMeshLookup, DirectArrayOutOfRange)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = MakeThreePolygons(lScope);
    MoxLayerElementUV* lUVs = AddUVElement(*lMesh, LE::eByPolygonVertex, LE::eIndexToDirect);
    SetIndices(*lUVs->mIndexArray, {0, 10, -2, -1, 4, 5, 6, 7, 8, 9});
    moxtest::ReportCapture lReports;
    MoxVector2 lUV(7, 7);
    EXPECT_FALSE(lMesh->GetPolygonVertexLayerElementValue(lUVs, 0, 1, lUV, true));
    EXPECT_FALSE(lMesh->GetPolygonVertexLayerElementValue(lUVs, 0, 2, lUV, true));  // -2 is not "unmapped"
    EXPECT_FALSE(lMesh->GetPolygonVertexLayerElementValue(lUVs, 1, 0, lUV, false));
    EXPECT_EQ(lUV, MoxVector2(7, 7));
    ASSERT_EQ(lReports.Count(), 3u);
    for (const moxtest::Report& lReport : lReports.Reports()) {
        EXPECT_EQ(lReport.mFile, sgMeshFile);
        EXPECT_EQ(lReport.mFunction, sgValueFunction);
        EXPECT_EQ(lReport.mMessage, "index into DirectArray out-of-range");
    }
    lReports.Clear();
    EXPECT_TRUE(lMesh->GetPolygonVertexLayerElementValue(lUVs, 1, 0, lUV, true));
    EXPECT_EQ(lUV, MoxVector2(7, 7));
    EXPECT_EQ(lReports.Count(), 0u);
}

// The same -1 entry: an unmapped UV corner succeeds; a normal corner is an error.
TEST(MoxMeshLookup, MinusOneIsUnmappedForUVsAndAnErrorForNormals)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = MakeThreePolygons(lScope);
    MoxLayerElementUV* lUVs = AddUVElement(*lMesh, LE::eByPolygonVertex, LE::eIndexToDirect);
    SetIndices(*lUVs->mIndexArray, {0, -1, 2, 3, 4, 5, 6, 7, 8, 9});
    MoxLayerElementNormal* lNormals = MoxLayerElementNormal::Create(lMesh, "");
    lNormals->SetMappingMode(LE::eByPolygonVertex);
    lNormals->SetReferenceMode(LE::eIndexToDirect);
    for (int i = 0; i < 10; ++i) lNormals->mDirectArray->Add(MoxVector4(0, 0, i, 0));
    SetIndices(*lNormals->mIndexArray, {0, -1, 2, 3, 4, 5, 6, 7, 8, 9});
    lMesh->GetLayer(0)->SetNormals(lNormals);

    moxtest::ReportCapture lReports;
    MoxVector2 lUV(6, 6);
    bool lUnmapped = false;
    EXPECT_TRUE(lMesh->GetPolygonVertexUV(0, 1, nullptr, lUV, lUnmapped));
    EXPECT_TRUE(lUnmapped);
    EXPECT_EQ(lUV, MoxVector2(6, 6));
    EXPECT_TRUE(lMesh->GetPolygonVertexUV(0, 2, "uv", lUV, lUnmapped));
    EXPECT_FALSE(lUnmapped);
    EXPECT_EQ(lUV, MoxVector2(2, 20));
    EXPECT_EQ(lReports.Count(), 0u);

    MoxVector4 lNormal(1, 1, 1, 1);
    EXPECT_FALSE(lMesh->GetPolygonVertexNormal(0, 1, lNormal));
    EXPECT_EQ(lNormal, MoxVector4(1, 1, 1, 1));
    EXPECT_TRUE(lReports.HasOnly(sgMeshFile, sgValueFunction, "index into DirectArray out-of-range"));
    EXPECT_TRUE(lMesh->GetPolygonVertexNormal(2, 0, lNormal));
    EXPECT_EQ(lNormal, MoxVector4(0, 0, 6, 0));
}

TEST(MoxMeshLookup, GetPolygonVertexUVsListsUnmappedCornersInOrder)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = MakeThreePolygons(lScope);
    MoxLayerElementUV* lUVs = AddUVElement(*lMesh, LE::eByPolygonVertex, LE::eIndexToDirect);
    SetIndices(*lUVs->mIndexArray, {-1, 1, 2, -1, -1, 5, 6, 7, 8, -1});
    MoxArray<MoxVector2> lResult;
    MoxArray<int> lUnmapped;
    lUnmapped.Add(42);  // cleared first
    ASSERT_TRUE(lMesh->GetPolygonVertexUVs(nullptr, lResult, &lUnmapped));
    ASSERT_EQ(lResult.GetCount(), 10);
    for (int k = 0; k < 10; ++k) {
        const bool lIsUnmapped = k == 0 || k == 3 || k == 4 || k == 9;
        EXPECT_EQ(lResult[k], lIsUnmapped ? MoxVector2(0, 0) : MoxVector2(k, 10.0 * k)) << k;
    }
    ASSERT_EQ(lUnmapped.GetCount(), 4);
    EXPECT_EQ(lUnmapped[0], 0);
    EXPECT_EQ(lUnmapped[1], 3);
    EXPECT_EQ(lUnmapped[2], 4);
    EXPECT_EQ(lUnmapped[3], 9);
    // Without a list.
    ASSERT_TRUE(lMesh->GetPolygonVertexUVs("uv", lResult));
    EXPECT_EQ(lResult[4], MoxVector2(0, 0));
    EXPECT_EQ(lResult[5], MoxVector2(5, 50));
}

TEST(MoxMeshLookup, GetPolygonVertexUVsFailsOnAnyCorner)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = MakeThreePolygons(lScope);
    MoxLayerElementUV* lUVs = AddUVElement(*lMesh, LE::eByPolygonVertex, LE::eIndexToDirect);
    SetIndices(*lUVs->mIndexArray, {0, -1, 2, 3, 4, 5, 6, 7, 8});  // corner 9 has no entry
    MoxArray<MoxVector2> lResult;
    lResult.Add(MoxVector2(1, 1));
    MoxArray<int> lUnmapped;
    moxtest::ReportCapture lReports;
    EXPECT_FALSE(lMesh->GetPolygonVertexUVs(nullptr, lResult, &lUnmapped));
    EXPECT_EQ(lResult.GetCount(), 0);
    // The unmapped corners met before the failure stay listed.
    ASSERT_EQ(lUnmapped.GetCount(), 1);
    EXPECT_EQ(lUnmapped[0], 1);
    EXPECT_TRUE(lReports.HasOnly(sgMeshFile, sgIndexFunction, "index into IndexArray out-of-range"));
    // A missing or unknown UV set.
    EXPECT_FALSE(lMesh->GetPolygonVertexUVs("none", lResult, &lUnmapped));
    EXPECT_EQ(lUnmapped.GetCount(), 0);
    MoxVector2 lUV;
    bool lFlag = false;
    EXPECT_FALSE(lMesh->GetPolygonVertexUV(0, 0, "none", lUV, lFlag));
}

TEST(MoxMeshLookup, UVSetsAreFoundByName)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = MakeThreePolygons(lScope);
    AddUVElement(*lMesh, LE::eByPolygon, LE::eDirect, "first");
    MoxLayerElementUV* lSecond = MoxLayerElementUV::Create(lMesh, "second");
    lSecond->SetMappingMode(LE::eByPolygon);
    lSecond->SetReferenceMode(LE::eDirect);
    for (int i = 0; i < 3; ++i) lSecond->mDirectArray->Add(MoxVector2(100 + i, 0));
    lMesh->GetLayer(lMesh->CreateLayer())->SetUVs(lSecond, LE::eTextureChannel3);
    MoxVector2 lUV;
    bool lUnmapped = true;
    ASSERT_TRUE(lMesh->GetPolygonVertexUV(2, 3, "second", lUV, lUnmapped));
    EXPECT_EQ(lUV, MoxVector2(102, 0));
    EXPECT_FALSE(lUnmapped);
    ASSERT_TRUE(lMesh->GetPolygonVertexUV(2, 3, "first", lUV, lUnmapped));
    EXPECT_EQ(lUV, MoxVector2(2, 20));
    ASSERT_TRUE(lMesh->GetPolygonVertexUV(1, 0, nullptr, lUV, lUnmapped));
    EXPECT_EQ(lUV, MoxVector2(1, 10));
}

TEST(MoxMeshLookup, GetPolygonVertexNormals)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeCube(*lMesh);
    MoxArray<MoxVector4> lNormals;
    lNormals.Add(MoxVector4(1, 1, 1, 1));
    moxtest::ReportCapture lReports;
    EXPECT_FALSE(lMesh->GetPolygonVertexNormals(lNormals));
    EXPECT_EQ(lNormals.GetCount(), 0);
    EXPECT_EQ(lReports.Count(), 0u);
    MoxVector4 lNormal;
    EXPECT_FALSE(lMesh->GetPolygonVertexNormal(0, 0, lNormal));

    // Per control point, direct: normal of point i is (i, 0, 0, 1).
    lMesh->InitNormals(0);
    MoxLayerElementArrayTemplate<MoxVector4>* lDirect = nullptr;
    ASSERT_TRUE(lMesh->GetNormals(&lDirect));
    for (int i = 0; i < 8; ++i) lDirect->SetAt(i, MoxVector4(i, 0, 0, 1));
    ASSERT_TRUE(lMesh->GetPolygonVertexNormals(lNormals));
    ASSERT_EQ(lNormals.GetCount(), 24);
    for (int k = 0; k < 24; ++k) EXPECT_EQ(lNormals[k], MoxVector4(lMesh->mPolygonVertices[k], 0, 0, 1)) << k;
    EXPECT_EQ(lReports.Count(), 0u);

    // One corner whose control point has no normal: everything fails.
    lDirect->SetCount(7);
    EXPECT_FALSE(lMesh->GetPolygonVertexNormals(lNormals));
    EXPECT_EQ(lNormals.GetCount(), 0);
    EXPECT_TRUE(lReports.HasOnly(sgMeshFile, sgValueFunction, "index into DirectArray out-of-range"));
}

TEST(MoxMeshLookup, EmptyMeshGivesEmptyArraysAndTrue)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    MoxArray<MoxVector4> lNormals;
    MoxArray<MoxVector2> lUVs;
    EXPECT_TRUE(lMesh->GetPolygonVertexNormals(lNormals));
    EXPECT_TRUE(lMesh->GetPolygonVertexUVs(nullptr, lUVs));
    EXPECT_EQ(lNormals.GetCount(), 0);
    EXPECT_EQ(lUVs.GetCount(), 0);
}

// ---- Oracle: a plain transcription of the lookup, compared on random meshes ------------------------

// Reports the oracle expects, as (function, message).
typedef std::vector<std::pair<std::string, std::string>> ExpectedReports;

template <class T>
bool OracleIndex(const MoxMesh& pMesh, const MoxLayerElementTemplate<T>& pElement, int pPolygon, int pPosition,
                 int& pIndex, ExpectedReports& pReports)
{
    pIndex = -1;
    if (pPolygon < 0 || pPolygon >= pMesh.mPolygons.GetCount()) return false;
    const MoxMesh::PolygonDef lPolygon = pMesh.mPolygons.GetArray()[pPolygon];
    if (pPosition < 0 || pPosition >= lPolygon.mSize) return false;
    int c = 0;
    if (pElement.mMappingMode == LE::eByPolygonVertex) {
        c = lPolygon.mIndex + pPosition;
    } else if (pElement.mMappingMode == LE::eByPolygon) {
        c = pPolygon;
    } else if (pElement.mMappingMode == LE::eByControlPoint) {
        const int p = lPolygon.mIndex + pPosition;
        if (p < 0 || p >= pMesh.mPolygonVertices.GetCount()) {
            pReports.push_back({sgIndexFunction, "index into mPolygonVertices out-of-range"});
            return false;
        }
        c = pMesh.mPolygonVertices.GetArray()[p];
    } else {
        pReports.push_back({sgIndexFunction, "MappingMode not supported"});
        return false;
    }
    if (pElement.mReferenceMode != LE::eDirect) {
        if (c < 0 || c >= pElement.mIndexArray->GetCount()) {
            pReports.push_back({sgIndexFunction, "index into IndexArray out-of-range"});
            return false;
        }
        c = pElement.mIndexArray->GetAt(c);
    }
    pIndex = c;
    return true;
}

template <class T>
bool OracleValue(const MoxMesh& pMesh, const MoxLayerElementTemplate<T>& pElement, int pPolygon, int pPosition,
                 T& pValue, bool pAllowUnmapped, ExpectedReports& pReports)
{
    int lIndex = 0;
    if (!OracleIndex(pMesh, pElement, pPolygon, pPosition, lIndex, pReports)) return false;
    if (pElement.mReferenceMode == LE::eIndex)
        pReports.push_back({"GetDirectArray",
                            "mReferenceMode == MoxLayerElement::eDirect || "
                            "mReferenceMode == MoxLayerElement::eIndexToDirect"});
    if (lIndex < 0 || lIndex >= pElement.mDirectArray->GetCount()) {
        if (pAllowUnmapped && lIndex == -1) return true;
        pReports.push_back({sgValueFunction, "index into DirectArray out-of-range"});
        return false;
    }
    pValue = pElement.mDirectArray->GetAt(lIndex);
    return true;
}

// The whole-mesh UV walk, literally: one GetPolygonVertexUV-style lookup per corner.
bool OracleUVs(const MoxMesh& pMesh, const MoxLayerElementUV* pElement, std::vector<MoxVector2>& pUVs,
               std::vector<int>& pUnmapped, ExpectedReports& pReports)
{
    MoxVector2 lUV(0, 0);
    pUVs.assign(pMesh.mPolygonVertices.GetCount(), MoxVector2(0, 0));
    pUnmapped.clear();
    int k = 0;
    for (int p = 0; p < pMesh.mPolygons.GetCount(); ++p) {
        for (int v = 0; v < pMesh.mPolygons.GetArray()[p].mSize; ++v) {
            int lIndex = 0;
            if (!pElement || !OracleIndex(pMesh, *pElement, p, v, lIndex, pReports) ||
                !OracleValue(pMesh, *pElement, p, v, lUV, true, pReports)) {
                pUVs.clear();
                return false;
            }
            if (lIndex == -1) {
                lUV = MoxVector2(0, 0);
                pUnmapped.push_back(k);
            }
            if (k < static_cast<int>(pUVs.size())) pUVs[k] = lUV;
            ++k;
        }
    }
    return true;
}

bool OracleNormals(const MoxMesh& pMesh, const MoxLayerElementNormal* pElement, std::vector<MoxVector4>& pNormals,
                   ExpectedReports& pReports)
{
    pNormals.assign(pMesh.mPolygonVertices.GetCount(), MoxVector4());
    int k = 0;
    for (int p = 0; p < pMesh.mPolygons.GetCount(); ++p) {
        for (int v = 0; v < pMesh.mPolygons.GetArray()[p].mSize; ++v) {
            MoxVector4 lNormal;
            if (!pElement || !OracleValue(pMesh, *pElement, p, v, lNormal, false, pReports)) {
                pNormals.clear();
                return false;
            }
            if (k < static_cast<int>(pNormals.size())) pNormals[k] = lNormal;
            ++k;
        }
    }
    return true;
}

ExpectedReports Captured(const moxtest::ReportCapture& pReports)
{
    ExpectedReports lResult;
    for (const moxtest::Report& lReport : pReports.Reports()) {
        EXPECT_TRUE(lReport.mFile == sgMeshFile || lReport.mFile == sgLayerFile) << lReport.mFile;
        lResult.push_back({lReport.mFunction, lReport.mMessage});
    }
    return lResult;
}

// Random modes, a direct array of 0 .. 2n values, and an index array of random length whose entries
// range over -2 .. direct count + 1 (so -1, other negatives and entries past the end all occur).
template <class ELEMENT, class VALUE>
void RandomizeElement(ELEMENT& pElement, std::mt19937& pRandom, int pSize, VALUE (*pMake)(int))
{
    auto lUniform = [&pRandom](int pLow, int pHigh) {
        return std::uniform_int_distribution<int>(pLow, pHigh)(pRandom);
    };
    // Mostly supported mappings, so that many lookups get past the first checks.
    const LE::EMappingMode lMappings[] = {
        LE::eByPolygonVertex, LE::eByPolygonVertex, LE::eByPolygon, LE::eByControlPoint,
        LE::eByControlPoint,  LE::eByMesh,          LE::eByEdge,    LE::eNone};
    pElement.SetMappingMode(lMappings[lUniform(0, 7)]);
    pElement.SetReferenceMode(sgAllReferences[lUniform(0, 2)]);
    const int lDirectCount = lUniform(0, 2 * pSize + 1);
    for (int i = 0; i < lDirectCount; ++i) pElement.mDirectArray->Add(pMake(i));
    const int lIndexCount = lUniform(0, 2 * pSize + 1);
    for (int i = 0; i < lIndexCount; ++i) {
        const int lChoice = lUniform(0, 9);
        pElement.mIndexArray->Add(lChoice == 0   ? -1
                                  : lChoice == 1 ? lUniform(-3, lDirectCount + 2)
                                                 : lUniform(0, lDirectCount > 0 ? lDirectCount - 1 : 0));
    }
}

MoxVector2 MakeUV(int pIndex)
{
    return MoxVector2(pIndex, 0.5 * pIndex);
}

MoxVector4 MakeNormal(int pIndex)
{
    return MoxVector4(0, pIndex, 1, 0);
}

TEST(MoxMeshLookupOracle, WholeMeshLookupsMatchThePlainAlgorithmOnRandomMeshes)
{
    std::mt19937 lRandom(20240611);
    moxtest::RandomMeshOptions lOptions;
    lOptions.mInvalidIndices = true;
    int lSucceeded = 0;
    for (int lRound = 0; lRound < 300; ++lRound) {
        SCOPED_TRACE(lRound);
        moxtest::ManagerScope lScope;
        MoxMesh* lMesh = lScope.NewMesh();
        moxtest::MakeRandomMesh(*lMesh, lRandom, lOptions);
        const int lSize = lMesh->GetPolygonVertexCount() + lMesh->GetControlPointsCount();
        if (lRandom() % 10 == 0 && lMesh->GetPolygonCount() > 0) {
            // A user edit that makes mIndex inconsistent.
            lMesh->mPolygons[static_cast<int>(lRandom() % lMesh->GetPolygonCount())].mIndex += 3;
        }
        if (lMesh->GetLayerCount() == 0) lMesh->CreateLayer();
        MoxLayerElementUV* lUVs = MoxLayerElementUV::Create(lMesh, "random");
        RandomizeElement(*lUVs, lRandom, lSize, &MakeUV);
        lMesh->GetLayer(0)->SetUVs(lUVs, Channel(LE::eTextureChannel0 + static_cast<int>(lRandom() % 17)));
        MoxLayerElementNormal* lNormalElement = MoxLayerElementNormal::Create(lMesh, "");
        RandomizeElement(*lNormalElement, lRandom, lSize, &MakeNormal);
        lMesh->GetLayer(0)->SetNormals(lNormalElement);

        // Corner by corner, including out-of-range ones.
        for (int p = -1; p <= lMesh->GetPolygonCount(); ++p) {
            for (int v = -1; v <= (p >= 0 && p < lMesh->GetPolygonCount() ? lMesh->mPolygons[p].mSize : 0); ++v) {
                ExpectedReports lExpected;
                int lOracleIndex = 0;
                const bool lOracleOk = OracleIndex(*lMesh, *lUVs, p, v, lOracleIndex, lExpected);
                MoxVector2 lOracleUV(-7, -7);
                const bool lOracleValueOk = OracleValue(*lMesh, *lUVs, p, v, lOracleUV, true, lExpected);
                moxtest::ReportCapture lReports;
                int lIndex = 0;
                EXPECT_EQ(lMesh->GetPolygonVertexLayerElementIndex(lUVs, p, v, lIndex), lOracleOk);
                EXPECT_EQ(lIndex, lOracleIndex);
                MoxVector2 lUV(-7, -7);
                EXPECT_EQ(lMesh->GetPolygonVertexLayerElementValue(lUVs, p, v, lUV, true), lOracleValueOk);
                EXPECT_EQ(lUV, lOracleUV);
                EXPECT_EQ(Captured(lReports), lExpected);
            }
        }

        ExpectedReports lExpected;
        std::vector<MoxVector2> lOracleUVs;
        std::vector<int> lOracleUnmapped;
        const bool lOracleUVsOk = OracleUVs(*lMesh, lUVs, lOracleUVs, lOracleUnmapped, lExpected);
        std::vector<MoxVector4> lOracleNormals;
        const bool lOracleNormalsOk = OracleNormals(*lMesh, lNormalElement, lOracleNormals, lExpected);

        moxtest::ReportCapture lReports;
        MoxArray<MoxVector2> lUVList;
        MoxArray<int> lUnmapped;
        ASSERT_EQ(lMesh->GetPolygonVertexUVs("random", lUVList, &lUnmapped), lOracleUVsOk);
        MoxArray<MoxVector4> lNormals;
        ASSERT_EQ(lMesh->GetPolygonVertexNormals(lNormals), lOracleNormalsOk);
        // Reports of the corners walked past the end of the result (an inconsistent mIndex) come from
        // the result array; the oracle's vectors do not report, so compare only mesh and layer reports.
        ExpectedReports lActual;
        for (const moxtest::Report& lReport : lReports.Reports())
            if (lReport.mFile != sgArrayFile) lActual.push_back({lReport.mFunction, lReport.mMessage});
        EXPECT_EQ(lActual, lExpected);
        ASSERT_EQ(lUVList.GetCount(), static_cast<int>(lOracleUVs.size()));
        for (int k = 0; k < lUVList.GetCount(); ++k) EXPECT_EQ(lUVList[k], lOracleUVs[k]);
        if (lOracleUVsOk) {
            ASSERT_EQ(lUnmapped.GetCount(), static_cast<int>(lOracleUnmapped.size()));
            for (int k = 0; k < lUnmapped.GetCount(); ++k) EXPECT_EQ(lUnmapped[k], lOracleUnmapped[k]);
        }
        ASSERT_EQ(lNormals.GetCount(), static_cast<int>(lOracleNormals.size()));
        for (int k = 0; k < lNormals.GetCount(); ++k) EXPECT_EQ(lNormals[k], lOracleNormals[k]);
        if (lOracleUVsOk && lMesh->GetPolygonVertexCount() > 0) ++lSucceeded;
    }
    // Enough random meshes get through every corner for the comparison to mean something.
    EXPECT_GT(lSucceeded, 20);
}

// ==== Creases and holes ==============================================================================

// The cube with 12 edges (edge e starts at polygon vertex 2 e), and on layer 0 an edge crease element
// (eByEdge), a vertex crease element (eByControlPoint) and a hole element (eByPolygon), all direct and
// sized to the mesh, filled with 0.
MoxMesh* MakeCreasedCube(moxtest::ManagerScope& pScope)
{
    MoxMesh* lMesh = pScope.NewMesh();
    moxtest::MakeCube(*lMesh);
    for (int e = 0; e < 12; ++e) lMesh->mEdgeArray.Add(2 * e);
    MoxLayer* lLayer = lMesh->GetLayer(0);
    MoxLayerElementCrease* lEdge = MoxLayerElementCrease::Create(lMesh, "edges");
    lEdge->SetMappingMode(LE::eByEdge);
    lEdge->mDirectArray->SetCount(12);
    lLayer->SetEdgeCrease(lEdge);
    MoxLayerElementCrease* lVertex = MoxLayerElementCrease::Create(lMesh, "vertices");
    lVertex->SetMappingMode(LE::eByControlPoint);
    lVertex->mDirectArray->SetCount(8);
    lLayer->SetVertexCrease(lVertex);
    MoxLayerElementHole* lHole = MoxLayerElementHole::Create(lMesh, "holes");
    lHole->SetMappingMode(LE::eByPolygon);
    lHole->mDirectArray->SetCount(6);
    lLayer->SetHole(lHole);
    return lMesh;
}

TEST(MoxMeshCreases, SingleValuesRoundTrip)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = MakeCreasedCube(lScope);
    moxtest::ReportCapture lReports;
    EXPECT_TRUE(lMesh->SetEdgeCreaseInfo(11, 0.75));
    EXPECT_TRUE(lMesh->SetVertexCreaseInfo(7, 2.5));
    EXPECT_TRUE(lMesh->SetPolyHoleInfo(5, true));
    EXPECT_EQ(lMesh->GetEdgeCreaseInfo(11), 0.75);
    EXPECT_EQ(lMesh->GetEdgeCreaseInfo(10), 0.0);
    EXPECT_EQ(lMesh->GetVertexCreaseInfo(7), 2.5);
    EXPECT_TRUE(lMesh->GetPolyHoleInfo(5));
    EXPECT_FALSE(lMesh->GetPolyHoleInfo(4));
    EXPECT_EQ(lMesh->GetLayer(0)->GetEdgeCrease()->mDirectArray->GetAt(11), 0.75);
    EXPECT_EQ(lReports.Count(), 0u);
}

TEST(MoxMeshCreases, IndexRangesAreTheMeshCounts)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = MakeCreasedCube(lScope);
    // Elements longer than the mesh: the mesh's counts are the limit.
    lMesh->GetLayer(0)->GetEdgeCrease()->mDirectArray->SetCount(20);
    lMesh->GetLayer(0)->GetVertexCrease()->mDirectArray->SetCount(20);
    lMesh->GetLayer(0)->GetHole()->mDirectArray->SetCount(20);
    lMesh->GetLayer(0)->GetEdgeCrease()->mDirectArray->SetAt(12, 9.0);
    EXPECT_FALSE(lMesh->SetEdgeCreaseInfo(12, 1.0));
    EXPECT_EQ(lMesh->GetEdgeCreaseInfo(12), 0.0);
    EXPECT_FALSE(lMesh->SetVertexCreaseInfo(8, 1.0));
    EXPECT_EQ(lMesh->GetVertexCreaseInfo(8), 0.0);
    EXPECT_FALSE(lMesh->SetPolyHoleInfo(6, true));
    EXPECT_FALSE(lMesh->GetPolyHoleInfo(6));
    EXPECT_EQ(lMesh->GetLayer(0)->GetEdgeCrease()->mDirectArray->GetAt(12), 9.0);
}

// Negative indices are rejected rather than passed to the buffer.
TEST(MoxMeshCreases, NegativeIndicesNeverReachTheBuffer)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = MakeCreasedCube(lScope);
    moxtest::ReportCapture lReports;
    EXPECT_FALSE(lMesh->SetEdgeCreaseInfo(-1, 1.0));
    EXPECT_FALSE(lMesh->SetVertexCreaseInfo(-1, 1.0));
    EXPECT_FALSE(lMesh->SetPolyHoleInfo(-1, true));
    EXPECT_FALSE(lMesh->SetEdgeCreaseInfo(-1000000, 1.0));
    EXPECT_EQ(lMesh->GetEdgeCreaseInfo(-1), 0.0);
    EXPECT_EQ(lMesh->GetVertexCreaseInfo(-3), 0.0);
    EXPECT_FALSE(lMesh->GetPolyHoleInfo(-2));
    EXPECT_EQ(lReports.Count(), 0u);
}

// An element shorter than the mesh's count: in range for the mesh, past the element's end.
TEST(MoxMeshCreases, ShortElementIsNeverWrittenPastItsEnd)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = MakeCreasedCube(lScope);
    lMesh->GetLayer(0)->GetEdgeCrease()->mDirectArray->SetCount(3);
    lMesh->GetLayer(0)->GetEdgeCrease()->mDirectArray->Compact();
    lMesh->GetLayer(0)->GetHole()->mDirectArray->SetCount(2);
    lMesh->GetLayer(0)->GetHole()->mDirectArray->Compact();
    EXPECT_FALSE(lMesh->SetEdgeCreaseInfo(3, 1.0));
    EXPECT_FALSE(lMesh->SetEdgeCreaseInfo(11, 1.0));
    EXPECT_EQ(lMesh->GetEdgeCreaseInfo(11), 0.0);
    EXPECT_TRUE(lMesh->SetEdgeCreaseInfo(2, 1.0));
    EXPECT_FALSE(lMesh->SetPolyHoleInfo(5, true));
    EXPECT_TRUE(lMesh->SetPolyHoleInfo(1, true));
    EXPECT_EQ(lMesh->GetLayer(0)->GetEdgeCrease()->mDirectArray->GetCount(), 3);
}

TEST(MoxMeshCreases, EdgeCreaseInIndexToDirectModeReadsAsZero)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = MakeCreasedCube(lScope);
    MoxLayerElementCrease* lEdge = lMesh->GetLayer(0)->GetEdgeCrease();
    lEdge->mDirectArray->SetAt(4, 3.0);
    EXPECT_EQ(lMesh->GetEdgeCreaseInfo(4), 3.0);
    lEdge->SetReferenceMode(LE::eIndexToDirect);
    EXPECT_EQ(lMesh->GetEdgeCreaseInfo(4), 0.0);
    EXPECT_FALSE(lMesh->SetEdgeCreaseInfo(4, 1.0));
    MoxLayerElementArrayTemplate<double>* lArray = nullptr;
    EXPECT_FALSE(lMesh->GetEdgeCreaseInfoArray(&lArray));
    EXPECT_EQ(lArray, nullptr);
    EXPECT_EQ(lEdge->mDirectArray->GetAt(4), 3.0);
}

// Each element accepts exactly one mapping.
TEST(MoxMeshCreases, WrongMappingsAreRefused)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = MakeCreasedCube(lScope);
    MoxLayer* lLayer = lMesh->GetLayer(0);
    lLayer->GetHole()->SetMappingMode(LE::eByControlPoint);
    EXPECT_FALSE(lMesh->SetPolyHoleInfo(1, true));
    EXPECT_FALSE(lMesh->GetPolyHoleInfo(1));
    lLayer->GetEdgeCrease()->SetMappingMode(LE::eByPolygonVertex);
    EXPECT_FALSE(lMesh->SetEdgeCreaseInfo(1, 1.0));
    lLayer->GetVertexCrease()->SetMappingMode(LE::eByEdge);
    EXPECT_FALSE(lMesh->SetVertexCreaseInfo(1, 1.0));
    MoxArray<double> lWeights;
    lWeights.Add(1.0);
    EXPECT_FALSE(lMesh->SetVertexCreaseInfoArray(&lWeights));
    for (LE::EMappingMode lMapping : sgAllMappings) {
        lLayer->GetHole()->SetMappingMode(lMapping);
        EXPECT_EQ(lMesh->SetPolyHoleInfo(1, true), lMapping == LE::eByPolygon);
    }
    lLayer->GetVertexCrease()->SetMappingMode(LE::eByControlPoint);
    lLayer->GetVertexCrease()->SetReferenceMode(LE::eIndex);
    EXPECT_FALSE(lMesh->SetVertexCreaseInfo(1, 1.0));
}

TEST(MoxMeshCreases, SettersFailOnAnEmptyElement)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = MakeCreasedCube(lScope);
    MoxLayer* lLayer = lMesh->GetLayer(0);
    lLayer->GetEdgeCrease()->mDirectArray->Clear();
    lLayer->GetVertexCrease()->mDirectArray->Clear();
    lLayer->GetHole()->mDirectArray->Clear();
    MoxArray<double> lWeights;
    for (int i = 0; i < 12; ++i) lWeights.Add(1.0);
    MoxArray<bool> lHoles;
    for (int i = 0; i < 6; ++i) lHoles.Add(true);
    EXPECT_FALSE(lMesh->SetEdgeCreaseInfo(0, 1.0));
    EXPECT_FALSE(lMesh->SetVertexCreaseInfo(0, 1.0));
    EXPECT_FALSE(lMesh->SetPolyHoleInfo(0, true));
    EXPECT_FALSE(lMesh->SetEdgeCreaseInfoArray(&lWeights));
    EXPECT_FALSE(lMesh->SetVertexCreaseInfoArray(&lWeights));
    EXPECT_FALSE(lMesh->SetPolyHoleInfoArray(&lHoles));
    // The array getters still succeed: the elements have the right shape.
    MoxLayerElementArrayTemplate<double>* lArray = nullptr;
    EXPECT_TRUE(lMesh->GetEdgeCreaseInfoArray(&lArray));
    EXPECT_EQ(lArray->GetCount(), 0);
}

TEST(MoxMeshCreases, NothingWithoutElementsAndNothingCreated)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeCube(*lMesh);
    for (int e = 0; e < 12; ++e) lMesh->mEdgeArray.Add(2 * e);
    MoxArray<double> lWeights;
    lWeights.Add(1.0);
    MoxArray<bool> lHoles;
    lHoles.Add(true);
    EXPECT_FALSE(lMesh->SetEdgeCreaseInfo(0, 1.0));
    EXPECT_FALSE(lMesh->SetVertexCreaseInfo(0, 1.0));
    EXPECT_FALSE(lMesh->SetPolyHoleInfo(0, true));
    EXPECT_FALSE(lMesh->SetEdgeCreaseInfoArray(&lWeights));
    EXPECT_FALSE(lMesh->SetVertexCreaseInfoArray(&lWeights));
    EXPECT_FALSE(lMesh->SetPolyHoleInfoArray(&lHoles));
    EXPECT_EQ(lMesh->GetEdgeCreaseInfo(0), 0.0);
    EXPECT_EQ(lMesh->GetVertexCreaseInfo(0), 0.0);
    EXPECT_FALSE(lMesh->GetPolyHoleInfo(0));
    MoxLayerElementArrayTemplate<double>* lCreases = reinterpret_cast<MoxLayerElementArrayTemplate<double>*>(8);
    MoxLayerElementArrayTemplate<bool>* lHoleArray = reinterpret_cast<MoxLayerElementArrayTemplate<bool>*>(8);
    EXPECT_FALSE(lMesh->GetEdgeCreaseInfoArray(&lCreases));
    EXPECT_FALSE(lMesh->GetVertexCreaseInfoArray(&lCreases));
    EXPECT_FALSE(lMesh->GetPolyHoleInfoArray(&lHoleArray));
    // Untouched on failure.
    EXPECT_EQ(lCreases, reinterpret_cast<MoxLayerElementArrayTemplate<double>*>(8));
    EXPECT_EQ(lHoleArray, reinterpret_cast<MoxLayerElementArrayTemplate<bool>*>(8));
    EXPECT_EQ(lMesh->GetLayerCount(), 1);
    EXPECT_EQ(lMesh->GetLayer(0)->GetEdgeCrease(), nullptr);
    EXPECT_EQ(lMesh->GetLayer(0)->GetHole(), nullptr);
}

// The element is taken from the first layer that holds one, not only from layer 0.
TEST(MoxMeshCreases, ElementOnALaterLayer)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeCube(*lMesh);
    lMesh->CreateLayer();
    MoxLayer* lThird = lMesh->GetLayer(lMesh->CreateLayer());
    MoxLayerElementCrease* lVertex = MoxLayerElementCrease::Create(lMesh, "");
    lVertex->SetMappingMode(LE::eByControlPoint);
    lVertex->mDirectArray->SetCount(8);
    lThird->SetVertexCrease(lVertex);
    EXPECT_TRUE(lMesh->SetVertexCreaseInfo(3, 0.5));
    EXPECT_EQ(lVertex->mDirectArray->GetAt(3), 0.5);
    MoxLayerElementArrayTemplate<double>* lArray = nullptr;
    ASSERT_TRUE(lMesh->GetVertexCreaseInfoArray(&lArray));
    EXPECT_EQ(lArray, lVertex->mDirectArray);
}

TEST(MoxMeshCreases, ArrayGetters)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = MakeCreasedCube(lScope);
    MoxLayerElementArrayTemplate<double>* lCreases = nullptr;
    ASSERT_TRUE(lMesh->GetEdgeCreaseInfoArray(&lCreases));
    EXPECT_EQ(lCreases, lMesh->GetLayer(0)->GetEdgeCrease()->mDirectArray);
    ASSERT_TRUE(lMesh->GetVertexCreaseInfoArray(&lCreases));
    EXPECT_EQ(lCreases, lMesh->GetLayer(0)->GetVertexCrease()->mDirectArray);
    MoxLayerElementArrayTemplate<bool>* lHoles = nullptr;
    ASSERT_TRUE(lMesh->GetPolyHoleInfoArray(&lHoles));
    EXPECT_EQ(lHoles, lMesh->GetLayer(0)->GetHole()->mDirectArray);
    // A null output is refused.
    EXPECT_FALSE(lMesh->GetEdgeCreaseInfoArray(nullptr));
    EXPECT_FALSE(lMesh->GetPolyHoleInfoArray(nullptr));
}

TEST(MoxMeshCreases, ArraySetterCopiesAsManyValuesAsTheElementHolds)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = MakeCreasedCube(lScope);
    lMesh->GetLayer(0)->GetVertexCrease()->mDirectArray->SetCount(4);
    MoxArray<double> lWeights;
    for (int i = 0; i < 10; ++i) lWeights.Add(0.5 * (i + 1));
    moxtest::ReportCapture lReports;
    EXPECT_TRUE(lMesh->SetVertexCreaseInfoArray(&lWeights));
    const MoxLayerElementArrayTemplate<double>& lValues = *lMesh->GetLayer(0)->GetVertexCrease()->mDirectArray;
    ASSERT_EQ(lValues.GetCount(), 4);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(lValues.GetAt(i), 0.5 * (i + 1));
    EXPECT_EQ(lReports.Count(), 0u);
    EXPECT_FALSE(lMesh->SetVertexCreaseInfoArray(nullptr));
    EXPECT_FALSE(lMesh->SetPolyHoleInfoArray(nullptr));
}

// A source shorter than the element: each missing entry is reported by the source array and read as 0.
TEST(MoxMeshCreases, ShortSourceReportsThroughTheSourceArray)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = MakeCreasedCube(lScope);
    MoxArray<bool> lHoles;
    lHoles.Add(true);
    lHoles.Add(true);  // size 2, capacity 2
    lMesh->GetLayer(0)->GetHole()->mDirectArray->SetAt(5, true);
    moxtest::ReportCapture lReports;
    EXPECT_TRUE(lMesh->SetPolyHoleInfoArray(&lHoles));
    EXPECT_EQ(lReports.Messages(), std::vector<std::string>(4, "Index is out of range!"));
    for (const moxtest::Report& lReport : lReports.Reports()) EXPECT_EQ(lReport.mFile, sgArrayFile);
    const MoxLayerElementArrayTemplate<bool>& lValues = *lMesh->GetLayer(0)->GetHole()->mDirectArray;
    EXPECT_TRUE(lValues.GetAt(0));
    EXPECT_TRUE(lValues.GetAt(1));
    for (int i = 2; i < 6; ++i) EXPECT_FALSE(lValues.GetAt(i)) << i;

    MoxArray<double> lWeights;
    lWeights.Add(2.0);
    lReports.Clear();
    EXPECT_TRUE(lMesh->SetEdgeCreaseInfoArray(&lWeights));
    EXPECT_EQ(lReports.Count(), 11u);
    EXPECT_EQ(lMesh->GetEdgeCreaseInfo(0), 2.0);
    EXPECT_EQ(lMesh->GetEdgeCreaseInfo(11), 0.0);
}

// ==== Subdivision settings ===========================================================================

TEST(MoxMeshSettings, DivisionLevelsClampOnlyBelowZero)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    lMesh->SetMeshPreviewDivisionLevels(-3);
    EXPECT_EQ(lMesh->GetMeshPreviewDivisionLevels(), 0);
    lMesh->SetMeshRenderDivisionLevels(1000);
    EXPECT_EQ(lMesh->GetMeshRenderDivisionLevels(), 1000);
    lMesh->SetMeshRenderDivisionLevels(-1);
    EXPECT_EQ(lMesh->GetMeshRenderDivisionLevels(), 0);
    lMesh->SetMeshPreviewDivisionLevels(7);
    EXPECT_EQ(lMesh->GetMeshPreviewDivisionLevels(), 7);
}

TEST(MoxMeshSettings, FreshAndResetMeshesHaveDefaults)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    auto lExpectDefaults = [lMesh]() {
        EXPECT_EQ(lMesh->GetMeshSmoothness(), 0);
        EXPECT_EQ(lMesh->GetMeshPreviewDivisionLevels(), 0);
        EXPECT_EQ(lMesh->GetMeshRenderDivisionLevels(), 0);
        EXPECT_EQ(lMesh->GetBoundaryRule(), 0);
        EXPECT_FALSE(lMesh->GetDisplaySubdivisions());
        EXPECT_FALSE(lMesh->GetPreserveBorders());
        EXPECT_FALSE(lMesh->GetPreserveHardEdges());
        EXPECT_FALSE(lMesh->GetPropagateEdgeHardness());
    };
    lExpectDefaults();
    lMesh->SetMeshSmoothness(MoxMesh::eRough);
    lMesh->SetMeshPreviewDivisionLevels(1);
    lMesh->SetMeshRenderDivisionLevels(2);
    lMesh->SetBoundaryRule(MoxMesh::eCreaseAll);
    lMesh->SetDisplaySubdivisions(true);
    lMesh->SetPreserveBorders(true);
    lMesh->SetPreserveHardEdges(true);
    lMesh->SetPropagateEdgeHardness(true);
    EXPECT_EQ(lMesh->GetMeshSmoothness(), MoxMesh::eRough);
    EXPECT_EQ(lMesh->GetBoundaryRule(), MoxMesh::eCreaseAll);
    EXPECT_TRUE(lMesh->GetPreserveHardEdges());
    lMesh->Reset();
    lExpectDefaults();
}

// Enumeration values are stored as given, without validation.
TEST(MoxMeshSettings, EnumerationsAreStoredUnchanged)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    lMesh->SetMeshSmoothness(static_cast<MoxMesh::ESmoothness>(7));  // no named value
    lMesh->SetBoundaryRule(MoxMesh::eCreaseNone);
    EXPECT_EQ(static_cast<int>(lMesh->GetMeshSmoothness()), 7);
    EXPECT_EQ(lMesh->GetBoundaryRule(), MoxMesh::eCreaseNone);
}

}  // namespace
