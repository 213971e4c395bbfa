// The AppleScript runner of the simulated Mac.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/simulated/SimulatedMachine.h"
#include "platform/simulated/ToolAnswer.h"

namespace halvercine::platform::simulated {

inline constexpr std::string_view osascriptPath = "/usr/bin/osascript";

/// A run that has been prepared: how it behaves, and what it does at its end.
struct PreparedRun {
  ScenarioTool script;
  std::function<ToolAnswer()> perform;
};

/// Reads a script of the form `do shell script "…" with administrator privileges`, with or without
/// a prompt, and its commands: the check tool and `echo`, with quoted words and `$?`, or the
/// installation of the helper. `script` is the behaviour of osascript;
/// when it does its work, what the scenario says of the check tool is added: its time comes on top,
/// and a tool that hangs holds the whole run. Main actor.
PreparedRun prepareOsascript(SimulatedMachine& machine, const std::vector<std::string>& arguments,
                             ScenarioTool script);

}  // namespace halvercine::platform::simulated
