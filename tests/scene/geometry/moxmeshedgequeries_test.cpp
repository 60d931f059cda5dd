// Edge editing and edge queries of MoxMesh: named meshes with exact expectations, reports, answers with
// and without the caches, and oracle comparisons on random meshes.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "moxsdk/scene/geometry/moxmesh.h"
#include "scene/geometry/moxmeshedges_testutil.h"
#include "scene/geometry/oracle/moxmeshedgesoracle.h"
#include "support/moxtestmeshes.h"
#include "support/moxtestsupport.h"

using namespace moxsdk;
using namespace moxedgetest;

namespace {

TEST(MoxMeshEdgeEditing, SetMeshEdgeIndexFindsTheSideFromTheEndsPreviousVertex)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    for (bool lWithMap : {false, true}) {
        moxtest::MakeQuad(*lMesh);
        lMesh->SetMeshEdgeCount(1);
        if (lWithMap) lMesh->BeginAddMeshEdgeIndex();
        EXPECT_EQ(lMesh->SetMeshEdgeIndex(0, 1, 0, false, -1), 0);
        EXPECT_EQ(Values(lMesh->mEdgeArray), std::vector<int>{0});
        lMesh->EndAddMeshEdgeIndex();
    }
}

TEST(MoxMeshEdgeEditing, AddingAKnownEdgeWithTheCheckChangesNothing)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeQuad(*lMesh);
    lMesh->BuildMeshEdgeArray();
    EXPECT_EQ(lMesh->AddMeshEdgeIndex(0, 1, true), -1);
    EXPECT_EQ(lMesh->AddMeshEdgeIndex(1, 0, true), -1);
    EXPECT_EQ(lMesh->GetMeshEdgeCount(), 4);
    // Without the check the same side is added again.
    EXPECT_EQ(lMesh->AddMeshEdgeIndex(1, 0, false), 4);
    EXPECT_EQ(Values(lMesh->mEdgeArray), (std::vector<int>{0, 1, 2, 3, 0}));
}

TEST(MoxMeshEdgeEditing, ControlPointsSharingNoSideGiveMinusOne)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    for (bool lWithMap : {false, true}) {
        moxtest::MakeQuad(*lMesh);
        lMesh->SetMeshEdgeCount(1);
        lMesh->mEdgeArray[0] = 3;
        if (lWithMap) lMesh->BeginAddMeshEdgeIndex();
        moxtest::ReportCapture lCapture;
        EXPECT_EQ(lMesh->SetMeshEdgeIndex(0, 0, 2, false, -1), -1);
        EXPECT_EQ(lMesh->AddMeshEdgeIndex(1, 3, false), -1);
        EXPECT_EQ(lCapture.Count(), 0u);
        EXPECT_EQ(Values(lMesh->mEdgeArray), std::vector<int>{3});
        lMesh->EndAddMeshEdgeIndex();
    }
}

TEST(MoxMeshEdgeEditing, DuplicateCheckGivesMinusTwo)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    for (bool lWithMap : {false, true}) {
        moxtest::MakeTwoTriangles(*lMesh);
        lMesh->BuildMeshEdgeArray();
        if (lWithMap) lMesh->BeginAddMeshEdgeIndex();
        EXPECT_EQ(lMesh->SetMeshEdgeIndex(0, 2, 1, true, -1), -2);
        EXPECT_EQ(lMesh->SetMeshEdgeIndex(0, 3, 2, true, -1), -2);
        EXPECT_EQ(Values(lMesh->mEdgeArray), (std::vector<int>{0, 1, 2, 4, 5}));
        lMesh->EndAddMeshEdgeIndex();
    }
    // Without the map only the first pExistedEdgeCount edges are searched: edge 4 (3-2) is not among 4.
    EXPECT_EQ(lMesh->SetMeshEdgeIndex(0, 3, 2, true, 4), 0);
    EXPECT_EQ(lMesh->mEdgeArray[0], 5);
}

TEST(MoxMeshEdgeEditing, EdgesSetInsideThePairAreSeenByTheDuplicateCheck)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeQuad(*lMesh);
    lMesh->BeginAddMeshEdgeIndex();
    EXPECT_EQ(lMesh->AddMeshEdgeIndex(2, 3, false), 0);
    EXPECT_EQ(lMesh->mV2PVMap.mEdgeSet.GetSize(), 1);
    EXPECT_TRUE(lMesh->mV2PVMap.mEdgeSet.Find(MoxPair<int, int>(2, 3)));
    lMesh->SetMeshEdgeCount(2);
    EXPECT_EQ(lMesh->SetMeshEdgeIndex(1, 3, 2, true, -1), -2);
    lMesh->EndAddMeshEdgeIndex();
}

TEST(MoxMeshEdgeEditing, BadArgumentsAreReportedAsFalse)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeQuad(*lMesh);
    lMesh->SetMeshEdgeCount(1);
    lMesh->mEdgeArray[0] = 2;
    const std::vector<std::vector<int>> lCalls{{0, -1, 1}, {0, 4, 1}, {0, 1, -1}, {0, 1, 4}, {-1, 0, 1}, {1, 0, 1}};
    for (const std::vector<int>& lCall : lCalls) {
        moxtest::ReportCapture lCapture;
        EXPECT_EQ(lMesh->SetMeshEdgeIndex(lCall[0], lCall[1], lCall[2], false, -1), -1);
        EXPECT_TRUE(lCapture.HasOnly(sgFile, "SetMeshEdgeIndex", "false"));
    }
    EXPECT_EQ(Values(lMesh->mEdgeArray), std::vector<int>{2});
    moxtest::ReportCapture lCapture;
    EXPECT_EQ(lMesh->AddMeshEdgeIndex(0, 7, false), -1);
    EXPECT_TRUE(lCapture.HasOnly(sgFile, "SetMeshEdgeIndex", "false"));
    EXPECT_EQ(Values(lMesh->mEdgeArray), std::vector<int>{2});
}

