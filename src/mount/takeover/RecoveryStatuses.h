// What the resident controller is doing, for those who only look on.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "mount/MountRecoveryPolicy.h"
#include "mount/takeover/TakeoverJournal.h"

namespace halvercine::mount {

/// The journal and who is at work, as of one moment. Plain values.
struct RecoveryStatuses {
  JournalRecord record;
  bool isControllerRunning = false;
  bool isSomebodyWorking = false;

  static RecoveryStatuses read(const platform::Platform& platform);

  /// Whether some process is unmounting and mounting this device.
  bool isWorkingOn(std::uint64_t deviceId) const;

  /// The device's entry in the retry queue. None while no controller runs: nobody would retry.
  const JournalRecord::Retry* retryOf(const std::string& bsdName, std::uint64_t deviceId) const;

  /// The record of a volume that is to be mounted again, or null.
  const JournalRecord::Recovery* recoveryOf(const std::string& bsdName,
                                            std::uint64_t deviceId) const;

  /// What the module said of this device's mount before its report went stale, as the controller
  /// remembers it.
  std::optional<ReadOnlyCause> verdictOn(std::uint64_t deviceId) const;

  /// The line under the explanation of a volume.
  std::optional<MountRecoveryPolicy::StatusLine> lineFor(const std::string& bsdName,
                                                         std::uint64_t deviceId) const;
};

}  // namespace halvercine::mount
