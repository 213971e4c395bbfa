// Processes, tools and files of a scenario.
#include <algorithm>
#include <array>
#include <filesystem>
#include <string_view>

#include "platform/simulated/checkScenario.h"
#include "platform/simulated/scenarioTexts.h"

namespace halvercine::platform::simulated {
namespace {

constexpr double longest = 366.0 * 24 * 3600;

/// What the memory of a small machine bears in one text.
constexpr std::int64_t mostMegabytes = 1024;

bool isDeviceName(std::string_view name) {
  if (name.starts_with('r')) name.remove_prefix(1);
  const auto slice = name.find('s', 4);
  return isWholeDiskName(name) ||
         (slice != std::string_view::npos && isSliceName(name, name.substr(0, slice)));
}

Fault checkTool(const ScenarioTool& tool, const std::string& place) {
  constexpr std::array<std::string_view, 5> known{"diskutil", "lsof", "osascript",
                                                  "fsck_halvercine", "launchctl"};
  if (tool.tool && std::ranges::find(known, *tool.tool) == known.end()) {
    return fault(below(place, "tool"),
                 "expected one of: diskutil, lsof, osascript, fsck_halvercine, launchctl");
  }
  if (tool.times.value_or(1) < 1) return fault(below(place, "times"), "must be positive");
  if (auto found = checkSeconds(tool.seconds.value_or(0), below(place, "seconds"))) return found;
  const auto isWithin = [](std::int64_t value, std::int64_t least, std::int64_t most) {
    return value >= least && value <= most;
  };
  if (!isWithin(tool.status.value_or(0), 0, 255)) {
    return fault(below(place, "status"), "expected a number from 0 to 255");
  }
  if (!isWithin(tool.signal.value_or(1), 1, 31)) {
    return fault(below(place, "signal"), "expected a number from 1 to 31");
  }
  if (!isWithin(tool.megabytes.value_or(0), 0, mostMegabytes)) {
    return fault(below(place, "megabytes"), "expected a number from 0 to 1024");
  }
  if (tool.then && *tool.then != "do" && *tool.then != "nothing") {
    return fault(below(place, "then"), "expected one of: do, nothing");
  }
  if (std::ranges::count(std::array{tool.status.has_value(), tool.signal.has_value(), tool.hang},
                         true) > 1) {
    return fault(place, "can end in one way only: status, signal or hang");
  }
  const bool runs = tool.seconds || tool.status || tool.text || tool.errors || tool.signal ||
                    tool.hang || tool.ignoresTerminate || tool.megabytes || tool.then;
  if (tool.startError && runs) return fault(place, "does nothing after a startError");
  return std::nullopt;
}

Fault checkFile(const std::string& name, bool isFolder, const std::string& place) {
  if (!name.starts_with('/') && !name.starts_with("~/")) {
    return fault(place, "expected an absolute path or one below ~/");
  }
  if (!isFolder && name.ends_with('/')) return fault(place, "a file cannot end with a slash");
  for (const auto& part : std::filesystem::path(name)) {
    if (part == "..") return fault(place, "must not hold ..");
  }
  if (name.find('\0') != std::string::npos) return fault(place, "must not hold a zero");
  return std::nullopt;
}

}  // namespace

Fault checkSeconds(double seconds, const std::string& place) {
  if (seconds >= 0 && seconds <= longest) return std::nullopt;
  return fault(place, "expected seconds from 0 to a year");
}

Fault checkOpen(const std::vector<std::string>& files, const std::vector<std::string>& devices,
                const std::string& place) {
  for (std::size_t i = 0; i < files.size(); ++i) {
    if (files[i].starts_with('/')) continue;
    return fault(below(below(place, "files"), i), "expected an absolute path");
  }
  for (std::size_t i = 0; i < devices.size(); ++i) {
    if (isDeviceName(devices[i])) continue;
    return fault(below(below(place, "devices"), i),
                 "expected a BSD name such as disk4s1 or rdisk4s1");
  }
  return std::nullopt;
}

Fault checkProcess(const ScenarioProcess& process, const std::string& place) {
  if (process.pid < 1) return fault(below(place, "pid"), "must be positive");
  if (process.command.empty()) return fault(below(place, "command"), "must not be empty");
  return checkOpen(process.files, process.devices, place);
}

Fault checkTools(const Scenario& scenario) {
  for (std::size_t i = 0; i < scenario.tools.size(); ++i) {
    if (auto found = checkTool(scenario.tools[i], below("tools", i))) return found;
  }
  for (const auto& [name, text] : scenario.files) {
    const auto place = "files['" + name + "']";
    if (auto found = checkFile(name, !text, place)) return found;
    for (auto slash = name.find('/', 2); slash != std::string::npos;
         slash = name.find('/', slash + 1)) {
      const auto above = scenario.files.find(name.substr(0, slash));
      if (above != scenario.files.end() && above->second) return fault(place, "is below a file");
    }
  }
  return std::nullopt;
}

}  // namespace halvercine::platform::simulated
