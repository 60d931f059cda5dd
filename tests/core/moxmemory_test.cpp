#include "moxsdk/core/moxmemory.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <thread>
#include <vector>

#include "core/base/moxsanitizer.h"
#include "moxsdk/core/math/moxvector4.h"
#include "support/moxtestsupport.h"

using namespace moxsdk;

namespace {

TEST(MoxMemory, AllocSizeSaturatesOnOverflow)
{
    EXPECT_EQ(MoxAllocSize(3, 24), 72u);
    EXPECT_EQ(MoxAllocSize(0, 24), 0u);
    EXPECT_EQ(MoxAllocSize(SIZE_MAX / 2 + 1, 2), SIZE_MAX);
    EXPECT_EQ(MoxAllocSizeAdd(SIZE_MAX, 16), SIZE_MAX);
    EXPECT_EQ(MoxAllocSizeAdd(10, 16), 26u);
}

TEST(MoxMemory, HugeRequestsFailWithoutReachingTheHandler)
{
    moxtest::AllocationTracker lTracker;
    EXPECT_EQ(MoxMalloc(SIZE_MAX), nullptr);
    EXPECT_EQ(MoxRealloc(nullptr, SIZE_MAX), nullptr);
    EXPECT_EQ(MoxCalloc(SIZE_MAX / 2, 4), nullptr);
    EXPECT_EQ(lTracker.Requests(), 0);
}

int sgCalls = 0;
void* CountingMalloc(size_t pSize)
{
    ++sgCalls;
    return std::malloc(pSize);
}

TEST(MoxMemory, HandlersAreReplaceableAndRestorable)
{
    sgCalls = 0;
    MoxSetMallocHandler(&CountingMalloc);
    void* lBlock = MoxMalloc(8);
    MoxSetMallocHandler(nullptr);
    MoxFree(lBlock);
    EXPECT_EQ(sgCalls, 1);
    lBlock = MoxMalloc(8);
    MoxFree(lBlock);
    EXPECT_EQ(sgCalls, 1);
    void* lZeroed = MoxCalloc(4, 4);
    ASSERT_NE(lZeroed, nullptr);
    EXPECT_EQ(static_cast<int*>(lZeroed)[3], 0);
    MoxFree(lZeroed);
}

// A large block of the default MoxMalloc and MoxRealloc starts on a 2 MiB page, keeps its bytes when it
// grows, and goes back through MoxFree.
TEST(MoxMemory, DefaultLargeBlocksAreAligned)
{
    constexpr size_t lHugePage = size_t(2) << 20;
    constexpr size_t lSize = (size_t(13) << 20) + 5;
    auto* lBlock = static_cast<unsigned char*>(MoxMalloc(lSize));
    ASSERT_NE(lBlock, nullptr);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(lBlock) % lHugePage, 0u);
    lBlock[0] = 7;
    lBlock[lSize - 1] = 9;
    auto* lGrown = static_cast<unsigned char*>(MoxRealloc(lBlock, 2 * lSize));
    ASSERT_NE(lGrown, nullptr);
    EXPECT_EQ(lGrown[0], 7);
    EXPECT_EQ(lGrown[lSize - 1], 9);
    MoxFree(lGrown);

    void* lFirst = MoxRealloc(nullptr, lSize);
    ASSERT_NE(lFirst, nullptr);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(lFirst) % lHugePage, 0u);
    MoxFree(lFirst);
    void* lAgain = MoxMalloc(lSize);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(lAgain) % lHugePage, 0u);
    MoxFree(lAgain);
    void* lZeroed = MoxCalloc(lSize, 1);
    ASSERT_NE(lZeroed, nullptr);
    EXPECT_EQ(static_cast<unsigned char*>(lZeroed)[lSize - 1], 0);
    MoxFree(lZeroed);
}

// The size that the default handlers count for a large block: its whole 2 MiB pages (the C library may
// give up to 2 MiB more than asked for when it aligns a block).
size_t KeptSizeOf(void* pBlock)
{
    return malloc_usable_size(pBlock) & ~((size_t(2) << 20) - 1);
}

constexpr const char* sgNothingKept = "AddressSanitizer builds keep no freed block";

