#include "moxsdk/scene/geometry/moxlayer.h"

#include <gtest/gtest.h>

#include "scene/geometry/detail/moxunwrittenvalues.h"
#include "support/moxtestsupport.h"

using namespace moxsdk;

namespace {

const char* const sgFile = "scene/geometry/moxlayer";
const char* const sgDirectMessage =
    "mReferenceMode == MoxLayerElement::eDirect || mReferenceMode == MoxLayerElement::eIndexToDirect";
const char* const sgIndexMessage =
    "mReferenceMode == MoxLayerElement::eIndex || mReferenceMode == MoxLayerElement::eIndexToDirect";

// An owning handle for elements made in a test.
template <class X>
struct ElementHolder {
    explicit ElementHolder(X* pElement) : mElement(pElement) {}
    ElementHolder(const ElementHolder&) = delete;
    ElementHolder& operator=(const ElementHolder&) = delete;
    ~ElementHolder()
    {
        if (mElement) mElement->Destroy();
    }
    X* operator->() const { return mElement; }
    X* mElement;
};

// A user-data element with the given field types, named "f0", "f1", ...
MoxLayerElementUserData* MakeUserData(std::initializer_list<EMoxType> pTypes)
{
    MoxArray<MoxDataType> lTypes;
    MoxArray<const char*> lNames;
    static const char* const sgNames[] = {"f0", "f1", "f2", "f3", "f4", "f5", "f6", "f7"};
    int i = 0;
    for (EMoxType lType : pTypes) {
        lTypes.Add(MoxDataType(lType));
        lNames.Add(sgNames[i++]);
    }
    return MoxLayerElementUserData::Create(nullptr, "user", 7, lTypes, lNames);
}

}  // namespace

TEST(MoxLayerTypeCodes, MatchTheTable)
{
    EXPECT_EQ(MoxTypeCodeOf<bool>::value, 9);
    EXPECT_EQ(MoxTypeCodeOf<int>::value, 10);
    EXPECT_EQ(MoxTypeCodeOf<float>::value, 11);
    EXPECT_EQ(MoxTypeCodeOf<double>::value, 12);
    EXPECT_EQ(MoxTypeCodeOf<MoxVector2>::value, 13);
    EXPECT_EQ(MoxTypeCodeOf<MoxTexture*>::value, 20);
    EXPECT_EQ(MoxTypeCodeOf<MoxSurfaceMaterial*>::value, 20);
}

TEST(MoxLayerTypeCodes, Vector4AndColourArraysShareCode15)
{
    MoxLayerElementArrayTemplate<MoxVector4> lVectors;
    MoxLayerElementArrayTemplate<MoxColor> lColours;
    EXPECT_EQ(lVectors.GetDataType(), 15);
    EXPECT_EQ(lColours.GetDataType(), 15);
    EXPECT_EQ(MoxTypeCodeOf<MoxVector4>::value, MoxTypeCodeOf<MoxColor>::value);
    // The shared code lets a colour array be read as four-vectors.
    lColours.Add(MoxColor(0.1, 0.2, 0.3, 0.4));
    MoxVector4 lAsVector;
    EXPECT_TRUE(lColours.GetAt(0, &lAsVector));
    EXPECT_EQ(lAsVector, MoxVector4(0.1, 0.2, 0.3, 0.4));
}

TEST(MoxLayerEnums, BindingValues)
{
    EXPECT_EQ(MoxLayerElement::eNone, 0);
    EXPECT_EQ(MoxLayerElement::eByControlPoint, 1);
    EXPECT_EQ(MoxLayerElement::eByPolygonVertex, 2);
    EXPECT_EQ(MoxLayerElement::eByPolygon, 3);
    EXPECT_EQ(MoxLayerElement::eByEdge, 4);
    EXPECT_EQ(MoxLayerElement::eByMesh, 5);
    EXPECT_EQ(MoxLayerElement::eDirect, 0);
    EXPECT_EQ(MoxLayerElement::eIndex, 1);
    EXPECT_EQ(MoxLayerElement::eIndexToDirect, 2);
    EXPECT_EQ(MoxLayerElementArray::eReadLock, 1);
    EXPECT_EQ(MoxLayerElementArray::eReadWriteLock, 3);
    EXPECT_EQ(MoxLayerElement::eSmoothing, 8);
    EXPECT_EQ(MoxLayerElement::eVertexCrease, 9);
    EXPECT_EQ(MoxLayerElement::eEdgeCrease, 10);
    EXPECT_EQ(MoxLayerElement::eHole, 11);
    EXPECT_EQ(MoxLayerElement::eUserData, 12);
    EXPECT_EQ(MoxLayerElement::eVisibility, 13);
    EXPECT_EQ(MoxLayerElement::eTextureChannel0, 14);
    EXPECT_EQ(MoxLayerElement::eTextureChannel1, 15);
    EXPECT_EQ(MoxLayerElement::eTextureChannel16, 30);
}

TEST(MoxLayerElementArray, AddGetSetRemoveTyped)
{
    MoxLayerElementArrayTemplate<int> lArray;
    EXPECT_EQ(lArray.Add(5), 0);
    EXPECT_EQ(lArray.Add(6), 1);
    EXPECT_EQ(lArray.Add(7), 2);
    EXPECT_EQ(lArray.GetCount(), 3);
    EXPECT_EQ(lArray.GetAt(1), 6);
    lArray.SetAt(1, 60);
    EXPECT_EQ(lArray.GetAt(1), 60);
    EXPECT_EQ(lArray.RemoveAt(0), 5);
    EXPECT_EQ(lArray.GetCount(), 2);
    EXPECT_EQ(lArray.GetAt(0), 60);
    EXPECT_EQ(lArray.GetAt(1), 7);
    EXPECT_TRUE(lArray.IsValid());
}

