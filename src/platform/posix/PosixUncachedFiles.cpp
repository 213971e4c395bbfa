#include "platform/posix/PosixUncachedFiles.h"

#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <optional>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/string_generator.hpp>
#include <boost/uuid/uuid_io.hpp>

#include "base/Directory.h"
#include "base/PrivateFiles.h"
#include "base/UniqueFd.h"

namespace halvercine::platform::posix {
namespace {

/// Whether the entry `name` of `folder` is the open file; the error is an errno value.
std::expected<bool, int> isEntry(int folder, const std::string& name, int file) {
  struct stat named {};
  struct stat open {};
  if (::fstatat(folder, name.c_str(), &named, AT_SYMLINK_NOFOLLOW) != 0) {
    if (errno == ENOENT) return false;
    return std::unexpected(errno);
  }
  if (::fstat(file, &open) != 0) return std::unexpected(errno);
  return named.st_dev == open.st_dev && named.st_ino == open.st_ino;
}

/// Past the cache of the device too, where the system can.
int synchronize(int file) {
#ifdef F_FULLFSYNC
  if (::fcntl(file, F_FULLFSYNC) == 0) return 0;
#endif
  if (::fsync(file) == 0 || errno == EINVAL || errno == ENOTSUP) return 0;
  return errno;
}

class PosixUncachedFile : public UncachedFile {
 public:
  PosixUncachedFile(base::UniqueFd folder, std::string name, base::UniqueFd file, Caching caching)
      : folder_(std::move(folder)),
        name_(std::move(name)),
        file_(std::move(file)),
        caching_(caching) {}
  ~PosixUncachedFile() override { PosixUncachedFile::remove(); }
  PosixUncachedFile(const PosixUncachedFile&) = delete;
  PosixUncachedFile& operator=(const PosixUncachedFile&) = delete;

  std::int64_t read(std::span<std::byte> buffer, std::uint64_t offset) override {
    const auto count =
        ::pread(file_.get(), buffer.data(), buffer.size(), static_cast<off_t>(offset));
    return count < 0 ? -errno : count;
  }

  std::int64_t write(std::span<const std::byte> data, std::uint64_t offset) override {
    const auto count = ::pwrite(file_.get(), data.data(), data.size(), static_cast<off_t>(offset));
    return count < 0 ? -errno : count;
  }

  int flush() override { return synchronize(file_.get()); }
  PageCache pageCache() const override { return caching_.pageCache; }
  std::size_t bufferAlignment() const override { return caching_.bufferAlignment; }

  int remove() override {
    if (isRemoved_.exchange(true)) return 0;
    const int error = unlink();
    if (error != 0) isRemoved_ = false;
    return error;
  }

 private:
  int unlink() const {
    const auto isOurs = isEntry(folder_.get(), name_, file_.get());
    if (!isOurs) return isOurs.error();
    if (!*isOurs || ::unlinkat(folder_.get(), name_.c_str(), 0) == 0) return 0;
    return errno == ENOENT ? 0 : errno;
  }

  base::UniqueFd folder_;  // its path may lead elsewhere by the end
  std::string name_;
  base::UniqueFd file_;
  Caching caching_;
  std::atomic<bool> isRemoved_{false};
};

base::UniqueFd openFolder(const std::string& folder) {
  return base::UniqueFd(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

bool hasUuid(std::string_view name) {
  constexpr std::size_t length = 36;
  if (name.size() != length) return false;
  try {
    boost::uuids::string_generator()(name.begin(), name.end());
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

/// Who owns what this user makes in the folder. On FAT and the like that is whoever the volume was
/// mounted for.
std::optional<uid_t> ownerOfNewFile(int folder, const std::string& prefix) {
  const auto name = prefix + boost::uuids::to_string(boost::uuids::random_generator()());
  const base::UniqueFd file(
      ::openat(folder, name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
  if (!file) return std::nullopt;
  struct stat status {};
  const bool isKnown = ::fstat(file.get(), &status) == 0;
  ::unlinkat(folder, name.c_str(), 0);
  return isKnown ? std::optional(status.st_uid) : std::nullopt;
}

void removeIfAbandoned(int folder, const std::string& prefix, const std::string& name) {
  const base::UniqueFd file(
      ::openat(folder, name.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  struct stat status {};
  if (!file || ::fstat(file.get(), &status) != 0) return;
  if (!S_ISREG(status.st_mode) || status.st_nlink != 1) return;
  if (::flock(file.get(), LOCK_EX | LOCK_NB) != 0) return;
  const bool isOurs =
      status.st_uid == ::geteuid() || status.st_uid == ownerOfNewFile(folder, prefix);
  if (isOurs && isEntry(folder, name, file.get()) == true) ::unlinkat(folder, name.c_str(), 0);
}

}  // namespace

std::expected<std::unique_ptr<UncachedFile>, int> PosixUncachedFiles::create(
    const std::string& folder, const std::string& name) {
  if (!base::isPlainFileName(name)) return std::unexpected(EINVAL);
  auto open = openFolder(folder);
  if (!open) return std::unexpected(errno);
  base::UniqueFd file(::openat(open.get(), name.c_str(),
                               O_RDWR | O_CREAT | O_EXCL | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0600));
  if (!file) return std::unexpected(errno);
  // Where a file system has no locks, nobody will take the file for an abandoned one either. Should
  // somebody be looking at it this very moment and delete it, it works on without a name.
  ::flock(file.get(), LOCK_EX | LOCK_NB);
  const auto caching = switchOff_(file.get());
  return std::make_unique<PosixUncachedFile>(std::move(open), name, std::move(file), caching);
}

void PosixUncachedFiles::removeAbandoned(const std::string& folder, const std::string& prefix) {
  const auto open = openFolder(folder);
  const auto directory = base::Directory::open(folder);
  if (!open || !directory) return;
  for (const auto& name : directory->names()) {
    if (name.starts_with(prefix) && hasUuid(std::string_view(name).substr(prefix.size()))) {
      removeIfAbandoned(open.get(), prefix, name);
    }
  }
}

}  // namespace halvercine::platform::posix
