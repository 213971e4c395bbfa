// Starting a child process with nothing of ours but its three standard descriptors.
#pragma once

#include <expected>
#include <string>
#include <sys/types.h>
#include <vector>

#include "base/UniqueFd.h"

namespace halvercine::platform::posix {

/// A pipe, both ends close-on-exec and above the standard descriptors.
struct Pipe {
  base::UniqueFd readEnd;
  base::UniqueFd writeEnd;
};

/// Makes a pipe, or answers an errno value. Any thread.
std::expected<Pipe, int> makePipe();

/// Starts `file` (a path; PATH is not searched) as the leader of a process group of its own, with
/// `input` as standard input (the null device if it is -1), no other descriptor but `output` and
/// `errors`, no signal ignored or blocked, and this program's environment with LC_ALL=C. Answers an
/// errno value when it cannot be started, also when the file is missing or is no program. Any
/// thread.
std::expected<pid_t, int> spawnChild(const std::string& file, const std::string& name,
                                     const std::vector<std::string>& arguments, int output,
                                     int errors, int input = -1);

}  // namespace halvercine::platform::posix
