#include "platform/posix/PosixToolRunner.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <iterator>
#include <optional>
#include <signal.h>
#include <string>
#include <sys/wait.h>
#include <tuple>
#include <unistd.h>

#include <gtest/gtest.h>

#include "support/TemporaryFolder.h"

namespace halvercine::platform::posix {
namespace {

using tests::TemporaryFolder;

std::ptrdiff_t openDescriptors() {
  return std::distance(std::filesystem::directory_iterator("/dev/fd"),
                       std::filesystem::directory_iterator());
}

struct Seen {
  std::string output;
  std::string errors;
  int ends = 0;
  int exits = 0;
  ToolExit exit;

  bool complete() const { return ends == 1 && exits == 1; }
};

class PosixToolRunnerTest : public testing::Test {
 protected:
  ToolEvents recordInto(Seen& seen) {
    return {.output = [&seen](std::string_view bytes) { seen.output += bytes; },
            .errorOutput = [&seen](std::string_view bytes) { seen.errors += bytes; },
            .outputEnded = [&seen] { ++seen.ends; },
            .exited =
                [&seen](ToolExit exit) {
                  ++seen.exits;
                  seen.exit = exit;
                }};
  }

  std::unique_ptr<ToolProcess> startShell(const std::string& script, Seen& seen) {
    auto process =
        runner.start({.executable = "/bin/sh", .arguments = {"-c", script}}, recordInto(seen));
    EXPECT_TRUE(process) << process.error();
    return process ? std::move(*process) : nullptr;
  }

  Seen runShell(const std::string& script) {
    Seen seen;
    const auto process = startShell(script, seen);
    actor.runUntil([&seen] { return seen.complete(); });
    return seen;
  }

  /// Runs what can be done now.
  void settle() { actor.context().poll(); }

