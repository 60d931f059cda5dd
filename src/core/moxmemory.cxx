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

// Blocks from this size up to sgLargeBlock are medium: the arrays of a mesh of some ten thousand
// polygons. They come from the C library as they are, in whole 4 KiB pages, and are kept apart from the
// large ones. Measured on a 10k-triangle torus: keeping blocks from 256 KiB left a pipeline of eight
// operations 77 faults a call; from 128 KiB none, but ComputeComponentMaps still faulted its 120 KB
// tables in on every call (32 faults, 1.6 ms instead of 0.38), as glibc trims the top of its heap once
// 128 KiB of it are free; from 64 KiB neither faults.
constexpr size_t sgMediumBlock = size_t(64) << 10;
constexpr size_t sgPage = size_t(4) << 10;

// Why freed blocks are kept: an operation on a mesh frees the same sizes of working tables that its
// next call allocates again. Handed back to the C library, such a block lands where the allocator's
// state puts it: given back to the OS (glibc maps blocks above 32 MiB and unmaps them on free, and gives
// the freed top of its heap back once it passes a threshold that adapts to the blocks it mapped),
// reused in place, or, with the allocator tuned otherwise (glibc's hugetlb tunable), placed in fresh
// address space; each time, the next call faults its tables in again and the OS zeroes them first.
// Measured on a 1M-triangle torus (processor time a call, default tuning): BuildMeshEdgeArray 78 ms and
// 176 faults without kept large blocks, 30 ms and none with them (33 ms with the hugetlb tunable either
// way); a pipeline of eight operations 1.49 s and 6,600 faults, 0.94 s and 1,700. On a 10k-triangle
// torus the same pipeline took 37.5 ms and 1,694 faults without kept medium blocks: glibc gave the top
// of its heap back after every call.
//
// Bounds, so that keeping costs no memory that the process has not already needed:
// - a request that no kept block serves first gives back the oldest kept blocks by which the blocks in
//   use and kept would pass the most that they took so far (a process whose memory only grows, like a
//   single pass of the tool, keeps nothing at its peak);
// - a kept block serves only a request it fits closely (FitsClosely);
// - each cache keeps a number of blocks and bytes at most, the oldest given back first. Large blocks:
//   a single operation on 1M triangles keeps up to 12 blocks and 177 MiB; the pipeline above makes
//   about 35 a call, up to 770 MB in use at once, and its next call found too few of them kept with 16
//   blocks and 512 MiB: 1,263 faults and 0.89-1.65 s a call once settled, the second call 1.44-1.53 s;
//   with 32 blocks and 1 GiB, 680-1,177 faults and 0.84-0.88 s, the second call 0.88-0.92 s. On 4M
//   triangles the same pipeline holds about 3 GB at once: 8.1 s a call with 1 GiB kept at most, 4.2-4.5 s
//   with no bound but the peak; 64 blocks and 4 GiB cover it. Medium blocks have bounds of their own, so that a
//   mesh's many medium blocks never push its large ones out: the pipeline above keeps up to 23 medium
//   blocks and 6.7 MiB on 10k triangles, and reaches 8 MiB on 100k triangles, still with 12 faults a
//   call instead of 2,800. A few MiB are enough, as a mesh with more working memory than that has
//   most of it in large blocks; and no more, as kept medium blocks lie in the C library's heap, where
//   they also keep the freed memory below them from going back to the OS;
// - a fresh large block first gives back every kept medium block: a process that makes one is growing,
//   and medium blocks kept then stayed in the C library's heap at its peak (the tool's peak resident
//   memory on 1M triangles rose from 389 to 403 MB with 2 MiB of them kept; it stays at 389 so);
// - MoxReleaseKeptMemory gives back all of them.
struct KeptBounds {
    int mBlocks;    // kept at most
    size_t mBytes;  // kept at most
    size_t mPage;   // fresh blocks are whole pages of this size
    bool mHuge;     // fresh blocks start on a page and are advised for transparent huge pages
};
constexpr KeptBounds sgLargeBounds{64, size_t(4096) << 20, sgHugePage, true};
constexpr KeptBounds sgMediumBounds{32, size_t(8) << 20, sgPage, false};
constexpr int sgMostKeptBlocks = std::max(sgLargeBounds.mBlocks, sgMediumBounds.mBlocks);

