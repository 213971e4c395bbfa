// A whole simulated Mac, from a scenario to the ports of the program.
#pragma once

#include <memory>
#include <vector>

#include "base/MainActor.h"
#include "base/VirtualClock.h"
#include "platform/Platform.h"
#include "platform/simulated/SimulatedMachine.h"

namespace halvercine::platform::simulated {

enum class ClockKind {
  virtualTime,  ///< time begins at the scenario's `now` and jumps whenever the actor is idle
  realTime,     ///< the system's clocks
};

/// Owns the machine and plays the scenario's timeline on it. Main actor. Destroying it ends the
/// timeline; the ports taken from it may live longer and find the machine as it was left.
class SimulatedMac {
 public:
  /// Time 0 of the timeline is now. The scenario is one that `findScenarioFault` finds nothing in.
  SimulatedMac(base::MainActor& actor, Scenario scenario, ClockKind clockKind);
  ~SimulatedMac();
  SimulatedMac(const SimulatedMac&) = delete;
  SimulatedMac& operator=(const SimulatedMac&) = delete;

  /// New ports onto the machine, all set. May be called more than once.
  Platform takePlatform();

  SimulatedMachine& machine() { return *machine_; }
  Clock& clock() { return *clock_; }

  /// Lets `duration` pass for the scenario before the call returns. Virtual time passes, and what
  /// is due on the actor in the meantime happens; on the real clock only the timeline moves on, at
  /// once. Never from inside the actor's own work.
  void advance(Uptime duration);

 private:
  void armTimeline();
  void playDueEvents();

  base::MainActor& actor_;
  std::vector<ScenarioEvent> timeline_;  // in the order of their times
  std::size_t played_ = 0;
  std::shared_ptr<Clock> clock_;
  std::shared_ptr<base::VirtualClock> virtualClock_;  // null on the real clock
  std::shared_ptr<SimulatedMachine> machine_;
  Uptime start_;  // the uptime that is the timeline's 0
  TimerId timer_ = 0;
};

/// Makes one event happen; false when it cannot happen in the machine's state.
bool playEvent(const ScenarioEvent& event, SimulatedMachine& machine);

}  // namespace halvercine::platform::simulated
