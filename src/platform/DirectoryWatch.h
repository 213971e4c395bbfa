// Noticing that files in a folder changed.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>

namespace halvercine::platform {

/// A running watch. Destroying it ends the calls: none begins after that.
class DirectoryWatch {
 public:
  virtual ~DirectoryWatch() = default;
};

class DirectoryWatcher {
 public:
  virtual ~DirectoryWatcher() = default;

  /// Calls `changed` when entries of `directory` are made, renamed (files that are replaced in one
  /// step, too) or deleted; several changes may be one call. What is written into a file need not
  /// be told. Calls come on any thread: post, return. Null when the folder cannot
  /// be watched.
  virtual std::unique_ptr<DirectoryWatch> watch(const std::filesystem::path& directory,
                                                std::function<void()> changed) = 0;
};

}  // namespace halvercine::platform
