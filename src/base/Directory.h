// Looking through a folder whose entries other processes make and delete meanwhile.
#pragma once

#include <cstddef>
#include <cstdint>
#include <expected>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "base/UniqueFd.h"
#include "platform/Clock.h"

namespace halvercine::base {

/// An open folder. Names are looked up in it directly, however long its own path is and whatever
/// happens to that. Symbolic links in it are never followed. Any thread, one at a time.
class Directory {
 public:
  /// Nothing when `path` is no folder or may not be read.
  static std::optional<Directory> open(const std::filesystem::path& path);

  /// The names of all entries now, hidden ones too, in the order of the file system. What could not
  /// be read is missing.
  std::vector<std::string> names() const;

  /// The content of a regular file of at most `limit` bytes.
  std::expected<std::string, std::error_code> read(const std::string& name,
                                                   std::size_t limit) const;

  /// When an entry's content was last changed, or nothing.
  std::optional<platform::WallTime> modified(const std::string& name) const;

  /// Deletes an entry that is no folder; failures are silent.
  void remove(const std::string& name) const;

 private:
  explicit Directory(UniqueFd fd) : fd_(std::move(fd)) {}

  UniqueFd fd_;
};

/// What tells one file or folder from another that has its name later.
struct FileIdentity {
  std::uint64_t device = 0;
  std::uint64_t number = 0;
  bool operator==(const FileIdentity&) const = default;
};

/// The identity of what is at `path` now, or nothing.
std::optional<FileIdentity> fileIdentity(const std::filesystem::path& path);

/// When the content of the entry at `path` was last changed, or nothing. A symbolic link is an
/// entry of its own.
std::optional<platform::WallTime> modificationTime(const std::filesystem::path& path);

}  // namespace halvercine::base
