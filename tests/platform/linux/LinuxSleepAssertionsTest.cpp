#include "platform/linux/LinuxSleepAssertions.h"

#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace halvercine::platform::gnulinux {
namespace {

TEST(LinuxSleepAssertionsTest, NoneWithoutLogindAndNoChildAfterwards) {
  const bool isThere =
      ::access("/usr/bin/systemd-inhibit", X_OK) == 0 && ::access("/run/systemd/system", F_OK) == 0;
  auto assertion = LinuxSleepAssertions().take("PreventUserIdleSystemSleep", "Test");
  EXPECT_EQ(assertion != nullptr, isThere);
  assertion.reset();
  EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "a child is left";
}

}  // namespace
}  // namespace halvercine::platform::gnulinux
