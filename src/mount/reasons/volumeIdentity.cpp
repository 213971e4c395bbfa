#include "mount/reasons/volumeIdentity.h"

namespace halvercine::mount {

std::optional<std::string> volumeIdentity(const disks::Disk& disk) {
  if (disk.volumeUUID && !disk.volumeUUID->empty()) return disk.volumeUUID;
  if (disk.mediaID && !disk.mediaID->empty()) return disk.mediaID;
  return std::nullopt;
}

}  // namespace halvercine::mount
