#pragma once
// MoxPairSet: a set of pairs of ints for scratch use inside one algorithm, grouped by first member so
// that pairs made in a local order (the sides of neighbouring polygons) are tested in local memory.
//
// Each first member f in 0 .. n-1 owns a run of slots in one flat array, sized up front from a count of
// the pairs that may come with f (Count, between BeginCounting and EndCounting); a lookup scans f's run.
// Runs longer than sgShortRun (a fan's apex) and runs that fill up (more pairs came than were counted)
// keep their pairs in a hash set instead, and so do first members outside 0 .. n-1, under a key of the
// caller's. Insert is O(sgShortRun), or O(1) expected through the hash sets.
//
// Without memory for the runs, every pair goes to the hash sets; Insert returns eNoMemory when those
// cannot grow either. A run block that cannot be had is reported (file "core/base/moxpairset", the
// block's name); eNoMemory is left for the caller to report, with the name its algorithm gives.

#include <cstdint>

#include "core/base/moxint64set.h"
#include "moxsdk/core/moxassert.h"
#include "moxsdk/core/moxmemory.h"

namespace moxsdk {

class MoxPairSet {
public:
    typedef MoxInt64Set::EInsertResult EInsertResult;
    static constexpr int sgShortRun = 16;

    MoxPairSet() = default;
    ~MoxPairSet()
    {
        MoxFree(mStart);
        MoxFree(mFill);
        MoxFree(mData);
    }
    MoxPairSet(const MoxPairSet&) = delete;
    MoxPairSet& operator=(const MoxPairSet&) = delete;
    MoxPairSet(MoxPairSet&&) = delete;
    MoxPairSet& operator=(MoxPairSet&&) = delete;

    // First members 0 .. pFirstCount - 1 get runs; the counts start at 0.
    void BeginCounting(int pFirstCount)
    {
        mStart =
            pFirstCount > 0 ? static_cast<int*>(MoxCalloc(static_cast<size_t>(pFirstCount) + 1, sizeof(int))) : nullptr;
        if (pFirstCount > 0 && !mStart) MOX_REPORT(sgFile, "mStart");
        mFirstCount = mStart ? pFirstCount : 0;
    }

    // One more pair may come with first member pFirst.
    void Count(int64_t pFirst)
    {
        if (pFirst >= 0 && pFirst < mFirstCount) ++mStart[pFirst];
    }

    // Turns the counts into runs: a run of as many slots as counted, none for a long run.
    void EndCounting()
    {
        if (mFirstCount == 0) return;
        mFill = static_cast<int*>(MoxMalloc(MoxAllocSize(static_cast<size_t>(mFirstCount), sizeof(int))));
        if (!mFill) {
            MOX_REPORT(sgFile, "mFill");
            mFirstCount = 0;
            return;
        }
        int64_t lTotal = 0;
        for (int f = 0; f < mFirstCount; ++f) {
            const int lCount = mStart[f];
            mFill[f] = lCount > sgShortRun ? sgInHash : 0;
            mStart[f] = static_cast<int>(lTotal);
            lTotal += lCount > sgShortRun ? 0 : lCount;
        }
        mData = static_cast<int*>(MoxMalloc(MoxAllocSize(static_cast<size_t>(lTotal) + 1, sizeof(int))));
        if (!mData) {
            MOX_REPORT(sgFile, "mData");
            mFirstCount = 0;
            return;
        }
        mStart[mFirstCount] = static_cast<int>(lTotal);
    }

    // Adds the pair (pFirst, pSecond); pOutsideKey identifies it when pFirst is outside the runs.
    EInsertResult Insert(int64_t pFirst, int pSecond, uint64_t pOutsideKey)
    {
        if (pFirst < 0 || pFirst >= mFirstCount) return mOutside.Insert(pOutsideKey);
        const int f = static_cast<int>(pFirst);
        const uint64_t lKey = (uint64_t(static_cast<uint32_t>(f)) << 32) | static_cast<uint32_t>(pSecond);
        if (mFill[f] == sgInHash) return mLong.Insert(lKey);
        int* lRun = mData + mStart[f];
        for (int i = 0; i < mFill[f]; ++i)
            if (lRun[i] == pSecond) return MoxInt64Set::ePresent;
        if (mStart[f] + mFill[f] < mStart[f + 1]) {
            lRun[mFill[f]++] = pSecond;
            return MoxInt64Set::eAdded;
        }
        // More pairs than counted: the run moves to the hash set.
        for (int i = 0; i < mFill[f]; ++i)
            if (mLong.Insert((uint64_t(static_cast<uint32_t>(f)) << 32) | static_cast<uint32_t>(lRun[i])) ==
                MoxInt64Set::eNoMemory)
                return MoxInt64Set::eNoMemory;
        mFill[f] = sgInHash;
        return mLong.Insert(lKey);
    }

private:
    static constexpr const char* sgFile = "core/base/moxpairset";
    static constexpr int sgInHash = -1;

    int mFirstCount = 0;
    int* mStart = nullptr;  // run start per first member, and the end of all runs
    int* mFill = nullptr;   // slots used per run, or sgInHash
    int* mData = nullptr;
    MoxInt64Set mLong;     // pairs of long runs, by first and second member
    MoxInt64Set mOutside;  // pairs outside the runs, by the caller's key
};

}  // namespace moxsdk
