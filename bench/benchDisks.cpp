// Refreshing the list of disks, and the JSON of disks and reports, each beside the least that it
// can take: asking the machine for its descriptions, and the JSON library at work on the same text.
#include <chrono>
#include <fstream>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

#include <benchmark/benchmark.h>
#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>

#include "base/Json.h"
#include "base/Localization.h"
#include "base/MainActor.h"
#include "disks/DiskMonitor.h"
#include "disks/enumerateDisks.h"
#include "mount/MountAccessReport.h"
#include "platform/simulated/SimulatedMac.h"

namespace {

using namespace halvercine;
namespace simulated = platform::simulated;

/// Half of the disks are whole ones, each with one mounted NTFS volume that has a report.
simulated::Scenario scenarioOf(std::int64_t count) {
  simulated::Scenario scenario;
  for (std::int64_t number = 0; number < count / 2; ++number) {
    simulated::ScenarioDevice device;
    device.disk = "disk" + std::to_string(4 + number);
    simulated::ScenarioMedia volume;
    volume.disk = device.disk + "s1";
    volume.kind = "ntfs";
    volume.name = "Volume " + std::to_string(number);
    volume.mount.emplace();
    volume.report.emplace();
    device.volumes.push_back(std::move(volume));
    scenario.devices.push_back(std::move(device));
  }
  return scenario;
}

struct Machine {
  explicit Machine(std::int64_t count)
      : mac(actor, scenarioOf(count), simulated::ClockKind::virtualTime),
        platform(mac.takePlatform()) {}
  ~Machine() { actor.joinBackground(); }
  Machine(const Machine&) = delete;
  Machine& operator=(const Machine&) = delete;

  /// Runs what is due, without letting time pass.
  void settle() { mac.advance(platform::Uptime(0)); }

