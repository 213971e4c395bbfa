#include "mount/takeover/AutomaticTakeover.h"

#include <algorithm>

#include <gmock/gmock.h>

#include "base/PrivateFiles.h"
#include "mount/takeover/RecoveryStatuses.h"
#include "support/RecordingToolRunner.h"
#include "support/SimulatedFixture.h"
#include "support/runTask.h"

namespace halvercine::mount {
namespace {

using testing::Contains;
using testing::ElementsAre;

/// One USB disk with one volume, mounted read-only by the system.
constexpr auto systemMount = R"({"disk": "disk4", "volumes": [
  {"disk": "disk4s1", "kind": "ntfs", "name": "Data", "size": 1000000000,
   "mount": {"readOnly": true}}]})";

constexpr auto slowTools = R"({"tool": "diskutil", "match": ["unmount"], "seconds": 2},
                              {"tool": "diskutil", "match": ["mount"], "seconds": 2})";

/// The same, served by a module that mounts it as `reasons` say, one after another.
std::string served(const std::string& reasons, const std::string& more = "") {
  return R"({"disk": "disk4", "volumes": [{"disk": "disk4s1", "kind": "ntfs", "name": "Data",
    "mount": {"readOnly": true}, "report": {"reason": "resourceReadOnly"},
    "module": {"mounts": [)" +
         reasons + "]" + more + "}}]}";
}

/// The resident controller on a simulated Mac.
struct Controller : tests::SimulatedFixture {
  explicit Controller(const std::string& members)
      : SimulatedFixture(read(R"({"format": 1, )" + members + "}")) {
    start();
  }

  /// As after a crash: what runs is cut off, and nothing is put in order.
  void restart() {
    stop();
    start();
  }
  void stop() {
    takeover.reset();
    utility.reset();
    monitor.reset();
    tools.reset();
  }
  void start() {
    tools = std::make_unique<tests::RecordingToolRunner>(*platform.toolRunner, *platform.clock);
    monitor = std::make_unique<disks::DiskMonitor>(actor, platform, localization);
    utility =
        std::make_unique<disks::DiskUtility>(*tools, *platform.clock, *platform.mediaRegistry);
    takeover = std::make_unique<AutomaticTakeover>(
        TakeoverContext{actor, platform, *monitor, *utility, localization,
                        [this](const disks::Disk&, platform::WallTime since) {
                          return unmountedByUser && *unmountedByUser >= since;
                        },
                        [this](const std::string&) { return isInUse; },
                        [this](std::string_view category, std::string_view message) {
                          operations.push_back(std::string(category) + ": " + std::string(message));
                        }});
    takeover->happened.connect([this](const TakeoverEvent& event) { events.push_back(event); });
    ASSERT_TRUE(monitor->start());
    takeover->start();
  }

  void finish() { tests::run(actor, takeover->finish()); }

  /// Seconds since the start at which the volume was asked to be mounted or unmounted.
  std::vector<double> times(const std::string& verb) const {
    std::vector<double> found;
    for (const auto& run : tools->runs) {
      if (!run.words.starts_with(verb + " ")) continue;
      found.push_back(std::chrono::duration<double>(run.at - began).count());
    }
    return found;
  }

  std::vector<TakeoverEventKind> kinds() const {
    std::vector<TakeoverEventKind> found;
    for (const auto& event : events) found.push_back(event.kind);
    return found;
  }

  const disks::Disk* disk() const { return monitor->find("disk4s1"); }
  bool isWritable() const { return disk() && disk()->isMounted && disk()->isWritable; }
  bool isMounted() const { return disk() && disk()->isMounted; }
  JournalRecord journal() const { return TakeoverJournal(platform).read(); }
  std::string status() const {
    const auto line = takeover->recoveryStatus("disk4s1");
    return line ? std::string(line->key) +
                      (line->arguments.empty() ? "" : " " + std::to_string(line->arguments[0]))
                : "";
  }
  /// What another process would show.
  std::optional<MountRecoveryPolicy::StatusLine> statusForOthers() const {
    return RecoveryStatuses::read(platform).lineFor("disk4s1", *monitor->deviceId("disk4s1"));
  }
  std::vector<std::string> log() {
    std::vector<std::string> lines;
    for (const auto& line : machine().log().lines()) lines.push_back(line.text);
    return lines;
  }
  platform::simulated::SimulatedMachine& machine() { return mac.machine(); }

  std::vector<TakeoverEvent> events;
  std::vector<std::string> operations;
  std::optional<platform::WallTime> unmountedByUser;
  bool isInUse = false;
  std::unique_ptr<tests::RecordingToolRunner> tools;
  std::unique_ptr<disks::DiskMonitor> monitor;
  std::unique_ptr<disks::DiskUtility> utility;
  std::unique_ptr<AutomaticTakeover> takeover;
  const platform::Uptime began = platform.clock->uptime();
};

std::string devices(const std::string& device) { return R"("devices": [)" + device + "]"; }
std::string withTools(const std::string& device, const std::string& tools) {
  return devices(device) + R"(, "tools": [)" + tools + "]";
}

using Kind = TakeoverEventKind;

TEST(AutomaticTakeoverTest, SystemMountBecomesWritableAndTheStoryIsTold) {
  Controller controller(devices(systemMount));
  controller.pass(1);
  EXPECT_TRUE(controller.isWritable());
  EXPECT_THAT(controller.kinds(), ElementsAre(Kind::began, Kind::remounted, Kind::confirmed));
  EXPECT_THAT(controller.log(), Contains("auto takeover: disk4s1"));
  EXPECT_THAT(controller.log(), Contains("takeover remount: disk4s1 挂载完成，尚未确认读写"));
  EXPECT_THAT(controller.operations,
              ElementsAre("takeover: Remounted to make the volume writable; write access not yet "
                          "confirmed（Data）",
                          "takeover: Writable again（Data）"));
  EXPECT_TRUE(controller.journal().recoveries.empty());
  EXPECT_EQ(controller.takeover->readinessTransition(), MountReadinessTransition::ready);
  controller.pass(4000);
  EXPECT_EQ(controller.times("unmount").size(), 1u);
}

TEST(AutomaticTakeoverTest, FiveRetriesThenItStops) {
  Controller controller(devices(served(R"("resourceReadOnly")")));
  controller.pass(0.05);
  EXPECT_EQ(controller.status(), "") << "the first attempt is no retry";
  EXPECT_FALSE(controller.statusForOthers()) << "nobody holds the lock of the controller";
  const auto lock = TakeoverJournal(controller.platform).takeControllerLock();
  const std::pair<double, const char*> moments[] = {{5, "disk.ux.recovery.waiting 1"},
                                                    {5.05, "disk.ux.recovery.running 1"},
                                                    {20, "disk.ux.recovery.waiting 2"},
                                                    {7200, "disk.ux.recovery.stopped"}};
  for (const auto& [seconds, status] : moments) {
    controller.pass(seconds);
    EXPECT_EQ(controller.status(), status);
    EXPECT_EQ(controller.statusForOthers(), controller.takeover->recoveryStatus("disk4s1"));
  }
  const auto times = controller.times("mount");
  ASSERT_EQ(times.size(), 6u);
  const double delays[] = {10, 30, 120, 300, 600};
  for (std::size_t retry = 0; retry < 5; ++retry) {
    EXPECT_NEAR(times[retry + 1] - times[retry], delays[retry], 0.5);
  }
  EXPECT_EQ(controller.kinds().back(), Kind::stopped);
  EXPECT_THAT(controller.log(), Contains("auto resource recovery: disk4s1"));
  EXPECT_TRUE(controller.isMounted());
}

TEST(AutomaticTakeoverTest, FinalVerdictStandsWhenItsReportGoesStale) {
  Controller controller(devices(served(R"("unsafeVolume")", R"(, "refreshSeconds": 0)")));
  controller.pass(3600);
  EXPECT_EQ(controller.times("mount").size(), 1u);
  EXPECT_EQ(controller.status(), "");
  ASSERT_EQ(controller.kinds().back(), Kind::readOnly);
  EXPECT_EQ(controller.events.back().cause, ReadOnlyCause::protectedVolume);
}

TEST(AutomaticTakeoverTest, FailedMountIsRetriedShownAndInTheEndReadOnly) {
  const auto failing = [](const std::string& times) {
    return withTools(systemMount, R"({"tool": "diskutil", "match": ["mount", "/dev/disk4s1"],
        "times": )" + times + R"(, "status": 1, "text": "Volume on disk4s1 failed to mount"})");
  };
  Controller twice(failing("2"));
  twice.pass(1);
  EXPECT_FALSE(twice.isMounted());
  ASSERT_TRUE(twice.takeover->lastRemountFailure());
  EXPECT_EQ(twice.takeover->lastRemountFailure()->rawError, "Volume on disk4s1 failed to mount");
  EXPECT_THAT(twice.log(), Contains("remount failure [disk4s1] Volume on disk4s1 failed to mount "
                                    "destructiveBusy=false"));
  EXPECT_EQ(twice.journal().recoveries.size(), 1u);
  twice.pass(60);
  EXPECT_TRUE(twice.isWritable());
  EXPECT_FALSE(twice.takeover->lastRemountFailure());
  EXPECT_TRUE(twice.journal().recoveries.empty());

  Controller always(failing("6"));
  always.pass(3000);
  EXPECT_TRUE(always.isMounted());
  EXPECT_FALSE(always.isWritable());
  EXPECT_EQ(always.kinds().back(), Kind::restored);
  EXPECT_TRUE(always.takeover->pendingUnmountedRecovery().empty());
}

