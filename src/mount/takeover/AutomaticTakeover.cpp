#include "mount/takeover/AutomaticTakeover.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <utility>

#include <fmt/ranges.h>

#include "base/sleepFor.h"
#include "disks/DiskUtilityText.h"

namespace halvercine::mount {
namespace {

using Kind = TakeoverEventKind;

// How soon it is tried again when another process is in the way.
constexpr auto holdOffTime = std::chrono::seconds(1);
constexpr auto finishPause = std::chrono::milliseconds(10);
constexpr auto finishPatience = std::chrono::seconds(5);

platform::Uptime uptimeOf(double seconds) {
  return std::chrono::duration_cast<platform::Uptime>(std::chrono::duration<double>(seconds));
}

double secondsOf(platform::Uptime duration) {
  return std::chrono::duration<double>(duration).count();
}

platform::WallTime wallTimeOf(double secondsSince1970) {
  return platform::WallTime(uptimeOf(secondsSince1970));
}

}  // namespace

AutomaticTakeover::AutomaticTakeover(TakeoverContext context)
    : context_(context),
      takeover_(context),
      post_(context.actor),
      tasks_(context.actor, *context.platform.systemLog) {}

AutomaticTakeover::~AutomaticTakeover() {
  if (timer_) context_.platform.clock->cancel(*timer_);
}

void AutomaticTakeover::start() {
  const auto& clock = *context_.platform.clock;
  const double now = platform::secondsSince1970(clock.now());
  const auto record = takeover_.journal().read();
  // Left by a run that did not end in the orderly way.
  for (const auto& retry : record.retries) {
    const double wait =
        std::clamp(retry.nextAfter - now, 0.0, secondsOf(MountRetryQueue::delays.back()));
    queue_.restore(retry.bsdName, {retry.deviceID, retry.count, clock.uptime() + uptimeOf(wait)});
  }
  takeover_.restoreFailure(record);
  for (const auto& verdict : record.verdicts) {
    takeover_.verdicts()[verdict.deviceID] = verdict.cause;
  }
  for (const auto& recovery : record.inherited) {
    inherited_.push_back({recovery, clock.uptime() + orphanWindow});
  }
  connections_.emplace_back(context_.monitor.refreshed.connect([this] { considerSoon(); }));
  connections_.emplace_back(
      context_.monitor.destructiveBusyChanged.connect([this] { considerSoon(); }));
  consider();
}

void AutomaticTakeover::considerSoon() {
  if (std::exchange(isDue_, true)) return;
  post_([this] { consider(); });
}

void AutomaticTakeover::consider() {
  isDue_ = false;
  if (isFinishing_) return;
  const bool isDestructive = context_.monitor.destructiveBusy();
  takeover_.coordinator().setDestructive(isDestructive);
  if (!isDestructive) suppressed_.clear();
  takeUpLeftovers();
  tidy();
  considerInherited();
  if (context_.platform.clock->uptime() >= nothingBefore_) {
    considerPending();
    considerReadOnly();
  }
  save();
  armTimer();
}

/// What another process of the program has unmounted and not mounted again. While it works, it is
/// waited for.
void AutomaticTakeover::takeUpLeftovers() {
  const auto& journal = takeover_.journal();
  if (!attempting_.empty()) return;
  const auto lock = journal.takeWorkingLock();
  if (!lock && lock.error() == TakeoverJournal::LockFailure::held) return holdOff();
  std::vector<JournalRecord::Recovery> leftovers;
  const bool isTakenUp = lock && journal.update([&](JournalRecord& record) {
    leftovers.clear();
    const auto isCaredFor = [this](const JournalRecord::Recovery& recovery) {
      return takeover_.pending().contains(recovery.bsdName) || context_.isInUse(recovery.bsdName);
    };
    std::ranges::copy_if(record.recoveries, std::back_inserter(leftovers), std::not_fn(isCaredFor));
    std::erase_if(record.recoveries, std::not_fn(isCaredFor));
    record.inherited.insert(record.inherited.end(), leftovers.begin(), leftovers.end());
    record.working.clear();
  });
  if (!isTakenUp) return;
  for (auto& recovery : leftovers) inherit(std::move(recovery));
}

/// Watches a volume for as long as a tool that was started for it may still unmount it.
void AutomaticTakeover::inherit(JournalRecord::Recovery recovery) {
  const auto& clock = *context_.platform.clock;
  const double age = platform::secondsSince1970(clock.now()) - recovery.createdAt;
  const double left = std::clamp(secondsOf(orphanWindow) - age, 0.0, secondsOf(orphanWindow));
  inherited_.push_back({std::move(recovery), clock.uptime() + uptimeOf(left)});
}

bool AutomaticTakeover::isUnmountedByUser(const JournalRecord::Recovery& recovery,
                                          disks::Disk disk) const {
  const auto since = wallTimeOf(recovery.createdAt);
  if (context_.isUnmountedByUser(disk, since)) return true;
  disk.volumeUUID = recovery.identity.volumeUUID;  // the system may have lost it meanwhile
  return context_.isUnmountedByUser(disk, since);
}

void AutomaticTakeover::considerInherited() {
  const auto now = context_.platform.clock->uptime();
  std::vector<Inherited> kept;
  for (auto& left : inherited_) {
    const auto& recovery = left.recovery;
    const auto deviceId = context_.monitor.deviceId(recovery.bsdName);
    if (deviceId != recovery.identity.deviceID) continue;
    const auto* disk = context_.monitor.find(recovery.bsdName);
    const bool isIt = disk && isSameVolume(identityOf(*disk, *deviceId), recovery.identity);
    if (isIt && isUnmountedByUser(recovery, *disk)) continue;
    const bool isRescued = !isIt || rescue(recovery, *disk);
    const bool isUsed = context_.isInUse(recovery.bsdName);
    if (now < left.until || !isRescued || isUsed) kept.push_back(std::move(left));
  }
  isUnsaved_ |= kept.size() != inherited_.size();
  inherited_ = std::move(kept);
}

/// Sees to it that a volume that an earlier run was working on gets mounted, if it is not. False
/// when that has to wait.
bool AutomaticTakeover::rescue(const JournalRecord::Recovery& recovery, const disks::Disk& disk) {
  const bool isOurs = attempting_.contains(disk.id) || takeover_.pending().contains(disk.id);
  if (disk.isMounted || isOurs) return true;
  if (context_.isInUse(disk.id)) return false;
  const UnmountedRecoveryTicket ticket{recovery.identity.deviceID,
                                       context_.platform.clock->uptime()};
  if (!takeover_.adopt({disk, recovery.identity, ticket, wallTimeOf(recovery.createdAt)})) {
    return false;
  }
  takeover_.addToLog("recover", "log.recover.found", recovery.diskName);
  tell(Kind::found, disk.id, recovery.diskName);
  return true;
}

/// Forgets what has changed by itself: devices that have gone, volumes that have become writable,
/// and those that somebody else has unmounted.
void AutomaticTakeover::tidy() {
  std::set<std::uint64_t> readOnly;
  for (const auto& disk : context_.monitor.disks()) {
    const auto deviceId = context_.monitor.deviceId(disk.id);
    const bool isOurs = attempting_.contains(disk.id) || takeover_.pending().contains(disk.id);
    if (deviceId && (isOurs || disk.isReadOnlyNtfs())) readOnly.insert(*deviceId);
    if (deviceId && disk.isMounted && disk.isWritable) takeover_.clearFailure(*deviceId);
  }
  const auto verdicts = std::erase_if(
      takeover_.verdicts(), [&](const auto& verdict) { return !readOnly.contains(verdict.first); });
  isUnsaved_ |= verdicts > 0;
  const auto entries = queue_.entries();
  for (const auto& [bsdName, entry] : entries) {
    if (context_.monitor.deviceId(bsdName) == entry.deviceID && readOnly.contains(entry.deviceID)) {
      continue;
    }
    queue_.remove(bsdName);
    isUnsaved_ = true;
  }
  const auto& failure = takeover_.lastRemountFailure();
  if (failure && context_.monitor.deviceId(failure->id) != takeover_.failedDevice()) {
    takeover_.clearFailure(takeover_.failedDevice().value_or(0));
  }
  tidyPending();
}

void AutomaticTakeover::tidyPending() {
  const auto pending = takeover_.pending();
  for (const auto& [bsdName, recovery] : pending) {
    if (attempting_.contains(bsdName)) continue;
    // A volume that is out of the list for a moment is not gone while its device is there.
    const auto* disk = context_.monitor.find(bsdName);
    const bool isThere = context_.monitor.deviceId(bsdName) == recovery.identity.deviceID;
    const bool isWanted = !context_.isUnmountedByUser(recovery.disk, recovery.since);
    if (isThere && isWanted && !(disk && disk->isMounted)) continue;
    takeover_.drop(bsdName);
    takeover_.clearFailure(recovery.identity.deviceID);
  }
}

/// Whether a volume is to be tried now: it never was, or its next retry is due.
bool AutomaticTakeover::isDueFor(const std::string& bsdName, std::uint64_t deviceId) const {
  if (attempting_.contains(bsdName) || context_.isInUse(bsdName)) return false;
  const auto* entry = queue_.find(bsdName, deviceId);
  if (!entry) return true;
  return entry->hasPendingRetry() && context_.platform.clock->uptime() >= entry->nextAfter;
}

void AutomaticTakeover::considerPending() {
  if (takeover_.coordinator().destructive()) return;
  for (const auto& [bsdName, recovery] : takeover_.pending()) {
    if (isDueFor(bsdName, recovery.identity.deviceID)) begin(bsdName, attemptRemount(bsdName));
  }
}

void AutomaticTakeover::considerReadOnly() {
  std::vector<disks::Disk> volumes;
  std::vector<disks::Disk> resources;
  for (const auto& disk : context_.monitor.disks()) {
    const auto deviceId = context_.monitor.deviceId(disk.id);
    if (!disk.isReadOnlyNtfs() || attempting_.contains(disk.id)) continue;
    const auto gate = takeover_.gateOf(disk);
    if (deviceId && gate.reason) remember(*deviceId, gate.cause());
    if (!gate.isOpen() || (deviceId && !isDueFor(disk.id, *deviceId))) continue;
    if (takeover_.coordinator().destructive()) {
      suppress(disk);
    } else if (deviceId) {
      const bool isResource =
          disk.mountedByEngine && gate.reason == ReadOnlyReason::resourceReadOnly;
      (isResource ? resources : volumes).push_back(disk);
    }
  }
  pass("auto takeover: ", volumes);
  pass("auto resource recovery: ", resources);
}

/// A final cause stands until the device or the mount changes, also when its report goes stale.
void AutomaticTakeover::remember(std::uint64_t deviceId, ReadOnlyCause cause) {
  auto& verdicts = takeover_.verdicts();
  const auto known = verdicts.find(deviceId);
  if (MountRecoveryPolicy::isRecoverable(cause)) {
    isUnsaved_ |= verdicts.erase(deviceId) > 0;
  } else if (known == verdicts.end() || known->second != cause) {
    verdicts[deviceId] = cause;
    isUnsaved_ = true;
  }
}

void AutomaticTakeover::pass(std::string_view title, const std::vector<disks::Disk>& volumes) {
  if (volumes.empty()) return;
  std::vector<std::string> names;
  names.reserve(volumes.size());
  for (const auto& disk : volumes) names.push_back(disk.id);
  context_.platform.systemLog->write(platform::LogLevel::info,
                                     fmt::format("{}{}", title, fmt::join(names, ", ")));
  for (const auto& disk : volumes) begin(disk.id, attemptTakeover(disk.id));
}

void AutomaticTakeover::suppress(const disks::Disk& disk) {
  const auto deviceId = context_.monitor.deviceId(disk.id);
  if (!deviceId || !suppressed_.insert(*deviceId).second) return;
  takeover_.recordFailure({disk.id, disk.name, std::string(destructiveText)}, *deviceId);
  tell(Kind::suppressed, disk.id, disk.name);
}

void AutomaticTakeover::begin(const std::string& bsdName, base::Task<void> attempt) {
  attempting_.insert(bsdName);
  tasks_.spawn("takeover of " + bsdName, std::move(attempt));
}

/// A sequence has passed its gates.
void AutomaticTakeover::began(const std::string& bsdName, const std::string& diskName) {
  const auto deviceId = context_.monitor.deviceId(bsdName).value_or(0);
  TakeoverEvent details;
  if (queue_.begin(bsdName, deviceId, context_.platform.clock->uptime())) {
    details.attempt = queue_.find(bsdName, deviceId)->count;
    isUnsaved_ = true;
    save();
  }
  tell(Kind::began, bsdName, diskName, std::move(details));
}

base::Task<void> AutomaticTakeover::attemptTakeover(std::string bsdName) {
  if (!isFinishing_) {
    const auto* disk = context_.monitor.find(bsdName);
    const VolumeTakeover::Began onBegin = [this, bsdName, name = disk ? disk->name : ""] {
      began(bsdName, name);
    };
    auto result = co_await takeover_.takeOver(bsdName, onBegin);
    co_await conclude(std::move(result));
  }
  attempting_.erase(bsdName);
  considerSoon();
}

base::Task<void> AutomaticTakeover::attemptRemount(std::string bsdName) {
  const auto pending = takeover_.pending().find(bsdName);
  if (pending != takeover_.pending().end()) {
    const VolumeTakeover::Began onBegin = [this, bsdName, name = pending->second.disk.name] {
      began(bsdName, name);
    };
    auto result = co_await takeover_.remount(bsdName, onBegin);
    co_await conclude(std::move(result));
  }
  attempting_.erase(bsdName);
  considerSoon();
}

base::Task<void> AutomaticTakeover::conclude(TakeoverResult result) {
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
      holdOff();
      break;
    case TakeoverEnd::notEligible:
    case TakeoverEnd::noLongerEligible:
    case TakeoverEnd::destructiveOperation:
      break;
  }
}

