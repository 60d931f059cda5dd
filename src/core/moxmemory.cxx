#include "moxsdk/core/moxmemory.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace moxsdk {
namespace {

// Blocks of this size and more (a mesh's arrays, not its small objects) are placed for transparent huge
// pages: fresh memory costs a page fault at its first touch, one per 4 KiB page without them, which on
// meshes of millions of polygons costs more than the arithmetic. Many kernels give huge pages only to
// memory that asks for them.
constexpr size_t sgLargeBlock = size_t(4) << 20;
constexpr size_t sgHugePage = size_t(2) << 20;

// Asks for huge pages over the whole 2 MiB pages inside the pSize bytes at pBlock (a hint: where the OS
// has none, nothing changes).
void AdviseHugePages(void* pBlock, size_t pSize)
{
#if defined(MADV_HUGEPAGE)
    const uintptr_t lStart = (reinterpret_cast<uintptr_t>(pBlock) + sgHugePage - 1) & ~(sgHugePage - 1);
    const uintptr_t lEnd = (reinterpret_cast<uintptr_t>(pBlock) + pSize) & ~(sgHugePage - 1);
    if (lEnd > lStart) madvise(reinterpret_cast<void*>(lStart), lEnd - lStart, MADV_HUGEPAGE);
#else
    (void)pBlock;
    (void)pSize;
#endif
}

// The C library's malloc; a large block starts on a huge page and fills whole ones.
void* DefaultMalloc(size_t pSize)
{
    if (pSize < sgLargeBlock) return std::malloc(pSize);
    const size_t lSize = MoxAllocSizeAdd(pSize, sgHugePage - 1) & ~(sgHugePage - 1);
    void* lBlock = nullptr;
    if (posix_memalign(&lBlock, sgHugePage, lSize) != 0) return nullptr;
    AdviseHugePages(lBlock, lSize);
    return lBlock;
}

// The C library's calloc; a large block is advised (the library zeroes it, untouched when it is fresh).
void* DefaultCalloc(size_t pCount, size_t pSize)
{
    void* lBlock = std::calloc(pCount, pSize);
    const size_t lSize = MoxAllocSize(pCount, pSize);
    if (lBlock && lSize >= sgLargeBlock) AdviseHugePages(lBlock, lSize);
    return lBlock;
}

// The C library's realloc; a new large block is DefaultMalloc's, a grown one is advised where it lies.
void* DefaultRealloc(void* pData, size_t pSize)
{
    if (pSize < sgLargeBlock) return std::realloc(pData, pSize);
    if (!pData) return DefaultMalloc(pSize);
    void* lBlock = std::realloc(pData, pSize);
    if (lBlock) AdviseHugePages(lBlock, pSize);
    return lBlock;
}

std::atomic<MoxMallocProc> sgMallocHandler{&DefaultMalloc};
std::atomic<MoxCallocProc> sgCallocHandler{&DefaultCalloc};
std::atomic<MoxReallocProc> sgReallocHandler{&DefaultRealloc};
std::atomic<MoxFreeProc> sgFreeHandler{&std::free};

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
    sgFreeHandler.store(pHandler ? pHandler : &std::free);
}

}  // namespace moxsdk