TEST(AutomaticTakeoverTest, OccupiedVolumeStaysAsItIsAndIsTriedAgain) {
  Controller controller(devices(systemMount) + R"(, "processes": [
      {"pid": 99, "command": "Preview", "files": ["/Volumes/Data/a"]}], "timeline": [
      {"at": 20, "event": "endProcess", "pid": 99}])");
  controller.pass(15);
  EXPECT_TRUE(controller.isMounted());
  EXPECT_EQ(controller.times("unmount").size(), 2u);
  EXPECT_TRUE(controller.journal().recoveries.empty());
  controller.pass(60);
  EXPECT_TRUE(controller.isWritable());
}

TEST(AutomaticTakeoverTest, NothingRunsDuringADestructiveJob) {
  Controller controller(devices(systemMount)
                            .insert(std::string(R"("devices": [{"disk": "disk4", )").size(),
                                    R"("plugged": false, )"));
  controller.monitor->beginDestructiveOperation();
  controller.machine().plug("disk4");
  controller.pass(200);
  EXPECT_TRUE(controller.tools->runs.empty());
  EXPECT_THAT(controller.kinds(), ElementsAre(Kind::suppressed));
  EXPECT_THAT(controller.log(), Contains("remount failure [disk4s1] (suppressed: destructive "
                                         "op in progress) destructiveBusy=true"));
  controller.monitor->endDestructiveOperation();
  controller.pass(1);
  EXPECT_TRUE(controller.isWritable());
}

