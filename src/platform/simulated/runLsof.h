// lsof on the simulated Mac.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/simulated/SimulatedMachine.h"
#include "platform/simulated/ToolAnswer.h"

namespace halvercine::platform::simulated {

inline constexpr std::string_view lsofPath = "/usr/sbin/lsof";

/// Lists what processes have open, in field form (-F with any of p, c, f, n) or as bare numbers
/// (-t). Without names everything is listed; a name is a file, the raw device of a disk, its block
/// device (which stands for all files of the mounted volume as well), with +f the mount point of a
/// volume, or behind +D a folder. Options without an effect on these (-n, -P, -w, -b, -l) are
/// accepted. As the real tool, it answers 1 when a name was not found open, whatever it has
/// printed. Main actor.
ToolAnswer runLsof(const SimulatedMachine& machine, const std::vector<std::string>& arguments);

}  // namespace halvercine::platform::simulated
