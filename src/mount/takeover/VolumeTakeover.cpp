#include "mount/takeover/VolumeTakeover.h"

#include <utility>

#include "base/sleepFor.h"
#include "disks/DiskUtilityText.h"

namespace halvercine::mount {
namespace {

// How often an unconfirmed volume is looked at; the monitor itself hears of changes at once.
constexpr auto confirmationPause = std::chrono::milliseconds(100);

std::string textOf(const disks::MountOutcome& outcome) {
  if (const auto* failure = std::get_if<disks::MountFailure>(&outcome)) return failure->text;
  if (const auto* driver = std::get_if<disks::ThirdPartyDriver>(&outcome)) return driver->name;
  return std::holds_alternative<disks::UnsafeVolume>(outcome) ? "unsafe volume" : "";
}

}  // namespace

/// One sequence under way.
struct VolumeTakeover::Run {
  std::string bsdName;
  disks::Disk disk;  ///< as it was at the start
  disks::MountAccess access = disks::MountAccess::readWrite;
  TakeoverSequence sequence;
  std::shared_ptr<base::FileLock> workingLock;
  std::optional<UnmountedRecoveryTicket> ticket;
  platform::WallTime since{};
  platform::WallTime mountedAfter{};
  bool toolSucceeded = false;
  std::string toolText;
};

VolumeTakeover::VolumeTakeover(TakeoverContext context)
    : context_(std::move(context)),
      journal_(context_.platform),
      verdicts_(context_.platform, context_.monitor),
      failures_(context_.platform, context_.monitor) {}

base::Task<TakeoverResult> VolumeTakeover::takeOver(std::string bsdName, Began began) {
  const auto run = std::make_shared<Run>();
  run->bsdName = std::move(bsdName);
  if (const auto* disk = context_.monitor.find(run->bsdName)) run->disk = *disk;
  co_return co_await drive(run, began);
}

base::Task<TakeoverResult> VolumeTakeover::remount(std::string bsdName, Began began,
                                                   disks::MountAccess access) {
  const auto found = pending_.find(bsdName);
  if (found == pending_.end()) co_return TakeoverResult();
  context_.monitor.refresh();
  auto& pending = found->second;
  const auto now = context_.platform.clock->uptime();
  // What is still the same device, and nobody has unmounted since, is ours to mount, however late.
  if (context_.monitor.deviceId(bsdName) == pending.identity.deviceID) {
    pending.ticket.createdAt = now;
  }
  const auto run = std::make_shared<Run>();
  run->bsdName = std::move(bsdName);
  run->disk = pending.disk;
  run->access = access;
  run->sequence = TakeoverSequence::resumed(pending.identity);
  run->ticket = pending.ticket;
  run->since = pending.since;
  co_return co_await drive(run, began);
}

base::Task<bool> VolumeTakeover::restore(std::string bsdName, disks::MountAccess access) {
  const auto result = co_await remount(bsdName, {}, access);
  release(bsdName);
  const auto* disk = context_.monitor.find(bsdName);
  const bool isMounted = isMountedEnd(result.end) && disk && disk->isMounted;
  if (isMounted) drop(bsdName);
  co_return isMounted;
}

/// Every step is followed by a fresh look at the machine.
base::Task<TakeoverResult> VolumeTakeover::drive(std::shared_ptr<Run> run, Began began) {
  for (;;) {
    const auto facts = factsFor(*run);
    const auto step = run->sequence.next(facts);
    if (!step.logText.empty()) {
      context_.platform.systemLog->write(platform::LogLevel::info,
                                         "takeover remount: " + run->bsdName + " " + step.logText);
    }
    if (step.kind != TakeoverStep::Kind::end && !holds_.contains(run->bsdName)) {
      hold(*run);
      if (began) began();
    }
    switch (step.kind) {
      case TakeoverStep::Kind::look:
        context_.monitor.refresh();
        break;
      case TakeoverStep::Kind::unmount:
        if (!issueTicket(*run)) co_return finished(*run, TakeoverEnd::notRecorded);
        co_await unmount(run);
        break;
      case TakeoverStep::Kind::mount:
        co_await mount(run);
        break;
      case TakeoverStep::Kind::end:
        co_return finished(*run, step.end);
    }
  }
}

base::Task<void> VolumeTakeover::unmount(std::shared_ptr<Run> run) {
  auto result = co_await context_.utility.unmount(run->bsdName);
  run->toolSucceeded = result.status == 0;
  run->toolText = std::move(result.text);
  context_.monitor.refresh();
}

base::Task<void> VolumeTakeover::mount(std::shared_ptr<Run> run) {
  run->mountedAfter = context_.platform.clock->now();
  const auto outcome = co_await context_.utility.mount(run->bsdName, run->access);
  run->toolSucceeded = std::holds_alternative<disks::MountSuccess>(outcome);
  run->toolText = textOf(outcome);
  context_.monitor.refresh();
}

SequenceFacts VolumeTakeover::factsFor(Run& run) {
  SequenceFacts facts;
  facts.deviceId = context_.monitor.deviceId(run.bsdName);
  if (const auto* disk = context_.monitor.find(run.bsdName)) {
    facts.isListed = true;
    facts.gate = verdicts_.gateOf(*disk);
    if (facts.deviceId) facts.identity = identityOf(*disk, *facts.deviceId);
  }
  if (!holds_.contains(run.bsdName)) {
    facts.isCoordinatorBusy = !shareWorkingLock(run) || context_.isInUse(run.bsdName) ||
                              (facts.deviceId && coordinator_.isBusy(*facts.deviceId));
  }
  facts.isDestructive = context_.monitor.destructiveBusy();
  facts.isTicketValid =
      run.ticket && facts.identity &&
      run.ticket->isValid(facts.identity->deviceID, context_.platform.clock->uptime());
  facts.isUnmountedByUser = run.ticket && context_.isUnmountedByUser(run.disk, run.since);
  facts.toolSucceeded = run.toolSucceeded;
  return facts;
}

/// False when another process is at work. Without a place for the lock there is none for the
/// journal either, which is found out when something is to be noted.
bool VolumeTakeover::shareWorkingLock(Run& run) {
  run.workingLock = workingLock_.lock();
  if (run.workingLock) return true;
  auto lock = journal_.takeWorkingLock();
  if (!lock) return lock.error() == TakeoverJournal::LockFailure::unavailable;
  run.workingLock = std::make_shared<base::FileLock>(std::move(*lock));
  workingLock_ = run.workingLock;
  return true;
}

void VolumeTakeover::hold(Run& run) {
  const auto deviceId = run.sequence.identity()->deviceID;
  holds_.emplace(run.bsdName, Hold{coordinator_.begin(deviceId), std::move(run.workingLock)});
  journal_.update([deviceId](JournalRecord& record) { record.working.push_back(deviceId); });
}

void VolumeTakeover::release(const std::string& bsdName) {
  const auto held = holds_.extract(bsdName);
  if (!held) return;
  const auto deviceId = held.mapped().device.deviceId();
  journal_.update([deviceId](JournalRecord& record) { std::erase(record.working, deviceId); });
}

/// From here on a crash finds the volume in the journal.
bool VolumeTakeover::issueTicket(Run& run) {
  const auto& clock = *context_.platform.clock;
  const auto& identity = *run.sequence.identity();
  run.ticket = UnmountedRecoveryTicket{identity.deviceID, clock.uptime()};
  run.since = clock.now();
  return adopt({run.disk, identity, *run.ticket, run.since});
}

bool VolumeTakeover::adopt(PendingRecovery recovery) {
  const auto bsdName = recovery.disk.id;
  const bool isNoted = journal_.note(
      {bsdName, recovery.disk.name, recovery.identity, platform::secondsSince1970(recovery.since)});
  if (isNoted) pending_[bsdName] = std::move(recovery);
  return isNoted;
}

TakeoverResult VolumeTakeover::finished(Run& run, TakeoverEnd end) {
  const auto& name = run.disk.name;
  const auto deviceId = context_.monitor.deviceId(run.bsdName);
  if (end == TakeoverEnd::mounted) addToLog("takeover", "log.takeover.remount", name);
  if (end == TakeoverEnd::mountFailed) {
    const auto reason = context_.localization.text(disks::errorKey(run.toolText));
    addToLog("remount", "log.remount.failed", name, reason);
  }
  if (end == TakeoverEnd::destructiveOperation) run.toolText = destructiveText;
  const bool isFailure = end == TakeoverEnd::mountFailed || end == TakeoverEnd::unmountFailed ||
                         end == TakeoverEnd::destructiveOperation;
  if (isFailure && deviceId) failures_.record({run.bsdName, name, run.toolText}, *deviceId);
  // What is mounted is kept in mind until it is known to be.
  const bool isUnsettled =
      leavesUnmounted(end) || isMountedEnd(end) || end == TakeoverEnd::coordinatorBusy;
  if (run.ticket && !isUnsettled) drop(run.bsdName);
  if (!isMountedEnd(end)) release(run.bsdName);
  return {end, run.toolText, run.bsdName, name, run.sequence.identity(), run.mountedAfter};
}

void VolumeTakeover::drop(const std::string& bsdName) {
  const auto dropped = pending_.extract(bsdName);
  if (dropped) journal_.settle(bsdName, dropped.mapped().identity.deviceID);
}

base::Task<MountVerdict> VolumeTakeover::confirm(TakeoverResult result,
                                                 std::function<bool()> mayWait) {
  auto& clock = *context_.platform.clock;
  const auto deadline = clock.uptime() + confirmationLimit;
  for (;;) {
    const bool isLast = clock.uptime() >= deadline || !mayWait();
    if (isLast) context_.monitor.refresh();
    const auto verdict =
        verdicts_.judge(result.bsdName, result.identity->deviceID, result.mountedAfter, isLast);
    if (verdict) {
      if (*verdict != MountVerdict::unmounted) drop(result.bsdName);
      release(result.bsdName);
      co_return *verdict;
    }
    co_await base::sleepFor(clock, confirmationPause);
  }
}

void VolumeTakeover::addToLog(std::string_view category, std::string_view key,
                              const std::string& diskName, const std::string& more) const {
  auto message = context_.localization.text(key);
  message.append("（").append(diskName).append("）");
  if (!more.empty()) message.append(": ").append(more);
  context_.addToLog(std::string(category), std::move(message));
}

}  // namespace halvercine::mount
