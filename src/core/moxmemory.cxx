#include "moxsdk/core/moxmemory.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include "core/base/moxsanitizer.h"

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

// Whole 2 MiB pages for pSize bytes.
size_t HugePagesFor(size_t pSize)
{
    return MoxAllocSizeAdd(pSize, sgHugePage - 1) & ~(sgHugePage - 1);
}

// The whole 2 MiB pages of a large block of pUsable bytes: its size as counted here (the C library's
// slack past them is left out, so that equal requests make blocks of equal sizes).
size_t HugePagesIn(size_t pUsable)
{
    return pUsable & ~(sgHugePage - 1);
}

// Why large blocks are kept after they are freed: an operation on a large mesh frees the same sizes of
// working tables that its next call allocates again. Handed back to the C library, such a block lands
// where the allocator's state puts it: given back to the OS (glibc maps blocks above 32 MiB and unmaps
// them on free), reused in place, or, with the allocator tuned otherwise (glibc's hugetlb tunable),
// placed in fresh address space; each time, the next call faults its tables in again and the OS zeroes
// them first. Measured on a 1M-triangle torus (processor time a call, default tuning): BuildMeshEdgeArray
// 78 ms and 176 faults without kept blocks, 30 ms and none with them (33 ms with the hugetlb tunable
// either way); a pipeline of eight operations 1.49 s and 6,600 faults, 0.94 s and 1,700.
//
// Bounds, so that keeping costs no memory that the process has not already needed:
// - a request that no kept block serves first gives back the oldest kept blocks by which the blocks in
//   use and kept would pass the most that they took so far (a process whose memory only grows, like a
//   single pass of the tool, keeps nothing at its peak);
// - a kept block serves only a request it fits closely (FitsClosely);
// - at most sgKeptBlocks blocks and sgKeptBytes bytes, the oldest given back first: a single operation
//   on 1M triangles keeps up to 12 blocks and 177 MiB, the pipeline above more, and it keeps its gain
//   with these bounds;
// - MoxReleaseKeptMemory gives back all of them.
constexpr int sgKeptBlocks = 16;
constexpr size_t sgKeptBytes = size_t(512) << 20;

// A kept block of pKept bytes fits a request of pSize bytes closely when it is larger than the whole
// 2 MiB pages of the request by at most one page (the C library may give that much more when it aligns
// a block) and an eighth of the request.
bool FitsClosely(size_t pKept, size_t pSize)
{
    return pKept >= pSize && pKept - HugePagesFor(pSize) <= sgHugePage + pSize / 8;
}

// The large blocks of the default handlers: the bytes in use, the kept blocks in age order, and the
// most that both took together.
class LargeBlocks {
public:
    // The smallest kept block that fits pSize bytes closely, taken out; null when there is none, after
    // giving back the oldest kept blocks that a fresh block of pSize bytes would lift above the peak.
    void* Take(size_t pSize)
    {
        Released lReleased;
        const std::lock_guard<std::mutex> lLock(mMutex);
        int lBest = -1;
        for (int i = 0; i < mCount; ++i)
            if (FitsClosely(mSizes[i], pSize) && (lBest < 0 || mSizes[i] < mSizes[lBest])) lBest = i;
        if (lBest >= 0) {
            mInUse += mSizes[lBest];
            return Remove(lBest);
        }
        const size_t lNeeded = mInUse + HugePagesFor(pSize);
        while (mCount > 0 && lNeeded + mBytes > std::max(mPeak, lNeeded)) lReleased.Add(Remove(0));
        return nullptr;
    }

    // Counts a fresh block of pSize bytes as in use.
    void Made(size_t pSize)
    {
        const std::lock_guard<std::mutex> lLock(mMutex);
        mInUse += pSize;
        mPeak = std::max(mPeak, mInUse + mBytes);
    }

    // Counts pSize bytes as no longer in use (a block the C library takes back).
    void Forget(size_t pSize)
    {
        const std::lock_guard<std::mutex> lLock(mMutex);
        mInUse -= std::min(mInUse, pSize);
    }

    // Keeps pBlock of pSize bytes, no longer in use, giving back the oldest blocks beyond the bounds;
    // false when the block alone passes them.
    bool Keep(void* pBlock, size_t pSize)
    {
        Released lReleased;
        const std::lock_guard<std::mutex> lLock(mMutex);
        mInUse -= std::min(mInUse, pSize);
        if (pSize > sgKeptBytes) return false;
        while (mCount == sgKeptBlocks || mBytes + pSize > sgKeptBytes) lReleased.Add(Remove(0));
        mBlocks[mCount] = pBlock;
        mSizes[mCount++] = pSize;
        mBytes += pSize;
        return true;
    }

