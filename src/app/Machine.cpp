#include "app/Machine.h"

#include <chrono>
#include <utility>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "app/readUserFile.h"
#include "base/Resources.h"
#include "base/Text.h"
#include "platform/simulated/SimulatedMac.h"
#ifdef __linux__
#include "platform/linux/makeLinuxPlatform.h"
#elif defined(__APPLE__)
#include "platform/macos/makeMacPlatform.h"
#endif

namespace halvercine::app {
namespace {

namespace simulated = platform::simulated;

// Far above any scenario that somebody writes or generates.
constexpr std::size_t scenarioLimit = 64 * 1024 * 1024;

std::string bundledScenarios() {
  constexpr std::string_view folder = "scenarios/";
  auto names = base::resourcesBelow(folder);
  for (auto& name : names) name = name.substr(folder.size(), name.rfind('.') - folder.size());
  return fmt::format("{}", fmt::join(names, ", "));
}

std::expected<simulated::Scenario, std::string> loadScenario(const std::string& name) {
  const auto bundled = base::resource("scenarios/" + name + ".json");
  std::string text;
  if (bundled) {
    text = *bundled;
  } else {
    auto content = readUserFile(name, scenarioLimit);
    if (!content) {
      return std::unexpected(base::displayText(name) + ": " + content.error() +
                             "\nThe bundled scenarios: " + bundledScenarios());
    }
    text = std::move(*content);
  }
  auto scenario = simulated::readScenario(text);
  if (!scenario) {
    return std::unexpected(base::displayText(name + ": " + scenario.error().message));
  }
  return std::move(*scenario);
}

}  // namespace

Machine::Machine() = default;

Machine::~Machine() {
  // Background work uses the ports.
  actor_.joinBackground();
}

std::expected<std::unique_ptr<Machine>, std::string> Machine::make(const Options& options) {
  auto machine = std::make_unique<Machine>();
  if (!options.scenario) {
#ifdef __linux__
    machine->platform_ = platform::gnulinux::makeLinuxPlatform(machine->actor_);
    return machine;
#elif defined(__APPLE__)
    machine->platform_ = platform::macos::makeMacPlatform(machine->actor_);
    return machine;
#else
    return std::unexpected("this system is not supported; try --simulate");
#endif
  }
  auto scenario = loadScenario(*options.scenario);
  if (!scenario) return std::unexpected(std::move(scenario.error()));
  const auto clock =
      options.runsOnRealTime() ? simulated::ClockKind::realTime : simulated::ClockKind::virtualTime;
  machine->simulated_ =
      std::make_unique<simulated::SimulatedMac>(machine->actor_, std::move(*scenario), clock);
  machine->platform_ = machine->simulated_->takePlatform();
  const auto passed = std::chrono::duration<double>(options.at);
  machine->simulated_->advance(std::chrono::duration_cast<platform::Uptime>(passed));
  return machine;
}

}  // namespace halvercine::app
