// A simulated Mac of a test of the privileged helper.
#pragma once

#include <string>

#include "base/spawn.h"
#include "helper/HelperClient.h"
#include "helper/HelperRegistration.h"
#include "platform/simulated/ScenarioMachine.h"
#include "platform/simulated/SimulatedMachine.h"
#include "support/runTask.h"

namespace halvercine::tests {

struct HelperMachine : ScenarioMachine {
  /// `helper` has the members of the scenario's helper, `rest` further members of the scenario.
  explicit HelperMachine(const std::string& helper, const std::string& rest = "")
      : ScenarioMachine(rest + (rest.empty() ? "" : ", ") + R"("helper": {)" + helper + "}") {}

  /// The lines of the system log so far.
  std::string logged() {
    std::string text;
    for (const auto& entry : mac.machine().log().lines()) text += entry.text + '\n';
    return text;
  }

  std::string setting(const std::string& key) const {
    const auto value = platform.userDefaults->value(key);
    const auto* text = value ? value->as<std::string>() : nullptr;
    return text ? *text : "";
  }

  helper::HelperClient client{platform};
  helper::HelperRegistration registration{actor, platform, client};
};

}  // namespace halvercine::tests
