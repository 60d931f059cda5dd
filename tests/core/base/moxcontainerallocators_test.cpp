#include "moxsdk/core/base/moxcontainerallocators.h"
#include "moxsdk/core/base/moxredblacktree.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <random>
#include <vector>

#include "moxsdk/core/moxmemory.h"
#include "support/moxtestsupport.h"

namespace {

using moxsdk::MoxBaseAllocator;
using moxsdk::MoxHungryAllocator;
typedef MoxHungryAllocator::MemoryBlock MemoryBlock;

// The blocks of a hungry allocator, oldest first.
std::vector<const MemoryBlock*> BlocksOldestFirst(const MoxHungryAllocator& pAllocator)
{
    std::vector<const MemoryBlock*> lBlocks;
    for (const MemoryBlock* lBlock = pAllocator.GetBlocks(); lBlock; lBlock = lBlock->GetNextBlock())
        lBlocks.insert(lBlocks.begin(), lBlock);
    return lBlocks;
}

// The capacity of each block in records, newest first.
std::vector<size_t> BlockRecordCounts(const MoxHungryAllocator& pAllocator)
{
    std::vector<size_t> lCounts;
    for (const MemoryBlock* lBlock = pAllocator.GetBlocks(); lBlock; lBlock = lBlock->GetNextBlock())
        lCounts.push_back(static_cast<size_t>(lBlock->GetEnd() - lBlock->GetData()) / pAllocator.GetRecordSize());
    return lCounts;
}

// A plain transcription of the hungry allocator's rules: blocks of byte sizes with a used count,
// newest last. Allocate answers (block index from the oldest, byte offset in the block).
class HungryModel {
public:
    explicit HungryModel(size_t pRecordSize) : mRecordSize(pRecordSize) {}

    std::pair<size_t, size_t> Allocate(size_t pCount)
    {
        const size_t lBytes = pCount * mRecordSize;
        for (;;) {
            for (size_t i = mBlocks.size(); i-- > 0;) {
                Block& lBlock = mBlocks[i];
                if (lBlock.mUsed + lBytes >= lBlock.mSize) continue;
                const size_t lOffset = lBlock.mUsed;
                lBlock.mUsed += lBytes;
                return {i, lOffset};
            }
            const size_t lGrowth = mPool >= 8 ? mPool / 8 : 2;
            const size_t lReserve = lGrowth >= pCount ? lGrowth : pCount;
            mBlocks.push_back({lReserve * mRecordSize, 0});
            mPool += lReserve;
        }
    }

