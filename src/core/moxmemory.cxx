#include "moxsdk/core/moxmemory.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <mutex>

#if defined(__linux__)
#include <sys/mman.h>
#endif
#if defined(__GLIBC__)
#include <malloc.h>
#endif

namespace moxsdk {
namespace {

#if defined(__GLIBC__)

// Blocks of this size and more (a mesh's arrays and an operation's working tables, not its small
// objects) start on a huge page, fill whole ones and are advised for transparent huge pages: fresh
// memory costs a page fault at its first touch, one per 4 KiB page without them, which on meshes of
// millions of polygons costs more than the arithmetic. Many kernels give huge pages only to memory that
// asks for them.
constexpr size_t sgLargeBlock = size_t(4) << 20;
constexpr size_t sgHugePage = size_t(2) << 20;

// Why large blocks are kept after they are freed: an operation on a large mesh frees the same sizes of
// working tables that the next call allocates again. Handed back to the C library, such a block lands
// where its allocator's state puts it: reused in place, or, with the allocator tuned otherwise (glibc's
// hugetlb tunable rounds and advises its heap, where a 2 MiB-aligned request needs more room than the
// freed block leaves), placed in fresh address space call after call, so that every call faults its
// tables in again (measured: BuildMeshEdgeArray twice as slow on a 1M-triangle torus, 7 fresh huge
// pages a call, where a 4 KiB fault costs about 30 us). Reusing the block of the last call makes the
// cost of a call the same whatever the allocator does. At most sgKeptBlocks blocks and sgKeptBytes
// bytes are kept, the oldest given back first; MoxReleaseKeptMemory gives back all of them.
constexpr int sgKeptBlocks = 16;
constexpr size_t sgKeptBytes = size_t(512) << 20;

class KeptBlocks {
public:
    // The smallest kept block of at least pSize bytes and at most twice as many (a much larger one is
    // left for a larger request), taken out; null when there is none.
    void* Take(size_t pSize)
    {
        const std::lock_guard<std::mutex> lLock(mMutex);
        int lBest = -1;
        for (int i = 0; i < mCount; ++i)
            if (mSizes[i] >= pSize && mSizes[i] / 2 <= pSize && (lBest < 0 || mSizes[i] < mSizes[lBest])) lBest = i;
        if (lBest < 0) return nullptr;
        void* lBlock = mBlocks[lBest];
        Remove(lBest);
        return lBlock;
    }

    // Keeps pBlock of pSize bytes, giving back the oldest blocks beyond the limits; false when the
    // block alone passes them.
    bool Keep(void* pBlock, size_t pSize)
    {
        if (pSize > sgKeptBytes) return false;
        void* lReleased[sgKeptBlocks];
        int lReleasedCount = 0;
        {
            const std::lock_guard<std::mutex> lLock(mMutex);
            while (mCount == sgKeptBlocks || mBytes + pSize > sgKeptBytes) {
                lReleased[lReleasedCount++] = mBlocks[0];
                Remove(0);
            }
            mBlocks[mCount] = pBlock;
            mSizes[mCount++] = pSize;
            mBytes += pSize;
        }
        for (int i = 0; i < lReleasedCount; ++i) std::free(lReleased[i]);
        return true;
    }

    void ReleaseAll()
    {
        void* lReleased[sgKeptBlocks];
        int lReleasedCount = 0;
        {
            const std::lock_guard<std::mutex> lLock(mMutex);
            for (lReleasedCount = 0; lReleasedCount < mCount; ++lReleasedCount)
                lReleased[lReleasedCount] = mBlocks[lReleasedCount];
            mCount = 0;
            mBytes = 0;
        }
        for (int i = 0; i < lReleasedCount; ++i) std::free(lReleased[i]);
    }

private:
    // Removes entry pIndex, keeping the others in age order.
    void Remove(int pIndex)
    {
        mBytes -= mSizes[pIndex];
        --mCount;
        std::memmove(mBlocks + pIndex, mBlocks + pIndex + 1, sizeof(void*) * static_cast<size_t>(mCount - pIndex));
        std::memmove(mSizes + pIndex, mSizes + pIndex + 1, sizeof(size_t) * static_cast<size_t>(mCount - pIndex));
    }

