#include "platform/linux/PolkitAdministratorShell.h"

#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "base/VirtualClock.h"
#include "base/runAsAdministrator.h"
#include "platform/AdministratorShellContract.h"
#include "platform/posix/AsioClock.h"
#include "platform/posix/OutputTail.h"
#include "platform/posix/PosixToolRunner.h"
#include "platform/posix/runToEnd.h"
#include "support/TemporaryFolder.h"
#include "support/runTask.h"

namespace halvercine::platform::gnulinux {
namespace {

/// Answers as pkexec would: by default it lets everybody be root.
std::string fakePkexec(const std::filesystem::path& folder, const std::string& body) {
  const auto path = folder / "pkexec";
  std::ofstream(path) << "#!/bin/sh\n[ \"$1\" = --disable-internal-agent ] || exit 99\nshift\n"
                      << body << '\n';
  std::filesystem::permissions(path, std::filesystem::perms::owner_all);
  return path.string();
}

template <bool isRoot>
class MachineUnderTest {
 public:
  MachineUnderTest() {
    platform_.clock = std::make_unique<posix::AsioClock>(actor_);
    platform_.toolRunner = std::make_unique<posix::PosixToolRunner>(
        actor_, std::map<std::string, std::string>{
                    {"/usr/bin/pkexec", fakePkexec(folder_.path(), "exec \"$@\"")}});
    platform_.administratorShell = std::make_unique<PolkitAdministratorShell>(
        actor_, *platform_.clock, *platform_.toolRunner, isRoot);
  }

  base::MainActor& actor() { return actor_; }
  Platform& platform() { return platform_; }
  void settle() { actor_.context().poll(); }

 private:
  tests::TemporaryFolder folder_;
  base::MainActor actor_;
  Platform platform_;
};

}  // namespace
}  // namespace halvercine::platform::gnulinux

namespace halvercine::tests {
namespace {

using platform::gnulinux::MachineUnderTest;

INSTANTIATE_TYPED_TEST_SUITE_P(Root, AdministratorShellContract, MachineUnderTest<true>);
INSTANTIATE_TYPED_TEST_SUITE_P(Pkexec, AdministratorShellContract, MachineUnderTest<false>);

}  // namespace
}  // namespace halvercine::tests

namespace halvercine::platform::gnulinux {
namespace {

TEST(PolkitAdministratorShell, OnlyADismissedPromptIsARefusal) {
  struct Case {
    std::string body;
    int exitCode;
    bool refused;
  };
  const Case cases[] = {
      {"echo 'Error executing command as another user: Request dismissed' >&2; exit 126", 126,
       true},
      {"echo 'Error executing command as another user: Not authorized' >&2; exit 127", 127, false},
      {"echo 'sh: 1: /x: Permission denied' >&2; exit 126", 126, false},
  };
  for (const auto& [body, exitCode, refused] : cases) {
    const tests::TemporaryFolder folder;
    base::MainActor actor;
    posix::AsioClock clock(actor);
    posix::PosixToolRunner runner(actor, {{"/usr/bin/pkexec", fakePkexec(folder.path(), body)}});
    PolkitAdministratorShell shell(actor, clock, runner, false);
    const auto result = tests::run(actor, base::runAsAdministrator(shell, "echo no"));
    EXPECT_EQ(result.exitCode, exitCode) << body;
    EXPECT_EQ(result.errors.find("User canceled") != std::string::npos, refused) << body;
    EXPECT_EQ(result.output, "");
  }
}

TEST(PolkitAdministratorShell, MissingPkexecIsNamed) {
  base::MainActor actor;
  posix::AsioClock clock(actor);
  posix::PosixToolRunner runner(actor, {{"/usr/bin/pkexec", "/no/such/pkexec"}});
  PolkitAdministratorShell shell(actor, clock, runner, false);
  const auto result = tests::run(actor, base::runAsAdministrator(shell, "echo no"));
  EXPECT_EQ(result, (AdministratorResult{-1, "", "/usr/bin/pkexec: No such file or directory"}));
}

TEST(runToEnd, GrandchildWithThePipesCannotHoldTheResult) {
  base::MainActor actor;
  base::VirtualClock clock{WallTime{}};
  posix::PosixToolRunner runner(actor);
  std::optional<AdministratorResult> result;
  const auto run = posix::runToEnd(
      actor, clock, runner, {"/bin/sh", {"-c", "echo text; echo why >&2; sleep 1000 & exit 5"}},
      [&result](AdministratorResult ended) { result = std::move(ended); });
  while (!result) {
    actor.context().run_one();
    clock.advanceToNext();  // there is a timer once the child has ended
  }
  EXPECT_EQ(*result, (AdministratorResult{5, "text\n", "why\n"}));
}

TEST(OutputTail, KeepsTheEndFromAWholeCharacterOn) {
  posix::OutputTail tail(5);
  for (const auto* piece : {"a", "b", "新", "新"}) tail.add(piece);
  EXPECT_EQ(tail.take(), "新");
  tail.add(std::string(100'000, 'x'));
  tail.add(std::string(100'000, 'y'));
  tail.add("end");
  EXPECT_EQ(tail.take(), "yyend");
  tail.add("\x80kept");  // nothing was cut here: as it came
  EXPECT_EQ(tail.take(), "\x80kept");
}

}  // namespace
}  // namespace halvercine::platform::gnulinux
