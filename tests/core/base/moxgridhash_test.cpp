// Uniform-grid cell hashing: coordinates, neighbour steps by addition, and the block-coherent slots.
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <set>

#include "core/base/moxgridhash.h"

namespace {

using namespace moxsdk;

TEST(MoxGridCoordinate, FloorsScaledValuesAndClampsHugeOnes)
{
    EXPECT_EQ(MoxGridCoordinate(0.0, 5000.0), 0);
    EXPECT_EQ(MoxGridCoordinate(-0.0, 5000.0), 0);
    EXPECT_EQ(MoxGridCoordinate(0.00019, 5000.0), 0);
    EXPECT_EQ(MoxGridCoordinate(0.00021, 5000.0), 1);
    EXPECT_EQ(MoxGridCoordinate(-0.00001, 5000.0), -1);
    EXPECT_EQ(MoxGridCoordinate(1.5, 2.0), 3);
    EXPECT_EQ(MoxGridCoordinate(1e300, 5000.0), int64_t(1) << 62);
    EXPECT_EQ(MoxGridCoordinate(-1e300, 5000.0), -(int64_t(1) << 62));
    EXPECT_EQ(MoxGridCoordinate(std::numeric_limits<double>::infinity(), 1.0), int64_t(1) << 62);
}

TEST(MoxGridLinearHash, NeighboursAreOneAdditionAway)
{
    const int64_t lKey[3] = {12, -7, 1LL << 40};
    const uint64_t lHash = MoxGridLinearHash(lKey);
    for (int lWord = 0; lWord < 3; ++lWord) {
        for (int64_t lDelta : {-1, 1, 5}) {
            int64_t lNeighbour[3] = {lKey[0], lKey[1], lKey[2]};
            lNeighbour[lWord] += lDelta;
            int64_t lStep[3] = {0, 0, 0};
            lStep[lWord] = lDelta;
            EXPECT_EQ(MoxGridLinearHash(lNeighbour), lHash + MoxGridLinearHash(lStep));
        }
    }
    const uint64_t lWords[sgGridMaxWords] = {1, 2, 3, 4, 5, 6};
    uint64_t lExpected = 0;
    for (int i = 0; i < sgGridMaxWords; ++i) lExpected += lWords[i] * sgGridMultipliers[i];
    EXPECT_EQ(MoxGridLinearHash(lWords, sgGridMaxWords), lExpected);
    EXPECT_EQ(MoxGridCellHash(lHash), MoxMixBits(lHash));
}

// The 64 cells of one block get 64 consecutive slots (modulo the table) and the block's tag bits.
TEST(MoxGridBlockSlotHash, CellsOfABlockShareARunOfSlots)
{
    std::set<uint64_t> lSlots;
    uint64_t lFirstBlock = 0;
    for (int64_t x = 8; x < 12; ++x) {
        for (int64_t y = -4; y < 0; ++y) {
            for (int64_t z = 0; z < 4; ++z) {
                const int64_t lKey[3] = {x, y, z};
                const uint64_t lBlock = MoxGridBlockHash(lKey);
                if (lSlots.empty()) lFirstBlock = lBlock;
                EXPECT_EQ(lBlock, lFirstBlock);
                const uint64_t lOffset = MoxGridOffsetInBlock(lKey);
                EXPECT_EQ(lOffset, uint64_t(x & 3) | uint64_t(y & 3) << 2 | uint64_t(z & 3) << 4);
                const uint64_t lHash = MoxGridBlockSlotHash(lBlock, lOffset, 0xabcdef0123456789ULL);
                EXPECT_EQ(lHash >> 32, 0xabcdef01u);
                EXPECT_EQ((lHash & 0xffffffffULL) >> 6, (lBlock << 6 & 0xffffffffULL) >> 6);
                lSlots.insert(lHash & 0xffffffffULL);
            }
        }
    }
    EXPECT_EQ(lSlots.size(), 64u);
    EXPECT_EQ(*lSlots.rbegin() - *lSlots.begin(), 63u);
}

}  // namespace
