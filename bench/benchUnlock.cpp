// From the module's answer being written to the program's having seen it, with the system's own
// watch on the folder. The poll alone would take up to 250 milliseconds.
#include <chrono>

#include <benchmark/benchmark.h>

#include "base/Localization.h"
#include "bitlocker/unlock/BitLockerUnlock.h"
#include "platform/linux/InotifyDirectoryWatcher.h"
#include "platform/simulated/SimulatedMac.h"

namespace {

using namespace halvercine;

platform::simulated::Scenario scenario() {
  return platform::simulated::readScenario(R"({"format": 1, "devices": [{"disk": "disk4",
      "volumes": [{"disk": "disk4s1", "bitLocker": {"unlock": {"takes": false}}}]}]})")
      .value();
}

void answerSeen(benchmark::State& state) {
  base::MainActor actor;
  platform::simulated::SimulatedMac mac(actor, scenario(),
                                        platform::simulated::ClockKind::realTime);
  auto ports = mac.takePlatform();
  ports.directoryWatcher = std::make_unique<platform::gnulinux::InotifyDirectoryWatcher>(actor);
  const base::Localization localization(base::Language::en);
  disks::DiskMonitor monitor(actor, ports, localization);
  const disks::DiskUtility utility(*ports.toolRunner, *ports.clock, *ports.mediaRegistry);
  const bitlocker::BitLockerMailbox mailbox(*ports.containers, *ports.clock);
  monitor.start();
  const auto& disk = *monitor.find("disk4s1");
  bitlocker::BitLockerUnlock unlock(
      {actor, ports, monitor, utility, [](const disks::Disk&) { return false; },
       [](std::string_view, std::string_view) {}},
      disk, monitor.deviceId(disk.id));
  auto answer = mailbox.readStatus(disk.bitLocker->guid).value();
  for (auto _ : state) {
    unlock.enterPassword(base::Secret("password"));
    unlock.submit();
    actor.runUntil([&] { return mailbox.pendingRequest(answer.guid).has_value(); });
    // Whatever the request itself has woken is over.
    const auto settled = ports.clock->uptime() + std::chrono::milliseconds(5);
    actor.runUntil([&] { return ports.clock->uptime() >= settled; });
    answer.state = "unlockFailed";
    answer.requestID = unlock.state().requestID;
    answer.timestamp = platform::secondsSince1970(ports.clock->now());
    const auto began = std::chrono::steady_clock::now();
    mailbox.writeStatus(answer);
    actor.runUntil([&] { return !unlock.state().busy; });
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - began;
    state.SetIterationTime(took.count());
  }
  actor.joinBackground();
}
BENCHMARK(answerSeen)->UseManualTime()->Iterations(100)->Unit(benchmark::kMicrosecond);

}  // namespace
