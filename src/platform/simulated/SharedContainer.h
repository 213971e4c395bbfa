// The folder that the program shares with the simulated file-system module.
#pragma once

#include <atomic>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "platform/simulated/FolderWatches.h"
#include "platform/simulated/SimulatedFolders.h"

namespace halvercine::platform::simulated {

/// The module's way into the folder: whatever it writes or removes there is announced to the
/// watches. Main actor, except `path`.
class SharedContainer {
 public:
  SharedContainer(const SimulatedFolders& folders, FolderWatches& watches, bool isAvailable)
      : folders_(folders), watches_(watches), isAvailable_(isAvailable) {}

  void setAvailable(bool available) { isAvailable_ = available; }

  /// The container of an application group; nothing for a foreign one, or while there is none. Any
  /// thread.
  std::optional<std::filesystem::path> path(std::string_view group = sharedGroup) const;

  /// Replaces a file in one step, or removes it. False when that is not possible.
  bool write(const std::string& name, std::string_view text);
  bool remove(const std::string& name);

 private:
  const SimulatedFolders& folders_;
  FolderWatches& watches_;
  std::atomic<bool> isAvailable_;
};

}  // namespace halvercine::platform::simulated
