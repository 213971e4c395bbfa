#include "platform/linux/Hardware.h"

#include <array>
#include <filesystem>

#include "platform/linux/sysfs.h"

namespace halvercine::platform::gnulinux {
namespace {

// Where the drivers of each kind of disk leave its identity, relative to the disk. The kind is the
// subsystem of the disk's own device.
struct IdentityAttributes {
  std::string_view subsystem;
  std::string_view product;
  std::string_view vendor;
  std::string_view serialNumber;
  std::string_view revision;
};
constexpr std::array<IdentityAttributes, 5> identityAttributes{{
    {"scsi", "device/model", "device/vendor", "", "device/rev"},
    {"nvme", "device/model", "", "device/serial", "device/firmware_rev"},
    {"nvme-subsystem", "device/model", "", "device/serial", "device/firmware_rev"},
    {"mmc", "device/name", "", "device/serial", "device/fwrev"},
    {"virtio", "", "", "serial", ""},
}};

std::string attribute(const std::string& directory, std::string_view name) {
  return name.empty() ? std::string() : readAttribute(directory, name).value_or("");
}

// Page 0x80 of the vital product data: four bytes of header, then text (SPC-4, 7.8.15).
std::string scsiSerialNumber(const std::string& directory) {
  const auto page = readBinaryAttribute(directory, "device/vpd_pg80").value_or("");
  if (page.size() <= 4) return {};
  const auto first = page.find_first_not_of(std::string_view(" \0", 2), 4);
  if (first == std::string::npos) return {};
  return page.substr(first, page.find_last_not_of(std::string_view(" \0", 2)) + 1 - first);
}

DiskIdentity identityFromSysfs(const std::string& directory) {
  const std::string subsystem = subsystemOf(directory + "/device");
  for (const auto& names : identityAttributes) {
    if (names.subsystem != subsystem) continue;
    DiskIdentity identity{.product = attribute(directory, names.product),
                          .vendor = attribute(directory, names.vendor),
                          .serialNumber = attribute(directory, names.serialNumber),
                          .revision = attribute(directory, names.revision)};
    if (subsystem == "scsi") identity.serialNumber = scsiSerialNumber(directory);
    // The name that the kernel's translation puts where ATA disks have no vendor at all.
    if (identity.vendor == "ATA") identity.vendor.clear();
    return identity;
  }
  return {};
}

bool isAtaPort(const std::string& directory) {
  const std::string name = baseName(directory);
  return name.size() > 3 && name.starts_with("ata") && name[3] >= '0' && name[3] <= '9';
}

std::string_view busOfDevice(const std::string& directory) {
  if (isAtaPort(directory)) return "SATA";
  const std::string subsystem = subsystemOf(directory);
  if (subsystem == "usb") return "USB";
  if (subsystem == "firewire") return "FireWire";
  if (subsystem == "nvme" || subsystem == "nvme-subsystem") return "NVMe";
  if (subsystem == "virtio") return "Virtio";
  if (subsystem == "mmc") return "MMC";
  return {};
}

// Ports that lead outside, such as Thunderbolt's, are marked by the firmware.
bool isBehindExternalPort(std::string directory) {
  for (; !directory.empty(); directory = parentDirectory(directory)) {
    if (subsystemOf(directory) == "pci" && readAttribute(directory, "removable") == "removable") {
      return true;
    }
  }
  return false;
}

void put(PropertyDictionary& dictionary, const char* key, const std::string& text) {
  if (!text.empty()) dictionary.emplace(key, text);
}

}  // namespace

std::string parentDirectory(const std::string& directory) {
  if (subsystemOf(directory) == "nvme-subsystem") {
    for (const auto& name : namesIn(directory)) {
      std::error_code error;
      const auto entry = std::filesystem::path(directory) / name;
      auto controller = std::filesystem::canonical(entry, error).string();
      if (!error && subsystemOf(controller) == "nvme") return controller;
    }
  }
  const std::string parent = directory.substr(0, directory.rfind('/'));
  return parent.empty() || baseName(parent) == "devices" ? std::string() : parent;
}

std::string busOf(const std::string& directory) {
  if (baseName(directory).starts_with("loop")) return "Loop";
  for (auto device = directory; !device.empty(); device = parentDirectory(device)) {
    if (const auto bus = busOfDevice(device); !bus.empty()) return std::string(bus);
  }
  return {};
}

std::optional<bool> isInternal(const std::string& directory, const std::string& bus) {
  if (bus.empty() || bus == "Loop") return std::nullopt;
  if (bus == "USB" || bus == "FireWire" || isBehindExternalPort(directory)) return false;
  if (readNumber(directory, "removable").value_or(0) != 0) return std::nullopt;
  // Of the cards, those that are soldered in are of the type "MMC", the others "SD".
  if (bus == "MMC" && readAttribute(directory, "device/type") != "MMC") return std::nullopt;
  return true;
}

DiskIdentity diskIdentity(const std::string& directory, const UdevProperties& properties) {
  DiskIdentity identity = identityFromSysfs(directory);
  const auto complete = [&](std::string& text, std::string_view key) {
    if (text.empty()) text = udevText(properties, key);
  };
  complete(identity.product, "ID_MODEL_ENC");
  complete(identity.product, "ID_MODEL");
  complete(identity.serialNumber, "ID_SERIAL_SHORT");
  complete(identity.revision, "ID_REVISION");
  return identity;
}

PropertyDictionary deviceCharacteristics(const std::string& directory,
                                         const UdevProperties& properties) {
  const DiskIdentity identity = diskIdentity(directory, properties);
  PropertyDictionary characteristics;
  put(characteristics, "Product Name", identity.product);
  put(characteristics, "Vendor Name", identity.vendor);
  put(characteristics, "Serial Number", identity.serialNumber);
  put(characteristics, "Product Revision Level", identity.revision);
  const std::string bus = busOf(directory);
  const auto rotational = readNumber(directory, "queue/rotational");
  // A virtual machine's disk has the flag for want of an answer; that it has not is one.
  const bool isUntold = bus == "Virtio" && rotational != 0;
  if (!bus.empty() && bus != "Loop" && rotational && !isUntold) {
    put(characteristics, "Medium Type", *rotational == 0 ? "Solid State" : "Rotational");
  }
  return characteristics;
}

}  // namespace halvercine::platform::gnulinux
