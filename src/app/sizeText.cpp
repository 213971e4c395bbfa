#include "app/sizeText.h"

#include <algorithm>
#include <array>

#include <fmt/format.h>

namespace halvercine::app {

std::string sizeText(std::int64_t bytes) {
  constexpr std::array units = {"KB", "MB", "GB", "TB", "PB", "EB"};
  if (bytes < 1000) return fmt::format("{} bytes", std::max<std::int64_t>(bytes, 0));
  double value = static_cast<double>(bytes) / 1000;
  std::size_t unit = 0;
  // 999.5 and more would be rounded to a four-digit figure.
  while (value >= 999.5 && unit + 1 < units.size()) {
    value /= 1000;
    ++unit;
  }
  const int decimals = value < 9.995 ? 2 : value < 99.95 ? 1 : 0;
  return fmt::format("{:.{}f} {}", value, decimals, units.at(unit));
}

}  // namespace halvercine::app