TEST(AutomaticTakeoverTest, UserWhoWantsItUnmountedHasTheLastWord) {
  Controller controller(withTools(
      systemMount, R"({"tool": "diskutil", "match": ["mount"], "times": 1, "status": 1})"));
  controller.pass(1);
  ASSERT_FALSE(controller.isMounted());
  controller.unmountedByUser = controller.platform.clock->now();
  controller.pass(100);
  controller.restart();
  controller.pass(4000);
  EXPECT_FALSE(controller.isMounted());
  EXPECT_TRUE(controller.journal().recoveries.empty());
  EXPECT_TRUE(controller.times("mount").empty()) << "since the restart";
}

TEST(AutomaticTakeoverTest, AnotherProcessAtWorkIsWaitedFor) {
  Controller controller(withTools(systemMount, slowTools));
  controller.stop();
  {
    const auto lock = TakeoverJournal(controller.platform).takeWorkingLock();
    ASSERT_TRUE(lock);
    controller.start();
    controller.pass(30);
    EXPECT_TRUE(controller.tools->runs.empty());
  }
  controller.pass(10);
  EXPECT_TRUE(controller.isWritable());
}

TEST(AutomaticTakeoverTest, VolumeThatIsBeingCheckedIsLeftToTheCheck) {
  Controller controller(withTools(systemMount, slowTools));
  controller.pass(1);
  controller.isInUse = true;
  controller.restart();  // it finds the volume noted, as the check would have noted it
  controller.machine().unmount("disk4s1");
  controller.pass(200);
  EXPECT_TRUE(controller.tools->runs.empty());
  EXPECT_THAT(controller.kinds(), ElementsAre(Kind::began));
  controller.isInUse = false;
  controller.pass(120);
  EXPECT_TRUE(controller.isMounted()) << "the check has died";
}

