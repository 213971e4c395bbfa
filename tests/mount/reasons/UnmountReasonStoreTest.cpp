#include "mount/reasons/UnmountReasonStore.h"

#include <gtest/gtest.h>

#include "disks/DiskMonitor.h"
#include "support/RecordingLog.h"
#include "support/SimulatedFixture.h"

namespace halvercine::mount {
namespace {

using Case = UnmountReason::Case;

constexpr auto devices = R"([
  {"disk": "disk4", "volumes": [
    {"disk": "disk4s1", "kind": "ntfs", "name": "A", "module": {"driver": "ufsd_NTFS"}},
    {"disk": "disk4s2", "kind": "ntfs", "name": "B", "mount": {}},
    {"disk": "disk4s3", "kind": "exfat", "name": "C", "module": {"driver": "Tuxera NTFS"}}]},
  {"disk": "disk5", "plugged": false, "volumes": [
    {"disk": "disk5s1", "kind": "ntfs", "name": "D", "module": {"driver": "Tuxera NTFS"}}]}])";

/// The store behind a monitor, as the program has it.
class UnmountReasonStoreTest : public testing::Test {
 protected:
  UnmountReasonStoreTest() {
    UnmountReasonInputs inputs;
    inputs.isChecking = [this](const disks::Disk& disk) { return disk.id == checked; };
    store = std::make_unique<UnmountReasonStore>(mac.actor, log, utility,
                                                 *mac.platform.mediaRegistry, std::move(inputs));
    monitor.refreshed.connect([this] { store->update(monitor.disks()); });
    store->changed.connect([this] { ++changes; });
  }

  /// Everything is known.
  void begin() {
    ASSERT_TRUE(monitor.start());
    mac.pass(toolTime);
  }
  void replug() {
    mac.mac.machine().unplug("disk4");
    mac.mac.machine().plug("disk4");
  }
  /// The reason of a volume: its case and the detail; "" while there is none.
  std::string reason(const std::string& bsdName) {
    const auto* disk = monitor.find(bsdName);
    const auto found = disk ? store->reasonOf(*disk) : std::nullopt;
    if (!found) return "";
    return boost::describe::enum_to_string(found->kind, "") +
           (found->detail.empty() ? "" : " " + found->detail);
  }
  std::string identity(const std::string& bsdName) { return *monitor.find(bsdName)->volumeUUID; }

  static constexpr double toolTime = 0.1;

  tests::SimulatedFixture mac{devices};
  tests::RecordingLog log;
  disks::DiskUtility utility{*mac.platform.toolRunner, *mac.platform.clock,
                             *mac.platform.mediaRegistry};
  disks::DiskMonitor monitor{mac.actor, mac.platform, mac.localization};
  std::string checked;
  int changes = 0;
  std::unique_ptr<UnmountReasonStore> store;
};

TEST_F(UnmountReasonStoreTest, ResolvesUnmountedNtfsVolumesAndNoOther) {
  ASSERT_TRUE(monitor.start());
  EXPECT_EQ(store->inFlight(), std::set{identity("disk4s1")});
  EXPECT_EQ(reason("disk4s1"), "") << "not known before the tool's answer";
  mac.pass(toolTime);
  EXPECT_TRUE(store->inFlight().empty());
  EXPECT_EQ(store->reasons().size(), 1u);
  EXPECT_EQ(reason("disk4s1"), "thirdParty Paragon NTFS");
  EXPECT_EQ(changes, 1);
  monitor.refresh();
  mac.pass(toolTime);
  EXPECT_EQ(changes, 1) << "nothing new";
}

TEST_F(UnmountReasonStoreTest, WhatTheProgramDoesIsToldAtOnceAndOnlyWhileItDoes) {
  checked = "disk4s1";
  ASSERT_TRUE(monitor.start());
  EXPECT_EQ(reason("disk4s1"), "checking");
  mac.pass(toolTime);
  checked.clear();
  monitor.refresh();
  EXPECT_EQ(reason("disk4s1"), "thirdParty Paragon NTFS");
}

