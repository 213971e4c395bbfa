// Mounted file systems by statfs and the volume's resource values.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <sys/mount.h>

#include "base/BoundedCalls.h"
#include "platform/FileSystems.h"

namespace halvercine::platform::macos {

/// A mount whose server has stopped answering is still described, without its sizes and values.
class MacFileSystems : public FileSystems {
 public:
  std::optional<FileSystemStatistics> statistics(const std::string& path) override;
  VolumeResourceValues resourceValues(const std::string& path) override;

 private:
  base::BoundedCalls<std::optional<struct statfs>> statistics_;
  // Apart: the capacity for important use can take long.
  base::BoundedCalls<std::optional<std::int64_t>> importantUsageCapacity_;
  base::BoundedCalls<std::optional<std::int64_t>> capacity_;
  base::BoundedCalls<std::optional<std::string>> name_;
};

}  // namespace halvercine::platform::macos
