// Moments as people read them.
#pragma once

#include <string>

#include "base/Localization.h"
#include "platform/Clock.h"

namespace halvercine::base {

/// Date and time to the second in the time zone of the user, in the manner of a language: "Mar 14,
/// 2026 at 8:15:02 AM", "2026年3月14日 08:15:02". Any thread.
std::string localizedTime(platform::WallTime time, Language language);

}  // namespace halvercine::base
