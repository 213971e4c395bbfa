#include "disks/DiskUtility.h"

#include <algorithm>
#include <memory>
#include <unistd.h>
#include <utility>

#include "base/BsdName.h"
#include "base/Properties.h"
#include "disks/DiskUtilityText.h"

namespace halvercine::disks {
namespace {

constexpr const char* diskutilPath = "/usr/sbin/diskutil";
constexpr const char* lsofPath = "/usr/sbin/lsof";
constexpr const char* notFoundText = "Unable to find disk";

// g++ 12 cannot compile initializer lists inside coroutines, so these lists are made outside.

std::vector<std::string> mountArguments(const std::string& bsdName, MountAccess access) {
  if (access == MountAccess::readOnly) return {"mount", "readOnly", base::devicePath(bsdName)};
  return {"mount", base::devicePath(bsdName)};
}

/// `paths` taken as file systems (then all files that are open on them count) or as the files that
/// they are: a device that is mounted would else stand for all that is open on it.
enum class PathsAre { fileSystems, files };

platform::ToolInvocation lsofInvocation(PathsAre kind, const std::vector<std::string>& paths) {
  // No warnings, no names for hosts and ports (looking them up can take minutes), and of each file
  // the process, its command, the descriptor (which comes anyway) and the name.
  platform::ToolInvocation lsof{
      .executable = lsofPath,
      .arguments = {"-w", "-n", "-P", "-Fpcfn", kind == PathsAre::files ? "-f" : "+f", "--"},
      .errors = platform::ToolInvocation::Errors::apart};
  lsof.arguments.insert(lsof.arguments.end(), paths.begin(), paths.end());
  return lsof;
}

}  // namespace

DiskUtility::DiskUtility(platform::ToolRunner& runner, platform::Clock& clock,
                         platform::MediaRegistry& registry, MountGuard guard)
    : runner_(runner), clock_(clock), registry_(registry), guard_(std::move(guard)) {}

base::Task<ToolResult> DiskUtility::run(std::vector<std::string> arguments) const {
  return runTool(runner_, clock_, {.executable = diskutilPath, .arguments = std::move(arguments)});
}

base::Task<ToolResult> DiskUtility::info(std::string bsdName) const {
  return run({"info", base::devicePath(bsdName)});
}

base::Task<MountOutcome> DiskUtility::mount(std::string bsdName, MountAccess access) const {
  if (!registry_.media(bsdName)) co_return MountFailure{notFoundText};
  if (guard_) {
    if (auto outcome = guard_(bsdName, access == MountAccess::readOnly)) {
      co_return std::move(*outcome);
    }
  }
  auto result = co_await run(mountArguments(bsdName, access));
  if (result.status == 0) co_return MountSuccess{};
  co_return MountFailure{std::move(result.text)};
}

base::Task<ToolResult> DiskUtility::unmount(std::string bsdName) const {
  return run({"unmount", base::devicePath(bsdName)});
}

base::Task<ToolResult> DiskUtility::forceUnmount(std::string bsdName) const {
  return run({"unmount", "force", base::devicePath(bsdName)});
}

base::Task<bool> DiskUtility::isNtfs(std::string bsdName) const {
  const auto result = co_await info(std::move(bsdName));
  co_return disks::isNtfs(result.text);
}

base::Task<std::vector<Occupant>> DiskUtility::deviceHolders(std::string bsdName) const {
  auto processes =
      co_await openFiles(lsofInvocation(PathsAre::files, deviceNodes(bsdName)), LsofOutput());
  std::erase_if(processes, [](const Occupant& process) { return process.pid == ::getpid(); });
  co_return processes;
}

base::Task<std::optional<std::int32_t>> DiskUtility::deviceHolderPID(std::string bsdName) const {
  const auto holders = co_await deviceHolders(std::move(bsdName));
  if (holders.empty()) co_return std::nullopt;
  co_return holders.front().pid;
}

base::Task<std::vector<Occupant>> DiskUtility::volumeOccupants(
    std::vector<std::string> mountPaths) const {
  return occupantsBeneath(mountPaths, mountPaths);
}

base::Task<std::vector<Occupant>> DiskUtility::occupantsBeneath(
    std::vector<std::string> paths, std::vector<std::string> mountPaths) const {
  std::erase(paths, "");
  std::erase(mountPaths, "");
  if (paths.empty() || mountPaths.empty()) co_return std::vector<Occupant>();
  co_return co_await openFiles(lsofInvocation(PathsAre::fileSystems, mountPaths),
                               LsofOutput(paths));
}

std::vector<std::string> DiskUtility::deviceNodes(const std::string& bsdName) const {
  if (const auto media = registry_.media(bsdName)) {
    const auto node = media->property(platform::registry_key::deviceNode);
    if (const auto path = node ? base::textValue(*node) : std::nullopt) return {*path};
  }
  return {"/dev/r" + bsdName, base::devicePath(bsdName)};
}

base::Task<std::vector<Occupant>> DiskUtility::openFiles(platform::ToolInvocation lsof,
                                                         LsofOutput parser) const {
  const auto shared = std::make_shared<LsofOutput>(std::move(parser));
  std::function<void(std::string_view)> feed = [shared](std::string_view bytes) {
    shared->add(bytes);
  };
  // The exit status says nothing: lsof fails when it finds nothing, and also when it finds
  // something but a part of the search has failed.
  (void)co_await streamTool(runner_, clock_, std::move(lsof), std::move(feed));
  co_return std::move(*shared).occupants();
}

}  // namespace halvercine::disks
