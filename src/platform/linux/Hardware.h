// The hardware that a medium is on, found by walking up the kernel's device tree.
#pragma once

#include <optional>
#include <string>

#include "platform/PropertyValue.h"
#include "platform/linux/UdevDatabase.h"

namespace halvercine::platform::gnulinux {

/// The device above the one at `directory`, or empty at the top. An NVMe disk that several
/// controllers reach continues at one of them.
std::string parentDirectory(const std::string& directory);

/// The bus that the disk at `directory` is attached to: "USB", "FireWire", "SATA", "NVMe",
/// "Virtio", "MMC" or "Loop"; empty when it is none of them (a mapped device, an array).
std::string busOf(const std::string& directory);

/// Whether the disk is built in; nothing when that cannot be told.
std::optional<bool> isInternal(const std::string& directory, const std::string& bus);

/// What the disk says of itself; empty texts when it says nothing.
struct DiskIdentity {
  std::string product;
  std::string vendor;
  std::string serialNumber;
  std::string revision;
};

/// Of the disk (not a partition) at `directory`, and where sysfs has nothing, from the database.
DiskIdentity diskIdentity(const std::string& directory, const UdevProperties& properties);

/// The registry's "Device Characteristics" of that disk.
PropertyDictionary deviceCharacteristics(const std::string& directory,
                                         const UdevProperties& properties);

}  // namespace halvercine::platform::gnulinux