    struct Block {
        size_t mSize;
        size_t mUsed;
    };
    size_t mRecordSize;
    size_t mPool = 0;
    std::vector<Block> mBlocks;
};

TEST(MoxBaseAllocator, AllocateRecordsAsksTheHeapForCountTimesRecordSize)
{
    moxtest::AllocationTracker lTracker;
    MoxBaseAllocator lAllocator(24);
    void* lRecords = lAllocator.AllocateRecords(3);
    ASSERT_NE(lRecords, nullptr);
    ASSERT_EQ(lTracker.Sizes(), std::vector<size_t>{72});
    EXPECT_EQ(lTracker.Live(), 1);
    moxsdk::MoxBaseAllocator::FreeMemory(lRecords);
    EXPECT_EQ(lTracker.Live(), 0);
}

TEST(MoxBaseAllocator, ReserveMakesNoRequestAndFailureGivesNull)
{
    moxtest::AllocationTracker lTracker;
    MoxBaseAllocator lAllocator(16);
    lAllocator.Reserve(1000);
    EXPECT_EQ(lTracker.Requests(), 0);
    lTracker.FailAll(true);
    EXPECT_EQ(lAllocator.AllocateRecords(1), nullptr);
    EXPECT_EQ(lAllocator.AllocateRecords(SIZE_MAX / 2), nullptr);
    EXPECT_EQ(lTracker.Live(), 0);
}

TEST(MoxHungryMemoryBlock, GetChunkRefusesARequestEndingExactlyAtTheEnd)
{
    moxtest::AllocationTracker lTracker;
    MemoryBlock lBlock(32);
    ASSERT_NE(lBlock.GetData(), nullptr);
    EXPECT_EQ(lBlock.GetNextBlock(), nullptr);
    EXPECT_EQ(lBlock.GetFreeData(), lBlock.GetData());
    EXPECT_EQ(lBlock.GetEnd(), lBlock.GetData() + 32);
    EXPECT_EQ(lBlock.GetChunk(32), nullptr);
    EXPECT_EQ(lBlock.GetChunk(33), nullptr);
    EXPECT_EQ(lBlock.GetChunk(16), lBlock.GetData());
    EXPECT_EQ(lBlock.GetChunk(16), nullptr);  // would end exactly at the block's end
    EXPECT_EQ(lBlock.GetChunk(15), lBlock.GetData() + 16);
    EXPECT_EQ(lBlock.GetFreeData(), lBlock.GetData() + 31);
    EXPECT_EQ(lBlock.GetChunk(1), nullptr);
    EXPECT_EQ(lTracker.Sizes(), std::vector<size_t>{32});
}

TEST(MoxHungryMemoryBlock, BlockWithoutMemoryServesNothing)
{
    moxtest::AllocationTracker lTracker;
    lTracker.FailAll(true);
    MemoryBlock lBlock(64);
    EXPECT_EQ(lBlock.GetData(), nullptr);
    EXPECT_EQ(lBlock.GetFreeData(), nullptr);
    EXPECT_EQ(lBlock.GetEnd(), nullptr);
    EXPECT_EQ(lBlock.GetChunk(0), nullptr);
    EXPECT_EQ(lBlock.GetChunk(16), nullptr);
}

TEST(MoxHungryAllocator, FreshAllocatorReservesTwoRecordsAndTheSecondRequestReservesAgain)
{
    moxtest::AllocationTracker lTracker;
    MoxHungryAllocator lAllocator(16);
    EXPECT_EQ(lAllocator.GetRecordSize(), 16u);
    EXPECT_EQ(lAllocator.GetRecordPoolSize(), 0u);
    EXPECT_EQ(lAllocator.GetBlocks(), nullptr);

    void* lFirst = lAllocator.AllocateRecords(1);
    const MemoryBlock* lFirstBlock = lAllocator.GetBlocks();
    ASSERT_NE(lFirstBlock, nullptr);
    EXPECT_EQ(lFirst, lFirstBlock->GetData());
    EXPECT_EQ(lFirstBlock->GetEnd() - lFirstBlock->GetData(), 32);
    EXPECT_EQ(lAllocator.GetRecordPoolSize(), 2u);
    EXPECT_EQ(lTracker.Sizes(), (std::vector<size_t>{sizeof(MemoryBlock), 32}));

    // The second record would end exactly at the first block's end: refused, a new block of 2 serves.
    void* lSecond = lAllocator.AllocateRecords(1);
    const MemoryBlock* lSecondBlock = lAllocator.GetBlocks();
    ASSERT_NE(lSecondBlock, lFirstBlock);
    EXPECT_EQ(lSecondBlock->GetNextBlock(), lFirstBlock);
    EXPECT_EQ(lSecond, lSecondBlock->GetData());
    EXPECT_EQ(lFirstBlock->GetFreeData(), lFirstBlock->GetData() + 16);
    EXPECT_EQ(lAllocator.GetRecordPoolSize(), 4u);
    EXPECT_EQ(lTracker.Sizes(), (std::vector<size_t>{sizeof(MemoryBlock), 32, sizeof(MemoryBlock), 32}));
}

TEST(MoxHungryAllocator, AtEightPooledRecordsOneRecordBlocksAreReservedUntilSixteen)
{
    moxtest::AllocationTracker lTracker;
    MoxHungryAllocator lAllocator(16);
    // A 2-record block serves a single one-record request (the second would end exactly at its end),
    // so below 8 pooled records every request reserves a new block of 2, not every second one.
    for (int i = 1; i <= 4; ++i) {
        ASSERT_NE(lAllocator.AllocateRecords(1), nullptr);
        EXPECT_EQ(lAllocator.GetRecordPoolSize(), static_cast<size_t>(2 * i)) << "request " << i;
    }
    EXPECT_EQ(BlockRecordCounts(lAllocator), (std::vector<size_t>{2, 2, 2, 2}));
    const size_t lRequestsBefore = lTracker.Sizes().size();

    // Request 5, made at 8 pooled records: growth 1 reserves 1-record blocks that cannot serve, 8 of
    // them, until the pool holds 16; then growth 2 reserves a block of 2 that serves.
    void* lRecord = lAllocator.AllocateRecords(1);
    EXPECT_EQ(lAllocator.GetRecordPoolSize(), 18u);
    EXPECT_EQ(BlockRecordCounts(lAllocator), (std::vector<size_t>{2, 1, 1, 1, 1, 1, 1, 1, 1, 2, 2, 2, 2}));
    EXPECT_EQ(lRecord, lAllocator.GetBlocks()->GetData());
    std::vector<size_t> lExpected;
    for (int i = 0; i < 8; ++i) lExpected.insert(lExpected.end(), {sizeof(MemoryBlock), 16});
    lExpected.insert(lExpected.end(), {sizeof(MemoryBlock), 32});
    const std::vector<size_t> lNewRequests(lTracker.Sizes().begin() + static_cast<long>(lRequestsBefore),
                                           lTracker.Sizes().end());
    EXPECT_EQ(lNewRequests, lExpected);

    // From 18 the growth is 2 again: one block of 2 per request until 24, then blocks of 3 serve two.
    for (size_t lPool : {20u, 22u, 24u, 27u, 27u, 30u, 30u}) {
        ASSERT_NE(lAllocator.AllocateRecords(1), nullptr);
        EXPECT_EQ(lAllocator.GetRecordPoolSize(), lPool);
    }
}

TEST(MoxHungryAllocator, BlockReservedForExactlyNRecordsCannotServeN)
{
    moxtest::AllocationTracker lTracker;
    MoxHungryAllocator lAllocator(8);
    lAllocator.Reserve(3);
    const MemoryBlock* lReserved = lAllocator.GetBlocks();
    ASSERT_NE(lReserved, nullptr);
    EXPECT_EQ(lAllocator.GetRecordPoolSize(), 3u);
    void* lRecords = lAllocator.AllocateRecords(3);
    ASSERT_NE(lRecords, nullptr);
    EXPECT_EQ(lReserved->GetFreeData(), lReserved->GetData());
    // pool 3: growth 2 < 3, so blocks of 3 are reserved (each refusing) until the growth passes 3:
    // 6, 9, ..., 24 (growth 3, still an exact fit), 27, 30, 33, then a block of 4 serves.
    EXPECT_EQ(lAllocator.GetRecordPoolSize(), 37u);
    EXPECT_EQ(lRecords, lAllocator.GetBlocks()->GetData());
    EXPECT_EQ(BlockRecordCounts(lAllocator), (std::vector<size_t>{4, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3}));
}

TEST(MoxHungryAllocator, MatchesPlainModelOverRandomRequestsWithFreeMemoryInterleaved)
{
    for (size_t lRecordSize : {1u, 8u, 16u, 24u, 40u}) {
        std::mt19937 lRandom(static_cast<unsigned>(lRecordSize));
        MoxHungryAllocator lAllocator(lRecordSize);
        HungryModel lModel(lRecordSize);
        for (int i = 0; i < 3000; ++i) {
            const size_t lCount = lRandom() % 4 == 0 ? 1 + lRandom() % 6 : 1;
            char* lRecord = static_cast<char*>(lAllocator.AllocateRecords(lCount));
            ASSERT_NE(lRecord, nullptr);
            // FreeMemory gives nothing back, so later addresses follow the model regardless.
            if (lRandom() % 3 == 0) lAllocator.FreeMemory(lRecord);
            const std::pair<size_t, size_t> lExpected = lModel.Allocate(lCount);
            const std::vector<const MemoryBlock*> lBlocks = BlocksOldestFirst(lAllocator);
            ASSERT_EQ(lBlocks.size(), lModel.mBlocks.size());
            const MemoryBlock* lBlock = lBlocks[lExpected.first];
            ASSERT_EQ(lRecord, lBlock->GetData() + lExpected.second) << "request " << i;
        }
        const std::vector<const MemoryBlock*> lBlocks = BlocksOldestFirst(lAllocator);
        for (size_t b = 0; b < lBlocks.size(); ++b) {
            EXPECT_EQ(static_cast<size_t>(lBlocks[b]->GetEnd() - lBlocks[b]->GetData()), lModel.mBlocks[b].mSize);
            EXPECT_EQ(static_cast<size_t>(lBlocks[b]->GetFreeData() - lBlocks[b]->GetData()), lModel.mBlocks[b].mUsed);
        }
        EXPECT_EQ(lAllocator.GetRecordPoolSize(), lModel.mPool);
    }
}

TEST(MoxHungryAllocator, FreeMemoryLeavesLaterAddressesUnaffected)
{
    moxtest::AllocationTracker lTracker;
    MoxHungryAllocator lAllocator(16);
    lAllocator.Reserve(10);
    const char* lData = lAllocator.GetBlocks()->GetData();
    const long lRequests = lTracker.Requests();
    for (int i = 0; i < 5; ++i) {
        void* lRecord = lAllocator.AllocateRecords(1);
        EXPECT_EQ(lRecord, lData + ptrdiff_t(16) * i);
        lAllocator.FreeMemory(lRecord);
    }
    EXPECT_EQ(lTracker.Requests(), lRequests);
    EXPECT_EQ(lTracker.Live(), 2);
}

// Heap handlers that record the order of frees.
std::vector<void*>* sgFreed = nullptr;

void RecordingFree(void* pData)
{
    if (pData) sgFreed->push_back(pData);
    std::free(pData);
}

TEST(MoxHungryAllocator, DestructionFreesEveryBlockNewestFirst)
{
    std::vector<void*> lFreed;
    sgFreed = &lFreed;
    std::vector<void*> lExpected;
    {
        moxtest::AllocationTracker lTracker;
        {
            MoxHungryAllocator lAllocator(16);
            for (int i = 0; i < 40; ++i) ASSERT_NE(lAllocator.AllocateRecords(1 + i % 3), nullptr);
            for (const MemoryBlock* lBlock = lAllocator.GetBlocks(); lBlock; lBlock = lBlock->GetNextBlock()) {
                lExpected.push_back(const_cast<char*>(lBlock->GetData()));
                lExpected.push_back(const_cast<MemoryBlock*>(lBlock));
            }
            EXPECT_EQ(static_cast<size_t>(lTracker.Live()), lExpected.size());
            moxsdk::MoxSetFreeHandler(&RecordingFree);
        }
        moxsdk::MoxSetFreeHandler(nullptr);
    }
    sgFreed = nullptr;
    EXPECT_EQ(lFreed, lExpected);
}

TEST(MoxHungryAllocator, DestructionLeavesNothingLive)
{
    moxtest::AllocationTracker lTracker;
    {
        MoxHungryAllocator lAllocator(24);
        for (int i = 0; i < 1000; ++i) ASSERT_NE(lAllocator.AllocateRecords(1), nullptr);
        EXPECT_GT(lTracker.Live(), 0);
    }
    EXPECT_EQ(lTracker.Live(), 0);
}

TEST(MoxHungryAllocator, FailedBlockIsNotKeptAndAllocationReturnsNull)
{
    moxtest::AllocationTracker lTracker;
    MoxHungryAllocator lAllocator(16);
    lTracker.FailAt(1);  // the block object itself
    EXPECT_EQ(lAllocator.AllocateRecords(1), nullptr);
    EXPECT_EQ(lAllocator.GetBlocks(), nullptr);
    lTracker.FailAt(2);  // the block's memory
    EXPECT_EQ(lAllocator.AllocateRecords(1), nullptr);
    EXPECT_EQ(lAllocator.GetBlocks(), nullptr);
    EXPECT_EQ(lAllocator.GetRecordPoolSize(), 0u);
    EXPECT_EQ(lTracker.Live(), 0);

    lTracker.FailAll(true);
    lAllocator.Reserve(4);
    EXPECT_EQ(lAllocator.GetBlocks(), nullptr);
    EXPECT_EQ(lAllocator.GetRecordPoolSize(), 0u);
    lTracker.FailAll(false);

    void* lRecord = lAllocator.AllocateRecords(1);
    ASSERT_NE(lRecord, nullptr);
    EXPECT_EQ(lRecord, lAllocator.GetBlocks()->GetData());
    EXPECT_EQ(lAllocator.GetRecordPoolSize(), 2u);
}

TEST(MoxHungryAllocator, FailureInsideTheGrowthLoopEndsItAndLeaksNothing)
{
    moxtest::AllocationTracker lTracker;
    {
        MoxHungryAllocator lAllocator(16);
        for (int i = 0; i < 4; ++i) ASSERT_NE(lAllocator.AllocateRecords(1), nullptr);
        // At 8 pooled records the next request reserves 1-record blocks: the third one's memory fails.
        lTracker.FailAt(6);
        EXPECT_EQ(lAllocator.AllocateRecords(1), nullptr);
        EXPECT_EQ(lAllocator.GetRecordPoolSize(), 10u);
        // The next request resumes the growth from there.
        EXPECT_NE(lAllocator.AllocateRecords(1), nullptr);
        EXPECT_EQ(lAllocator.GetRecordPoolSize(), 18u);
    }
    EXPECT_EQ(lTracker.Live(), 0);
}

TEST(MoxHungryAllocator, ImpossibleRequestsReturnNullWithoutLooping)
{
    moxtest::AllocationTracker lTracker;
    MoxHungryAllocator lAllocator(16);
    EXPECT_EQ(lAllocator.AllocateRecords(SIZE_MAX / 4), nullptr);   // the size overflows
    EXPECT_EQ(lAllocator.AllocateRecords(SIZE_MAX / 64), nullptr);  // larger than any heap serves
    EXPECT_EQ(lAllocator.GetRecordPoolSize(), 0u);
    MoxHungryAllocator lEmptyRecords(0);
    EXPECT_EQ(lEmptyRecords.AllocateRecords(1), nullptr);
    lTracker.FailAll(true);
    EXPECT_EQ(lAllocator.AllocateRecords(1), nullptr);
    EXPECT_EQ(lTracker.Live(), 0);
}

TEST(MoxHungryAllocator, ReleaseAllFreesEveryBlockAndStartsOver)
{
    moxtest::AllocationTracker lTracker;
    MoxHungryAllocator lAllocator(16);
    for (int i = 0; i < 20; ++i) ASSERT_NE(lAllocator.AllocateRecords(1), nullptr);
    lAllocator.ReleaseAll();
    EXPECT_EQ(lTracker.Live(), 0);
    EXPECT_EQ(lAllocator.GetRecordPoolSize(), 0u);
    EXPECT_EQ(lAllocator.GetBlocks(), nullptr);
    ASSERT_NE(lAllocator.AllocateRecords(1), nullptr);
    EXPECT_EQ(lAllocator.GetRecordPoolSize(), 2u);
}

TEST(MoxHungryAllocator, SetClearAndReleaseKeepsRepeatedCyclesFromGrowingThePool)
{
    moxtest::AllocationTracker lTracker;
    moxsdk::MoxSet<int, moxsdk::MoxLessCompare<int>, MoxHungryAllocator> lSet;
    for (int lCycle = 0; lCycle < 10; ++lCycle) {
        for (int i = 0; i < 100; ++i) lSet.Insert(i);
        lSet.ClearAndRelease();
        EXPECT_EQ(lTracker.Live(), 0);
    }
    EXPECT_EQ(lSet.GetSize(), 0);
}

// ---- Reports of refused heap requests: one per failure, where the request was made ------------------

constexpr const char* sgFile = "core/base/moxcontainerallocators";

TEST(MoxBaseAllocator, RefusedRecordsAreReportedOnce)
{
    moxtest::AllocationTracker lTracker;
    MoxBaseAllocator lAllocator(16);
    moxtest::ReportCapture lCapture;
    lTracker.FailAll(true);
    EXPECT_EQ(lAllocator.AllocateRecords(1), nullptr);
    EXPECT_TRUE(lCapture.HasOnly(sgFile, "AllocateRecords", "lRecords"));
    lCapture.Clear();
    lTracker.FailAll(false);
    void* lRecord = lAllocator.AllocateRecords(1);
    EXPECT_NE(lRecord, nullptr);
    EXPECT_EQ(lCapture.Count(), 0u);
    MoxBaseAllocator::FreeMemory(lRecord);
}

TEST(MoxHungryMemoryBlock, MissingMemoryIsReported)
{
    moxtest::AllocationTracker lTracker;
    moxtest::ReportCapture lCapture;
    lTracker.FailAll(true);
    MemoryBlock lBlock(64);
    EXPECT_EQ(lBlock.GetData(), nullptr);
    EXPECT_TRUE(lCapture.HasOnly(sgFile, "MemoryBlock", "mData"));
}

TEST(MoxHungryAllocator, MissingBlockObjectOrBlockMemoryIsReportedOnce)
{
    moxtest::AllocationTracker lTracker;
    MoxHungryAllocator lAllocator(16);
    moxtest::ReportCapture lCapture;
    lTracker.FailAt(1);  // the block object
    EXPECT_EQ(lAllocator.AllocateRecords(1), nullptr);
    EXPECT_TRUE(lCapture.HasOnly(sgFile, "AddBlock", "lBlock"));
    lCapture.Clear();
    lTracker.FailAt(2);  // the block's memory
    EXPECT_EQ(lAllocator.AllocateRecords(1), nullptr);
    EXPECT_TRUE(lCapture.HasOnly(sgFile, "MemoryBlock", "mData"));
    lCapture.Clear();
    lTracker.FailAt(1);
    lAllocator.Reserve(4);
    EXPECT_TRUE(lCapture.HasOnly(sgFile, "AddBlock", "lBlock"));
    lCapture.Clear();
    // A set over the allocator passes the null on without a report of its own.
    moxsdk::MoxSet<int, moxsdk::MoxLessCompare<int>, MoxHungryAllocator> lSet;
    lTracker.FailAt(1);
    EXPECT_EQ(lSet.Insert(3).mFirst, nullptr);
    EXPECT_TRUE(lCapture.HasOnly(sgFile, "AddBlock", "lBlock"));
    EXPECT_EQ(lSet.GetSize(), 0);
}

}  // namespace
