#pragma once
// MoxScratch: the working memory of one algorithm, an uninitialised block of plain values from
// MoxMalloc that is freed with the object. Unlike MoxArray it makes no report when the memory cannot be
// had: Get() is then null, and the caller reports the block under its own name and from its own
// function, then takes its own fallback path.

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "moxsdk/core/moxmemory.h"

namespace moxsdk {

template <class T>
class MoxScratch {
    static_assert(std::is_trivially_copyable<T>::value, "scratch holds plain values");

public:
    // pCount values (at least one is allocated, so that an empty block is still a valid pointer); a
    // negative count gives no block.
    explicit MoxScratch(int64_t pCount)
        : mData(pCount < 0
                    ? nullptr
                    : static_cast<T*>(MoxMalloc(MoxAllocSize(static_cast<size_t>(pCount > 0 ? pCount : 1), sizeof(T)))))
    {}
    ~MoxScratch() { MoxFree(mData); }
    MoxScratch(const MoxScratch&) = delete;
    MoxScratch& operator=(const MoxScratch&) = delete;
    MoxScratch(MoxScratch&&) = delete;
    MoxScratch& operator=(MoxScratch&&) = delete;

    T* Get() const { return mData; }
    T& operator[](int64_t pIndex) const { return mData[pIndex]; }

private:
    T* mData;
};

}  // namespace moxsdk
