// diskutil on the simulated Mac.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/simulated/SimulatedMachine.h"
#include "platform/simulated/ToolAnswer.h"

namespace halvercine::platform::simulated {

inline constexpr std::string_view diskutilPath = "/usr/sbin/diskutil";

/// Does what the arguments ask for (info, mount, unmount) and answers in the real tool's form:
/// success on standard output, failure on standard error. Main actor.
ToolAnswer runDiskutil(SimulatedMachine& machine, const std::vector<std::string>& arguments);

/// What `diskutil info` prints of a medium.
std::string diskutilInfo(const SimulatedMachine& machine, const MediaView& view);

}  // namespace halvercine::platform::simulated
