// An earlier result of a speed test, to be set beside a new one.
#pragma once

#include <expected>
#include <optional>
#include <string>
#include <vector>

#include "base/LocalizedText.h"
#include "speedtest/SpeedCellResult.h"

namespace halvercine::app {

struct EarlierSpeed {
  std::string tier;
  std::vector<speedtest::SpeedCellResult> results;

  /// What was measured in the same cell.
  const speedtest::SpeedCellResult* of(const speedtest::SpeedCellResult& result) const;
};

/// Reads what `speedtest --json` has printed.
std::expected<EarlierSpeed, base::LocalizedText> readEarlierSpeed(const std::string& path);

/// By how many percent `now` is more than `earlier`; nothing when that was 0.
std::optional<double> percentMore(double now, double earlier);

}  // namespace halvercine::app
