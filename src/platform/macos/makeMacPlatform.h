// The ports on a Mac.
#pragma once

#include "base/MainActor.h"
#include "platform/Platform.h"

namespace halvercine::platform::macos {

/// Every port of this Mac. The platform must not outlive the actor, which runs beside the main run
/// loop (see runBesideMainLoop.h).
Platform makeMacPlatform(base::MainActor& actor);

}  // namespace halvercine::platform::macos
