#include "platform/simulated/SimulatedMac.h"

#include <fstream>
#include <sstream>
#include <sys/stat.h>

#include <gmock/gmock.h>

#include "support/ScenarioBuilder.h"

namespace halvercine::platform::simulated {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using tests::ScenarioBuilder;

std::string contentOf(const std::filesystem::path& path) {
  std::ostringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

/// A session that writes down what it is told, with the virtual second and what the disk is then.
class Trace {
 public:
  explicit Trace(Platform& platform)
      : platform_(platform), session_(platform.diskArbitration->createSession()) {
    session_->start({record("+"), record("-"), record("~")});
  }

  std::vector<std::string> take() { return std::exchange(lines_, {}); }
  void endSession() { session_.reset(); }

 private:
  std::function<void(std::optional<std::string>)> record(std::string sign) {
    return [this, sign](std::optional<std::string> disk) {
      const auto seconds =
          std::chrono::duration_cast<std::chrono::seconds>(platform_.clock->uptime());
      lines_.push_back(std::to_string(seconds.count()) + sign + disk.value_or("?") + state(*disk));
    };
  }

  std::string state(const std::string& disk) {
    const auto arbitrated = session_->describe(disk);
    if (!arbitrated) return "";
    const auto& description = arbitrated->description;
    std::string state;
    if (description.contains("DAVolumePath")) state += " mounted";
    if (!*description.at("DAMediaWritable").as<bool>()) state += " protected";
    return state;
  }

  Platform& platform_;
  std::unique_ptr<DiskArbitrationSession> session_;
  std::vector<std::string> lines_;
};

class SimulatedMacTest : public testing::Test {
 protected:
  void boot(const ScenarioBuilder& builder, ClockKind clock = ClockKind::virtualTime) {
    const auto scenario = builder.build();
    const auto fault = findScenarioFault(scenario);
    ASSERT_FALSE(fault) << fault->message;
    mac_.emplace(actor_, scenario, clock);
    platform_ = mac_->takePlatform();
  }

  /// Lets everything happen that is due now.
  void settle() { mac_->advance(0s); }

  base::MainActor actor_;
  std::optional<SimulatedMac> mac_;
  Platform platform_;
};

ScenarioBuilder eventfulScenario() {
  ScenarioBuilder builder;
  builder.internalDisk("disk0").usbDisk("disk4").ntfs("disk4s1", "DATA").mountedReadOnly();
  builder.usbDisk("disk5").unplugged().exfat("disk5s1", "CAM").mounted();
  builder.at(30, EventKind::replace, "disk4");
  auto& other = builder.event().device.emplace();
  other.disk = "disk4";
  other.volumes.emplace_back().disk = "disk4s1";
  return builder.at(2, EventKind::plug, "disk5")
      .at(5, EventKind::protect, "disk4")
      .at(5, EventKind::unmount, "disk4s1")
      .at(7, EventKind::unplug, "disk5");
}

TEST_F(SimulatedMacTest, playsTheTimelineTheSameWayEveryTime) {
  std::vector<std::vector<std::string>> traces;
  for (int run = 0; run < 2; ++run) {
    boot(eventfulScenario());
    Trace trace(platform_);
    mac_->advance(40s);
    traces.push_back(trace.take());
  }
  EXPECT_THAT(traces[0],
              ElementsAre("0+disk0", "0+disk4", "0+disk4s1 mounted", "2+disk5", "2+disk5s1",
                          "2~disk5s1 mounted", "5~disk4 protected", "5~disk4s1 protected",
                          "5~disk4s1 protected", "7-disk5s1", "7-disk5", "30-disk4s1", "30-disk4",
                          "30+disk4", "30+disk4s1"));
  EXPECT_EQ(traces[0], traces[1]);
}

TEST_F(SimulatedMacTest, aSessionHearsNothingInsideACallOrAfterItsEnd) {
  boot(ScenarioBuilder().usbDisk("disk4").ntfs("disk4s1", "DATA"));
  Trace trace(platform_);
  EXPECT_THAT(trace.take(), IsEmpty());
  settle();
  trace.take();
  mac_->machine().mount("disk4s1", {});
  EXPECT_THAT(trace.take(), IsEmpty());
  trace.endSession();
  settle();
  EXPECT_THAT(trace.take(), IsEmpty());
}

TEST_F(SimulatedMacTest, lostCallbacksLeaveTheStateRight) {
  ScenarioBuilder builder;
  builder.usbDisk("disk4").ntfs("disk4s1", "DATA").mounted().at(1, EventKind::unplug, "disk4");
  builder.event().silent = true;
  builder.at(2, EventKind::plug, "disk4");
  builder.event().silent = true;
  boot(builder);
  Trace trace(platform_);
  settle();
  trace.take();
  mac_->advance(1s);
  EXPECT_FALSE(platform_.mediaRegistry->media("disk4s1"));
  mac_->advance(1s);
  EXPECT_TRUE(platform_.fileSystems->statistics("/Volumes/DATA"));
  EXPECT_THAT(trace.take(), IsEmpty());
}

TEST_F(SimulatedMacTest, everyPlugGivesNewEntryIdsAndTheSameIdentity) {
  ScenarioBuilder builder;
  builder.usbDisk("disk4").ntfs("disk4s1", "DATA").media().entryID = 0x1'0000'0301;
  boot(builder);
  const auto before = platform_.mediaRegistry->media("disk4s1");
  const auto uuid = mac_->machine().describe("disk4s1")->at("DAVolumeUUID");
  EXPECT_EQ(before->entryId(), 0x1'0000'0301);
  EXPECT_TRUE(before->parent());

  mac_->machine().unplug("disk4");
  EXPECT_FALSE(before->property("BSD Name"));
  EXPECT_FALSE(before->parent());

  mac_->machine().plug("disk4");
  const auto after = platform_.mediaRegistry->media("disk4s1");
  EXPECT_GT(after->entryId(), 0x1'0000'0301);
  EXPECT_FALSE(before->property("BSD Name"));
  EXPECT_EQ(mac_->machine().describe("disk4s1")->at("DAVolumeUUID"), uuid);
}

TEST_F(SimulatedMacTest, mountsTwoVolumesOfOneNameSideBySide) {
  boot(ScenarioBuilder()
           .usbDisk("disk4")
           .ntfs("disk4s1", "a/b")
           .mounted()
           .usbDisk("disk5")
           .ntfs("disk5s1", "a/b")
           .mounted());
  EXPECT_EQ(platform_.fileSystems->statistics("/Volumes/a:b/deep/down")->mountedFrom,
            "/dev/disk4s1");
  EXPECT_EQ(platform_.fileSystems->statistics("/Volumes/a:b 1")->mountedFrom, "/dev/disk5s1");
  EXPECT_FALSE(platform_.fileSystems->statistics("/Volumes/a:b 2"));
  ScenarioMount taken;
  taken.path = "/Volumes/a:b";
  mac_->machine().unmount("disk5s1");
  EXPECT_FALSE(mac_->machine().mount("disk5s1", taken));
}

TEST_F(SimulatedMacTest, writesReportsAsTheModuleDoes) {
  ScenarioBuilder builder;
  builder.usbDisk("disk4").ntfs("disk4s1", "DATA").mountedReadOnly().report("unsafeVolume", 2.5);
  builder.media().entryID = 4294968065;
  builder.system().bootSession = "BOOT";
  builder.system().now = "2026-03-14T08:15:02Z";
  boot(builder);
  const auto container = platform_.containers->groupContainer("group.com.halvercine.shared");
  const auto path = *container / "mount-access-disk4s1.json";
  EXPECT_EQ(contentOf(path),
            R"({"deviceID":4294968065,"bootSession":"BOOT","timestamp":1.7734760995E9,)"
            R"("reason":"unsafeVolume"})");
  EXPECT_TRUE(mac_->machine().removeReport("disk4s1"));
  EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(SimulatedMacTest, itsFoldersArePrivateAndGoWithIt) {
  boot(ScenarioBuilder());
  const auto container = *platform_.containers->groupContainer("group.com.halvercine.shared");
  EXPECT_FALSE(platform_.containers->groupContainer("group.com.example.other"));
  struct stat status {};
  ASSERT_EQ(::stat(container.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0700u);
  platform_ = {};
  mac_.reset();
  EXPECT_FALSE(std::filesystem::exists(container));
}

TEST_F(SimulatedMacTest, onTheRealClockTheTimelineCanBeMovedOn) {
  boot(eventfulScenario(), ClockKind::realTime);
  mac_->advance(6s);
  EXPECT_TRUE(mac_->machine().describe("disk5"));
  EXPECT_FALSE(mac_->machine().describe("disk4s1")->contains("DAVolumePath"));
  mac_->advance(1s);
  EXPECT_FALSE(mac_->machine().describe("disk5"));
}

}  // namespace
}  // namespace halvercine::platform::simulated
