// Mounted file systems by statfs and the volume's resource values.
#pragma once

#include <optional>
#include <sys/mount.h>

#include "platform/FileSystems.h"
#include "platform/posix/BoundedCalls.h"

namespace halvercine::platform::macos {

/// A mount whose server has stopped answering is still described, without its sizes and values.
class MacFileSystems : public FileSystems {
 public:
  std::optional<FileSystemStatistics> statistics(const std::string& path) override;
  VolumeResourceValues resourceValues(const std::string& path) override;

 private:
  posix::BoundedCalls<std::optional<struct statfs>> statistics_;
  posix::BoundedCalls<VolumeResourceValues> resourceValues_;
};

}  // namespace halvercine::platform::macos
