// Advisory locks between processes.
#pragma once

#include <chrono>
#include <expected>
#include <filesystem>
#include <optional>

#include "base/UniqueFd.h"

namespace halvercine::base {

/// An exclusive lock that another process honours through the same file. Released when destroyed;
/// the file stays.
class FileLock {
 public:
  /// Takes the lock at once, or answers nothing: it is held, or the file is a symbolic link or
  /// cannot be opened. The file is made with mode 0600 when it is missing. Never waits.
  static std::optional<FileLock> tryTake(const std::filesystem::path& path);

  /// The same, and while another process holds it tries again until about `patience` is over. Only
  /// for locks that are held for a few milliseconds: the calling thread waits.
  static std::optional<FileLock> take(const std::filesystem::path& path,
                                      std::chrono::milliseconds patience);

  /// Whether some process holds the lock now. The file is not made.
  static bool isHeld(const std::filesystem::path& path);

  FileLock(FileLock&&) noexcept = default;
  FileLock& operator=(FileLock&&) noexcept = default;
  ~FileLock();

 private:
  /// The error is an errno value.
  static std::expected<FileLock, int> attempt(const std::filesystem::path& path);

  explicit FileLock(UniqueFd file) : file_(std::move(file)) {}

  UniqueFd file_;
};

}  // namespace halvercine::base
