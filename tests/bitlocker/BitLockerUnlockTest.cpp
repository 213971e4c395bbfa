#include "bitlocker/unlock/BitLockerUnlock.h"

#include <filesystem>
#include <memory>
#include <string>

#include <boost/signals2/connection.hpp>
#include <gtest/gtest.h>

#include "bitlocker/UnlockFixture.h"
#include "support/modeOf.h"

namespace halvercine::bitlocker {
namespace {

using base::Secret;
using Method = BitLockerUnlock::Method;

struct BitLockerUnlockTest : testing::Test, tests::UnlockFixture {
  /// The dialog of a volume with a password in it.
  BitLockerUnlock& dialog(const std::string& bsdName, std::string_view password) {
    unlock = std::make_unique<BitLockerUnlock>(context(), disk(bsdName), monitor.deviceId(bsdName));
    unlock->enterPassword(Secret(password));
    key = disk(bsdName).bitLocker->guid;
    return *unlock;
  }
  const BitLockerUnlock::State& state() const { return unlock->state(); }

  /// The module's answer to the present request, with these differences.
  Status answer(std::string newState) {
    auto status = mailbox.readStatus(key).value();
    status.timestamp = now();
    status.state = std::move(newState);
    status.requestID = state().requestID;
    status.ejected.reset();
    return status;
  }
  bool hasRequest() const { return std::filesystem::exists(*mailbox.requestURL(key)); }