TEST(MoxMeshEdgeEditing, AddMeshEdgeIndexForPolygonChecksItsArguments)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeTwoTriangles(*lMesh);
    EXPECT_EQ(lMesh->AddMeshEdgeIndexForPolygon(0, 3), -1);
    EXPECT_EQ(lMesh->AddMeshEdgeIndexForPolygon(0, -1), -1);
    EXPECT_EQ(lMesh->AddMeshEdgeIndexForPolygon(-1, 0), -1);
    EXPECT_EQ(lMesh->AddMeshEdgeIndexForPolygon(3, 0), -1);
    EXPECT_EQ(lMesh->GetMeshEdgeCount(), 0);
    // The polygon count itself passes the range test: the polygon array reports the read (its reserved
    // slot is zero here, a polygon of size 0, so the position test then refuses).
    lMesh->mPolygons.Reserve(4);
    moxtest::ReportCapture lCapture;
    EXPECT_EQ(lMesh->AddMeshEdgeIndexForPolygon(2, 0), -1);
    EXPECT_EQ(Messages(lCapture),
              (std::vector<std::string>{
                  "Index is out of range, but not outside of capacity! Call SetAt() to use reserved memory.",
                  "Index is out of range!"}));
    EXPECT_EQ(lCapture.Reports()[0].mFile, sgArrayFile);
}

TEST(MoxMeshEdgeEditing, AddMeshEdgeIndexForPolygonAddsEachSideOnce)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeTwoTriangles(*lMesh);
    lMesh->BeginAddMeshEdgeIndex();
    EXPECT_EQ(lMesh->AddMeshEdgeIndexForPolygon(1, 0), 0);   // 2-1, stored where the map finds it first
    EXPECT_EQ(lMesh->AddMeshEdgeIndexForPolygon(0, 1), -1);  // 1-2 again
    EXPECT_EQ(lMesh->AddMeshEdgeIndexForPolygon(1, 2), 1);
    lMesh->EndAddMeshEdgeIndex();
    // Side 2-1 found from control point 2's first corner (polygon vertex 2): its previous vertex is 1.
    EXPECT_EQ(Values(lMesh->mEdgeArray), (std::vector<int>{1, 5}));
}

TEST(MoxMeshEdgeEditing, PolygonPositionPastTheVerticesIsReported)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeQuad(*lMesh);
    lMesh->mPolygons[0].mSize = 6;
    moxtest::ReportCapture lCapture;
    EXPECT_EQ(lMesh->AddMeshEdgeIndexForPolygon(0, 4), -1);
    ASSERT_GE(lCapture.Count(), 1u);
    EXPECT_EQ(lCapture.Reports()[0].mFunction, "AddMeshEdgeIndexForPolygon");
    EXPECT_EQ(lCapture.Reports()[0].mMessage,
              "mPolygons[pPolygonIndex].mIndex + pPositionInPolygon < mPolygonVertices.GetCount()");
}

TEST(MoxMeshEdgeEditing, ThreeArgumentSetMeshEdgeIndexNamesAPolygonSide)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeTwoTriangles(*lMesh);
    lMesh->SetMeshEdgeCount(2);
    lMesh->mEdgeArray[0] = 0;
    lMesh->mEdgeArray[1] = 0;
    EXPECT_FALSE(lMesh->SetMeshEdgeIndex(2, 0, 0));
    EXPECT_FALSE(lMesh->SetMeshEdgeIndex(1, 2, 0));
    EXPECT_FALSE(lMesh->SetMeshEdgeIndex(1, 1, 3));
    EXPECT_FALSE(lMesh->SetMeshEdgeIndex(1, 0, 0));  // 0-1 exists as edge 0
    EXPECT_TRUE(lMesh->SetMeshEdgeIndex(1, 1, 2));   // 3-2, the second triangle's last side
    EXPECT_EQ(Values(lMesh->mEdgeArray), (std::vector<int>{0, 5}));
    // The map is not used: its edge set does not learn the side.
    lMesh->BeginAddMeshEdgeIndex();
    const int lSize = lMesh->mV2PVMap.mEdgeSet.GetSize();
    EXPECT_TRUE(lMesh->SetMeshEdgeIndex(1, 1, 1));
    EXPECT_EQ(lMesh->mV2PVMap.mEdgeSet.GetSize(), lSize);
    lMesh->EndAddMeshEdgeIndex();
}

TEST(MoxMeshEdgeEditing, ScanReportsAPolygonNotFollowingThePrevious)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeTwoTriangles(*lMesh);
    lMesh->SetMeshEdgeCount(1);
    lMesh->mPolygons[1].mIndex = 4;
    moxtest::ReportCapture lCapture;
    // The scan moves on to polygon 1 after vertex 2 (reported: it begins at 4), whose last vertex is then
    // 6: side 1-3 at vertex 4 runs to vertex 5 without wrapping.
    EXPECT_EQ(lMesh->SetMeshEdgeIndex(0, 1, 3, false, -1), 0);
    EXPECT_TRUE(lCapture.HasOnly(sgFile, "SetMeshEdgeIndex", "i + 1 == lPolys[ lPolygonIndex ].mIndex"));
    EXPECT_EQ(lMesh->mEdgeArray[0], 4);
}

