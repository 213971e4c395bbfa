// The file-system module's records of BitLocker volumes.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "platform/Clock.h"
#include "platform/simulated/Scenario.h"
#include "platform/simulated/SharedContainer.h"

namespace halvercine::platform::simulated {

/// Writes a status file for every BitLocker volume that is plugged in, and rewrites it as locked
/// and ejected when the volume goes. The files themselves stay. Main actor.
class SimulatedBitLocker {
 public:
  SimulatedBitLocker(std::shared_ptr<Clock> clock, SharedContainer& container)
      : clock_(std::move(clock)), container_(container) {}

  void appeared(const ScenarioMedia& media, std::uint64_t deviceId);
  void lost(const std::string& disk);

 private:
  struct Volume {
    ScenarioBitLocker state;
    std::uint64_t deviceId = 0;
  };

  void write(const std::string& disk, const Volume& volume, bool isEjected);

  std::shared_ptr<Clock> clock_;
  SharedContainer& container_;
  std::map<std::string, Volume> volumes_;  // that are there, by BSD name
};

}  // namespace halvercine::platform::simulated
