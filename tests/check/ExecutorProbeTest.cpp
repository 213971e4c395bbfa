#include "check/ExecutorProbe.h"

#include <gtest/gtest.h>

namespace halvercine::check {
namespace {

struct OneProcess : platform::Processes {
  std::error_code probe(std::int32_t) override { return answer; }
  std::optional<std::uint64_t> startTime(std::int32_t) override { return started; }

  std::error_code answer;
  std::optional<std::uint64_t> started = 7;
};

TEST(ExecutorProbeTest, OnlyAProcessThatIsNotThereIsGone) {
  const std::pair<std::errc, bool> rows[] = {{std::errc{}, true},
                                             {std::errc::operation_not_permitted, true},
                                             {std::errc::no_such_process, false},
                                             {std::errc::invalid_argument, false}};
  for (const auto& [answer, isAlive] : rows) {
    OneProcess processes;
    processes.answer = {static_cast<int>(answer), std::system_category()};
    EXPECT_EQ(ExecutorProbe(processes).isAlive(501), isAlive);
  }
}

TEST(ExecutorProbeTest, ASuccessorWithTheSameNumberIsAnotherProcess) {
  OneProcess processes;
  ExecutorProbe probe(processes);
  EXPECT_TRUE(probe.isAlive(501));
  processes.started = 9;
  EXPECT_FALSE(probe.isAlive(501));
  processes.started = 7;
  EXPECT_TRUE(probe.isAlive(501));
  processes.started.reset();
  EXPECT_TRUE(probe.isAlive(501)) << "where the system does not tell";
}

}  // namespace
}  // namespace halvercine::check
