#include "platform/linux/DeviceTable.h"

#include <algorithm>
#include <sys/sysmacros.h>

#include <fmt/format.h>

#include "platform/linux/sysfs.h"

namespace halvercine::platform::gnulinux {

std::vector<BlockDevice> DeviceTable::all() {
  auto devices = scan();
  const std::lock_guard lock(mutex_);
  index(devices);
  return devices;
}

std::vector<BlockDevice> DeviceTable::scan() const {
  std::vector<BlockDevice> devices;
  for (const auto& kernelName : namesIn(sysRoot_ + "/class/block")) {
    if (auto device = readBlockDevice(sysRoot_, kernelName)) devices.push_back(std::move(*device));
  }
  std::ranges::sort(devices, {}, &BlockDevice::id);
  return devices;
}

void DeviceTable::index(const std::vector<BlockDevice>& devices) {
  kernelNames_.clear();
  for (const auto& device : devices) remember(device);
}

std::optional<BlockDevice> DeviceTable::find(MediumId id) {
  const std::lock_guard lock(mutex_);
  if (const auto found = kernelNames_.find(id); found != kernelNames_.end()) {
    if (auto device = read(id, found->second)) return device;
    kernelNames_.erase(found);
  }
  if (id.partition != 0 && kernelNames_.contains({id.sequence, 0})) return findPartition(id);
  if (!mayBeNew(id)) return std::nullopt;
  index(scan());
  const auto found = kernelNames_.find(id);
  return found == kernelNames_.end() ? std::nullopt : read(id, found->second);
}

std::optional<BlockDevice> DeviceTable::find(dev_t number) const {
  const auto link = fmt::format("{}/dev/block/{}:{}", sysRoot_, major(number), minor(number));
  const std::string target = linkTarget(link);
  return target.empty() ? std::nullopt : readBlockDevice(sysRoot_, baseName(target));
}

std::optional<BlockDevice> DeviceTable::refresh(const std::string& kernelName) {
  auto device = readBlockDevice(sysRoot_, kernelName);
  const std::lock_guard lock(mutex_);
  if (device) remember(*device);
  return device;
}

std::optional<BlockDevice> DeviceTable::read(MediumId id, const std::string& kernelName) {
  auto device = readBlockDevice(sysRoot_, kernelName);
  return device && device->id == id ? device : std::nullopt;
}

std::optional<BlockDevice> DeviceTable::findPartition(MediumId id) {
  const auto& whole = kernelNames_.at({id.sequence, 0});
  auto device = read(id, partitionKernelName(whole, id.partition));
  if (device) remember(*device);
  return device;
}

// Sequence numbers only grow: a disk below the newest one that is not known any more has gone for
// good, so that asking for a thousand disks that were pulled does not mean a thousand searches.
bool DeviceTable::mayBeNew(MediumId id) const { return id.sequence > newest_; }

void DeviceTable::remember(const BlockDevice& device) {
  kernelNames_.insert_or_assign(device.id, device.kernelName);
  newest_ = std::max(newest_, device.id.sequence);
}

}  // namespace halvercine::platform::gnulinux
