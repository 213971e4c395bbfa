// The check tool of the simulated Mac.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/simulated/SimulatedMachine.h"
#include "platform/simulated/ToolAnswer.h"

namespace halvercine::platform::simulated {

inline constexpr std::string_view checkToolName = "fsck_halvercine";
inline constexpr std::string_view checkToolPath =
    "/Applications/Halvercine.app/Contents/Resources/fsck_halvercine";

/// Checks ("-n") or repairs ("-y") the volume of a raw device, "/dev/rdisk4s1", and prints one line
/// of JSON: the report, or why there is none. Nothing on the machine changes. Main actor.
ToolAnswer runCheckTool(const SimulatedMachine& machine, const std::vector<std::string>& arguments);

/// The report on a volume, one JSON object without an end of line. A repair repairs every finding
/// that can be repaired.
std::string checkReportText(const ScenarioMedia& media, bool isRepair);

}  // namespace halvercine::platform::simulated
