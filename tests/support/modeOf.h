#pragma once

#include <filesystem>

namespace halvercine::tests {

/// The permission bits of an entry itself: a link is not followed. None of them without an entry.
inline unsigned modeOf(const std::filesystem::path& path) {
  const auto status = std::filesystem::symlink_status(path);
  return exists(status) ? static_cast<unsigned>(status.permissions()) : 0;
}

}  // namespace halvercine::tests