// Under AddressSanitizer a freed large block goes straight back, so that a use after free of it is seen.
TEST(MoxMemory, AddressSanitizerBuildsKeepNothing)
{
    MoxReleaseKeptMemory();
    void* lBlock = MoxMalloc(size_t(8) << 20);
    ASSERT_NE(lBlock, nullptr);
    const size_t lKept = KeptSizeOf(lBlock);
    MoxFree(lBlock);
    EXPECT_EQ(MoxGetKeptMemorySize(), sgAddressSanitizer ? 0u : lKept);
    MoxReleaseKeptMemory();
}

// A freed large block of the default handlers serves the next large request that it fits closely
// (at most 2 MiB and an eighth larger); a kept block handed out by MoxCalloc is zeroed; a large block
// grows in place up to its whole 2 MiB pages.
TEST(MoxMemory, DefaultLargeBlocksAreKeptForReuse)
{
    if (sgAddressSanitizer) GTEST_SKIP() << sgNothingKept;
    constexpr size_t lSize = (size_t(13) << 20) + 5;
    MoxReleaseKeptMemory();
    auto* lBlock = static_cast<unsigned char*>(MoxMalloc(lSize));
    ASSERT_NE(lBlock, nullptr);
    std::memset(lBlock, 0xab, lSize);
    EXPECT_EQ(MoxRealloc(lBlock, size_t(14) << 20), lBlock);
    const size_t lKept = KeptSizeOf(lBlock);
    MoxFree(lBlock);
    EXPECT_EQ(MoxGetKeptMemorySize(), lKept);
    void* lAgain = MoxMalloc(lSize - 100);
    EXPECT_EQ(lAgain, lBlock);
    EXPECT_EQ(MoxGetKeptMemorySize(), 0u);
    MoxFree(lAgain);
    auto* lZeroed = static_cast<unsigned char*>(MoxCalloc(lSize, 1));
    ASSERT_EQ(lZeroed, lBlock);
    EXPECT_EQ(lZeroed[0], 0);
    EXPECT_EQ(lZeroed[lSize / 2], 0);
    EXPECT_EQ(lZeroed[lSize - 1], 0);
    MoxFree(lZeroed);
    MoxReleaseKeptMemory();
    EXPECT_EQ(MoxGetKeptMemorySize(), 0u);
}

// A block of 14 MiB (16 with the C library's slack) serves 13 MiB (whole pages 14, plus 2 and an eighth:
// 17.625), not 8 MiB (8 + 2 + 1 = 11): a request that no kept block serves gets a fresh block.
TEST(MoxMemory, KeptBlocksServeOnlyRequestsTheyFitClosely)
{
    if (sgAddressSanitizer) GTEST_SKIP() << sgNothingKept;
    constexpr size_t lMiB = size_t(1) << 20;
    MoxFree(MoxMalloc(64 * lMiB));
    MoxReleaseKeptMemory();  // the large blocks have taken 64 MiB at once: 8 MiB and 14 kept stay below
    void* lBlock = MoxMalloc(14 * lMiB);
    MoxFree(lBlock);
    void* lSmaller = MoxMalloc(8 * lMiB);
    EXPECT_NE(lSmaller, lBlock);
    void* lClose = MoxMalloc(13 * lMiB);
    EXPECT_EQ(lClose, lBlock);
    MoxFree(lClose);
    MoxFree(lSmaller);
    MoxReleaseKeptMemory();
}

// A fresh block beyond the most that the large blocks in use and kept ever took gives back the kept
// blocks first: freeing and allocating ever larger tables keeps nothing at the peak.
TEST(MoxMemory, KeptBlocksNeverRaiseThePeak)
{
    if (sgAddressSanitizer) GTEST_SKIP() << sgNothingKept;
    MoxReleaseKeptMemory();
    void* lBlock = MoxMalloc(size_t(40) << 20);
    const size_t lKept = KeptSizeOf(lBlock);
    MoxFree(lBlock);
    EXPECT_EQ(MoxGetKeptMemorySize(), lKept);
    // More than the other tests ever hold at once; never touched: address space only.
    void* lLarger = MoxMalloc(size_t(1) << 30);
    EXPECT_EQ(MoxGetKeptMemorySize(), 0u);
    MoxFree(lLarger);  // larger than all that is kept at most: given back
    EXPECT_EQ(MoxGetKeptMemorySize(), 0u);
}

