#include "base/FileLock.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <thread>

namespace halvercine::base {

std::optional<FileLock> FileLock::tryTake(const std::filesystem::path& path) {
  UniqueFd file(::open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600));
  if (!file || ::flock(file.get(), LOCK_EX | LOCK_NB) != 0) return std::nullopt;
  return FileLock(std::move(file));
}

std::optional<FileLock> FileLock::take(const std::filesystem::path& path,
                                       std::chrono::milliseconds patience) {
  constexpr auto pause = std::chrono::milliseconds(1);
  auto lock = tryTake(path);
  for (auto waited = std::chrono::milliseconds(0); !lock && waited < patience; waited += pause) {
    std::this_thread::sleep_for(pause);
    lock = tryTake(path);
  }
  return lock;
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