  base::MainActor actor;
  PosixToolRunner runner{actor, {{"/no/such/tool", "/bin/sh"}}};
};

TEST_F(PosixToolRunnerTest, TellsOutputAndEnd) {
  const std::tuple<const char*, const char*, int, bool> cases[] = {
      {"printf out; printf err >&2; exit 3", "outerr", 3, false},
      {"printf last; kill -KILL $$", "last", SIGKILL, true},
      {"exit 255", "", 255, false},
      {"trap 'printf caught; exit 4' TERM; kill -TERM $$", "caught", 4, false},
  };
  for (const auto& [script, output, status, bySignal] : cases) {
    const auto seen = runShell(script);
    EXPECT_EQ(seen.output, output) << script;
    EXPECT_EQ(seen.exit.status, status) << script;
    EXPECT_EQ(seen.exit.bySignal, bySignal) << script;
  }
}

TEST_F(PosixToolRunnerTest, KeepsErrorsApart) {
  Seen seen;
  const auto process =
      runner.start({.executable = "/no/such/tool",
                    .arguments = {"-c", "printf out; printf '%s' \"$1\" >&2", "-", "$HOME \"'"},
                    .errors = ToolInvocation::Errors::apart},
                   recordInto(seen));
  ASSERT_TRUE(process);
  actor.runUntil([&seen] { return seen.complete(); });
  EXPECT_EQ(seen.output, "out");
  EXPECT_EQ(seen.errors, "$HOME \"'") << "arguments reach the tool as they stand";
}

// A program that ignores SIGPIPE, blocks signals or has descriptors open keeps that to itself.
TEST_F(PosixToolRunnerTest, GivesTheChildACleanStart) {
  TemporaryFolder folder;
  const int leaked = ::open(folder.write("open", "").c_str(), O_RDONLY);
  ASSERT_GE(leaked, 3);
  const auto before = ::signal(SIGPIPE, SIG_IGN);
  sigset_t blocked;
  sigset_t mask;
  sigemptyset(&blocked);
  sigaddset(&blocked, SIGUSR1);
  ::pthread_sigmask(SIG_BLOCK, &blocked, &mask);
  ::setenv("LC_ALL", "xx_YY", 1);

  EXPECT_EQ(runShell("kill -PIPE $$; echo survived").exit.status, SIGPIPE);
  EXPECT_EQ(runShell("kill -USR1 $$; echo survived").exit.status, SIGUSR1);
  EXPECT_EQ(runShell("cat; printf \"$LC_ALL \"; for n in 3 4 5 6 7 8 9 " + std::to_string(leaked) +
                     "; do { true <&$n; } 2>/dev/null && printf \"$n is open\"; done")
                .output,
            "C ");
  EXPECT_EQ(runShell("test $(ps -o pgid= -p $$) = $$").exit.status, 0) << "leads a group";

  ::unsetenv("LC_ALL");
  ::pthread_sigmask(SIG_SETMASK, &mask, nullptr);
  ::signal(SIGPIPE, before);
  ::close(leaked);
}

TEST_F(PosixToolRunnerTest, SaysWhyNothingStarts) {
  TemporaryFolder folder;
  const auto plain = folder.write("plain", "no program");
  runShell("true");
  const auto before = openDescriptors();
  const std::pair<std::string, int> cases[] = {
      {folder.path() / "missing", ENOENT}, {plain, EACCES}, {folder.path(), EACCES}};
  for (const auto& [file, error] : cases) {
    Seen seen;
    const auto process = runner.start({.executable = file, .arguments = {}}, recordInto(seen));
    ASSERT_FALSE(process) << file;
    EXPECT_EQ(process.error(), std::generic_category().message(error)) << file;
    settle();
    EXPECT_EQ(seen.ends + seen.exits, 0);
  }
  EXPECT_EQ(openDescriptors(), before);
}

TEST_F(PosixToolRunnerTest, SignalsTheWholeGroup) {
  for (const bool politely : {true, false}) {
    Seen seen;
    const auto process = startShell("sleep 1000 & echo ready; wait", seen);
    actor.runUntil([&seen] { return !seen.output.empty(); });
    politely ? process->terminate() : process->kill();
    actor.runUntil([&seen] { return seen.complete(); });  // the sleeper has closed the pipe as well
    EXPECT_TRUE(seen.exit.bySignal);
    EXPECT_EQ(seen.exit.status, politely ? SIGTERM : SIGKILL);
  }
}

TEST_F(PosixToolRunnerTest, DestroyingEndsEverything) {
  Seen seen;
  auto process = startShell("sleep 1000 & echo $!; yes", seen);
  actor.runUntil([&seen] { return seen.output.size() > 1'000'000; });
  process.reset();
  const auto size = seen.output.size();
  const auto sleeper = static_cast<pid_t>(std::stol(seen.output));
  settle();
  EXPECT_EQ(seen.output.size(), size);
  EXPECT_EQ(seen.ends + seen.exits, 0);
  // Whoever adopts the sleeper reaps it, some time after its death.
  const auto stateOf = [&] { return runShell("ps -o stat= -p " + std::to_string(sleeper)).output; };
  std::string state;
  for (int attempt = 0; attempt < 100; ++attempt) {
    state = stateOf();
    if (state.empty() || state.starts_with('Z')) break;
  }
  EXPECT_TRUE(state.empty() || state.starts_with('Z')) << state;
}

TEST_F(PosixToolRunnerTest, ChildMayBeDestroyedInItsOwnEvents) {
  for (const int which : {0, 1, 2}) {
    std::unique_ptr<ToolProcess> process;
    int calls = 0;
    const auto destroyAt = [&](int event) {
      ++calls;
      if (event == which) process.reset();
    };
    auto started = runner.start({.executable = "/bin/sh", .arguments = {"-c", "echo text"}},
                                {.output = [&](std::string_view) { destroyAt(0); },
                                 .errorOutput = {},
                                 .outputEnded = [&] { destroyAt(1); },
                                 .exited = [&](ToolExit) { destroyAt(2); }});
    ASSERT_TRUE(started);
    process = std::move(*started);
    actor.runUntil([&] { return !process; });
    const int callsBefore = calls;
    settle();
    EXPECT_EQ(calls, callsBefore);
  }
}

TEST_F(PosixToolRunnerTest, ManyRunsLeaveNothingBehind) {
  runShell("true");
  const auto before = openDescriptors();
  constexpr int rounds = 100;
  for (int round = 0; round < rounds; ++round) {
    // One that is let end, one that leaves a child with the pipe, one that is cut off at once.
    EXPECT_EQ(runShell("echo x").output, "x\n");
    Seen left;
    auto leaving = startShell("sleep 1000 & exit 7", left);
    actor.runUntil([&left] { return left.exits == 1; });
    EXPECT_EQ(left.ends, 0);
    Seen cut;
    startShell("sleep 1000", cut).reset();
  }
  settle();
  EXPECT_EQ(openDescriptors(), before);
}

TEST(PosixToolRunnerLifeTest, LeavesNoZombie) {
  {
    base::MainActor actor;
    std::unique_ptr<ToolProcess> outlivesTheRunner;
    PosixToolRunner runner(actor);
    for (int child = 0; child < 20; ++child) {
      auto process = runner.start({.executable = "/bin/sh", .arguments = {"-c", "sleep 1000"}}, {});
      ASSERT_TRUE(process);
      outlivesTheRunner = std::move(*process);
    }
  }
  EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
  EXPECT_EQ(errno, ECHILD);
}

}  // namespace
}  // namespace halvercine::platform::posix
