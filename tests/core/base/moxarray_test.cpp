#include "moxsdk/core/base/moxarray.h"

#include <gtest/gtest.h>

#include <malloc.h>

#include <climits>
#include <cstdlib>
#include <random>
#include <vector>

#include "moxsdk/core/math/moxvector4.h"
#include "support/moxtestsupport.h"

using moxsdk::MoxArray;
using moxtest::ReportCapture;

namespace {

const char* const sgFile = "core/base/moxarray";
const char* const sgOutOfRange = "Index is out of range!";
const char* const sgReserved =
    "Index is out of range, but not outside of capacity! Call SetAt() to use reserved memory.";

MoxArray<int> MakeArray(std::initializer_list<int> pValues)
{
    MoxArray<int> lArray;
    for (int lValue : pValues) lArray.Add(lValue);
    return lArray;
}

std::vector<int> Contents(const MoxArray<int>& pArray)
{
    return std::vector<int>(pArray.begin(), pArray.end());
}

TEST(MoxArray, DefaultArrayOwnsNoMemory)
{
    MoxArray<int> lArray;
    EXPECT_EQ(lArray.GetSize(), 0);
    EXPECT_EQ(lArray.Size(), 0);
    EXPECT_EQ(lArray.GetCount(), 0);
    EXPECT_EQ(lArray.GetCapacity(), 0);
    EXPECT_EQ(lArray.GetArray(), nullptr);
    EXPECT_EQ(sizeof(lArray), sizeof(void*));
}

TEST(MoxArray, BlockHasSixteenByteHeaderBeforeElements)
{
    MoxArray<int> lArray = MakeArray({1, 2, 3});
    const char* lElements = reinterpret_cast<const char*>(lArray.GetArray());
    const int* lHeader = reinterpret_cast<const int*>(lElements - 16);
    EXPECT_EQ(lHeader[0], 3);
    EXPECT_EQ(lHeader[1], 4);
}

TEST(MoxArray, AddDoublesCapacityFromOne)
{
    MoxArray<int> lArray;
    EXPECT_EQ(lArray.Add(10), 0);
    EXPECT_EQ(lArray.GetCapacity(), 1);
    lArray.Add(11);
    EXPECT_EQ(lArray.GetCapacity(), 2);
    lArray.Add(12);
    EXPECT_EQ(lArray.GetCapacity(), 4);
    EXPECT_EQ(lArray.Add(13), 3);
    EXPECT_EQ(lArray.GetCapacity(), 4);
    EXPECT_EQ(Contents(lArray), (std::vector<int>{10, 11, 12, 13}));
}

// A reallocation whose new bytes are all 0xCD, as a heap may hand them out.
void* DirtyRealloc(void* pData, size_t pSize)
{
    void* lBlock = std::malloc(pSize);
    if (!lBlock) return nullptr;
    std::memset(lBlock, 0xCD, pSize);
    if (pData) {
        const size_t lOld = malloc_usable_size(pData);
        std::memcpy(lBlock, pData, lOld < pSize ? lOld : pSize);
        std::free(pData);
    }
    return lBlock;
}

TEST(MoxArray, SlotsReservedByAddGrowthStartZeroed)
{
    moxsdk::MoxSetReallocHandler(&DirtyRealloc);
    MoxArray<int> lArray = MakeArray({1, 2, 3, 4, 5});
    moxsdk::MoxSetReallocHandler(nullptr);
    ASSERT_EQ(lArray.GetCapacity(), 8);
    for (int i = 5; i < 8; ++i) EXPECT_EQ(lArray.GetArray()[i], 0) << i;
}

TEST(MoxArray, AddOfOwnElementSurvivesTheBlockMove)
{
    MoxArray<moxsdk::MoxVector4> lArray;
    lArray.Add(moxsdk::MoxVector4(1, 2, 3, 4));
    lArray.Add(moxsdk::MoxVector4(5, 6, 7, 8));
    ASSERT_EQ(lArray.GetSize(), lArray.GetCapacity());
    lArray.Add(lArray[0]);
    ASSERT_EQ(lArray.GetSize(), 3);
    EXPECT_EQ(lArray[2], moxsdk::MoxVector4(1, 2, 3, 4));
}

TEST(MoxArray, ReserveZeroFillsAndIndexingReservedSlotReportsBoth)
{
    MoxArray<int> lArray;
    ASSERT_TRUE(lArray.Reserve(10));
    EXPECT_EQ(lArray.GetSize(), 0);
    EXPECT_EQ(lArray.GetCapacity(), 10);
    for (int i = 0; i < 10; ++i) EXPECT_EQ(lArray.GetArray()[i], 0);

    ReportCapture lCapture;
    EXPECT_EQ(lArray[3], 0);
    ASSERT_EQ(lCapture.Count(), 2u);
    EXPECT_EQ(lCapture.Reports()[0].mMessage, sgReserved);
    EXPECT_EQ(lCapture.Reports()[1].mMessage, sgOutOfRange);
    EXPECT_EQ(lCapture.Reports()[0].mFile, sgFile);
    EXPECT_EQ(lCapture.Reports()[0].mFunction, "operator[]");

    lCapture.Clear();
    lArray.SetAt(3, 7);
    EXPECT_EQ(lCapture.Count(), 0u);
    EXPECT_EQ(lArray.GetSize(), 4);
    EXPECT_EQ(Contents(lArray), (std::vector<int>{0, 0, 0, 7}));
}

TEST(MoxArray, ReserveNeverShrinksAndRejectsNegative)
{
    MoxArray<int> lArray;
    lArray.Reserve(8);
    EXPECT_TRUE(lArray.Reserve(4));
    EXPECT_EQ(lArray.GetCapacity(), 8);
    ReportCapture lCapture;
    EXPECT_FALSE(lArray.Reserve(-1));
    EXPECT_TRUE(lCapture.HasOnly(sgFile, "Reserve", "pCapacity >= 0"));
}

TEST(MoxArray, NegativeIndexReportsOnceAndReachesZeroedScratch)
{
    MoxArray<int> lArray = MakeArray({1, 2});
    ReportCapture lCapture;
    int& lScratch = lArray[-1];
    EXPECT_TRUE(lCapture.HasOnly(sgFile, "operator[]", sgOutOfRange));
    EXPECT_EQ(lScratch, 0);
    lScratch = 99;
    EXPECT_EQ(lArray[-5], 0);
    EXPECT_EQ(lArray[100], 0);
    EXPECT_EQ(Contents(lArray), (std::vector<int>{1, 2}));
}

TEST(MoxArray, IndexPastCapacityReportsOnlyOutOfRange)
{
    MoxArray<int> lArray = MakeArray({1, 2});
    ReportCapture lCapture;
    EXPECT_EQ(lArray.GetAt(2), 0);
    EXPECT_TRUE(lCapture.HasOnly(sgFile, "operator[]", sgOutOfRange));
    MoxArray<int> lEmpty;
    lCapture.Clear();
    EXPECT_EQ(lEmpty[0], 0);
    EXPECT_TRUE(lCapture.HasOnly(sgFile, "operator[]", sgOutOfRange));
}

TEST(MoxArray, SetAtOutsideCapacityIsRefused)
{
    MoxArray<int> lArray = MakeArray({1, 2, 3});
    ReportCapture lCapture;
    lArray.SetAt(4, 9);
    lArray.SetAt(-1, 9);
    ASSERT_EQ(lCapture.Count(), 2u);
    EXPECT_EQ(lCapture.Reports()[0].mMessage, "pIndex >= 0 && pIndex < GetCapacity()");
    EXPECT_EQ(lCapture.Reports()[0].mFunction, "SetAt");
    EXPECT_EQ(Contents(lArray), (std::vector<int>{1, 2, 3}));
    lArray.SetLast(8);
    EXPECT_EQ(Contents(lArray), (std::vector<int>{1, 2, 8}));
}

TEST(MoxArray, SetAtPastSizeKeepsSkippedSlotsStale)
{
    MoxArray<int> lArray = MakeArray({1, 2, 3, 4});
    lArray.RemoveAt(3);
    lArray.RemoveAt(2);
    ASSERT_EQ(lArray.GetSize(), 2);
    lArray.SetAt(3, 9);
    EXPECT_EQ(Contents(lArray), (std::vector<int>{1, 2, 3, 9}));
}

TEST(MoxArray, ResizeZeroFreesTheBlock)
{
    MoxArray<int> lArray = MakeArray({1, 2, 3});
    EXPECT_TRUE(lArray.Resize(0, true));
    EXPECT_EQ(lArray.GetCapacity(), 0);
    EXPECT_EQ(lArray.GetArray(), nullptr);
}

// Size 2, capacity 8, with stale values in slots 2..4.
MoxArray<int> MakeStaleArray()
{
    MoxArray<int> lArray = MakeArray({1, 2, 3, 4, 5});
    lArray.Reserve(8);
    lArray.RemoveAt(4);
    lArray.RemoveAt(3);
    lArray.RemoveAt(2);
    return lArray;
}

TEST(MoxArray, ResizeWithReserveGrowsInsideCapacityWithoutZeroFill)
{
    MoxArray<int> lArray = MakeStaleArray();
    ASSERT_EQ(lArray.GetSize(), 2);
    ASSERT_EQ(lArray.GetCapacity(), 8);
    EXPECT_TRUE(lArray.Resize(5, true));
    EXPECT_EQ(lArray.GetSize(), 5);
    EXPECT_EQ(lArray.GetCapacity(), 8);
    EXPECT_EQ(Contents(lArray), (std::vector<int>{1, 2, 3, 4, 5}));
}

TEST(MoxArray, ResizeWithoutReserveReallocatesToExactSize)
{
    MoxArray<int> lArray = MakeStaleArray();
    EXPECT_TRUE(lArray.Resize(5, false));
    EXPECT_EQ(lArray.GetSize(), 5);
    EXPECT_EQ(lArray.GetCapacity(), 5);
    // A shrinking reallocation keeps the stale values it exposes.
    EXPECT_EQ(Contents(lArray), (std::vector<int>{1, 2, 3, 4, 5}));
}

TEST(MoxArray, ResizeGrowingTheBlockZeroFillsFromOldSize)
{
    MoxArray<int> lArray = MakeStaleArray();
    EXPECT_TRUE(lArray.Resize(10, true));
    EXPECT_EQ(lArray.GetCapacity(), 10);
    EXPECT_EQ(Contents(lArray), (std::vector<int>{1, 2, 0, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(MoxArray, ResizeUninitializedNeverZeroFills)
{
    MoxArray<int> lArray = MakeStaleArray();
    EXPECT_TRUE(lArray.ResizeUninitialized(5, false));
    EXPECT_EQ(lArray.GetCapacity(), 5);
    EXPECT_EQ(lArray.GetSize(), 5);
    ReportCapture lCapture;
    EXPECT_FALSE(lArray.ResizeUninitialized(-2, true));
    EXPECT_TRUE(lCapture.HasOnly(sgFile, "ResizeUninitialized", "pSize > 0"));
}

TEST(MoxArray, ResizeNegativeReportsAndChangesNothing)
{
    MoxArray<int> lArray = MakeArray({1, 2, 3});
    ReportCapture lCapture;
    EXPECT_FALSE(lArray.Resize(-1, false));
    EXPECT_TRUE(lCapture.HasOnly(sgFile, "Resize", "pSize > 0"));
    EXPECT_EQ(Contents(lArray), (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(lArray.GetCapacity(), 4);
}

TEST(MoxArray, GrowPastIntMaxIsRefusedWithoutChange)
{
    MoxArray<int> lArray = MakeArray({1, 2, 3});
    EXPECT_FALSE(lArray.Grow(INT_MAX - 2));
    EXPECT_EQ(Contents(lArray), (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(lArray.GetCapacity(), 4);
    EXPECT_TRUE(lArray.Grow(2));
    EXPECT_EQ(lArray.GetSize(), 5);
    EXPECT_EQ(lArray.GetCapacity(), 5);
}

TEST(MoxArray, CompactShrinksToSize)
{
    MoxArray<int> lArray = MakeArray({1, 2, 3});
    lArray.Reserve(16);
    EXPECT_TRUE(lArray.Compact());
    EXPECT_EQ(lArray.GetCapacity(), 3);
    EXPECT_EQ(Contents(lArray), (std::vector<int>{1, 2, 3}));
    MoxArray<int> lEmpty;
    lEmpty.Reserve(4);
    EXPECT_TRUE(lEmpty.Compact());
    EXPECT_EQ(lEmpty.GetArray(), nullptr);
}

TEST(MoxArray, FindReportsNegativeStartAndMissesAbsentValue)
{
    MoxArray<int> lArray = MakeArray({4, 5, 4});
    ReportCapture lCapture;
    EXPECT_EQ(lArray.Find(4, -1), -1);
    EXPECT_TRUE(lCapture.HasOnly(sgFile, "Find", "pStartIndex >= 0"));
    EXPECT_EQ(lArray.Find(9), -1);
    EXPECT_EQ(lArray.Find(4), 0);
    EXPECT_EQ(lArray.Find(4, 1), 2);
}

TEST(MoxArray, RemoveAtLastOnlyLowersSize)
{
    MoxArray<int> lArray = MakeArray({1, 2, 3});
    ReportCapture lCapture;
    EXPECT_EQ(lArray.RemoveAt(2), 3);
    EXPECT_EQ(lCapture.Count(), 0u);
    EXPECT_EQ(lArray.GetSize(), 2);
    EXPECT_EQ(lArray.GetCapacity(), 4);
    EXPECT_EQ(lArray.GetArray()[2], 3);  // stale copy kept
    EXPECT_EQ(lArray.RemoveAt(0), 1);
    EXPECT_EQ(Contents(lArray), (std::vector<int>{2}));
}

TEST(MoxArray, RemoveAtOutsideCapacityChangesNothing)
{
    MoxArray<int> lArray = MakeArray({1, 2, 3});
    ReportCapture lCapture;
    EXPECT_EQ(lArray.RemoveAt(-1), 0);
    EXPECT_EQ(lCapture.Messages(), (std::vector<std::string>{sgOutOfRange}));
    lCapture.Clear();
    EXPECT_EQ(lArray.RemoveAt(4), 0);
    EXPECT_EQ(lCapture.Messages(), (std::vector<std::string>{sgOutOfRange, sgOutOfRange}));
    EXPECT_EQ(lCapture.Reports()[0].mFunction, "RemoveAt");
    EXPECT_EQ(Contents(lArray), (std::vector<int>{1, 2, 3}));
}

TEST(MoxArray, RemoveAtReservedSlotLowersSizeButNeverBelowZero)
{
    MoxArray<int> lArray = MakeArray({1, 2, 3});
    ReportCapture lCapture;
    lArray.RemoveAt(3);  // inside the capacity of 4, past the size
    EXPECT_EQ(lArray.GetSize(), 2);
    MoxArray<int> lReserved;
    lReserved.Reserve(2);
    lReserved.RemoveAt(1);
    EXPECT_EQ(lReserved.GetSize(), 0);
    EXPECT_TRUE(lReserved.IsValid());
}

TEST(MoxArray, AssigningEmptyArrayFreesTarget)
{
    MoxArray<int> lArray = MakeArray({1, 2, 3});
    MoxArray<int> lEmpty;
    lArray = lEmpty;
    EXPECT_EQ(lArray.GetArray(), nullptr);
    EXPECT_EQ(lArray.GetCapacity(), 0);
}

TEST(MoxArray, AssignmentCopiesWithCapacityEqualToSize)
{
    MoxArray<int> lSource = MakeArray({1, 2, 3});
    MoxArray<int> lTarget;
    lTarget.Reserve(20);
    lTarget = lSource;
    EXPECT_EQ(Contents(lTarget), (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(lTarget.GetCapacity(), 3);
    lTarget = lTarget;
    EXPECT_EQ(Contents(lTarget), (std::vector<int>{1, 2, 3}));
    MoxArray<int> lCopy(lSource);  // NOLINT(performance-unnecessary-copy-initialization): the copy is tested
    EXPECT_EQ(Contents(lCopy), (std::vector<int>{1, 2, 3}));
}

TEST(MoxArray, AddArrayAppendsWithExactReallocation)
{
    MoxArray<int> lArray = MakeArray({1, 2});
    MoxArray<int> lOther = MakeArray({3, 4, 5});
    EXPECT_TRUE(lArray.AddArray(lOther));
    EXPECT_EQ(Contents(lArray), (std::vector<int>{1, 2, 3, 4, 5}));
    EXPECT_EQ(lArray.GetCapacity(), 5);
    EXPECT_TRUE(lArray.AddArray(lArray));
    EXPECT_EQ(Contents(lArray), (std::vector<int>{1, 2, 3, 4, 5, 1, 2, 3, 4, 5}));
}

TEST(MoxArray, ArrayDeleteDestroysEveryPointee)
{
    moxtest::AllocationTracker lTracker;
    {
        MoxArray<MoxArray<int>*> lLists;
        for (int i = 0; i < 3; ++i) {
            MoxArray<int>* lList = moxsdk::MoxNew<MoxArray<int>>();
            lList->Add(i);
            lLists.Add(lList);
        }
        moxsdk::MoxArrayDelete(lLists);
        EXPECT_EQ(lLists.GetArray(), nullptr);
    }
    EXPECT_EQ(lTracker.Live(), 0);
}

// Every growing operation, on allocation failure, reports "mData", leaves the array without a block,
// returns its failure value and leaks nothing.
TEST(MoxArray, AllocationFailureEmptiesArrayReportsAndLeaksNothing)
{
    moxtest::AllocationTracker lTracker;
    ReportCapture lCapture;
    struct Case {
        const char* mFunction;
        bool (*mRun)(MoxArray<int>&, const MoxArray<int>&);
    };
    const Case lCases[] = {
        {"Add", [](MoxArray<int>& pArray, const MoxArray<int>&) { return pArray.Add(5) != -1; }},
        {"Reserve", [](MoxArray<int>& pArray, const MoxArray<int>&) { return pArray.Reserve(100); }},
        {"Resize", [](MoxArray<int>& pArray, const MoxArray<int>&) { return pArray.Resize(100, false); }},
        {"ResizeUninitialized",
         [](MoxArray<int>& pArray, const MoxArray<int>&) { return pArray.ResizeUninitialized(100, true); }},
        {"Resize", [](MoxArray<int>& pArray, const MoxArray<int>&) { return pArray.Grow(10); }},
        {"Resize", [](MoxArray<int>& pArray, const MoxArray<int>& pOther) { return pArray.AddArray(pOther); }},
        {"Resize",
         [](MoxArray<int>& pArray, const MoxArray<int>& pOther) {
             pArray = pOther;
             return pArray.GetSize() == pOther.GetSize();
         }},
    };
    const MoxArray<int> lOther = MakeArray({1, 2, 3, 4, 5, 6});
    const long lBaseline = lTracker.Live();
    for (const Case& lCase : lCases) {
        SCOPED_TRACE(lCase.mFunction);
        {
            MoxArray<int> lArray = MakeArray({1, 2, 3, 4});
            lCapture.Clear();
            lTracker.FailAll(true);
            EXPECT_FALSE(lCase.mRun(lArray, lOther));
            lTracker.FailAll(false);
            EXPECT_TRUE(lCapture.HasOnly(sgFile, lCase.mFunction, "mData"));
            EXPECT_EQ(lArray.GetArray(), nullptr);
            EXPECT_EQ(lArray.GetSize(), 0);
        }
        EXPECT_EQ(lTracker.Live(), lBaseline);
    }
}

// Random operations against std::vector; the array's invariant holds after every step.
TEST(MoxArray, RandomOperationsMatchStdVector)
{
    std::mt19937 lRandom(1234);
    MoxArray<int> lArray;
    std::vector<int> lExpected;
    for (int lStep = 0; lStep < 20000; ++lStep) {
        const int lOp = static_cast<int>(lRandom() % 6);
        const int lValue = static_cast<int>(lRandom() % 1000);
        const int lSize = static_cast<int>(lExpected.size());
        if (lOp <= 1) {
            lArray.Add(lValue);
            lExpected.push_back(lValue);
        } else if (lOp == 2 && lSize > 0) {
            const int lIndex = lValue % lSize;
            EXPECT_EQ(lArray.RemoveAt(lIndex), lExpected[lIndex]);
            lExpected.erase(lExpected.begin() + lIndex);
        } else if (lOp == 3 && lSize > 0) {
            lArray.SetAt(lValue % lSize, lValue);
            lExpected[lValue % lSize] = lValue;
        } else if (lOp == 4) {
            const int lNewSize = lValue % 64;
            lArray.Resize(lNewSize, lValue % 2 == 0);
            if (lNewSize > lSize) {
                // Reserved slots may hold stale values; read them back from the array.
                lExpected.resize(lNewSize);
                for (int i = lSize; i < lNewSize; ++i) lExpected[i] = lArray.GetArray()[i];
            } else {
                lExpected.resize(lNewSize);
            }
        } else if (lOp == 5) {
            lArray.Compact();
        }
        ASSERT_TRUE(lArray.IsValid());
        ASSERT_EQ(Contents(lArray), lExpected);
    }
}

}  // namespace
