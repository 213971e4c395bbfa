#include "platform/linux/MediumId.h"

#include <charconv>

#include <fmt/format.h>

namespace halvercine::platform::gnulinux {

std::string bsdName(MediumId id) {
  return id.partition == 0 ? fmt::format("disk{}", id.sequence)
                           : fmt::format("disk{}s{}", id.sequence, id.partition);
}

std::optional<MediumId> parseBsdName(std::string_view name) {
  constexpr std::string_view prefix = "disk";
  if (!name.starts_with(prefix)) return std::nullopt;
  MediumId id;
  const char* const end = name.data() + name.size();
  const char* rest = std::from_chars(name.data() + prefix.size(), end, id.sequence).ptr;
  if (rest != end) std::from_chars(rest + 1, end, id.partition);
  // Whatever was read loosely (signs, zeros, overflow, something behind) does not come out again.
  if (bsdName(id) != name) return std::nullopt;
  return id;
}

}  // namespace halvercine::platform::gnulinux
