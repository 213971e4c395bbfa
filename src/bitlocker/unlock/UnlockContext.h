// What unlocking a volume needs of the rest of the program.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "base/MainActor.h"
#include "disks/DiskMonitor.h"
#include "disks/DiskUtility.h"
#include "platform/Platform.h"

namespace halvercine::bitlocker {

/// All of it outlives whoever unlocks.
struct UnlockContext {
  base::MainActor& actor;
  const platform::Platform& platform;
  disks::DiskMonitor& monitor;  ///< started
  const disks::DiskUtility& utility;
  /// Whether something else works on this disk alone, in whatever process.
  std::function<bool(const disks::Disk&)> isInUse;
  /// Adds to the operation log: category and message.
  std::function<void(std::string_view category, std::string_view message)> addToLog;

  /// Whether another job that must not be disturbed runs on the disk.
  bool isBusy(const disks::Disk& disk) const {
    return monitor.destructiveBusy() || (isInUse && isInUse(disk));
  }
};

}  // namespace halvercine::bitlocker
