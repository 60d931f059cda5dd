// The prefetch hint: any address, valid or not, and the memory it names is unchanged.
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "core/base/moxprefetch.h"

namespace {

using namespace moxsdk;

TEST(MoxPrefetch, ChangesNothingAtAnyAddress)
{
    std::vector<int> lValues = {3, 1, 4, 1, 5};
    for (const int& lValue : lValues) MoxPrefetch(&lValue);
    MoxPrefetch(lValues.data() + lValues.size());
    MoxPrefetch(nullptr);
    // An address that no allocation has: the hint must not fault there either.
    MoxPrefetch(reinterpret_cast<const void*>(uintptr_t(1) << 47));  // NOLINT(performance-no-int-to-ptr)
    EXPECT_EQ(lValues, (std::vector<int>{3, 1, 4, 1, 5}));
}

}  // namespace
