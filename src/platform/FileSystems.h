// Mounted file systems: the kernel's statistics and the volume's resource values.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace halvercine::platform {

/// What `statfs` says of the file system that is mounted at a path.
struct FileSystemStatistics {
  std::string mountedFrom;            ///< such as "/dev/disk4s1", or a URL for some drivers
  std::string typeName;               ///< such as "ntfs", "exfat", "apfs"
  bool readOnly = false;              ///< the MNT_RDONLY flag
  std::uint64_t blockSize = 0;        ///< bytes; 0: sizes unknown (no answer in time)
  std::uint64_t blocks = 0;           ///< of `blockSize`
  std::uint64_t availableBlocks = 0;  ///< of `blockSize`, for an ordinary user
};

/// Resource values of a volume (NSURL…Key); a value that the system does not give is absent.
struct VolumeResourceValues {
  std::optional<std::int64_t> availableCapacityForImportantUsage;  ///< bytes; 0 where unsupported
  std::optional<std::int64_t> availableCapacity;                   ///< bytes
  std::optional<std::string> name;
};

class FileSystems {
 public:
  virtual ~FileSystems() = default;

  /// Statistics of the file system at `path`, or nothing when the call fails. May be called on any
  /// thread.
  virtual std::optional<FileSystemStatistics> statistics(const std::string& path) = 0;

  /// Resource values of the volume at `path`, each absent when the call fails. May be called on any
  /// thread.
  virtual VolumeResourceValues resourceValues(const std::string& path) = 0;
};

}  // namespace halvercine::platform
