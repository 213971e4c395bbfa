// Which processes use a volume or a device, as /proc tells. Everything else needs root.
#pragma once

#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

#include "base/UniqueFd.h"

namespace halvercine::platform::gnulinux {

struct Occupant {
  pid_t process = 0;
  pid_t parent = 0;
  std::string program;        ///< its executable, or its short name where that cannot be read
  std::string parentProgram;  ///< the same of its parent
};

/// The first process that has a file, its folder, its root or its program at or below `path`. Only
/// looks at names, so that a file system that does not answer cannot make it wait.
std::optional<Occupant> firstOccupant(const std::string& path);

/// The processes that serve the file system on a device: those with the device and the kernel's
/// FUSE device open. Readable when the process has ended.
std::vector<base::UniqueFd> fileSystemServers(dev_t device);

}  // namespace halvercine::platform::gnulinux
