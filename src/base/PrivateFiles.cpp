#include "base/PrivateFiles.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>

#include <boost/algorithm/string/case_conv.hpp>
#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/uuid_io.hpp>

#include "base/UniqueFd.h"

namespace halvercine::base {
namespace {

constexpr mode_t privateMode = 0600;
constexpr mode_t permissionBits = 0777;
constexpr std::size_t smallestRead = 4096;

std::error_code lastError() { return {errno, std::generic_category()}; }

std::error_code writeFully(int fd, std::string_view content) {
  while (!content.empty()) {
    const auto written = ::write(fd, content.data(), content.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return lastError();
    content.remove_prefix(static_cast<std::size_t>(written));
  }
  return {};
}

std::filesystem::path temporaryBeside(const std::filesystem::path& path) {
  std::string name = ".";
  name += path.filename().string();
  name += ".tmp-";
  name += boost::algorithm::to_upper_copy(to_string(boost::uuids::random_generator()()));
  return path.parent_path() / name;
}

UniqueFd openNew(const std::filesystem::path& path) {
  return UniqueFd(
      ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, privateMode));
}

std::error_code replaceFile(const std::filesystem::path& path, std::string_view content,
                            mode_t mode) {
  const auto temporary = temporaryBeside(path);
  const auto file = openNew(temporary);
  if (!file) return lastError();
  auto error = writeFully(file.get(), content);
  if (!error && mode != privateMode && ::fchmod(file.get(), mode) != 0) error = lastError();
  if (!error && ::rename(temporary.c_str(), path.c_str()) != 0) error = lastError();
  if (error) ::unlink(temporary.c_str());
  return error;
}

/// Appends the file to `content`, which allocates no more than `limit` and one small read.
std::error_code readInto(std::string& content, int directory, const char* path, std::size_t limit) {
  const UniqueFd file(::openat(directory, path, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  struct stat status {};
  if (!file || ::fstat(file.get(), &status) != 0) return lastError();
  if (!S_ISREG(status.st_mode)) return std::make_error_code(std::errc::not_supported);
  // The size is a hint, and zero for the files of the kernel: a file that grows meanwhile is read
  // to its end, or to the limit. One byte more than the size shows the end.
  const auto size = static_cast<std::size_t>(status.st_size);
  std::size_t room = size + 1;
  while (size <= limit && content.size() <= limit) {
    const auto have = content.size();
    content.resize(have + std::max(room, smallestRead));
    const auto got = ::read(file.get(), content.data() + have, content.size() - have);
    content.resize(have + (got > 0 ? static_cast<std::size_t>(got) : 0));
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return lastError();
    if (got == 0) return {};
    room = smallestRead;
  }
  return std::make_error_code(std::errc::file_too_large);
}

}  // namespace

bool isPlainFileName(std::string_view name) {
  return !name.empty() && name != "." && name != ".." &&
         name.find_first_of(std::string_view("/\0", 2)) == std::string_view::npos;
}

std::error_code makePrivateDirectory(const std::filesystem::path& directory) {
  std::error_code error;
  if (std::filesystem::is_directory(directory, error)) return {};
  std::filesystem::path made;
  for (const auto& component : directory) {
    made /= component;
    // Trying first spares a look that another process could overtake.
    if (::mkdir(made.c_str(), 0700) != 0 && errno != EEXIST && errno != EISDIR) {
      const auto refused = lastError();
      if (!std::filesystem::is_directory(made, error)) return refused;
    }
  }
  if (!std::filesystem::is_directory(directory, error)) {
    return error ? error : std::make_error_code(std::errc::not_a_directory);
  }
  return {};
}

std::error_code replacePrivateFile(const std::filesystem::path& path, std::string_view content) {
  return replaceFile(path, content, privateMode);
}

std::error_code replaceFileKeepingMode(const std::filesystem::path& path,
                                       std::string_view content) {
  struct stat status {};
  const bool known = ::lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
  return replaceFile(path, content, known ? status.st_mode & permissionBits : privateMode);
}

std::error_code createPrivateFile(const std::filesystem::path& path, std::string_view content) {
  const auto file = openNew(path);
  if (!file) return lastError();
  const auto error = writeFully(file.get(), content);
  if (error) ::unlink(path.c_str());
  return error;
}

void removeFileIf(const std::filesystem::path& path,
                  const std::function<bool(const std::filesystem::path&)>& isUnwanted) {
  const auto aside = temporaryBeside(path);
  if (::rename(path.c_str(), aside.c_str()) != 0) return;
  // What has the name by now is newer, and stays.
  const bool isToGo =
      isUnwanted(aside) || ::link(aside.c_str(), path.c_str()) == 0 || errno == EEXIST;
  if (!isToGo || ::remove(aside.c_str()) != 0) ::rename(aside.c_str(), path.c_str());
}

std::expected<std::string, std::error_code> readRegularFile(const std::filesystem::path& path,
                                                            std::size_t limit) {
  return readRegularFileAt(AT_FDCWD, path.c_str(), limit);
}

std::expected<std::string, std::error_code> readRegularFileAt(int directory, const char* path,
                                                              std::size_t limit) {
  std::string content;
  if (const auto error = readInto(content, directory, path, limit)) return std::unexpected(error);
  return content;
}

std::expected<Secret, std::error_code> readSecretFile(const std::filesystem::path& path,
                                                      std::size_t limit) {
  std::string content;
  content.reserve(limit + smallestRead);  // a text that grows leaves copies of itself behind
  const auto error = readInto(content, AT_FDCWD, path.c_str(), limit);
  auto secret = Secret::takenFrom(content);
  if (error) return std::unexpected(error);
  return secret;
}

}  // namespace halvercine::base
