// Registry entries of the devices that a disk hangs on.
#pragma once

#include <memory>
#include <string>

#include "platform/MediaRegistry.h"

namespace halvercine::platform::gnulinux {

/// The next device above `directory` in sysfs that the registry has a class for: USB devices
/// ("IOUSBHostDevice"; the root hub belongs to its controller and does not count), NVMe controllers
/// ("IONVMeController") and PCI functions ("IOPCIDevice"). Null when there is none.
std::unique_ptr<RegistryEntry> busEntryAbove(const std::string& directory);

}  // namespace halvercine::platform::gnulinux
