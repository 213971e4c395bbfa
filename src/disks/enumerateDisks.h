// All disks at once.
#pragma once

#include <vector>

#include "disks/Disk.h"
#include "disks/DiskDescriptor.h"
#include "platform/MediaRegistry.h"

namespace halvercine::disks {

/// The BSD names of all media, each once, in the order in which people count: disk2 before disk10,
/// a disk before its partitions.
std::vector<std::string> mediaNames(platform::MediaRegistry& registry);

/// The records of all disks that are to be listed, in that order. Main actor.
std::vector<Disk> enumerateDisks(const DiskDescriptor& descriptor,
                                 platform::DiskArbitrationSession& session,
                                 platform::MediaRegistry& registry);

}  // namespace halvercine::disks
