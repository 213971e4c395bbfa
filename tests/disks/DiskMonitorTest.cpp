#include "disks/DiskMonitor.h"

#include <gtest/gtest.h>

#include "base/Json.h"
#include "bitlocker/Status.h"
#include "disks/BannerStabilityState.h"
#include "support/SimulatedFixture.h"

namespace halvercine::disks {
namespace {

using namespace std::chrono_literals;
using tests::SimulatedFixture;

constexpr auto twoDisks = R"([
  {"disk": "disk4", "volumes": [{"disk": "disk4s1", "kind": "ntfs", "name": "A",
    "mount": {"importantUsage": null, "available": null, "blockSize": 1, "availableBlocks": 100}}]},
  {"disk": "disk5", "plugged": false, "volumes": [{"disk": "disk5s1", "kind": "exfat"}]}])";

class DiskMonitorTest : public testing::Test {
 protected:
  std::vector<std::string> ids() {
    std::vector<std::string> found;
    for (const auto& disk : monitor->disks()) found.push_back(disk.id);
    return found;
  }
  /// Runs what can be done now, without letting time pass.
  void settle() { mac.pass(0); }

  SimulatedFixture mac{twoDisks};
  std::unique_ptr<DiskMonitor> monitor =
      std::make_unique<DiskMonitor>(mac.actor, mac.platform, mac.localization);
};

using Ids = std::vector<std::string>;

TEST_F(DiskMonitorTest, FollowsPlugMountAndUnplug) {
  ASSERT_TRUE(monitor->start());
  EXPECT_EQ(ids(), (Ids{"disk4", "disk4s1"})) << "before start returns";
  int changes = 0;
  monitor->disksChanged.connect([&changes] { ++changes; });
  mac.mac.machine().plug("disk5");
  settle();
  EXPECT_EQ(ids(), (Ids{"disk4", "disk4s1", "disk5", "disk5s1"}));
  mac.mac.machine().mount("disk5s1", {});
  settle();
  EXPECT_TRUE(monitor->find("disk5s1")->isMounted);
  EXPECT_FALSE(monitor->wasNtfs("disk5s1"));
  mac.mac.machine().unplug("disk4");
  settle();
  EXPECT_EQ(ids(), (Ids{"disk5", "disk5s1"}));
  EXPECT_TRUE(monitor->wasNtfs("disk4s1"));
  EXPECT_GE(changes, 3);
}

TEST_F(DiskMonitorTest, BurstCostsAtMostTwoRefreshes) {
  ASSERT_TRUE(monitor->start());
  mac.pass(4);
  const auto before = monitor->refreshRevision();
  for (int turn = 0; turn < 25; ++turn) {
    mac.mac.machine().setProtected("disk4s1", turn % 2 == 0);
    mac.mac.machine().change("disk4s1", {}, {});
    monitor->scheduleRefresh();
  }
  settle();
  EXPECT_LE(monitor->refreshRevision() - before, 2U);
  EXPECT_GE(monitor->refreshRevision() - before, 1U);
}

TEST_F(DiskMonitorTest, MissedEventIsFoundByTheMinute) {
  ASSERT_TRUE(monitor->start());
  mac.pass(4);
  mac.mac.machine().loseCallbacks(true);
  mac.mac.machine().unplug("disk4");
  mac.pass(50);
  EXPECT_FALSE(ids().empty());
  mac.pass(10);
  EXPECT_TRUE(ids().empty());
}

TEST_F(DiskMonitorTest, WithoutASessionThereAreNoDisks) {
  mac.mac.machine().setArbitrationAvailable(false);
  EXPECT_FALSE(monitor->start());
  mac.pass(120);
  EXPECT_TRUE(ids().empty());
}

TEST_F(DiskMonitorTest, SweepsReportsThatNoLongerCountOfAnyDisk) {
  const auto session = *mount::bootSession(*mac.platform.systemInfo);
  struct Row {
    const char* bsdName;
    std::string boot;
    double age;
    bool isSwept;
  };
  const Row rows[] = {{"disk4s1", "another", 0, true},
                      {"disk70s1", "another", 0, true},
                      {"disk71s1", session, 301, true},
                      {"disk72s1", session, 10, false}};  // its disk may be on its way
  for (const auto& row : rows) {
    const mount::MountAccessReport report{7, row.boot, mac.now() - row.age, {}, {}};
    tests::writeText(mac.reportPath(row.bsdName), base::encodeJson(report));
  }
  ASSERT_TRUE(monitor->start());
  for (const auto& row : rows) {
    EXPECT_EQ(!std::filesystem::exists(mac.reportPath(row.bsdName)), row.isSwept) << row.bsdName;
  }
}

