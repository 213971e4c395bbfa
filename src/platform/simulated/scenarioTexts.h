// Points in time, versions and BSD names as scenarios write them.
#pragma once

#include <optional>
#include <string_view>

#include "platform/Clock.h"
#include "platform/SystemInfo.h"

namespace halvercine::platform::simulated {

/// The moment of a text such as "2026-03-14T08:15:02Z" (UTC, whole seconds, years 1970 to 2199).
std::optional<WallTime> wallTimeFromText(std::string_view text);

/// The version of a text such as "26.4.0", "26.4" or "15".
std::optional<SystemVersion> versionFromText(std::string_view text);

/// The state of a word such as "nominal".
std::optional<ThermalState> thermalStateFromText(std::string_view text);

/// Whether `text` names a whole disk: "disk" and up to six digits.
bool isWholeDiskName(std::string_view text);

/// Whether `text` names a slice of the whole disk `whole`, such as "disk4s1", or "disk4s1s1" (a
/// snapshot).
bool isSliceName(std::string_view text, std::string_view whole);

}  // namespace halvercine::platform::simulated
