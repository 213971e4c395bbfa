#include "platform/posix/PosixWorkerThreads.h"

#include <atomic>
#include <fstream>
#include <stdexcept>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "base/MainActor.h"
#include "support/isSanitized.h"

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
/// Bytes of address space that this process takes.
rlim_t addressSpace() {
  rlim_t pages = 0;
  std::ifstream("/proc/self/statm") >> pages;
  return pages * static_cast<rlim_t>(::sysconf(_SC_PAGESIZE));
}

TEST(PosixWorkerThreadsTest, NoneBeginsWhenNotAllCanBeHad) {
  if (tests::isSanitized) GTEST_SKIP() << "the address space is limited without sanitizers only";
  const pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    base::MainActor actor;
    run(actor, 1);  // makes the actor's own threads
    // The stacks of some, and of no hundred.
    const rlim_t most = addressSpace() + (64U << 20U);
    const rlimit limit{most, most};
    if (::setrlimit(RLIMIT_AS, &limit) != 0) ::_exit(3);
    const auto few = run(actor, 100);
    ::_exit(few.begun == 0 && few.hasFailed ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 0);
}
#endif

}  // namespace
}  // namespace halvercine::platform::posix