TEST_F(DiskMonitorTest, HearsOfNewWordsInTheSharedFolderAtOnce) {
  ASSERT_TRUE(monitor->start());
  mac.pass(4);
  auto& machine = mac.mac.machine();
  machine.writeReport("disk4s1", {});
  settle();
  EXPECT_TRUE(monitor->find("disk4s1")->mountedByEngine);

  bitlocker::Status status;
  status.guid = "G";
  status.bsdName = "disk4";
  status.state = "locked";
  status.timestamp = mac.now();
  const auto folder = *mac.platform.containers->groupContainer(std::string(mount::sharedGroup));
  tests::writeText(folder / "bitlocker-status-G.json", base::encodeJson(status));
  machine.folderWatches().announce(folder);
  settle();
  EXPECT_TRUE(monitor->find("disk4")->bitLocker);

  const auto before = monitor->refreshRevision();
  tests::writeText(folder / "something-else.json", "{}");
  machine.folderWatches().announce(folder);
  settle();
  EXPECT_EQ(monitor->refreshRevision(), before) << "of no interest";
}

TEST_F(DiskMonitorTest, DestructiveFlagIsAnnouncedOnce) {
  int changes = 0;
  monitor->destructiveBusyChanged.connect([&changes] { ++changes; });
  monitor->beginDestructiveOperation();
  monitor->beginDestructiveOperation();
  EXPECT_TRUE(monitor->destructiveBusy());
  monitor->endDestructiveOperation();
  EXPECT_FALSE(monitor->destructiveBusy());
  EXPECT_EQ(changes, 2);
}

/// Free space whose answer waits until the test lets it go.
class SlowFileSystems : public platform::FileSystems {
 public:
  SlowFileSystems(base::MainActor& actor, std::unique_ptr<platform::FileSystems> real)
      : actor_(actor), real_(std::move(real)) {}

  std::optional<platform::FileSystemStatistics> statistics(const std::string& path) override {
    auto statistics = real_->statistics(path);
    if (statistics && isHeld) {
      statistics->availableBlocks = 77;
      ++asked;
      actor_.post([] {});  // wakes the test
      while (isHeld) std::this_thread::sleep_for(1ms);
    }
    return statistics;
  }
  platform::VolumeResourceValues resourceValues(const std::string& path) override {
    return real_->resourceValues(path);
  }

  std::atomic<bool> isHeld{false};
  std::atomic<int> asked{0};

 private:
  base::MainActor& actor_;
  std::unique_ptr<platform::FileSystems> real_;
};

class DiskMonitorCapacityTest : public DiskMonitorTest {
 protected:
  DiskMonitorCapacityTest() {
    monitor.reset();
    auto owner = std::make_unique<SlowFileSystems>(mac.actor, std::move(mac.platform.fileSystems));
    slow = owner.get();
    mac.platform.fileSystems = std::move(owner);
    monitor = std::make_unique<DiskMonitor>(mac.actor, mac.platform, mac.localization);
    EXPECT_TRUE(monitor->start());
    mac.pass(4);
    // The beat at five seconds asks for the free space and waits for it in the background.
    slow->isHeld = true;
    mac.platform.clock->callAt(mac.platform.clock->uptime() + 1s, [] {});
    mac.actor.runUntil([this] { return slow->asked > 0; });
  }
  ~DiskMonitorCapacityTest() override { slow->isHeld = false; }
  void letGo() {
    slow->isHeld = false;
    mac.actor.joinBackground();
    settle();
  }

  SlowFileSystems* slow = nullptr;
};

TEST_F(DiskMonitorCapacityTest, AnswerCountsForTheSameVolume) {
  letGo();
  EXPECT_EQ(monitor->find("disk4s1")->available, 77);
}

TEST_F(DiskMonitorCapacityTest, AnswerThatWasOvertakenByARefreshIsDropped) {
  slow->isHeld = false;
  monitor->refresh();
  letGo();
  EXPECT_EQ(monitor->find("disk4s1")->available, 100);
}

TEST_F(DiskMonitorCapacityTest, MonitorMayGoWhileAnAnswerIsOnItsWay) {
  monitor.reset();
  letGo();
}

TEST(BannerStabilityStateTest, NeedsTimeAndHitsInARow) {
  BannerStabilityState banner;
  const platform::WallTime start{};
  EXPECT_FALSE(banner.update(true, start));
  EXPECT_FALSE(banner.update(true, start + 2999ms));
  EXPECT_TRUE(banner.update(true, start + 3s));
  EXPECT_FALSE(banner.update(false, start + 4s));
  EXPECT_FALSE(banner.update(true, start + 10s)) << "long ago counts for nothing";
  BannerStabilityState once;
  EXPECT_FALSE(once.update(true, start));
  EXPECT_FALSE(once.update(true, start - 1h)) << "the clock was set back";
  EXPECT_TRUE(once.update(true, start - 1h + 3s));
}

}  // namespace
}  // namespace halvercine::disks
