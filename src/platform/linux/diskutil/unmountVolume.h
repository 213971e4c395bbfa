// "unmount" and "unmount force".
#pragma once

#include "platform/linux/Storage.h"
#include "platform/linux/diskutil/Request.h"

namespace halvercine::platform::gnulinux {

/// Unmounts the volume wherever it is mounted. "unmounted" is said only when everything is on the
/// medium and the file system's process has let go of it. By force means: also while processes use
/// it, as far as nothing is lost that they have written; what they do next fails. The folder that
/// was made for the mount and the access report go, too. Done within 55 seconds.
DiskAnswer unmountVolume(const DiskRequest& request, const BlockDevice& device, Storage& storage);

/// Whether a folder belongs to the running system, and is not taken away from it.
bool isSystemFolder(const std::string& path);

}  // namespace halvercine::platform::gnulinux
