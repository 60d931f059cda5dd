#pragma once
// The counting sort every grouping of the library is built on: items 0 .. n - 1 with small integer keys
// 0 .. keyCount - 1, grouped by key in three passes (count, prefix sum, place) over one array of
// keyCount + 1 offsets. The passes are separate so that a caller can count while it does other work (as
// the tangent records do) or place something other than the item's number (an edge key, a corner pair).
// Items whose key is outside 0 .. keyCount - 1 are left out of every pass. Placement is stable: a group
// holds its items in increasing item order. Private to the library.

#include <cstdint>

namespace moxsdk {
namespace detail {

// True when pKey names one of pKeyCount groups.
inline bool MoxIsGroupKey(int64_t pKey, int pKeyCount)
{
    return pKey >= 0 && pKey < pKeyCount;
}

// Count pass: pOffsets[0 .. pKeyCount] become zero, then pOffsets[k + 1] counts the items whose key
// (pKeyOf(item)) is k.
template <class KeyOf>
void MoxCountKeys(int pItemCount, int pKeyCount, KeyOf pKeyOf, int* pOffsets)
{
    for (int k = 0; k <= pKeyCount; ++k) pOffsets[k] = 0;
    for (int i = 0; i < pItemCount; ++i) {
        const int64_t lKey = pKeyOf(i);
        if (MoxIsGroupKey(lKey, pKeyCount)) ++pOffsets[lKey + 1];
    }
}

// Prefix-sum pass: counts at pOffsets[k + 1] become group starts, pOffsets[k] = first slot of group k and
// pOffsets[pKeyCount] = the number of counted items, which is returned.
inline int MoxPrefixSum(int* pOffsets, int pKeyCount)
{
    for (int k = 0; k < pKeyCount; ++k) pOffsets[k + 1] += pOffsets[k];
    return pOffsets[pKeyCount];
}

// Place pass: pPlace(item, slot) for every counted item, in item order, with slot running through its
// group. Each pOffsets[k] is used as group k's cursor and ends where group k + 1 starts; MoxRestoreStarts
// puts the starts back.
template <class KeyOf, class Place>
void MoxPlaceByKey(int pItemCount, int pKeyCount, KeyOf pKeyOf, int* pOffsets, Place pPlace)
{
    for (int i = 0; i < pItemCount; ++i) {
        const int64_t lKey = pKeyOf(i);
        if (MoxIsGroupKey(lKey, pKeyCount)) pPlace(i, pOffsets[lKey]++);
    }
}

// After the place pass: the cursors, each at the next group's start, shift up by one to become the starts
// again (pOffsets[0] = 0).
inline void MoxRestoreStarts(int* pOffsets, int pKeyCount)
{
    for (int k = pKeyCount; k > 0; --k) pOffsets[k] = pOffsets[k - 1];
    pOffsets[0] = 0;
}

// The whole sort over an array of keys: group k holds the items pItems[pOffsets[k] .. pOffsets[k + 1]).
// pOffsets has pKeyCount + 1 entries and pItems room for every item with a key in range. Returns the
// number of items placed.
template <class Key>
int MoxGroupByKey(const Key* pKeys, int pItemCount, int pKeyCount, int* pOffsets, int* pItems)
{
    const auto lKeyOf = [pKeys](int pItem) { return static_cast<int64_t>(pKeys[pItem]); };
    MoxCountKeys(pItemCount, pKeyCount, lKeyOf, pOffsets);
    const int lPlaced = MoxPrefixSum(pOffsets, pKeyCount);
    MoxPlaceByKey(pItemCount, pKeyCount, lKeyOf, pOffsets, [pItems](int pItem, int pSlot) { pItems[pSlot] = pItem; });
    MoxRestoreStarts(pOffsets, pKeyCount);
    return lPlaced;
}

}  // namespace detail
}  // namespace moxsdk
