#include "moxsdk/core/moxmemory.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#if defined(__linux__)
#include <sys/mman.h>
#endif
#if defined(__GLIBC__)
#include <malloc.h>
#endif

namespace moxsdk {
namespace {

// Blocks of this size and more (a mesh's arrays, not its small objects) are placed for transparent huge
// pages: fresh memory costs a page fault at its first touch, one per 4 KiB page without them, which on
// meshes of millions of polygons costs more than the arithmetic. Many kernels give huge pages only to
// memory that asks for them.
constexpr size_t kLargeBlock = size_t(4) << 20;
constexpr size_t kHugePage = size_t(2) << 20;

// Bounds of the cache of freed large blocks.
constexpr int kCachedBlocks = 16;
constexpr size_t kCachedBytes = size_t(512) << 20;

// Asks for huge pages over the whole 2 MiB pages inside the pSize bytes at pBlock (a hint: where the OS
// has none, nothing changes).
void AdviseHugePages(void* pBlock, size_t pSize)
{
#if defined(MADV_HUGEPAGE)
    const uintptr_t lStart = (reinterpret_cast<uintptr_t>(pBlock) + kHugePage - 1) & ~(kHugePage - 1);
    const uintptr_t lEnd = (reinterpret_cast<uintptr_t>(pBlock) + pSize) & ~(kHugePage - 1);
    if (lEnd > lStart) madvise(reinterpret_cast<void*>(lStart), lEnd - lStart, MADV_HUGEPAGE);
#else
    (void)pBlock;
    (void)pSize;
#endif
}

// Recently freed large blocks, kept for the next large requests: the C library hands a large block back
// to the OS when it is freed, and the same memory fresh again costs a fault and the kernel's zero fill per
// page at its first touch, which an operation repeated on a mesh would pay on every call. Bounded in blocks
// and bytes, the oldest going back first; a request that no cached block serves sends them all back, so
// that memory kept for work that is not repeated never adds to the peak of the work that follows. Its
// state is trivially destructible and constant-initialised, so that blocks freed during the program's
// exit still find it.
class LargeBlockCache {
public:
    // The smallest cached block of at least pSize bytes and at most a third more (a block much larger than
    // the request would keep its touched pages in use), taken out of the cache; nullptr, with the cache
    // emptied, when there is none.
    void* Take(size_t pSize)
    {
        Lock lLock(mBusy);
        int lBest = -1;
        for (int i = 0; i < mCount; ++i)
            if (mEntries[i].mSize >= pSize && mEntries[i].mSize / 4 * 3 <= pSize &&
                (lBest < 0 || mEntries[i].mSize < mEntries[lBest].mSize))
                lBest = i;
        if (lBest < 0) {
            ReleaseAll();
            return nullptr;
        }
        void* lBlock = mEntries[lBest].mBlock;
        Remove(lBest);
        return lBlock;
    }

    // Keeps pBlock, a C library block, when it is large and starts on a huge page (as DefaultMalloc's
    // blocks do, so that every large block it hands out does), freeing the oldest blocks beyond the
    // bounds; false when the caller frees it.
    bool Keep(void* pBlock)
    {
#if defined(__GLIBC__)
        if (reinterpret_cast<uintptr_t>(pBlock) % kHugePage != 0) return false;
        const size_t lSize = malloc_usable_size(pBlock);
        if (lSize < kLargeBlock || lSize > kCachedBytes) return false;
        Lock lLock(mBusy);
        while (mCount == kCachedBlocks || mBytes + lSize > kCachedBytes) Release(0);
        mEntries[mCount++] = {pBlock, lSize};
        mBytes += lSize;
        return true;
#else
        (void)pBlock;
        return false;
#endif
    }

    // Frees every cached block.
    void Clear()
    {
        Lock lLock(mBusy);
        ReleaseAll();
    }

private:
    struct Entry {
        void* mBlock;
        size_t mSize;
    };

    // Holds the spin lock for its scope (the work under it is a scan of a few entries).
    class Lock {
    public:
        explicit Lock(std::atomic_flag& pFlag) : mFlag(pFlag)
        {
            while (mFlag.test_and_set(std::memory_order_acquire)) {
            }
        }
        ~Lock() { mFlag.clear(std::memory_order_release); }
        Lock(const Lock&) = delete;
        Lock& operator=(const Lock&) = delete;

    private:
        std::atomic_flag& mFlag;
    };

    // Frees the block of entry pIndex and removes the entry.
    void Release(int pIndex)
    {
        std::free(mEntries[pIndex].mBlock);
        Remove(pIndex);
    }

    void ReleaseAll()
    {
        while (mCount > 0) Release(0);
    }

