// What is mounted where.
#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <sys/types.h>
#include <unordered_map>
#include <vector>

#include "base/UniqueFd.h"

namespace halvercine::platform::gnulinux {

struct Mount {
  int id = 0;          ///< the kernel's mount ID, as `statx` tells it
  dev_t device = 0;    ///< of the block device that holds the file system, else major 0
  std::string source;  ///< as given to mount: "/dev/sda1", "tmpfs", any text
  std::string type;    ///< "ext4", "fuseblk"
  std::string root;    ///< the folder of the file system that shows here; "/" unless bound
  std::string target;  ///< the mount point, any bytes
  bool readOnly = false;

  /// Whether `type` only says that a process serves the file system, and not which it is.
  bool hidesType() const { return type == "fuseblk" || type == "fuse"; }

  /// Whether a process serves it, and can keep everybody waiting.
  bool isServedByProcess() const { return type.starts_with("fuse"); }

  bool operator==(const Mount&) const = default;
};

/// One reading of the mount table.
class MountSnapshot {
 public:
  MountSnapshot() = default;
  explicit MountSnapshot(std::vector<Mount> mounts);

  /// The mount of that ID, or null.
  const Mount* find(int id) const;

  /// What shows at a mount point: the mount that came last; null when nothing is mounted there.
  const Mount* at(const std::string& target) const;

  /// All mounts of a block device in the order of the table; null when there are none.
  const std::vector<Mount>* of(dev_t device) const;

  /// The mount that stands for a block device: the first that shows its whole file system, else the
  /// first; null when it is not mounted.
  const Mount* principal(dev_t device) const;

  /// The block devices whose mounts are not the same in `other`.
  std::vector<dev_t> difference(const MountSnapshot& other) const;

 private:
  std::unordered_map<dev_t, std::vector<Mount>> byDevice_;
  std::unordered_map<int, Mount> byId_;
  std::unordered_map<std::string, int> topmost_;  // IDs by mount point
};

/// Reads a file in the format of /proc/self/mountinfo; empty when that fails.
MountSnapshot readMounts(const std::string& path);

/// The mount table of this process, read again only when the kernel says that it changed. Any
/// thread.
class MountTable {
 public:
  MountTable();

  std::shared_ptr<const MountSnapshot> current();

 private:
  bool hasChanged() const;

  std::mutex mutex_;
  base::UniqueFd watched_;  // an open mountinfo tells of each change once
  std::shared_ptr<const MountSnapshot> snapshot_;
};

/// Opens what can be polled (for errors) for changes of the mount table.
base::UniqueFd openMountInfo();

}  // namespace halvercine::platform::gnulinux
