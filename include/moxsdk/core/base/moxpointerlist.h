#pragma once
// MoxPointerList<T>: a growable list of non-owning T* for bookkeeping (the manager's objects, containment,
// references, deformer, cluster, channel, shape and layer lists).
//
// Unlike MoxArray, a failed growth keeps the list as it was: losing a bookkeeping list under memory
// pressure would leak what it owns or leave dangling pointers behind a destroyed object. A failed growth
// is reported as "mData" (file "core/base/moxpointerlist") and Add returns -1. The work is done once, on
// untyped pointers (MoxPointerListBase); the template only casts.

namespace moxsdk {

class MoxPointerListBase {
public:
    MoxPointerListBase() = default;
    MoxPointerListBase(const MoxPointerListBase&) = delete;
    MoxPointerListBase& operator=(const MoxPointerListBase&) = delete;
    ~MoxPointerListBase() { Clear(); }

    int GetCount() const { return mCount; }
    // Removes entry pIndex, keeping the order of the others; false outside the list. O(count).
    bool RemoveAt(int pIndex);
    // Removes entry pIndex by moving the last entry into its place; false outside the list. O(1).
    bool RemoveAtSwap(int pIndex);
    // Releases the storage; the pointed-to objects are not touched.
    void Clear();
    // Invariants: 0 <= count <= capacity; storage present when the capacity is positive.
    bool IsValid() const { return mCount >= 0 && mCount <= mCapacity && (mCapacity == 0 || mData); }

protected:
    void* GetAtRaw(int pIndex) const { return pIndex >= 0 && pIndex < mCount ? mData[pIndex] : nullptr; }
    void SetAtRaw(int pIndex, void* pItem)
    {
        if (pIndex >= 0 && pIndex < mCount) mData[pIndex] = pItem;
    }
    int AddRaw(void* pItem);

public:
    // First index of pItem, or -1. O(count).
    int Find(const void* pItem) const;
    // Removes every occurrence of pItem, keeping the order of the others; returns how many. O(count).
    int RemoveAll(const void* pItem);

private:
    void** mData = nullptr;
    int mCount = 0;
    int mCapacity = 0;
};

template <class T>
class MoxPointerList : public MoxPointerListBase {
public:
    // Entry pIndex, or null when pIndex is not in 0 .. count - 1.
    T* GetAt(int pIndex) const { return static_cast<T*>(GetAtRaw(pIndex)); }
    // Writes entry pIndex; does nothing outside 0 .. count - 1.
    void SetAt(int pIndex, T* pItem) { SetAtRaw(pIndex, const_cast<void*>(static_cast<const void*>(pItem))); }
    // Appends; returns the new index, or -1 (list unchanged) when memory ran out. Amortised O(1).
    int Add(T* pItem) { return AddRaw(const_cast<void*>(static_cast<const void*>(pItem))); }
};

}  // namespace moxsdk