TEST(MoxMeshEdgeQueries, GetMeshEdgeIndexFindsTheSharedEdgeEitherWay)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeTwoTriangles(*lMesh);
    lMesh->BuildMeshEdgeArray();
    bool lReversed = false;
    EXPECT_EQ(lMesh->GetMeshEdgeIndex(2, 1, lReversed), 1);
    EXPECT_TRUE(lReversed);
    EXPECT_EQ(lMesh->GetMeshEdgeIndex(1, 2, lReversed), 1);
    EXPECT_FALSE(lReversed);
    EXPECT_EQ(lMesh->GetMeshEdgeIndex(0, 2, lReversed), 2);
    EXPECT_TRUE(lReversed);
    // Not found, out of range: pReversed is left alone.
    lReversed = true;
    EXPECT_EQ(lMesh->GetMeshEdgeIndex(0, 3, lReversed), -1);
    EXPECT_EQ(lMesh->GetMeshEdgeIndex(-1, 3, lReversed), -1);
    EXPECT_EQ(lMesh->GetMeshEdgeIndex(0, 4, lReversed), -1);
    EXPECT_TRUE(lReversed);
}

TEST(MoxMeshEdgeQueries, GetMeshEdgeIndexSearchesOnlyTheExistingCount)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeTwoTriangles(*lMesh);
    lMesh->BuildMeshEdgeArray();
    bool lReversed = false;
    EXPECT_EQ(lMesh->GetMeshEdgeIndex(0, 1, lReversed, 0), -1);
    EXPECT_EQ(lMesh->GetMeshEdgeIndex(0, 1, lReversed, 6), -1);
    EXPECT_EQ(lMesh->GetMeshEdgeIndex(0, 1, lReversed, 1), 0);
    EXPECT_EQ(lMesh->GetMeshEdgeIndex(3, 2, lReversed, 4), -1);
    EXPECT_EQ(lMesh->GetMeshEdgeIndex(3, 2, lReversed, 5), 4);
    EXPECT_EQ(lMesh->GetMeshEdgeIndex(3, 2, lReversed, -3), -1);
}

TEST(MoxMeshEdgeQueries, EdgeFromTheLastVertexEndsAtTheFirst)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeTwoTriangles(*lMesh);
    lMesh->BuildMeshEdgeArray();
    for (bool lWithCache : {false, true}) {
        if (lWithCache) lMesh->BeginGetMeshEdgeVertices();
        int lStart = -5;
        int lEnd = -5;
        lMesh->GetMeshEdgeVertices(4, lStart, lEnd);  // polygon vertex 5: 3 -> 2
        EXPECT_EQ(lStart, 3);
        EXPECT_EQ(lEnd, 2);
        lMesh->GetMeshEdgeVertices(2, lStart, lEnd);  // polygon vertex 2: 2 -> 0
        EXPECT_EQ(lStart, 2);
        EXPECT_EQ(lEnd, 0);
        lMesh->GetMeshEdgeVertices(5, lStart, lEnd);
        EXPECT_EQ(lStart, -1);
        EXPECT_EQ(lEnd, -1);
        lMesh->EndGetMeshEdgeVertices();
    }
}

TEST(MoxMeshEdgeQueries, EdgeOutsideThePolygonVerticesHasNoEnds)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeQuad(*lMesh);
    lMesh->SetMeshEdgeCount(2);
    lMesh->mEdgeArray[0] = 4;
    lMesh->mEdgeArray[1] = -1;
    for (int e : {-1, 0, 1, 2}) {
        int lStart = 9;
        int lEnd = 9;
        lMesh->GetMeshEdgeVertices(e, lStart, lEnd);
        EXPECT_EQ(lStart, -1);
        EXPECT_EQ(lEnd, -1);
    }
}

TEST(MoxMeshEdgeQueries, UnclosedLastVertexIsReportedWithoutTheCache)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeQuad(*lMesh);
    lMesh->BuildMeshEdgeArray();
    lMesh->mPolygons[0].mSize = 3;
    moxtest::ReportCapture lCapture;
    int lStart = -5;
    int lEnd = -5;
    lMesh->GetMeshEdgeVertices(3, lStart, lEnd);
    ASSERT_GE(lCapture.Count(), 1u);
    EXPECT_EQ(lCapture.Reports()[0].mFunction, "GetMeshEdgeVertices");
    EXPECT_EQ(lCapture.Reports()[0].mMessage, "mEdgeArray[pEdgeIndex] + 1 < mPolygonVertices.GetCount()");
    EXPECT_EQ(lStart, 3);
    EXPECT_EQ(lEnd, 0);  // the array's scratch value past its capacity
}

TEST(MoxMeshEdgeQueries, GetMeshEdgeIndexForPolygonFindsTheSharedEdge)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeTwoTriangles(*lMesh);
    lMesh->BuildMeshEdgeArray();
    for (bool lWithCache : {false, true}) {
        if (lWithCache) lMesh->BeginGetMeshEdgeIndexForPolygon();
        EXPECT_EQ(lMesh->GetMeshEdgeIndexForPolygon(1, 0), 1);
        EXPECT_EQ(lMesh->GetMeshEdgeIndexForPolygon(1, 1), 3);
        EXPECT_EQ(lMesh->GetMeshEdgeIndexForPolygon(1, 2), 4);
        EXPECT_EQ(lMesh->GetMeshEdgeIndexForPolygon(0, 2), 2);
        EXPECT_EQ(lMesh->GetMeshEdgeIndexForPolygon(1, 3), -1);
        EXPECT_EQ(lMesh->GetMeshEdgeIndexForPolygon(2, 0), -1);
        EXPECT_EQ(lMesh->GetMeshEdgeIndexForPolygon(-1, 0), -1);
        lMesh->EndGetMeshEdgeIndexForPolygon();
    }
}

