// The result of a speed test, as text and as JSON.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <boost/json/object.hpp>

#include "app/SpeedTestTarget.h"
#include "app/commands.h"
#include "app/speedComparison.h"
#include "speedtest/SpeedPlan.h"
#include "speedtest/SpeedTestRunner.h"
#include "speedtest/speedVerdict.h"

namespace halvercine::app {

/// What there is to be shown.
struct SpeedReport {
  const SpeedTestTarget& target;
  const speedtest::SpeedPlan& plan;
  const speedtest::SpeedTestRunner& runner;  ///< its run is over
  const std::optional<EarlierSpeed>& earlier;

  std::vector<speedtest::VerdictCard> cards() const;
};

std::string speedReportText(const CommandContext& context, const SpeedReport& report);

/// The localization key of what has to be said of the page cache; null when nothing has to be.
const char* cacheRemark(const speedtest::SpeedTestRunner& runner);

boost::json::object speedReportJson(const CommandContext& context, const SpeedReport& report);

}  // namespace halvercine::app