TEST_F(UnmountReasonStoreTest, ForgetsWhatIsMountedEjectedOrGone) {
  begin();
  const auto first = identity("disk4s1");
  mac.mac.machine().mount("disk4s1", {});
  mac.pass(toolTime);
  EXPECT_TRUE(store->reasons().empty());
  EXPECT_TRUE(store->identities().empty());
  mac.mac.machine().unmount("disk4s1");
  mac.pass(toolTime);
  EXPECT_EQ(reason("disk4s1"), "thirdParty Paragon NTFS") << "anew";
  store->forget("disk4s2");
  EXPECT_EQ(store->reasons().size(), 1u);
  store->forget("disk4s1");
  EXPECT_TRUE(store->reasons().empty());
  monitor.refresh();
  mac.mac.machine().unplug("disk4");
  mac.pass(toolTime);
  EXPECT_TRUE(store->reasons().empty());
  EXPECT_TRUE(store->inFlight().empty());
}

TEST_F(UnmountReasonStoreTest, AnAnswerThatComesTooLateIsDropped) {
  const std::function<void()> meanwhile[] = {
      [this] { mac.mac.machine().mount("disk4s1", {}); },
      [this] { mac.mac.machine().unplug("disk4"); },
      [this] { store->forget("disk4s1"); },
  };
  ASSERT_TRUE(monitor.start());
  for (const auto& happens : meanwhile) {
    mac.pass(toolTime);
    store->resolve(*monitor.find("disk4s1"));
    ASSERT_EQ(store->inFlight().size(), 1u);
    happens();
    mac.pass(0.01);
    changes = 0;
    mac.pass(toolTime);
    EXPECT_TRUE(store->reasons().empty());
    EXPECT_TRUE(store->inFlight().empty());
    EXPECT_EQ(changes, 0);
    replug();
  }
}

TEST_F(UnmountReasonStoreTest, AnAnswerAboutAnotherDeviceUnderTheNameIsDropped) {
  begin();
  auto disk = *monitor.find("disk4s1");
  store->resolve(disk);
  // The same volume in every respect, but it was pulled out and plugged in, and nobody has noticed.
  replug();
  store->update({disk});
  ASSERT_EQ(store->inFlight().size(), 1u);
  mac.pass(toolTime);
  EXPECT_EQ(reason("disk4s1"), "thirdParty Paragon NTFS") << "from the run after the change";
  // And now between the question and its answer, of which the list does not hear.
  monitor.refreshed.disconnect_all_slots();
  store->resolve(disk);
  replug();
  while (!store->inFlight().empty()) mac.pass(0.01);
  EXPECT_FALSE(store->reasonOf(disk));
}

TEST_F(UnmountReasonStoreTest, AReasonSurvivesAnotherBsdName) {
  begin();
  auto disk = *monitor.find("disk4s1");
  mac.mac.machine().unplug("disk4");
  mac.mac.machine().plug("disk5");
  disk.id = "disk5s1";
  changes = 0;
  store->update({disk});
  ASSERT_TRUE(store->reasonOf(disk));
  EXPECT_EQ(store->reasonOf(disk)->kind, Case::thirdParty) << "while it is looked at anew";
  EXPECT_EQ(store->identities().at("disk5s1"), *disk.volumeUUID);
  EXPECT_FALSE(store->identities().contains("disk4s1"));
  EXPECT_EQ(changes, 0);
}

TEST_F(UnmountReasonStoreTest, ExactCopiesShareTheReasonOfTheFirst) {
  begin();
  const auto disk = *monitor.find("disk4s1");
  auto copy = disk;
  copy.id = "disk4s2";
  changes = 0;
  for (int round = 0; round < 2; ++round) {
    store->update({copy, disk});
    EXPECT_TRUE(store->inFlight().empty()) << "the copy is no news";
    EXPECT_EQ(store->reasonOf(copy), store->reasonOf(disk));
  }
  store->update({copy});
  EXPECT_FALSE(store->inFlight().empty()) << "now it is the only one";
}

TEST_F(UnmountReasonStoreTest, MayGoWithATaskUnderWay) {
  ASSERT_TRUE(monitor.start());
  ASSERT_FALSE(store->inFlight().empty());
  monitor.refreshed.disconnect_all_slots();
  store.reset();
  mac.pass(toolTime);
  EXPECT_TRUE(log.lines().empty());
}

}  // namespace
}  // namespace halvercine::mount
