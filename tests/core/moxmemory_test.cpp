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

constexpr size_t sgKiB = size_t(1) << 10;
constexpr size_t sgMiB = size_t(1) << 20;

// The size that the default handlers count for a block they keep: its whole pages, of 2 MiB for a large
// block (4 MiB and more; the C library may give up to 2 MiB more than asked for when it aligns one),
// of 4 KiB for a medium one (64 KiB up to 4 MiB).
size_t KeptSizeOf(void* pBlock)
{
    const size_t lUsable = malloc_usable_size(pBlock);
    const size_t lPage = lUsable >= 4 * sgMiB ? 2 * sgMiB : 4 * sgKiB;
    return lUsable & ~(lPage - 1);
}

constexpr const char* sgNothingKept = "AddressSanitizer builds keep no freed block";

// Under AddressSanitizer a freed medium or large block goes straight back, so that a use after free of
// it is seen.
TEST(MoxMemory, AddressSanitizerBuildsKeepNothing)
{
    for (const size_t lSize : {8 * sgMiB, 512 * sgKiB}) {
        MoxReleaseKeptMemory();
        void* lBlock = MoxMalloc(lSize);
        ASSERT_NE(lBlock, nullptr);
        const size_t lKept = KeptSizeOf(lBlock);
        MoxFree(lBlock);
        EXPECT_EQ(MoxGetKeptMemorySize(), sgAddressSanitizer ? 0u : lKept);
    }
    MoxReleaseKeptMemory();
}

// Frees a fresh block of pSize bytes (filled) and expects it kept, counted in its whole pages; then that
// it serves the next request of 100 bytes less, and MoxCalloc's request of pSize bytes zeroed. Returns
// the block, freed again and kept.
void* ExpectKeptForReuse(size_t pSize)
{
    MoxReleaseKeptMemory();
    auto* lBlock = static_cast<unsigned char*>(MoxMalloc(pSize));
    if (!lBlock) {
        ADD_FAILURE() << "no block of " << pSize << " bytes";
        return nullptr;
    }
    std::memset(lBlock, 0xab, pSize);
    const size_t lKept = KeptSizeOf(lBlock);
    MoxFree(lBlock);
    EXPECT_EQ(MoxGetKeptMemorySize(), lKept);
    void* lAgain = MoxMalloc(pSize - 100);
    EXPECT_EQ(lAgain, lBlock);
    EXPECT_EQ(MoxGetKeptMemorySize(), 0u);
    MoxFree(lAgain);
    auto* lZeroed = static_cast<unsigned char*>(MoxCalloc(pSize, 1));
    EXPECT_EQ(lZeroed, lBlock);
    EXPECT_EQ(lZeroed[0], 0);
    EXPECT_EQ(lZeroed[pSize / 2], 0);
    EXPECT_EQ(lZeroed[pSize - 1], 0);
    MoxFree(lZeroed);
    return lBlock;
}

// A freed large block of the default handlers serves the next large request that it fits closely
// (at most 2 MiB and an eighth larger), MoxCalloc's zeroed among them; a large block grows in place up
// to its whole 2 MiB pages.
TEST(MoxMemory, DefaultLargeBlocksAreKeptForReuse)
{
    if (sgAddressSanitizer) GTEST_SKIP() << sgNothingKept;
    constexpr size_t lSize = 13 * sgMiB + 5;
    void* lBlock = ExpectKeptForReuse(lSize);
    ASSERT_EQ(MoxMalloc(lSize), lBlock);
    EXPECT_EQ(MoxRealloc(lBlock, 14 * sgMiB), lBlock);
    MoxFree(lBlock);
    MoxReleaseKeptMemory();
    EXPECT_EQ(MoxGetKeptMemorySize(), 0u);
}