TEST(MoxLayerElementArray, OutOfRangeAccessIsHarmless)
{
    moxtest::ReportCapture lCapture;
    MoxLayerElementArrayTemplate<MoxVector4> lArray;
    lArray.Add(MoxVector4(1, 2, 3, 4));
    EXPECT_EQ(lArray.GetAt(-1), MoxVector4());
    EXPECT_EQ(lArray.GetAt(1), MoxVector4());
    lArray.SetAt(5, MoxVector4(9, 9, 9, 9));
    lArray.SetAt(-3, MoxVector4(9, 9, 9, 9));
    EXPECT_EQ(lArray.RemoveAt(1), MoxVector4());
    EXPECT_EQ(lArray.RemoveAt(-1), MoxVector4());
    EXPECT_EQ(lArray.GetCount(), 1);
    EXPECT_EQ(lArray.GetAt(0), MoxVector4(1, 2, 3, 4));
    EXPECT_EQ(lArray.GetReference(1, eMoxDouble4), nullptr);
    EXPECT_EQ(lArray.GetReference(-1, eMoxDouble4), nullptr);
    MoxVector4 lOut(7, 7, 7, 7);
    EXPECT_FALSE(lArray.GetAt(3, &lOut));
    EXPECT_EQ(lOut, MoxVector4(7, 7, 7, 7));
    EXPECT_EQ(lCapture.Count(), 0u);
}

TEST(MoxLayerElementArray, MismatchedTypeIsRefused)
{
    MoxLayerElementArrayTemplate<int> lArray;
    lArray.Add(1);
    double lValue = 3.0;
    EXPECT_FALSE(lArray.GetAt(0, &lValue));
    EXPECT_EQ(lValue, 3.0);
    EXPECT_EQ(lArray.Add(2.5), -1);
    EXPECT_EQ(lArray.GetLocked(static_cast<double*>(nullptr), MoxLayerElementArray::eReadLock), nullptr);
    EXPECT_EQ(lArray.GetReference(0, eMoxDouble), nullptr);
    EXPECT_EQ(lArray.GetCount(), 1);
}

TEST(MoxLayerElementArray, AsReferencePastTheEndGivesTheFallback)
{
    moxtest::ReportCapture lCapture;
    MoxLayerElementArrayTemplate<double> lArray;
    lArray.Add(1.5);
    lArray.mFallbackValue = -7.0;
    EXPECT_EQ(lArray.AsReference(0), 1.5);
    EXPECT_EQ(&lArray.AsReference(1), &lArray.mFallbackValue);
    EXPECT_EQ(lArray.AsReference(1), -7.0);
    EXPECT_EQ(&lArray.AsReference(-1), &lArray.mFallbackValue);
    lArray.AsReference(0) = 2.5;
    EXPECT_EQ(lArray.GetAt(0), 2.5);
    EXPECT_EQ(lCapture.Count(), 0u);
}

TEST(MoxLayerElementArray, LockAndReleaseKeepWrites)
{
    MoxLayerElementArrayTemplate<MoxVector2> lArray;
    EXPECT_EQ(lArray.GetLocked(), nullptr);  // empty: nothing to lock
    lArray.SetCount(3);
    MoxVector2* lData = lArray.GetLocked(static_cast<MoxVector2*>(nullptr), MoxLayerElementArray::eReadWriteLock);
    ASSERT_NE(lData, nullptr);
    lData[2] = MoxVector2(4, 5);
    lArray.Release(&lData, lData);
    EXPECT_EQ(lData, nullptr);
    EXPECT_EQ(lArray.GetAt(2), MoxVector2(4, 5));

    MoxVector2* lRead = lArray.GetLocked(MoxLayerElementArray::eReadLock);
    ASSERT_NE(lRead, nullptr);
    EXPECT_EQ(lRead[2], MoxVector2(4, 5));
    lArray.Release(&lRead);
    EXPECT_EQ(lRead, nullptr);

    void* lUntyped = lArray.GetLocked(MoxLayerElementArray::eReadLock);
    EXPECT_NE(lUntyped, nullptr);
    lArray.Release(&lUntyped);
    EXPECT_EQ(lUntyped, nullptr);
}

TEST(MoxLayerElementArray, LockOnNonEmptyArrayAlwaysSucceeds)
{
    MoxLayerElementArrayTemplate<bool> lBools;
    MoxLayerElementArrayTemplate<int> lInts;
    MoxLayerElementArrayTemplate<double> lDoubles;
    MoxLayerElementArrayTemplate<MoxVector4> lVectors;
    lBools.Add(true);
    lInts.Add(1);
    lDoubles.Add(1.0);
    lVectors.Add(MoxVector4());
    for (auto lMode : {MoxLayerElementArray::eReadLock, MoxLayerElementArray::eReadWriteLock}) {
        EXPECT_NE(lBools.GetLocked(lMode), nullptr);
        EXPECT_NE(lInts.GetLocked(lMode), nullptr);
        EXPECT_NE(lDoubles.GetLocked(lMode), nullptr);
        EXPECT_NE(lVectors.GetLocked(lMode), nullptr);
    }
}

TEST(MoxLayerElementArray, SetCountGrowsWithZerosAndShrinks)
{
    MoxLayerElementArrayTemplate<int> lArray;
    lArray.SetCount(4);
    for (int i = 0; i < 4; ++i) lArray.SetAt(i, i + 10);
    lArray.SetCount(2);
    EXPECT_EQ(lArray.GetCount(), 2);
    lArray.Resize(5, eMoxMemoryNoClear);
    EXPECT_EQ(lArray.GetCount(), 5);
    EXPECT_EQ(lArray.GetAt(1), 11);
    EXPECT_EQ(lArray.GetAt(2), 0);  // a shrunk-away value never comes back
    EXPECT_EQ(lArray.GetAt(4), 0);
    lArray.RemoveAt(0);
    lArray.SetCount(5, eMoxMemoryClear);
    EXPECT_EQ(lArray.GetAt(4), 0);
    lArray.SetCount(-3);
    EXPECT_EQ(lArray.GetCount(), 0);
    lArray.Add(1);
    lArray.Clear();
    EXPECT_EQ(lArray.GetCount(), 0);
    EXPECT_TRUE(lArray.IsValid());
}

