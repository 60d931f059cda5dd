// The private scratch structures of the library's algorithms: MoxInt64Set, MoxPairSet and MoxScratch,
// against the standard library on random input, and without memory.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <set>
#include <utility>
#include <vector>

#include "core/base/moxint64set.h"
#include "core/base/moxpairset.h"
#include "core/base/moxscratch.h"
#include "support/moxtestsupport.h"

namespace {

using moxsdk::MoxInt64Set;
using moxsdk::MoxPairSet;

TEST(MoxInt64Set, MatchesStdSetOnRandomKeysIncludingTheMarker)
{
    std::mt19937_64 lRandom(7);
    MoxInt64Set lSet;
    std::set<uint64_t> lExpected;
    for (int i = 0; i < 20000; ++i) {
        // Small keys repeat often; the all-ones key is the table's empty marker.
        uint64_t lKey = i % 3 == 0 ? lRandom() : lRandom() % 5000;
        if (i % 1000 == 0) lKey = ~uint64_t(0);
        const bool lNew = lExpected.insert(lKey).second;
        ASSERT_EQ(lSet.Insert(lKey), lNew ? MoxInt64Set::eAdded : MoxInt64Set::ePresent);
        ASSERT_TRUE(lSet.Contains(lKey));
    }
    for (int i = 0; i < 5000; ++i) EXPECT_EQ(lSet.Contains(uint64_t(i)), lExpected.count(uint64_t(i)) == 1);
}

TEST(MoxInt64Set, WithoutMemoryNothingIsAdded)
{
    moxtest::AllocationTracker lTracker;
    {
        MoxInt64Set lSet;
        lTracker.FailAll(true);
        EXPECT_FALSE(lSet.Reserve(100));
        EXPECT_EQ(lSet.Insert(5), MoxInt64Set::eNoMemory);
        EXPECT_FALSE(lSet.Contains(5));
        lTracker.FailAll(false);
        for (uint64_t k = 0; k < 8; ++k) EXPECT_EQ(lSet.Insert(k), MoxInt64Set::eAdded);
        // The ninth key needs a larger table.
        lTracker.FailAt(1);
        EXPECT_EQ(lSet.Insert(8), MoxInt64Set::eNoMemory);
        for (uint64_t k = 0; k < 8; ++k) EXPECT_TRUE(lSet.Contains(k));
        EXPECT_FALSE(lSet.Contains(8));
    }
    EXPECT_EQ(lTracker.Live(), 0);
}

// Counted pairs, uncounted pairs (runs that fill up), long runs and first members outside the runs.
TEST(MoxPairSet, MatchesStdSetWhateverTheCounts)
{
    for (int lCase = 0; lCase < 3; ++lCase) {
        std::mt19937 lRandom(static_cast<unsigned int>(lCase));
        std::vector<std::pair<int, int>> lPairs;
        for (int i = 0; i < 5000; ++i) {
            const int lFirst = i % 97 == 0 ? 3 : std::uniform_int_distribution<int>(-5, 60)(lRandom);
            lPairs.emplace_back(lFirst, std::uniform_int_distribution<int>(-3, i % 97 == 0 ? 2000 : 12)(lRandom));
        }
        MoxPairSet lSet;
        lSet.BeginCounting(50);
        // Case 0 counts every pair, case 1 half of them, case 2 none.
        for (size_t i = 0; lCase < 2 && i < lPairs.size(); i += size_t(lCase + 1)) lSet.Count(lPairs[i].first);
        lSet.EndCounting();
        std::set<std::pair<int, int>> lExpected;
        for (const auto& lPair : lPairs) {
            const uint64_t lKey = (uint64_t(uint32_t(lPair.first)) << 32) | uint32_t(lPair.second);
            const bool lNew = lExpected.insert(lPair).second;
            ASSERT_EQ(lSet.Insert(lPair.first, lPair.second, lKey), lNew ? MoxInt64Set::eAdded : MoxInt64Set::ePresent)
                << lCase;
        }
    }
}

TEST(MoxPairSet, WithoutMemoryForTheRunsEveryPairGoesToTheHashSets)
{
    moxtest::AllocationTracker lTracker;
    for (int lFail = 1; lFail <= 3; ++lFail) {
        MoxPairSet lSet;
        lTracker.FailAt(lFail);
        lSet.BeginCounting(10);
        for (int f = 0; f < 10; ++f) lSet.Count(f);
        lSet.EndCounting();
        lTracker.FailAt(0);
        for (int f = 0; f < 10; ++f) EXPECT_EQ(lSet.Insert(f, 1, uint64_t(f)), MoxInt64Set::eAdded);
        for (int f = 0; f < 10; ++f) EXPECT_EQ(lSet.Insert(f, 1, uint64_t(f)), MoxInt64Set::ePresent);
    }
    EXPECT_EQ(lTracker.Live(), 0);
}

TEST(MoxPairSet, EachMissingRunBlockIsReportedOnceByName)
{
    const char* const lNames[] = {"mStart", "mFill", "mData"};
    const char* const lFunctions[] = {"BeginCounting", "EndCounting", "EndCounting"};
    moxtest::AllocationTracker lTracker;
    for (int lFail = 1; lFail <= 3; ++lFail) {
        moxtest::ReportCapture lCapture;
        MoxPairSet lSet;
        lTracker.FailAt(lFail);
        lSet.BeginCounting(10);
        for (int f = 0; f < 10; ++f) lSet.Count(f);
        lSet.EndCounting();
        lTracker.FailAt(0);
        EXPECT_TRUE(lCapture.HasOnly("core/base/moxpairset", lFunctions[lFail - 1], lNames[lFail - 1])) << lFail;
    }
    // No runs asked for, no request and no report.
    moxtest::ReportCapture lCapture;
    MoxPairSet lEmpty;
    lTracker.FailAll(true);
    lEmpty.BeginCounting(0);
    lEmpty.EndCounting();
    lTracker.FailAll(false);
    EXPECT_EQ(lCapture.Count(), 0u);
}

TEST(MoxScratch, HoldsTheBlockAndFreesIt)
{
    moxtest::AllocationTracker lTracker;
    {
        moxsdk::MoxScratch<int> lEmpty(0);
        EXPECT_NE(lEmpty.Get(), nullptr);
        moxsdk::MoxScratch<int> lNegative(-1);
        EXPECT_EQ(lNegative.Get(), nullptr);
        lTracker.FailAt(1);
        moxsdk::MoxScratch<double> lFailed(10);
        EXPECT_EQ(lFailed.Get(), nullptr);
        moxsdk::MoxScratch<double> lBlock(10);
        lBlock[9] = 2.5;
        EXPECT_EQ(lBlock.Get()[9], 2.5);
    }
    EXPECT_EQ(lTracker.Live(), 0);
}

}  // namespace
