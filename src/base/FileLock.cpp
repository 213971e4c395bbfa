#include "base/FileLock.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <thread>

namespace halvercine::base {

std::expected<FileLock, int> FileLock::attempt(const std::filesystem::path& path) {
  UniqueFd file(::open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600));
  if (!file || ::flock(file.get(), LOCK_EX | LOCK_NB) != 0) return std::unexpected(errno);
  return FileLock(std::move(file));
}

std::optional<FileLock> FileLock::tryTake(const std::filesystem::path& path) {
  auto lock = attempt(path);
  return lock ? std::optional(std::move(*lock)) : std::nullopt;
}

std::optional<FileLock> FileLock::take(const std::filesystem::path& path,
                                       std::chrono::milliseconds patience) {
  constexpr std::chrono::milliseconds interval{1};
  auto lock = attempt(path);
  for (auto waited = interval; !lock && lock.error() == EWOULDBLOCK && waited <= patience;
       waited += interval) {
    std::this_thread::sleep_for(interval);
    lock = attempt(path);
  }
  return lock ? std::optional(std::move(*lock)) : std::nullopt;
}

bool FileLock::isHeld(const std::filesystem::path& path) {
  const UniqueFd file(::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  // Shared, and for an instant: two that ask do not find each other.
  return file && ::flock(file.get(), LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}

FileLock::~FileLock() {
  // Closing alone would leave the lock with a child that was forked meanwhile, until it executes.
  if (file_) ::flock(file_.get(), LOCK_UN);
}

}  // namespace halvercine::base