TEST(MoxLayerElementArray, FailedGrowthKeepsTheValues)
{
    MoxLayerElementArrayTemplate<int> lArray;
    lArray.Add(1);
    lArray.Add(2);
    moxtest::ReportCapture lCapture;
    {
        moxtest::AllocationTracker lTracker;
        lTracker.FailAll(true);
        lArray.SetCount(1000);
        EXPECT_EQ(lArray.Add(3), -1);  // the array is full: growing needs memory
    }
    // Whatever the outcome of the growth, the first values are intact and the array is consistent.
    EXPECT_TRUE(lArray.IsValid());
    EXPECT_EQ(lArray.GetAt(0), 1);
    EXPECT_EQ(lArray.GetAt(1), 2);
    EXPECT_GE(lCapture.Count(), 1u);
    EXPECT_EQ(lCapture.Reports()[0].mFile, sgFile);
    EXPECT_EQ(lCapture.Reports()[0].mMessage, "mData");
}

// The storage past the count keeps what removals and shrinks leave there; a growing SetCount, in either
// clear mode, still gives zero values.
TEST(MoxLayerElementArray, GrowingSetCountGivesZerosWhateverTheStorageHeld)
{
    MoxLayerElementArrayTemplate<MoxVector4> lArray;
    for (int i = 1; i <= 8; ++i) lArray.Add(MoxVector4(i, i, i, i));
    lArray.RemoveAt(0);
    lArray.SetCount(2);
    EXPECT_EQ(lArray.GetAt(1), MoxVector4(3, 3, 3, 3));
    lArray.SetCount(8, eMoxMemoryNoClear);
    for (int i = 2; i < 8; ++i) EXPECT_EQ(lArray.GetAt(i), MoxVector4()) << i;
    for (int i = 0; i < 8; ++i) lArray.SetAt(i, MoxVector4(9, 9, 9, 9));
    lArray.SetCount(1);
    lArray.Resize(8, eMoxMemoryClear);
    EXPECT_EQ(lArray.GetAt(0), MoxVector4(9, 9, 9, 9));
    for (int i = 1; i < 8; ++i) EXPECT_EQ(lArray.GetAt(i), MoxVector4()) << i;
    lArray.SetCount(0);
    lArray.SetCount(3);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(lArray.GetAt(i), MoxVector4()) << i;
    EXPECT_TRUE(lArray.IsValid());
}

// The library's own sizing for values about to be written: the values in range are kept, the storage
// is reused within the capacity, and the new values are the caller's to write.
TEST(MoxLayerElementArray, UnwrittenCountKeepsTheValuesInRange)
{
    MoxLayerElementArrayTemplate<int> lArray;
    for (int i = 0; i < 3; ++i) lArray.Add(i + 10);
    detail::MoxUnwrittenValues::SetCount(lArray, 100);
    ASSERT_EQ(lArray.GetCount(), 100);
    int* lValues = lArray.GetLocked();
    EXPECT_EQ(lValues[2], 12);
    for (int i = 3; i < 100; ++i) lValues[i] = i;
    lArray.Release(&lValues);
    detail::MoxUnwrittenValues::SetCount(lArray, 2);
    EXPECT_EQ(lArray.GetCount(), 2);
    const void* lStorage = lArray.GetLocked(MoxLayerElementArray::eReadLock);
    detail::MoxUnwrittenValues::SetCount(lArray, 0);
    EXPECT_EQ(lArray.GetCount(), 0);
    detail::MoxUnwrittenValues::SetCount(lArray, 50);
    EXPECT_EQ(lArray.GetLocked(MoxLayerElementArray::eReadLock), lStorage);
    detail::MoxUnwrittenValues::SetCount(lArray, -4);
    EXPECT_EQ(lArray.GetCount(), 0);
    EXPECT_TRUE(lArray.IsValid());
}

// An emptied array grows into a fresh block; when that cannot be had it keeps its old block, so a count
// within the old capacity still needs no memory.
TEST(MoxLayerElementArray, FailedGrowthOfAnEmptiedArrayKeepsItsBlock)
{
    MoxLayerElementArrayTemplate<double> lArray;
    lArray.SetCount(16);
    lArray.SetCount(0);
    moxtest::ReportCapture lCapture;
    {
        moxtest::AllocationTracker lTracker;
        lTracker.FailAll(true);
        lArray.SetCount(1000);
        EXPECT_EQ(lArray.GetCount(), 0);
        lArray.SetCount(16);
        EXPECT_EQ(lArray.GetCount(), 16);
        EXPECT_EQ(lTracker.Requests(), 1);
    }
    for (int i = 0; i < 16; ++i) EXPECT_EQ(lArray.GetAt(i), 0.0) << i;
    EXPECT_TRUE(lArray.IsValid());
    ASSERT_EQ(lCapture.Count(), 1u);
    EXPECT_EQ(lCapture.Reports()[0].mMessage, "mData");
}

TEST(MoxLayerElementArray, CopyFromCopiesValuesOfTheSameType)
{
    MoxLayerElementArrayTemplate<double> lSource;
    lSource.Add(1.0);
    lSource.Add(2.0);
    MoxLayerElementArrayTemplate<double> lTarget;
    lTarget.Add(9.0);
    EXPECT_TRUE(lTarget.CopyFrom(lSource));
    EXPECT_EQ(lTarget.GetCount(), 2);
    EXPECT_EQ(lTarget.GetAt(1), 2.0);
    MoxLayerElementArrayTemplate<int> lOther;
    EXPECT_FALSE(lOther.CopyFrom(lSource));
}

TEST(MoxLayerElementArray, AddOfAValueInsideTheArray)
{
    MoxLayerElementArrayTemplate<MoxVector4> lArray;
    lArray.Add(MoxVector4(1, 2, 3, 4));
    for (int i = 0; i < 10; ++i) lArray.Add(lArray.AsReference(0));
    EXPECT_EQ(lArray.GetCount(), 11);
    EXPECT_EQ(lArray.GetAt(10), MoxVector4(1, 2, 3, 4));
    EXPECT_EQ(lArray.Find(MoxVector4(1, 2, 3, 4)), 0);
    EXPECT_EQ(lArray.Find(MoxVector4(1, 2, 3, 4), 3), 3);
    EXPECT_EQ(lArray.Find(MoxVector4()), -1);
}

