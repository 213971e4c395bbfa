#include "platform/posix/PosixWorkerThreads.h"

#include <atomic>
#include <stdexcept>

#include <gtest/gtest.h>

#include "base/MainActor.h"
#include "support/isSanitized.h"
#include "support/limitedAddressSpace.h"

namespace halvercine::platform::posix {
namespace {

struct Run {
  std::size_t begun = 0;
  bool hasFailed = false;
};

Run run(
    base::MainActor& actor, std::size_t count,
    const std::function<void(std::size_t)>& work = [](std::size_t) {}) {
  PosixWorkerThreads threads(actor);
  std::atomic<std::size_t> begun = 0;
  std::exception_ptr failure;
  bool hasEnded = false;
  const auto group = threads.start(
      count,
      [&](std::size_t worker) {
        ++begun;
        work(worker);
      },
      [&](std::exception_ptr thrown) {
        failure = std::move(thrown);
        hasEnded = true;
      });
  actor.runUntil([&hasEnded] { return hasEnded; });
  return {begun, failure != nullptr};
}

TEST(PosixWorkerThreadsTest, AnExceptionIsToldWhenAllHaveEnded) {
  base::MainActor actor;
  const auto well = run(actor, 32);
  EXPECT_EQ(well.begun, 32u);
  EXPECT_FALSE(well.hasFailed);
  const auto badly = run(actor, 8, [](std::size_t worker) {
    if (worker == 3) throw std::runtime_error("a fault");
  });
  EXPECT_EQ(badly.begun, 8u);
  EXPECT_TRUE(badly.hasFailed);
  EXPECT_TRUE(run(actor, SIZE_MAX).hasFailed) << "more than can be counted";
}

#ifdef __linux__
TEST(PosixWorkerThreadsTest, NoneBeginsWhenNotAllCanBeHad) {
  if (tests::isSanitized) GTEST_SKIP() << "the address space is limited without sanitizers only";
  constexpr rlim_t someStacks = 128U << 20U;
  EXPECT_TRUE(tests::holdsInLimitedAddressSpace(someStacks, [] {
    base::MainActor actor;
    const auto few = run(actor, 100);
    return few.begun == 0 && few.hasFailed;
  }));
}
#endif

}  // namespace
}  // namespace halvercine::platform::posix