  std::unique_ptr<BitLockerUnlock> unlock;
  std::string key;
};

TEST_F(BitLockerUnlockTest, UnlocksAndClosesAMomentLater) {
  auto& model = dialog("disk4s2", "correct horse");  // answers after 12 s, is mounted 3 s later
  model.setRememberCredential(true);
  model.submit();
  const auto first = state().requestID;
  model.submit();
  EXPECT_EQ(state().requestID, first) << "one submission at a time";
  EXPECT_EQ(state().originalMediaID, disk("disk4s2").mediaID);
  pass(11);
  EXPECT_TRUE(state().busy);
  EXPECT_EQ(state().stageKey, "bitlocker.ux.verifying");
  pass(3);
  EXPECT_EQ(state().stageKey, "bitlocker.ux.mounting");
  EXPECT_FALSE(state().isUnlocked);
  for (int waited = 0; !state().isUnlocked && waited < 40; ++waited) pass(0.05);
  EXPECT_TRUE(state().isUnlocked);
  EXPECT_FALSE(state().isClosed);
  pass(0.31);
  EXPECT_TRUE(state().isClosed);
  EXPECT_TRUE(state().password.empty()) << "nothing is kept that is not needed any more";
  EXPECT_TRUE(disk("disk4s2").isMounted);
  EXPECT_EQ(remembered(key), "correct horse");
  EXPECT_FALSE(hasRequest());
}

TEST_F(BitLockerUnlockTest, OnlyWhatOpenedTheVolumeIsRemembered) {
  auto& model = dialog("disk4s2", "correct horse");
  model.setRememberCredential(true);
  model.submit();
  pass(1);
  model.enterPassword(Secret("never tried"));
  model.enterRecovery("123453");
  model.selectMethod(Method::recovery);
  pass(30);
  EXPECT_TRUE(state().isUnlocked);
  EXPECT_EQ(remembered(key), "correct horse");

  // The module says nothing of what was entered; somebody else opens the volume.
  auto& overtaken = dialog("disk6s1", "never checked");
  overtaken.setRememberCredential(true);
  overtaken.submit();
  pass(1);
  mac.machine().mount("disk6s1", {});
  pass(3);
  EXPECT_TRUE(state().isUnlocked);
  EXPECT_EQ(remembered(key), "none");
}

TEST_F(BitLockerUnlockTest, ForgetsWhatIsNotToBeRemembered) {
  auto& model = dialog("disk4s3", "remembered horse");
  EXPECT_EQ(remembered(key), "remembered horse");
  model.submit();
  pass(5);
  EXPECT_TRUE(state().isUnlocked);
  EXPECT_EQ(remembered(key), "none");
}

TEST_F(BitLockerUnlockTest, FillsTheFormWithWhatIsRememberedUnlessSomethingWasTyped) {
  dialog("disk4s4", "").open();
  pass(0.1);
  EXPECT_EQ(state().password.reveal(), "old horse");
  EXPECT_TRUE(state().rememberCredential);
  auto& typing = dialog("disk4s4", "");
  typing.open();
  typing.enterPassword(Secret("typed"));
  pass(0.1);
  EXPECT_EQ(state().password.reveal(), "typed");
  auto& choosing = dialog("disk4s4", "");
  choosing.open();
  choosing.selectMethod(Method::recovery);
  pass(0.1);
  EXPECT_EQ(state().method, Method::recovery);
  EXPECT_FALSE(state().rememberCredential);
  auto& unknown = dialog("disk4s1", "");
  bool isTold = false;
  const boost::signals2::scoped_connection hears =
      unknown.changed.connect([&] { isTold = !unknown.state().isFilling; });
  unknown.open();
  pass(0.1);
  EXPECT_TRUE(isTold) << "also when nothing is remembered";
}

TEST_F(BitLockerUnlockTest, ARequestHasWhatWasEnteredAndIsPrivate) {
  auto& model = dialog("disk6s1", "pass\"word");
  model.submit();
  pass(1);
  EXPECT_EQ(tests::modeOf(*mailbox.requestURL(key)), 0600u);
  auto request = mailbox.pendingRequest(key).value();
  EXPECT_EQ(request.method, "password");
  EXPECT_EQ(request.credential.reveal(), "pass\"word");
  EXPECT_EQ(request.readOnly, std::nullopt);
  EXPECT_EQ(request.requestID, state().requestID);
  model.close();
  EXPECT_FALSE(hasRequest());

  auto& recovery = dialog("disk6s1", "");
  recovery.selectMethod(Method::recovery);
  recovery.setMountReadOnly(true);
  recovery.enterRecovery("123453530112077011 660143 366663 000572 219989 46666");
  recovery.submit();
  EXPECT_FALSE(state().busy);
  EXPECT_EQ(state().errorText, "bitlocker.recovery.invalid");
  recovery.enterRecovery("② 123453530112077011 660143 366663 000572 219989 466664");
  EXPECT_EQ(state().recoveryFaults.front().key, "ui.unlock.recovery.othernumbers");
  recovery.submit();
  EXPECT_FALSE(state().busy) << "the field shows 48 digits, but something else was entered";
  recovery.enterRecovery("123453530112077011 660143 366663 000572 219989 466664");
  recovery.submit();
  pass(1);
  request = mailbox.pendingRequest(key).value();
  EXPECT_EQ(request.method, "recovery");
  EXPECT_EQ(request.credential.reveal(), "123453-530112-077011-660143-366663-000572-219989-466664");
  EXPECT_EQ(request.readOnly, true);
}

TEST_F(BitLockerUnlockTest, NobodyAnswersFor25Seconds) {
  auto& model = dialog("disk6s1", "anything");
  model.submit();
  pass(24.9);
  EXPECT_TRUE(state().busy);
  EXPECT_TRUE(hasRequest());
  pass(0.2);
  EXPECT_FALSE(state().busy);
  EXPECT_EQ(state().resultCode, "timeout");
  EXPECT_FALSE(hasRequest());
  model.submit();
  EXPECT_TRUE(state().busy) << "it can be tried again";
  EXPECT_EQ(state().errorText, std::nullopt);
}

TEST_F(BitLockerUnlockTest, OnlyTheAnswerToThisRequestCounts) {
  dialog("disk6s1", "anything").submit();
  pass(1);
  std::vector<Status> others(6, answer("unlockFailed"));
  others[0].timestamp = state().submitTime - 0.001;
  others[1].requestID = "another";
  others[2].requestID.reset();  // may be an older one
  others[3].state = "locked";
  others[4].requestID = "another";
  others[4].state = "unlocked";
  others[5].requestID = "another";
  others[5].ejected = true;
  for (const auto& other : others) {
    writeStatus(other);
    pass(1);
    EXPECT_TRUE(state().busy);
    EXPECT_EQ(state().stageKey, "bitlocker.ux.verifying");
  }
  auto success = answer("unlocked");
  success.requestID.reset();
  writeStatus(success);
  pass(0.001);
  EXPECT_EQ(state().stageKey, "bitlocker.ux.mounting") << "seen before the next poll";
  auto failure = answer("error");
  failure.errorMessage = "badMetadata";
  writeStatus(failure);
  pass(0.001);
  EXPECT_EQ(state().errorText, "bitlocker.error.metadata");
}

TEST_F(BitLockerUnlockTest, WithdrawsItsOwnRequestOnEveryWayOutAndNoOther) {
  const UnlockRequest newer{"password", Secret("newer"), std::nullopt, "newer"};
  const std::function<void()> waysOut[] = {
      [&] { unlock->close(); },
      [&] { unlock.reset(); },
      [&] { pass(30); },
      [&] { writeStatus(answer("unlockFailed")), pass(1); },
      [&] { mac.machine().mount("disk6s1", {}), pass(3); },
  };
  for (const auto& wayOut : waysOut) {
    for (const bool isReplaced : {false, true}) {
      dialog("disk6s1", "anything").submit();
      pass(1);
      ASSERT_TRUE(hasRequest());
      if (isReplaced) mailbox.writeRequest(key, newer);
      wayOut();
      EXPECT_EQ(hasRequest(), isReplaced);
      const auto left = mailbox.pendingRequest(key);
      EXPECT_EQ(left ? left->requestID : "none", isReplaced ? "newer" : "none");
      mailbox.removeRequest(key);
      mac.machine().unmount("disk6s1");
      monitor.refresh();
    }
  }
}

TEST_F(BitLockerUnlockTest, ADeviceThatIsReplacedWhileTypingGetsNoCredential) {
  auto& model = dialog("disk7s1", "correct horse");
  pass(5);
  model.submit();
  pass(0.1);
  EXPECT_EQ(state().resultCode, "deviceChanged");
  EXPECT_FALSE(hasRequest());
}

TEST_F(BitLockerUnlockTest, ADeviceThatIsReplacedWhileWaitingIsNotTheOne) {
  dialog("disk7s1", "correct horse").submit();
  pass(3.9);
  EXPECT_TRUE(state().busy);
  pass(0.2);
  EXPECT_EQ(state().resultCode, "deviceChanged");
  EXPECT_EQ(state().errorText, "format.changed");
  EXPECT_FALSE(hasRequest());
}

TEST_F(BitLockerUnlockTest, ADiskThatWasPulledIsToBePluggedInAgain) {
  auto& model = dialog("disk8s1", "correct horse");
  model.submit();
  pass(5);
  EXPECT_TRUE(state().awaitingReplug);
  EXPECT_FALSE(state().busy);
  EXPECT_EQ(state().errorText, std::nullopt);
  model.submit();
  EXPECT_FALSE(state().busy) << "there is no form now";
  mac.machine().plug("disk8");
  pass(1);
  EXPECT_FALSE(state().awaitingReplug);
  model.submit();
  EXPECT_TRUE(state().busy);
}

TEST_F(BitLockerUnlockTest, ABusyDiskOrAMissingMailboxEndIt) {
  auto& model = dialog("disk4s1", "correct horse");
  const auto resultOfSubmitting = [&] {
    model.submit();
    pass(0.1);
    return state().resultCode;
  };
  usedDisk = "disk4s1";
  EXPECT_EQ(resultOfSubmitting(), "diskBusy");
  usedDisk.clear();
  monitor.beginDestructiveOperation();
  EXPECT_EQ(resultOfSubmitting(), "diskBusy");
  monitor.endDestructiveOperation();
  mac.machine().setGroupContainerAvailable(false);
  EXPECT_EQ(resultOfSubmitting(), "mailboxUnavailable");
  mac.machine().setGroupContainerAvailable(true);
  model.submit();
  pass(3);
  EXPECT_TRUE(state().isUnlocked);
}

TEST_F(BitLockerUnlockTest, AnUnlockedVolumeIsMountedWhenTheSystemDoesNot) {
  dialog("disk6s3", "anything").submit();
  pass(10);
  EXPECT_TRUE(state().isUnlocked);
  dialog("disk6s4", "anything").submit();
  pass(10);
  EXPECT_EQ(state().errorText, "bitlocker.ux.mount.failed");
  EXPECT_EQ(state().resultCode,
            "BitLocker mount failed (Refused): "
            "Volume on disk6s4 failed to mount: the driver is not there");
  EXPECT_EQ(log, std::vector<std::string>{"unlock: " + state().resultCode});
  dialog("disk6s2", "anything").submit();
  pass(24);
  EXPECT_TRUE(state().busy);
  pass(2);
  EXPECT_EQ(state().resultCode, "mountNotConfirmed");
}

TEST(UnlockResultTest, ACodeThatIsNoneOfTheKnownOnesHasTheGeneralMessage) {
  for (const auto* code : {"", "wrongcredential", "timeout ", "unsupportedFileSystemX:exfat"}) {
    EXPECT_EQ(unlockMessageKey(code), "bitlocker.error.generic") << code;
  }
  EXPECT_EQ(unlockMessageKey("unsupportedFileSystem"), "bitlocker.error.unsupported.fs.fat");
}

}  // namespace
}  // namespace halvercine::bitlocker