TEST(MoxLayerElementArray, UntypedForwardsForTheRemovableTypes)
{
    MoxLayerElementArrayTemplate<float> lFloats;
    lFloats.Add(1.5f);
    float lRemoved = 0.0f;
    lFloats.RemoveAt(0, &lRemoved);
    EXPECT_EQ(lRemoved, 1.5f);
    MoxLayerElementArrayTemplate<MoxTexture*> lTextures;
    MoxTexture* lFake = reinterpret_cast<MoxTexture*>(0x10);
    lTextures.Add(lFake);
    EXPECT_EQ(lTextures.GetDataType(), 20);
    EXPECT_EQ(lTextures.RemoveAt(0), lFake);
    MoxLayerElementArrayTemplate<MoxColor> lColours;
    lColours.Add(MoxColor(1, 0, 0, 1));
    EXPECT_EQ(lColours.RemoveAt(0), MoxColor(1, 0, 0, 1));
}

TEST(MoxLayerElement, DefaultModesOfNewElements)
{
    struct Expected {
        MoxLayerElement* mElement;
        MoxLayerElement::EMappingMode mMapping;
        MoxLayerElement::EReferenceMode mReference;
    };
    const Expected lCases[] = {
        {MoxLayerElementNormal::Create(nullptr, "n"), MoxLayerElement::eNone, MoxLayerElement::eDirect},
        {MoxLayerElementBinormal::Create(nullptr, "b"), MoxLayerElement::eNone, MoxLayerElement::eDirect},
        {MoxLayerElementTangent::Create(nullptr, "t"), MoxLayerElement::eNone, MoxLayerElement::eDirect},
        {MoxLayerElementPolygonGroup::Create(nullptr, ""), MoxLayerElement::eNone, MoxLayerElement::eDirect},
        {MoxLayerElementVertexColor::Create(nullptr, ""), MoxLayerElement::eNone, MoxLayerElement::eDirect},
        {MoxLayerElementSmoothing::Create(nullptr, ""), MoxLayerElement::eNone, MoxLayerElement::eDirect},
        {MoxLayerElementCrease::Create(nullptr, ""), MoxLayerElement::eNone, MoxLayerElement::eDirect},
        {MoxLayerElementHole::Create(nullptr, ""), MoxLayerElement::eNone, MoxLayerElement::eDirect},
        {MoxLayerElementVisibility::Create(nullptr, ""), MoxLayerElement::eNone, MoxLayerElement::eDirect},
        {MakeUserData({eMoxInt}), MoxLayerElement::eNone, MoxLayerElement::eDirect},
        {MoxLayerElementMaterial::Create(nullptr, ""), MoxLayerElement::eByPolygon, MoxLayerElement::eIndexToDirect},
        {MoxLayerElementTexture::Create(nullptr, ""), MoxLayerElement::eByPolygon, MoxLayerElement::eIndexToDirect},
        {MoxLayerElementUV::Create(nullptr, ""), MoxLayerElement::eByPolygonVertex, MoxLayerElement::eIndexToDirect},
    };
    for (const Expected& lCase : lCases) {
        ASSERT_NE(lCase.mElement, nullptr);
        EXPECT_EQ(lCase.mElement->GetMappingMode(), lCase.mMapping);
        EXPECT_EQ(lCase.mElement->GetReferenceMode(), lCase.mReference);
        lCase.mElement->Destroy();
    }
}

TEST(MoxLayerElement, NewElementsAreEmptyAndNamed)
{
    ElementHolder<MoxLayerElementUV> lUVs(MoxLayerElementUV::Create(nullptr, "map1"));
    EXPECT_STREQ(lUVs->GetName(), "map1");
    EXPECT_EQ(lUVs->GetDirectArray().GetCount(), 0);
    EXPECT_EQ(lUVs->GetIndexArray().GetCount(), 0);
    EXPECT_EQ(lUVs->GetDirectArray().GetDataType(), 13);
    EXPECT_EQ(lUVs->GetIndexArray().GetDataType(), 10);
    ElementHolder<MoxLayerElementMaterial> lMaterials(MoxLayerElementMaterial::Create(nullptr, nullptr));
    EXPECT_STREQ(lMaterials->GetName(), "");
    EXPECT_EQ(lMaterials->GetDirectArray().GetDataType(), 20);
}

TEST(MoxLayerElement, GetDirectArrayOnIndexElementReportsAndReturnsIt)
{
    ElementHolder<MoxLayerElementMaterial> lElement(MoxLayerElementMaterial::Create(nullptr, ""));
    lElement->SetReferenceMode(MoxLayerElement::eIndex);
    moxtest::ReportCapture lCapture;
    MoxLayerElementArrayTemplate<MoxSurfaceMaterial*>& lDirect = lElement->GetDirectArray();
    EXPECT_EQ(&lDirect, lElement->mDirectArray);
    EXPECT_EQ(lDirect.GetCount(), 0);
    EXPECT_TRUE(lCapture.HasOnly(sgFile, "GetDirectArray", sgDirectMessage));
}

TEST(MoxLayerElement, GetIndexArrayOnDirectElementReportsAndReturnsIt)
{
    ElementHolder<MoxLayerElementNormal> lElement(MoxLayerElementNormal::Create(nullptr, ""));
    moxtest::ReportCapture lCapture;
    const MoxLayerElementNormal* lConst = lElement.mElement;
    const MoxLayerElementArrayTemplate<int>& lIndex = lConst->GetIndexArray();
    EXPECT_EQ(&lIndex, lElement->mIndexArray);
    EXPECT_TRUE(lCapture.HasOnly(sgFile, "GetIndexArray", sgIndexMessage));
    lCapture.Clear();
    lElement->GetDirectArray();  // eDirect has a direct array
    lElement->SetReferenceMode(MoxLayerElement::eIndexToDirect);
    lElement->GetDirectArray();
    lElement->GetIndexArray();
    EXPECT_EQ(lCapture.Count(), 0u);
}

TEST(MoxLayerElement, ClearEmptiesBothArrays)
{
    ElementHolder<MoxLayerElementUV> lUVs(MoxLayerElementUV::Create(nullptr, "uv"));
    lUVs->GetDirectArray().Add(MoxVector2(1, 1));
    lUVs->GetIndexArray().Add(0);
    MoxLayerElement* lBase = lUVs.mElement;
    lBase->Clear();
    EXPECT_EQ(lUVs->GetDirectArray().GetCount(), 0);
    EXPECT_EQ(lUVs->GetIndexArray().GetCount(), 0);
    EXPECT_STREQ(lUVs->GetName(), "uv");
    EXPECT_EQ(lUVs->GetMappingMode(), MoxLayerElement::eByPolygonVertex);
}