// At most 16 blocks and 512 MiB are kept, the oldest given back first; MoxReleaseKeptMemory gives all back.
TEST(MoxMemory, KeptBlocksAreBounded)
{
    if (sgAddressSanitizer) GTEST_SKIP() << sgNothingKept;
    constexpr size_t lMiB = size_t(1) << 20;
    MoxReleaseKeptMemory();
    std::vector<void*> lBlocks;
    size_t lLastSixteen = 0;
    for (int i = 0; i < 18; ++i) {
        lBlocks.push_back(MoxMalloc(4 * lMiB));
        if (i >= 2) lLastSixteen += KeptSizeOf(lBlocks.back());
    }
    for (void* lBlock : lBlocks) MoxFree(lBlock);
    EXPECT_EQ(MoxGetKeptMemorySize(), lLastSixteen);
    MoxReleaseKeptMemory();
    EXPECT_EQ(MoxGetKeptMemorySize(), 0u);

    void* lFirst = MoxMalloc(200 * lMiB);
    void* lSecond = MoxMalloc(200 * lMiB);
    void* lThird = MoxMalloc(200 * lMiB);
    const size_t lSecondSize = KeptSizeOf(lSecond);
    const size_t lThirdSize = KeptSizeOf(lThird);
    MoxFree(lFirst);
    MoxFree(lSecond);
    MoxFree(lThird);
    EXPECT_EQ(MoxGetKeptMemorySize(), lSecondSize + lThirdSize);  // the first block given back
    void* lAgain = MoxMalloc(200 * lMiB);
    EXPECT_EQ(lAgain, lThirdSize < lSecondSize ? lThird : lSecond);  // the smaller, else the older
    MoxFree(lAgain);
    MoxReleaseKeptMemory();
    EXPECT_EQ(MoxGetKeptMemorySize(), 0u);
    MoxFree(MoxMalloc(520 * lMiB));  // larger than all that is kept at most
    EXPECT_EQ(MoxGetKeptMemorySize(), 0u);
}

void* sgReplacedBlock = nullptr;
void* ReplacedMalloc(size_t pSize)
{
    sgReplacedBlock = std::malloc(pSize);
    return sgReplacedBlock;
}
int sgReplacedFrees = 0;
void ReplacedFree(void* pData)
{
    ++sgReplacedFrees;
    std::free(pData);
}

TEST(MoxMemory, ReplacedHandlersBypassKeptBlocks)
{
    if (sgAddressSanitizer) GTEST_SKIP() << sgNothingKept;
    MoxReleaseKeptMemory();
    void* lFirst = MoxMalloc(size_t(8) << 20);
    const size_t lKept = KeptSizeOf(lFirst);
    MoxFree(lFirst);
    MoxSetMallocHandler(&ReplacedMalloc);
    MoxSetFreeHandler(&ReplacedFree);
    sgReplacedFrees = 0;
    void* lBlock = MoxMalloc(size_t(8) << 20);
    EXPECT_EQ(lBlock, sgReplacedBlock);
    MoxFree(lBlock);
    MoxSetMallocHandler(nullptr);
    MoxSetFreeHandler(nullptr);
    EXPECT_EQ(sgReplacedFrees, 1);
    EXPECT_EQ(MoxGetKeptMemorySize(), lKept);
    MoxReleaseKeptMemory();
}

