#include "platform/simulated/SimulatedFolders.h"

#include "base/PrivateFiles.h"

namespace halvercine::platform::simulated {

std::optional<std::filesystem::path> SimulatedFolders::home() const {
  if (!root_.path()) return std::nullopt;
  auto path = *root_.path() / "Users" / "simulated";
  if (base::makePrivateDirectory(path)) return std::nullopt;
  return path;
}

std::optional<std::filesystem::path> SimulatedFolders::applicationSupport() const {
  const auto path = home();
  if (!path) return std::nullopt;
  return *path / "Library" / "Application Support";
}

std::optional<std::filesystem::path> SimulatedFolders::groupContainer(
    std::string_view group) const {
  const auto path = home();
  if (!path || group != sharedGroup) return std::nullopt;
  auto container = *path / "Library" / "Group Containers" / group;
  if (base::makePrivateDirectory(container)) return std::nullopt;
  return container;
}

std::filesystem::path SimulatedFolders::systemPath(const std::filesystem::path& absolute) const {
  // Never the real system's file, and never out of the folder by way of "..".
  const auto inside = std::filesystem::path("/") / absolute.lexically_normal();
  if (!root_.path()) return "/nonexistent" / inside.relative_path();
  return *root_.path() / inside.lexically_normal().relative_path();
}

bool SimulatedFolders::create(const ScenarioFiles& files) const {
  bool made = true;
  for (const auto& [name, text] : files) {
    const auto below = name.starts_with("~/") ? home().value_or("/nonexistent") / name.substr(2)
                                              : systemPath(name);
    const auto folder = text ? below.parent_path() : below;
    made = made && !base::makePrivateDirectory(folder);
    if (text) made = made && !base::replacePrivateFile(below, *text);
  }
  // Every Mac has it; where the scenario has put a file there, it cannot be had.
  (void)base::makePrivateDirectory(systemPath("/Library/Caches"));
  return made;
}

}  // namespace halvercine::platform::simulated
