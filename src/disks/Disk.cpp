#include "disks/Disk.h"

#include "base/Text.h"

namespace halvercine::disks {

bool isNtfsType(const std::string& fileSystemType) {
  return base::asciiLowered(fileSystemType).find("ntfs") != std::string::npos;
}

bool Disk::isNtfs() const { return isNtfsType(fileSystem); }

}  // namespace halvercine::disks
