#include "base/BackgroundThreads.h"

#include <atomic>
#include <system_error>

#include <gtest/gtest.h>

#include "support/isSanitized.h"
#include "support/limitedAddressSpace.h"

namespace halvercine::base {
namespace {

#ifdef __linux__
TEST(BackgroundThreadsTest, WorksWithAsManyThreadsAsThereAre) {
  if (tests::isSanitized) GTEST_SKIP() << "the address space is limited without sanitizers only";
  constexpr rlim_t aFewStacks = 30U << 20U;
  EXPECT_TRUE(tests::holdsInLimitedAddressSpace(aFewStacks, [] {
    std::atomic<int> runs = 0;
    BackgroundThreads threads(100);
    for (int action = 0; action < 200; ++action) threads.post([&runs] { ++runs; });
    threads.join();
    return runs == 200;
  })) << "some";
  EXPECT_TRUE(tests::holdsInLimitedAddressSpace(1U << 20U, [] {
    try {
      const BackgroundThreads threads(8);
      return false;
    } catch (const std::system_error&) {
      return true;
    }
  })) << "none";
}
#endif

}  // namespace
}  // namespace halvercine::base
