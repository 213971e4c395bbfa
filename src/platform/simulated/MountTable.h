// What is mounted where on the simulated Mac.
#pragma once

#include <map>
#include <optional>
#include <string>

#include "platform/FileSystems.h"
#include "platform/simulated/Scenario.h"

namespace halvercine::platform::simulated {

class MountTable {
 public:
  /// Mounts a complete volume. A path that is not given is chosen as the system does: after the
  /// volume's name, with a number behind it when that is taken. False when the disk is mounted or
  /// another one is mounted there.
  bool mount(const ScenarioMedia& media, ScenarioMount mount);

  /// False when the disk is not mounted.
  bool unmount(const std::string& disk);

  /// Where a disk is mounted.
  std::optional<std::string> pathOf(const std::string& disk) const;

  /// Which disk holds `path`.
  std::optional<std::string> diskAt(const std::string& path) const;

  /// As the port's functions of these names: of the file system that holds `path`.
  std::optional<FileSystemStatistics> statistics(const std::string& path) const;
  VolumeResourceValues resourceValues(const std::string& path) const;

 private:
  std::string freePath(const ScenarioMedia& media) const;
  const ScenarioMount* holderOf(std::string path) const;

  std::map<std::string, ScenarioMount> mounts_;  // by path
  std::map<std::string, std::string> paths_;     // by BSD name
};

}  // namespace halvercine::platform::simulated
