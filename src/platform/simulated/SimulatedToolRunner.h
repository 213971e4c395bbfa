// The command-line tools of the simulated Mac.
#pragma once

#include <memory>

#include "platform/ToolRunner.h"
#include "platform/simulated/SimulatedMachine.h"

namespace halvercine::platform::simulated {

/// Runs diskutil, lsof and osascript on the machine, as the scenario's tools say; nothing else can
/// be started. All events come on the main actor, when the clock has reached the end of the run.
class SimulatedToolRunner : public ToolRunner {
 public:
  SimulatedToolRunner(std::shared_ptr<SimulatedMachine> machine, std::shared_ptr<Clock> clock)
      : machine_(std::move(machine)), clock_(std::move(clock)) {}

  std::expected<std::unique_ptr<ToolProcess>, std::string> start(const ToolInvocation& invocation,
                                                                 ToolEvents events) override;

 private:
  std::shared_ptr<SimulatedMachine> machine_;
  std::shared_ptr<Clock> clock_;
};

}  // namespace halvercine::platform::simulated
