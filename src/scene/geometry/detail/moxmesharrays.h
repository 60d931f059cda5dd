#pragma once
// Scratch arrays of the mesh algorithms: a MoxArray filled with one value, and items grouped by key.

#include <algorithm>
#include <climits>
#include <cstring>

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

// Items grouped by key (count, prefix sum, fill): group g holds, in increasing order, the items i with
// key g, at mItems[Begin(g) .. End(g)). Items whose key is outside 0 .. group count - 1 are left out.
struct MoxGroups {
    int Begin(int pGroup) const { return mOffsets.GetArray()[pGroup]; }
    int End(int pGroup) const { return mOffsets.GetArray()[pGroup + 1]; }
    int Item(int pPosition) const { return mItems.GetArray()[pPosition]; }

    MoxArray<int> mOffsets;
    MoxArray<int> mItems;
};

// False when memory ran out.
inline bool MoxBuildGroups(const int* pKeyOf, int pItemCount, int pGroupCount, MoxGroups& pGroups)
{
    if (pGroupCount < 0 || pGroupCount == INT_MAX || !pGroups.mOffsets.Resize(pGroupCount + 1)) return false;
    int* lOffsets = pGroups.mOffsets.GetArray();
    std::memset(lOffsets, 0, static_cast<size_t>(pGroupCount + 1) * sizeof(int));
    for (int i = 0; i < pItemCount; ++i)
        if (static_cast<unsigned>(pKeyOf[i]) < static_cast<unsigned>(pGroupCount)) ++lOffsets[pKeyOf[i] + 1];
    for (int g = 0; g < pGroupCount; ++g) lOffsets[g + 1] += lOffsets[g];
    if (!pGroups.mItems.Resize(lOffsets[pGroupCount])) return false;
    // Fill with the group starts as cursors; each cursor ends at the next group's start, so shifting the
    // offsets up by one restores them.
    int* lItems = pGroups.mItems.GetArray();
    for (int i = 0; i < pItemCount; ++i)
        if (static_cast<unsigned>(pKeyOf[i]) < static_cast<unsigned>(pGroupCount)) lItems[lOffsets[pKeyOf[i]]++] = i;
    for (int g = pGroupCount; g > 0; --g) lOffsets[g] = lOffsets[g - 1];
    lOffsets[0] = 0;
    return true;
}

}  // namespace detail
}  // namespace moxsdk
