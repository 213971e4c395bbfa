#include "base/FileLock.h"

#include <fcntl.h>
#include <sys/file.h>

namespace halvercine::base {

std::optional<FileLock> FileLock::tryTake(const std::filesystem::path& path) {
  UniqueFd file(::open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600));
  if (!file || ::flock(file.get(), LOCK_EX | LOCK_NB) != 0) return std::nullopt;
  return FileLock(std::move(file));
}

FileLock::~FileLock() {
  // Closing alone would leave the lock with a child that was forked meanwhile, until it executes.
  if (file_) ::flock(file_.get(), LOCK_UN);
}

}  // namespace halvercine::base
