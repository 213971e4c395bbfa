#include "check/DiskChecker.h"

#include <optional>
#include <string>
#include <utility>

#include <gmock/gmock.h>

#include "base/spawn.h"
#include "platform/simulated/ScenarioMachine.h"
#include "support/RecordingLog.h"
#include "support/runTask.h"

namespace halvercine::check {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

/// A simulated Mac with a healthy volume on disk4s1, one with findings on disk4s2, and tools.
struct CheckMachine : tests::ScenarioMachine {
  explicit CheckMachine(const std::string& tools, const std::string& system = "{}")
      : ScenarioMachine(R"("devices": [{"disk": "disk4", "volumes": [
          {"disk": "disk4s1", "name": "Good", "kind": "ntfs"},
          {"disk": "disk4s2", "name": "Bad", "kind": "ntfs", "fsck": {
            "findings": 8, "dirty": true, "issues": [
              {"message": "A broken mirror", "repairable": false}]}}]}],
          "tools": )" + tools +
                        R"(, "system": )" + system) {}

  CheckOutcome check(const std::string& disk, bool isRepair = false) {
    return tests::run(actor, checker.run(disk, isRepair));
  }

  base::Localization localization{base::Language::en};
  DiskChecker checker{actor, *platform.administratorShell, *platform.containers, localization};
};

std::string failure(const CheckOutcome& outcome) {
  const auto* failed = std::get_if<CheckFailed>(&outcome);
  return failed ? failed->message : "no failure, alternative " + std::to_string(outcome.index());
}

std::string behaviour(const std::string& members) { return "[{" + members + "}]"; }

TEST(DiskChecker, ReportsWhatTheToolFinds) {
  CheckMachine machine("[]");
  const auto good = machine.check("disk4s1");
  ASSERT_EQ(good.index(), 0u) << failure(good);
  EXPECT_TRUE(std::get<CheckSucceeded>(good).report.ok);
  EXPECT_TRUE(std::get<CheckSucceeded>(good).report.issues.empty());

  const auto bad = machine.check("disk4s2");
  ASSERT_EQ(bad.index(), 0u) << failure(bad);
  EXPECT_FALSE(std::get<CheckSucceeded>(bad).report.ok);
  EXPECT_EQ(std::get<CheckSucceeded>(bad).report.issues.size(), 9u);
  EXPECT_EQ(std::get<CheckSucceeded>(bad).report.repaired_count, 0u);

  const auto repaired = machine.check("disk4s2", true);
  ASSERT_EQ(repaired.index(), 0u) << failure(repaired);
  EXPECT_EQ(std::get<CheckSucceeded>(repaired).report.repaired_count, 6u);
}

TEST(DiskChecker, Command) {
  EXPECT_EQ(checkToolCommand("/A/fsck", "disk4s1", false),
            "'/A/fsck' -n '/dev/rdisk4s1'; echo \"__HVL_FSCK_EXIT__:$?\"");
  EXPECT_EQ(checkToolCommand("/it's/f", "d'4", true),
            R"('/it'\''s/f' -y '/dev/rd'\''4'; echo "__HVL_FSCK_EXIT__:$?")");
}

TEST(DiskChecker, HostileNamesReachTheToolAsOneWord) {
  CheckMachine machine("[]");
  for (const std::string name : {"disk'4", "disk\"4\\", "disk4; echo {}", "$(disk4)\n{"}) {
    EXPECT_EQ(failure(machine.check(name)), "no such device: /dev/r" + name);
  }
  EXPECT_EQ(failure(machine.check(std::string("disk4s1\0x", 9))),
            machine.localization.text("check.report.failed"));
}

TEST(DiskChecker, WhateverTheToolSaysIsAnOutcome) {
  const std::string fsck = R"("tool": "fsck_halvercine", "text": )";
  const std::string osascript = R"("tool": "osascript", "status": 1, "errors": )";
  const std::string report =
      R"({\"issues\":[],\"mft_records_scanned\":1,\"files_scanned\":1,\"dirs_scanned\":1,)"
      R"(\"clusters_total\":1,\"clusters_checked\":1,\"repaired_count\":0,)"
      R"(\"dirty_before\":false,\"ok\":true})";
  struct Case {
    std::string tool;
    std::size_t alternative;
    std::string message;
  };
  const Case cases[] = {
      {osascript + R"("0:54: execution error: User canceled. (-128)\n")", 2, ""},
      {osascript + R"("22:63: execution error: ユーザによってキャンセルされました。 (-128)\n")", 2,
       ""},
      {osascript + R"("execution error: Authentication failed. (-60005)\n")", 1,
       "osascript exit=1 | stderr: execution error: Authentication failed. (-60005) | stdout "
       "tail: (empty)"},
      {R"("tool": "osascript", "startError": "No more processes")", 1,
       "osascript exit=-1 | stderr: No more processes | stdout tail: (empty)"},
      {R"("tool": "osascript", "signal": 9)", 1, "The check or repair could not be completed"},
      {fsck + "\"" + report + "\"", 0, ""},
      {fsck + "\"10 %\\n{20 %\\n" + report + "\\n\", \"status\": 4", 0, ""},
      {fsck + "\"" + report + "\", \"megabytes\": 9", 0, ""},
      {fsck + R"("{\"error\":\"open failed: Operation not permitted\"}\n", "status": 8)", 3, ""},
      {fsck + R"("{\"error\":\"no NTFS volume\"}\n")", 1, "no NTFS volume"},
      {fsck + R"("Segmentation fault\n", "signal": 11)", 1,
       "osascript exit=0 | stderr: (empty) | stdout tail: Segmentation fault ⏎ "
       "__HVL_FSCK_EXIT__:139"},
      {fsck + R"("{\"issues\":[")", 1, "JSON decode failed | line tail: {\"issues\":["},
      {R"("tool": "fsck_halvercine", "startError": "Permission denied")", 1,
       "__HVL_FSCK_EXIT__:126"},
  };
  for (const auto& [tool, alternative, message] : cases) {
    const auto outcome = CheckMachine(behaviour(tool)).check("disk4s1");
    EXPECT_EQ(outcome.index(), alternative) << tool << failure(outcome);
    if (alternative == 1) {
      EXPECT_THAT(failure(outcome), HasSubstr(message)) << tool;
    }
  }
}

TEST(DiskChecker, MissingToolStartsNothing) {
  CheckMachine machine(behaviour(R"("tool": "osascript", "startError": "started")"),
                       R"({"checkTool": false})");
  EXPECT_EQ(failure(machine.check("disk4s1")), "fsck_halvercine not found in app bundle");
}

TEST(DiskChecker, RunsForHoursAndIsTakenBack) {
  CheckMachine machine(R"([
    {"tool": "fsck_halvercine", "times": 1, "seconds": 36000},
    {"tool": "fsck_halvercine", "text": "{", "hang": true}])");
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
