#include "platform/posix/PosixProcesses.h"

#include <cerrno>
#include <csignal>

namespace halvercine::platform::posix {

std::error_code PosixProcesses::probe(std::int32_t pid) {
  if (::kill(pid, 0) == 0) return {};
  return {errno, std::generic_category()};
}

}  // namespace halvercine::platform::posix
