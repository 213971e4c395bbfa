// Who wants to know about changes in the simulated Mac's folders.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "base/MainActor.h"
#include "platform/DirectoryWatch.h"

namespace halvercine::platform::simulated {

/// The folders are real, but the kernel's own watches would speak whenever they like. Here a call
/// comes when the machine itself has changed something, always in the same place of the order of
/// events. Main actor; the watches may outlive it.
class FolderWatches {
 public:
  explicit FolderWatches(base::MainActor& actor) : actor_(actor) {}

  std::unique_ptr<DirectoryWatch> add(const std::filesystem::path& directory,
                                      std::function<void()> changed);

  /// Has the watches of `directory` called, later.
  void announce(const std::filesystem::path& directory);

 private:
  struct Entry {
    std::filesystem::path directory;
    std::function<void()> changed;
  };
  class Watch;

  base::MainActor& actor_;
  std::vector<std::weak_ptr<const Entry>> entries_;
};

}  // namespace halvercine::platform::simulated
