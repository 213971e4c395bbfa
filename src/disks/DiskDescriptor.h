// Builds the record of one disk.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/Localization.h"
#include "disks/Disk.h"
#include "mount/MountAccessReportStore.h"
#include "platform/DiskArbitration.h"
#include "platform/FileSystems.h"
#include "platform/Platform.h"

namespace halvercine::disks {

/// How the `mediaID` of a medium begins that has nothing but its place in the registry to tell it
/// by: another one each time it is plugged in.
inline constexpr std::string_view registryMediaPrefix = "entry/";

/// Puts a record together from the disk arbitration description, the mounted file system and the
/// I/O registry, in this order, and says which disks are not to be listed at all. A value that is
/// missing or of the wrong type takes its default; nothing is ever an error. Main actor.
class DiskDescriptor {
 public:
  DiskDescriptor(const platform::Platform& platform, const base::Localization& localization);

  /// The record of a BSD name now, or nothing: there is no such disk, or it is one of the system's
  /// own volumes or a disk image. `bitLocker` is what the module's mailbox says of it.
  std::optional<Disk> describe(platform::DiskArbitrationSession& session,
                               const std::string& bsdName,
                               std::optional<bitlocker::BitLockerState> bitLocker) const;

  /// Free bytes at a mount path: what the system would clear for important use, else what is free,
  /// else what `statfs` says. A figure of zero is no answer and falls through; 0 when all fail, and
  /// nothing when the file system has not answered in time. Any thread.
  static std::optional<std::int64_t> availableCapacity(platform::FileSystems& fileSystems,
                                                       const std::string& mountPath);

  /// The volume UUID of a description as text; a value that is no UUID object is none.
  static std::optional<std::string> volumeUuid(const platform::PropertyDictionary& description);

 private:
  void readVolume(Disk& disk, const platform::PropertyDictionary& description) const;
  void decideAccess(Disk& disk, bool kernelAllowsWriting) const;

  const platform::Platform& platform_;
  const base::Localization& localization_;
};

}  // namespace halvercine::disks
