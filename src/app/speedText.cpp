#include "app/speedText.h"

#include <algorithm>
#include <array>
#include <cmath>

#include <boost/describe.hpp>
#include <fmt/format.h>

namespace halvercine::app {

std::string rateText(double value) { return fmt::format("{:.{}f}", value, value < 99.95 ? 1 : 0); }

std::string latencyText(double microseconds) {
  if (microseconds < 9'995) {
    return fmt::format("{:.{}f} µs", microseconds, microseconds < 99.95 ? 1 : 0);
  }
  if (microseconds < 9'995'000) {
    const auto milliseconds = microseconds / 1'000;
    return fmt::format("{:.{}f} ms", milliseconds, milliseconds < 99.95 ? 1 : 0);
  }
  return fmt::format("{:.1f} s", microseconds / 1'000'000);
}

std::string sparkline(const std::vector<speedtest::SpeedSample>& curve, std::size_t columns) {
  constexpr std::array bars = {"▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};
  if (curve.empty() || columns == 0) return "";
  const auto count = std::min(columns, curve.size());
  std::vector<double> rates(count);
  for (std::size_t column = 0; column < count; ++column) {
    const auto begin = column * curve.size() / count;
    const auto end = (column + 1) * curve.size() / count;
    for (auto sample = begin; sample < end; ++sample) rates[column] += curve[sample].mbps;
    rates[column] /= static_cast<double>(end - begin);
  }
  const auto most = std::ranges::max(rates);
  std::string line;
  for (const auto rate : rates) {
    const auto height = most > 0 ? rate / most * static_cast<double>(bars.size() - 1) : 0.0;
    line += bars.at(static_cast<std::size_t>(std::lround(height)));
  }
  return line;
}

std::string profileText(const CommandContext& context, speedtest::SpeedProfile profile) {
  return context.text(std::string("ui.speedtest.profile.") +
                      boost::describe::enum_to_string(profile, ""));
}

std::string directionText(const CommandContext& context, speedtest::SpeedDirection direction) {
  return context.text(std::string("ui.speedtest.direction.") +
                      boost::describe::enum_to_string(direction, ""));
}

}  // namespace halvercine::app
