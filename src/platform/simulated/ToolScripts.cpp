#include "platform/simulated/ToolScripts.h"

#include <algorithm>
#include <ranges>

namespace halvercine::platform::simulated {
namespace {

bool matches(const ScenarioTool& script, std::string_view tool,
             const std::vector<std::string>& arguments) {
  if (script.times == 0 || (script.tool && *script.tool != tool)) return false;
  if (script.match.size() > arguments.size()) return false;
  return std::ranges::equal(script.match, arguments | std::views::take(script.match.size()));
}

}  // namespace

bool doesItsWork(const ScenarioTool& script) {
  if (script.then) return *script.then == "do";
  return !script.status && !script.text && !script.errors && !script.signal && !script.hang;
}

ScenarioTool ToolScripts::next(std::string_view tool, const std::vector<std::string>& arguments) {
  for (auto& script : tools_) {
    if (!matches(script, tool, arguments)) continue;
    if (script.times) --*script.times;
    return script;
  }
  return {};
}

}  // namespace halvercine::platform::simulated