TEST(MoxLayerElement, ConvertDirectToIndexToDirectBuildsIdentity)
{
    ElementHolder<MoxLayerElementNormal> lNormals(MoxLayerElementNormal::Create(nullptr, ""));
    for (int i = 0; i < 5; ++i) lNormals->GetDirectArray().Add(MoxVector4(i, 0, 0, 0));
    EXPECT_TRUE(lNormals->ConvertDirectToIndexToDirect());
    EXPECT_EQ(lNormals->GetReferenceMode(), MoxLayerElement::eIndexToDirect);
    ASSERT_EQ(lNormals->GetIndexArray().GetCount(), 5);
    for (int i = 0; i < 5; ++i) EXPECT_EQ(lNormals->GetIndexArray().GetAt(i), i);
    EXPECT_EQ(lNormals->GetDirectArray().GetCount(), 5);
    // Already index-to-direct: unchanged.
    lNormals->GetIndexArray().SetAt(0, 4);
    EXPECT_TRUE(lNormals->ConvertDirectToIndexToDirect());
    EXPECT_EQ(lNormals->GetIndexArray().GetAt(0), 4);
}

TEST(MoxLayerElement, CopyFromIsDeep)
{
    ElementHolder<MoxLayerElementSmoothing> lSource(MoxLayerElementSmoothing::Create(nullptr, "s"));
    lSource->SetMappingMode(MoxLayerElement::eByEdge);
    lSource->GetDirectArray().Add(1);
    ElementHolder<MoxLayerElementSmoothing> lCopy(MoxLayerElementSmoothing::Create(nullptr, "other"));
    EXPECT_TRUE(lCopy->CopyFrom(*lSource.mElement));
    lSource->GetDirectArray().SetAt(0, 5);
    EXPECT_EQ(lCopy->GetDirectArray().GetAt(0), 1);
    EXPECT_EQ(lCopy->GetMappingMode(), MoxLayerElement::eByEdge);
    EXPECT_STREQ(lCopy->GetName(), "s");
}

TEST(MoxLayerElement, CreateFailsCleanlyWithoutMemory)
{
    for (int lFail = 1; lFail <= 3; ++lFail) {
        moxtest::AllocationTracker lTracker;
        lTracker.FailAt(lFail);
        MoxLayerElementUV* lUVs = MoxLayerElementUV::Create(nullptr, "name");
        if (lUVs) lUVs->Destroy();
        EXPECT_EQ(lTracker.Live(), 0);
    }
}

TEST(MoxLayerElement, EachMissingPartOfANewElementIsReportedFromCreate)
{
    const char* const lParts[] = {"lElement", "mDirectArray", "mIndexArray"};
    for (int lFail = 1; lFail <= 3; ++lFail) {
        moxtest::AllocationTracker lTracker;
        moxtest::ReportCapture lCapture;
        lTracker.FailAt(lFail);  // the element, then its direct array, then its index array (no name to copy)
        EXPECT_EQ(MoxLayerElementNormal::Create(nullptr, ""), nullptr);
        EXPECT_TRUE(lCapture.HasOnly(sgFile, "Create", lParts[lFail - 1])) << lFail;
        EXPECT_EQ(lTracker.Live(), 0);
    }
}

TEST(MoxLayerElementArray, FailedShrinkIsReportedAndKeepsTheValues)
{
    MoxLayerElementArrayTemplate<int> lArray;
    for (int i = 0; i < 10; ++i) lArray.Add(i);
    moxtest::ReportCapture lCapture;
    {
        moxtest::AllocationTracker lTracker;
        lTracker.FailAll(true);
        lArray.Compact();
    }
    EXPECT_TRUE(lCapture.HasOnly(sgFile, "Compact", "mData"));
    EXPECT_TRUE(lArray.IsValid());
    ASSERT_EQ(lArray.GetCount(), 10);
    EXPECT_EQ(lArray.GetAt(9), 9);
}

TEST(MoxLayerElementUserData, EachMissingPartIsReportedByName)
{
    MoxArray<MoxDataType> lTypes;
    lTypes.Add(MoxDataType(eMoxInt));
    MoxArray<const char*> lNames;
    lNames.Add("f0");
    // The element, its two arrays, then the first field's value array and the copy of its name.
    const char* const lFunctions[] = {"Create", "Create", "Create", "AddField", "AddField"};
    const char* const lParts[] = {"lElement", "mDirectArray", "mIndexArray", "lArray", "lName"};
    for (int lFail = 1; lFail <= 5; ++lFail) {
        moxtest::AllocationTracker lTracker;
        moxtest::ReportCapture lCapture;
        lTracker.FailAt(lFail);
        EXPECT_EQ(MoxLayerElementUserData::Create(nullptr, "", 7, lTypes, lNames), nullptr);
        EXPECT_TRUE(lCapture.HasOnly(sgFile, lFunctions[lFail - 1], lParts[lFail - 1])) << lFail;
        EXPECT_EQ(lTracker.Live(), 0);
    }
    ElementHolder<MoxLayerElementUserData> lSource(MoxLayerElementUserData::Create(nullptr, "", 7, lTypes, lNames));
    ASSERT_NE(lSource.mElement, nullptr);
    for (int lFail = 1; lFail <= 3; ++lFail) {
        moxtest::AllocationTracker lTracker;
        moxtest::ReportCapture lCapture;
        lTracker.FailAt(lFail);
        EXPECT_EQ(MoxLayerElementUserData::Create(nullptr, lSource.mElement), nullptr);
        EXPECT_TRUE(lCapture.HasOnly(sgFile, "Create", lParts[lFail - 1])) << lFail;
        EXPECT_EQ(lTracker.Live(), 0);
    }
}

