// The folders of the simulated Mac: real ones, in a private temporary directory.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "platform/simulated/Scenario.h"
#include "platform/simulated/TemporaryDirectory.h"

namespace halvercine::platform::simulated {

/// The application group that the program and the file-system module share.
inline constexpr std::string_view sharedGroup = "group.com.halvercine.shared";

class SimulatedFolders {
 public:
  std::optional<std::filesystem::path> home() const;
  std::optional<std::filesystem::path> applicationSupport() const;

  /// The shared container, made when it is missing; nothing for another group.
  std::optional<std::filesystem::path> groupContainer(std::string_view group) const;

  /// The place inside the folder for an absolute path of the system; it need not exist. Without a
  /// folder a path that leads nowhere.
  std::filesystem::path systemPath(const std::filesystem::path& absolute) const;

  /// Makes the scenario's files; false when one of them could not be made.
  bool create(const ScenarioFiles& files) const;

 private:
  TemporaryDirectory root_;
};

}  // namespace halvercine::platform::simulated
