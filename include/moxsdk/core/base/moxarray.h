#pragma once
// MoxArray: the growable array of plain, bitwise-copyable values.
//
// The object holds one pointer to a heap block: a header of Alignment bytes (size, capacity as
// signed 32-bit numbers, then reserved bytes) followed by the elements. Elements are copied, moved
// and filled as raw bytes; no constructor or destructor of T ever runs on stored elements.
//
// Range errors are reported through _MoxAssert ("core/base/moxarray") and the access goes ahead. An
// index inside the block's capacity reaches the real slot. Any other index (negative, at or past the
// capacity, or an array with no block) reaches a per-thread scratch element that is zero-filled
// before each such access, so no access ever reads or writes outside an allocation; RemoveAt of such
// an index changes nothing. RemoveAt inside the capacity but at or past the size lowers a positive
// size by one and never takes it below zero. The slots that Add's growth reserves start zeroed, like
// those of Reserve and of a growing Resize; only ResizeUninitialized leaves its new elements unwritten.
//
// Out of memory is reported as "mData" and leaves the array empty with no block (the old block is
// released, so nothing leaks); the operation returns its failure value.

#include <climits>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "moxsdk/core/base/detail/moxarrayreports.h"
#include "moxsdk/core/moxassert.h"
#include "moxsdk/core/moxmemory.h"

namespace moxsdk {

template <class T, int Alignment = 16>
class MoxArray {
    static_assert(std::is_trivially_copyable<T>::value, "MoxArray stores values that move as raw bytes");
    static_assert(Alignment >= 8 && Alignment % alignof(T) == 0, "the header must hold size and capacity");

public:
    MoxArray() = default;
    MoxArray(const MoxArray& pOther) { *this = pOther; }
    MoxArray(MoxArray&& pOther) noexcept : mData(pOther.mData) { pOther.mData = nullptr; }
    ~MoxArray() { Clear(); }

    // Resize(pOther.GetSize(), false), then one block copy: the target's capacity ends equal to the
    // source's size. Assigning an empty array frees the target's block.
    MoxArray& operator=(const MoxArray& pOther)
    {
        if (this == &pOther) return *this;
        const int lCount = pOther.GetSize();
        if (Resize(lCount, false) && lCount > 0) std::memcpy(GetArray(), pOther.GetArray(), Bytes(lCount));
        return *this;
    }
    MoxArray& operator=(MoxArray&& pOther) noexcept
    {
        if (this != &pOther) {
            Clear();
            mData = pOther.mData;
            pOther.mData = nullptr;
        }
        return *this;
    }

    int GetSize() const { return mData ? Head()->mSize : 0; }
    int Size() const { return GetSize(); }
    int GetCount() const { return GetSize(); }
    int GetCapacity() const { return mData ? Head()->mCapacity : 0; }
    int Capacity() const { return GetCapacity(); }

    T* GetArray() const { return mData ? reinterpret_cast<T*>(static_cast<char*>(mData) + Alignment) : nullptr; }
    operator T*() const { return GetArray(); }  // NOLINT(google-explicit-constructor)
    T* begin() const { return GetArray(); }
    T* end() const { return GetArray() + GetSize(); }

    T& operator[](int pIndex) const
    {
        if (pIndex < 0) {
            MOX_REPORT(sgFile, detail::arrayreports::sgIndexOutside.mText);
        } else if (pIndex >= GetSize()) {
            if (pIndex < GetCapacity()) MOX_REPORT(sgFile, detail::arrayreports::sgIndexInReserve.mText);
            MOX_REPORT(sgFile, detail::arrayreports::sgIndexOutside.mText);
        }
        return Slot(pIndex);
    }

    T GetAt(int pIndex) const { return (*this)[pIndex]; }

    // Outside the capacity the call is refused after the report. Past the size, the size grows to
    // pIndex + 1 and the slots skipped over keep their zero or stale contents.
    void SetAt(int pIndex, const T& pItem)
    {
        if (pIndex < 0 || pIndex >= GetCapacity()) {
            MOX_REPORT(sgFile, detail::arrayreports::sgSetOutsideCapacity.mText);
            return;
        }
        if (pIndex >= Head()->mSize) Head()->mSize = pIndex + 1;
        std::memmove(GetArray() + pIndex, &pItem, sizeof(T));
    }

