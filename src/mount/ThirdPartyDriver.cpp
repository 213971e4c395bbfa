#include "mount/ThirdPartyDriver.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <optional>
#include <set>
#include <span>
#include <system_error>
#include <utility>

#include "base/Directory.h"
#include "base/Text.h"
#include "mount/EnabledModules.h"

namespace halvercine::mount {
namespace {

using Kind = ThirdPartyDriver::Kind;

constexpr std::string_view fileSystemFolder = "/Library/Filesystems/";
constexpr std::string_view daemonFolder = "/Library/LaunchDaemons/";
constexpr std::string_view systemModulePrefix = "com.apple.";
constexpr std::string_view ownToken = "halvercine";

struct Named {
  std::string_view key;  ///< a path, or a token in lower case
  std::string_view name;
};

constexpr auto wellKnownPaths = std::to_array<Named>({
    {"/Library/Filesystems/iboysoft_NTFS.fs", "iBoysoft NTFS"},
    {"/Library/Filesystems/tuxera_ntfs.fs", "Tuxera NTFS"},
    {"/Library/Filesystems/ufsd_NTFS.fs", "Paragon NTFS"},
    {"/Library/Filesystems/paragon_ntfs.fs", "Paragon NTFS"},
    {"/Library/Extensions/ms_ntfs.kext", "Microsoft NTFS (third party)"},
    {"/Library/Extensions/tuxera_ntfs.kext", "Tuxera NTFS"},
    {"/Library/Extensions/ufsd_NTFS.kext", "Paragon NTFS"},
});

// The first token that a name holds decides.
constexpr auto fileTokens = std::to_array<Named>({
    {"iboysoft", "iBoysoft NTFS"},
    {"tuxera", "Tuxera NTFS"},
    {"paragon", "Paragon NTFS"},
    {"ufsd", "Paragon NTFS"},
    {"hasleo", "Hasleo BitLocker/NTFS"},
    {"easeus", "EaseUS NTFS"},
    {"donemax", "Donemax NTFS"},
    {"chiyou", "赤友 NTFS"},
    {"aomeni", "赤友 NTFS"},
    {"ms_ntfs", "Microsoft NTFS (third party)"},
    {"microsoft", "Microsoft NTFS (third party)"},
});
// The vendors among them. Daemons with "microsoft" in their name serve other products.
constexpr auto daemonTokens = std::span(fileTokens).first(9);

constexpr auto moduleTokens = std::to_array<Named>({
    {"iboysoft", "iBoysoft NTFS"},
    {"tuxera", "Tuxera NTFS"},
    {"paragon", "Paragon NTFS"},
    {"ufsd", "Paragon NTFS"},
    {"hasleo", "Hasleo"},
    {"easeus", "EaseUS"},
    {"donemax", "Donemax"},
    {"chiyou", "赤友 NTFS"},
    {"aomeni", "赤友 NTFS"},
    {"cn.ntfs", "赤友 NTFS"},
    {"xntfs", "xntfs"},
});
constexpr std::string_view moduleSuffix = "（FSKit 模块）";  // in every language

bool holds(std::string_view text, std::string_view token) {
  return text.find(token) != std::string_view::npos;
}

std::optional<std::string_view> nameByToken(std::span<const Named> tokens, std::string_view text) {
  const auto lowered = base::asciiLowered(text);
  const auto found =
      std::ranges::find_if(tokens, [&](const Named& token) { return holds(lowered, token.key); });
  if (found == tokens.end()) return std::nullopt;
  return found->name;
}

class Detection {
 public:
  explicit Detection(platform::Containers& containers) : containers_(containers) {}

  std::vector<ThirdPartyDriver> run() {
    addWellKnown();
    addFolder(fileSystemFolder, Kind::file,
              [](const std::string& lowered) { return holds(lowered, "ntfs"); });
    addModules();
    addFolder(daemonFolder, Kind::launchDaemon, [](const std::string& lowered) {
      return nameByToken(daemonTokens, lowered).has_value();
    });
    return std::move(drivers_);
  }

 private:
  void addWellKnown() {
    for (const auto& [path, name] : wellKnownPaths) {
      std::error_code ignored;
      if (std::filesystem::exists(containers_.systemPath(path), ignored)) {
        add(std::string(path), std::string(name), Kind::file);
      }
    }
  }

  template <class Wanted>
  void addFolder(std::string_view folder, Kind kind, Wanted isWanted) {
    const auto directory = base::Directory::open(containers_.systemPath(folder));
    if (!directory) return;
    auto names = directory->names();
    std::ranges::sort(names);
    for (const auto& name : names) {
      const auto lowered = base::asciiLowered(name);
      if (!isWanted(lowered) || holds(lowered, ownToken)) continue;
      add(std::string(folder) + name, driverDisplayName(name), kind);
    }
  }

  void addModules() {
    for (const auto& identifier :
         enabledModules(containers_).value_or(std::vector<std::string>())) {
      if (identifier.starts_with(systemModulePrefix) || identifier == ownModule) continue;
      add(identifier, moduleLabel(identifier), Kind::fskitModule);
    }
  }

  void add(const std::string& path, std::string name, Kind kind) {
    if (!known_.insert(base::asciiLowered(path)).second) return;
    drivers_.push_back({.id = path, .name = std::move(name), .path = path, .kind = kind});
  }

  platform::Containers& containers_;
  std::vector<ThirdPartyDriver> drivers_;
  std::set<std::string> known_;  // paths in lower case
};

}  // namespace

std::vector<ThirdPartyDriver> detectThirdPartyDrivers(platform::Containers& containers) {
  return Detection(containers).run();
}

std::string driverDisplayName(std::string_view fileName) {
  if (const auto name = nameByToken(fileTokens, fileName)) return std::string(*name);
  return std::filesystem::path(fileName).stem().string();
}

std::string moduleLabel(std::string_view identifier) {
  const auto name = nameByToken(moduleTokens, identifier);
  return std::string(name.value_or(identifier)) + std::string(moduleSuffix);
}

}  // namespace halvercine::mount
