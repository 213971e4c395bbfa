#include "bitlocker/unlock/BitLockerUnlock.h"

#include <utility>

#include "base/sleepFor.h"
#include "bitlocker/unlock/RecoveryEntry.h"
#include "disks/DiskDescriptor.h"

namespace halvercine::bitlocker {

BitLockerUnlock::BitLockerUnlock(UnlockContext context, disks::Disk disk,
                                 std::optional<std::uint64_t> deviceId)
    : context_(std::move(context)),
      keychain_(context_.actor, *context_.platform.clock, *context_.platform.secretStore),
      deviceId_(deviceId),
      submissionTask_(context_.actor, *context_.platform.systemLog),
      pollTask_(context_.actor, *context_.platform.systemLog) {
  state_.disk = std::move(disk);
  state_.recoveryFaults = RecoveryEntry("").faults();
  refreshed_ = context_.monitor.refreshed.connect([this] { lookForReplug(); });
}

void BitLockerUnlock::open() {
  if (key().empty()) return;
  state_.isFilling = true;
  submissionTask_.spawn("remembered BitLocker credential", fill());
}

base::Task<void> BitLockerUnlock::fill() {
  auto remembered = co_await keychain_.load(key());
  state_.isFilling = false;
  if (remembered) state_.rememberCredential |= takeRemembered(std::move(*remembered));
  changed();
}

/// What the user has typed or chosen meanwhile stays.
bool BitLockerUnlock::takeRemembered(BitLockerKeychain::Payload remembered) {
  if (!isForm() || !state_.password.empty() || !state_.recovery.empty()) return false;
  const bool isPassword = remembered.method == unlock_method::password;
  if (!isPassword && remembered.method != unlock_method::recovery) return false;
  const auto method = isPassword ? Method::password : Method::recovery;
  if (isMethodChosen_ && state_.method != method) return false;
  state_.method = method;
  if (isPassword) {
    state_.password = std::move(remembered.credential);
  } else {
    enterRecovery(remembered.credential.reveal());
  }
  return true;
}

void BitLockerUnlock::selectMethod(Method method) {
  if (!isForm()) return;
  state_.method = method;
  isMethodChosen_ = true;
}

void BitLockerUnlock::enterPassword(base::Secret text) {
  if (isForm()) state_.password = std::move(text);
}

void BitLockerUnlock::enterRecovery(std::string_view text) {
  if (!isForm()) return;
  const RecoveryEntry entry(text);
  state_.recovery = entry.grouped();
  state_.recoveryFaults = entry.faults();
}

void BitLockerUnlock::setRememberCredential(bool remember) {
  if (isForm()) state_.rememberCredential = remember;
}

void BitLockerUnlock::setMountReadOnly(bool readOnly) {
  if (isForm()) state_.mountReadOnly = readOnly;
}

const base::Secret& BitLockerUnlock::credential() const {
  return state_.method == Method::password ? state_.password : state_.recovery;
}

void BitLockerUnlock::submit() {
  if (state_.busy || state_.isClosed || state_.awaitingReplug || key().empty()) return;
  if (state_.method == Method::recovery && !state_.recoveryFaults.empty()) {
    state_.errorText = "bitlocker.recovery.invalid";
    state_.resultCode.clear();
    return changed();
  }
  state_.busy = true;
  state_.stageKey = "bitlocker.ux.verifying";
  state_.errorText.reset();
  state_.resultCode.clear();
  attempt_ = std::make_unique<UnlockAttempt>(context_, state_.disk, deviceId_);
  state_.submitTime = attempt_->submitTime();
  state_.requestID = attempt_->requestID();
  state_.originalMediaID = attempt_->originalMediaID();
  submissionTask_.spawn("BitLocker unlock", submission());
  changed();
}

base::Task<void> BitLockerUnlock::submission() {
  // No credential for a device that has taken the name while the user was typing.
  context_.monitor.refresh();
  if (!attempt_->isSameDevice()) co_return fail(unlock_code::deviceChanged);
  if (context_.isBusy(state_.disk)) co_return fail(unlock_code::diskBusy);
  const auto* const now = context_.monitor.find(state_.disk.id);
  const bool readOnly = state_.mountReadOnly || !(now ? *now : state_.disk).mediaWritable;
  if (!attempt_->submit(methodName(state_.method), credential().copy(), readOnly)) {
    co_return fail(unlock_code::mailboxUnavailable);
  }
  pollTask_.spawn("BitLocker unlock's answer", waiting());
}

base::Task<void> BitLockerUnlock::waiting() {
  const std::function<void()> accepted = [this] {
    state_.stageKey = "bitlocker.ux.mounting";
    changed();
  };
  const auto result = co_await attempt_->wait(accepted);
  attempt_->withdraw();
  switch (result.end) {
    case UnlockResult::End::unlocked:
      co_return co_await succeed(result.isAccepted);
    case UnlockResult::End::failed:
      co_return fail(result.code);
    case UnlockResult::End::ejected:
      state_.awaitingReplug = true;
      endSubmission();
  }
}

base::Task<void> BitLockerUnlock::succeed(bool isAccepted) {
  state_.isUnlocked = true;
  if (const auto* disk = context_.monitor.find(state_.disk.id)) {
    state_.disk.isMounted = disk->isMounted;
    state_.disk.isWritable = disk->isWritable;
    state_.disk.mountPath = disk->mountPath;
  }
  if (!state_.rememberCredential) {
    co_await keychain_.remove(key());
  } else if (isAccepted) {
    co_await keychain_.save(key(), std::string(methodName(state_.method)), credential().copy());
  }
  state_.password = {};
  state_.recovery = {};
  co_await base::sleepFor(*context_.platform.clock, closingDelay);
  close();
}

void BitLockerUnlock::fail(std::string_view code) {
  attempt_->withdraw();
  state_.resultCode = code;
  state_.errorText = unlockMessageKey(code);
  endSubmission();
}

void BitLockerUnlock::endSubmission() {
  state_.busy = false;
  state_.stageKey = {};
  changed();
}

/// A medium that only its place in the registry identifies has a new one each time it is plugged
/// in.
bool BitLockerUnlock::isSameMedium(const disks::Disk& disk) const {
  const auto isPlace = [](const std::optional<std::string>& id) {
    return id && id->starts_with(disks::registryMediaPrefix);
  };
  const auto& known = state_.disk.mediaID;
  return disk.mediaID == known || (isPlace(known) && isPlace(disk.mediaID));
}

/// The disk is back, perhaps under another name.
void BitLockerUnlock::lookForReplug() {
  if (!state_.awaitingReplug) return;
  for (const auto& disk : context_.monitor.disks()) {
    if (!disk.bitLocker || disk.bitLocker->guid != key() || !isSameMedium(disk)) continue;
    state_.disk = disk;
    deviceId_ = context_.monitor.deviceId(disk.id);
    state_.awaitingReplug = false;
    return changed();
  }
}

void BitLockerUnlock::close() {
  if (std::exchange(state_.isClosed, true)) return;
  submissionTask_.cancelAll();
  pollTask_.cancelAll();
  if (attempt_) attempt_->withdraw();
  state_.busy = false;
  state_.stageKey = {};
  state_.password = {};
  state_.recovery = {};
  changed();
}

std::string_view methodName(BitLockerUnlock::Method method) {
  switch (method) {
    case BitLockerUnlock::Method::password:
      return unlock_method::password;
    case BitLockerUnlock::Method::recovery:
      return unlock_method::recovery;
  }
  return "";
}

}  // namespace halvercine::bitlocker
