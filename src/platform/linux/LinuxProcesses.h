// Processes, with what /proc tells of them.
#pragma once

#include "platform/posix/PosixProcesses.h"

namespace halvercine::platform::gnulinux {

class LinuxProcesses : public posix::PosixProcesses {
 public:
  /// Clock ticks since the machine's start.
  std::optional<std::uint64_t> startTime(std::int32_t pid) override;
};

}  // namespace halvercine::platform::gnulinux
