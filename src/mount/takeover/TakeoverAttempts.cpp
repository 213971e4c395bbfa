#include "mount/takeover/TakeoverAttempts.h"

#include <chrono>
#include <utility>

#include "base/sleepFor.h"
#include "disks/DiskUtilityText.h"

namespace halvercine::mount {
namespace {

constexpr auto finishPause = std::chrono::milliseconds(10);
constexpr auto finishPatience = std::chrono::seconds(5);

}  // namespace

TakeoverAttempts::TakeoverAttempts(TakeoverContext context, VolumeTakeover& takeover,
                                   MountRetryQueue& queue, InheritedRecoveries& inherited,
                                   Events events)
    : context_(std::move(context)),
      takeover_(takeover),
      queue_(queue),
      inherited_(inherited),
      events_(std::move(events)),
      tasks_(context_.actor, *context_.platform.systemLog) {}

void TakeoverAttempts::takeOver(const std::string& bsdName) {
  begin(bsdName, attemptTakeover(bsdName));
}

void TakeoverAttempts::remount(const std::string& bsdName) {
  begin(bsdName, attemptRemount(bsdName));
}

void TakeoverAttempts::begin(const std::string& bsdName, base::Task<void> attempt) {
  underWay_.insert(bsdName);
  tasks_.spawn("takeover of " + bsdName, std::move(attempt));
}

void TakeoverAttempts::end(const std::string& bsdName) {
  underWay_.erase(bsdName);
  events_.ended();
}

/// For the moment at which a sequence has passed its gates.
VolumeTakeover::Began TakeoverAttempts::whenBegun(const std::string& bsdName,
                                                  std::string diskName) {
  return [this, bsdName, diskName = std::move(diskName)] {
    const auto deviceId = context_.monitor.deviceId(bsdName).value_or(0);
    TakeoverEvent details;
    if (queue_.begin(bsdName, deviceId, context_.platform.clock->uptime())) {
      details.attempt = queue_.find(bsdName, deviceId)->count;
      events_.counted();
    }
    tell(Kind::began, bsdName, diskName, std::move(details));
  };
}

base::Task<void> TakeoverAttempts::attemptTakeover(std::string bsdName) {
  if (!isFinishing_) {
    const auto* disk = context_.monitor.find(bsdName);
    const auto began = whenBegun(bsdName, disk ? disk->name : "");
    auto result = co_await takeover_.takeOver(bsdName, began);
    co_await conclude(std::move(result));
  }
  end(bsdName);
}

base::Task<void> TakeoverAttempts::attemptRemount(std::string bsdName) {
  const auto pending = takeover_.pending().find(bsdName);
  if (pending != takeover_.pending().end()) {
    const auto began = whenBegun(bsdName, pending->second.disk.name);
    auto result = co_await takeover_.remount(bsdName, began);
    co_await conclude(std::move(result));
  }
  end(bsdName);
}

base::Task<void> TakeoverAttempts::conclude(TakeoverResult result) {
  switch (result.end) {
    case TakeoverEnd::mounted:
    case TakeoverEnd::mountedByOthers:
      tell(Kind::remounted, result);
      co_await awaitVerdict(std::move(result));
      break;
    case TakeoverEnd::unmountFailed:
      // The tool has been given up, but what it asked for may still happen.
      if (disks::errorKey(result.toolText) == "disk.err.timeout") keepWatching(result);
      [[fallthrough]];
    case TakeoverEnd::mountFailed:
      tell(Kind::failed, result);
      if (!retryLater(result)) co_await giveUp(std::move(result));
      break;
    case TakeoverEnd::unrecognized:
      if (!retryLater(result)) co_await giveUp(std::move(result));
      break;
    case TakeoverEnd::vanished:
    case TakeoverEnd::deviceChanged:
    case TakeoverEnd::deviceChangedAfterUnmount:
      tell(Kind::aborted, result);
      break;
    case TakeoverEnd::notRecorded:
      tell(Kind::unrecorded, result);
      if (!retryLater(result)) tell(Kind::stopped, result);
      break;
    case TakeoverEnd::noMediaIdentity:
    case TakeoverEnd::coordinatorBusy:
    case TakeoverEnd::repairingAuthorization:
    case TakeoverEnd::ticketRefused:
      events_.blocked();
      break;
    case TakeoverEnd::notEligible:
    case TakeoverEnd::noLongerEligible:
    case TakeoverEnd::destructiveOperation:
      break;
  }
}

base::Task<void> TakeoverAttempts::awaitVerdict(TakeoverResult result) {
  const std::function<bool()> mayWait = [this] { return !isFinishing_; };
  const auto verdict = co_await takeover_.confirm(result, mayWait);
  TakeoverEvent details;
  switch (verdict) {
    case MountVerdict::writable:
      queue_.remove(result.bsdName);
      transition_ = MountReadinessTransition::ready;
      takeover_.failures().clear(result.identity->deviceID);
      takeover_.addToLog("takeover", "log.takeover.confirmed", result.diskName);
      tell(Kind::confirmed, result);
      break;
    case MountVerdict::final:
      queue_.remove(result.bsdName);
      takeover_.failures().clear(result.identity->deviceID);
      details.cause = takeover_.verdicts().known().at(result.identity->deviceID);
      takeover_.addToLog(
          "takeover", "log.takeover.readonly", result.diskName,
          context_.localization.text(MountRecoveryPolicy::explanationKey(*details.cause)));
      tell(Kind::readOnly, result, std::move(details));
      break;
    case MountVerdict::readOnly:
      tell(Kind::readOnly, result);
      if (!retryLater(result)) tell(Kind::stopped, result);
      break;
    case MountVerdict::unmounted:
      tell(Kind::failed, result);
      if (!retryLater(result)) co_await giveUp(std::move(result));
      break;
    case MountVerdict::otherDevice:
      tell(Kind::aborted, result);
      break;
  }
}

/// No retry is left. A volume that is still unmounted gets mounted read-only, if at all possible.
base::Task<void> TakeoverAttempts::giveUp(TakeoverResult result) {
  TakeoverEvent details;
  details.isUnmounted = takeover_.pending().contains(result.bsdName);
  tell(Kind::stopped, result, details);
  if (!details.isUnmounted) co_return;
  const bool isMounted = co_await takeover_.restore(result.bsdName, disks::MountAccess::readOnly);
  if (isMounted) tell(Kind::restored, result);
}

/// Whether there is another time.
bool TakeoverAttempts::retryLater(const TakeoverResult& result) {
  if (isFinishing_) return true;
  const auto now = context_.platform.clock->uptime();
  const auto deviceId = result.identity->deviceID;
  queue_.failed(result.bsdName, deviceId, now);
  const auto* entry = queue_.find(result.bsdName, deviceId);
  if (!entry->hasPendingRetry()) return false;
  TakeoverEvent details;
  details.attempt = entry->count + 1;
  details.delay = std::chrono::duration_cast<std::chrono::seconds>(entry->nextAfter - now);
  tell(Kind::waiting, result, std::move(details));
  return true;
}

/// Treats a volume like one that a dead process was working on.
void TakeoverAttempts::keepWatching(const TakeoverResult& result) {
  const double now = platform::secondsSince1970(context_.platform.clock->now());
  inherited_.add({result.bsdName, result.diskName, *result.identity, now});
}

base::Task<void> TakeoverAttempts::finish() {
  isFinishing_ = true;
  while (!isIdle()) co_await base::sleepFor(*context_.platform.clock, finishPause);
  const auto pending = takeover_.pending();
  for (const auto& [bsdName, recovery] : pending) co_await restoreAtTheEnd(bsdName);
}

/// Read-only is better than not at all. Another process may be at work for a moment.
base::Task<void> TakeoverAttempts::restoreAtTheEnd(std::string bsdName) {
  auto& clock = *context_.platform.clock;
  const auto name = takeover_.pending().at(bsdName).disk.name;
  const auto deadline = clock.uptime() + finishPatience;
  while (takeover_.journal().isSomebodyWorking() && clock.uptime() < deadline) {
    co_await base::sleepFor(clock, finishPause);
  }
  bool isMounted = co_await takeover_.restore(bsdName, disks::MountAccess::readWrite);
  if (!isMounted && takeover_.pending().contains(bsdName)) {
    isMounted = co_await takeover_.restore(bsdName, disks::MountAccess::readOnly);
  }
  tell(isMounted ? Kind::restored : Kind::failed, bsdName, name);
}

void TakeoverAttempts::tell(Kind kind, const std::string& bsdName, const std::string& diskName,
                            TakeoverEvent details) {
  details.kind = kind;
  details.bsdName = bsdName;
  details.diskName = diskName;
  events_.happened(details);
}

void TakeoverAttempts::tell(Kind kind, const TakeoverResult& result, TakeoverEvent details) {
  if (kind == Kind::failed) details.toolText = result.toolText;
  tell(kind, result.bsdName, result.diskName, std::move(details));
}

}  // namespace halvercine::mount
