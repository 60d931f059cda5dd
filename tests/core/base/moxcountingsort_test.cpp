// The counting-sort kernel against std::stable_sort on random keys, keys out of range included, and the
// passes used one at a time.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

#include "core/base/moxcountingsort.h"

namespace {

using namespace moxsdk::detail;

// The items with a key in range, stably sorted by key.
std::vector<int> ExpectedOrder(const std::vector<int>& pKeys, int pKeyCount)
{
    std::vector<int> lItems;
    for (int i = 0; i < static_cast<int>(pKeys.size()); ++i)
        if (pKeys[i] >= 0 && pKeys[i] < pKeyCount) lItems.push_back(i);
    std::stable_sort(lItems.begin(), lItems.end(),
                     [&pKeys](int pLeft, int pRight) { return pKeys[pLeft] < pKeys[pRight]; });
    return lItems;
}

TEST(MoxCountingSort, GroupsLikeAStableSortAndLeavesOutKeysOutOfRange)
{
    std::mt19937 lRandom(11);
    for (int lRound = 0; lRound < 200; ++lRound) {
        const int lKeyCount = static_cast<int>(lRandom() % 50);
        const int lItemCount = static_cast<int>(lRandom() % 300);
        std::vector<int> lKeys(static_cast<size_t>(lItemCount));
        for (int& lKey : lKeys) lKey = static_cast<int>(lRandom() % (lKeyCount + 6)) - 3;
        std::vector<int> lOffsets(static_cast<size_t>(lKeyCount) + 1, -7);
        std::vector<int> lItems(static_cast<size_t>(lItemCount), -7);

        const int lPlaced = MoxGroupByKey(lKeys.data(), lItemCount, lKeyCount, lOffsets.data(), lItems.data());

        const std::vector<int> lExpected = ExpectedOrder(lKeys, lKeyCount);
        ASSERT_EQ(lPlaced, static_cast<int>(lExpected.size()));
        ASSERT_EQ(std::vector<int>(lItems.begin(), lItems.begin() + lPlaced), lExpected);
        ASSERT_EQ(lOffsets[0], 0);
        for (int k = 0; k < lKeyCount; ++k)
            for (int s = lOffsets[k]; s < lOffsets[k + 1]; ++s) ASSERT_EQ(lKeys[lItems[s]], k);
        ASSERT_EQ(lOffsets[lKeyCount], lPlaced);
    }
}

TEST(MoxCountingSort, NoKeysGiveOneZeroOffset)
{
    int lOffset = 5;
    EXPECT_EQ(MoxGroupByKey(static_cast<const int*>(nullptr), 0, 0, &lOffset, nullptr), 0);
    EXPECT_EQ(lOffset, 0);
}

TEST(MoxCountingSort, PassesOneAtATimePlaceAnythingAndLeaveCursorsAtGroupEnds)
{
    const std::vector<int64_t> lKeys = {2, 0, 2, int64_t(1) << 40, 1, -1, 0};
    const auto lKeyOf = [&lKeys](int pItem) { return lKeys[static_cast<size_t>(pItem)]; };
    std::vector<int> lOffsets(4);
    MoxCountKeys(7, 3, lKeyOf, lOffsets.data());
    EXPECT_EQ(lOffsets, (std::vector<int>{0, 2, 1, 2}));
    EXPECT_EQ(MoxPrefixSum(lOffsets.data(), 3), 5);
    EXPECT_EQ(lOffsets, (std::vector<int>{0, 2, 3, 5}));
    std::vector<int64_t> lPlaced(5);
    MoxPlaceByKey(7, 3, lKeyOf, lOffsets.data(),
                  [&](int pItem, int pSlot) { lPlaced[size_t(pSlot)] = lKeys[size_t(pItem)] * 10 + pItem; });
    EXPECT_EQ(lPlaced, (std::vector<int64_t>{1, 6, 14, 20, 22}));
    EXPECT_EQ(lOffsets, (std::vector<int>{2, 3, 5, 5}));
    MoxRestoreStarts(lOffsets.data(), 3);
    EXPECT_EQ(lOffsets, (std::vector<int>{0, 2, 3, 5}));
}

}  // namespace