// Whole pages of pPage bytes for pSize bytes.
size_t PagesFor(size_t pSize, size_t pPage)
{
    return MoxAllocSizeAdd(pSize, pPage - 1) & ~(pPage - 1);
}

// A kept block of pKept bytes fits a request of pSize bytes closely when it is larger than the request's
// whole pages by at most one page (the C library may give that much more when it aligns a block) and an
// eighth of the request.
bool FitsClosely(size_t pKept, size_t pSize, size_t pPage)
{
    return pKept >= pSize && pKept - PagesFor(pSize, pPage) <= pPage + pSize / 8;
}

// The blocks of one size class of the default handlers: the bytes in use, the kept blocks in age order,
// and the most that both took together. Sizes are counted in whole pages (the C library's slack past
// them is left out, so that equal requests make blocks of equal sizes).
class KeptBlocks {
public:
    explicit KeptBlocks(const KeptBounds& pBounds) : mBounds(pBounds) {}

    // The smallest kept block that fits pSize bytes closely, taken out; null when there is none, after
    // giving back the oldest kept blocks that a fresh block of pSize bytes would lift above the peak.
    void* Take(size_t pSize)
    {
        Released lReleased;
        const std::lock_guard<std::mutex> lLock(mMutex);
        int lBest = -1;
        for (int i = 0; i < mCount; ++i)
            if (FitsClosely(mSizes[i], pSize, mBounds.mPage) && (lBest < 0 || mSizes[i] < mSizes[lBest])) lBest = i;
        if (lBest >= 0) {
            mInUse += mSizes[lBest];
            return Remove(lBest);
        }
        const size_t lNeeded = mInUse + PagesFor(pSize, mBounds.mPage);
        while (mCount > 0 && lNeeded + mBytes > std::max(mPeak, lNeeded)) lReleased.Add(Remove(0));
        return nullptr;
    }

    // A fresh block of whole pages for pSize bytes, counted in use; a huge-page one starts on a page and
    // is advised for transparent huge pages (a hint: where the OS has none, nothing changes).
    void* Make(size_t pSize)
    {
        const size_t lSize = PagesFor(pSize, mBounds.mPage);
        void* lBlock = nullptr;
        if (!mBounds.mHuge) {
            lBlock = std::malloc(lSize);
        } else if (posix_memalign(&lBlock, mBounds.mPage, lSize) == 0) {
#if defined(MADV_HUGEPAGE)
            madvise(lBlock, lSize, MADV_HUGEPAGE);
#endif
        }
        if (lBlock) Made(malloc_usable_size(lBlock));
        return lBlock;
    }

    // Counts a block of pUsable bytes as in use.
    void Made(size_t pUsable)
    {
        const std::lock_guard<std::mutex> lLock(mMutex);
        mInUse += Counted(pUsable);
        mPeak = std::max(mPeak, mInUse + mBytes);
    }

    // Counts a block of pUsable bytes as no longer in use (a block the C library takes back).
    void Forget(size_t pUsable)
    {
        const std::lock_guard<std::mutex> lLock(mMutex);
        mInUse -= std::min(mInUse, Counted(pUsable));
    }

    // Keeps pBlock of pUsable bytes, no longer in use, giving back the oldest blocks beyond the bounds;
    // false when the block goes back to the C library: under AddressSanitizer (which must see a use after
    // free of it), or when it alone passes the bounds.
    bool Keep(void* pBlock, size_t pUsable)
    {
        Released lReleased;
        const size_t lSize = Counted(pUsable);
        const std::lock_guard<std::mutex> lLock(mMutex);
        mInUse -= std::min(mInUse, lSize);
        if (sgAddressSanitizer || lSize > mBounds.mBytes) return false;
        while (mCount == mBounds.mBlocks || mBytes + lSize > mBounds.mBytes) lReleased.Add(Remove(0));
        mBlocks[mCount] = pBlock;
        mSizes[mCount++] = lSize;
        mBytes += lSize;
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
        void* mBlocks[sgMostKeptBlocks] = {};
    };

    // The whole pages of a block of pUsable bytes.
    size_t Counted(size_t pUsable) const
    {
        return pUsable & ~(mBounds.mPage - 1);
    }

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

