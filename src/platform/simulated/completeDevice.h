// The defaults of a device's description.
#pragma once

#include <string>

#include "platform/simulated/Scenario.h"

namespace halvercine::platform::simulated {

/// The same device with every optional that has a default set. What stays absent is absent on the
/// machine as well: a name, a kind, a vendor, ... The mounts stay as they are.
ScenarioDevice completeDevice(ScenarioDevice device);

/// The mount with every optional set; `media` is complete.
ScenarioMount completeMount(ScenarioMount mount, const ScenarioMedia& media);

/// Where the system would mount a volume: "/Volumes/" and its name, slashes shown as colons.
std::string standardMountPath(const ScenarioMedia& media);

}  // namespace halvercine::platform::simulated
