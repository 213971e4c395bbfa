// Times for programs.
#pragma once

#include <cstdint>
#include <string>

#include "platform/Clock.h"

namespace halvercine::app {

/// ISO 8601 in UTC with milliseconds: "2026-03-01T09:05:00.000Z".
std::string isoTime(platform::WallTime time);

/// The same for a time that a `WallTime` may be too narrow for: seconds since 1970, of the years 1
/// to 9999, and milliseconds of that second.
std::string isoTime(std::int64_t seconds, int milliseconds);

}  // namespace halvercine::app
