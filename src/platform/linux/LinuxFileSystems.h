// Mounted file systems by statvfs and the mount table.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <sys/statvfs.h>

#include "base/BoundedCalls.h"
#include "platform/FileSystems.h"
#include "platform/linux/Storage.h"

namespace halvercine::platform::gnulinux {

/// Devices are named as macOS would name them, and a type that hides behind FUSE's own is what the
/// device holds. A mount whose server has stopped answering is still described, without its sizes.
class LinuxFileSystems : public FileSystems {
 public:
  explicit LinuxFileSystems(std::shared_ptr<Storage> storage) : storage_(std::move(storage)) {}

  std::optional<FileSystemStatistics> statistics(const std::string& path) override;
  VolumeResourceValues resourceValues(const std::string& path) override;

 private:
  using Calls = base::BoundedCalls<std::optional<struct statvfs>>;

  /// A server that is slow every time is known by its late answers, until the next full refresh and
  /// a little longer.
  static constexpr std::chrono::seconds kept{70};

  std::optional<Mount> mountAt(const std::string& path) const;
  void putMount(FileSystemStatistics& statistics, const Mount& mount) const;

  std::shared_ptr<Storage> storage_;
  Calls boundedCalls_{Calls::usualPatience, kept};
};

}  // namespace halvercine::platform::gnulinux
