#include "platform/linux/BlockDevice.h"

#include <charconv>
#include <cstdio>
#include <sys/sysmacros.h>

#include "platform/linux/sysfs.h"

namespace halvercine::platform::gnulinux {
namespace {

constexpr unsigned ramDiskMajor = 1;       // Documentation/admin-guide/devices.txt of the kernel
constexpr std::uint64_t sectorSize = 512;  // the unit of "size" in sysfs, whatever the disk's

std::uint64_t number(std::string_view text) {
  std::uint64_t value = 0;
  std::from_chars(text.data(), text.data() + text.size(), value);
  return value;
}

// Kernels before 5.15 do not count disks. The device number is at least the same in every process.
std::uint64_t sequenceFromNumber(const std::string& wholeDirectory) {
  const std::string text = readAttribute(wholeDirectory, "dev").value_or("");
  const auto colon = text.find(':');
  if (colon == std::string::npos) return 0;
  return number(text) << 20 | number(std::string_view(text).substr(colon + 1));
}

}  // namespace

std::string BlockDevice::wholeDirectory() const {
  return isPartition() ? directory.substr(0, directory.rfind('/')) : directory;
}

std::string BlockDevice::wholeKernelName() const { return baseName(wholeDirectory()); }

std::string partitionKernelName(const std::string& wholeKernelName, unsigned partition) {
  const bool endsWithDigit =
      !wholeKernelName.empty() && wholeKernelName.back() >= '0' && wholeKernelName.back() <= '9';
  return wholeKernelName + (endsWithDigit ? "p" : "") + std::to_string(partition);
}

std::optional<BlockDevice> readBlockDevice(const std::string& sysRoot,
                                           const std::string& kernelName) {
  if (kernelName.starts_with("zram")) return std::nullopt;
  // "../../devices/…"
  const std::string target = linkTarget(sysRoot + "/class/block/" + kernelName);
  if (!target.starts_with("../../")) return std::nullopt;

  BlockDevice device;
  device.kernelName = kernelName;
  device.directory = sysRoot + target.substr(5);
  const auto facts = readBinaryAttribute(device.directory, "uevent").value_or("");
  const auto major = lineValue(facts, "MAJOR");
  if (major.empty() || number(major) == ramDiskMajor) return std::nullopt;  // none: no node either
  device.number = makedev(static_cast<unsigned>(number(major)),
                          static_cast<unsigned>(number(lineValue(facts, "MINOR"))));
  device.node = "/dev/" + std::string(lineValue(facts, "DEVNAME"));
  device.partitionName = lineValue(facts, "PARTNAME");
  device.id.partition = static_cast<unsigned>(number(lineValue(facts, "PARTN")));
  device.size = readNumber(device.directory, "size").value_or(0) * sectorSize;
  const std::string whole = device.wholeDirectory();
  if (device.size == 0) return std::nullopt;
  if (device.isPartition() && readNumber(whole, "size").value_or(0) == 0) return std::nullopt;
  device.id.sequence = number(lineValue(facts, "DISKSEQ"));
  if (device.id.sequence == 0) device.id.sequence = sequenceFromNumber(whole);
  return device;
}

}  // namespace halvercine::platform::gnulinux
