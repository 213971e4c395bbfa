// Whether the process that executes a check is still there.
#pragma once

#include <cstdint>
#include <map>
#include <optional>

#include "platform/Processes.h"

namespace halvercine::check {

/// Numbers of processes are used again: a process that has another start time than when it was
/// first asked for is another one. Where the system tells no start time, a successor with the same
/// number passes for the executor. One thread at a time.
class ExecutorProbe {
 public:
  explicit ExecutorProbe(platform::Processes& processes) : processes_(processes) {}

  /// A process that may not be signalled is there all the same.
  bool isAlive(std::int32_t pid);

 private:
  platform::Processes& processes_;
  std::map<std::int32_t, std::optional<std::uint64_t>> started_;  // as they were first seen
};

}  // namespace halvercine::check
