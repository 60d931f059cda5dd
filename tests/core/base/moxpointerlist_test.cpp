#include "moxsdk/core/base/moxpointerlist.h"

#include <gtest/gtest.h>

#include <vector>

#include "support/moxtestsupport.h"

using namespace moxsdk;

TEST(MoxPointerList, AgainstAVectorOracle)
{
    int lValues[8];
    MoxPointerList<int> lList;
    std::vector<int*> lOracle;
    unsigned lState = 12345;
    for (int lStep = 0; lStep < 5000; ++lStep) {
        lState = lState * 1103515245u + 12345u;
        int* lItem = &lValues[(lState >> 16) % 8];
        switch ((lState >> 8) % 4) {
            case 0:
            case 1:
                lList.Add(lItem);
                lOracle.push_back(lItem);
                break;
            case 2: {
                const int lIndex = lOracle.empty() ? 0 : static_cast<int>((lState >> 4) % lOracle.size());
                EXPECT_EQ(lList.RemoveAt(lIndex), !lOracle.empty());
                if (!lOracle.empty()) lOracle.erase(lOracle.begin() + lIndex);
                break;
            }
            default: {
                int lRemoved = 0;
                for (size_t i = 0; i < lOracle.size();)
                    if (lOracle[i] == lItem) {
                        lOracle.erase(lOracle.begin() + static_cast<long>(i));
                        ++lRemoved;
                    } else {
                        ++i;
                    }
                EXPECT_EQ(lList.RemoveAll(lItem), lRemoved);
            }
        }
        ASSERT_EQ(lList.GetCount(), static_cast<int>(lOracle.size()));
        ASSERT_TRUE(lList.IsValid());
    }
    for (size_t i = 0; i < lOracle.size(); ++i) EXPECT_EQ(lList.GetAt(static_cast<int>(i)), lOracle[i]);
}

TEST(MoxPointerList, OutOfRangeAndSwapRemoval)
{
    int a = 0;
    int b = 0;
    int c = 0;
    MoxPointerList<int> lList;
    EXPECT_EQ(lList.GetAt(0), nullptr);
    EXPECT_FALSE(lList.RemoveAt(0));
    EXPECT_FALSE(lList.RemoveAtSwap(-1));
    lList.Add(&a);
    lList.Add(&b);
    lList.Add(&c);
    EXPECT_EQ(lList.Find(&b), 1);
    EXPECT_EQ(lList.Find(nullptr), -1);
    EXPECT_TRUE(lList.RemoveAtSwap(0));
    EXPECT_EQ(lList.GetAt(0), &c);
    lList.SetAt(5, &a);
    lList.SetAt(1, &a);
    EXPECT_EQ(lList.GetAt(1), &a);
}

TEST(MoxPointerList, FailedGrowthKeepsTheList)
{
    int a = 0;
    MoxPointerList<int> lList;
    for (int i = 0; i < 4; ++i) lList.Add(&a);
    {
        moxtest::AllocationTracker lTracker;
        lTracker.FailAll(true);
        EXPECT_EQ(lList.Add(&a), -1);
    }
    EXPECT_EQ(lList.GetCount(), 4);
    EXPECT_EQ(lList.GetAt(3), &a);
}

TEST(MoxPointerList, FailedGrowthIsReportedOnce)
{
    int a = 0;
    MoxPointerList<int> lList;
    moxtest::ReportCapture lCapture;
    {
        moxtest::AllocationTracker lTracker;
        lTracker.FailAll(true);
        EXPECT_EQ(lList.Add(&a), -1);
    }
    EXPECT_TRUE(lCapture.HasOnly("core/base/moxpointerlist", "AddRaw", "mData"));
    lCapture.Clear();
    EXPECT_EQ(lList.Add(&a), 0);
    EXPECT_EQ(lCapture.Count(), 0u);
}