// Threads allocating, filling, checking and freeing large blocks of several sizes at once each get a
// block of their own: no block is handed out twice, and no more blocks are kept than were in use at once.
TEST(MoxMemory, KeptBlocksAreThreadSafe)
{
    if (sgAddressSanitizer) GTEST_SKIP() << sgNothingKept;
    MoxReleaseKeptMemory();
    std::vector<std::thread> lThreads;
    lThreads.reserve(4);
    std::vector<int> lBad(4, 0);
    for (int t = 0; t < 4; ++t)
        lThreads.emplace_back([t, &lBad] {
            const size_t lSize = size_t(4 + 4 * (t % 2)) << 20;  // no block of one size fits the other
            for (int i = 0; i < 50; ++i) {
                auto* lBlock = static_cast<unsigned char*>(MoxMalloc(lSize));
                if (!lBlock) {
                    ++lBad[t];
                    continue;
                }
                std::memset(lBlock, t + 1, lSize);
                if (lBlock[0] != t + 1 || lBlock[lSize - 1] != t + 1) ++lBad[t];
                MoxFree(lBlock);
            }
        });
    for (std::thread& lThread : lThreads) lThread.join();
    EXPECT_EQ(lBad, (std::vector<int>{0, 0, 0, 0}));
    EXPECT_LE(MoxGetKeptMemorySize(), size_t(32) << 20);  // a block a thread at most, of up to 2 MiB more
    MoxReleaseKeptMemory();
    EXPECT_EQ(MoxGetKeptMemorySize(), 0u);
}

struct Counted {
    static int sgLive;
    static std::vector<int> sgDestroyed;
    int mId;
    Counted() : mId(sgLive++) {}
    explicit Counted(int pId) : mId(pId) { ++sgLive; }
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;
    ~Counted()
    {
        --sgLive;
        sgDestroyed.push_back(mId);
    }
};
int Counted::sgLive = 0;
std::vector<int> Counted::sgDestroyed;

struct Throwing {
    Throwing() { throw std::runtime_error("no"); }
};

TEST(MoxMemory, NewConstructsAndDeleteDestroys)
{
    moxtest::AllocationTracker lTracker;
    Counted::sgLive = 0;
    Counted* lObject = MoxNew<Counted>(7);
    ASSERT_NE(lObject, nullptr);
    EXPECT_EQ(lObject->mId, 7);
    EXPECT_EQ(lTracker.Sizes().back(), sizeof(Counted));
    MoxDelete(lObject);
    MoxDelete<Counted>(nullptr);
    EXPECT_EQ(Counted::sgLive, 0);
    EXPECT_EQ(lTracker.Live(), 0);
}

TEST(MoxMemory, NewReleasesMemoryWhenConstructorThrows)
{
    moxtest::AllocationTracker lTracker;
    EXPECT_THROW(MoxNew<Throwing>(), std::runtime_error);
    EXPECT_EQ(lTracker.Live(), 0);
}

TEST(MoxMemory, NewReturnsNullWhenMemoryRunsOut)
{
    moxtest::AllocationTracker lTracker;
    lTracker.FailAll(true);
    EXPECT_EQ(MoxNew<Counted>(1), nullptr);
    EXPECT_EQ(MoxNewArray<MoxVector4>(4), nullptr);
    EXPECT_EQ(MoxNewArray<int>(4), nullptr);
}

TEST(MoxMemory, PlainNewArrayHasNoHeader)
{
    moxtest::AllocationTracker lTracker;
    int* lArray = MoxNewArray<int>(5);
    ASSERT_NE(lArray, nullptr);
    EXPECT_EQ(lTracker.Sizes().back(), 5 * sizeof(int));
    MoxDeleteArray(lArray);
    MoxDeleteArray<int>(nullptr);
    EXPECT_EQ(lTracker.Live(), 0);
}

TEST(MoxMemory, ClassNewArrayStoresCountAndDestroysInAscendingOrder)
{
    moxtest::AllocationTracker lTracker;
    Counted::sgLive = 0;
    Counted::sgDestroyed.clear();
    Counted* lArray = MoxNewArray<Counted>(3);
    ASSERT_NE(lArray, nullptr);
    EXPECT_EQ(lTracker.Sizes().back(), 3 * sizeof(Counted) + 16);
    uint64_t lCount = 0;
    std::memcpy(&lCount, reinterpret_cast<char*>(lArray) - 16, sizeof(lCount));
    EXPECT_EQ(lCount, 3u);
    EXPECT_EQ(lArray[0].mId, 0);
    EXPECT_EQ(lArray[2].mId, 2);
    MoxDeleteArray(lArray);
    EXPECT_EQ(Counted::sgDestroyed, (std::vector<int>{0, 1, 2}));
    EXPECT_EQ(lTracker.Live(), 0);
    EXPECT_EQ(MoxNewArray<Counted>(-1), nullptr);
}

}  // namespace
