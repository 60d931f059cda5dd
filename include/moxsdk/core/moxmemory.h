#pragma once
// Memory services. Every allocation of the library goes through MoxMalloc, MoxCalloc, MoxRealloc and
// MoxFree, whose handlers a host (or a test injecting failures) can replace.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <type_traits>
#include <utility>

namespace moxsdk {

typedef void* (*MoxMallocProc)(size_t);
typedef void* (*MoxCallocProc)(size_t, size_t);
typedef void* (*MoxReallocProc)(void*, size_t);
typedef void (*MoxFreeProc)(void*);

void* MoxMalloc(size_t pSize);
void* MoxCalloc(size_t pCount, size_t pSize);
void* MoxRealloc(void* pData, size_t pSize);
void MoxFree(void* pData);

// pCount * pSize, or SIZE_MAX when the product overflows (no allocator can serve SIZE_MAX bytes).
size_t MoxAllocSize(size_t pCount, size_t pSize);

// pA + pB, or SIZE_MAX when the sum overflows; keeps a saturated size saturated when a header is added.
size_t MoxAllocSizeAdd(size_t pA, size_t pB);

// Each setter installs a handler; nullptr restores the default: the C library's function, except, on
// Linux with glibc, for blocks of 64 KiB and more. Those of 4 MiB and more are large: a new one starts
// 2 MiB-aligned, its size is rounded up to whole 2 MiB pages and it is advised for transparent huge pages
// (madvise(MADV_HUGEPAGE)), so that a first touch faults once per 2 MiB, not per 4 KiB. The others are
// medium: a new one is rounded up to whole 4 KiB pages. Every default block is a C library block (free
// and realloc take it), so handlers can be replaced one at a time.
//
// Kept blocks: the default free keeps a medium or large block for the next request of its kind instead
// of giving it back, so that an operation repeated on a mesh reuses its working memory instead of
// faulting in fresh pages (whose cost depends on the C library's tuning: glibc gives the freed top of
// its heap and its mapped blocks back to the OS). Medium and large blocks are kept apart, each with
// bounds of its own; the policy:
// - a kept block serves only a request of its kind that it fits closely: at most a page (2 MiB for a
//   large block, 4 KiB for a medium one) and an eighth of the request larger than the request's whole
//   pages;
// - a request that no kept block serves first gives back the oldest kept blocks of its kind by which
//   the blocks of that kind in use and kept would pass the most that they ever took; so keeping never
//   raises the peak of either kind, and a process whose memory only grows keeps nothing at its peak;
// - a fresh large block first gives back every kept medium block (the process is growing);
// - at most 64 large blocks and 4 GiB, and 32 medium blocks and 8 MiB, are kept, the oldest given
//   back first;
// - a block that grows to 64 KiB or more through MoxRealloc moves to a block of MoxMalloc (a kept one
//   when one fits), unless it has the room already;
// - replaced handlers bypass all of this (blocks freed by a replaced free handler are not kept);
// - builds under AddressSanitizer keep nothing, so that it sees every use after free.
// A host that allocates much memory of its own after the library's operations, or that is done with
// its meshes, calls MoxReleaseKeptMemory.
void MoxSetMallocHandler(MoxMallocProc pHandler);
void MoxSetCallocHandler(MoxCallocProc pHandler);
void MoxSetReallocHandler(MoxReallocProc pHandler);
void MoxSetFreeHandler(MoxFreeProc pHandler);

// Gives the medium and large blocks that the default free keeps back to the C library at once (nothing
// is lost otherwise: the next allocation of the same sizes is only slower).
void MoxReleaseKeptMemory();

// The bytes of the medium and large blocks that the default free keeps now, counted in their whole pages
// (0 where the C library is not glibc).
size_t MoxGetKeptMemorySize();

// Allocates sizeof(T) bytes with MoxMalloc and constructs T in place. Returns nullptr when the memory
// could not be had; when the constructor throws, the memory is released and the exception passes on.
template <class T, class... Args>
T* MoxNew(Args&&... pArgs)
{
    void* lMemory = MoxMalloc(sizeof(T));
    if (!lMemory) return nullptr;
    try {
        return new (lMemory) T(std::forward<Args>(pArgs)...);
    } catch (...) {
        MoxFree(lMemory);
        throw;
    }
}

// Runs the destructor and frees with MoxFree; does nothing for nullptr.
template <class T>
void MoxDelete(T* pObject)
{
    if (!pObject) return;
    pObject->~T();
    MoxFree(const_cast<void*>(static_cast<const void*>(pObject)));
}

namespace detail {
// Class-type arrays keep their element count in a 16-byte header in front of the first element.
constexpr size_t sgArrayHeaderSize = 16;
}  // namespace detail

// Plain types (int, pointers): one uninitialised block, no header. Class types: a 16-byte header that
// holds the count as an unsigned 64-bit number, then the elements constructed in ascending order.
// A negative count or an overflowing size gives nullptr.
template <class T>
T* MoxNewArray(int pCount)
{
    if (pCount < 0) return nullptr;
    const size_t lBytes = MoxAllocSize(static_cast<size_t>(pCount), sizeof(T));
    if constexpr (!std::is_class<T>::value) {
        return static_cast<T*>(MoxMalloc(lBytes));
    } else {
        auto* lBlock = static_cast<unsigned char*>(MoxMalloc(MoxAllocSizeAdd(lBytes, detail::sgArrayHeaderSize)));
        if (!lBlock) return nullptr;
        const uint64_t lCount = static_cast<uint64_t>(pCount);
        std::memcpy(lBlock, &lCount, sizeof(lCount));
        T* lFirst = reinterpret_cast<T*>(lBlock + detail::sgArrayHeaderSize);
        for (int i = 0; i < pCount; ++i) new (lFirst + i) T();
        return lFirst;
    }
}

// Frees an array of MoxNewArray: class types have each element destroyed in ascending order first.
template <class T>
void MoxDeleteArray(T* pArray)
{
    if (!pArray) return;
    if constexpr (!std::is_class<T>::value) {
        MoxFree(const_cast<void*>(static_cast<const void*>(pArray)));
    } else {
        auto* lBlock = reinterpret_cast<unsigned char*>(pArray) - detail::sgArrayHeaderSize;
        uint64_t lCount = 0;
        std::memcpy(&lCount, lBlock, sizeof(lCount));
        for (uint64_t i = 0; i < lCount; ++i) pArray[i].~T();
        MoxFree(lBlock);
    }
}

}  // namespace moxsdk
