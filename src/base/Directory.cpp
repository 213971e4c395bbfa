#include "base/Directory.h"

#include <chrono>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <string_view>
#include <sys/stat.h>

#include "base/PrivateFiles.h"

namespace halvercine::base {
namespace {

std::optional<platform::WallTime> modifiedAt(int directory, const char* path) {
  struct stat status {};
  if (::fstatat(directory, path, &status, AT_SYMLINK_NOFOLLOW) != 0) return std::nullopt;
#ifdef __APPLE__
  const timespec& time = status.st_mtimespec;
#else
  const timespec& time = status.st_mtim;
#endif
  return platform::WallTime(std::chrono::seconds(time.tv_sec) +
                            std::chrono::nanoseconds(time.tv_nsec));
}

}  // namespace

std::optional<Directory> Directory::open(const std::filesystem::path& path) {
  UniqueFd fd(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!fd) return std::nullopt;
  return Directory(std::move(fd));
}

std::vector<std::string> Directory::names() const {
  std::vector<std::string> names;
  // Opened anew: a stream owns its descriptor and its place in the folder.
  UniqueFd fd(::openat(fd_.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!fd) return names;
  const std::unique_ptr<DIR, int (*)(DIR*)> stream(::fdopendir(fd.get()), ::closedir);
  if (!stream) return names;
  static_cast<void>(fd.release());
  while (const dirent* entry = ::readdir(stream.get())) {
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..") names.emplace_back(name);
  }
  return names;
}

std::expected<std::string, std::error_code> Directory::read(const std::string& name,
                                                            std::size_t limit) const {
  return readRegularFileAt(fd_.get(), name.c_str(), limit);
}

std::optional<platform::WallTime> Directory::modified(const std::string& name) const {
  return modifiedAt(fd_.get(), name.c_str());
}

void Directory::remove(const std::string& name) const {
  static_cast<void>(::unlinkat(fd_.get(), name.c_str(), 0));
}

std::optional<platform::WallTime> modificationTime(const std::filesystem::path& path) {
  return modifiedAt(AT_FDCWD, path.c_str());
}

std::optional<FileIdentity> fileIdentity(const std::filesystem::path& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return std::nullopt;
  return FileIdentity{static_cast<std::uint64_t>(status.st_dev),
                      static_cast<std::uint64_t>(status.st_ino)};
}

}  // namespace halvercine::base
