// Which volume a job works on, to make sure after every wait that it still does.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "disks/Disk.h"
#include "platform/MediaRegistry.h"

namespace halvercine::check {

struct VolumeIdentity {
  std::string bsdName;
  std::optional<std::string> volumeUUID;
  std::optional<std::string> mediaID;
  std::optional<std::uint64_t> deviceID;  ///< registry entry ID of the medium

  bool operator==(const VolumeIdentity&) const = default;
};

/// Of a listed disk, with the device that has its name now.
VolumeIdentity identityOf(const disks::Disk& disk, platform::MediaRegistry& registry);

/// Whether the name still belongs to the same device. Its registry entry ID is never given away
/// within one start of the machine; a repair may change what the volume says of itself.
bool isStillThere(const VolumeIdentity& volume, platform::MediaRegistry& registry);

/// Whether both are the same volume, under whatever BSD name.
bool isSameVolume(const VolumeIdentity& one, const VolumeIdentity& other);

}  // namespace halvercine::check
