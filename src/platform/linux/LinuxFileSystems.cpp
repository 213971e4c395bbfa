#include "platform/linux/LinuxFileSystems.h"

#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/sysmacros.h>

namespace halvercine::platform::gnulinux {
namespace {

std::optional<struct statvfs> statvfsOf(const std::string& path) {
  struct statvfs status {};
  if (::statvfs(path.c_str(), &status) != 0) return std::nullopt;
  return status;
}

}  // namespace

std::optional<FileSystemStatistics> LinuxFileSystems::statistics(const std::string& path) {
  const auto mount = mountAt(path);
  const bool isServed = mount && mount->isServedByProcess();
  struct statvfs status {};
  if (isServed) {
    // A late answer is of this mount, not of another one that was here before.
    const auto answer =
        boundedCalls_(std::to_string(mount->id) + path, [path] { return statvfsOf(path); });
    status = answer.value_or(std::nullopt).value_or(status);
  } else if (::statvfs(path.c_str(), &status) != 0) {
    return std::nullopt;
  }
  FileSystemStatistics statistics;
  // Of a mount that is served, the mount table knows it better than a late answer.
  statistics.readOnly = !isServed && (status.f_flag & ST_RDONLY) != 0;
  statistics.blockSize = status.f_frsize;  // the unit of the counts; f_bsize is one for transfers
  statistics.blocks = status.f_blocks;
  statistics.availableBlocks = status.f_bavail;
  if (mount) putMount(statistics, *mount);
  return statistics;
}

VolumeResourceValues LinuxFileSystems::resourceValues(const std::string& path) {
  VolumeResourceValues values;
  const auto mount = mountAt(path);
  const auto device = mount ? storage_->devices.find(mount->device) : std::nullopt;
  if (!device) return values;
  if (auto label = storage_->content(*device).label; !label.empty()) values.name = std::move(label);
  return values;
}

std::optional<Mount> LinuxFileSystems::mountAt(const std::string& path) const {
  const auto mounts = storage_->mounts.current();
  // A mount point needs no question to the file system, which might never answer.
  if (const auto* mount = mounts->at(path)) return *mount;
  struct statx status {};
  if (::statx(AT_FDCWD, path.c_str(), 0, STATX_MNT_ID, &status) != 0) return std::nullopt;
  const Mount* mount = nullptr;
  if ((status.stx_mask & STATX_MNT_ID) != 0) {
    mount = mounts->find(static_cast<int>(status.stx_mnt_id));
  } else {  // kernels before 5.8
    mount = mounts->principal(makedev(status.stx_dev_major, status.stx_dev_minor));
  }
  return mount == nullptr ? std::nullopt : std::optional(*mount);
}

void LinuxFileSystems::putMount(FileSystemStatistics& statistics, const Mount& mount) const {
  const auto device = storage_->devices.find(mount.device);
  statistics.mountedFrom = device ? "/dev/" + bsdName(device->id) : mount.source;
  statistics.readOnly = statistics.readOnly || mount.readOnly;
  std::string type = mount.type;
  if (mount.hidesType() && device) {
    if (auto kind = storage_->content(*device).kind; !kind.empty()) type = std::move(kind);
  }
  statistics.typeName = fileSystemKind(type);
}

}  // namespace halvercine::platform::gnulinux
