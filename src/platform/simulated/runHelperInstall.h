// The administrator's installation of the helper on the simulated Mac.
#pragma once

#include <string_view>

#include "platform/simulated/SimulatedMachine.h"
#include "platform/simulated/ToolAnswer.h"

namespace halvercine::platform::simulated {

/// Whether a shell command is the installation: one that copies, compares and runs a script.
bool isHelperInstall(std::string_view command);

/// What the command comes to: the script's text is compared with that in the command, and its
/// property list is written. How launchctl takes that, the scenario's tools say. Main actor.
ToolAnswer runHelperInstall(SimulatedMachine& machine, std::string_view command);

}  // namespace halvercine::platform::simulated