    size_t Bytes()
    {
        const std::lock_guard<std::mutex> lLock(mMutex);
        return mBytes;
    }

    void ReleaseAll()
    {
        Released lReleased;
        const std::lock_guard<std::mutex> lLock(mMutex);
        while (mCount > 0) lReleased.Add(Remove(mCount - 1));
    }

private:
    // Blocks given back to the C library when it goes out of scope: declared before the lock, so that
    // the frees run after it is unlocked.
    class Released {
    public:
        Released() = default;
        ~Released()
        {
            for (int i = 0; i < mCount; ++i) std::free(mBlocks[i]);
        }
        Released(const Released&) = delete;
        Released& operator=(const Released&) = delete;
        Released(Released&&) = delete;
        Released& operator=(Released&&) = delete;

        void Add(void* pBlock) { mBlocks[mCount++] = pBlock; }

    private:
        int mCount = 0;
        void* mBlocks[sgKeptBlocks] = {};
    };

    // Takes entry pIndex out, keeping the others in age order; returns its block.
    void* Remove(int pIndex)
    {
        void* lBlock = mBlocks[pIndex];
        mBytes -= mSizes[pIndex];
        --mCount;
        std::memmove(mBlocks + pIndex, mBlocks + pIndex + 1, sizeof(void*) * static_cast<size_t>(mCount - pIndex));
        std::memmove(mSizes + pIndex, mSizes + pIndex + 1, sizeof(size_t) * static_cast<size_t>(mCount - pIndex));
        return lBlock;
    }

    std::mutex mMutex;
    size_t mInUse = 0;
    size_t mPeak = 0;
    int mCount = 0;
    size_t mBytes = 0;
    void* mBlocks[sgKeptBlocks] = {};
    size_t mSizes[sgKeptBlocks] = {};
};

// Never destroyed: blocks are freed through it until the process ends.
LargeBlocks& Large()
{
    static LargeBlocks* sgLarge = new LargeBlocks();
    return *sgLarge;
}

bool IsLarge(void* pBlock, size_t pSize)
{
    return pSize >= sgLargeBlock && reinterpret_cast<uintptr_t>(pBlock) % sgHugePage == 0;
}

// A fresh large block: whole 2 MiB pages from a 2 MiB boundary, advised for huge pages (a hint: where
// the OS has none, nothing changes).
void* NewLargeBlock(size_t pSize)
{
    const size_t lSize = HugePagesFor(pSize);
    void* lBlock = nullptr;
    if (posix_memalign(&lBlock, sgHugePage, lSize) != 0) return nullptr;
#if defined(MADV_HUGEPAGE)
    madvise(lBlock, lSize, MADV_HUGEPAGE);
#endif
    Large().Made(HugePagesIn(malloc_usable_size(lBlock)));
    return lBlock;
}

// The C library's malloc; a large block is a kept one or a fresh one.
void* DefaultMalloc(size_t pSize)
{
    if (pSize < sgLargeBlock) return std::malloc(pSize);
    void* lBlock = Large().Take(pSize);
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

// The C library's free; a large block is kept (not under AddressSanitizer, which must see a use after
// free of it).
void DefaultFree(void* pData)
{
    const size_t lSize = pData ? malloc_usable_size(pData) : 0;
    if (!sgAddressSanitizer && IsLarge(pData, lSize) && Large().Keep(pData, HugePagesIn(lSize))) return;
    std::free(pData);
}

void ReleaseKept()
{
    Large().ReleaseAll();
}

size_t KeptSize()
{
    return Large().Bytes();
}

// The C library's realloc of pData (pHave usable bytes) to pSize bytes, a large block counted out of
// use and the result counted in use when it is large.
void* ShrinkBlock(void* pData, size_t pHave, size_t pSize)
{
    const bool lWasLarge = IsLarge(pData, pHave);
    void* lBlock = std::realloc(pData, pSize);
    if (!lBlock || !lWasLarge) return lBlock;
    Large().Forget(HugePagesIn(pHave));
    const size_t lSize = malloc_usable_size(lBlock);
    if (IsLarge(lBlock, lSize)) Large().Made(HugePagesIn(lSize));
    return lBlock;
}

// The C library's realloc; a block that grows to a large one moves to a DefaultMalloc block, unless it
// has the room already; a large block that shrinks to less than half stays where it is (the C library
// gives the rest back).
void* DefaultRealloc(void* pData, size_t pSize)
{
    if (!pData) return DefaultMalloc(pSize);
    const size_t lHave = malloc_usable_size(pData);
    if (pSize < sgLargeBlock || pSize <= lHave / 2) return ShrinkBlock(pData, lHave, pSize);
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

size_t KeptSize()
{
    return 0;
}

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

size_t MoxGetKeptMemorySize()
{
    return KeptSize();
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
