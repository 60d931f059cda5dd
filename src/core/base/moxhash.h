#pragma once
// MoxMixBits: the one 64-bit finaliser behind the library's hash tables (the last step of MurmurHash3).
// Every input bit reaches every output bit, so structured keys (pairs of small integers, grid cells, the
// bits of doubles) spread evenly over a power-of-two table whichever bits of the result index it.

#include <cstdint>

namespace moxsdk {

inline uint64_t MoxMixBits(uint64_t pValue)
{
    pValue ^= pValue >> 33;
    pValue *= 0xff51afd7ed558ccdULL;
    pValue ^= pValue >> 33;
    pValue *= 0xc4ceb9fe1a85ec53ULL;
    pValue ^= pValue >> 33;
    return pValue;
}

}  // namespace moxsdk