TEST(MoxLayerElementUserData, FieldsAndTypes)
{
    ElementHolder<MoxLayerElementUserData> lUser(MakeUserData({eMoxBool, eMoxInt, eMoxFloat, eMoxDouble}));
    ASSERT_NE(lUser.mElement, nullptr);
    EXPECT_EQ(lUser->GetId(), 7);
    EXPECT_EQ(lUser->GetDirectArrayCount(), 4);
    EXPECT_EQ(lUser->GetDataType(2).GetType(), eMoxFloat);
    EXPECT_EQ(lUser->GetDataType(9).GetType(), eMoxUndefined);
    EXPECT_STREQ(lUser->GetDataName(3), "f3");
    EXPECT_STREQ(lUser->GetDataName(4), "");
    lUser->ResizeAllDirectArrays(3);
    bool lOk = false;
    MoxLayerElementArrayTemplate<double>& lDoubles = MoxGetDirectArray<double>(lUser.mElement, 3, &lOk);
    EXPECT_TRUE(lOk);
    EXPECT_EQ(lDoubles.GetCount(), 3);
    lDoubles.SetAt(2, 4.5);
    EXPECT_EQ(MoxGetDirectArray<double>(lUser.mElement, 3).GetAt(2), 4.5);
    EXPECT_EQ(MoxGetDirectArray<bool>(lUser.mElement, 0).GetCount(), 3);
}

TEST(MoxLayerElementUserData, CreateRefusesBadDescriptions)
{
    MoxArray<MoxDataType> lTypes;
    MoxArray<const char*> lNames;
    lTypes.Add(MoxDataType(eMoxInt));
    EXPECT_EQ(MoxLayerElementUserData::Create(nullptr, "u", 1, lTypes, lNames), nullptr);
    lNames.Add("a");
    lTypes.SetAt(0, MoxDataType(eMoxString));
    EXPECT_EQ(MoxLayerElementUserData::Create(nullptr, "u", 1, lTypes, lNames), nullptr);
}

TEST(MoxLayerElementUserData, GetDirectArrayVoidPastTheEndPassesWithTheFallback)
{
    ElementHolder<MoxLayerElementUserData> lUser(MakeUserData({eMoxInt, eMoxDouble}));
    moxtest::ReportCapture lCapture;
    bool lOk = false;
    EXPECT_EQ(lUser->GetDirectArrayVoid(5, &lOk), nullptr);  // the fallback, never set
    EXPECT_TRUE(lOk);
    EXPECT_EQ(lCapture.Count(), 0u);
    // A set fallback is what comes back.
    int lMarker = 0;
    lUser->GetDirectArray().mFallbackValue = &lMarker;
    lOk = false;
    EXPECT_EQ(lUser->GetDirectArrayVoid(5, &lOk), &lMarker);
    EXPECT_TRUE(lOk);
    // A negative index passes too, since the count is never below it.
    lOk = false;
    EXPECT_EQ(lUser->GetDirectArrayVoid(-1, &lOk), &lMarker);
    EXPECT_TRUE(lOk);
    EXPECT_EQ(lCapture.Count(), 0u);
    // A real field gives its array.
    EXPECT_EQ(lUser->GetDirectArrayVoid(1, nullptr),
              static_cast<MoxLayerElementArray*>(&MoxGetDirectArray<double>(lUser.mElement, 1)));
}

TEST(MoxLayerElementUserData, MoxGetDirectArrayOfAMissingFieldIsAnEmptyScratchArray)
{
    ElementHolder<MoxLayerElementUserData> lUser(MakeUserData({eMoxInt}));
    MoxLayerElementArrayTemplate<int>& lMissing = MoxGetDirectArray<int>(lUser.mElement, 5);
    EXPECT_EQ(lMissing.GetCount(), 0);
    lMissing.Add(3);
    EXPECT_EQ(MoxGetDirectArray<int>(lUser.mElement, 6).GetCount(), 0);
    // The wrong value type for a field is treated the same way.
    EXPECT_EQ(MoxGetDirectArray<double>(lUser.mElement, 0).GetCount(), 0);
    EXPECT_EQ(MoxGetDirectArray<int>(nullptr, 0).GetCount(), 0);
}

TEST(MoxLayerElementUserData, RemoveFromAllDirectArraysReportsEachVectorField)
{
    ElementHolder<MoxLayerElementUserData> lUser(
        MakeUserData({eMoxBool, eMoxDouble4, eMoxInt, eMoxFloat, eMoxDouble2, eMoxDouble}));
    ASSERT_NE(lUser.mElement, nullptr);
    lUser->ResizeAllDirectArrays(3);
    for (int i = 0; i < 3; ++i) {
        MoxGetDirectArray<bool>(lUser.mElement, 0).SetAt(i, i == 1);
        MoxGetDirectArray<MoxVector4>(lUser.mElement, 1).SetAt(i, MoxVector4(i, i, i, i));
        MoxGetDirectArray<int>(lUser.mElement, 2).SetAt(i, 10 + i);
        MoxGetDirectArray<float>(lUser.mElement, 3).SetAt(i, 20.0f + float(i));
        MoxGetDirectArray<MoxVector2>(lUser.mElement, 4).SetAt(i, MoxVector2(i, i));
        MoxGetDirectArray<double>(lUser.mElement, 5).SetAt(i, 30.0 + i);
    }
    moxtest::ReportCapture lCapture;
    lUser->RemoveFromAllDirectArrays(1);
    ASSERT_EQ(lCapture.Count(), 2u);
    for (const moxtest::Report& lReport : lCapture.Reports()) {
        EXPECT_EQ(lReport.mFile, sgFile);
        EXPECT_EQ(lReport.mFunction, "RemoveFromAllDirectArrays");
        EXPECT_EQ(lReport.mMessage, "unknown type");
    }
    EXPECT_EQ(MoxGetDirectArray<bool>(lUser.mElement, 0).GetCount(), 2);
    EXPECT_FALSE(MoxGetDirectArray<bool>(lUser.mElement, 0).GetAt(1));
    EXPECT_EQ(MoxGetDirectArray<int>(lUser.mElement, 2).GetAt(1), 12);
    EXPECT_EQ(MoxGetDirectArray<float>(lUser.mElement, 3).GetAt(1), 22.0f);
    EXPECT_EQ(MoxGetDirectArray<double>(lUser.mElement, 5).GetAt(1), 32.0);
    // The vector fields are left alone.
    EXPECT_EQ(MoxGetDirectArray<MoxVector4>(lUser.mElement, 1).GetCount(), 3);
    EXPECT_EQ(MoxGetDirectArray<MoxVector2>(lUser.mElement, 4).GetCount(), 3);
}

