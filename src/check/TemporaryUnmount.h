// Taking a volume away from its users for a while.
#pragma once

#include <optional>
#include <string>
#include <utility>

#include "base/Task.h"
#include "check/VolumeIdentity.h"
#include "disks/DiskMonitor.h"
#include "disks/DiskUtility.h"
#include "platform/Platform.h"

namespace halvercine::check {

/// Unmounts a volume and mounts it again. Between `note` and `settle` the journal remembers the
/// volume: should this process die, the resident controller mounts it. Whether a volume is mounted
/// is for the system to say, whatever the tool claims. Main actor; what it is made of outlives it.
class TemporaryUnmount {
 public:
  TemporaryUnmount(const platform::Platform& platform, disks::DiskMonitor& monitor,
                   const disks::DiskUtility& utility, std::string diskName, VolumeIdentity volume)
      : platform_(platform),
        monitor_(monitor),
        utility_(utility),
        diskName_(std::move(diskName)),
        volume_(std::move(volume)) {}

  /// Notes and unmounts the volume, without force. The key of the reason when it is still mounted,
  /// which it is also left when it could not be noted.
  base::Task<std::optional<std::string>> unmount();

  /// Mounts it again; the note goes when that has worked. False when it is not mounted then.
  base::Task<bool> mount();

  /// False when it could not be stored.
  bool note() const;
  /// Nobody is to mount the volume any more.
  void settle() const;

  /// Whether the volume, and no other device under its name, is mounted now.
  bool isMounted() const;

  /// It was to be mounted again, is still there, and is not mounted.
  bool isLeftUnmounted() const { return mustBeMounted_ && isThere() && !isMounted(); }

 private:
  bool isThere() const { return isStillThere(volume_, *platform_.mediaRegistry); }

  const platform::Platform& platform_;
  disks::DiskMonitor& monitor_;
  const disks::DiskUtility& utility_;
  std::string diskName_;
  VolumeIdentity volume_;
  std::optional<disks::Disk> disk_;  // as it was when it was unmounted
  bool mustBeMounted_ = false;
};

}  // namespace halvercine::check
