// The bundle that the program runs from, and who could change it.
#pragma once

#include <cstdint>
#include <expected>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace halvercine::platform {

/// Keys of a bundle's Info.plist.
namespace bundle_key {
inline constexpr std::string_view identifier = "CFBundleIdentifier";
inline constexpr std::string_view build = "CFBundleVersion";
inline constexpr std::string_view version = "CFBundleShortVersionString";
}  // namespace bundle_key

/// Who owns a file and who may write it.
struct FileFacts {
  enum class Kind { file, folder, link, other } kind = Kind::other;
  std::uint32_t owner = 0;  ///< user ID
  std::uint32_t group = 0;  ///< group ID
  std::uint32_t mode = 0;   ///< permission bits, 07777 at most
};

class ApplicationBundle {
 public:
  virtual ~ApplicationBundle() = default;

  /// The bundle's folder with every symbolic link resolved; nothing where programs have none.
  virtual std::optional<std::filesystem::path> path() = 0;

  /// A text of the bundle's Info.plist, or nothing.
  virtual std::optional<std::string> info(std::string_view key) = 0;

  /// What is at `path`, itself and not what a link there points to. Quick.
  virtual std::expected<FileFacts, std::error_code> inspect(const std::filesystem::path& path) = 0;
};

}  // namespace halvercine::platform
