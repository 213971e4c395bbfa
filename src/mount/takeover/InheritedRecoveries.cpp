#include "mount/takeover/InheritedRecoveries.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "mount/takeover/journalTime.h"

namespace halvercine::mount {

InheritedRecoveries::InheritedRecoveries(TakeoverContext context, VolumeTakeover& takeover)
    : context_(std::move(context)), takeover_(takeover) {}

void InheritedRecoveries::restore(std::vector<JournalRecord::Recovery> recoveries) {
  const auto until = context_.platform.clock->uptime() + orphanWindow;
  for (auto& recovery : recoveries) watched_.push_back({std::move(recovery), until});
}

bool InheritedRecoveries::takeUpLeftovers() {
  const auto& journal = takeover_.journal();
  const auto lock = journal.takeWorkingLock();
  if (!lock) return lock.error() != TakeoverJournal::LockFailure::held;
  std::vector<JournalRecord::Recovery> leftovers;
  const bool isTakenUp = journal.update([&](JournalRecord& record) {
    leftovers.clear();
    const auto isCaredFor = [this](const JournalRecord::Recovery& recovery) {
      return takeover_.pending().contains(recovery.bsdName) || context_.isInUse(recovery.bsdName);
    };
    std::ranges::copy_if(record.recoveries, std::back_inserter(leftovers), std::not_fn(isCaredFor));
    std::erase_if(record.recoveries, std::not_fn(isCaredFor));
    record.inherited.insert(record.inherited.end(), leftovers.begin(), leftovers.end());
    record.working.clear();
  });
  if (!isTakenUp) return true;
  for (auto& recovery : leftovers) add(std::move(recovery));
  return true;
}

void InheritedRecoveries::add(JournalRecord::Recovery recovery) {
  const auto& clock = *context_.platform.clock;
  const double age = platform::secondsSince1970(clock.now()) - recovery.createdAt;
  const double left = std::clamp(secondsOf(orphanWindow) - age, 0.0, secondsOf(orphanWindow));
  watched_.push_back({std::move(recovery), clock.uptime() + uptimeOf(left)});
}

std::vector<JournalRecord::Recovery> InheritedRecoveries::rescue(const IsOurs& isOurs) {
  const auto now = context_.platform.clock->uptime();
  std::vector<JournalRecord::Recovery> rescued;
  std::vector<Watched> kept;
  for (auto& watched : watched_) {
    const auto finding = look(watched.recovery, isOurs);
    if (finding == Finding::over) continue;
    if (finding == Finding::rescued) rescued.push_back(watched.recovery);
    const bool isUsed = context_.isInUse(watched.recovery.bsdName);
    if (now < watched.until || finding == Finding::blocked || isUsed) {
      kept.push_back(std::move(watched));
    }
  }
  watched_ = std::move(kept);
  return rescued;
}

InheritedRecoveries::Finding InheritedRecoveries::look(const JournalRecord::Recovery& recovery,
                                                       const IsOurs& isOurs) {
  const auto deviceId = context_.monitor.deviceId(recovery.bsdName);
  if (deviceId != recovery.identity.deviceID) return Finding::over;
  const auto* disk = context_.monitor.find(recovery.bsdName);
  if (!disk || !isSameVolume(identityOf(*disk, *deviceId), recovery.identity)) return Finding::well;
  if (isUnmountedByUser(recovery, *disk)) return Finding::over;
  if (disk->isMounted || isOurs(disk->id)) return Finding::well;
  if (context_.isInUse(disk->id)) return Finding::blocked;
  return adopt(recovery, *disk) ? Finding::rescued : Finding::blocked;
}

bool InheritedRecoveries::isUnmountedByUser(const JournalRecord::Recovery& recovery,
                                            disks::Disk disk) const {
  const auto since = wallTimeOf(recovery.createdAt);
  if (context_.isUnmountedByUser(disk, since)) return true;
  disk.volumeUUID = recovery.identity.volumeUUID;  // the system may have lost it meanwhile
  return context_.isUnmountedByUser(disk, since);
}

bool InheritedRecoveries::adopt(const JournalRecord::Recovery& recovery, const disks::Disk& disk) {
  const UnmountedRecoveryTicket ticket{recovery.identity.deviceID,
                                       context_.platform.clock->uptime()};
  if (!takeover_.adopt({disk, recovery.identity, ticket, wallTimeOf(recovery.createdAt)})) {
    return false;
  }
  takeover_.addToLog("recover", "log.recover.found", recovery.diskName);
  return true;
}

std::vector<JournalRecord::Recovery> InheritedRecoveries::records() const {
  std::vector<JournalRecord::Recovery> records;
  records.reserve(watched_.size());
  for (const auto& watched : watched_) records.push_back(watched.recovery);
  return records;
}

}  // namespace halvercine::mount
