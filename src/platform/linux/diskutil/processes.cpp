#include "platform/linux/diskutil/processes.h"

#include <algorithm>
#include <charconv>
#include <sys/stat.h>
#include <sys/syscall.h>

#include <fmt/format.h>

#include "platform/linux/sysfs.h"

namespace halvercine::platform::gnulinux {
namespace {

std::vector<pid_t> allProcesses() {
  std::vector<pid_t> processes;
  for (const auto& name : namesIn("/proc")) {
    pid_t process = 0;
    const char* const end = name.data() + name.size();
    if (std::from_chars(name.data(), end, process).ptr == end) processes.push_back(process);
  }
  return processes;
}

std::string directoryOf(pid_t process) { return fmt::format("/proc/{}", process); }

bool isWithin(const std::string& file, const std::string& path) {
  return file == path || file.starts_with(path + "/");
}

bool uses(pid_t process, const std::string& path) {
  const std::string directory = directoryOf(process);
  for (const auto* link : {"/cwd", "/root", "/exe"}) {
    if (isWithin(linkTarget(directory + link), path)) return true;
  }
  for (const auto* name : {"/fd/", "/map_files/"}) {
    const std::string folder = directory + name;
    const auto isHeld = [&folder, &path](const std::string& link) {
      return isWithin(linkTarget(std::string(folder).append(link)), path);
    };
    if (std::ranges::any_of(namesIn(folder), isHeld)) return true;
  }
  return false;
}

std::string programOf(pid_t process) {
  const std::string directory = directoryOf(process);
  std::string program = linkTarget(directory + "/exe");
  return program.empty() ? readAttribute(directory, "comm").value_or("") : program;
}

pid_t parentOf(pid_t process) {
  const auto status = readBinaryAttribute(directoryOf(process), "status").value_or("");
  constexpr std::string_view label = "\nPPid:\t";
  const auto found = status.find(label);
  pid_t parent = 0;
  if (found != std::string::npos) {
    std::from_chars(status.data() + found + label.size(), status.data() + status.size(), parent);
  }
  return parent;
}

bool serves(pid_t process, dev_t device) {
  bool hasDevice = false;
  bool hasFuse = false;
  const std::string folder = directoryOf(process) + "/fd/";
  for (const auto& name : namesIn(folder)) {
    const std::string target = linkTarget(folder + name);
    if (!target.starts_with("/dev/")) continue;
    struct stat status {};
    hasFuse = hasFuse || target == "/dev/fuse";
    hasDevice = hasDevice || (::stat((folder + name).c_str(), &status) == 0 &&
                              S_ISBLK(status.st_mode) && status.st_rdev == device);
  }
  return hasDevice && hasFuse;
}

}  // namespace

std::optional<Occupant> firstOccupant(const std::string& path) {
  for (const pid_t process : allProcesses()) {
    if (!uses(process, path)) continue;
    const pid_t parent = parentOf(process);
    return Occupant{process, parent, programOf(process), programOf(parent)};
  }
  return std::nullopt;
}

std::vector<base::UniqueFd> fileSystemServers(dev_t device) {
  std::vector<base::UniqueFd> servers;
  for (const pid_t process : allProcesses()) {
    if (!serves(process, device)) continue;
    base::UniqueFd server(static_cast<int>(::syscall(SYS_pidfd_open, process, 0)));
    if (server) servers.push_back(std::move(server));
  }
  return servers;
}

}  // namespace halvercine::platform::gnulinux
