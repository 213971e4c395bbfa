// A check from its start to its end on the simulated Mac, in virtual time.
#include <filesystem>
#include <memory>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/sleepFor.h"
#include "check/CheckMailbox.h"
#include "check/CheckSessionStore.h"
#include "mount/takeover/TakeoverJournal.h"
#include "support/SimulatedFixture.h"

namespace halvercine::check {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const std::string served = R"("mount": {}, "report": {}, "module": {}, )";

/// One NTFS volume, disk4s1, with these further members; `check` is how the module checks it.
std::string oneVolume(const std::string& check, const std::string& members = served) {
  return R"([{"disk": "disk4", "volumes": [{"disk": "disk4s1", "name": "DATA", "kind": "ntfs", )" +
         members + R"("check": )" + check + "}]}]";
}

struct Fixture : tests::SimulatedFixture {
  explicit Fixture(const std::string& devices, std::string_view system = "{}")
      : Fixture(scenario(devices, system)) {}
  explicit Fixture(platform::simulated::Scenario scenario) : SimulatedFixture(std::move(scenario)) {
    monitor.start();
  }
  explicit Fixture(const char* check) : Fixture(oneVolume(check)) {}

  CheckServices services() {
    return {actor,
            platform,
            monitor,
            utility,
            localization,
            [this](std::string bsdName, bool repair) { return checkDirectly(bsdName, repair); },
            [this](std::string category, std::string message) {
              operations.push_back(category + ": " + message);
            }};
  }

  base::Task<CheckOutcome> checkDirectly(std::string bsdName, bool repair) {
    directRuns.push_back(bsdName + (repair ? " -y" : " -n"));
    wasMountedThen = mac.machine().look(bsdName)->mountPath.has_value();
    co_await base::sleepFor(*platform.clock, directDuration);
    CheckReportModel report;
    report.ok = true;
    co_return CheckSucceeded{report};
  }

  CheckSession& start(CheckOptions options = {}) {
    const auto session = store->start(*monitor.find("disk4s1"), options);
    if (!session) throw std::runtime_error("refused");
    (*session)->changed.connect([this, &session = **session] {
      if (!session.isRunning()) ++ends;
    });
    return **session;
  }

  bool finish(CheckSession& session) {
    return actor.runUntil([&] { return !session.isRunning(); });
  }

  /// Lets time pass until the session has got somewhere.
  void untilProgress(CheckSession& session) {
    actor.runUntil([&] { return session.progress().has_value(); });
  }

  std::vector<std::string> mailboxFiles() {
    std::vector<std::string> names;
    const auto folder = *platform.containers->groupContainer("group.com.halvercine.shared");
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
      auto name = entry.path().filename().string();
      const bool isOurs = name.starts_with("deep-check-") || name.starts_with("check-pause-") ||
                          name.starts_with("check-cancel-") || name.starts_with(".");
      if (isOurs && !name.ends_with(".lock")) names.push_back(std::move(name));
    }
    return names;
  }

  disks::DiskMonitor monitor{actor, platform, localization};
  disks::DiskUtility utility{*platform.toolRunner, *platform.clock, *platform.mediaRegistry};
  std::vector<std::string> directRuns;
  std::optional<bool> wasMountedThen;
  platform::Uptime directDuration = std::chrono::seconds(3);
  std::vector<std::string> operations;
  int ends = 0;
  std::unique_ptr<CheckSessionStore> store = std::make_unique<CheckSessionStore>(services());
};

std::string outcomeText(const Fixture& fixture, const CheckSession& session) {
  if (!session.outcome()) return "none";
  if (const auto* failed = std::get_if<CheckFailed>(&*session.outcome())) {
    for (const auto* key : {"check.failed.timeout", "check.failed.interrupted"}) {
      if (failed->message == fixture.localization.text(key)) return key;
    }
    return failed->message;
  }
  constexpr const char* names[] = {"succeeded", "", "cancelled", "full disk access", "bypassed"};
  return names[session.outcome()->index()];
}

