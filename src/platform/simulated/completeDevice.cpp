#include "platform/simulated/completeDevice.h"

#include <algorithm>
#include <limits>
#include <string_view>
#include <utility>

#include "base/Text.h"

namespace halvercine::platform::simulated {
namespace {

constexpr std::string_view guidScheme = "GUID_partition_scheme";
constexpr std::string_view fdiskScheme = "FDisk_partition_scheme";
constexpr std::string_view apfsContainer = "EF57347C-0000-11AA-AA11-00306543ECAC";
constexpr std::int64_t defaultSize = 64'000'000'000;

template <class T, class U>
void setDefault(std::optional<T>& value, U&& standard) {
  if (!value) value.emplace(std::forward<U>(standard));
}

std::string standardModel(Attachment attachment) {
  switch (attachment) {
    case Attachment::usb:
      return "Flash Disk";
    case Attachment::uas:
      return "Portable SSD";
    case Attachment::nvme:
    case Attachment::apfs:
      return "APPLE SSD AP0512Q";
    case Attachment::sata:
      return "SATA Disk";
    case Attachment::sd:
      return "SD Card Reader";
    case Attachment::thunderbolt:
      return "NVMe SSD";
    case Attachment::image:
      return "Disk Image";
  }
  return {};
}

bool standardSolidState(Attachment attachment) {
  return attachment == Attachment::uas || attachment == Attachment::nvme ||
         attachment == Attachment::thunderbolt || attachment == Attachment::apfs;
}

/// A disk image is neither internal nor external: the system leaves the key out.
std::optional<bool> standardInternal(Attachment attachment) {
  if (attachment == Attachment::image) return std::nullopt;
  return attachment == Attachment::nvme || attachment == Attachment::apfs ||
         attachment == Attachment::sd;
}

std::string_view wholeContent(const ScenarioDevice& device) {
  if (device.attachment == Attachment::apfs) return apfsContainer;
  if (device.kind || device.volumes.empty()) return "";
  return device.attachment == Attachment::sd ? fdiskScheme : guidScheme;
}

std::string_view guidPartitionType(std::string_view kind) {
  if (kind == "hfs") return "48465300-0000-11AA-AA11-00306543ECAC";
  if (kind == "apfs") return "7C3457EF-0000-11AA-AA11-00306543ECAC";
  if (kind.starts_with("ext")) return "0FC63DAF-8483-4772-8E79-3D69D8477DE4";
  return "EBD0A0A2-B9E5-4433-87C0-68B6B72699C7";  // Microsoft basic data
}

std::string_view volumeContent(const ScenarioDevice& device, const ScenarioMedia& volume) {
  const std::string_view kind = volume.kind ? *volume.kind : std::string_view();
  if (device.content == apfsContainer) return "41504653-0000-11AA-AA11-00306543ECAC";
  if (device.content != fdiskScheme) return guidPartitionType(kind);
  if (kind == "msdos") return "DOS_FAT_32";
  return kind.starts_with("ext") ? "Linux" : "Windows_NTFS";
}

/// A number that depends on the content only, so that it survives unplugging but differs between
/// two disks that get the same BSD name one after the other.
std::optional<std::string> standardUuid(const ScenarioDevice& device, const ScenarioMedia& media,
                                        std::string_view purpose) {
  std::string name(purpose);
  for (const auto& part : {*device.model, *device.serial, media.disk, media.name.value_or("")}) {
    name += '\n' + part;
  }
  return uuidText(uuidFromName(name));
}

std::string standardSerial(const ScenarioDevice& device) {
  const auto made = uuidText(uuidFromName(device.disk + '\n' + *device.model));
  return made.substr(0, 8) + made.substr(24, 4);
}

void completeBitLocker(const ScenarioDevice& device, ScenarioMedia& media) {
  if (!media.bitLocker) return;
  setDefault(media.bitLocker->guid, *standardUuid(device, media, "BitLocker"));
}

void completeUuids(const ScenarioDevice& device, ScenarioMedia& media) {
  setDefault(media.uuid, media.kind ? standardUuid(device, media, "volume") : std::nullopt);
  // An old partition table gives its slices no identity.
  const bool identified = device.content == guidScheme || device.content == apfsContainer;
  setDefault(media.mediaUUID, identified ? standardUuid(device, media, "media") : std::nullopt);
  completeBitLocker(device, media);
}

void completeWhole(ScenarioDevice& device) {
  const auto kind = device.attachment;
  setDefault(device.model, standardModel(kind));
  if (kind == Attachment::image || kind == Attachment::apfs) {
    setDefault(device.serial, "");
  } else {
    setDefault(device.serial, standardSerial(device));
  }
  setDefault(device.solidState, standardSolidState(kind));
  setDefault(device.internal, standardInternal(kind));
  setDefault(device.removable,
             kind == Attachment::usb || kind == Attachment::sd || kind == Attachment::image);
  const bool apple =
      (kind == Attachment::nvme && *device.internal == true) || kind == Attachment::apfs;
  setDefault(device.blockSize, apple ? 4096 : 512);
  setDefault(device.speed, kind == Attachment::usb ? 3 : 4);
  setDefault(device.size, defaultSize);
  setDefault(device.writable, true);
  setDefault(device.content, std::string(wholeContent(device)));
  setDefault(device.className, kind == Attachment::apfs ? "AppleAPFSMedia" : "IOMedia");
  const auto vendor = device.vendor && !device.vendor->empty() ? *device.vendor + " " : "";
  setDefault(device.mediaName, kind == Attachment::apfs
                                   ? "AppleAPFSMedia"
                                   : vendor + std::string(base::trimmed(*device.model)) + " Media");
  setDefault(device.uuid, device.kind ? standardUuid(device, device, "volume") : std::nullopt);
  setDefault(device.mediaUUID,
             kind == Attachment::apfs ? standardUuid(device, device, "media") : std::nullopt);
  completeBitLocker(device, device);
}

/// An equal part of what the volumes with a size of their own leave. The volumes of an APFS
/// container share its space instead.
std::int64_t standardVolumeSize(const ScenarioDevice& device) {
  if (device.attachment == Attachment::apfs) return *device.size;
  std::int64_t left = *device.size;
  std::int64_t parts = 0;
  for (const auto& volume : device.volumes) {
    left -= std::min(volume.size.value_or(0), left);
    if (!volume.size) ++parts;
  }
  return left / std::max<std::int64_t>(parts, 1);
}

void completeVolume(const ScenarioDevice& device, std::size_t number, std::int64_t volumeSize,
                    ScenarioMedia& volume) {
  const bool apfs = device.attachment == Attachment::apfs;
  setDefault(volume.size, volumeSize);
  setDefault(volume.writable, *device.writable);
  setDefault(volume.content, std::string(volumeContent(device, volume)));
  setDefault(volume.className, apfs ? "AppleAPFSVolume" : "IOMedia");
  setDefault(volume.mediaName,
             apfs ? volume.name.value_or("") : "Untitled " + std::to_string(number));
  completeUuids(device, volume);
}

std::int64_t bytes(std::uint64_t blocks, std::uint64_t blockSize) {
  constexpr auto largest = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
  if (blockSize != 0 && blocks > largest / blockSize)
    return std::numeric_limits<std::int64_t>::max();
  return static_cast<std::int64_t>(blocks * blockSize);
}

}  // namespace

ScenarioDevice completeDevice(ScenarioDevice device) {
  completeWhole(device);
  const auto volumeSize = standardVolumeSize(device);
  std::size_t number = 0;
  for (auto& volume : device.volumes) completeVolume(device, ++number, volumeSize, volume);
  return device;
}

ScenarioMount completeMount(ScenarioMount mount, const ScenarioMedia& media) {
  setDefault(mount.path, standardMountPath(media));
  setDefault(mount.type, media.kind.value_or(""));
  setDefault(mount.from, "/dev/" + media.disk);
  const auto size = static_cast<std::uint64_t>(std::max<std::int64_t>(media.size.value_or(0), 0));
  setDefault(mount.blocks, mount.blockSize == 0 ? 0 : size / mount.blockSize);
  setDefault(mount.availableBlocks, *mount.blocks / 2);
  const auto available = bytes(*mount.availableBlocks, mount.blockSize);
  setDefault(mount.available, available);
  // Only the system's own file system tells what could be freed; the others answer 0.
  setDefault(mount.importantUsage, mount.type == "apfs" ? available : 0);
  setDefault(mount.volumeName, media.name);
  return mount;
}

std::string standardMountPath(const ScenarioMedia& media) {
  std::string name = media.name.value_or("");
  if (name.empty() || name == "." || name == "..") name = "Untitled";
  std::ranges::replace(name, '/', ':');
  return "/Volumes/" + name;
}

}  // namespace halvercine::platform::simulated
