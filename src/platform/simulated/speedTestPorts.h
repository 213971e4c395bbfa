// The ports of the speed test on a simulated Mac.
#pragma once

#include <memory>

#include "platform/Clock.h"
#include "platform/SleepAssertion.h"
#include "platform/UncachedFiles.h"
#include "platform/WorkerThreads.h"
#include "platform/simulated/SimulatedMachine.h"

namespace halvercine::platform::simulated {

std::unique_ptr<SleepAssertions> makeSleepAssertions(std::shared_ptr<SimulatedMachine> machine);
std::unique_ptr<UncachedFiles> makeUncachedFiles(std::shared_ptr<SimulatedMachine> machine);
/// Threads of this process, or workers in turn where time is virtual.
std::unique_ptr<WorkerThreads> makeWorkerThreads(SimulatedMachine& machine,
                                                 const std::shared_ptr<Clock>& clock);

}  // namespace halvercine::platform::simulated
