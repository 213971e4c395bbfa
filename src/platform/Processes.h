// Other processes of the machine: whether one is still there.
#pragma once

#include <cstdint>
#include <optional>
#include <system_error>

namespace halvercine::platform {

class Processes {
 public:
  virtual ~Processes() = default;

  /// What the system says to signal 0, which is delivered to nobody: no error when the process is
  /// there and would take a signal from us, `operation_not_permitted` when it is there and would
  /// not, `no_such_process` when it is not there. Any thread.
  virtual std::error_code probe(std::int32_t pid) = 0;

  /// When the process was started, in units of the system's own: two processes that have the same
  /// number one after the other differ in it. Nothing when there is no such process or the system
  /// does not tell. Any thread.
  virtual std::optional<std::uint64_t> startTime(std::int32_t pid) = 0;
};

}  // namespace halvercine::platform
