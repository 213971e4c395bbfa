// Whether writing slows down over time.
#pragma once

#include <optional>
#include <vector>

#include "speedtest/SpeedCellResult.h"

namespace halvercine::speedtest {

struct SpeedDrop {
  double early = 0;  ///< MB/s
  double late = 0;

  bool operator==(const SpeedDrop&) const = default;
};

/// Looks at a curve without its first 1.0 s: the mean of its first quarter against that of its
/// last. A drop is a late rate of less than 0.6 of the early one. Nothing for a curve of less than
/// 20.0 s: a quarter of it could be one hiccup.
std::optional<SpeedDrop> speedDrop(const std::vector<SpeedSample>& curve);

}  // namespace halvercine::speedtest
