#include "platform/macos/MacProcesses.h"

#include <array>
#include <sys/sysctl.h>

namespace halvercine::platform::macos {

std::optional<std::uint64_t> MacProcesses::startTime(std::int32_t pid) {
  std::array<int, 4> name{CTL_KERN, KERN_PROC, KERN_PROC_PID, pid};
  kinfo_proc process{};
  std::size_t size = sizeof process;
  // For a process that is not there the call succeeds, and writes nothing.
  if (::sysctl(name.data(), static_cast<u_int>(name.size()), &process, &size, nullptr, 0) != 0 ||
      size < sizeof process || process.kp_proc.p_pid != pid) {
    return std::nullopt;
  }
  constexpr std::uint64_t microsecondsPerSecond = 1'000'000;
  const timeval start = process.kp_proc.p_starttime;
  return static_cast<std::uint64_t>(start.tv_sec) * microsecondsPerSecond +
         static_cast<std::uint64_t>(start.tv_usec);
}

}  // namespace halvercine::platform::macos
