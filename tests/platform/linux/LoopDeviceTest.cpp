// The whole adapter on real devices, as far as the machine lets the tests have some.
#include "platform/linux/LoopDevice.h"

#include <algorithm>
#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/linux/makeLinuxPlatform.h"

namespace halvercine::platform::gnulinux {
namespace {

using namespace std::chrono_literals;
using testing::Contains;
using testing::ElementsAre;
using testing::Not;

constexpr const char* twoPartitions =
    "label: gpt\n"
    "start=2048, size=20480, type=EBD0A0A2-B9E5-4433-87C0-68B6B72699C7, name=\"Böse\", "
    "uuid=0FC63DAF-8483-4772-8E79-3D69D8477DE4\n"
    "start=22528, size=20480, type=EBD0A0A2-B9E5-4433-87C0-68B6B72699C7\n";
constexpr long long sector = 512;

class LoopDeviceTest : public testing::Test {
 protected:
  void SetUp() override {
    if (const auto reason = LoopDevice::whyUnavailable(); !reason.empty()) GTEST_SKIP() << reason;
  }

  // Other users of the machine attach devices, too: only ours are of interest.
  std::unique_ptr<DiskArbitrationSession> startSession() {
    const auto record = [this](const char* what) {
      return [this, what](const std::optional<std::string>& name) {
        events_.push_back(std::string(what) + " " + name.value_or("nothing"));
      };
    };
    auto session = platform_.diskArbitration->createSession();
    session->start({record("appeared"), record("disappeared"), record("changed")});
    return session;
  }

  bool waitFor(const std::string& event) {
    bool isLate = false;
    const auto limit =
        platform_.clock->callAt(platform_.clock->uptime() + 20s, [&] { isLate = true; });
    const auto hasCome = [&] { return std::ranges::find(events_, event) != events_.end(); };
    actor_.runUntil([&] { return isLate || hasCome(); });
    platform_.clock->cancel(limit);
    return hasCome();
  }

  std::string nameOf(const std::string& node) {
    for (const auto& medium : platform_.mediaRegistry->allMedia()) {
      if (medium->property(registry_key::deviceNode) != PropertyValue(node)) continue;
      return *medium->property(registry_key::bsdName)->as<std::string>();
    }
    return {};
  }

  void attachWithNtfs() {
    ASSERT_TRUE(device_.partition(twoPartitions));
    ASSERT_TRUE(device_.attach());
    ASSERT_TRUE(device_.addPartition(1, 2048 * sector, 20480 * sector));
    ASSERT_TRUE(device_.addPartition(2, 22528 * sector, 20480 * sector));
    ASSERT_TRUE(runProgram({"mkntfs", "-Q", "-F", "-L", "Music 🎵", device_.partitionNode(1)}));
  }

