// What the system does when it is asked to mount or unmount a volume.
#pragma once

#include <string>

#include "platform/simulated/SimulatedMachine.h"

namespace halvercine::platform::simulated {

/// Has the volume's driver mount it: the file-system module with the access that it decides on, the
/// system's own NTFS driver read-only, any other one as the medium allows. False when it cannot be
/// mounted now. Main actor.
bool mountOnRequest(SimulatedMachine& machine, const std::string& disk, bool readOnlyRequested);

/// The file system's name as diskutil gives it, which says whose driver is responsible.
std::string personality(const ScenarioMedia& media);

}  // namespace halvercine::platform::simulated