    std::mutex mMutex;
    int mCount = 0;
    size_t mBytes = 0;
    void* mBlocks[sgKeptBlocks] = {};
    size_t mSizes[sgKeptBlocks] = {};
};

// Never destroyed: blocks are freed through it until the process ends.
KeptBlocks& Kept()
{
    static KeptBlocks* sgKept = new KeptBlocks();
    return *sgKept;
}

bool IsLarge(void* pBlock, size_t pSize)
{
    return pSize >= sgLargeBlock && reinterpret_cast<uintptr_t>(pBlock) % sgHugePage == 0;
}

// A fresh large block: whole 2 MiB pages from a 2 MiB boundary, advised for huge pages (a hint: where
// the OS has none, nothing changes).
void* NewLargeBlock(size_t pSize)
{
    const size_t lSize = MoxAllocSizeAdd(pSize, sgHugePage - 1) & ~(sgHugePage - 1);
    void* lBlock = nullptr;
    if (posix_memalign(&lBlock, sgHugePage, lSize) != 0) return nullptr;
#if defined(MADV_HUGEPAGE)
    madvise(lBlock, lSize, MADV_HUGEPAGE);
#endif
    return lBlock;
}

// The C library's malloc; a large block is a kept one or a fresh one.
void* DefaultMalloc(size_t pSize)
{
    if (pSize < sgLargeBlock) return std::malloc(pSize);
    void* lBlock = Kept().Take(pSize);
    return lBlock ? lBlock : NewLargeBlock(pSize);
}

// The C library's calloc; a large block is DefaultMalloc's, zeroed.
void* DefaultCalloc(size_t pCount, size_t pSize)
{
    const size_t lSize = MoxAllocSize(pCount, pSize);
    if (lSize < sgLargeBlock) return std::calloc(pCount, pSize);
    void* lBlock = DefaultMalloc(lSize);
    if (lBlock) std::memset(lBlock, 0, lSize);
    return lBlock;
}

// The C library's free; a large block is kept.
void DefaultFree(void* pData)
{
    const size_t lSize = pData ? malloc_usable_size(pData) : 0;
    if (IsLarge(pData, lSize) && Kept().Keep(pData, lSize)) return;
    std::free(pData);
}

void ReleaseKept()
{
    Kept().ReleaseAll();
}

// The C library's realloc; a block that grows to a large one moves to a DefaultMalloc block, unless it
// has the room already; a large block that shrinks to less than half stays where it is (the C library
// gives the rest back).
void* DefaultRealloc(void* pData, size_t pSize)
{
    if (!pData) return DefaultMalloc(pSize);
    const size_t lHave = malloc_usable_size(pData);
    if (pSize < sgLargeBlock || pSize <= lHave / 2) return std::realloc(pData, pSize);
    if (pSize <= lHave) return pData;
    void* lBlock = DefaultMalloc(pSize);
    if (!lBlock) return nullptr;
    std::memcpy(lBlock, pData, lHave);
    DefaultFree(pData);
    return lBlock;
}

#else

// Elsewhere the C library's functions.
void* DefaultMalloc(size_t pSize)
{
    return std::malloc(pSize);
}

void* DefaultCalloc(size_t pCount, size_t pSize)
{
    return std::calloc(pCount, pSize);
}

void* DefaultRealloc(void* pData, size_t pSize)
{
    return std::realloc(pData, pSize);
}

void DefaultFree(void* pData)
{
    std::free(pData);
}

void ReleaseKept() {}

#endif

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

void MoxReleaseKeptMemory()
{
    ReleaseKept();
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
