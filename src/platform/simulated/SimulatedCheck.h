// How the simulated file-system module checks volumes.
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "platform/Clock.h"
#include "platform/simulated/Scenario.h"
#include "platform/simulated/SharedContainer.h"

namespace halvercine::platform::simulated {

class SimulatedMachine;

/// Takes the requests for volumes that have a `check` in the scenario, are mounted and are served
/// by the module; writes frames and a report, heeds the flags, and goes wrong where the scenario
/// says so. Main actor, except where it says otherwise.
class SimulatedCheck {
 public:
  SimulatedCheck(SimulatedMachine& machine, std::shared_ptr<Clock> clock,
                 SharedContainer& container)
      : machine_(machine), clock_(std::move(clock)), container_(container) {}
  ~SimulatedCheck();
  SimulatedCheck(const SimulatedCheck&) = delete;
  SimulatedCheck& operator=(const SimulatedCheck&) = delete;

  /// The module looks for requests a moment later. It has no timer of its own: simulated time would
  /// never come to rest. Any thread.
  void lookSoon();

  /// A number for the process with this pid that no other process gets, while it lives. Any thread.
  std::optional<std::uint64_t> startTime(std::int32_t pid) const;

  void appeared(const ScenarioMedia& media);
  void unmounted(const std::string& disk);
  void lost(const std::string& disk);

 private:
  struct Run {
    ScenarioMedia media;
    ScenarioCheck settings;
    bool repair = false;
    std::int32_t pid = 0;
    Uptime worked{0};
    int writings = 0;
    TimerId timer = 0;
    TimerId death = 0;
  };

  void look();
  bool mayTake(const std::string& disk, const ScenarioCheck& settings) const;
  void take(const std::string& disk);
  void work(const std::string& disk);
  void writeFrame(const std::string& disk, Run& run);
  void finish(const std::string& disk, bool isCancelled);
  void writeReport(const std::string& disk, const std::string& text, int writing);
  void die(const std::string& disk);
  void endRun(const std::string& disk);
  void later(const std::string& disk, double seconds, std::function<void()> action);
  bool hasFile(const std::string& name) const;

  SimulatedMachine& machine_;
  std::shared_ptr<Clock> clock_;
  SharedContainer& container_;
  std::map<std::string, ScenarioCheck> volumes_;  // that are there, by BSD name
  std::atomic<bool> hasVolumes_{false};
  std::atomic<bool> isLooking_{false};
  TimerId looking_ = 0;
  std::map<std::string, TimerId> taking_;  // requests that are about to be taken
  std::map<std::string, Run> runs_;
  std::map<std::string, std::int64_t> deaths_;
  std::int32_t lastPid_ = 4200;

  mutable std::mutex mutex_;
  std::map<std::int32_t, std::uint64_t> processes_;  // that live, with their start times
  std::uint64_t starts_ = 0;
};

}  // namespace halvercine::platform::simulated
