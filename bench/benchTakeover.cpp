// From a volume's coming to the command that mounts it again: the program's own share, on a
// simulated Mac whose tools answer at once.
#include <chrono>
#include <string>

#include <benchmark/benchmark.h>

#include "base/Localization.h"
#include "mount/takeover/AutomaticTakeover.h"
#include "platform/simulated/SimulatedMac.h"

namespace {

using namespace halvercine;

platform::simulated::Scenario scenario() {
  return platform::simulated::readScenario(R"({"format": 1, "tools": [{"seconds": 0}], "devices": [
      {"disk": "disk4", "plugged": false, "volumes": [{"disk": "disk4s1", "kind": "ntfs",
       "name": "Data", "mount": {"readOnly": true}}]}]})")
      .value();
}

/// Tells when the tool is asked to mount.
class MountWatch : public platform::ToolRunner {
 public:
  explicit MountWatch(platform::ToolRunner& runner) : runner_(runner) {}

  std::expected<std::unique_ptr<platform::ToolProcess>, std::string> start(
      const platform::ToolInvocation& invocation, platform::ToolEvents events) override {
    hasMounted |= invocation.arguments.front() == "mount";
    return runner_.start(invocation, std::move(events));
  }

  bool hasMounted = false;

 private:
  platform::ToolRunner& runner_;
};

void takeover(benchmark::State& state, platform::simulated::ClockKind clock) {
  for (auto _ : state) {
    base::MainActor actor;
    platform::simulated::SimulatedMac mac(actor, scenario(), clock);
    const auto ports = mac.takePlatform();
    const base::Localization localization(base::Language::en);
    disks::DiskMonitor monitor(actor, ports, localization);
    MountWatch tools(*ports.toolRunner);
    const disks::DiskUtility utility(tools, *ports.clock, *ports.mediaRegistry);
    mount::AutomaticTakeover automatic(
        {actor, ports, monitor, utility, localization,
         [](const disks::Disk&, platform::WallTime) { return false; },
         [](const std::string&) { return false; }, [](std::string_view, std::string_view) {}});
    monitor.start();
    automatic.start();
    actor.runUntil([done = 0]() mutable { return done++ > 0; });
    const auto began = std::chrono::steady_clock::now();
    mac.machine().plug("disk4");
    actor.runUntil([&tools] { return tools.hasMounted; });
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - began;
    state.SetIterationTime(took.count());
    actor.joinBackground();
  }
}
BENCHMARK_CAPTURE(takeover, virtualTime, platform::simulated::ClockKind::virtualTime)
    ->UseManualTime()
    ->Iterations(200)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(takeover, realTime, platform::simulated::ClockKind::realTime)
    ->UseManualTime()
    ->Iterations(200)
    ->Unit(benchmark::kMicrosecond);

}  // namespace