// A polygon that joins two control points twice: the cached walk meets the second side first and reads
// the reserved 0 at its start, while the scan finds the registered edge. The answers differ there.
TEST(MoxMeshEdgeQueries, CachedWalkCanAnswerWithTheReservedZero)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::BuildMesh(*lMesh, Points(3), {{2, 0}, {0, 1}});
    lMesh->BuildMeshEdgeArray();
    EXPECT_EQ(Values(lMesh->mEdgeArray), (std::vector<int>{0, 2}));
    EXPECT_EQ(lMesh->GetMeshEdgeIndexForPolygon(1, 0), 1);
    lMesh->BeginGetMeshEdgeIndexForPolygon();
    EXPECT_EQ(lMesh->GetMeshEdgeIndexForPolygon(1, 0), 0);
    lMesh->EndGetMeshEdgeIndexForPolygon();
}

TEST(MoxMeshEdgeQueries, RemoveDuplicatedEdgesRemovesListedEdgesAndTheirCreases)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeTwoTriangles(*lMesh);
    lMesh->BuildMeshEdgeArray();
    MoxLayerElementCrease* lCreases = MoxLayerElementCrease::Create(lMesh, "");
    lCreases->SetMappingMode(MoxLayerElement::eByEdge);
    for (int i = 0; i < 5; ++i) lCreases->GetDirectArray().Add(0.5 * i);
    lMesh->GetLayer(0)->SetEdgeCrease(lCreases);
    MoxArray<int> lList;
    lList.Add(1);
    lList.Add(3);
    EXPECT_EQ(lMesh->RemoveDuplicatedEdges(lList), 2);
    EXPECT_EQ(Values(lMesh->mEdgeArray), (std::vector<int>{0, 2, 5}));
    MoxLayerElementArrayTemplate<double>& lValues = lCreases->GetDirectArray();
    ASSERT_EQ(lValues.GetCount(), 3);
    EXPECT_EQ(lValues.GetAt(0), 0.0);
    EXPECT_EQ(lValues.GetAt(1), 1.0);
    EXPECT_EQ(lValues.GetAt(2), 2.0);
}

TEST(MoxMeshEdgeQueries, RemoveDuplicatedEdgesRefusesWithoutChange)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeQuad(*lMesh);
    lMesh->BuildMeshEdgeArray();
    MoxArray<int> lList;
    EXPECT_EQ(lMesh->RemoveDuplicatedEdges(lList), 0);  // empty: nothing to remove
    lList.Add(4);
    EXPECT_EQ(lMesh->RemoveDuplicatedEdges(lList), -1);
    lList[0] = 1;
    lMesh->ClearLayers();
    EXPECT_EQ(lMesh->RemoveDuplicatedEdges(lList), -1);
    EXPECT_EQ(Values(lMesh->mEdgeArray), (std::vector<int>{0, 1, 2, 3}));
}

// The edge array given as its own list changes under the removals, which follow it one by one.
TEST(MoxMeshEdgeQueries, EdgeArrayAsItsOwnListIsFollowedOneByOne)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeTwoTriangles(*lMesh);
    lMesh->BuildMeshEdgeArray();
    lMesh->mEdgeArray[4] = 4;  // edges at polygon vertices 0, 1, 2, 4, 4
    moxtest::ReportCapture lCapture;
    EXPECT_EQ(lMesh->RemoveDuplicatedEdges(lMesh->mEdgeArray), 5);
    // Entry 4 (value 4) removes the last edge; entry 3 (4) is then past the count, which RemoveAt answers by
    // dropping the last value; entries 2, 1 and 0 remove the rest.
    EXPECT_EQ(lMesh->GetMeshEdgeCount(), 0);
}

// Every element kind and mode that RemoveDuplicatedEdges names, and those it leaves alone.
TEST(MoxMeshEdgeQueries, RemoveDuplicatedEdgesTouchesOnlyEdgeMappedDirectAndIndexArrays)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeCube(*lMesh);
    lMesh->BuildMeshEdgeArray();
    MoxLayer* lLayer = lMesh->GetLayer(0);
    MoxLayerElementSmoothing* lSmoothing = MoxLayerElementSmoothing::Create(lMesh, "");
    lSmoothing->SetMappingMode(MoxLayerElement::eByEdge);
    lSmoothing->SetReferenceMode(MoxLayerElement::eIndexToDirect);
    MoxLayerElementVisibility* lVisibility = MoxLayerElementVisibility::Create(lMesh, "");
    lVisibility->SetMappingMode(MoxLayerElement::eByEdge);
    lVisibility->SetReferenceMode(MoxLayerElement::eIndex);
    MoxLayerElementCrease* lCreases = MoxLayerElementCrease::Create(lMesh, "");
    lCreases->SetMappingMode(MoxLayerElement::eByPolygon);
    for (int i = 0; i < 12; ++i) {
        lSmoothing->GetIndexArray().Add(i);
        lSmoothing->GetDirectArray().Add(100 + i);
        lVisibility->GetIndexArray().Add(i);
        lCreases->GetDirectArray().Add(double(i));
    }
    lLayer->SetSmoothing(lSmoothing);
    lLayer->SetVisibility(lVisibility);
    lLayer->SetEdgeCrease(lCreases);
    MoxArray<int> lList;
    for (int e : {0, 5, 6, 11}) lList.Add(e);
    moxtest::ReportCapture lCapture;
    EXPECT_EQ(lMesh->RemoveDuplicatedEdges(lList), 4);
    EXPECT_EQ(lCapture.Count(), 0u);
    EXPECT_EQ(lMesh->GetMeshEdgeCount(), 8);
    std::vector<int> lIndices;
    lIndices.reserve(lSmoothing->GetIndexArray().GetCount());
    for (int i = 0; i < lSmoothing->GetIndexArray().GetCount(); ++i)
        lIndices.push_back(lSmoothing->GetIndexArray().GetAt(i));
    EXPECT_EQ(lIndices, (std::vector<int>{1, 2, 3, 4, 7, 8, 9, 10}));
    EXPECT_EQ(lSmoothing->GetDirectArray().GetCount(), 12);
    EXPECT_EQ(lVisibility->GetIndexArray().GetCount(), 12);
    EXPECT_EQ(lCreases->GetDirectArray().GetCount(), 12);
}