TEST(CheckSessionTest, EveryWayOutLeavesNoFlagBehind) {
  struct Row {
    const char* what;
    std::string devices;
    const char* outcome;
    double least, most;  // seconds that it takes
    int directRuns;
    bool isLogged;
  };
  const Row rows[] = {
      {"a good check", oneVolume("{}"), "succeeded", 6, 9, 0, false},
      {"no pid in the frames", oneVolume(R"({"pid": 0})"), "succeeded", 6, 9, 0, false},
      {"a report for any disk", oneVolume(R"({"diskID": "unknown"})"), "succeeded", 6, 9, 0, false},
      {"another disk's report only", oneVolume(R"({"diskID": "disk4s2"})"), "check.failed.timeout",
       666, 670, 0, true},
      {"another disk's report first", oneVolume(R"({"strangersReport": true})"), "succeeded", 7, 10,
       0, false},
      {"half written files", oneVolume(R"({"torn": true})"), "succeeded", 7, 10, 0, false},
      {"a late report", oneVolume(R"({"reportDelay": 500})"), "succeeded", 506, 510, 0, false},
      {"taken late", oneVolume(R"({"claimAfter": 80})"), "succeeded", 86, 90, 0, false},
      {"never taken", oneVolume(R"({"claims": false})"), "succeeded", 93, 94.5, 1, true},
      {"the system's driver", oneVolume("{}", R"("mount": {}, "module": {"driver": "system"}, )"),
       "bypassed", 15, 16, 0, true},
      {"another vendor's driver",
       oneVolume("{}", R"("mount": {"type": "ufsd_NTFS"}, "module": {"driver": "Paragon NTFS"}, )"),
       "bypassed", 90, 91, 0, true},
      {"not mounted at all", oneVolume("{}", ""), "succeeded", 93, 94.5, 1, true},
      {"hangs", oneVolume(R"({"stallsAfter": 2})"), "check.failed.timeout", 662, 666, 0, true},
      {"gets nowhere but heeds the flag", oneVolume(R"({"stallsAfter": 2, "heartbeat": true})"),
       "check.failed.timeout", 602, 606, 0, true},
      {"dies once", oneVolume(R"({"diesAfter": 2})"), "succeeded", 8, 12, 0, true},
      {"dies, its number is used again",
       oneVolume(R"({"diesAfter": 2, "reusesPid": true, "pid": 77})"), "succeeded", 8, 12, 0, true},
      {"dies every time", oneVolume(R"({"diesAfter": 2, "deaths": 99})"),
       "check.failed.interrupted", 6, 12, 0, true},
      {"dies before it says anything", oneVolume(R"({"diesAfter": 0.1})"), "check.failed.timeout",
       660, 664, 0, true},
      {"a run that could not be completed",
       oneVolume("{}", served + R"("fsck": {"error": "read error"}, )"), "read error", 6, 9, 0,
       false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    Fixture fixture(row.devices);
    const auto began = fixture.platform.clock->uptime();
    auto& session = fixture.start();
    ASSERT_TRUE(fixture.finish(session));
    const auto took =
        std::chrono::duration<double>(fixture.platform.clock->uptime() - began).count();
    EXPECT_EQ(outcomeText(fixture, session), row.outcome);
    EXPECT_GE(took, row.least);
    EXPECT_LE(took, row.most);
    EXPECT_EQ(static_cast<int>(fixture.directRuns.size()), row.directRuns);
    EXPECT_EQ(session.cliFallback(), row.directRuns > 0);
    EXPECT_THAT(fixture.mailboxFiles(), IsEmpty());
    EXPECT_EQ(fixture.ends, 1);
    EXPECT_EQ(!fixture.mac.machine().log().lines().empty(), row.isLogged);
  }
}

TEST(CheckSessionTest, TheExecutorMayDieAtAnyMoment) {
  for (double moment = 0.1; moment < 8; moment += 0.21) {
    SCOPED_TRACE(moment);
    Fixture fixture(
        oneVolume(R"({"claimAfter": 0, "frameSeconds": 0.25, "torn": true, "diesAfter": )" +
                  std::to_string(moment) + "}"));
    auto& session = fixture.start();
    bool isKnown = false;
    session.changed.connect([&] { isKnown |= session.progress().has_value(); });
    ASSERT_TRUE(fixture.finish(session));
    // Before the first whole frame has been read nobody knows whom to ask for.
    EXPECT_EQ(outcomeText(fixture, session), isKnown ? "succeeded" : "check.failed.timeout");
    EXPECT_TRUE(isKnown || moment < 2);
    EXPECT_LE(session.recoveries(), 1);
    EXPECT_THAT(fixture.mailboxFiles(), IsEmpty());
    EXPECT_TRUE(fixture.monitor.find("disk4s1")->isMounted);
  }
}

TEST(CheckSessionTest, APauseHoldsTheCheckForAsLongAsItLasts) {
  Fixture fixture("{}");
  auto& session = fixture.start();
  fixture.untilProgress(session);
  EXPECT_TRUE(session.pause());
  EXPECT_FALSE(session.pause()) << "it is";
  EXPECT_THAT(fixture.mailboxFiles(), ElementsAre("check-pause-disk4s1.json"));
  fixture.pass(5000);
  EXPECT_TRUE(session.isRunning());
  EXPECT_THAT(fixture.mac.machine().log().lines(), IsEmpty());
  EXPECT_TRUE(session.resume());
  ASSERT_TRUE(fixture.finish(session));
  EXPECT_EQ(outcomeText(fixture, session), "succeeded");
  EXPECT_FALSE(session.pause()) << "over";
}

TEST(CheckSessionTest, ACancelWaitsForTheModule) {
  struct Row {
    const char* check;
    bool pausesFirst;
    bool untilProgress;
    bool isSafe;
    double least, most;
  };
  const Row rows[] = {
      {"{}", false, true, true, 0.2, 1.75},
      {"{}", true, true, true, 0.2, 1.75},
      {R"({"claims": false})", false, false, true, 0, 1},
      {R"({"obeys": false, "stallsAfter": 1})", false, true, false, 60, 63},
      {R"({"diesAfter": 2})", false, true, true, 0.2, 3},
      // It goes on saying that it lives.
      {R"({"obeys": false, "stallsAfter": 1, "heartbeat": true})", false, true, false, 600, 663},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.check);
    Fixture fixture(row.check);
    auto& session = fixture.start();
    if (row.untilProgress) fixture.untilProgress(session);
    if (row.pausesFirst) session.pause();
    fixture.pass(1);
    const auto asked = fixture.platform.clock->uptime();
    EXPECT_TRUE(session.cancel());
    EXPECT_TRUE(session.isCancelling());
    if (row.pausesFirst) {
      EXPECT_THAT(fixture.mailboxFiles(), ElementsAre("check-cancel-disk4s1.json"));
    }
    const bool ends = fixture.actor.runUntil([&] {
      return !session.isRunning() ||
             fixture.platform.clock->uptime() - asked > std::chrono::seconds(700);
    });
    ASSERT_TRUE(ends);
    const auto took =
        std::chrono::duration<double>(fixture.platform.clock->uptime() - asked).count();
    EXPECT_GE(took, row.least);
    EXPECT_LE(took, row.most);
    EXPECT_EQ(outcomeText(fixture, session), "cancelled");
    EXPECT_EQ(session.hasStoppedSafely(), row.isSafe);
    EXPECT_THAT(fixture.mailboxFiles(), IsEmpty());
  }
}

