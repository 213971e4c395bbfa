// Processes, with what the kernel tells of them.
#pragma once

#include "platform/posix/PosixProcesses.h"

namespace halvercine::platform::macos {

class MacProcesses : public posix::PosixProcesses {
 public:
  /// Microseconds since 1970, by the wall clock of that moment.
  std::optional<std::uint64_t> startTime(std::int32_t pid) override;
};

}  // namespace halvercine::platform::macos
