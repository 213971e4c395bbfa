#include "mount/takeover/SessionNtfsIdentity.h"

namespace halvercine::mount {

SessionNtfsIdentity identityOf(const disks::Disk& disk, std::uint64_t deviceId) {
  return {deviceId, disk.volumeUUID, disk.capacity};
}

bool isSameVolume(const SessionNtfsIdentity& one, const SessionNtfsIdentity& other) {
  const bool mayShareUuid =
      !one.volumeUUID || !other.volumeUUID || one.volumeUUID == other.volumeUUID;
  return one.deviceID == other.deviceID && one.capacity == other.capacity && mayShareUuid;
}

}  // namespace halvercine::mount
