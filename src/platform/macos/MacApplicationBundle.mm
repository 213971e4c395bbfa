#include "platform/macos/MacApplicationBundle.h"

#include <cerrno>
#include <sys/stat.h>

#include "platform/macos/applicationBundle.h"
#include "platform/macos/systemText.h"

namespace halvercine::platform::macos {
namespace {

FileFacts::Kind kindOf(mode_t mode) {
  if (S_ISREG(mode)) return FileFacts::Kind::file;
  if (S_ISDIR(mode)) return FileFacts::Kind::folder;
  if (S_ISLNK(mode)) return FileFacts::Kind::link;
  return FileFacts::Kind::other;
}

}  // namespace

std::optional<std::filesystem::path> MacApplicationBundle::path() {
  @autoreleasepool {
    NSBundle* const bundle = applicationBundle();
    if (bundle.bundleIdentifier == nil) return std::nullopt;  // a folder, and no bundle
    std::error_code error;
    auto path = std::filesystem::canonical(bundle.bundleURL.fileSystemRepresentation, error);
    if (error) return std::nullopt;
    return path;
  }
}

std::optional<std::string> MacApplicationBundle::info(std::string_view key) {
  const auto name = systemText(key);
  if (!name) return std::nullopt;
  @autoreleasepool {
    const id value = applicationBundle().infoDictionary[(__bridge NSString*)name.get()];
    if (![value isKindOfClass:NSString.class]) return std::nullopt;
    return utf8Text((__bridge CFStringRef)value);
  }
}

std::expected<FileFacts, std::error_code> MacApplicationBundle::inspect(
    const std::filesystem::path& path) {
  struct stat status {};
  if (::lstat(path.c_str(), &status) != 0) {
    return std::unexpected(std::error_code(errno, std::generic_category()));
  }
  constexpr std::uint32_t permissions = 07777;
  return FileFacts{kindOf(status.st_mode), status.st_uid, status.st_gid,
                   status.st_mode & permissions};
}

}  // namespace halvercine::platform::macos
