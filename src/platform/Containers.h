// The folders that the system gives to the program.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace halvercine::platform {

class Containers {
 public:
  virtual ~Containers() = default;

  /// The container that the programs of one application group share, such as
  /// "group.com.halvercine.shared"; it exists when it is returned. Nothing when the group is not
  /// ours or the folder cannot be made.
  virtual std::optional<std::filesystem::path> groupContainer(const std::string& group) = 0;

  /// The user's Application Support folder; need not exist yet.
  virtual std::optional<std::filesystem::path> applicationSupport() = 0;

  /// The user's home folder.
  virtual std::optional<std::filesystem::path> home() = 0;

  /// Where the file at an absolute path of the system really is: the path itself on a real machine,
  /// a place inside its private folder on a simulated one.
  virtual std::filesystem::path systemPath(const std::filesystem::path& absolute) = 0;

  /// The path of a file that comes with the program, in its bundle or, where programs have none,
  /// beside it. Nothing when there is no such file.
  virtual std::optional<std::filesystem::path> bundleResource(const std::string& name) = 0;
};

}  // namespace halvercine::platform
