#include "platform/linux/LinuxProcesses.h"

#include <csignal>
#include <cstdlib>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace halvercine::platform::gnulinux {
namespace {

TEST(LinuxProcessesTest, TellsTheLivingFromTheDead) {
  LinuxProcesses processes;
  EXPECT_FALSE(processes.probe(::getpid()));
  const auto started = processes.startTime(::getpid());
  ASSERT_TRUE(started);
  EXPECT_EQ(processes.startTime(::getpid()), started);
  const pid_t child = ::fork();
  if (child == 0) {
    // The name may look like the end of the name.
    ::prctl(PR_SET_NAME, "a) 1 2 (b");
    ::pause();
    std::_Exit(0);
  }
  EXPECT_FALSE(processes.probe(child));
  EXPECT_GE(processes.startTime(child), started);
  ::kill(child, SIGKILL);
  ::waitpid(child, nullptr, 0);
  EXPECT_EQ(processes.probe(child), std::errc::no_such_process);
  EXPECT_FALSE(processes.startTime(child));
}

TEST(LinuxProcessesTest, AProcessThatIsNotOursIsThere) {
  LinuxProcesses processes;
  const auto answer = processes.probe(1);
  EXPECT_TRUE(!answer || answer == std::errc::operation_not_permitted);
  EXPECT_TRUE(processes.startTime(1));
}

}  // namespace
}  // namespace halvercine::platform::gnulinux
