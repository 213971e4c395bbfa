// The ports of the program onto a simulated machine.
#pragma once

#include <memory>

#include "platform/Platform.h"
#include "platform/simulated/SimulatedMachine.h"

namespace halvercine::platform::simulated {

/// One of each port. They keep the machine and the clock alive.
Platform makePlatform(const std::shared_ptr<SimulatedMachine>& machine,
                      const std::shared_ptr<Clock>& clock);

}  // namespace halvercine::platform::simulated
