#include "disks/runTool.h"

#include <chrono>
#include <optional>
#include <signal.h>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "base/VirtualClock.h"
#include "base/spawn.h"
#include "disks/PipeDrain.h"
#include "platform/posix/PosixToolRunner.h"
#include "support/RecordingLog.h"
#include "support/runTask.h"

namespace halvercine::disks {
namespace {

using namespace std::chrono_literals;

/// Notes how far the children have come and otherwise lets the real runner do it.
struct NotingRunner : platform::ToolRunner {
  explicit NotingRunner(base::MainActor& actor) : real(actor) {}

  std::expected<std::unique_ptr<platform::ToolProcess>, std::string> start(
      const platform::ToolInvocation& invocation, platform::ToolEvents events) override {
    auto output = std::move(events.output);
    events.output = [this, output = std::move(output)](std::string_view bytes) {
      output(bytes);
      outputSeen = true;
    };
    auto exited = std::move(events.exited);
    events.exited = [this, exited = std::move(exited)](platform::ToolExit exit) {
      exited(exit);
      exitSeen = true;
    };
    return real.start(invocation, std::move(events));
  }

  platform::posix::PosixToolRunner real;
  bool outputSeen = false;
  bool exitSeen = false;
};

/// Real children under a clock that stands still unless the test moves it.
class RunToolTest : public testing::Test {
 protected:
  base::Task<ToolResult> shell(std::string script) {
    return runTool(runner, clock, shellInvocation(std::move(script)));
  }

  static platform::ToolInvocation shellInvocation(std::string script) {
    return {.executable = "/bin/sh", .arguments = {"-c", std::move(script)}};
  }

  ToolResult run(std::string script) { return tests::run(actor, shell(std::move(script))); }

  /// Begins a run whose result comes into `result`.
  void begin(std::string script) {
    scope.spawn("run", [](RunToolTest& test, std::string text) -> base::Task<void> {
      test.result = co_await test.shell(std::move(text));
    }(*this, std::move(script)));
  }

  void until(const bool& condition) {
    actor.runUntil([&condition] { return condition; });
    settle();
  }
  void untilResult() {
    actor.runUntil([this] { return result.has_value(); });
  }
  void settle() { actor.context().poll(); }
  void pass(platform::Uptime time) {
    clock.advanceBy(time);
    settle();
  }

  tests::RecordingLog log;
  base::MainActor actor;
  base::VirtualClock clock{platform::WallTime{}};
  NotingRunner runner{actor};
  std::optional<ToolResult> result;
  base::TaskScope scope{actor, log};
};

TEST_F(RunToolTest, YieldsStatusAndText) {
  const std::pair<const char*, ToolResult> cases[] = {
      {"printf ' \\n Volume DATA on disk4s1 mounted \\n\\n'",
       {0, "Volume DATA on disk4s1 mounted"}},
      {"echo one; echo two >&2; exit 1", {1, "one\ntwo"}},
      {"printf 'Volume \\377 mounted'; exit 2", {2, ""}},
      {"printf '\\346\\226\\260'", {0, "新"}},
      {"echo text; kill -SEGV $$", {SIGSEGV, std::string(watchdogText)}},
  };
  for (const auto& [script, expected] : cases) EXPECT_EQ(run(script), expected) << script;
}

TEST_F(RunToolTest, ToolThatCannotStart) {
  const auto none = tests::run(
      actor, runTool(runner, clock, {.executable = "/no/such/diskutil", .arguments = {}}));
  EXPECT_EQ(none, (ToolResult{-1, "No such file or directory"}));
}

TEST_F(RunToolTest, KeepsWhatThePipeCannotHold) {
  const auto most = run("head -c 3000000 /dev/zero | tr '\\0' x");
  EXPECT_EQ(most.text.size(), 3'000'000u);
  const auto tooMuch = run("head -c 20000000 /dev/zero | tr '\\0' x; exit 9");
  EXPECT_EQ(tooMuch.status, 9);
  EXPECT_EQ(tooMuch.text.size(), PipeDrain::defaultLimit - 1);
}

TEST_F(RunToolTest, WatchdogEndsAHungTool) {
  begin("echo text; exec sleep 1000");
  until(runner.outputSeen);
  pass(59'900ms);
  EXPECT_FALSE(runner.exitSeen);
  pass(100ms);
  untilResult();
  EXPECT_EQ(*result, (ToolResult{SIGTERM, std::string(watchdogText)}));
}

TEST_F(RunToolTest, ToolThatIgnoresTheWatchdogIsKilled) {
  begin("trap '' TERM; echo text; while true; do sleep 1000; done");
  until(runner.outputSeen);
  pass(watchdogLimit);
  EXPECT_FALSE(result);
  pass(terminationGrace);
  untilResult();
  EXPECT_EQ(*result, (ToolResult{SIGKILL, std::string(watchdogText)}));
}

TEST_F(RunToolTest, GrandchildWithThePipeCannotHoldTheResult) {
  begin("echo text; sleep 1000 & exit 5");
  until(runner.exitSeen);
  EXPECT_FALSE(result);
  pass(drainLimit);
  untilResult();
  EXPECT_EQ(*result, (ToolResult{5, "text"}));
}

TEST_F(RunToolTest, CancellingKillsTheTool) {
  begin("echo text; sleep 1000");
  until(runner.outputSeen);
  scope.cancelAll();
  settle();
  EXPECT_EQ(scope.running(), 0u);
  EXPECT_FALSE(result);
  EXPECT_FALSE(clock.advanceToNext()) << "no timer is left";
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(RunToolTest, StreamComesInPieces) {
  std::size_t size = 0;
  const auto exit = tests::run(
      actor, streamTool(runner, clock, shellInvocation("head -c 10000000 /dev/zero; exit 1"),
                        [&size](std::string_view bytes) {
                          EXPECT_LE(bytes.size(), 65'536u);
                          size += bytes.size();
                        }));
  ASSERT_TRUE(exit);
  EXPECT_EQ(exit->status, 1);
  EXPECT_EQ(size, 10'000'000u);
}

TEST(PipeDrainTest, LimitKeepsWholeCharacters) {
  PipeDrain drain(5);
  drain.add("ab");
  drain.add("新新");
  drain.finish();
  EXPECT_TRUE(drain.done());
  EXPECT_EQ(drain.dropped(), 3u);
  EXPECT_EQ(drain.take(), "ab");
  drain.close();
  drain.add("late");
  EXPECT_EQ(drain.take(), "");
}

}  // namespace
}  // namespace halvercine::disks
