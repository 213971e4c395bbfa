#include "check/VolumeIdentity.h"

#include "mount/MountAccessReportStore.h"

namespace halvercine::check {

VolumeIdentity identityOf(const disks::Disk& disk, platform::MediaRegistry& registry) {
  return {disk.id, disk.volumeUUID, disk.mediaID, mount::deviceId(registry, disk.id)};
}

bool isStillThere(const VolumeIdentity& volume, platform::MediaRegistry& registry) {
  const auto media = registry.media(volume.bsdName);
  return media && media->entryId() == volume.deviceID;
}

bool isSameVolume(const VolumeIdentity& one, const VolumeIdentity& other) {
  if (one.deviceID && other.deviceID) return one.deviceID == other.deviceID;
  return one.bsdName == other.bsdName && one.volumeUUID == other.volumeUUID &&
         one.mediaID == other.mediaID;
}

}  // namespace halvercine::check