// A freed medium block (64 KiB up to 4 MiB, whole 4 KiB pages) serves the next medium request that it
// fits closely, MoxCalloc's zeroed among them, and a smaller block that grows into it with MoxRealloc
// (its bytes moved along).
TEST(MoxMemory, DefaultMediumBlocksAreKeptForReuse)
{
    if (sgAddressSanitizer) GTEST_SKIP() << sgNothingKept;
    constexpr size_t lSize = 300 * sgKiB + 5;
    void* lBlock = ExpectKeptForReuse(lSize);
    EXPECT_EQ(MoxGetKeptMemorySize(), 304 * sgKiB);
    constexpr size_t lSmallSize = 40 * sgKiB;
    auto* lSmall = static_cast<unsigned char*>(MoxMalloc(lSmallSize));
    ASSERT_NE(lSmall, nullptr);
    lSmall[0] = 7;
    lSmall[lSmallSize - 1] = 9;
    auto* lGrown = static_cast<unsigned char*>(MoxRealloc(lSmall, lSize));
    ASSERT_EQ(lGrown, lBlock);
    EXPECT_EQ(lGrown[0], 7);
    EXPECT_EQ(lGrown[lSmallSize - 1], 9);
    EXPECT_EQ(MoxGetKeptMemorySize(), 0u);
    MoxFree(lGrown);
    MoxReleaseKeptMemory();
    EXPECT_EQ(MoxGetKeptMemorySize(), 0u);
}

// After blocks of pPeak bytes of one kind were taken at once, a kept block of pKept bytes serves pClose
// bytes and not pFar: a request that no kept block serves gets a fresh block.
void ExpectOnlyCloseRequestsServed(size_t pPeak, size_t pKept, size_t pFar, size_t pClose)
{
    MoxFree(MoxMalloc(pPeak));
    MoxReleaseKeptMemory();
    void* lBlock = MoxMalloc(pKept);
    MoxFree(lBlock);
    void* lFar = MoxMalloc(pFar);
    EXPECT_NE(lFar, lBlock);
    void* lClose = MoxMalloc(pClose);
    EXPECT_EQ(lClose, lBlock);
    MoxFree(lClose);
    MoxFree(lFar);
    MoxReleaseKeptMemory();
}

// A block of 14 MiB (16 with the C library's slack) serves 13 MiB (whole pages 14, plus 2 and an eighth:
// 17.625), not 8 MiB (8 + 2 + 1 = 11); a medium block of 512 KiB serves 480 KiB (480 + 4 + 60 = 544),
// not 256 KiB (256 + 4 + 32 = 292). Both stay below the peaks of 64 and 3 MiB taken first.
TEST(MoxMemory, KeptBlocksServeOnlyRequestsTheyFitClosely)
{
    if (sgAddressSanitizer) GTEST_SKIP() << sgNothingKept;
    ExpectOnlyCloseRequestsServed(64 * sgMiB, 14 * sgMiB, 8 * sgMiB, 13 * sgMiB);
    ExpectOnlyCloseRequestsServed(3 * sgMiB, 512 * sgKiB, 256 * sgKiB, 480 * sgKiB);
}

// A fresh block beyond the most that the large blocks in use and kept ever took gives back the kept
// blocks first: freeing and allocating ever larger tables keeps nothing at the peak.
TEST(MoxMemory, KeptBlocksNeverRaiseThePeak)
{
    if (sgAddressSanitizer) GTEST_SKIP() << sgNothingKept;
    MoxReleaseKeptMemory();
    void* lBlock = MoxMalloc(40 * sgMiB);
    const size_t lKept = KeptSizeOf(lBlock);
    MoxFree(lBlock);
    EXPECT_EQ(MoxGetKeptMemorySize(), lKept);
    // More than the other tests ever hold at once; never touched: address space only.
    void* lLarger = MoxMalloc(size_t(5) << 30);
    EXPECT_EQ(MoxGetKeptMemorySize(), 0u);
    MoxFree(lLarger);  // larger than all that is kept at most: given back
    EXPECT_EQ(MoxGetKeptMemorySize(), 0u);
}

