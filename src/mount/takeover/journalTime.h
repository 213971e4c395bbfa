// The journal's times, which are seconds in floating point, and those of the clock.
#pragma once

#include <chrono>

#include "platform/Clock.h"

namespace halvercine::mount {

inline platform::Uptime uptimeOf(double seconds) {
  return std::chrono::duration_cast<platform::Uptime>(std::chrono::duration<double>(seconds));
}

inline double secondsOf(platform::Uptime duration) {
  return std::chrono::duration<double>(duration).count();
}

inline platform::WallTime wallTimeOf(double secondsSince1970) {
  return platform::WallTime(uptimeOf(secondsSince1970));
}

}  // namespace halvercine::mount
