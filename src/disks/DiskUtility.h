// Mounting, unmounting and asking about volumes, by the system's own disk tool.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "base/Task.h"
#include "disks/LsofOutput.h"
#include "disks/runTool.h"
#include "platform/Clock.h"
#include "platform/MediaRegistry.h"
#include "platform/ToolRunner.h"

namespace halvercine::disks {

/// What became of a request to mount.
struct MountFailure {
  std::string text;  ///< the tool's; `errorKey` gives its localization key
  bool operator==(const MountFailure&) const = default;
};
struct ThirdPartyDriver {
  std::string name;  ///< display name of another vendor's driver, which holds the volume
  bool operator==(const ThirdPartyDriver&) const = default;
};
struct MountSuccess {
  bool operator==(const MountSuccess&) const = default;
};
/// Refused, because mounting it read-write is not safe.
struct UnsafeVolume {
  bool operator==(const UnsafeVolume&) const = default;
};
using MountOutcome = std::variant<MountFailure, ThirdPartyDriver, MountSuccess, UnsafeVolume>;

enum class MountAccess { readWrite, readOnly };

/// Asked before the tool is run: an outcome is the answer, and nothing is run.
using MountGuard =
    std::function<std::optional<MountOutcome>(const std::string& bsdName, bool readOnly)>;

/// "/usr/sbin/diskutil", and "/usr/sbin/lsof" for who is in the way. It has no state: any number of
/// operations may be under way. All of them end within 66 seconds, whatever the tools do, and kill
/// their tool when they are cancelled; the object outlives them. Main actor.
class DiskUtility {
 public:
  DiskUtility(platform::ToolRunner& runner, platform::Clock& clock,
              platform::MediaRegistry& registry, MountGuard guard = {});

  /// Runs diskutil with these arguments.
  base::Task<ToolResult> run(std::vector<std::string> arguments) const;

  base::Task<ToolResult> info(std::string bsdName) const;

  /// The tool is not run for a volume that is not there any more, nor against the guard's will.
  base::Task<MountOutcome> mount(std::string bsdName,
                                 MountAccess access = MountAccess::readWrite) const;

  base::Task<ToolResult> unmount(std::string bsdName) const;
  base::Task<ToolResult> forceUnmount(std::string bsdName) const;

  /// Whether the tool's info names an NTFS personality; false when it tells nothing.
  base::Task<bool> isNtfs(std::string bsdName) const;

  /// The processes other than this one that hold the device of a volume open (the device itself,
  /// not a file on the volume), as far as this user may see them.
  base::Task<std::vector<Occupant>> deviceHolders(std::string bsdName) const;

  /// A process other than this one that holds the device of a volume open (the device itself, not a
  /// file on the volume). Nothing when there is none, or none that this user may see.
  base::Task<std::optional<std::int32_t>> deviceHolderPID(std::string bsdName) const;

  /// The processes that have files open at or beneath the mount paths, each once. Empty when there
  /// are none, or none that this user may see.
  base::Task<std::vector<Occupant>> volumeOccupants(std::vector<std::string> mountPaths) const;

  /// The same for any files and folders: `mountPaths` are the file systems that they are on.
  base::Task<std::vector<Occupant>> occupantsBeneath(std::vector<std::string> paths,
                                                     std::vector<std::string> mountPaths) const;

 private:
  std::vector<std::string> deviceNodes(const std::string& bsdName) const;
  base::Task<std::vector<Occupant>> openFiles(platform::ToolInvocation lsof,
                                              LsofOutput parser) const;

  platform::ToolRunner& runner_;
  platform::Clock& clock_;
  platform::MediaRegistry& registry_;
  MountGuard guard_;
};

}  // namespace halvercine::disks