// The medium blocks have a peak of their own: holding more of them than the other tests ever hold at
// once gives the kept ones back first.
TEST(MoxMemory, KeptMediumBlocksNeverRaiseThePeak)
{
    if (sgAddressSanitizer) GTEST_SKIP() << sgNothingKept;
    MoxReleaseKeptMemory();
    void* lBlock = MoxMalloc(sgMiB);
    const size_t lKept = KeptSizeOf(lBlock);
    MoxFree(lBlock);
    EXPECT_EQ(MoxGetKeptMemorySize(), lKept);
    std::vector<void*> lHeld(16);  // 48 MiB, never touched: address space only
    for (void*& lHeldBlock : lHeld) lHeldBlock = MoxMalloc(3 * sgMiB);
    EXPECT_EQ(MoxGetKeptMemorySize(), 0u);
    for (void* lHeldBlock : lHeld) MoxFree(lHeldBlock);
    MoxReleaseKeptMemory();
    EXPECT_EQ(MoxGetKeptMemorySize(), 0u);
}

// A fresh large block gives back the kept medium blocks first (the process is growing); a kept large
// block that serves a request leaves them kept.
TEST(MoxMemory, FreshLargeBlocksGiveBackMediumOnes)
{
    if (sgAddressSanitizer) GTEST_SKIP() << sgNothingKept;
    MoxReleaseKeptMemory();
    void* lMedium = MoxMalloc(sgMiB);
    const size_t lMediumSize = KeptSizeOf(lMedium);
    void* lLarge = MoxMalloc(8 * sgMiB);
    const size_t lLargeSize = KeptSizeOf(lLarge);
    MoxFree(lMedium);
    MoxFree(lLarge);
    EXPECT_EQ(MoxGetKeptMemorySize(), lMediumSize + lLargeSize);
    void* lAgain = MoxMalloc(8 * sgMiB);
    EXPECT_EQ(lAgain, lLarge);
    EXPECT_EQ(MoxGetKeptMemorySize(), lMediumSize);
    void* lFresh = MoxMalloc(20 * sgMiB);
    EXPECT_EQ(MoxGetKeptMemorySize(), 0u);
    MoxFree(lFresh);
    MoxFree(lAgain);
    MoxReleaseKeptMemory();
}

// With a block of pExtra bytes in use, frees pCount + 2 blocks of pSize bytes, of which the last pCount
// are kept, then the first block, kept besides them; MoxReleaseKeptMemory gives all back.
void ExpectLastKept(int pCount, size_t pSize, size_t pExtra)
{
    MoxReleaseKeptMemory();
    void* lExtra = MoxMalloc(pExtra);
    const size_t lExtraSize = KeptSizeOf(lExtra);
    std::vector<void*> lBlocks;
    size_t lLast = 0;
    for (int i = 0; i < pCount + 2; ++i) {
        lBlocks.push_back(MoxMalloc(pSize));
        if (i >= 2) lLast += KeptSizeOf(lBlocks.back());
    }
    for (void* lBlock : lBlocks) MoxFree(lBlock);
    EXPECT_EQ(MoxGetKeptMemorySize(), lLast);
    MoxFree(lExtra);
    EXPECT_EQ(MoxGetKeptMemorySize(), lLast + lExtraSize);
    MoxReleaseKeptMemory();
    EXPECT_EQ(MoxGetKeptMemorySize(), 0u);
}

// Frees three blocks of pSize bytes, of which only two fit the bounds: the first is given back; the next
// request takes the smaller kept block, else the older.
void ExpectOldestGivenBack(size_t pSize)
{
    MoxReleaseKeptMemory();
    void* lFirst = MoxMalloc(pSize);
    void* lSecond = MoxMalloc(pSize);
    void* lThird = MoxMalloc(pSize);
    const size_t lSecondSize = KeptSizeOf(lSecond);
    const size_t lThirdSize = KeptSizeOf(lThird);
    MoxFree(lFirst);
    MoxFree(lSecond);
    MoxFree(lThird);
    EXPECT_EQ(MoxGetKeptMemorySize(), lSecondSize + lThirdSize);
    void* lAgain = MoxMalloc(pSize);
    EXPECT_EQ(lAgain, lThirdSize < lSecondSize ? lThird : lSecond);
    MoxFree(lAgain);
    MoxReleaseKeptMemory();
    EXPECT_EQ(MoxGetKeptMemorySize(), 0u);
}