TEST(AutomaticTakeoverTest, DueRetryThatMayNotBeginWaitsInsteadOfSpinning) {
  Controller isProtected(devices(served(R"("resourceReadOnly")")) + R"(, "timeline": [
      {"at": 5, "event": "protect", "disk": "disk4", "protected": true}])");
  isProtected.pass(300);
  EXPECT_EQ(isProtected.times("unmount").size(), 1u);

  Controller suppressed(devices(served(R"("resourceReadOnly")")));
  suppressed.pass(5);
  suppressed.monitor->beginDestructiveOperation();
  suppressed.pass(300);
  EXPECT_EQ(suppressed.times("unmount").size(), 1u);
  suppressed.monitor->endDestructiveOperation();
  suppressed.pass(5);
  EXPECT_EQ(suppressed.times("unmount").size(), 2u);
}

TEST(AutomaticTakeoverTest, ToolThatWasGivenUpMayStillUnmount) {
  Controller controller(withTools(systemMount, R"({"tool": "diskutil", "match": ["unmount"],
      "times": 1, "hang": true})") +
                        R"(, "timeline": [
      {"at": 65, "event": "unmount", "disk": "disk4s1"}])");
  controller.pass(200);
  EXPECT_TRUE(controller.isWritable());
  EXPECT_THAT(controller.kinds(), Contains(Kind::found));
}

TEST(AutomaticTakeoverTest, MountThatWasNoneIsTriedAgain) {
  Controller controller(withTools(systemMount, R"({"tool": "diskutil", "match": ["mount"],
      "times": 1, "status": 0, "then": "nothing", "text": "mounted"})"));
  controller.pass(60);
  EXPECT_TRUE(controller.isWritable());
  EXPECT_THAT(controller.operations, Contains("takeover: Writable again（Data）"));
  EXPECT_TRUE(controller.journal().recoveries.empty());
}

TEST(AutomaticTakeoverTest, DeviceThatLosesItsDescriptionForAMomentIsNotForgotten) {
  Controller controller(withTools(systemMount, slowTools) + R"(, "timeline": [
      {"at": 1, "event": "describe", "disk": "disk4s1", "description": {"DAMediaSize": null}},
      {"at": 5, "event": "describe", "disk": "disk4s1",
       "description": {"DAMediaSize": 1000000000}}])");
  controller.pass(3);
  EXPECT_FALSE(controller.isMounted());
  EXPECT_TRUE(controller.times("mount").empty()) << "it may be another one";
  controller.pass(60);
  EXPECT_TRUE(controller.isWritable());
}

TEST(AutomaticTakeoverTest, HoweverLateTheEndMountsWhatIsUnmounted) {
  Controller controller(withTools(systemMount, R"({"tool": "diskutil", "match": ["mount"],
      "times": 7, "status": 1, "text": "Volume on disk4s1 failed to mount"})"));
  controller.pass(6000);
  ASSERT_FALSE(controller.isMounted()) << "all attempts have failed, and the last resort too";
  controller.finish();
  controller.pass(0);
  EXPECT_TRUE(controller.isMounted());
  EXPECT_TRUE(controller.journal().recoveries.empty());
}

TEST(AutomaticTakeoverTest, VolumesAreTakenOverSideBySide) {
  Controller controller(devices(R"({"disk": "disk4", "volumes": [
      {"disk": "disk4s1", "kind": "ntfs", "name": "Data", "mount": {"readOnly": true}},
      {"disk": "disk4s2", "kind": "ntfs", "name": "More", "mount": {"readOnly": true}}]})") +
                        R"(, "tools": [{"tool": "diskutil", "match": ["mount", "/dev/disk4s2"],
                            "times": 1, "seconds": 30}])");
  controller.pass(5);
  EXPECT_TRUE(controller.isWritable()) << "the slow one does not hold it up";
  EXPECT_EQ(controller.journal().working.size(), 1u);
  controller.finish();
  EXPECT_TRUE(controller.monitor->find("disk4s2")->isMounted);
}

/// What may happen to the disk while it is being worked on, with tools that take their time.
struct Interference {
  const char* name;
  const char* timelineEvent;  // behind "at" and its number
};
constexpr Interference interferences[] = {
    {"unplugged", R"("event": "unplug", "disk": "disk4")"},
    // Not to be taken over itself: whatever touches it was meant for the first one.
    {"replaced", R"("event": "replace", "disk": "disk4", "device": {"disk": "disk4", "volumes": [
        {"disk": "disk4s1", "kind": "ntfs", "name": "Other", "size": 2000000000,
         "mount": {"readOnly": true}, "writable": false}]})"},
    {"replaced by an unmounted one",
     R"("event": "replace", "disk": "disk4", "device": {"disk": "disk4", "volumes": [
        {"disk": "disk4s1", "kind": "ntfs", "name": "Other", "size": 1000000000}]})"},
};

