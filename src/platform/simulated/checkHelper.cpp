// The program's bundle and the privileged helper of a scenario.
#include <algorithm>

#include "platform/simulated/SimulatedHelper.h"
#include "platform/simulated/checkScenario.h"

namespace halvercine::platform::simulated {
namespace {

Fault checkPermissions(const ScenarioPermissions& permissions, const std::string& place) {
  const auto isOctal = [](char digit) { return digit >= '0' && digit <= '7'; };
  const auto& mode = permissions.mode;
  if (!mode.empty() && mode.size() <= 4 && std::ranges::all_of(mode, isOctal)) return std::nullopt;
  return fault(below(place, "mode"), "expected up to four octal digits such as 755");
}

Fault checkSteps(const std::vector<ScenarioRegistrationStep>& steps, const std::string& place) {
  for (std::size_t i = 0; i < steps.size(); ++i) {
    const auto at = below(place, i);
    if (auto found = checkSeconds(steps[i].seconds, below(at, "seconds"))) return found;
    if (steps[i].hang && steps[i].error) {
      return fault(at, "does not answer when it hangs");
    }
  }
  return std::nullopt;
}

Fault checkCall(const ScenarioHelperCall& call, const std::string& place) {
  const auto names = helperSelectorNames();
  if (call.selector && std::ranges::find(names, *call.selector) == names.end()) {
    std::string known;
    for (const auto& name : names) known += (known.empty() ? "" : ", ") + name;
    return fault(below(place, "selector"), "expected one of: " + known);
  }
  if (call.times.value_or(1) < 1) return fault(below(place, "times"), "must be positive");
  const int ends = int{call.hang} + int{call.dies} + int{call.repeats} + int{call.misspeaks} +
                   int{call.error.has_value()};
  if (ends > 1) {
    return fault(place, "can end in one way only: hang, dies, repeats, misspeaks or error");
  }
  return checkSeconds(call.seconds, below(place, "seconds"));
}

}  // namespace

Fault checkHelper(const Scenario& scenario) {
  const auto& permissions = scenario.application.permissions;
  for (std::size_t i = 0; i < permissions.size(); ++i) {
    const auto place = below("application.permissions", i);
    if (auto found = checkPermissions(permissions[i], place)) return found;
  }
  if (auto found = checkSteps(scenario.helper.registers, "helper.registers")) return found;
  if (auto found = checkSteps(scenario.helper.unregisters, "helper.unregisters")) return found;
  for (std::size_t i = 0; i < scenario.helper.calls.size(); ++i) {
    if (auto found = checkCall(scenario.helper.calls[i], below("helper.calls", i))) return found;
  }
  return std::nullopt;
}

}  // namespace halvercine::platform::simulated
