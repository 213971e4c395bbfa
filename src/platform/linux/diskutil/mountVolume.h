// "mount" and "mount readOnly".
#pragma once

#include "platform/linux/Storage.h"
#include "platform/linux/diskutil/Request.h"

namespace halvercine::platform::gnulinux {

/// Mounts the volume on a folder of its own below /media and leaves the access report of an NTFS
/// partition. Whatever goes wrong, or when a signal comes before the volume is mounted, nothing
/// stays behind. Done within 55 seconds.
DiskAnswer mountVolume(const DiskRequest& request, const BlockDevice& device, Storage& storage);

/// "Volume DATA on disk5s1", as all answers about a volume begin; the name is made fit to be shown.
std::string volumeOn(const std::string& name, const std::string& disk);

}  // namespace halvercine::platform::gnulinux
