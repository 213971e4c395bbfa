// What is written on a medium: its volume, and its place in the partition table.
#pragma once

#include <string>
#include <string_view>
#include <sys/types.h>

#include "platform/linux/UdevDatabase.h"

namespace halvercine::platform::gnulinux {

/// Texts as the medium has them, whatever bytes they are; empty when there is none.
struct MediumContent {
  std::string kind;   ///< the volume's: "ntfs", "exfat", "vfat", "BitLocker"
  std::string label;  ///< the volume's
  std::string uuid;   ///< the volume's: a UUID, or the shorter serial number of NTFS and FAT
  std::string partitionType;  ///< a UUID or "0x7"; for a whole disk its table's type ("gpt")
  std::string partitionUuid;  ///< a UUID, or disk signature and number with the older tables
  std::string partitionName;
};

MediumContent contentFromUdev(const UdevProperties& properties);

/// Reads the medium itself: the places where file systems and partition tables keep their marks.
/// Empty when `node` may not be opened, or is not the device `number`.
MediumContent probeContent(const std::string& node, dev_t number);

/// `content`, with what it lacks from `other`.
MediumContent completed(MediumContent content, const MediumContent& other);

/// The name that macOS has for a kind of file system: "msdos" for "vfat", the others are the same.
std::string fileSystemKind(std::string_view linuxName);

}  // namespace halvercine::platform::gnulinux