    // Removes entry pIndex, keeping the others from oldest to newest.
    void Remove(int pIndex)
    {
        mBytes -= mEntries[pIndex].mSize;
        for (int i = pIndex + 1; i < mCount; ++i) mEntries[i - 1] = mEntries[i];
        --mCount;
    }

    std::atomic_flag mBusy = ATOMIC_FLAG_INIT;
    Entry mEntries[kCachedBlocks] = {};
    int mCount = 0;
    size_t mBytes = 0;
};

LargeBlockCache sgLargeBlocks;

// The C library's malloc; a large block is a cached one when one fits, else a new one that starts on a
// huge page and fills whole ones.
void* DefaultMalloc(size_t pSize)
{
    if (pSize < kLargeBlock) return std::malloc(pSize);
    const size_t lSize = MoxAllocSizeAdd(pSize, kHugePage - 1) & ~(kHugePage - 1);
    if (void* lCached = sgLargeBlocks.Take(lSize)) return lCached;
    void* lBlock = nullptr;
    if (posix_memalign(&lBlock, kHugePage, lSize) != 0) return nullptr;
    AdviseHugePages(lBlock, lSize);
    return lBlock;
}

// The C library's calloc; a large block is advised (the library zeroes it, untouched when it is fresh).
void* DefaultCalloc(size_t pCount, size_t pSize)
{
    void* lBlock = std::calloc(pCount, pSize);
    const size_t lSize = MoxAllocSize(pCount, pSize);
    if (lBlock && lSize >= kLargeBlock) AdviseHugePages(lBlock, lSize);
    return lBlock;
}

// The C library's realloc; a new large block is DefaultMalloc's, a grown one is advised where it lies.
// Growing to a large size is a request the cache does not serve: it is emptied, as DefaultMalloc's misses
// empty it.
void* DefaultRealloc(void* pData, size_t pSize)
{
    if (pSize < kLargeBlock) return std::realloc(pData, pSize);
    if (!pData) return DefaultMalloc(pSize);
    sgLargeBlocks.Clear();
    void* lBlock = std::realloc(pData, pSize);
    if (lBlock) AdviseHugePages(lBlock, pSize);
    return lBlock;
}

// The C library's free; a large block goes to the cache.
void DefaultFree(void* pData)
{
    if (pData && sgLargeBlocks.Keep(pData)) return;
    std::free(pData);
}

std::atomic<MoxMallocProc> sgMallocHandler{&DefaultMalloc};
std::atomic<MoxCallocProc> sgCallocHandler{&DefaultCalloc};
std::atomic<MoxReallocProc> sgReallocHandler{&DefaultRealloc};
std::atomic<MoxFreeProc> sgFreeHandler{&DefaultFree};

}  // namespace

// No object can be larger than PTRDIFF_MAX bytes: such requests (saturated sizes among them) fail here
// without reaching the handler.
void* MoxMalloc(size_t pSize)
{
    if (pSize > static_cast<size_t>(PTRDIFF_MAX)) return nullptr;
    return sgMallocHandler.load()(pSize);
}

void* MoxCalloc(size_t pCount, size_t pSize)
{
    if (MoxAllocSize(pCount, pSize) > static_cast<size_t>(PTRDIFF_MAX)) return nullptr;
    return sgCallocHandler.load()(pCount, pSize);
}

void* MoxRealloc(void* pData, size_t pSize)
{
    if (pSize > static_cast<size_t>(PTRDIFF_MAX)) return nullptr;
    return sgReallocHandler.load()(pData, pSize);
}

void MoxFree(void* pData)
{
    sgFreeHandler.load()(pData);
}

size_t MoxAllocSize(size_t pCount, size_t pSize)
{
    if (pSize != 0 && pCount > SIZE_MAX / pSize) return SIZE_MAX;
    return pCount * pSize;
}

size_t MoxAllocSizeAdd(size_t pA, size_t pB)
{
    return pA > SIZE_MAX - pB ? SIZE_MAX : pA + pB;
}

void MoxSetMallocHandler(MoxMallocProc pHandler)
{
    sgMallocHandler.store(pHandler ? pHandler : &DefaultMalloc);
}

void MoxSetCallocHandler(MoxCallocProc pHandler)
{
    sgCallocHandler.store(pHandler ? pHandler : &DefaultCalloc);
}

void MoxSetReallocHandler(MoxReallocProc pHandler)
{
    sgReallocHandler.store(pHandler ? pHandler : &DefaultRealloc);
}

void MoxSetFreeHandler(MoxFreeProc pHandler)
{
    sgFreeHandler.store(pHandler ? pHandler : &DefaultFree);
}

}  // namespace moxsdk