// At most 64 large blocks and 4 GiB are kept, and 32 medium blocks and 8 MiB besides them, the oldest
// given back first; MoxReleaseKeptMemory gives all back.
TEST(MoxMemory, KeptBlocksAreBounded)
{
    if (sgAddressSanitizer) GTEST_SKIP() << sgNothingKept;
    ExpectLastKept(64, 4 * sgMiB, 200 * sgKiB);
    ExpectLastKept(32, 200 * sgKiB, 4 * sgMiB);
    ExpectOldestGivenBack(1600 * sgMiB);
    ExpectOldestGivenBack(3 * sgMiB);
    MoxFree(MoxMalloc(4100 * sgMiB));  // larger than all that is kept at most
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

// A kept large or medium block serves no request of replaced handlers, and a replaced free keeps nothing.
TEST(MoxMemory, ReplacedHandlersBypassKeptBlocks)
{
    if (sgAddressSanitizer) GTEST_SKIP() << sgNothingKept;
    for (const size_t lSize : {8 * sgMiB, 512 * sgKiB}) {
        MoxReleaseKeptMemory();
        void* lFirst = MoxMalloc(lSize);
        const size_t lKept = KeptSizeOf(lFirst);
        MoxFree(lFirst);
        MoxSetMallocHandler(&ReplacedMalloc);
        MoxSetFreeHandler(&ReplacedFree);
        sgReplacedFrees = 0;
        void* lBlock = MoxMalloc(lSize);
        EXPECT_EQ(lBlock, sgReplacedBlock);
        MoxFree(lBlock);
        MoxSetMallocHandler(nullptr);
        MoxSetFreeHandler(nullptr);
        EXPECT_EQ(sgReplacedFrees, 1);
        EXPECT_EQ(MoxGetKeptMemorySize(), lKept);
    }
    MoxReleaseKeptMemory();
}

// Four threads allocating, filling, checking and freeing blocks at once, 50 times each, threads 0 and 2
// of pFirst bytes, 1 and 3 of pSecond bytes; the number of bad blocks each thread saw (null, or not
// holding what it wrote).
std::vector<int> FillFromThreads(size_t pFirst, size_t pSecond)
{
    std::vector<std::thread> lThreads;
    lThreads.reserve(4);
    std::vector<int> lBad(4, 0);
    for (int t = 0; t < 4; ++t)
        lThreads.emplace_back([t, pFirst, pSecond, &lBad] {
            const size_t lSize = t % 2 == 0 ? pFirst : pSecond;
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
    return lBad;
}

// Threads taking large or medium blocks of two sizes (no block of one size fits the other) each get a
// block of their own: no block is handed out twice, and a size's blocks are made only while all of them
// are in use, so no more are kept than two of each size.
TEST(MoxMemory, KeptBlocksAreThreadSafe)
{
    if (sgAddressSanitizer) GTEST_SKIP() << sgNothingKept;
    MoxReleaseKeptMemory();
    EXPECT_EQ(FillFromThreads(4 * sgMiB, 8 * sgMiB), (std::vector<int>{0, 0, 0, 0}));
    EXPECT_LE(MoxGetKeptMemorySize(), (6 + 10) * sgMiB * 2);  // up to 2 MiB more a block
    MoxReleaseKeptMemory();
    EXPECT_EQ(MoxGetKeptMemorySize(), 0u);
    EXPECT_EQ(FillFromThreads(256 * sgKiB, sgMiB), (std::vector<int>{0, 0, 0, 0}));
    EXPECT_LE(MoxGetKeptMemorySize(), (260 + 1028) * sgKiB * 2);  // up to 4 KiB more a block
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
