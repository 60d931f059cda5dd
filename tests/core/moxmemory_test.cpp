#include "moxsdk/core/moxmemory.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>
#include <vector>

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
