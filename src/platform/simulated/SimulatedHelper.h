// The privileged helper of the simulated Mac, and the service management that starts it.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "platform/Clock.h"
#include "platform/DaemonServices.h"
#include "platform/HelperTransport.h"
#include "platform/simulated/ScenarioHelper.h"
#include "platform/simulated/SimulatedFolders.h"

namespace halvercine::platform::simulated {

/// A selector's name as the protocol spells its beginning: "createBitLocker", …
std::vector<std::string> helperSelectorNames();

/// Everything happens on the main actor, after the time that the scenario gives to it.
class SimulatedHelper {
 public:
  SimulatedHelper(const SimulatedFolders& folders, std::shared_ptr<Clock> clock,
                  ScenarioHelper scenario)
      : folders_(folders), clock_(std::move(clock)), scenario_(std::move(scenario)) {}

  DaemonStatus status() const;
  void registerDaemon(DaemonStepEnd ended);
  void unregisterDaemon(DaemonStepEnd ended);

  /// Whether somebody listens: the daemon may run, or the administrator has installed it.
  bool isReachable() const;
  bool conforms() const { return scenario_.conforms; }

  /// How the next message is treated; one use is counted.
  ScenarioHelperCall next(HelperSelector selector);

  Clock& clock() { return *clock_; }

 private:
  void perform(const ScenarioRegistrationStep& step, DaemonStepEnd ended);

  const SimulatedFolders& folders_;
  std::shared_ptr<Clock> clock_;
  ScenarioHelper scenario_;  // with the present status; `times` counts down
  std::size_t registrations_ = 0;
  std::size_t unregistrations_ = 0;
};

class SimulatedMachine;

/// The ports.
std::unique_ptr<DaemonServices> makeDaemonServices(std::shared_ptr<SimulatedMachine> machine);
std::unique_ptr<HelperTransport> makeHelperTransport(std::shared_ptr<SimulatedMachine> machine);

}  // namespace halvercine::platform::simulated
