// The drivers that can mount a volume here.
#pragma once

#include <string>

#include "platform/linux/diskutil/accessReport.h"
#include "platform/linux/diskutil/runBounded.h"

namespace halvercine::platform::gnulinux {

struct MountWish {
  std::string node;
  std::string kind;  ///< the kernel's name of the file system: "ntfs", "vfat"
  std::string target;
  bool readOnly = false;
};

struct MountResult {
  bool isMounted = false;
  bool isUnsafe = false;  ///< read-only, against the wish, for the volume's state
  bool isLate = false;    ///< not done in time
  std::string error;      ///< why it is not mounted
};

/// Mounts a volume without programs with special rights and without device nodes on it. An NTFS
/// volume is never forced: one that is hibernated, dirty or has not been unmounted becomes
/// read-only.
MountResult mountFileSystem(const MountWish& wish, const Deadline& deadline);

}  // namespace halvercine::platform::gnulinux