TEST(MoxLayerElementUserData, ClearKeepsTheFields)
{
    ElementHolder<MoxLayerElementUserData> lUser(MakeUserData({eMoxInt, eMoxBool}));
    lUser->ResizeAllDirectArrays(4);
    lUser->mIndexArray->Add(1);
    MoxLayerElement* lBase = lUser.mElement;
    lBase->Clear();
    EXPECT_EQ(lUser->GetDirectArrayCount(), 2);
    EXPECT_EQ(MoxGetDirectArray<int>(lUser.mElement, 0).GetCount(), 0);
    EXPECT_EQ(lUser->mIndexArray->GetCount(), 0);
}

TEST(MoxLayerElementUserData, DeepCopy)
{
    ElementHolder<MoxLayerElementUserData> lUser(MakeUserData({eMoxInt, eMoxDouble}));
    lUser->ResizeAllDirectArrays(2);
    MoxGetDirectArray<int>(lUser.mElement, 0).SetAt(1, 42);
    ElementHolder<MoxLayerElementUserData> lCopy(MoxLayerElementUserData::Create(nullptr, lUser.mElement));
    ASSERT_NE(lCopy.mElement, nullptr);
    MoxGetDirectArray<int>(lUser.mElement, 0).SetAt(1, 0);
    EXPECT_EQ(MoxGetDirectArray<int>(lCopy.mElement, 0).GetAt(1), 42);
    EXPECT_EQ(lCopy->GetId(), 7);
    EXPECT_STREQ(lCopy->GetName(), "user");
    EXPECT_STREQ(lCopy->GetDataName(1), "f1");
    EXPECT_EQ(lCopy->GetDataType(1).GetType(), eMoxDouble);
}

TEST(MoxLayerElementUserData, NoLeakWhenMemoryFailsAnywhere)
{
    for (long lFail = 1; lFail <= 40; ++lFail) {
        moxtest::AllocationTracker lTracker;
        lTracker.FailAt(lFail);
        MoxLayerElementUserData* lUser = MakeUserData({eMoxInt, eMoxDouble, eMoxDouble4});
        if (lUser) {
            lUser->ResizeAllDirectArrays(5);
            MoxLayerElementUserData* lCopy = MoxLayerElementUserData::Create(nullptr, lUser);
            if (lCopy) lCopy->Destroy();
            lUser->Destroy();
        }
        EXPECT_EQ(lTracker.Live(), 0) << "failing allocation " << lFail;
    }
}

TEST(MoxLayer, SettersOwnAndReplace)
{
    moxtest::AllocationTracker lTracker;
    {
        MoxLayer lLayer;
        lLayer.SetNormals(MoxLayerElementNormal::Create(nullptr, "a"));
        lLayer.SetNormals(MoxLayerElementNormal::Create(nullptr, "b"));
        EXPECT_STREQ(lLayer.GetNormals()->GetName(), "b");
        lLayer.SetNormals(lLayer.GetNormals());  // the same pointer again stays
        EXPECT_STREQ(lLayer.GetNormals()->GetName(), "b");
        lLayer.SetSmoothing(MoxLayerElementSmoothing::Create(nullptr, ""));
        lLayer.SetSmoothing(nullptr);
        EXPECT_EQ(lLayer.GetSmoothing(), nullptr);
        lLayer.SetUVs(MoxLayerElementUV::Create(nullptr, "uv"), MoxLayerElement::eTextureChannel3);
        lLayer.SetTextures(MoxLayerElement::eTextureChannel3, MoxLayerElementTexture::Create(nullptr, ""));
        lLayer.SetUVs(MoxLayerElementUV::Create(nullptr, "bad"), MoxLayerElement::eNormal);
        lLayer.SetTextures(MoxLayerElement::eHole, MoxLayerElementTexture::Create(nullptr, ""));
        lLayer.SetMaterials(MoxLayerElementMaterial::Create(nullptr, ""));
        lLayer.SetBinormals(MoxLayerElementBinormal::Create(nullptr, ""));
        lLayer.SetTangents(MoxLayerElementTangent::Create(nullptr, ""));
        lLayer.SetPolygonGroups(MoxLayerElementPolygonGroup::Create(nullptr, ""));
        lLayer.SetVertexColors(MoxLayerElementVertexColor::Create(nullptr, ""));
        lLayer.SetVertexCrease(MoxLayerElementCrease::Create(nullptr, ""));
        lLayer.SetEdgeCrease(MoxLayerElementCrease::Create(nullptr, ""));
        lLayer.SetHole(MoxLayerElementHole::Create(nullptr, ""));
        lLayer.SetVisibility(MoxLayerElementVisibility::Create(nullptr, ""));
        lLayer.SetUserData(MakeUserData({eMoxInt}));
        EXPECT_NE(lLayer.GetUVs(MoxLayerElement::eTextureChannel3), nullptr);
        EXPECT_EQ(lLayer.GetUVs(MoxLayerElement::eNormal), nullptr);
        EXPECT_EQ(lLayer.GetUVs(), nullptr);
        EXPECT_NE(lLayer.GetTextures(MoxLayerElement::eTextureChannel3), nullptr);
        EXPECT_EQ(lLayer.GetTextures(MoxLayerElement::eHole), nullptr);
    }
    EXPECT_EQ(lTracker.Live(), 0);
}

