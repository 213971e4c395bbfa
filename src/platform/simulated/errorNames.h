// Errors of the system by their names, as scenarios have them.
#pragma once

#include <array>
#include <cerrno>
#include <optional>
#include <string_view>
#include <utility>

namespace halvercine::platform::simulated {

inline constexpr std::array<std::pair<std::string_view, int>, 7> knownErrors{{{"EIO", EIO},
                                                                              {"ENOSPC", ENOSPC},
                                                                              {"ENXIO", ENXIO},
                                                                              {"EPERM", EPERM},
                                                                              {"EACCES", EACCES},
                                                                              {"EROFS", EROFS},
                                                                              {"ENOENT", ENOENT}}};

/// The number of an error with a known name.
constexpr std::optional<int> errorNumber(std::string_view name) {
  for (const auto& [known, number] : knownErrors) {
    if (known == name) return number;
  }
  return std::nullopt;
}

}  // namespace halvercine::platform::simulated
