// What unlocking a volume needs, from the parts of a command.
#pragma once

#include "app/TakeoverParts.h"
#include "bitlocker/unlock/UnlockContext.h"

namespace halvercine::app {

/// It refers to the parts.
bitlocker::UnlockContext unlockContext(TakeoverParts& parts);

/// Whether a volume has to be checked, or the encryption of it finished, before it may be mounted
/// without anybody looking.
bool isUnsafeToUnlock(const platform::Platform& platform, const disks::Disk& disk);

}  // namespace halvercine::app