    void SetLast(const T& pItem) { SetAt(GetSize() - 1, pItem); }

    // Appends; capacity doubles when full (0, 1, 2, 4, 8, ...). Returns the new index, or -1 when
    // memory ran out. pItem may live inside this array.
    int Add(const T& pItem)
    {
        const int lSize = GetSize();
        if (lSize < GetCapacity()) {
            std::memcpy(GetArray() + lSize, &pItem, sizeof(T));
            Head()->mSize = lSize + 1;
            return lSize;
        }
        alignas(T) unsigned char lCopy[sizeof(T)];
        std::memcpy(lCopy, &pItem, sizeof(T));
        const int64_t lWanted = GetCapacity() * int64_t(2) > 1 ? GetCapacity() * int64_t(2) : 1;
        const int lNewCapacity = lWanted > INT_MAX ? INT_MAX : static_cast<int>(lWanted);
        const int lOldCapacity = GetCapacity();
        if (lNewCapacity <= lSize || !Allocate(lNewCapacity)) {
            MOX_REPORT(sgFile, detail::arrayreports::sgNoMemory.mText);
            return -1;
        }
        // The new reserved slots start zeroed, so that a read past the size inside the capacity (which
        // a range error lets go ahead) never sees uninitialised memory.
        std::memset(static_cast<void*>(GetArray() + lOldCapacity), 0, Bytes(lNewCapacity - lOldCapacity));
        Head()->mCapacity = lNewCapacity;
        return Add(*reinterpret_cast<const T*>(lCopy));
    }

    // Removes one element, shifting the later ones down, and returns a copy of it.
    T RemoveAt(int pIndex)
    {
        const int64_t lEnd = int64_t(pIndex) + 1;
        const int lSize = GetSize();
        if (lEnd < 0 || lEnd > lSize) MOX_REPORT(sgFile, detail::arrayreports::sgIndexOutside.mText);
        const T lItem = GetAt(pIndex);
        if (pIndex < 0 || pIndex >= GetCapacity()) return lItem;
        if (lEnd < lSize) std::memmove(GetArray() + pIndex, GetArray() + lEnd, Bytes(lSize - static_cast<int>(lEnd)));
        if (lSize > 0) Head()->mSize = lSize - 1;
        return lItem;
    }

    // First index from pStartIndex upward whose element == pItem, or -1.
    int Find(const T& pItem, int pStartIndex = 0) const
    {
        if (pStartIndex < 0) {
            MOX_REPORT(sgFile, detail::arrayreports::sgFindFromNegative.mText);
            return -1;
        }
        const int lSize = GetSize();
        if (lSize < 0) {
            MOX_REPORT(sgFile, detail::arrayreports::sgNegativeSize.mText);
            return -1;
        }
        const T* lData = GetArray();
        for (int i = pStartIndex; i < lSize; ++i)
            if (lData[i] == pItem) return i;
        return -1;
    }

    // Appends pOther's elements as one block after an exact reallocation; returns the result of Grow.
    bool AddArray(const MoxArray& pOther)
    {
        const int lOldSize = GetSize();
        const int lCount = pOther.GetSize();
        if (!Grow(lCount)) return false;
        // Self-append reads the first lOldSize elements of the (possibly moved) block.
        if (lCount > 0) std::memcpy(GetArray() + lOldSize, pOther.GetArray(), Bytes(lCount));
        return true;
    }

    // Never shrinks. Growing zero-fills every slot from the size to the new capacity.
    bool Reserve(int pCapacity)
    {
        if (pCapacity < 0) {
            MOX_REPORT(sgFile, detail::arrayreports::sgNegativeCapacity.mText);
            return false;
        }
        if (pCapacity <= GetCapacity()) return true;
        if (!Allocate(pCapacity)) {
            MOX_REPORT(sgFile, detail::arrayreports::sgNoMemory.mText);
            return false;
        }
        Head()->mCapacity = pCapacity;
        const int lSize = Head()->mSize;
        std::memset(static_cast<void*>(GetArray() + lSize), 0, Bytes(pCapacity - lSize));
        return true;
    }

