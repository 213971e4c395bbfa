// What the file-system module leaves in the shared container about a mount.
#pragma once

#include <cstdint>
#include <string>

#include "platform/Clock.h"
#include "platform/simulated/Scenario.h"

namespace halvercine::platform::simulated {

/// The report's file name in the container.
std::string moduleReportName(const std::string& disk);

/// The report's text, written at `now` for the medium with the given entry ID.
std::string moduleReportText(const ScenarioReport& report, std::uint64_t entryId,
                             const std::string& bootSession, WallTime now);

}  // namespace halvercine::platform::simulated