TEST(CheckSessionTest, OneCheckOfAVolumeAtATime) {
  Fixture fixture("{}");
  auto& session = fixture.start();
  fixture.untilProgress(session);
  session.pause();
  const auto disk = *fixture.monitor.find("disk4s1");
  EXPECT_EQ(fixture.store->start(disk, {}).error(), CheckRefusal::running);
  EXPECT_TRUE(fixture.store->isChecking(disk));
  CheckSessionStore another(fixture.services());  // as in another process
  EXPECT_EQ(another.start(disk, {}).error(), CheckRefusal::running);
  EXPECT_THAT(fixture.mailboxFiles(), ElementsAre("check-pause-disk4s1.json"))
      << "the other store's sweep has left the flag alone";
  session.resume();
  ASSERT_TRUE(fixture.finish(session));
  EXPECT_FALSE(fixture.store->isChecking(disk));
  EXPECT_TRUE(another.start(disk, {}));
  auto exfat = disk;
  exfat.fileSystem = "exfat";
  EXPECT_EQ(fixture.store->start(exfat, {}).error(), CheckRefusal::notNtfs);
}

TEST(CheckSessionTest, LeavingUnderWayWithdrawsTheFlags) {
  Fixture fixture("{}");
  auto& session = fixture.start({.repair = true});
  fixture.untilProgress(session);
  session.pause();
  fixture.pass(1);
  EXPECT_TRUE(fixture.monitor.destructiveBusy());
  EXPECT_THAT(fixture.mailboxFiles(), testing::SizeIs(1));
  fixture.store.reset();
  EXPECT_THAT(fixture.mailboxFiles(), IsEmpty());
  EXPECT_FALSE(fixture.monitor.destructiveBusy());
  fixture.pass(100);
}

