#include "mount/takeover/AutomaticTakeover.h"

#include <chrono>
#include <utility>

#include <fmt/ranges.h>

namespace halvercine::mount {
namespace {

// How soon it is tried again when another process is in the way.
constexpr auto holdOffTime = std::chrono::seconds(1);

}  // namespace

AutomaticTakeover::AutomaticTakeover(TakeoverContext context)
    : context_(context),
      takeover_(context),
      inherited_(context, takeover_),
      store_(context.platform),
      post_(context.actor),
      attempts_(context, takeover_, queue_, inherited_,
                {[this](const TakeoverEvent& event) { happened(event); }, [this] { save(); },
                 [this] { holdOff(); }, [this] { considerSoon(); }}) {}

AutomaticTakeover::~AutomaticTakeover() {
  if (timer_) context_.platform.clock->cancel(*timer_);
}

void AutomaticTakeover::start() {
  auto state = store_.load();
  for (const auto& [bsdName, entry] : state.retries) queue_.restore(bsdName, entry);
  takeover_.verdicts().restore(std::move(state.verdicts));
  inherited_.restore(std::move(state.inherited));
  takeover_.failures().restore();
  connections_.emplace_back(context_.monitor.refreshed.connect([this] { considerSoon(); }));
  connections_.emplace_back(
      context_.monitor.destructiveBusyChanged.connect([this] { considerSoon(); }));
  consider();
}

base::Task<void> AutomaticTakeover::finish() {
  co_await attempts_.finish();
  save();  // what it has given a tool up for is the next run's to watch
  store_.clear();
}

void AutomaticTakeover::considerSoon() {
  if (std::exchange(willConsider_, true)) return;
  post_([this] { consider(); });
}

void AutomaticTakeover::consider() {
  willConsider_ = false;
  if (attempts_.isFinishing()) return;
  const bool isDestructive = context_.monitor.destructiveBusy();
  takeover_.coordinator().setDestructive(isDestructive);
  if (!isDestructive) suppressed_.clear();
  if (attempts_.isIdle() && !inherited_.takeUpLeftovers()) holdOff();
  tidy();
  rescueInherited();
  if (context_.platform.clock->uptime() >= nothingBefore_) {
    considerPending();
    considerReadOnly();
  }
  save();
  armTimer();
}

bool AutomaticTakeover::isOurs(const std::string& bsdName) const {
  return attempts_.isUnderWay(bsdName) || takeover_.pending().contains(bsdName);
}

/// Forgets what has changed by itself: devices that have gone, volumes that have become writable,
/// and those that somebody else has unmounted.
void AutomaticTakeover::tidy() {
  std::set<std::uint64_t> readOnly;
  for (const auto& disk : context_.monitor.disks()) {
    const auto deviceId = context_.monitor.deviceId(disk.id);
    if (!deviceId) continue;
    if (isOurs(disk.id) || disk.isReadOnlyNtfs()) readOnly.insert(*deviceId);
    if (disk.isMounted && disk.isWritable) takeover_.failures().clear(*deviceId);
  }
  takeover_.verdicts().forgetAllBut(readOnly);
  const auto entries = queue_.entries();
  for (const auto& [bsdName, entry] : entries) {
    const bool isSame = context_.monitor.deviceId(bsdName) == entry.deviceID;
    if (!isSame || !readOnly.contains(entry.deviceID)) queue_.remove(bsdName);
  }
  takeover_.failures().clearIfGone();
  tidyPending();
}

void AutomaticTakeover::tidyPending() {
  const auto pending = takeover_.pending();
  for (const auto& [bsdName, recovery] : pending) {
    if (attempts_.isUnderWay(bsdName)) continue;
    // A volume that is out of the list for a moment is not gone while its device is there.
    const auto* disk = context_.monitor.find(bsdName);
    const bool isThere = context_.monitor.deviceId(bsdName) == recovery.identity.deviceID;
    const bool isWanted = !context_.isUnmountedByUser(recovery.disk, recovery.since);
    if (isThere && isWanted && !(disk && disk->isMounted)) continue;
    takeover_.drop(bsdName);
    takeover_.failures().clear(recovery.identity.deviceID);
  }
}

void AutomaticTakeover::rescueInherited() {
  const auto rescued =
      inherited_.rescue([this](const std::string& bsdName) { return isOurs(bsdName); });
  for (const auto& recovery : rescued) {
    tell(TakeoverEventKind::found, recovery.bsdName, recovery.diskName);
  }
}

/// Whether a volume is to be tried now: it never was, or its next retry is due.
bool AutomaticTakeover::isDue(const std::string& bsdName, std::uint64_t deviceId) const {
  if (attempts_.isUnderWay(bsdName) || context_.isInUse(bsdName)) return false;
  const auto* entry = queue_.find(bsdName, deviceId);
  if (!entry) return true;
  return entry->hasPendingRetry() && context_.platform.clock->uptime() >= entry->nextAfter;
}

void AutomaticTakeover::considerPending() {
  for (const auto& [bsdName, recovery] : takeover_.pending()) {
    const auto deviceId = recovery.identity.deviceID;
    const bool canBegin = takeover_.coordinator().canBegin(deviceId);
    if (canBegin && isDue(bsdName, deviceId)) attempts_.remount(bsdName);
  }
}

void AutomaticTakeover::considerReadOnly() {
  std::vector<disks::Disk> volumes;
  std::vector<disks::Disk> resources;
  for (const auto& disk : context_.monitor.disks()) {
    const auto deviceId = context_.monitor.deviceId(disk.id);
    if (!disk.isReadOnlyNtfs() || attempts_.isUnderWay(disk.id)) continue;
    const auto gate = takeover_.verdicts().gateOf(disk);
    if (deviceId && gate.reason) takeover_.verdicts().remember(*deviceId, gate.cause());
    if (!gate.isOpen() || !deviceId || !isDue(disk.id, *deviceId)) continue;
    if (takeover_.coordinator().destructive()) {
      suppress(disk);
    } else {
      const bool isResource =
          disk.mountedByEngine && gate.reason == ReadOnlyReason::resourceReadOnly;
      (isResource ? resources : volumes).push_back(disk);
    }
  }
  pass("auto takeover: ", volumes);
  pass("auto resource recovery: ", resources);
}

void AutomaticTakeover::pass(std::string_view title, const std::vector<disks::Disk>& volumes) {
  if (volumes.empty()) return;
  std::vector<std::string> names;
  names.reserve(volumes.size());
  for (const auto& disk : volumes) names.push_back(disk.id);
  context_.platform.systemLog->write(platform::LogLevel::info,
                                     fmt::format("{}{}", title, fmt::join(names, ", ")));
  for (const auto& disk : volumes) attempts_.takeOver(disk.id);
}

void AutomaticTakeover::suppress(const disks::Disk& disk) {
  const auto deviceId = context_.monitor.deviceId(disk.id);
  if (!deviceId || !suppressed_.insert(*deviceId).second) return;
  takeover_.failures().record({disk.id, disk.name, std::string(destructiveText)}, *deviceId);
  tell(TakeoverEventKind::suppressed, disk.id, disk.name);
}

void AutomaticTakeover::holdOff() {
  nothingBefore_ = context_.platform.clock->uptime() + holdOffTime;
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
  if (!next || !attempts_.isIdle()) return;  // whoever attempts comes back here
  timer_ = clock.callAt(*next, post_.wrap([this] { consider(); }));
}

void AutomaticTakeover::save() {
  store_.save({queue_.entries(), takeover_.verdicts().known(), inherited_.records()});
}

std::optional<MountRecoveryPolicy::StatusLine> AutomaticTakeover::recoveryStatus(
    const std::string& bsdName) const {
  const bool isRunning = attempts_.isUnderWay(bsdName);
  return MountRecoveryPolicy::recoveryStatus(context_.monitor.deviceId(bsdName),
                                             queue_.place(bsdName, isRunning), isRunning);
}

void AutomaticTakeover::tell(TakeoverEventKind kind, const std::string& bsdName,
                             const std::string& diskName) {
  TakeoverEvent event;
  event.kind = kind;
  event.bsdName = bsdName;
  event.diskName = diskName;
  happened(event);
}

}  // namespace halvercine::mount
