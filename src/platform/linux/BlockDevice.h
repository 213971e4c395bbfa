// A block device of the kernel that counts as a storage medium.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <sys/types.h>

#include "platform/linux/MediumId.h"

namespace halvercine::platform::gnulinux {

/// What one look at sysfs says. A value; the device may be gone when it is used.
struct BlockDevice {
  MediumId id;
  dev_t number = 0;
  std::string kernelName;     ///< "sda1"; a slash in a name is "!" here, as in sysfs
  std::string node;           ///< "/dev/sda1"
  std::string directory;      ///< in sysfs, without links
  std::string partitionName;  ///< from the partition table, ASCII only; mostly empty
  std::uint64_t size = 0;     ///< bytes, never 0

  bool isPartition() const { return id.partition != 0; }

  /// The directory of the disk itself, for a partition its parent's.
  std::string wholeDirectory() const;
  std::string wholeKernelName() const;
};

/// The kernel's name for a partition: "sda1" for "sda", "loop0p1" for "loop0".
std::string partitionKernelName(const std::string& wholeKernelName, unsigned partition);

/// Reads one device below `sysRoot` ("/sys"). Nothing when there is none of that name, when it
/// holds no medium (its size is 0: an empty drive, a loop device without a file, what is left of
/// their partitions) or lives in memory (RAM disks, compressed swap).
std::optional<BlockDevice> readBlockDevice(const std::string& sysRoot,
                                           const std::string& kernelName);

}  // namespace halvercine::platform::gnulinux
