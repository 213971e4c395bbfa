#include "platform/posix/inspectFile.h"

#include <cerrno>
#include <cstdint>
#include <sys/stat.h>

namespace halvercine::platform::posix {
namespace {

// Wide enough for the facts: `mode_t` is narrower on some systems.
constexpr std::uint32_t permissionBits = 07777;

FileFacts::Kind kindOf(mode_t mode) {
  if (S_ISREG(mode)) return FileFacts::Kind::file;
  if (S_ISDIR(mode)) return FileFacts::Kind::folder;
  return S_ISLNK(mode) ? FileFacts::Kind::link : FileFacts::Kind::other;
}

}  // namespace

std::expected<FileFacts, std::error_code> inspectFile(const std::filesystem::path& path) {
  struct stat status {};
  if (::lstat(path.c_str(), &status) != 0) {
    return std::unexpected(std::error_code(errno, std::generic_category()));
  }
  return FileFacts{kindOf(status.st_mode), status.st_uid, status.st_gid,
                   status.st_mode & permissionBits};
}

}  // namespace halvercine::platform::posix