TEST(MoxLayer, UVSetChannelsInIncreasingOrder)
{
    MoxLayer lLayer;
    EXPECT_EQ(lLayer.GetUVSetChannels().GetCount(), 0);
    lLayer.SetUVs(MoxLayerElementUV::Create(nullptr, "c"), MoxLayerElement::eTextureChannel16);
    lLayer.SetUVs(MoxLayerElementUV::Create(nullptr, "a"), MoxLayerElement::eTextureChannel0);
    lLayer.SetUVs(MoxLayerElementUV::Create(nullptr, "b"), MoxLayerElement::eTextureChannel5);
    const MoxArray<MoxLayerElement::EType> lChannels = lLayer.GetUVSetChannels();
    ASSERT_EQ(lChannels.GetCount(), 3);
    EXPECT_EQ(lChannels[0], MoxLayerElement::eTextureChannel0);
    EXPECT_EQ(lChannels[1], MoxLayerElement::eTextureChannel5);
    EXPECT_EQ(lChannels[2], MoxLayerElement::eTextureChannel16);
    EXPECT_EQ(lLayer.GetUVSetCount(), 3);
}

TEST(MoxLayer, ElementOfType)
{
    MoxLayer lLayer;
    lLayer.SetHole(MoxLayerElementHole::Create(nullptr, ""));
    lLayer.SetUVs(MoxLayerElementUV::Create(nullptr, "uv"), MoxLayerElement::eTextureChannel2);
    lLayer.SetTextures(MoxLayerElement::eTextureChannel4, MoxLayerElementTexture::Create(nullptr, ""));
    EXPECT_EQ(lLayer.GetLayerElementOfType(MoxLayerElement::eHole), lLayer.GetHole());
    EXPECT_EQ(lLayer.GetLayerElementOfType(MoxLayerElement::eNormal), nullptr);
    EXPECT_EQ(lLayer.GetLayerElementOfType(MoxLayerElement::eUnknown), nullptr);
    EXPECT_EQ(lLayer.GetLayerElementOfType(MoxLayerElement::eUV), lLayer.GetUVs(MoxLayerElement::eTextureChannel2));
    EXPECT_EQ(lLayer.GetLayerElementOfType(MoxLayerElement::eTextureChannel2, true),
              lLayer.GetUVs(MoxLayerElement::eTextureChannel2));
    EXPECT_EQ(lLayer.GetLayerElementOfType(MoxLayerElement::eTextureChannel2, false), nullptr);
    EXPECT_EQ(lLayer.GetLayerElementOfType(MoxLayerElement::eTextureChannel4, false),
              lLayer.GetTextures(MoxLayerElement::eTextureChannel4));
}

TEST(MoxLayer, ConvertDirectToIndexToDirectSkipsSmoothingCreaseHoleUserData)
{
    MoxLayer lLayer;
    lLayer.SetNormals(MoxLayerElementNormal::Create(nullptr, ""));
    lLayer.GetNormals()->GetDirectArray().SetCount(3);
    lLayer.SetSmoothing(MoxLayerElementSmoothing::Create(nullptr, ""));
    lLayer.SetEdgeCrease(MoxLayerElementCrease::Create(nullptr, ""));
    lLayer.SetVertexCrease(MoxLayerElementCrease::Create(nullptr, ""));
    lLayer.SetHole(MoxLayerElementHole::Create(nullptr, ""));
    lLayer.SetUserData(MakeUserData({eMoxInt}));
    lLayer.SetVisibility(MoxLayerElementVisibility::Create(nullptr, ""));
    lLayer.SetVertexColors(MoxLayerElementVertexColor::Create(nullptr, ""));
    lLayer.SetUVs(MoxLayerElementUV::Create(nullptr, ""), MoxLayerElement::eTextureChannel1);
    lLayer.GetUVs(MoxLayerElement::eTextureChannel1)->SetReferenceMode(MoxLayerElement::eDirect);
    EXPECT_TRUE(lLayer.ConvertDirectToIndexToDirect());
    EXPECT_EQ(lLayer.GetNormals()->GetReferenceMode(), MoxLayerElement::eIndexToDirect);
    EXPECT_EQ(lLayer.GetNormals()->GetIndexArray().GetCount(), 3);
    EXPECT_EQ(lLayer.GetVisibility()->GetReferenceMode(), MoxLayerElement::eIndexToDirect);
    EXPECT_EQ(lLayer.GetVertexColors()->GetReferenceMode(), MoxLayerElement::eIndexToDirect);
    EXPECT_EQ(lLayer.GetUVs(MoxLayerElement::eTextureChannel1)->GetReferenceMode(), MoxLayerElement::eIndexToDirect);
    EXPECT_EQ(lLayer.GetSmoothing()->GetReferenceMode(), MoxLayerElement::eDirect);
    EXPECT_EQ(lLayer.GetEdgeCrease()->GetReferenceMode(), MoxLayerElement::eDirect);
    EXPECT_EQ(lLayer.GetVertexCrease()->GetReferenceMode(), MoxLayerElement::eDirect);
    EXPECT_EQ(lLayer.GetHole()->GetReferenceMode(), MoxLayerElement::eDirect);
    EXPECT_EQ(lLayer.GetUserData()->GetReferenceMode(), MoxLayerElement::eDirect);
}

TEST(MoxLayer, CopyFromIsDeep)
{
    MoxLayer lSource;
    lSource.SetNormals(MoxLayerElementNormal::Create(nullptr, "n"));
    lSource.GetNormals()->GetDirectArray().Add(MoxVector4(0, 0, 1, 0));
    lSource.SetUVs(MoxLayerElementUV::Create(nullptr, "uv"), MoxLayerElement::eTextureChannel7);
    lSource.SetUserData(MakeUserData({eMoxInt}));
    MoxLayer lCopy;
    lCopy.SetHole(MoxLayerElementHole::Create(nullptr, ""));
    EXPECT_TRUE(lCopy.CopyFrom(lSource));
    EXPECT_EQ(lCopy.GetHole(), nullptr);
    ASSERT_NE(lCopy.GetNormals(), nullptr);
    EXPECT_NE(lCopy.GetNormals(), lSource.GetNormals());
    EXPECT_EQ(lCopy.GetNormals()->GetDirectArray().GetAt(0), MoxVector4(0, 0, 1, 0));
    ASSERT_NE(lCopy.GetUVs(MoxLayerElement::eTextureChannel7), nullptr);
    EXPECT_STREQ(lCopy.GetUVs(MoxLayerElement::eTextureChannel7)->GetName(), "uv");
    ASSERT_NE(lCopy.GetUserData(), nullptr);
    EXPECT_NE(lCopy.GetUserData(), lSource.GetUserData());
}
