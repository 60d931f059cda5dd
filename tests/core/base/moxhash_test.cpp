// MoxMixBits: known values, and every input bit reaches the low bits a power-of-two table indexes by.
#include <gtest/gtest.h>

#include <cstdint>
#include <set>

#include "core/base/moxhash.h"

namespace {

using moxsdk::MoxMixBits;

TEST(MoxMixBits, KnownValues)
{
    EXPECT_EQ(MoxMixBits(0), 0u);
    EXPECT_EQ(MoxMixBits(1), 0xb456bcfc34c2cb2cULL);
    EXPECT_EQ(MoxMixBits(2), 0x3abf2a20650683e7ULL);
    EXPECT_EQ(MoxMixBits(uint64_t(1) << 32), 0xba3a9e160a5f1419ULL);
    EXPECT_EQ(MoxMixBits(~uint64_t(0)), 0x64b5720b4b825f21ULL);
}

// Keys that differ only in one bit, high or low, land in different slots of a 1024-slot table.
TEST(MoxMixBits, SingleBitKeysSpreadOverTheLowBits)
{
    std::set<uint64_t> lSlots;
    for (int lBit = 0; lBit < 64; ++lBit) lSlots.insert(MoxMixBits(uint64_t(1) << lBit) & 1023);
    EXPECT_GE(lSlots.size(), 60u);
}

}  // namespace
