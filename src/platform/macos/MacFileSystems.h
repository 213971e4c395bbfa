// Mounted file systems by statfs and the volume's resource values.
#pragma once

#include <chrono>
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
  using Capacities = base::BoundedCalls<std::optional<std::int64_t>>;

  static constexpr std::chrono::seconds kept{70};  // until the next full refresh, and a little more

  // Apart: the capacity for important use can take long, and differs from the other by all that the
  // system could delete.
  Capacities importantUsageCapacity_{Capacities::usualPatience, kept};
  Capacities capacity_{Capacities::usualPatience, kept};
  base::BoundedCalls<std::optional<std::string>> name_;
};

}  // namespace halvercine::platform::macos
