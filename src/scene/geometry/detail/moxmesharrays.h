#pragma once
// Scratch arrays of the mesh algorithms: a MoxArray filled with one value, and items grouped by key.

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>

#include "core/base/moxcountingsort.h"
#include "moxsdk/core/base/moxarray.h"

namespace moxsdk {
namespace detail {

// A MoxArray of pCount copies of pValue; false when memory ran out. A new block comes zero-filled, so a
// zero value needs no second pass.
template <class T>
bool MoxFillArray(MoxArray<T>& pArray, int pCount, const T& pValue)
{
    const bool lFresh = pArray.GetCapacity() == 0;
    if (!pArray.Resize(pCount)) return false;
    const T lZero{};
    if (!lFresh || std::memcmp(static_cast<const void*>(&pValue), static_cast<const void*>(&lZero), sizeof(T)) != 0)
        std::fill(pArray.GetArray(), pArray.GetArray() + pCount, pValue);
    return true;
}

// Items grouped by key (the counting sort of core/base/moxcountingsort.h): group g holds, in increasing
// order, the items i with key g, at mItems[Begin(g) .. End(g)). Items whose key is outside
// 0 .. group count - 1 are left out.
struct MoxGroups {
    int Begin(int pGroup) const { return mOffsets.GetArray()[pGroup]; }
    int End(int pGroup) const { return mOffsets.GetArray()[pGroup + 1]; }
    int Item(int pPosition) const { return mItems.GetArray()[pPosition]; }

    MoxArray<int> mOffsets;
    MoxArray<int> mItems;
};

// False when memory ran out. Neither array is zero-filled: every entry is written.
inline bool MoxBuildGroups(const int* pKeyOf, int pItemCount, int pGroupCount, MoxGroups& pGroups)
{
    if (pGroupCount < 0 || pGroupCount == INT_MAX || !pGroups.mOffsets.ResizeUninitialized(pGroupCount + 1))
        return false;
    int* lOffsets = pGroups.mOffsets.GetArray();
    const auto lKeyOf = [pKeyOf](int pItem) { return static_cast<int64_t>(pKeyOf[pItem]); };
    MoxCountKeys(pItemCount, pGroupCount, lKeyOf, lOffsets);
    if (!pGroups.mItems.ResizeUninitialized(MoxPrefixSum(lOffsets, pGroupCount))) return false;
    int* lItems = pGroups.mItems.GetArray();
    MoxPlaceByKey(pItemCount, pGroupCount, lKeyOf, lOffsets, [lItems](int pItem, int pSlot) { lItems[pSlot] = pItem; });
    MoxRestoreStarts(lOffsets, pGroupCount);
    return true;
}

}  // namespace detail
}  // namespace moxsdk
