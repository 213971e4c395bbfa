// What the file-system module says of the volumes, and what it has said.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>

#include "disks/DiskMonitor.h"
#include "mount/MountRecoveryPolicy.h"
#include "mount/takeover/TakeoverGate.h"
#include "platform/Platform.h"

namespace halvercine::mount {

/// What a volume turned out to be after it was mounted again.
enum class MountVerdict {
  writable,
  readOnly,     ///< another attempt may help
  final,        ///< the module says why not, and another attempt cannot help
  unmounted,    ///< it is not mounted after all, or not any more
  otherDevice,  ///< another device has its name, or none
};

/// Judges volumes by the module's reports. A final cause is remembered until the device or the
/// mount changes: it stands when the report of the mount has gone stale. Main actor; the platform
/// and the monitor outlive it.
class MountVerdicts {
 public:
  MountVerdicts(const platform::Platform& platform, const disks::DiskMonitor& monitor);

  /// The gate of a listed disk, as of now.
  TakeoverGate gateOf(const disks::Disk& disk) const;

  /// What the volume is that was mounted again, from that moment on, on this device. Nothing while
  /// a better answer may still come; when `isLast`, there is always one. Remembers a final one.
  std::optional<MountVerdict> judge(const std::string& bsdName, std::uint64_t deviceId,
                                    platform::WallTime mountedAfter, bool isLast);

  /// Remembers the cause of a device if it is final, and forgets the device's old one if not.
  void remember(std::uint64_t deviceId, ReadOnlyCause cause);

  void forgetAllBut(const std::set<std::uint64_t>& deviceIds);

  /// The final causes, by device ID.
  const std::map<std::uint64_t, ReadOnlyCause>& known() const { return known_; }

  /// Puts back what an earlier run knew.
  void restore(std::map<std::uint64_t, ReadOnlyCause> known);

 private:
  const platform::Platform& platform_;
  const disks::DiskMonitor& monitor_;
  std::map<std::uint64_t, ReadOnlyCause> known_;
};

}  // namespace halvercine::mount
