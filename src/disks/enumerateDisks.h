// All disks at once.
#pragma once

#include <string>
#include <vector>

#include "disks/BitLockerStates.h"
#include "disks/Disk.h"
#include "disks/DiskDescriptor.h"
#include "platform/MediaRegistry.h"

namespace halvercine::disks {

/// A medium of the registry.
struct Medium {
  std::string bsdName;
  std::optional<std::uint64_t> deviceId;  ///< registry entry ID
};

/// All media that have a BSD name, each once, in the order in which people count: disk2 before
/// disk10, a disk before its partitions.
std::vector<Medium> allMedia(platform::MediaRegistry& registry);

/// The records of those of `media` that are to be listed, in the same order. Main actor.
std::vector<Disk> describeDisks(const DiskDescriptor& descriptor,
                                platform::DiskArbitrationSession& session,
                                const std::vector<Medium>& media, const BitLockerStates& states);

}  // namespace halvercine::disks