TEST(CheckSessionTest, WhatACrashHasLeftIsSweptAndNothingOldIsBelieved) {
  Fixture fixture("{}");
  const auto mailbox = *CheckMailbox::open(*fixture.platform.containers, "disk4s1");
  const auto now = fixture.platform.clock->now();
  mailbox.writeRequest(true, now);
  mailbox.writePause(now);
  mailbox.writeCancel(now);
  tests::writeText(mailbox.progressPath(),
                   R"({"stage":4,"scanned":9,"total":9,"ts":1e300,"pid":1})");
  tests::writeText(mailbox.reportPath(), R"({"report":{"issues":[],"mft_records_scanned":1,
      "files_scanned":1,"dirs_scanned":1,"clusters_total":1,"clusters_checked":1,
      "repaired_count":0,"dirty_before":false,"ok":false},"diskID":"disk4s1"})");
  fixture.store = std::make_unique<CheckSessionStore>(fixture.services());
  EXPECT_THAT(fixture.mailboxFiles(), IsEmpty());
  mailbox.writeCancel(now);  // and once more, by a process that dies after our start
  auto& session = fixture.start();
  ASSERT_TRUE(fixture.finish(session));
  ASSERT_EQ(outcomeText(fixture, session), "succeeded");
  EXPECT_TRUE(std::get<CheckSucceeded>(*session.outcome()).report.ok);
  EXPECT_FALSE(std::get<CheckSucceeded>(*session.outcome()).report.cancelled);
}

TEST(CheckSessionTest, AnotherDeviceUnderTheNameEndsItUntouched) {
  for (const char* check : {"{}", R"({"claims": false})", R"({"diesAfter": 3.2})"}) {
    SCOPED_TRACE(check);
    Fixture fixture(check);
    auto& session = fixture.start();
    fixture.pass(3.3);
    const auto other = fixture.scenario(oneVolume("{}", R"("mount": {}, )"), "{}");
    ASSERT_TRUE(fixture.mac.machine().replace(other.devices.front()));
    ASSERT_TRUE(fixture.finish(session));
    EXPECT_EQ(outcomeText(fixture, session), "check.failed.interrupted");
    EXPECT_THAT(fixture.mailboxFiles(), IsEmpty());
    EXPECT_THAT(fixture.directRuns, IsEmpty());
    fixture.pass(1);
    EXPECT_TRUE(fixture.monitor.find("disk4s1")->isMounted) << "not even unmounted";
    EXPECT_FALSE(fixture.store->isChecking(*fixture.monitor.find("disk4s1")));
  }
}

