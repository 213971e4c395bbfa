#include "check/DiskChecker.h"

#include <optional>
#include <string>

#include <gmock/gmock.h>

#include "base/spawn.h"
#include "platform/simulated/ScenarioMachine.h"
#include "support/RecordingLog.h"
#include "support/runTask.h"

namespace halvercine::check {
namespace {

/// A simulated Mac with a volume on disk4s1 that has findings, and tools.
struct CheckMachine : tests::ScenarioMachine {
  explicit CheckMachine(const std::string& tools)
      : ScenarioMachine(R"("devices": [{"disk": "disk4", "volumes": [
          {"disk": "disk4s1", "name": "Bad", "kind": "ntfs", "fsck": {
            "findings": 8, "dirty": true, "issues": [
              {"message": "A broken mirror", "repairable": false}]}}]}],
          "tools": [)" + tools +
                        "]") {}

  CheckOutcome check(const std::string& disk, bool isRepair = false) {
    return tests::run(actor, checker.run(disk, isRepair));
  }

  base::Localization localization{base::Language::en};
  DiskChecker checker{actor, *platform.administratorShell, *platform.containers, localization};
};

std::string failure(const CheckOutcome& outcome) {
  const auto* failed = std::get_if<CheckFailed>(&outcome);
  return failed ? failed->message : "alternative " + std::to_string(outcome.index());
}

TEST(DiskChecker, ReportsWhatTheToolFinds) {
  CheckMachine machine("");
  for (const bool isRepair : {false, true}) {
    const auto outcome = machine.check("disk4s1", isRepair);
    ASSERT_EQ(outcome.index(), 0u) << failure(outcome);
    const auto& report = std::get<CheckSucceeded>(outcome).report;
    EXPECT_EQ(report.issues.size(), 9u);
    EXPECT_EQ(report.repaired_count, isRepair ? 6u : 0u);
  }
}

TEST(DiskChecker, Command) {
  EXPECT_EQ(checkToolCommand("/A/fsck", "disk4s1", false),
            "'/A/fsck' -n '/dev/rdisk4s1'; echo \"__HVL_FSCK_EXIT__:$?\"");
  EXPECT_EQ(checkToolCommand("/it's/f", "d'4", true),
            R"('/it'\''s/f' -y '/dev/rd'\''4'; echo "__HVL_FSCK_EXIT__:$?")");
}

TEST(DiskChecker, HostileNamesReachTheToolAsOneWord) {
  CheckMachine machine("");
  for (const std::string name : {"disk'4", "disk\"4\\", "disk4; echo {}", "$(disk4)\n{"}) {
    EXPECT_EQ(failure(machine.check(name)), "no such device: /dev/r" + name);
  }
  EXPECT_EQ(failure(machine.check(std::string("disk4s1\0x", 9))),
            machine.localization.text("check.report.failed"));
}

TEST(DiskChecker, HoweverTheToolEndsThereIsAnOutcome) {
  const std::string report =
      R"({\"issues\":[],\"mft_records_scanned\":1,\"files_scanned\":1,\"dirs_scanned\":1,)"
      R"(\"clusters_total\":1,\"clusters_checked\":1,\"repaired_count\":0,)"
      R"(\"dirty_before\":false,\"ok\":true})";
  const std::pair<std::string, std::string> cases[] = {
      {R"("tool": "osascript", "signal": 9)", "The check or repair could not be completed"},
      {R"("tool": "fsck_halvercine", "text": ")" + report + R"(", "megabytes": 9)",
       "alternative 0"},
      {R"("tool": "fsck_halvercine", "text": "Segmentation fault\n", "signal": 11)",
       "osascript exit=0 | stderr: (empty) | stdout tail: Segmentation fault ⏎ "
       "__HVL_FSCK_EXIT__:139"},
      {R"("tool": "fsck_halvercine", "startError": "Permission denied")", "__HVL_FSCK_EXIT__:126"},
  };
  for (const auto& [tool, expected] : cases) {
    EXPECT_THAT(failure(CheckMachine("{" + tool + "}").check("disk4s1")),
                testing::HasSubstr(expected));
  }
}

TEST(DiskChecker, RunsForHoursAndIsTakenBack) {
  CheckMachine machine(R"(
    {"tool": "fsck_halvercine", "times": 1, "seconds": 36000},
    {"tool": "fsck_halvercine", "text": "{", "hang": true})");
  EXPECT_EQ(machine.check("disk4s1").index(), 0u);

  tests::RecordingLog log;
  base::TaskScope scope(machine.actor, log);
  std::optional<CheckOutcome> outcome;
  scope.spawn("check", [](CheckMachine& on, auto& into) -> base::Task<void> {
    into = co_await on.checker.run("disk4s1", true);
  }(machine, outcome));
  machine.pass(100'000);
  EXPECT_EQ(scope.running(), 1u);
  scope.cancelAll();
  machine.pass(0);
  EXPECT_EQ(scope.running(), 0u);
  EXPECT_FALSE(outcome);
  EXPECT_TRUE(log.lines().empty());
}

}  // namespace
}  // namespace halvercine::check