  base::MainActor actor_;
  Platform platform_ = makeLinuxPlatform(actor_);
  std::vector<std::string> events_;
  LoopDevice device_;
};

std::optional<PropertyValue> valueOf(const PropertyDictionary& description, std::string_view key) {
  const auto found = description.find(key);
  return found == description.end() ? std::nullopt : std::optional(found->second);
}

TEST_F(LoopDeviceTest, DescribesDiskPartitionAndVolume) {
  ASSERT_NO_FATAL_FAILURE(attachWithNtfs());
  const auto session = platform_.diskArbitration->createSession();
  const std::string disk = nameOf(device_.node());
  const std::string partition = nameOf(device_.partitionNode(1));
  EXPECT_EQ(partition, disk + "s1");

  const auto whole = session->describe(disk).value().description;
  EXPECT_EQ(valueOf(whole, disk_description::mediaWhole), PropertyValue(true));
  EXPECT_EQ(valueOf(whole, disk_description::mediaContent), PropertyValue("gpt"));
  EXPECT_EQ(valueOf(whole, disk_description::deviceInternal), std::nullopt);
  EXPECT_EQ(valueOf(whole, disk_description::volumeKind), std::nullopt);

  const auto volume = session->describe(partition).value().description;
  EXPECT_EQ(valueOf(volume, disk_description::mediaWhole), PropertyValue(false));
  EXPECT_EQ(valueOf(volume, disk_description::mediaSize), PropertyValue(10 << 20));
  EXPECT_EQ(valueOf(volume, disk_description::mediaName), PropertyValue("Böse"));
  EXPECT_EQ(valueOf(volume, disk_description::mediaContent),
            PropertyValue("EBD0A0A2-B9E5-4433-87C0-68B6B72699C7"));
  EXPECT_TRUE(valueOf(volume, disk_description::mediaUuid)->as<Uuid>());
  EXPECT_EQ(valueOf(volume, disk_description::volumeKind), PropertyValue("ntfs"));
  EXPECT_EQ(valueOf(volume, disk_description::volumeName), PropertyValue("Music 🎵"));
  EXPECT_TRUE(valueOf(volume, disk_description::volumeUuid)->as<Uuid>());
  EXPECT_EQ(valueOf(volume, disk_description::volumePath), std::nullopt);

  const auto medium = platform_.mediaRegistry->media(partition);
  EXPECT_EQ(medium->property(registry_key::uuid),
            PropertyValue("0FC63DAF-8483-4772-8E79-3D69D8477DE4"));
  EXPECT_EQ(medium->parent()->entryId(), platform_.mediaRegistry->media(disk)->entryId());
  EXPECT_EQ(platform_.mediaRegistry->media(disk + "s7"), nullptr);
}

TEST_F(LoopDeviceTest, FindsWhatIsLookedForLast) {
  ASSERT_NO_FATAL_FAILURE(attachWithNtfs());
  // A record of an XFS log, as far as it is looked at: its mark, cycle, version and length, and its
  // format at byte 300 (big-endian, xfs_log_format.h of the kernel).
  std::string record(512, '\0');
  record.replace(0, 16, std::string_view("\xFE\xED\xBA\xBE\0\0\0\1\0\0\0\2\0\0\2\0", 16));
  record[303] = 1;
  std::ofstream partition(device_.partitionNode(2), std::ios::binary | std::ios::in);
  partition << record << std::flush;
  ASSERT_TRUE(partition);
  const auto session = platform_.diskArbitration->createSession();
  const auto description = session->describe(nameOf(device_.partitionNode(2))).value().description;
  EXPECT_EQ(valueOf(description, disk_description::volumeKind), PropertyValue("xfs_external_log"));
  EXPECT_EQ(valueOf(description, disk_description::mediaContent),
            PropertyValue("EBD0A0A2-B9E5-4433-87C0-68B6B72699C7"));
}

TEST_F(LoopDeviceTest, StatisticsOfAMountedVolume) {
  ASSERT_NO_FATAL_FAILURE(attachWithNtfs());
  const auto session = platform_.diskArbitration->createSession();
  const std::string partition = nameOf(device_.partitionNode(1));
  for (const bool readOnly : {false, true}) {
    SCOPED_TRACE(readOnly);
    ASSERT_TRUE(device_.mount(device_.partitionNode(1), readOnly ? "ro" : "rw"));
    const auto statistics = platform_.fileSystems->statistics(device_.mountPoint()).value();
    EXPECT_EQ(statistics.mountedFrom, "/dev/" + partition);
    EXPECT_EQ(statistics.typeName, "ntfs");
    EXPECT_EQ(statistics.readOnly, readOnly);
    EXPECT_LE(statistics.blocks * statistics.blockSize, 10u << 20);
    EXPECT_GT(statistics.availableBlocks * statistics.blockSize, 1u << 20);
    EXPECT_EQ(platform_.fileSystems->resourceValues(device_.mountPoint()).name, "Music 🎵");
    EXPECT_EQ(
        valueOf(session->describe(partition).value().description, disk_description::volumePath),
        PropertyValue(FileUrl{device_.mountPoint()}));
    ASSERT_TRUE(device_.unmount());
    EXPECT_NE(platform_.fileSystems->statistics(device_.mountPoint())->typeName, "ntfs");
  }
  EXPECT_FALSE(platform_.fileSystems->statistics(device_.mountPoint() + "/none"));
}

TEST_F(LoopDeviceTest, ReportsAttachingMountingAndDetaching) {
  const auto session = startSession();
  ASSERT_NO_FATAL_FAILURE(attachWithNtfs());
  const std::string disk = nameOf(device_.node());
  const std::string partition = disk + "s1";
  EXPECT_TRUE(waitFor("appeared " + disk));
  EXPECT_TRUE(waitFor("appeared " + partition));

  events_.clear();
  ASSERT_TRUE(device_.mount(device_.partitionNode(1), "rw"));
  EXPECT_TRUE(waitFor("changed " + partition));
  events_.clear();
  ASSERT_TRUE(device_.unmount());
  EXPECT_TRUE(waitFor("changed " + partition));

  events_.clear();
  ASSERT_TRUE(device_.detach());
  EXPECT_TRUE(waitFor("disappeared " + partition));
  EXPECT_TRUE(waitFor("disappeared " + disk));
  EXPECT_FALSE(session->describe(disk));
  EXPECT_FALSE(session->describe(partition));

  ASSERT_TRUE(device_.attach());
  const std::string again = nameOf(device_.node());
  EXPECT_NE(again, disk);
  EXPECT_TRUE(waitFor("appeared " + again));
  EXPECT_EQ(std::ranges::count(events_, "appeared " + again), 1);
}

TEST_F(LoopDeviceTest, ReplaysWhatIsThereFirstAndEndsWithTheSession) {
  ASSERT_NO_FATAL_FAILURE(attachWithNtfs());
  const std::string disk = nameOf(device_.node());
  auto session = startSession();
  EXPECT_THAT(events_, ElementsAre()) << "from inside the call";
  ASSERT_TRUE(waitFor("appeared " + disk + "s2"));
  const auto place = [&](const std::string& event) { return std::ranges::find(events_, event); };
  EXPECT_LT(place("appeared " + disk), place("appeared " + disk + "s1"));

  events_.clear();
  const auto other = startSession();  // its events tell that the first one could have had some
  ASSERT_TRUE(waitFor("appeared " + disk + "s2"));
  events_.clear();
  session.reset();
  ASSERT_TRUE(device_.detach());
  ASSERT_TRUE(waitFor("disappeared " + disk));
  EXPECT_EQ(std::ranges::count(events_, "disappeared " + disk), 1);
}

TEST_F(LoopDeviceTest, ASessionMayEndInItsOwnCallback) {
  ASSERT_NO_FATAL_FAILURE(attachWithNtfs());
  auto session = platform_.diskArbitration->createSession();
  int calls = 0;
  session->start({[&](const auto&) {
                    ++calls;
                    session.reset();
                  },
                  {},
                  {}});
  actor_.runUntil([&] { return calls > 0; });
  EXPECT_EQ(calls, 1);
}

}  // namespace
}  // namespace halvercine::platform::gnulinux
