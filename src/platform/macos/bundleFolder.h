// Where an application bundle is, seen from a program inside.
#pragma once

#include <filesystem>
#include <optional>

namespace halvercine::platform::macos {

/// The bundle of a program in its folder "Contents/MacOS"; nothing for a program elsewhere.
inline std::optional<std::filesystem::path> bundleFolder(const std::filesystem::path& program) {
  const auto folder = program.parent_path();
  const auto contents = folder.parent_path();
  if (folder.filename() != "MacOS" || contents.filename() != "Contents") return std::nullopt;
  auto bundle = contents.parent_path();
  if (bundle.extension() != ".app") return std::nullopt;
  return bundle;
}

}  // namespace halvercine::platform::macos
