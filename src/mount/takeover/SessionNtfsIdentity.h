// Which NTFS volume this is, within this boot session.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include <boost/describe.hpp>

#include "disks/Disk.h"

namespace halvercine::mount {

/// Recorded before a volume is touched, and compared after every wait: a BSD name alone may have
/// gone to another device meanwhile.
struct SessionNtfsIdentity {
  std::uint64_t deviceID = 0;  ///< registry entry ID of the volume's medium
  std::optional<std::string> volumeUUID;
  std::int64_t capacity = 0;  ///< bytes, of the medium

  bool operator==(const SessionNtfsIdentity&) const = default;
};
BOOST_DESCRIBE_STRUCT(SessionNtfsIdentity, (), (deviceID, volumeUUID, capacity))

SessionNtfsIdentity identityOf(const disks::Disk& disk, std::uint64_t deviceId);

/// Whether both are the same volume. A volume UUID that only one of them has says nothing: the
/// system forgets it now and then while a volume is not mounted.
bool isSameVolume(const SessionNtfsIdentity& one, const SessionNtfsIdentity& other);

}  // namespace halvercine::mount
