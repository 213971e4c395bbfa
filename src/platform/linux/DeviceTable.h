// Which medium has which BSD name.
#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/linux/BlockDevice.h"

namespace halvercine::platform::gnulinux {

/// Finds media by BSD name without looking at all of them each time. Every answer is fresh from
/// sysfs: the table only remembers where to look. Any thread.
class DeviceTable {
 public:
  explicit DeviceTable(std::string sysRoot) : sysRoot_(std::move(sysRoot)) {}

  /// All media, looked for anew, in the order of their numbers.
  std::vector<BlockDevice> all();

  /// The medium of that identity, or nothing.
  std::optional<BlockDevice> find(MediumId id);

  /// The medium of that device number, or nothing.
  std::optional<BlockDevice> find(dev_t number) const;

  /// Looks at one device again after the kernel said that something happened to it.
  std::optional<BlockDevice> refresh(const std::string& kernelName);

 private:
  std::vector<BlockDevice> scan() const;
  void index(const std::vector<BlockDevice>& devices);
  std::optional<BlockDevice> read(MediumId id, const std::string& kernelName);
  std::optional<BlockDevice> findPartition(MediumId id);
  bool mayBeNew(MediumId id) const;
  void remember(const BlockDevice& device);

  const std::string sysRoot_;
  std::mutex mutex_;
  std::map<MediumId, std::string> kernelNames_;
  std::uint64_t newest_ = 0;  // the highest sequence number seen
};

}  // namespace halvercine::platform::gnulinux
