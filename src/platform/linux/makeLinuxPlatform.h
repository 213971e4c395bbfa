// The ports on a Linux machine.
#pragma once

#include "base/MainActor.h"
#include "platform/Platform.h"

namespace halvercine::platform::gnulinux {

/// Every port of this machine. The platform must not outlive the actor.
Platform makeLinuxPlatform(base::MainActor& actor);

}  // namespace halvercine::platform::gnulinux
