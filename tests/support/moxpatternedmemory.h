#pragma once
// Memory with something in it, so that a value an operation leaves unwritten shows in a bit-for-bit
// comparison rather than reading as the zero a new page holds: the byte 0xFF (each double a NaN) in every
// block MoxMalloc hands out while a PatternedMalloc lives, and in the values and the storage past them of
// an element array that FillWithPattern is given.

#include <cstdlib>
#include <cstring>

#include "moxsdk/core/moxmemory.h"
#include "moxsdk/scene/geometry/moxlayer.h"

namespace moxtest {

constexpr unsigned char sgPatternByte = 0xFF;

class PatternedMalloc {
public:
    // Only the malloc handler changes: its blocks are the C library's, which the default free, realloc
    // and calloc handlers accept.
    PatternedMalloc() { moxsdk::MoxSetMallocHandler(&Malloc); }
    ~PatternedMalloc() { moxsdk::MoxSetMallocHandler(nullptr); }
    PatternedMalloc(const PatternedMalloc&) = delete;
    PatternedMalloc& operator=(const PatternedMalloc&) = delete;
    PatternedMalloc(PatternedMalloc&&) = delete;
    PatternedMalloc& operator=(PatternedMalloc&&) = delete;

private:
    static void* Malloc(size_t pSize)
    {
        void* lBlock = std::malloc(pSize);
        if (lBlock) std::memset(lBlock, sgPatternByte, pSize);
        return lBlock;
    }
};

// Every value of pArray (when not null) and the storage of five more past its count filled with the
// pattern; the count stays.
inline void FillWithPattern(moxsdk::MoxLayerElementArray* pArray)
{
    if (!pArray) return;
    const int lCount = pArray->GetCount();
    pArray->SetCount(lCount + 5);
    void* lValues = pArray->GetLocked();
    std::memset(lValues, sgPatternByte,
                size_t(moxsdk::MoxLayerElementValueSize(pArray->GetDataType())) * size_t(lCount + 5));
    pArray->Release(&lValues);
    pArray->SetCount(lCount);
}

}  // namespace moxtest