TEST(CheckSessionTest, AnotherDeviceThanTheUserAgreedToIsNotTouched) {
  Fixture fixture("{}");
  const auto listed = *fixture.monitor.find("disk4s1");
  const auto agreed = identityOf(listed, *fixture.platform.mediaRegistry);
  const auto other = fixture.scenario(oneVolume("{}"), "{}");
  ASSERT_TRUE(fixture.mac.machine().replace(other.devices.front()));
  EXPECT_EQ(fixture.store->start(listed, {.repair = true}).error(), CheckRefusal::changed)
      << "the list is older than the device";
  fixture.monitor.refresh();
  const auto now = *fixture.monitor.find("disk4s1");
  EXPECT_EQ(fixture.store->start(now, {.repair = true, .agreed = agreed}).error(),
            CheckRefusal::changed);
  EXPECT_TRUE(fixture.store->start(now, {.repair = true}));
}

TEST(CheckSessionTest, WhatCannotBeNotedIsNotUnmounted) {
  Fixture fixture("{}");
  const auto folder = *fixture.platform.containers->applicationSupport() / "Halvercine";
  std::filesystem::create_directories(folder.parent_path());
  std::filesystem::remove_all(folder);
  tests::writeText(folder, "in the way");
  auto& session = fixture.start({.repair = true, .direct = true});
  ASSERT_TRUE(fixture.finish(session));
  EXPECT_EQ(outcomeText(fixture, session), fixture.localization.text("ui.takeover.notrecorded"));
  EXPECT_THAT(fixture.directRuns, IsEmpty());
  EXPECT_TRUE(fixture.monitor.find("disk4s1")->isMounted);
}

TEST(CheckSessionTest, ARepairHoldsAutomaticMountsAwayAndIsLogged) {
  Fixture fixture(oneVolume("{}", served + R"("fsck": {"issues": [{"message": "a"}]}, )"));
  auto& session = fixture.start({.repair = true});
  EXPECT_TRUE(fixture.monitor.destructiveBusy());
  ASSERT_TRUE(fixture.finish(session));
  EXPECT_FALSE(fixture.monitor.destructiveBusy());
  EXPECT_EQ(std::get<CheckSucceeded>(*session.outcome()).report.repaired_count, 1u);
  EXPECT_THAT(fixture.operations,
              ElementsAre("repair: Repair started（DATA）", "repair: Repair completed（DATA）"));
  fixture.monitor.beginDestructiveOperation();  // a format, say
  const auto refused = fixture.store->start(session.disk(), {.repair = true});
  EXPECT_EQ(refused.error(), CheckRefusal::destructiveJob);
  EXPECT_TRUE(fixture.store->start(session.disk(), {}));
}

TEST(CheckSessionTest, TheCommandLineToolRepairsWhatIsNotMounted) {
  Fixture fixture("{}");
  auto& session = fixture.start({.repair = true, .direct = true});
  fixture.pass(1);
  EXPECT_FALSE(session.cancel()) << "not halfway";
  EXPECT_THAT(mount::TakeoverJournal(fixture.platform).read().recoveries, IsEmpty())
      << "nobody may mount it under the tool, should this process die";
  EXPECT_FALSE(session.pause());
  ASSERT_TRUE(fixture.finish(session));
  EXPECT_THAT(fixture.directRuns, ElementsAre("disk4s1 -y"));
  EXPECT_EQ(fixture.wasMountedThen, false);
  EXPECT_TRUE(fixture.monitor.find("disk4s1")->isMounted);
  // A check only reads; it can be cancelled.
  fixture.directDuration = std::chrono::hours(1);
  auto& check = fixture.start({.direct = true});
  fixture.pass(1);
  EXPECT_EQ(fixture.wasMountedThen, true);
  EXPECT_TRUE(check.cancel());
  ASSERT_TRUE(fixture.finish(check));
  EXPECT_EQ(outcomeText(fixture, check), "cancelled");
  EXPECT_FALSE(check.hasStoppedSafely()) << "the tool is the administrator's";
  EXPECT_THAT(fixture.operations, testing::Contains("check: Check cancelled（DATA）"));
}

