#include "moxsdk/core/base/moxcontainerallocators.h"

#include "core/detail/moxcorereports.h"
#include "moxsdk/core/moxassert.h"
#include "moxsdk/core/moxmemory.h"

namespace moxsdk {

namespace {

constexpr const char* sgFile = "core/base/moxcontainerallocators";
using namespace detail::allocatorreports;

}  // namespace

void* MoxBaseAllocator::AllocateRecords(size_t pRecordCount) const
{
    void* lRecords = MoxMalloc(MoxAllocSize(pRecordCount, mRecordSize));
    if (!lRecords) MOX_REPORT(sgFile, sgNoRecordMemory.mText);
    return lRecords;
}

void MoxBaseAllocator::FreeMemory(void* pRecord)
{
    MoxFree(pRecord);
}

MoxHungryAllocator::MemoryBlock::MemoryBlock(size_t pSize)
    : mNextBlock(nullptr), mData(nullptr), mFreeData(nullptr), mEnd(nullptr)
{
    mData = static_cast<char*>(MoxMalloc(pSize));
    if (!mData) MOX_REPORT(sgFile, sgNoBlockMemory.mText);
    mFreeData = mData;
    // A block without memory keeps mEnd == mFreeData == nullptr and so refuses every request.
    mEnd = mData ? mData + pSize : nullptr;
}

MoxHungryAllocator::MemoryBlock::~MemoryBlock()
{
    MoxFree(mData);
}

void* MoxHungryAllocator::MemoryBlock::GetChunk(size_t pSize)
{
    // mFreeData + pSize >= mEnd, written on the remaining length so that no pointer is formed past
    // the block.
    if (pSize >= static_cast<size_t>(mEnd - mFreeData)) return nullptr;
    char* lChunk = mFreeData;
    mFreeData += pSize;
    return lChunk;
}

MoxHungryAllocator::MoxHungryAllocator(size_t pRecordSize)
    : mRecordSize(pRecordSize), mRecordPoolSize(0), mData(nullptr)
{}

MoxHungryAllocator::~MoxHungryAllocator()
{
    ReleaseAll();
}

void MoxHungryAllocator::ReleaseAll()
{
    while (mData) {
        MemoryBlock* lNext = mData->mNextBlock;
        MoxDelete(mData);
        mData = lNext;
    }
    mRecordPoolSize = 0;
}

void MoxHungryAllocator::Reserve(size_t pRecordCount)
{
    AddBlock(pRecordCount);
}

void* MoxHungryAllocator::AllocateRecords(size_t pRecordCount)
{
    if (mRecordSize == 0) return nullptr;
    const size_t lBytes = MoxAllocSize(pRecordCount, mRecordSize);
    for (MemoryBlock* lBlock = mData; lBlock; lBlock = lBlock->mNextBlock) {
        if (void* lChunk = lBlock->GetChunk(lBytes)) return lChunk;
    }
    // Grow until the newest block serves the request. Only the new block needs asking: the older ones
    // have already refused and have not changed. The loop ends because the pool grows by at least an
    // eighth each turn, so the growth soon exceeds pRecordCount and the new block serves.
    for (;;) {
        const size_t lGrowth = mRecordPoolSize >= 8 ? mRecordPoolSize / 8 : 2;
        if (!AddBlock(lGrowth >= pRecordCount ? lGrowth : pRecordCount)) return nullptr;
        if (void* lChunk = mData->GetChunk(lBytes)) return lChunk;
    }
}

// Links a new block of pRecordCount records in front of the list and counts it in the pool; false,
// with nothing changed, when the block or its memory cannot be had.
bool MoxHungryAllocator::AddBlock(size_t pRecordCount)
{
    const size_t lBytes = MoxAllocSize(pRecordCount, mRecordSize);
    MemoryBlock* lBlock = MoxNew<MemoryBlock>(lBytes);
    if (!lBlock) {
        MOX_REPORT(sgFile, sgNoBlock.mText);
        return false;
    }
    // The block has reported its own missing memory.
    if (!lBlock->mData && lBytes > 0) {
        MoxDelete(lBlock);
        return false;
    }
    lBlock->mNextBlock = mData;
    mData = lBlock;
    mRecordPoolSize += pRecordCount;
    return true;
}

}  // namespace moxsdk