// User data in eDirect mode loses the values of its bool, int, float and double fields; a field of
// another type is reported once per removed edge.
TEST(MoxMeshEdgeQueries, RemoveDuplicatedEdgesRemovesUserDataValues)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    moxtest::MakeQuad(*lMesh);
    lMesh->BuildMeshEdgeArray();
    MoxArray<MoxDataType> lTypes;
    lTypes.Add(MoxDataType(eMoxInt));
    lTypes.Add(MoxDataType(eMoxDouble4));
    lTypes.Add(MoxDataType(eMoxBool));
    MoxArray<const char*> lNames;
    lNames.Add("count");
    lNames.Add("direction");
    lNames.Add("flag");
    MoxLayerElementUserData* lUserData = MoxLayerElementUserData::Create(lMesh, "data", 7, lTypes, lNames);
    ASSERT_NE(lUserData, nullptr);
    lUserData->SetMappingMode(MoxLayerElement::eByEdge);
    lUserData->ResizeAllDirectArrays(4);
    MoxLayerElementArrayTemplate<int>& lCounts = MoxGetDirectArray<int>(lUserData, 0);
    for (int i = 0; i < 4; ++i) lCounts.SetAt(i, 10 * i);
    lMesh->GetLayer(0)->SetUserData(lUserData);
    MoxArray<int> lList;
    lList.Add(0);
    lList.Add(2);
    moxtest::ReportCapture lCapture;
    EXPECT_EQ(lMesh->RemoveDuplicatedEdges(lList), 2);
    EXPECT_EQ(Messages(lCapture), (std::vector<std::string>{"unknown type", "unknown type"}));
    EXPECT_EQ(lCapture.Reports()[0].mFunction, "RemoveFromAllDirectArrays");
    ASSERT_EQ(lCounts.GetCount(), 2);
    EXPECT_EQ(lCounts.GetAt(0), 10);
    EXPECT_EQ(lCounts.GetAt(1), 30);
    EXPECT_EQ(MoxGetDirectArray<bool>(lUserData, 2).GetCount(), 2);
    EXPECT_EQ(MoxGetDirectArray<MoxVector4>(lUserData, 1).GetCount(), 4);
}

// On meshes without empty polygons or invalid indices, the closing-vertex table gives the scan's ends.
TEST(MoxMeshEdgeQueries, EdgeVerticesAreTheSameWithAndWithoutTheCache)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    for (unsigned int lSeed = 0; lSeed < 250; ++lSeed) {
        std::mt19937 lRandom(lSeed);
        MakeSizedMesh(*lMesh, lRandom, 2 + static_cast<int>(lSeed % 30), static_cast<int>(lSeed % 40), 1, 7, false);
        lMesh->BuildMeshEdgeArray();
        if (lSeed % 2) lMesh->AddMeshEdgeIndex(0, 1, false);
        std::vector<int> lScanned;
        for (int e = -1; e <= lMesh->GetMeshEdgeCount(); ++e) {
            int lStart = 0;
            int lEnd = 0;
            lMesh->GetMeshEdgeVertices(e, lStart, lEnd);
            lScanned.insert(lScanned.end(), {lStart, lEnd});
        }
        lMesh->BeginGetMeshEdgeVertices();
        std::vector<int> lCached;
        for (int e = -1; e <= lMesh->GetMeshEdgeCount(); ++e) {
            int lStart = 0;
            int lEnd = 0;
            lMesh->GetMeshEdgeVertices(e, lStart, lEnd);
            lCached.insert(lCached.end(), {lStart, lEnd});
        }
        lMesh->EndGetMeshEdgeVertices();
        ASSERT_EQ(lCached, lScanned) << "seed " << lSeed;
    }
}

// On meshes whose polygons have distinct corners, with the edge array of BuildMeshEdgeArray.
TEST(MoxMeshEdgeQueries, EdgeIndexForPolygonIsTheSameWithAndWithoutTheCache)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    for (unsigned int lSeed = 0; lSeed < 250; ++lSeed) {
        std::mt19937 lRandom(lSeed);
        // Few points under many polygons in one seed of three: control points of high valence.
        const int lPoints = lSeed % 3 == 0 ? 5 : 3 + static_cast<int>(lSeed % 40);
        MakeSizedMesh(*lMesh, lRandom, lPoints, static_cast<int>(lSeed % 60), 3, 6, true);
        lMesh->BuildMeshEdgeArray();
        std::vector<int> lScanned;
        for (int p = 0; p < lMesh->GetPolygonCount(); ++p)
            for (int i = 0; i < lMesh->GetPolygonSize(p); ++i)
                lScanned.push_back(lMesh->GetMeshEdgeIndexForPolygon(p, i));
        lMesh->BeginGetMeshEdgeIndexForPolygon();
        std::vector<int> lCached;
        for (int p = 0; p < lMesh->GetPolygonCount(); ++p)
            for (int i = 0; i < lMesh->GetPolygonSize(p); ++i)
                lCached.push_back(lMesh->GetMeshEdgeIndexForPolygon(p, i));
        lMesh->EndGetMeshEdgeIndexForPolygon();
        ASSERT_EQ(lCached, lScanned) << "seed " << lSeed;
    }
}

