#include "bitlocker/unlock/AutomaticUnlock.h"

#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "bitlocker/UnlockFixture.h"

namespace halvercine::bitlocker {
namespace {

using Kind = AutomaticUnlock::EventKind;

struct AutomaticUnlockTest : testing::Test, tests::UnlockFixture {
  AutomaticUnlockTest() {
    unlock.happened.connect([this](const auto& event) {
      events.push_back(line(event.disk.id, event.kind, event.code));
    });
  }
  static std::string line(const std::string& disk, Kind kind, const std::string& code = "") {
    return disk + " " + std::to_string(static_cast<int>(kind)) + " " + code;
  }
  std::string keyOf(const std::string& bsdName) { return disk(bsdName).bitLocker->guid; }

  std::vector<std::string> events;
  std::set<std::string> unsafe;
  AutomaticUnlock unlock{context(),
                         [this](const disks::Disk& disk) { return unsafe.contains(disk.id); }};
};

TEST_F(AutomaticUnlockTest, RememberedVolumesAreTriedOnce) {
  unlock.start();
  pass(10);
  EXPECT_EQ(events, (std::vector{line("disk4s4", Kind::failed, "wrongCredential"),
                                 line("disk4s3", Kind::unlocked)}));
  EXPECT_TRUE(disk("disk4s3").isMounted);
  EXPECT_FALSE(disk("disk4s1").isMounted) << "nothing is remembered of it";
  EXPECT_EQ(remembered(keyOf("disk4s4")), "old horse");
  mac.machine().unplug("disk4");
  pass(1);
  mac.machine().plug("disk4");
  pass(300);
  EXPECT_EQ(events.size(), 2u) << "once for each BSD name and run";
}

TEST_F(AutomaticUnlockTest, WaitsForAPendingRequestAndForOtherJobs) {
  ASSERT_TRUE(mailbox.writeRequest(keyOf("disk6s1"),
                                   {"password", base::Secret("x"), std::nullopt, "somebody"}));
  tests::run(actor, keychain.save(keyOf("disk6s1"), "password", base::Secret("y")));
  usedDisk = "disk4s3";
  unlock.start();
  pass(70);
  EXPECT_EQ(mailbox.pendingRequest(keyOf("disk6s1")).value().requestID, "somebody");
  EXPECT_FALSE(disk("disk4s3").isMounted);
  usedDisk.clear();
  mailbox.removeRequest(keyOf("disk6s1"));
  monitor.refresh();
  pass(5);
  EXPECT_TRUE(disk("disk4s3").isMounted);
  EXPECT_NE(mailbox.pendingRequest(keyOf("disk6s1")).value().requestID, "somebody");
  pass(30);
  EXPECT_FALSE(mailbox.pendingRequest(keyOf("disk6s1"))) << "withdrawn when nobody answered";
}

TEST_F(AutomaticUnlockTest, AsksALockedKeychainAgainUntilItIsUnlocked) {
  mac.machine().secrets().setWorking(false);
  unlock.start();
  pass(40);
  EXPECT_EQ(events, std::vector<std::string>{});
  mac.machine().secrets().setWorking(true);
  pass(20);
  EXPECT_TRUE(disk("disk4s3").isMounted);
}

TEST_F(AutomaticUnlockTest, KeepsAwayFromUnsafeVolumes) {
  unsafe = {"disk4s3"};
  unlock.start();
  pass(10);
  EXPECT_EQ(events.front(), line("disk4s3", Kind::rejected));
  EXPECT_EQ(log, std::vector<std::string>{
                     "unlock: BitLocker automatic mount rejected (Remembered): unsafe volume"});
  EXPECT_FALSE(disk("disk4s3").isMounted);
  EXPECT_FALSE(mailbox.readStatus(keyOf("disk4s3")).value().requestID) << "it was not asked";
}

TEST_F(AutomaticUnlockTest, GivesUpWhenTheRequestCannotBeHandedOver) {
  const auto folder = *mailbox.containerURL();
  // A folder in the place of the request cannot be replaced by a file.
  std::filesystem::create_directories(folder / ("bitlocker-unlock-" + keyOf("disk4s3") + ".json") /
                                      "x");
  unlock.start();
  pass(0.5);
  EXPECT_TRUE(log.empty());
  pass(2);
  EXPECT_EQ(log, std::vector<std::string>{"unlock: BitLocker automatic transfer failed after two "
                                          "attempts (Remembered): unsafe volume"});
  EXPECT_EQ(events.size(), 2u);
}

TEST_F(AutomaticUnlockTest, ItsEndWithdrawsItsRequest) {
  tests::run(actor, keychain.save(keyOf("disk6s1"), "password", base::Secret("y")));
  {
    AutomaticUnlock another(context(), [](const disks::Disk&) { return false; });
    another.start();
    pass(1);
    EXPECT_TRUE(mailbox.pendingRequest(keyOf("disk6s1")));
  }
  EXPECT_FALSE(mailbox.pendingRequest(keyOf("disk6s1"))) << "nothing may run any more afterwards";
}

}  // namespace
}  // namespace halvercine::bitlocker
