#pragma once
// MoxIdTable: a hash table of ids (0 .. INT_MAX) whose keys live in the caller's arrays, for scratch use
// inside one algorithm. Ids are only ever added; the table is emptied (Reset) or dropped as a whole.
//
// Open addressing with linear probing over a power-of-two table from MoxMalloc. A slot holds an id and
// the upper half of its key's hash (the tag), and the caller is asked "does id k have my key" only when
// the tags agree, so a lookup usually touches one cache line. The lower half of the hash picks the slot.
// The table starts at room for the expected count and doubles when half full, rehashing through the
// caller's hash of a stored id, so its size follows the ids stored, not the lookups. Find and FindOrAdd
// are O(1) expected.
//
// Out of memory: Init and Reset return false and FindOrAdd returns -2, the table unchanged. Nothing is
// reported.

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "moxsdk/core/moxmemory.h"

namespace moxsdk {

class MoxIdTable {
public:
    MoxIdTable() = default;
    ~MoxIdTable() { MoxFree(mSlots); }
    MoxIdTable(const MoxIdTable&) = delete;
    MoxIdTable& operator=(const MoxIdTable&) = delete;
    MoxIdTable(MoxIdTable&&) = delete;
    MoxIdTable& operator=(MoxIdTable&&) = delete;

    // An empty table with room for pExpected ids before the first growth; false when memory ran out.
    bool Init(int pExpected) { return Allocate(CapacityFor(pExpected)); }

    // Empties the table, with room for pExpected ids before the next growth. The slots it has are reused
    // when they are enough, and only the part of them that the new size uses is cleared: emptying for few
    // ids costs little after many. False, unchanged, when memory ran out.
    bool Reset(int pExpected)
    {
        const int64_t lCapacity = CapacityFor(pExpected);
        if (lCapacity > mAllocated) return Allocate(lCapacity);
        Clear(mSlots, lCapacity);
        mMask = static_cast<uint64_t>(lCapacity - 1);
        mCount = 0;
        return true;
    }

    // The id stored with an equal key (pSame(id) says whether id's key is the one hashed to pHash), or -1.
    // Only after Init.
    template <class SAME>
    int Find(uint64_t pHash, SAME pSame) const
    {
        const uint32_t lTag = static_cast<uint32_t>(pHash >> 32);
        for (uint64_t i = pHash & mMask;; i = (i + 1) & mMask) {
            const Slot& lSlot = mSlots[i];
            if (lSlot.mId < 0 || (lSlot.mTag == lTag && pSame(lSlot.mId))) return lSlot.mId;
        }
    }

    // The id stored with an equal key; when there is none, pId after storing it; -2 when memory ran out.
    // pHashOf(id) gives the hash of a stored id's key. Only after Init.
    template <class SAME, class HASH_OF>
    int FindOrAdd(uint64_t pHash, int pId, SAME pSame, HASH_OF pHashOf)
    {
        const int lFound = Find(pHash, pSame);
        if (lFound >= 0) return lFound;
        if (2 * (int64_t(mCount) + 1) > int64_t(mMask + 1) && !Grow(pHashOf)) return -2;
        Insert(pHash, pId);
        return pId;
    }

private:
    struct Slot {
        uint32_t mTag;
        int mId;  // -1 for an empty slot
    };
    static constexpr int64_t sgMinCapacity = 1024;
    static constexpr int64_t sgMaxCapacity = int64_t(1) << 30;

    // The table size for pExpected ids: a power of two at least twice as large, sgMinCapacity at least.
    static int64_t CapacityFor(int pExpected)
    {
        int64_t lCapacity = sgMinCapacity;
        while (lCapacity < 2 * int64_t(pExpected)) lCapacity *= 2;
        return lCapacity;
    }

    // Marks the first pCount slots of pSlots empty.
    static void Clear(Slot* pSlots, int64_t pCount)
    {
        std::memset(static_cast<void*>(pSlots), 0xff, static_cast<size_t>(pCount) * sizeof(Slot));
    }

    // Replaces the slots by pCapacity empty ones (a power of two); false, unchanged, when memory ran out.
    bool Allocate(int64_t pCapacity)
    {
        if (pCapacity > sgMaxCapacity) return false;
        auto* lSlots = static_cast<Slot*>(MoxMalloc(static_cast<size_t>(pCapacity) * sizeof(Slot)));
        if (!lSlots) return false;
        Clear(lSlots, pCapacity);
        MoxFree(mSlots);
        mSlots = lSlots;
        mAllocated = pCapacity;
        mMask = static_cast<uint64_t>(pCapacity - 1);
        mCount = 0;
        return true;
    }

    void Insert(uint64_t pHash, int pId)
    {
        uint64_t i = pHash & mMask;
        while (mSlots[i].mId >= 0) i = (i + 1) & mMask;
        mSlots[i] = Slot{static_cast<uint32_t>(pHash >> 32), pId};
        ++mCount;
    }

    template <class HASH_OF>
    bool Grow(HASH_OF pHashOf)
    {
        Slot* lOld = mSlots;
        const uint64_t lOldCount = mMask + 1;
        mSlots = nullptr;
        if (!Allocate(2 * int64_t(lOldCount))) {
            mSlots = lOld;
            return false;
        }
        for (uint64_t i = 0; i < lOldCount; ++i)
            if (lOld[i].mId >= 0) Insert(pHashOf(lOld[i].mId), lOld[i].mId);
        MoxFree(lOld);
        return true;
    }

    Slot* mSlots = nullptr;
    int64_t mAllocated = 0;  // slots in mSlots; the table uses the first mMask + 1
    uint64_t mMask = 0;
    int mCount = 0;
};

}  // namespace moxsdk
