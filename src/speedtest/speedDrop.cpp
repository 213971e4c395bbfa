#include "speedtest/speedDrop.h"

#include <algorithm>

namespace halvercine::speedtest {
namespace {

constexpr double skippedSeconds = 1.0;
constexpr double leastSeconds = 20.0;
constexpr double dropRatio = 0.6;

/// The mean rate between two times, each interval by the part of it that lies between them.
double meanRate(const std::vector<SpeedSample>& curve, double from, double to) {
  double megabytes = 0;
  double covered = 0;
  double begin = 0;
  for (const auto& sample : curve) {
    const auto part = std::min(sample.seconds, to) - std::max(begin, from);
    if (part > 0) {
      megabytes += sample.mbps * part;
      covered += part;
    }
    begin = sample.seconds;
  }
  return covered > 0 ? megabytes / covered : 0;
}

}  // namespace

std::optional<SpeedDrop> speedDrop(const std::vector<SpeedSample>& curve) {
  if (curve.empty() || curve.back().seconds < leastSeconds) return std::nullopt;
  const auto end = curve.back().seconds;
  const auto quarter = (end - skippedSeconds) / 4;
  const SpeedDrop drop{meanRate(curve, skippedSeconds, skippedSeconds + quarter),
                       meanRate(curve, end - quarter, end)};
  if (!(drop.late < drop.early * dropRatio)) return std::nullopt;
  return drop;
}

}  // namespace halvercine::speedtest
