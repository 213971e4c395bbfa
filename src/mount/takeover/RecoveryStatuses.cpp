#include "mount/takeover/RecoveryStatuses.h"

#include <algorithm>

#include "mount/takeover/MountRetryQueue.h"

namespace halvercine::mount {
namespace {

template <class Entries>
auto* findEntry(const Entries& entries, const std::string& bsdName, std::uint64_t deviceId,
                auto deviceOf) {
  const auto found = std::ranges::find_if(entries, [&](const auto& entry) {
    return entry.bsdName == bsdName && deviceOf(entry) == deviceId;
  });
  return found == entries.end() ? nullptr : &*found;
}

}  // namespace

RecoveryStatuses RecoveryStatuses::read(const platform::Platform& platform) {
  const TakeoverJournal journal(platform);
  return {journal.read(), journal.isControllerRunning(), journal.isSomebodyWorking()};
}

bool RecoveryStatuses::isWorkingOn(std::uint64_t deviceId) const {
  return isSomebodyWorking && std::ranges::find(record.working, deviceId) != record.working.end();
}

const JournalRecord::Retry* RecoveryStatuses::retryOf(const std::string& bsdName,
                                                      std::uint64_t deviceId) const {
  if (!isControllerRunning) return nullptr;
  return findEntry(record.retries, bsdName, deviceId,
                   [](const auto& entry) { return entry.deviceID; });
}

const JournalRecord::Recovery* RecoveryStatuses::recoveryOf(const std::string& bsdName,
                                                            std::uint64_t deviceId) const {
  return findEntry(record.recoveries, bsdName, deviceId,
                   [](const auto& entry) { return entry.identity.deviceID; });
}

std::optional<ReadOnlyCause> RecoveryStatuses::verdictOn(std::uint64_t deviceId) const {
  if (!isControllerRunning) return std::nullopt;
  const auto found =
      std::ranges::find(record.verdicts, deviceId, &JournalRecord::Verdict::deviceID);
  if (found == record.verdicts.end()) return std::nullopt;
  return found->cause;
}

std::optional<MountRecoveryPolicy::StatusLine> RecoveryStatuses::lineFor(
    const std::string& bsdName, std::uint64_t deviceId) const {
  const auto* retry = retryOf(bsdName, deviceId);
  if (!retry) return std::nullopt;
  const bool isWorking = isWorkingOn(deviceId);
  const MountRetryQueue::Entry entry{retry->deviceID, retry->count};
  return MountRecoveryPolicy::recoveryStatus(deviceId, entry.place(isWorking), isWorking);
}

}  // namespace halvercine::mount
