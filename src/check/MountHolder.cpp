#include "check/MountHolder.h"

#include "base/Text.h"

namespace halvercine::check {

MountHolder mountHolder(const disks::Disk* disk, bool hasFreshReport) {
  if (!disk || !disk->isMounted) return MountHolder::nobody;
  if (hasFreshReport) return MountHolder::module;
  return base::asciiLowered(disk->fileSystem) == "ntfs" ? MountHolder::system
                                                        : MountHolder::another;
}

}  // namespace halvercine::check
