#include "mount/takeover/MountRetryQueue.h"

#include <algorithm>

namespace halvercine::mount {

MountRecoveryPolicy::QueuePlace MountRetryQueue::Entry::place(bool isRunning) const {
  return {deviceID, isRunning ? count : count + 1, hasPendingRetry()};
}

const MountRetryQueue::Entry* MountRetryQueue::find(const std::string& bsdName,
                                                    std::uint64_t deviceId) const {
  const auto found = entries_.find(bsdName);
  return found != entries_.end() && found->second.deviceID == deviceId ? &found->second : nullptr;
}

void MountRetryQueue::failed(const std::string& bsdName, std::uint64_t deviceId,
                             platform::Uptime now) {
  const auto* known = find(bsdName, deviceId);
  Entry entry{deviceId, known ? known->count : 0, now};
  if (entry.hasPendingRetry()) entry.nextAfter += delays.at(entry.count);
  entries_[bsdName] = entry;
}

bool MountRetryQueue::begin(const std::string& bsdName, std::uint64_t deviceId,
                            platform::Uptime now) {
  const auto* known = find(bsdName, deviceId);
  if (!known || !known->hasPendingRetry() || now < known->nextAfter) return false;
  ++entries_[bsdName].count;
  return true;
}

void MountRetryQueue::restore(const std::string& bsdName, Entry entry) {
  entry.count = std::clamp(entry.count, 0, MountRecoveryPolicy::attemptLimit);
  entries_[bsdName] = entry;
}

std::optional<platform::Uptime> MountRetryQueue::nextDue(platform::Uptime now) const {
  std::optional<platform::Uptime> earliest;
  for (const auto& [bsdName, entry] : entries_) {
    if (entry.hasPendingRetry() && entry.nextAfter > now &&
        (!earliest || entry.nextAfter < *earliest)) {
      earliest = entry.nextAfter;
    }
  }
  return earliest;
}

std::optional<MountRecoveryPolicy::QueuePlace> MountRetryQueue::place(const std::string& bsdName,
                                                                      bool isRunning) const {
  const auto found = entries_.find(bsdName);
  if (found == entries_.end()) return std::nullopt;
  return found->second.place(isRunning);
}

}  // namespace halvercine::mount
