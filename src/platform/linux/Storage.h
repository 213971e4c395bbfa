// What the storage ports of one machine share.
#pragma once

#include <string>

#include "platform/linux/BlockDevice.h"
#include "platform/linux/DeviceTable.h"
#include "platform/linux/MediumContent.h"
#include "platform/linux/MountTable.h"
#include "platform/linux/UdevDatabase.h"

namespace halvercine::platform::gnulinux {

/// The machine's tables. Any thread.
struct Storage {
  explicit Storage(std::string sysRoot = "/sys") : devices(std::move(sysRoot)) {}

  /// What is on a medium: as the device daemon knows it, which needs no privileges, else as the
  /// medium says itself, else as much as the kernel tells.
  MediumContent content(const BlockDevice& device) const {
    auto content = contentFromUdev(udev.properties(device.number));
    if (content.kind.empty()) {
      content = completed(std::move(content), probeContent(device.node, device.number));
    }
    if (content.partitionName.empty()) content.partitionName = device.partitionName;
    return content;
  }

  DeviceTable devices;
  MountTable mounts;
  UdevDatabase udev;
};

}  // namespace halvercine::platform::gnulinux
