#pragma once
// MoxInt64Set: a hash set of 64-bit keys for scratch use inside one algorithm (unordered control-point
// pairs, directed edges). Keys are only ever added; the set is dropped as a whole.
//
// Open addressing with linear probing over a power-of-two table from MoxMalloc, kept at most half full,
// so Insert and Contains are O(1) expected. One key value serves as the empty-slot marker; that key
// itself is tracked by a flag beside the table, so every 64-bit value can be stored.
//
// Out of memory: Reserve returns false and Insert returns eNoMemory, the set unchanged in both cases.

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "moxsdk/core/moxmemory.h"

namespace moxsdk {

class MoxInt64Set {
public:
    enum EInsertResult { eNoMemory = -1, ePresent = 0, eAdded = 1 };

    MoxInt64Set() = default;
    ~MoxInt64Set() { MoxFree(mSlots); }
    MoxInt64Set(const MoxInt64Set&) = delete;
    MoxInt64Set& operator=(const MoxInt64Set&) = delete;
    MoxInt64Set(MoxInt64Set&&) = delete;
    MoxInt64Set& operator=(MoxInt64Set&&) = delete;

    // Makes room for pCount keys in all, so that inserting up to that many never regrows the table.
    bool Reserve(int64_t pCount)
    {
        size_t lSlots = 16;
        while (pCount > 0 && lSlots / 2 < static_cast<uint64_t>(pCount)) {
            if (lSlots > SIZE_MAX / 4 / sizeof(uint64_t)) return false;
            lSlots *= 2;
        }
        if (mSlots && lSlots <= mMask + 1) return true;
        return Rehash(lSlots);
    }

    EInsertResult Insert(uint64_t pKey)
    {
        if (pKey == sgEmpty) {
            if (mHasEmptyKey) return ePresent;
            mHasEmptyKey = true;
            return eAdded;
        }
        if ((!mSlots || (mCount + 1) * 2 > mMask + 1) && !Reserve(static_cast<int64_t>(mCount) + 1)) return eNoMemory;
        size_t lSlot = Hash(pKey) & mMask;
        while (mSlots[lSlot] != sgEmpty) {
            if (mSlots[lSlot] == pKey) return ePresent;
            lSlot = (lSlot + 1) & mMask;
        }
        mSlots[lSlot] = pKey;
        ++mCount;
        return eAdded;
    }

    bool Contains(uint64_t pKey) const
    {
        if (pKey == sgEmpty) return mHasEmptyKey;
        if (!mSlots) return false;
        for (size_t lSlot = Hash(pKey) & mMask; mSlots[lSlot] != sgEmpty; lSlot = (lSlot + 1) & mMask)
            if (mSlots[lSlot] == pKey) return true;
        return false;
    }

private:
    static constexpr uint64_t sgEmpty = ~uint64_t(0);

    // The finaliser of MurmurHash3: spreads structured keys (pairs of small integers) over all bits.
    static size_t Hash(uint64_t pKey)
    {
        pKey ^= pKey >> 33;
        pKey *= 0xff51afd7ed558ccdull;
        pKey ^= pKey >> 33;
        pKey *= 0xc4ceb9fe1a85ec53ull;
        pKey ^= pKey >> 33;
        return static_cast<size_t>(pKey);
    }

    // Moves every key into a new table of pSlots slots (a power of two); false when memory ran out.
    bool Rehash(size_t pSlots)
    {
        auto* lSlots = static_cast<uint64_t*>(MoxMalloc(pSlots * sizeof(uint64_t)));
        if (!lSlots) return false;
        std::memset(lSlots, 0xff, pSlots * sizeof(uint64_t));
        const size_t lMask = pSlots - 1;
        for (size_t i = 0; mSlots && i <= mMask; ++i) {
            if (mSlots[i] == sgEmpty) continue;
            size_t lSlot = Hash(mSlots[i]) & lMask;
            while (lSlots[lSlot] != sgEmpty) lSlot = (lSlot + 1) & lMask;
            lSlots[lSlot] = mSlots[i];
        }
        MoxFree(mSlots);
        mSlots = lSlots;
        mMask = lMask;
        return true;
    }

    uint64_t* mSlots = nullptr;
    size_t mMask = 0;
    size_t mCount = 0;
    bool mHasEmptyKey = false;
};

// The key of the unordered pair {pA, pB}: the same for (pA, pB) and (pB, pA).
inline uint64_t MoxUnorderedPairKey(int pA, int pB)
{
    const uint32_t lLow = static_cast<uint32_t>(pA < pB ? pA : pB);
    const uint32_t lHigh = static_cast<uint32_t>(pA < pB ? pB : pA);
    return (uint64_t(lLow) << 32) | lHigh;
}

}  // namespace moxsdk