// SetMeshEdgeIndex with the map, for every pair of control points, against the walk over all corners.
TEST(MoxMeshEdgeOracle, MapSideMatchesTheWalkOverEveryCorner)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    int lIndexed = 0;
    for (unsigned int lSeed = 0; lSeed < 240; ++lSeed) {
        MakeOracleMesh(*lMesh, lSeed);
        const int n = std::min(lMesh->GetControlPointsCount(), 12);
        lMesh->SetMeshEdgeCount(1);
        const moxoracle::V2PV lOracle = moxoracle::BuildV2PV(*lMesh);
        lMesh->BeginAddMeshEdgeIndex();
        lIndexed += Access(*lMesh).mV2PVNeighbours.GetCount() > 0 ? 1 : 0;
        for (int a = 0; a < n; ++a) {
            for (int b = 0; b < n; ++b) {
                moxtest::ReportCapture lCapture;
                const int lExpected = moxoracle::MapSide(*lMesh, lOracle, a, b);
                const std::vector<std::string> lExpectedReports = Messages(lCapture);
                lCapture.Clear();
                lMesh->mEdgeArray[0] = -7;
                const int lResult = lMesh->SetMeshEdgeIndex(0, a, b, false, -1);
                ASSERT_EQ(lResult, lExpected == -2 ? -1 : 0) << lSeed << " " << a << " " << b;
                if (lExpected != -2) {
                    ASSERT_EQ(lMesh->mEdgeArray[0], lExpected) << lSeed << " " << a << " " << b;
                }
                ASSERT_EQ(Messages(lCapture), lExpectedReports) << lSeed;
            }
        }
        lMesh->EndAddMeshEdgeIndex();
    }
    // Enough of the meshes have control points of high valence for the neighbour index to be tested.
    EXPECT_GT(lIndexed, 30);
}

// GetMeshEdgeIndexForPolygon with the cache, for every side, against the walk over all corners.
TEST(MoxMeshEdgeOracle, CachedEdgeForSideMatchesTheWalkOverEveryCorner)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    for (unsigned int lSeed = 0; lSeed < 240; ++lSeed) {
        MakeOracleMesh(*lMesh, lSeed);
        lMesh->BuildMeshEdgeArray();
        const moxoracle::V2PV lOracle = moxoracle::BuildV2PV(*lMesh);
        ASSERT_TRUE(moxoracle::KeepsWellFormed(*lMesh, [&] { lMesh->BeginGetMeshEdgeIndexForPolygon(); })) << lSeed;
        if (lMesh->mV2PVMap.mPVToEdge.GetCount() == 0) {
            lMesh->EndGetMeshEdgeIndexForPolygon();
            continue;
        }
        for (int p = 0; p < lMesh->GetPolygonCount(); ++p) {
            const MoxMesh::PolygonDef lPolygon = lMesh->mPolygons[p];
            for (int i = 0; i < lPolygon.mSize; ++i) {
                const int lStart = lMesh->mPolygonVertices[lPolygon.mIndex + i];
                const int lEnd =
                    lMesh->mPolygonVertices[i == lPolygon.mSize - 1 ? lPolygon.mIndex : lPolygon.mIndex + i + 1];
                moxtest::ReportCapture lCapture;
                const int lExpected =
                    moxoracle::MapEdgeForSide(*lMesh, lOracle, lMesh->mV2PVMap.mPVToEdge, lStart, lEnd);
                const std::vector<std::string> lExpectedReports = Messages(lCapture);
                lCapture.Clear();
                int lResult = -2;
                ASSERT_TRUE(moxoracle::KeepsWellFormed(*lMesh, [&] {
                    lResult = lMesh->GetMeshEdgeIndexForPolygon(p, i);
                })) << lSeed;
                ASSERT_EQ(lResult, lExpected) << lSeed << " " << p << " " << i;
                ASSERT_EQ(Messages(lCapture), lExpectedReports) << lSeed;
            }
        }
        lMesh->EndGetMeshEdgeIndexForPolygon();
    }
}

// Polygon edits inside the pair on fans whose apex has 30 to 40 corners, some with more triangles at the
// apex: SetMeshEdgeIndex and GetMeshEdgeIndexForPolygon answer as the walk over every corner of the map
// built at Begin, reading the polygons as they are, with the same reports.
TEST(MoxMeshEdgeOracle, EdgeQueriesAfterPolygonEditsMatchTheWalkOverEveryCorner)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    for (unsigned int lSeed = 0; lSeed < 220; ++lSeed) {
        std::mt19937 lRandom(lSeed);
        auto lPick = [&lRandom](int pLow, int pHigh) {
            return std::uniform_int_distribution<int>(pLow, pHigh)(lRandom);
        };
        const int n = 30 + static_cast<int>(lSeed % 11);
        moxtest::MakeBusyFan(*lMesh, lRandom, n, n + 3);
        lMesh->BuildMeshEdgeArray();
        const moxoracle::V2PV lMap = moxoracle::BuildV2PV(*lMesh);
        const bool lForPolygon = lSeed % 2 == 0;
        if (lForPolygon)
            lMesh->BeginGetMeshEdgeIndexForPolygon();
        else
            lMesh->BeginAddMeshEdgeIndex();
        for (int lStep = 0; lStep < 8 && lMesh->GetMeshEdgeCount() > 0; ++lStep) {
            if (lStep > 0) moxtest::EditPolygonsRandomly(*lMesh, lRandom, true);
            for (int q = 0; q < 6; ++q) {
                const int lStart = lPick(0, 2) == 0 ? lPick(0, n + 2) : 0;
                const int lEnd = lPick(0, n + 2);
                moxtest::ReportCapture lReports;
                const int lSide = moxoracle::MapSide(*lMesh, lMap, lStart, lEnd);
                const std::vector<std::string> lExpectedReports = lReports.Messages();
                lReports.Clear();
                const int lBefore = lMesh->mEdgeArray[0];
                const int lResult = lMesh->SetMeshEdgeIndex(0, lStart, lEnd, false, -1);
                ASSERT_EQ(lResult, lSide == -2 ? -1 : 0) << lSeed << " " << lStep;
                ASSERT_EQ(lMesh->mEdgeArray[0], lSide == -2 ? lBefore : lSide) << lSeed << " " << lStep;
                ASSERT_EQ(lReports.Messages(), lExpectedReports) << lSeed << " " << lStep;
            }
            for (int q = 0; lForPolygon && q < 6; ++q) {
                const int p = lPick(0, lMesh->GetPolygonCount() - 1);
                const int lSize = lMesh->GetPolygonSize(p);
                const int i = lPick(0, lSize - 1);
                const int lStart = lMesh->GetPolygonVertex(p, i);
                const int lEnd = lMesh->GetPolygonVertex(p, (i + 1) % lSize);
                moxtest::ReportCapture lReports;
                const int lExpected = moxoracle::MapEdgeForSide(*lMesh, lMap, lMesh->mV2PVMap.mPVToEdge, lStart, lEnd);
                const std::vector<std::string> lExpectedReports = lReports.Messages();
                lReports.Clear();
                ASSERT_EQ(lMesh->GetMeshEdgeIndexForPolygon(p, i), lExpected) << lSeed << " " << lStep;
                ASSERT_EQ(lReports.Messages(), lExpectedReports) << lSeed << " " << lStep;
            }
        }
        if (lForPolygon)
            lMesh->EndGetMeshEdgeIndexForPolygon();
        else
            lMesh->EndAddMeshEdgeIndex();
    }
}

