#include "platform/linux/XdgContainers.h"

#include <array>
#include <cstdlib>
#include <pwd.h>
#include <unistd.h>

#include "base/PrivateFiles.h"

namespace halvercine::platform::gnulinux {
namespace {

std::optional<std::filesystem::path> absolutePathIn(const char* variable) {
  const char* const value = std::getenv(variable);
  if (value == nullptr || *value != '/') return std::nullopt;
  return std::filesystem::path(value);
}

std::optional<std::filesystem::path> homeOfUser() {
  std::array<char, 16384> buffer;  // entries of directory services can be long
  passwd entry{};
  passwd* found = nullptr;
  ::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found);
  if (found == nullptr || *found->pw_dir != '/') return std::nullopt;
  return std::filesystem::path(found->pw_dir);
}

}  // namespace

std::optional<std::filesystem::path> XdgContainers::groupContainer(const std::string& group) {
  const auto support = applicationSupport();
  if (!support || !base::isPlainFileName(group)) return std::nullopt;
  auto container = *support / "halvercine" / group;
  if (base::makePrivateDirectory(container)) return std::nullopt;
  return container;
}

std::optional<std::filesystem::path> XdgContainers::applicationSupport() {
  if (auto configured = absolutePathIn("XDG_DATA_HOME")) return configured;  // as told
  const auto folder = home();
  std::error_code error;
  // A home that is missing may come, with what is in it: none is made in its place.
  if (!folder || !std::filesystem::is_directory(*folder, error)) return std::nullopt;
  return *folder / ".local" / "share";
}

std::optional<std::filesystem::path> XdgContainers::home() {
  if (auto configured = absolutePathIn("HOME")) return configured;
  return homeOfUser();
}

std::optional<std::filesystem::path> XdgContainers::bundleResource(const std::string& name) {
  std::error_code error;
  const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
  if (error || !base::isPlainFileName(name)) return std::nullopt;
  auto resource = program.parent_path() / name;
  if (!std::filesystem::is_regular_file(resource, error)) return std::nullopt;
  return resource;
}

}  // namespace halvercine::platform::gnulinux