  base::MainActor actor;
  simulated::SimulatedMac mac;
  platform::Platform platform;
  base::Localization localization{base::Language::en};
};

/// The time of one disk; it stays the same however many there are.
void countDisks(benchmark::State& state) {
  state.counters["perDisk"] =
      benchmark::Counter(static_cast<double>(state.iterations() * state.range(0)),
                         benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void askingForDescriptions(benchmark::State& state) {
  Machine machine(state.range(0));
  const auto session = machine.platform.diskArbitration->createSession();
  const auto media = disks::allMedia(*machine.platform.mediaRegistry);
  for (auto _ : state) {
    for (const auto& medium : media) benchmark::DoNotOptimize(session->describe(medium.bsdName));
  }
  countDisks(state);
}

void enumeratingAndDescribing(benchmark::State& state) {
  Machine machine(state.range(0));
  const auto session = machine.platform.diskArbitration->createSession();
  const disks::DiskDescriptor descriptor(machine.platform, machine.localization);
  for (auto _ : state) {
    const auto media = disks::allMedia(*machine.platform.mediaRegistry);
    const auto found = disks::describeDisks(descriptor, *session, media, {});
    if (found.size() != static_cast<std::size_t>(state.range(0))) {
      state.SkipWithError("disks are missing");
    }
  }
  countDisks(state);
}

void refreshingTheMonitor(benchmark::State& state) {
  Machine machine(state.range(0));
  disks::DiskMonitor monitor(machine.actor, machine.platform, machine.localization);
  monitor.start();
  for (auto _ : state) monitor.refresh();
  if (monitor.disks().size() != static_cast<std::size_t>(state.range(0))) {
    state.SkipWithError("disks are missing");
  }
  countDisks(state);
}

/// 1,000 events at once, until the monitor has caught up with them.
void refreshStorm(benchmark::State& state) {
  constexpr int events = 1'000;
  Machine machine(state.range(0));
  disks::DiskMonitor monitor(machine.actor, machine.platform, machine.localization);
  monitor.start();
  machine.settle();
  const auto before = monitor.refreshRevision();
  bool isProtected = false;
  for (auto _ : state) {
    for (int event = 0; event < events; ++event) {
      const auto number = event % (state.range(0) / 2);
      if (number == 0) isProtected = !isProtected;
      machine.mac.machine().setProtected("disk" + std::to_string(4 + number) + "s1", isProtected);
    }
    machine.settle();
  }
  state.counters["refreshes"] = benchmark::Counter(
      static_cast<double>(monitor.refreshRevision() - before), benchmark::Counter::kAvgIterations);
  state.SetItemsProcessed(state.iterations() * events);
}

/// The memory of this process that is in use, in KiB.
double memoryInUse() {
  std::ifstream statm("/proc/self/statm");
  long total = 0;
  long resident = 0;
  statm >> total >> resident;
  return static_cast<double>(resident) * static_cast<double>(::sysconf(_SC_PAGESIZE)) / 1024;
}

/// A disk that comes and goes 10,000 times, each time followed by the monitor.
void plugsAndUnplugs(benchmark::State& state) {
  constexpr int times = 10'000;
  Machine machine(10);
  disks::DiskMonitor monitor(machine.actor, machine.platform, machine.localization);
  monitor.start();
  const auto comeAndGo = [&machine] {
    machine.mac.machine().unplug("disk4");
    machine.settle();
    machine.mac.machine().plug("disk4");
    machine.settle();
  };
  for (int warmUp = 0; warmUp < 100; ++warmUp) comeAndGo();
  double growth = 0;
  for (auto _ : state) {
    const double before = memoryInUse();
    for (int time = 0; time < times; ++time) comeAndGo();
    growth = memoryInUse() - before;
  }
  state.counters["growth_KiB"] = growth;
  state.SetItemsProcessed(state.iterations() * times * 2);
}

const mount::MountAccessReport someReport{.deviceID = 0x1'0000'0310,
                                          .bootSession = "5B1C0D7E-2F64-4C0B-9A53-7E1D8C2A4F90",
                                          .timestamp = 1'760'000'000.125,
                                          .reason = mount::ReadOnlyReason::readWrite,
                                          .ownerID = "0C2B7A4E-6D1F-4B55-9E0A-3F6C8D2E1B77"};

void parsingAReportAlone(benchmark::State& state) {
  const auto text = base::encodeJson(someReport);
  for (auto _ : state) benchmark::DoNotOptimize(boost::json::parse(text));
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

void decodingAReport(benchmark::State& state) {
  const auto text = base::encodeJson(someReport);
  for (auto _ : state) {
    const auto report = base::decodeJson<mount::MountAccessReport>(text);
    if (report != someReport) state.SkipWithError("the report reads otherwise");
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

std::vector<disks::Disk> disksOf(std::int64_t count) {
  Machine machine(count);
  const auto session = machine.platform.diskArbitration->createSession();
  const disks::DiskDescriptor descriptor(machine.platform, machine.localization);
  return disks::describeDisks(descriptor, *session,
                              disks::allMedia(*machine.platform.mediaRegistry), {});
}

void serializingDisksAlone(benchmark::State& state) {
  const auto value = base::toJson(disksOf(state.range(0)));
  std::int64_t bytes = 0;
  for (auto _ : state) bytes += static_cast<std::int64_t>(boost::json::serialize(value).size());
  state.SetBytesProcessed(bytes);
}

void encodingDisks(benchmark::State& state) {
  const auto list = disksOf(state.range(0));
  std::int64_t bytes = 0;
  for (auto _ : state) bytes += static_cast<std::int64_t>(base::encodeJson(list).size());
  state.SetBytesProcessed(bytes);
}

void printingDisks(benchmark::State& state) {
  const auto list = disksOf(state.range(0));
  std::int64_t bytes = 0;
  for (auto _ : state) {
    bytes += static_cast<std::int64_t>(base::prettyJson(base::toJson(list)).size());
  }
  state.SetBytesProcessed(bytes);
}

BENCHMARK(askingForDescriptions)->Arg(10)->Arg(100)->Arg(1'000)->Unit(benchmark::kMicrosecond);
BENCHMARK(enumeratingAndDescribing)->Arg(10)->Arg(100)->Arg(1'000)->Unit(benchmark::kMicrosecond);
BENCHMARK(refreshingTheMonitor)->Arg(10)->Arg(100)->Arg(1'000)->Unit(benchmark::kMicrosecond);
BENCHMARK(plugsAndUnplugs)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(refreshStorm)->Arg(10)->Arg(1'000)->Unit(benchmark::kMicrosecond);
BENCHMARK(parsingAReportAlone);
BENCHMARK(decodingAReport);
BENCHMARK(serializingDisksAlone)->Arg(1'000)->Unit(benchmark::kMicrosecond);
BENCHMARK(encodingDisks)->Arg(1'000)->Unit(benchmark::kMicrosecond);
BENCHMARK(printingDisks)->Arg(1'000)->Unit(benchmark::kMicrosecond);

}  // namespace
