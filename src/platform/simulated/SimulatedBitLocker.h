// The file-system module's records of BitLocker volumes.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "platform/Clock.h"
#include "platform/simulated/Scenario.h"
#include "platform/simulated/SharedContainer.h"

namespace halvercine::platform::simulated {

class SimulatedMachine;
struct UnlockRequestRecord;

/// Writes a status file for every BitLocker volume that is plugged in, and rewrites it as locked
/// and ejected when the volume goes. The files themselves stay. It takes the requests to unlock a
/// volume, answers them, and goes wrong where the scenario says so. Main actor, except where it
/// says otherwise.
class SimulatedBitLocker {
 public:
  SimulatedBitLocker(SimulatedMachine& machine, std::shared_ptr<Clock> clock,
                     SharedContainer& container)
      : machine_(machine), clock_(std::move(clock)), container_(container) {}
  ~SimulatedBitLocker();
  SimulatedBitLocker(const SimulatedBitLocker&) = delete;
  SimulatedBitLocker& operator=(const SimulatedBitLocker&) = delete;

  /// The module looks for requests a moment later. It has no timer of its own: simulated time would
  /// never come to rest. Any thread.
  void lookSoon();

  void appeared(const ScenarioMedia& media, std::uint64_t deviceId);
  void lost(const std::string& disk);

 private:
  struct Volume {
    ScenarioBitLocker state;
    std::uint64_t deviceId = 0;
    std::optional<std::string> requestID{};  // of the last answer
    TimerId timer = 0;                       // of the request under way
  };

  void look();
  void take(const std::string& disk);
  void answer(const std::string& disk, const UnlockRequestRecord& request);
  void open(const std::string& disk, bool readOnly);
  void later(const std::string& disk, double seconds, std::function<void()> action);
  bool hasRequest(const Volume& volume) const;
  void write(const std::string& disk, const Volume& volume, bool isEjected);

  SimulatedMachine& machine_;
  std::shared_ptr<Clock> clock_;
  SharedContainer& container_;
  std::map<std::string, Volume> volumes_;  // that are there, by BSD name
  std::atomic<bool> hasVolumes_{false};
  std::atomic<bool> isLooking_{false};
  TimerId looking_ = 0;
};

}  // namespace halvercine::platform::simulated
