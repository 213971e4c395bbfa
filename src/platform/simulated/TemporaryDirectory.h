// A folder that goes when its owner goes.
#pragma once

#include <filesystem>
#include <optional>

namespace halvercine::platform::simulated {

/// A private folder (mode 0700, unpredictable name) below the system's temporary folder, removed
/// with all that is in it on destruction.
class TemporaryDirectory {
 public:
  TemporaryDirectory();
  ~TemporaryDirectory();
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

  /// Nothing when it could not be made.
  const std::optional<std::filesystem::path>& path() const { return path_; }

 private:
  std::optional<std::filesystem::path> path_;
};

}  // namespace halvercine::platform::simulated
