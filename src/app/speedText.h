// Figures of a speed test for people.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "app/commands.h"
#include "speedtest/SpeedCellResult.h"

namespace halvercine::app {

/// With one decimal below 100: "0.4", "12.3", "512".
std::string rateText(double value);

/// Microseconds, milliseconds or seconds, whichever reads well.
std::string latencyText(double microseconds);

/// The rates as a row of at most `columns` bars; several samples share one where there are more.
/// The highest bar is the highest rate.
std::string sparkline(const std::vector<speedtest::SpeedSample>& curve, std::size_t columns);

/// "Sequential 1 MiB ×8"; "writing".
std::string profileText(const CommandContext& context, speedtest::SpeedProfile profile);
std::string directionText(const CommandContext& context, speedtest::SpeedDirection direction);

}  // namespace halvercine::app
