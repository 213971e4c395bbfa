// Waiting for time to pass.
#pragma once

#include "base/Task.h"
#include "platform/Clock.h"

namespace halvercine::base {

/// Ends when the clock's uptime has reached `deadline`; at the next turn if it has already.
Task<void> sleepUntil(platform::Clock& clock, platform::Uptime deadline);

/// Ends after `duration`.
Task<void> sleepFor(platform::Clock& clock, platform::Uptime duration);

}  // namespace halvercine::base