// RemoveDuplicatedEdges against RemoveAt one by one, on twin meshes: edges (with the reserved slots),
// edge-mapped elements of every mode, user data fields, and reports.
TEST(MoxMeshEdgeOracle, RemoveDuplicatedEdgesMatchesRemovalOneByOne)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMeshes[2] = {lScope.NewMesh("fast"), lScope.NewMesh("plain")};
    for (unsigned int lSeed = 0; lSeed < 300; ++lSeed) {
        std::vector<int> lList;
        for (MoxMesh* lMesh : lMeshes) {
            MakeOracleMesh(*lMesh, lSeed);
            lMesh->BuildMeshEdgeArray();
            const int lEdgeCount = lMesh->GetMeshEdgeCount();
            if (lSeed % 3 == 0) lMesh->mEdgeArray.Reserve(lEdgeCount + 5);
            MoxLayer* lLayer = lMesh->GetLayer(0);
            if (!lLayer) lLayer = lMesh->GetLayer(lMesh->CreateLayer());
            MoxLayerElementSmoothing* lSmoothing = MoxLayerElementSmoothing::Create(lMesh, "");
            lSmoothing->SetMappingMode(MoxLayerElement::eByEdge);
            lSmoothing->SetReferenceMode(lSeed % 2 ? MoxLayerElement::eDirect : MoxLayerElement::eIndexToDirect);
            MoxLayerElementCrease* lCreases = MoxLayerElementCrease::Create(lMesh, "");
            lCreases->SetMappingMode(MoxLayerElement::eByEdge);
            for (int i = 0; i < lEdgeCount - static_cast<int>(lSeed % 4); ++i) {
                lSmoothing->GetDirectArray().Add(i);
                lSmoothing->GetIndexArray().Add(2 * i);
                lCreases->GetDirectArray().Add(0.25 * i);
            }
            lLayer->SetSmoothing(lSmoothing);
            lLayer->SetEdgeCrease(lCreases);
            // The list: increasing from 0 in most seeds, else with repeats, disorder or negatives.
            std::mt19937 lRandom(lSeed);
            lList.clear();
            for (int e = 0; e < lEdgeCount; ++e)
                if (std::uniform_int_distribution<int>(0, 9)(lRandom) < 2) lList.push_back(e);
            if (lSeed % 10 == 7 && !lList.empty()) lList.insert(lList.begin(), lList.back());
            if (lSeed % 10 == 8) lList.insert(lList.begin(), -1);
            if (lSeed % 10 == 9 && !lList.empty()) lList.push_back(lList.back());
        }
        if (lList.empty()) continue;
        MoxArray<int> lMoxList;
        for (int lEdge : lList) lMoxList.Add(lEdge);
        const int lEdgeCount = lMeshes[0]->GetMeshEdgeCount();
        moxtest::ReportCapture lCapture;
        // The plain algorithm on the second mesh.
        MoxMesh& lPlain = *lMeshes[1];
        int lPlainResult = -1;
        if (lList.back() < lPlain.GetMeshEdgeCount()) {
            lPlainResult = static_cast<int>(lList.size());
            for (int i = lMoxList.GetCount() - 1; i >= 0; --i) lPlain.mEdgeArray.RemoveAt(lMoxList[i]);
            MoxLayer* lLayer = lPlain.GetLayer(0);
            MoxLayerElementSmoothing* lSmoothing = lLayer->GetSmoothing();
            MoxLayerElementArray& lSmoothingArray =
                lSmoothing->GetReferenceMode() == MoxLayerElement::eDirect
                    ? static_cast<MoxLayerElementArray&>(lSmoothing->GetDirectArray())
                    : lSmoothing->GetIndexArray();
            for (int i = lMoxList.GetCount() - 1; i >= 0; --i) lSmoothingArray.RemoveAt(lMoxList[i], nullptr, eMoxInt);
            for (int i = lMoxList.GetCount() - 1; i >= 0; --i)
                lLayer->GetEdgeCrease()->GetDirectArray().RemoveAt(lMoxList[i]);
        }
        const std::vector<std::string> lExpectedReports = Messages(lCapture);
        lCapture.Clear();
        ASSERT_EQ(lMeshes[0]->RemoveDuplicatedEdges(lMoxList), lPlainResult) << lSeed;
        ASSERT_EQ(Messages(lCapture), lExpectedReports) << lSeed;
        // The slots freed by the removals keep what the one-by-one removals leave there.
        ASSERT_EQ(Block(lMeshes[0]->mEdgeArray, lEdgeCount), Block(lPlain.mEdgeArray, lEdgeCount)) << lSeed;
        for (int lMode = 0; lMode < 3; ++lMode) {
            MoxLayer* lFast = lMeshes[0]->GetLayer(0);
            MoxLayer* lSlow = lPlain.GetLayer(0);
            const MoxLayerElementArray* lArrays[2] = {
                lMode == 0   ? static_cast<MoxLayerElementArray*>(&lFast->GetSmoothing()->GetDirectArray())
                : lMode == 1 ? static_cast<MoxLayerElementArray*>(&lFast->GetSmoothing()->GetIndexArray())
                             : static_cast<MoxLayerElementArray*>(&lFast->GetEdgeCrease()->GetDirectArray()),
                lMode == 0   ? static_cast<MoxLayerElementArray*>(&lSlow->GetSmoothing()->GetDirectArray())
                : lMode == 1 ? static_cast<MoxLayerElementArray*>(&lSlow->GetSmoothing()->GetIndexArray())
                             : static_cast<MoxLayerElementArray*>(&lSlow->GetEdgeCrease()->GetDirectArray())};
            ASSERT_EQ(lArrays[0]->GetCount(), lArrays[1]->GetCount()) << lSeed << " " << lMode;
            for (int i = 0; i < lArrays[0]->GetCount(); ++i) {
                const void* lA = lArrays[0]->GetReference(i, lArrays[0]->GetDataType());
                const void* lB = lArrays[1]->GetReference(i, lArrays[1]->GetDataType());
                ASSERT_EQ(std::memcmp(lA, lB, static_cast<size_t>(MoxLayerElementValueSize(lArrays[0]->GetDataType()))),
                          0)
                    << lSeed << " " << lMode << " " << i;
            }
        }
    }
}

