#include "bitlocker/unlock/AutomaticUnlock.h"

#include "base/sleepFor.h"

namespace halvercine::bitlocker {
namespace {

bool isLocked(const disks::Disk& disk) {
  return disk.bitLocker && disk.bitLocker->state == "locked" && !disk.isMounted;
}

bool isUsable(const BitLockerKeychain::Payload& payload) {
  return payload.method == unlock_method::password || payload.method == unlock_method::recovery;
}

}  // namespace

AutomaticUnlock::AutomaticUnlock(UnlockContext context,
                                 std::function<bool(const disks::Disk&)> isUnsafe)
    : context_(std::move(context)),
      isUnsafe_(std::move(isUnsafe)),
      mailbox_(*context_.platform.containers, *context_.platform.clock),
      keychain_(context_.actor, *context_.platform.clock, *context_.platform.secretStore),
      tasks_(context_.actor, *context_.platform.systemLog) {}

void AutomaticUnlock::start() {
  refreshed_ = context_.monitor.refreshed.connect([this] { look(); });
  look();
}

void AutomaticUnlock::stop() {
  refreshed_.disconnect();
  tasks_.cancelAll();
  for (const auto& [bsdName, attempt] : underWay_) {
    if (attempt) attempt->withdraw();
  }
}

void AutomaticUnlock::look() {
  for (const auto& disk : context_.monitor.disks()) {
    const auto deviceId = context_.monitor.deviceId(disk.id);
    if (!isLocked(disk) || unremembered_.contains({disk.id, deviceId}) || isWaiting(disk)) continue;
    underWay_.try_emplace(disk.id);
    tasks_.spawn("automatic unlock of " + disk.id, examine(disk, deviceId));
  }
}

/// Whether nothing is to be done for now, or at all.
bool AutomaticUnlock::isWaiting(const disks::Disk& disk) const {
  return autoUnlockAttempted_.contains(disk.id) || underWay_.contains(disk.id) ||
         context_.isBusy(disk) || mailbox_.pendingRequest(disk.bitLocker->guid);
}

bool AutomaticUnlock::isStillLocked(const disks::Disk& disk,
                                    std::optional<std::uint64_t> deviceId) const {
  const auto* const now = context_.monitor.find(disk.id);
  return now && isLocked(*now) && context_.monitor.deviceId(disk.id) == deviceId;
}

base::Task<void> AutomaticUnlock::examine(disks::Disk disk, std::optional<std::uint64_t> deviceId) {
  using Missing = BitLockerKeychain::Missing;
  while (isStillLocked(disk, deviceId)) {
    auto remembered = co_await keychain_.load(disk.bitLocker->guid);
    if (remembered && isUsable(*remembered)) {
      co_await tryToUnlock(disk, deviceId, std::move(*remembered));
      break;
    }
    if (remembered || remembered.error() == Missing::forGood) {
      unremembered_.emplace(disk.id, deviceId);
      break;
    }
    co_await base::sleepFor(*context_.platform.clock, keychainDelay);
  }
  underWay_.erase(disk.id);
  look();  // another device may have taken the name
}

base::Task<void> AutomaticUnlock::tryToUnlock(disks::Disk disk,
                                              std::optional<std::uint64_t> deviceId,
                                              BitLockerKeychain::Payload remembered) {
  for (int attempts = 1; attempts <= 2; ++attempts) {
    context_.monitor.refresh();
    const auto* now = context_.monitor.find(disk.id);
    // Somebody may have begun meanwhile: the keychain takes its time.
    if (!now || !isLocked(*now) || context_.isBusy(*now) ||
        mailbox_.pendingRequest(disk.bitLocker->guid)) {
      co_return;
    }
    if (isUnsafe_(*now)) {
      autoUnlockAttempted_.insert(disk.id);
      context_.addToLog("unlock",
                        "BitLocker automatic mount rejected (" + disk.name + "): unsafe volume");
      co_return tell(EventKind::rejected, disk, "");
    }
    auto& attempt = underWay_.at(disk.id);
    attempt = std::make_unique<UnlockAttempt>(context_, disk, deviceId);
    if (attempt->isSameDevice() &&
        attempt->submit(remembered.method, remembered.credential.copy(), !now->mediaWritable)) {
      autoUnlockAttempted_.insert(disk.id);
      remembered.credential = {};
      const std::function<void()> nothing;
      const auto result = co_await attempt->wait(nothing);
      attempt->withdraw();
      const bool isUnlocked = result.end == UnlockResult::End::unlocked;
      co_return tell(isUnlocked ? EventKind::unlocked : EventKind::failed, disk, result.code);
    }
    if (attempts == 1) co_await base::sleepFor(*context_.platform.clock, secondAttemptDelay);
  }
  autoUnlockAttempted_.insert(disk.id);
  context_.addToLog("unlock", "BitLocker automatic transfer failed after two attempts (" +
                                  disk.name + "): unsafe volume");
  tell(EventKind::notTransferred, disk, "");
}

void AutomaticUnlock::tell(EventKind kind, const disks::Disk& disk, const std::string& code) {
  happened({kind, disk, code});
}

}  // namespace halvercine::bitlocker
