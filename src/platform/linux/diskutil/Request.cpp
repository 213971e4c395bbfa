#include "platform/linux/diskutil/Request.h"

namespace halvercine::platform::gnulinux {
namespace {

std::optional<DiskVerb> verbOf(std::span<const std::string_view> words) {
  if (words.size() == 1 && words[0] == "info") return DiskVerb::info;
  if (words.size() == 1 && words[0] == "mount") return DiskVerb::mount;
  if (words.size() == 1 && words[0] == "unmount") return DiskVerb::unmount;
  if (words.size() != 2) return std::nullopt;
  if (words[0] == "mount" && words[1] == "readOnly") return DiskVerb::mountReadOnly;
  if (words[0] == "unmount" && words[1] == "force") return DiskVerb::unmountForce;
  return std::nullopt;
}

}  // namespace

std::optional<DiskRequest> parseRequest(std::span<const std::string_view> arguments) {
  if (arguments.size() < 2) return std::nullopt;
  const auto verb = verbOf(arguments.first(arguments.size() - 1));
  if (!verb) return std::nullopt;
  constexpr std::string_view folder = "/dev/";
  std::string_view name = arguments.back();
  if (name.starts_with(folder)) name.remove_prefix(folder.size());
  return DiskRequest{*verb, std::string(arguments.back()), parseBsdName(name)};
}

}  // namespace halvercine::platform::gnulinux