TEST(CheckSessionTest, ARepairGivesTheVolumeBackOrSaysThatItCannot) {
  struct Row {
    const char* what;
    const char* tool;  // how the disk tool behaves
    bool isRepaired;
    bool isMounted;
  };
  const Row rows[] = {
      {"all well", R"({"tool": "osascript"})", true, true},
      {"somebody has files open", R"({"match": ["unmount"], "status": 1, "text": "busy"})", false,
       true},
      {"unmounted, but said to have failed",
       R"({"match": ["unmount"], "status": 1, "text": "busy", "then": "do"})", true, true},
      {"does not mount again", R"({"match": ["mount"], "status": 1, "text": "failed"})", true,
       false},
      {"says that it mounts", R"({"match": ["mount"], "status": 0, "then": "nothing"})", true,
       false},
  };
  for (const auto& row : rows) {
    const auto text =
        R"({"format": 1, "devices": )" + oneVolume("{}") + R"(, "tools": [)" + row.tool + "]}";
    Fixture fixture(platform::simulated::readScenario(text).value());
    auto& session = fixture.start({.repair = true, .direct = true});
    ASSERT_TRUE(fixture.finish(session));
    EXPECT_EQ(!fixture.directRuns.empty(), row.isRepaired) << row.what;
    EXPECT_EQ(fixture.monitor.find("disk4s1")->isMounted, row.isMounted) << row.what;
    EXPECT_EQ(session.isLeftUnmounted(), !row.isMounted) << row.what;
    // What is left is for the resident controller to mount.
    const auto noted = mount::TakeoverJournal(fixture.platform).read().recoveries.size();
    EXPECT_EQ(noted, row.isMounted ? 0u : 1u) << row.what;
  }
}

TEST(CheckSessionTest, ALockThatCannotBeOpenedIsNobodys) {
  Fixture fixture("{}");
  const auto mailbox = CheckMailbox::open(*fixture.platform.containers, "disk4s1");
  std::filesystem::create_directory(mailbox->requestPath().string() + ".lock");
  auto& session = fixture.start();
  ASSERT_TRUE(fixture.finish(session));
  EXPECT_EQ(outcomeText(fixture, session), "succeeded");
}

TEST(CheckSessionTest, AVolumeThatIsBeingTakenOverIsNotChecked) {
  Fixture fixture("{}");
  const mount::TakeoverJournal journal(fixture.platform);
  const auto deviceId = *fixture.monitor.deviceId("disk4s1");
  const auto lock = journal.takeWorkingLock();
  ASSERT_TRUE(lock);
  journal.update([&](mount::JournalRecord& record) { record.working.push_back(deviceId); });
  EXPECT_EQ(fixture.store->start(*fixture.monitor.find("disk4s1"), {}).error(),
            CheckRefusal::beingMounted);
}

TEST(CheckSessionTest, WithoutAContainerTheToolChecksAtOnce) {
  Fixture fixture(oneVolume("{}"), R"({"groupContainer": false})");
  auto& session = fixture.start();
  ASSERT_TRUE(fixture.finish(session));
  EXPECT_TRUE(session.cliFallback());
  EXPECT_THAT(fixture.directRuns, ElementsAre("disk4s1 -n"));
}

}  // namespace
}  // namespace halvercine::check
