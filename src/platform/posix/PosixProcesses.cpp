#include "platform/posix/PosixProcesses.h"

#include <cerrno>
#include <csignal>

namespace halvercine::platform::posix {

std::error_code PosixProcesses::probe(std::int32_t pid) {
  // To `kill` these are groups of processes.
  if (pid <= 0) return std::make_error_code(std::errc::no_such_process);
  if (::kill(pid, 0) == 0) return {};
  return {errno, std::generic_category()};
}

}  // namespace halvercine::platform::posix