    const KeptBounds mBounds;
    std::mutex mMutex;
    size_t mInUse = 0;
    size_t mPeak = 0;
    int mCount = 0;
    size_t mBytes = 0;
    void* mBlocks[sgMostKeptBlocks] = {};
    size_t mSizes[sgMostKeptBlocks] = {};
};

// The caches are never destroyed: blocks are freed through them until the process ends.
KeptBlocks& LargeBlocks()
{
    static KeptBlocks* sgLarge = new KeptBlocks(sgLargeBounds);
    return *sgLarge;
}

KeptBlocks& MediumBlocks()
{
    static KeptBlocks* sgMedium = new KeptBlocks(sgMediumBounds);
    return *sgMedium;
}

// The cache that serves a request of pSize bytes; null for a small one, which the C library serves.
KeptBlocks* CacheFor(size_t pSize)
{
    if (pSize >= sgLargeBlock) return &LargeBlocks();
    if (pSize >= sgMediumBlock) return &MediumBlocks();
    return nullptr;
}

// The cache that a block of pUsable bytes at pBlock belongs to: large blocks start on a huge page, a
// medium one may have up to a page of the C library's slack past sgLargeBlock; null for a small block.
KeptBlocks* CacheOf(void* pBlock, size_t pUsable)
{
    if (pUsable >= sgLargeBlock && reinterpret_cast<uintptr_t>(pBlock) % sgHugePage == 0) return &LargeBlocks();
    if (pUsable >= sgMediumBlock && pUsable < sgLargeBlock + sgPage) return &MediumBlocks();
    return nullptr;
}

// The C library's malloc; a medium or large block is the smallest kept one that fits it closely, or a
// fresh one.
void* DefaultMalloc(size_t pSize)
{
    KeptBlocks* lCache = CacheFor(pSize);
    if (!lCache) return std::malloc(pSize);
    void* lBlock = lCache->Take(pSize);
    if (lBlock) return lBlock;
    if (lCache == &LargeBlocks()) MediumBlocks().ReleaseAll();
    return lCache->Make(pSize);
}

// The C library's calloc; a medium or large block is DefaultMalloc's, zeroed.
void* DefaultCalloc(size_t pCount, size_t pSize)
{
    const size_t lSize = MoxAllocSize(pCount, pSize);
    if (lSize < sgMediumBlock) return std::calloc(pCount, pSize);
    void* lBlock = DefaultMalloc(lSize);
    if (lBlock) std::memset(lBlock, 0, lSize);
    return lBlock;
}

// The C library's free; a medium or large block is kept.
void DefaultFree(void* pData)
{
    const size_t lSize = pData ? malloc_usable_size(pData) : 0;
    KeptBlocks* lCache = CacheOf(pData, lSize);
    if (lCache && lCache->Keep(pData, lSize)) return;
    std::free(pData);
}

void ReleaseKept()
{
    LargeBlocks().ReleaseAll();
    MediumBlocks().ReleaseAll();
}

size_t KeptSize()
{
    return LargeBlocks().Bytes() + MediumBlocks().Bytes();
}

// The C library's realloc of pData (pHave usable bytes) to pSize bytes, a medium or large block counted
// out of use and the result counted in use in its own cache.
void* LibraryRealloc(void* pData, size_t pHave, size_t pSize)
{
    KeptBlocks* lWas = CacheOf(pData, pHave);
    void* lBlock = std::realloc(pData, pSize);
    if (!lBlock || !lWas) return lBlock;
    lWas->Forget(pHave);
    const size_t lSize = malloc_usable_size(lBlock);
    if (KeptBlocks* lIs = CacheOf(lBlock, lSize)) lIs->Made(lSize);
    return lBlock;
}

// The C library's realloc; a block that grows to a medium or large one moves to a DefaultMalloc block,
// unless it has the room already; a block that shrinks to less than half stays where it is (the C
// library gives the rest back).
void* DefaultRealloc(void* pData, size_t pSize)
{
    if (!pData) return DefaultMalloc(pSize);
    const size_t lHave = malloc_usable_size(pData);
    if (pSize < sgMediumBlock || pSize <= lHave / 2) return LibraryRealloc(pData, lHave, pSize);
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
