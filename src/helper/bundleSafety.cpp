#include "helper/bundleSafety.h"

#include <vector>

#include "base/Text.h"

namespace halvercine::helper {
namespace {

namespace fs = std::filesystem;
using base::LocalizedText;
using platform::FileFacts;

constexpr std::uint32_t groupWrite = 0020;
constexpr std::uint32_t everyoneWrite = 0002;
constexpr std::uint32_t ownerExecutes = 0100;

bool isWritableByEveryone(const FileFacts& facts) { return (facts.mode & everyoneWrite) != 0; }

bool isSafe(const FileFacts& facts) {
  constexpr std::uint32_t wheel = 0;
  constexpr std::uint32_t admin = 80;
  const bool isGroupTrusted = facts.group == wheel || facts.group == admin;
  return facts.owner == 0 && !isWritableByEveryone(facts) &&
         (isGroupTrusted || (facts.mode & groupWrite) == 0);
}

bool isSafeFolder(platform::ApplicationBundle& bundle, const fs::path& path) {
  const auto facts = bundle.inspect(path);
  return facts && facts->kind == FileFacts::Kind::folder && isSafe(*facts);
}

/// From the root of the file system down to the one that holds `path`.
std::vector<fs::path> foldersAbove(const fs::path& path) {
  std::vector<fs::path> folders;
  fs::path folder;
  for (const auto& component : path.parent_path()) folders.push_back(folder /= component);
  return folders;
}

bool isInApplications(const fs::path& bundle) {
  return bundle.native().starts_with("/Applications/") && bundle == bundle.lexically_normal() &&
         bundle.has_filename();
}

}  // namespace

fs::path helperExecutable(const fs::path& bundle) {
  return bundle / "Contents" / "MacOS" / "halvercine-helper";
}

std::optional<LocalizedText> bundleFault(platform::ApplicationBundle& bundle) {
  const auto path = bundle.path().value_or("");
  if (!isInApplications(path)) {
    return LocalizedText{.key = "ui.helper.install.location",
                         .arguments = {base::displayText(path.string())}};
  }
  const LocalizedText unsafe{.key = "ui.helper.install.unsafe"};
  const auto executable = helperExecutable(path);
  if (!isSafeFolder(bundle, path)) return unsafe;
  for (const auto& folder : foldersAbove(path)) {
    const auto facts = bundle.inspect(folder);
    if (facts && isWritableByEveryone(*facts)) {
      return LocalizedText{.key = "ui.helper.install.parent"};
    }
    if (!isSafeFolder(bundle, folder)) return unsafe;
  }
  const auto facts = bundle.inspect(executable);
  if (!facts || facts->kind != FileFacts::Kind::file || (facts->mode & ownerExecutes) == 0) {
    return LocalizedText{.key = "ui.helper.install.missing"};
  }
  if (!isSafe(*facts) || !isSafeFolder(bundle, path / "Contents") ||
      !isSafeFolder(bundle, executable.parent_path())) {
    return unsafe;
  }
  return std::nullopt;
}

}  // namespace halvercine::helper
