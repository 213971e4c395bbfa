// What the program knows of volumes that are not mounted.
#pragma once

#include <optional>

#include "disks/Disk.h"
#include "mount/reasons/UnmountReason.h"
#include "platform/Platform.h"

namespace halvercine::app {

/// What is known without running a tool: interrupted BitLocker creations, and what the file-system
/// module last said of the volume. `platform` outlives the functions.
mount::UnmountReasonInputs unmountReasonInputs(const platform::Platform& platform);

/// The reason of an unmounted NTFS volume as far as it is known without running a tool. Nothing for
/// other disks and when none is known.
std::optional<mount::UnmountReason> reasonWithoutTools(const disks::Disk& disk,
                                                       const platform::Platform& platform);

/// A reason, unless it is that none is known.
std::optional<mount::UnmountReason> known(std::optional<mount::UnmountReason> reason);

}  // namespace halvercine::app