    // With pReserve the block is reallocated only to grow; without it, to exactly pSize. The zero
    // fill follows the growth of the block, not of the size: slots exposed inside the old capacity
    // keep what the reserved area held.
    bool Resize(int pSize, bool pReserve = false) { return ResizeImpl(pSize, pReserve, true, __func__); }
    bool ResizeUninitialized(int pSize, bool pReserve = false) { return ResizeImpl(pSize, pReserve, false, __func__); }

    // Resize(size + pSize, false), refused without change when the sum passes INT_MAX.
    bool Grow(int pSize)
    {
        const int64_t lSum = int64_t(GetSize()) + pSize;
        if (lSum > INT_MAX) return false;
        return Resize(static_cast<int>(lSum), false);
    }

    // Shrinks the block to exactly the size; an empty array loses its block.
    bool Compact() { return Resize(GetSize(), false); }

    // Releases the block: size and capacity become 0.
    void Clear()
    {
        MoxFree(mData);
        mData = nullptr;
    }

    // Invariants: no block, or 0 <= size <= capacity.
    bool IsValid() const { return !mData || (Head()->mSize >= 0 && Head()->mSize <= Head()->mCapacity); }

private:
    static constexpr const char* sgFile = "core/base/moxarray";

    struct Header {
        int mSize;
        int mCapacity;
    };

    Header* Head() const { return static_cast<Header*>(mData); }
    static size_t Bytes(int pCount) { return static_cast<size_t>(pCount) * sizeof(T); }

    // The real slot inside the capacity, else the zero-filled per-thread scratch element.
    T& Slot(int pIndex) const
    {
        if (pIndex >= 0 && pIndex < GetCapacity()) return GetArray()[pIndex];
        alignas(T) static thread_local unsigned char sgScratch[sizeof(T)];
        std::memset(sgScratch, 0, sizeof(T));
        return *reinterpret_cast<T*>(sgScratch);
    }

    // Reallocates the block for pCapacity elements; a new block starts with size and capacity 0.
    // Callers set the capacity. On failure the old block is released and the array has no block.
    bool Allocate(int pCapacity)
    {
        const size_t lBytes = MoxAllocSizeAdd(MoxAllocSize(static_cast<size_t>(pCapacity), sizeof(T)), Alignment);
        void* lBlock = MoxRealloc(mData, lBytes);
        if (!lBlock) {
            Clear();
            return false;
        }
        if (!mData) {
            static_cast<Header*>(lBlock)->mSize = 0;
            static_cast<Header*>(lBlock)->mCapacity = 0;
        }
        mData = lBlock;
        return true;
    }

    // The shared steps of Resize and ResizeUninitialized; reports carry pFunction, the caller's name.
    bool ResizeImpl(int pSize, bool pReserve, bool pZeroFill, const char* pFunction)
    {
        const int lOldSize = GetSize();
        const int lOldCapacity = GetCapacity();
        if (pSize == lOldSize && lOldSize == lOldCapacity) return true;
        if (pSize == 0) {
            Clear();
            return true;
        }
        if (pSize < 0) {
            _MoxAssert(sgFile, pFunction, __LINE__, detail::arrayreports::sgNegativeResize.mText);
            return false;
        }
        const bool lReallocate = pReserve ? pSize > lOldCapacity : pSize != lOldCapacity;
        if (lReallocate) {
            if (!Allocate(pSize)) {
                _MoxAssert(sgFile, pFunction, __LINE__, detail::arrayreports::sgNoMemory.mText);
                return false;
            }
            if (pZeroFill && pSize > lOldCapacity)
                std::memset(static_cast<void*>(GetArray() + lOldSize), 0, Bytes(pSize - lOldSize));
            Head()->mCapacity = pSize;
        }
        Head()->mSize = pSize;
        return true;
    }

    void* mData = nullptr;
};

// Deletes each pointed-to object (destructor, then MoxFree) in index order, then clears the array.
template <class T, int Alignment>
void MoxArrayDelete(MoxArray<T*, Alignment>& pArray)
{
    const int lCount = pArray.GetSize();
    T** lData = pArray.GetArray();
    for (int i = 0; i < lCount; ++i) MoxDelete(lData[i]);
    pArray.Clear();
}

}  // namespace moxsdk