TEST(AutomaticTakeoverTest, NoCommandReachesADeviceThatCameInBetween) {
  for (const auto& interference : interferences) {
    for (double at = 0.25; at < 6; at += 0.5) {
      const auto timeline = R"(, "timeline": [{"at": )" + std::to_string(at) + ", " +
                            interference.timelineEvent + "}]";
      Controller controller(withTools(systemMount, slowTools) + timeline);
      controller.pass(120);
      for (const auto* verb : {"mount", "unmount"}) {
        for (const double time : controller.times(verb)) {
          EXPECT_LT(time, at) << verb << ", " << interference.name << " at " << at;
        }
      }
      EXPECT_TRUE(controller.takeover->pendingUnmountedRecovery().empty());
      EXPECT_TRUE(controller.journal().recoveries.empty()) << interference.name << " at " << at;
    }
  }
}

TEST(AutomaticTakeoverTest, CrashAtAnyMomentLeavesNothingUnmounted) {
  for (double at = 0; at < 6; at += 0.25) {
    Controller controller(withTools(systemMount, slowTools));
    controller.pass(at);
    controller.restart();
    controller.pass(200);
    EXPECT_TRUE(controller.isWritable()) << "crash at " << at;
    EXPECT_TRUE(controller.journal().recoveries.empty());
    EXPECT_TRUE(controller.journal().inherited.empty());
  }
}

TEST(AutomaticTakeoverTest, ToolOfACrashedRunThatUnmountsLateIsNoticed) {
  Controller controller(withTools(systemMount, slowTools));
  controller.pass(1);
  controller.restart();
  controller.pass(20);
  ASSERT_TRUE(controller.isWritable());
  controller.machine().unmount("disk4s1");  // the first run's tool, at last
  controller.pass(20);
  EXPECT_TRUE(controller.isMounted());
  EXPECT_THAT(controller.kinds(), Contains(Kind::found));
  controller.pass(100);
  controller.machine().unmount("disk4s1");  // after that, it is the user
  controller.pass(1000);
  EXPECT_FALSE(controller.isMounted());
}

TEST(AutomaticTakeoverTest, EndingAtAnyMomentLeavesTheVolumeMounted) {
  for (double at = 0; at < 6; at += 0.25) {
    Controller controller(withTools(systemMount, slowTools));
    controller.pass(at);
    controller.finish();
    controller.pass(0);
    EXPECT_TRUE(controller.isMounted()) << "end at " << at;
    EXPECT_EQ(controller.journal().recoveries.size(), 0u);
  }
}

TEST(AutomaticTakeoverTest, CrashKeepsTheCountOfRetriesAnOrderlyEndDoesNot) {
  Controller controller(devices(served(R"("resourceReadOnly")")));
  controller.pass(100);
  ASSERT_EQ(controller.status(), "disk.ux.recovery.waiting 3");
  controller.restart();
  controller.pass(1);
  EXPECT_EQ(controller.status(), "disk.ux.recovery.waiting 3");
  EXPECT_TRUE(controller.times("mount").empty());
  controller.finish();
  controller.restart();
  controller.pass(1);
  EXPECT_EQ(controller.status(), "disk.ux.recovery.waiting 1");
}

TEST(AutomaticTakeoverTest, UnreadableJournalIsNoneAndAnUnwritableOneForbidsToBegin) {
  Controller damaged(R"("devices": [])");
  const auto file = [](const Controller& controller) {
    return *controller.platform.containers->applicationSupport() / "Halvercine/takeover.json";
  };
  for (const auto* text : {"", "{", "[]", R"({"bootSession": 1})"}) {
    ASSERT_FALSE(base::replacePrivateFile(file(damaged), text));
    EXPECT_TRUE(damaged.journal().recoveries.empty());
  }

  Controller unwritable(devices(systemMount));
  unwritable.stop();
  std::filesystem::remove(file(unwritable));
  std::filesystem::create_directories(file(unwritable) / "in its place");
  unwritable.start();
  unwritable.pass(5000);
  EXPECT_TRUE(unwritable.tools->runs.empty());
  EXPECT_TRUE(unwritable.isMounted());
  EXPECT_EQ(std::ranges::count(unwritable.kinds(), Kind::unrecorded), 6) << "not for ever";
  EXPECT_EQ(unwritable.kinds().back(), Kind::stopped);
}

}  // namespace
}  // namespace halvercine::mount
