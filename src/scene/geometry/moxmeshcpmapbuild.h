#pragma once
// The counting-sort steps shared by the two fills of MoxMesh::ControlPointToVerticesMap (one per control
// point: count its entries, turn the counts into offsets, place the entries). Private to the library.

#include <cstring>

#include "moxsdk/core/base/moxarray.h"

namespace moxsdk {
namespace detail {

// pCounters becomes pCount zeros and pOffsets pCount entries (their values are set by the prefix pass).
// False when either array could not be sized so (memory ran out, or pCount is not positive).
inline bool MoxStartControlPointCounts(MoxArray<int>& pCounters, MoxArray<int>& pOffsets, int pCount)
{
    pCounters.Resize(pCount);
    if (pCounters.GetCount() != pCount || pCount < 1) return false;
    std::memset(pCounters.GetArray(), 0, sizeof(int) * static_cast<size_t>(pCount));
    pOffsets.Resize(pCount);
    return pOffsets.GetCount() == pCount;
}

// Offsets from the counts: pOffsets[0] = 0, pOffsets[i] = pOffsets[i - 1] + count of i - 1. Every counter
// is zero afterwards, ready for the placement pass. Both arrays hold pCount >= 1 entries.
inline void MoxComputeControlPointOffsets(MoxArray<int>& pOffsets, MoxArray<int>& pCounters, int pCount)
{
    int* lOffsets = pOffsets.GetArray();
    int* lCounters = pCounters.GetArray();
    lOffsets[0] = 0;
    for (int i = 1; i < pCount; ++i) {
        lOffsets[i] = lOffsets[i - 1] + lCounters[i - 1];
        lCounters[i - 1] = 0;
    }
    lCounters[pCount - 1] = 0;
}

}  // namespace detail
}  // namespace moxsdk