// Every edge operation on meshes whose records, edges and control points were corrupted by hand, inside
// and outside the Begin/End pairs: the results are whatever the reads give, but nothing reads or writes
// outside an allocation (checked by the sanitizer build) and nothing leaks.
TEST(MoxMeshEdgeSafety, OperationsStaySafeOnCorruptedMeshes)
{
    moxtest::ManagerScope lScope;
    MoxMesh* lMesh = lScope.NewMesh();
    MoxMesh::ComponentMap lMaps[2];
    moxtest::ReportCapture lCapture;
    for (unsigned int lSeed = 0; lSeed < 300; ++lSeed) {
        MakeOracleMesh(*lMesh, lSeed);
        std::mt19937 lRandom(lSeed);
        auto lDraw = [&lRandom](int pLow, int pHigh) {
            return std::uniform_int_distribution<int>(pLow, pHigh)(lRandom);
        };
        lMesh->BuildMeshEdgeArray();
        if (lSeed % 2) lMesh->BeginGetMeshEdgeIndexForPolygon();
        if (lSeed % 3) lMesh->BeginGetMeshEdgeVertices();
        for (int k = 0; k < 3 && lMesh->GetPolygonCount() > 0; ++k) {
            MoxMesh::PolygonDef& lPolygon = lMesh->mPolygons[lDraw(0, lMesh->GetPolygonCount() - 1)];
            lPolygon.mIndex += lDraw(-6, 6);
            lPolygon.mSize += lDraw(-4, 4);
        }
        for (int k = 0; k < 3 && lMesh->GetMeshEdgeCount() > 0; ++k)
            lMesh->mEdgeArray[lDraw(0, lMesh->GetMeshEdgeCount() - 1)] = lDraw(-5, lMesh->GetPolygonVertexCount() + 5);
        if (lSeed % 5 == 0) lMesh->SetControlPointCount(lMesh->GetControlPointsCount() + lDraw(-3, 3));
        const int n = lMesh->GetControlPointsCount();
        for (int k = 0; k < 20; ++k) {
            bool lReversed = false;
            int lStart = 0;
            int lEnd = 0;
            lMesh->GetMeshEdgeIndex(lDraw(-1, n), lDraw(-1, n), lReversed, lDraw(-2, lMesh->GetMeshEdgeCount() + 1));
            lMesh->GetMeshEdgeVertices(lDraw(-1, lMesh->GetMeshEdgeCount()), lStart, lEnd);
            lMesh->GetMeshEdgeIndexForPolygon(lDraw(-1, lMesh->GetPolygonCount()), lDraw(-1, 6));
            lMesh->FindPolygonIndex(lDraw(-1, lMesh->GetMeshEdgeCount()));
            lMesh->SetMeshEdgeIndex(lDraw(-1, lMesh->GetMeshEdgeCount()), lDraw(-1, n), lDraw(-1, n), lDraw(0, 1) == 1);
            lMesh->SetMeshEdgeIndex(lDraw(-1, lMesh->GetMeshEdgeCount()), lDraw(-1, lMesh->GetPolygonCount()),
                                    lDraw(-1, 6));
            lMesh->AddMeshEdgeIndex(lDraw(-1, n), lDraw(-1, n), lDraw(0, 1) == 1);
            lMesh->AddMeshEdgeIndexForPolygon(lDraw(-1, lMesh->GetPolygonCount()), lDraw(-1, 6));
        }
        lMesh->ComputeComponentMaps(lMaps[0], lMaps[1]);
        lMesh->BeginGetMeshEdgeIndexForPolygon();
        lMesh->EndGetMeshEdgeIndexForPolygon();
        MoxArray<int> lList;
        for (int e = 0; e < lMesh->GetMeshEdgeCount(); e += 1 + lDraw(0, 4))
            lList.Add(lSeed % 7 == 0 ? lDraw(-2, e) : e);
        lMesh->RemoveDuplicatedEdges(lList);
        lMesh->BuildMeshEdgeArray();
        lMesh->EndGetMeshEdgeVertices();
        lCapture.Clear();
    }
    lMesh->Reset();
}

}  // namespace
