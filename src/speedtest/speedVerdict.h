// What the figures of a speed test mean, in cards.
#pragma once

#include <optional>
#include <vector>

#include "base/LocalizedText.h"
#include "speedtest/SpeedCellResult.h"

namespace halvercine::speedtest {

struct VerdictCard {
  base::LocalizedText title;
  base::LocalizedText detail;
  bool isHeadline = false;

  bool operator==(const VerdictCard&) const = default;
};

/// What is judged.
struct SpeedFindings {
  std::vector<SpeedCellResult> results;
  std::vector<SpeedSample> writeCurve;
  std::optional<SpeedTestEnvironment> environment;
  /// Nothing when there is no record of the disk: it then counts neither as a hard disk nor as
  /// solid-state.
  std::optional<bool> isSolidState;
};

/// The cards in the order in which they are shown; none unless the sequential cells of queue depth
/// 8 have been measured.
std::vector<VerdictCard> speedVerdict(const SpeedFindings& findings);

}  // namespace halvercine::speedtest