base::Task<void> AutomaticTakeover::awaitVerdict(TakeoverResult result) {
  const std::function<bool()> mayWait = [this] { return !isFinishing_; };
  const auto verdict = co_await takeover_.confirm(result, mayWait);
  TakeoverEvent details;
  switch (verdict) {
    case MountVerdict::writable:
      queue_.remove(result.bsdName);
      isUnsaved_ = true;
      transition_ = MountReadinessTransition::ready;
      takeover_.clearFailure(result.identity->deviceID);
      takeover_.addToLog("takeover", "log.takeover.confirmed", result.diskName);
      tell(Kind::confirmed, result);
      break;
    case MountVerdict::final:
      queue_.remove(result.bsdName);
      takeover_.clearFailure(result.identity->deviceID);
      isUnsaved_ = true;
      details.cause = takeover_.verdicts().at(result.identity->deviceID);
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
base::Task<void> AutomaticTakeover::giveUp(TakeoverResult result) {
  TakeoverEvent details;
  details.isUnmounted = takeover_.pending().contains(result.bsdName);
  tell(Kind::stopped, result, details);
  if (!details.isUnmounted) co_return;
  const bool isMounted = co_await takeover_.restore(result.bsdName, disks::MountAccess::readOnly);
  if (isMounted) tell(Kind::restored, result);
}

/// Treats a volume like one that a dead process was working on.
void AutomaticTakeover::keepWatching(const TakeoverResult& result) {
  const double now = platform::secondsSince1970(context_.platform.clock->now());
  inherit({result.bsdName, result.diskName, *result.identity, now});
  isUnsaved_ = true;
}

/// Whether there is another time.
bool AutomaticTakeover::retryLater(const TakeoverResult& result) {
  if (isFinishing_) return true;
  const auto now = context_.platform.clock->uptime();
  const auto deviceId = result.identity->deviceID;
  queue_.failed(result.bsdName, deviceId, now);
  isUnsaved_ = true;
  const auto* entry = queue_.find(result.bsdName, deviceId);
  if (!entry->hasPendingRetry()) return false;
  TakeoverEvent details;
  details.attempt = entry->count + 1;
  details.delay = std::chrono::duration_cast<std::chrono::seconds>(entry->nextAfter - now);
  tell(Kind::waiting, result, std::move(details));
  return true;
}

void AutomaticTakeover::holdOff() {
  nothingBefore_ = context_.platform.clock->uptime() + holdOffTime;
}

base::Task<void> AutomaticTakeover::finish() {
  isFinishing_ = true;
  while (!attempting_.empty()) co_await base::sleepFor(*context_.platform.clock, finishPause);
  const auto pending = takeover_.pending();
  for (const auto& [bsdName, recovery] : pending) co_await restoreAtTheEnd(bsdName);
  takeover_.journal().update([](JournalRecord& record) {
    record.retries.clear();
    record.verdicts.clear();
    record.lastFailure.reset();
    record.lastFailureDevice.reset();
  });
}

/// Read-only is better than not at all. Another process may be at work for a moment.
base::Task<void> AutomaticTakeover::restoreAtTheEnd(std::string bsdName) {
  auto& clock = *context_.platform.clock;
  const auto name = takeover_.pending().at(bsdName).disk.name;
  const auto patience = clock.uptime() + finishPatience;
  while (takeover_.journal().isSomebodyWorking() && clock.uptime() < patience) {
    co_await base::sleepFor(clock, finishPause);
  }
  bool isMounted = co_await takeover_.restore(bsdName, disks::MountAccess::readWrite);
  if (!isMounted && takeover_.pending().contains(bsdName)) {
    isMounted = co_await takeover_.restore(bsdName, disks::MountAccess::readOnly);
  }
  tell(isMounted ? Kind::restored : Kind::failed, bsdName, name);
}

std::optional<MountRecoveryPolicy::StatusLine> AutomaticTakeover::recoveryStatus(
    const std::string& bsdName) const {
  const bool isRunning = attempting_.contains(bsdName);
  return MountRecoveryPolicy::recoveryStatus(context_.monitor.deviceId(bsdName),
                                             queue_.place(bsdName, isRunning), isRunning);
}

/// Wakes when the next retry is due, or when what is in the way may have gone.
void AutomaticTakeover::armTimer() {
  auto& clock = *context_.platform.clock;
  if (timer_) clock.cancel(*std::exchange(timer_, std::nullopt));
  // What is due already and did not begin waits for something to change.
  auto next = queue_.nextDue(clock.uptime());
  if (nothingBefore_ > clock.uptime()) next = nothingBefore_;
  // The job may be another process's, which does not tell when it ends.
  if (takeover_.coordinator().destructive()) next = clock.uptime() + holdOffTime;
  if (!next || !attempting_.empty()) return;  // whoever attempts comes back here
  timer_ = clock.callAt(*next, post_.wrap([this] { consider(); }));
}

void AutomaticTakeover::save() {
  if (!std::exchange(isUnsaved_, false)) return;
  const auto& clock = *context_.platform.clock;
  const double now = platform::secondsSince1970(clock.now());
  takeover_.journal().update([&](JournalRecord& record) {
    record.retries.clear();
    for (const auto& [bsdName, entry] : queue_.entries()) {
      const double due = now + secondsOf(entry.nextAfter - clock.uptime());
      record.retries.push_back({bsdName, entry.deviceID, entry.count, due});
    }
    record.verdicts.clear();
    for (const auto& [deviceId, cause] : takeover_.verdicts()) {
      record.verdicts.push_back({deviceId, cause});
    }
    record.inherited.clear();
    for (const auto& left : inherited_) {
      record.inherited.push_back(left.recovery);
    }
  });
}

void AutomaticTakeover::tell(TakeoverEventKind kind, const std::string& bsdName,
                             const std::string& diskName, TakeoverEvent details) {
  details.kind = kind;
  details.bsdName = bsdName;
  details.diskName = diskName;
  happened(details);
}

void AutomaticTakeover::tell(TakeoverEventKind kind, const TakeoverResult& result,
                             TakeoverEvent details) {
  if (kind == Kind::failed) details.toolText = result.toolText;
  tell(kind, result.bsdName, result.diskName, std::move(details));
}

}  // namespace halvercine::mount
