// The behaviours that a scenario gives to command-line tools.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/simulated/Scenario.h"

namespace halvercine::platform::simulated {

/// How long a run takes about which the scenario says nothing.
inline constexpr double standardSeconds = 0.05;

/// Whether a tool with this behaviour does its work at all.
bool doesItsWork(const ScenarioTool& script);

class ToolScripts {
 public:
  explicit ToolScripts(std::vector<ScenarioTool> tools) : tools_(std::move(tools)) {}

  /// The behaviour of the next run: the first that matches and is not used up. One use is counted.
  /// Without one, the tool does its work.
  ScenarioTool next(std::string_view tool, const std::vector<std::string>& arguments);

 private:
  std::vector<ScenarioTool> tools_;  // `times` counts down
};

}  // namespace halvercine::platform::simulated
