// MoxIdTable against std::map on random keys kept in the caller's array, through growth, with colliding
// hashes, and without memory; emptied and used again.
#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <random>
#include <vector>

#include "core/base/moxhash.h"
#include "core/base/moxidtable.h"
#include "support/moxtestsupport.h"

namespace {

using moxsdk::MoxIdTable;
using moxsdk::MoxMixBits;

// Ids name entries of pKeys; pHash maps a key to its table hash.
template <class HASH>
void CheckAgainstMap(int pInitial, HASH pHash)
{
    std::mt19937_64 lRandom(11);
    std::vector<uint64_t> lKeys;
    std::map<uint64_t, int> lExpected;
    MoxIdTable lTable;
    ASSERT_TRUE(lTable.Init(pInitial));
    for (int i = 0; i < 20000; ++i) {
        const uint64_t lKey = lRandom() % 6000;
        auto lSame = [&lKeys, lKey](int pId) { return lKeys[size_t(pId)] == lKey; };
        auto lHashOf = [&lKeys, pHash](int pId) { return pHash(lKeys[size_t(pId)]); };
        const auto lFound = lExpected.find(lKey);
        const int lId = lTable.FindOrAdd(pHash(lKey), int(lKeys.size()), lSame, lHashOf);
        if (lFound == lExpected.end()) {
            ASSERT_EQ(lId, int(lKeys.size()));
            lExpected[lKey] = lId;
            lKeys.push_back(lKey);
        } else {
            ASSERT_EQ(lId, lFound->second);
        }
    }
    for (uint64_t lKey = 0; lKey < 7000; ++lKey) {
        const auto lFound = lExpected.find(lKey);
        EXPECT_EQ(lTable.Find(pHash(lKey), [&lKeys, lKey](int pId) { return lKeys[size_t(pId)] == lKey; }),
                  lFound == lExpected.end() ? -1 : lFound->second);
    }
}

TEST(MoxIdTable, MatchesStdMapThroughGrowth)
{
    CheckAgainstMap(0, [](uint64_t pKey) { return MoxMixBits(pKey); });
}

TEST(MoxIdTable, MatchesStdMapWhenHashesCollide)
{
    // Only eight distinct hashes, with equal tags: every lookup asks the caller.
    CheckAgainstMap(100, [](uint64_t pKey) { return pKey % 8; });
}

TEST(MoxIdTable, WithoutMemoryNothingIsAdded)
{
    moxtest::AllocationTracker lTracker;
    {
        std::vector<uint64_t> lKeys;
        auto lAdd = [&lKeys](MoxIdTable& pTable, uint64_t pKey) {
            const int lId = pTable.FindOrAdd(
                MoxMixBits(pKey), int(lKeys.size()), [&lKeys, pKey](int pId) { return lKeys[size_t(pId)] == pKey; },
                [&lKeys](int pId) { return MoxMixBits(lKeys[size_t(pId)]); });
            if (lId == int(lKeys.size())) lKeys.push_back(pKey);
            return lId;
        };
        MoxIdTable lTable;
        lTracker.FailAll(true);
        EXPECT_FALSE(lTable.Init(10));
        lTracker.FailAll(false);
        ASSERT_TRUE(lTable.Init(0));
        // 1024 slots hold 512 ids; the 513th needs a larger table.
        for (uint64_t k = 0; k < 512; ++k) ASSERT_EQ(lAdd(lTable, k), int(k));
        lTracker.FailAt(1);
        EXPECT_EQ(lAdd(lTable, 512), -2);
        for (uint64_t k = 0; k < 512; ++k) EXPECT_EQ(lAdd(lTable, k), int(k));
        EXPECT_EQ(lAdd(lTable, 512), 512);
    }
    EXPECT_EQ(lTracker.Live(), 0);
}

TEST(MoxIdTable, ResetEmptiesAndReusesItsSlots)
{
    moxtest::AllocationTracker lTracker;
    {
        std::vector<uint64_t> lKeys;
        auto lHashOf = [&lKeys](int pId) { return MoxMixBits(lKeys[size_t(pId)]); };
        auto lAdd = [&lKeys, &lHashOf](MoxIdTable& pTable, uint64_t pKey) {
            const int lId = pTable.FindOrAdd(
                MoxMixBits(pKey), int(lKeys.size()), [&lKeys, pKey](int pId) { return lKeys[size_t(pId)] == pKey; },
                lHashOf);
            if (lId == int(lKeys.size())) lKeys.push_back(pKey);
            return lId;
        };
        auto lFind = [&lKeys](const MoxIdTable& pTable, uint64_t pKey) {
            return pTable.Find(MoxMixBits(pKey), [&lKeys, pKey](int pId) { return lKeys[size_t(pId)] == pKey; });
        };
        MoxIdTable lTable;
        ASSERT_TRUE(lTable.Init(3000));
        for (uint64_t k = 0; k < 3000; ++k) ASSERT_EQ(lAdd(lTable, k), int(k));
        // Room for fewer ids needs no memory; the table forgets every id.
        lTracker.FailAll(true);
        ASSERT_TRUE(lTable.Reset(10));
        lTracker.FailAll(false);
        for (uint64_t k = 0; k < 3000; ++k) EXPECT_EQ(lFind(lTable, k), -1);
        // Keys stored again get their new ids, through growth beyond the part Reset cleared.
        lKeys.clear();
        for (uint64_t k = 0; k < 5000; ++k) ASSERT_EQ(lAdd(lTable, 7 * k), int(k));
        for (uint64_t k = 0; k < 5000; ++k) EXPECT_EQ(lFind(lTable, 7 * k), int(k));
        EXPECT_EQ(lFind(lTable, 1), -1);
        // Room for more ids than the slots hold takes new slots, and without memory keeps the old ones.
        lTracker.FailAll(true);
        EXPECT_FALSE(lTable.Reset(100000));
        lTracker.FailAll(false);
        EXPECT_EQ(lFind(lTable, 7), 1);
        ASSERT_TRUE(lTable.Reset(100000));
        EXPECT_EQ(lFind(lTable, 7), -1);
    }
    EXPECT_EQ(lTracker.Live(), 0);
}

}  // namespace
