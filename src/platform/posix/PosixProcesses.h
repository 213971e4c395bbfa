// Processes as every system of this kind knows them.
#pragma once

#include "platform/Processes.h"

namespace halvercine::platform::posix {

class PosixProcesses : public Processes {
 public:
  std::error_code probe(std::int32_t pid) override;

  /// There is no common way to ask for it.
  std::optional<std::uint64_t> startTime(std::int32_t) override { return std::nullopt; }
};

}  // namespace halvercine::platform::posix
