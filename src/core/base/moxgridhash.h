#pragma once
// Cell hashing for uniform grids: values within a distance of each other are found by bucketing them
// into cells a little wider than that distance and looking only at a cell and its neighbours.
//
// A cell is a key of up to sgGridMaxWords 64-bit words (integer coordinates, or anything else the
// caller keys by: an index, flags, the bits of a double). MoxGridLinearHash combines the words linearly,
// so the key of a neighbour hashes to the cell's hash plus the linear hash of the step between them: a
// caller steps to neighbours by one addition, and may test those steps against an occupancy bitmap
// before touching its table. MoxGridCellHash mixes a linear hash for a hash table. MoxGridBlockHash
// keeps tables cache-friendly for points met in spatial order: the cells of one 4 x 4 x 4 block of a
// three-dimensional grid share a run of 64 slots.

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "core/base/moxhash.h"

namespace moxsdk {

constexpr int sgGridMaxWords = 6;

// Odd multipliers, one per word of a key.
constexpr uint64_t sgGridMultipliers[sgGridMaxWords] = {0x9e3779b97f4a7c15ULL, 0xc2b2ae3d27d4eb4fULL,
                                                        0x165667b19e3779f9ULL, 0xd6e8feb86659fd93ULL,
                                                        0xa0761d6478bd642fULL, 0xe7037ed1a0b428dbULL};

// The grid coordinate of a value on cells 1 / pScale wide: floor(pValue * pScale), clamped to +-2^62 so
// that huge values (where only equal values are close) still give an integer a neighbour step cannot
// overflow. Monotone in pValue. Not for NaN.
inline int64_t MoxGridCoordinate(double pValue, double pScale)
{
    constexpr double lLimit = 4611686018427387904.0;  // 2^62
    const double lCell = std::floor(pValue * pScale);
    return static_cast<int64_t>(std::min(std::max(lCell, -lLimit), lLimit));
}

// The linear hash of the pCount words of a key (pCount <= sgGridMaxWords).
inline uint64_t MoxGridLinearHash(const uint64_t* pWords, int pCount)
{
    uint64_t lHash = 0;
    for (int i = 0; i < pCount; ++i) lHash += pWords[i] * sgGridMultipliers[i];
    return lHash;
}

// The linear hash of three integer coordinates.
inline uint64_t MoxGridLinearHash(const int64_t* pKey)
{
    const uint64_t lWords[3] = {uint64_t(pKey[0]), uint64_t(pKey[1]), uint64_t(pKey[2])};
    return MoxGridLinearHash(lWords, 3);
}

// A table hash of a key from its linear hash.
inline uint64_t MoxGridCellHash(uint64_t pLinear)
{
    return MoxMixBits(pLinear);
}

// The mixed hash of the 4 x 4 x 4 block of three-dimensional cells that holds cell pKey.
inline uint64_t MoxGridBlockHash(const int64_t* pKey)
{
    const int64_t lBlock[3] = {pKey[0] >> 2, pKey[1] >> 2, pKey[2] >> 2};
    return MoxMixBits(MoxGridLinearHash(lBlock));
}

// A table hash whose lower 32 bits (the slot) are the run of 64 slots of a block (pBlockHash, from
// MoxGridBlockHash) plus pOffset (0 .. 63), and whose upper 32 bits (the tag of MoxIdTable) are pTag's.
inline uint64_t MoxGridBlockSlotHash(uint64_t pBlockHash, uint64_t pOffset, uint64_t pTag)
{
    return (pTag & 0xffffffff00000000ULL) | (((pBlockHash << 6) | (pOffset & 63)) & 0xffffffffULL);
}

// The offset of cell pKey within its 4 x 4 x 4 block (0 .. 63).
inline uint64_t MoxGridOffsetInBlock(const int64_t* pKey)
{
    return uint64_t(pKey[0] & 3) | uint64_t(pKey[1] & 3) << 2 | uint64_t(pKey[2] & 3) << 4;
}

}  // namespace moxsdk
