#include "platform/simulated/strictJson.h"

namespace halvercine::platform::simulated {

std::expected<Scenario, ScenarioError> readScenario(std::string_view text) {
  const auto value = base::parseJson(text);
  if (!value) return std::unexpected(ScenarioError{"not JSON: " + value.error().message});
  Scenario scenario;
  if (auto found = readStrictly(*value, "", scenario)) return std::unexpected(std::move(*found));
  if (auto found = findScenarioFault(scenario)) return std::unexpected(std::move(*found));
  return scenario;
}

}  // namespace halvercine::platform::simulated
