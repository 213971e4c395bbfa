#include "platform/simulated/scenarioTexts.h"

#include <algorithm>
#include <charconv>

namespace halvercine::platform::simulated {
namespace {

/// Takes one to `digits` decimal digits from the front.
std::optional<int> takeNumber(std::string_view& text, std::size_t digits) {
  const auto end = std::min(text.find_first_not_of("0123456789"), text.size());
  if (end == 0 || end > digits) return std::nullopt;
  int number = 0;
  std::from_chars(text.data(), text.data() + end, number);
  text.remove_prefix(end);
  return number;
}

bool take(std::string_view& text, std::string_view prefix) {
  if (!text.starts_with(prefix)) return false;
  text.remove_prefix(prefix.size());
  return true;
}

bool takeSlice(std::string_view& text) { return take(text, "s") && takeNumber(text, 6); }

}  // namespace

std::optional<WallTime> wallTimeFromText(std::string_view text) {
  if (text.size() != std::string_view("2026-03-14T08:15:02Z").size()) return std::nullopt;
  int numbers[6] = {};
  constexpr std::string_view separators[6] = {"-", "-", "T", ":", ":", "Z"};
  for (int i = 0; i < 6; ++i) {
    const auto number = takeNumber(text, i == 0 ? 4 : 2);
    if (!number || !take(text, separators[i])) return std::nullopt;
    numbers[i] = *number;
  }
  const std::chrono::year_month_day date{std::chrono::year(numbers[0]),
                                         std::chrono::month(static_cast<unsigned>(numbers[1])),
                                         std::chrono::day(static_cast<unsigned>(numbers[2]))};
  if (!date.ok() || numbers[0] < 1970 || numbers[0] > 2199) return std::nullopt;
  if (numbers[3] > 23 || numbers[4] > 59 || numbers[5] > 59) return std::nullopt;
  return std::chrono::sys_days(date) + std::chrono::hours(numbers[3]) +
         std::chrono::minutes(numbers[4]) + std::chrono::seconds(numbers[5]);
}

std::optional<SystemVersion> versionFromText(std::string_view text) {
  int numbers[3] = {0, 0, 0};
  for (int i = 0; i < 3; ++i) {
    const auto number = takeNumber(text, 4);
    if (!number) return std::nullopt;
    numbers[i] = *number;
    if (text.empty()) return SystemVersion{numbers[0], numbers[1], numbers[2]};
    if (!take(text, ".")) return std::nullopt;
  }
  return std::nullopt;
}

std::optional<ThermalState> thermalStateFromText(std::string_view text) {
  if (text == "nominal") return ThermalState::nominal;
  if (text == "fair") return ThermalState::fair;
  if (text == "serious") return ThermalState::serious;
  if (text == "critical") return ThermalState::critical;
  return std::nullopt;
}

bool isWholeDiskName(std::string_view text) {
  return take(text, "disk") && takeNumber(text, 6) && text.empty();
}

bool isSliceName(std::string_view text, std::string_view whole) {
  if (!take(text, whole) || !takeSlice(text)) return false;
  return text.empty() || (takeSlice(text) && text.empty());
}

}  // namespace halvercine::platform::simulated
