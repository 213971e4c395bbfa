// The failure that the user is shown.
#pragma once

#include <cstdint>
#include <optional>

#include "disks/DiskMonitor.h"
#include "mount/takeover/TakeoverJournal.h"
#include "platform/Platform.h"

namespace halvercine::mount {

/// Keeps the last failure until its volume is well or gone: here, in the journal for those who look
/// on, and in the system log. Main actor; the platform and the monitor outlive it.
class RemountFailureStore {
 public:
  RemountFailureStore(const platform::Platform& platform, const disks::DiskMonitor& monitor);

  const std::optional<RemountFailure>& last() const { return last_; }

  void record(const RemountFailure& failure, std::uint64_t deviceId);

  /// Takes over what an earlier process has recorded.
  void restore();

  /// Forgets the failure, if it is this device's.
  void clear(std::uint64_t deviceId);

  /// Forgets it if the device has gone, or another one has its name.
  void clearIfGone();

 private:
  const platform::Platform& platform_;
  const disks::DiskMonitor& monitor_;
  TakeoverJournal journal_;
  std::optional<RemountFailure> last_;
  std::optional<std::uint64_t> deviceId_;  // of `last_`
};

}  // namespace halvercine::mount
