#include "disks/HardwareFacts.h"

#include <array>
#include <memory>

#include "base/Properties.h"
#include "base/Text.h"

namespace halvercine::disks {
namespace {

namespace key = platform::registry_key;

// No real chain is half as long; a damaged one must not hold the program up.
constexpr int longestChain = 64;

std::optional<std::string> text(const platform::RegistryEntry& entry, std::string_view name) {
  const auto value = entry.property(name);
  return value ? base::trimmedTextValue(*value) : std::nullopt;
}

void fill(std::optional<std::string>& fact, std::optional<std::string> value) {
  if (!fact) fact = std::move(value);
}

void readCharacteristics(const platform::RegistryEntry& entry, HardwareFacts& facts) {
  const auto value = entry.property(key::deviceCharacteristics);
  const auto* characteristics = value ? value->as<platform::PropertyDictionary>() : nullptr;
  if (!characteristics) return;
  const auto named = [characteristics](std::string_view name) {
    return base::read(*characteristics, name, base::trimmedTextValue);
  };
  fill(facts.revision, named("Product Revision Level"));
  fill(facts.serial, named("Serial Number"));
  fill(facts.productName, named("Product Name"));
  fill(facts.vendorName, named("Vendor Name"));
  const auto medium = named("Medium Type");
  if (medium && base::asciiLowered(*medium).find("solid") != std::string::npos) {
    facts.isSolidState = true;
  }
}

bool isUsbDevice(const platform::RegistryEntry& entry) {
  const auto className = entry.className();
  return className == "IOUSBHostDevice" || className == "IOUSBDevice";
}

/// The speed classes of a USB device node, low to super plus by two.
std::optional<std::string> usbSpeed(const platform::RegistryEntry& entry) {
  constexpr std::array names = {"1.5 Mb/s", "12 Mb/s", "480 Mb/s", "5 Gb/s", "10 Gb/s", "20 Gb/s"};
  const auto value = entry.property(key::deviceSpeed);
  const auto speed = value ? base::integerValue(*value) : std::nullopt;
  if (!speed || *speed < 0 || *speed >= static_cast<std::int64_t>(names.size())) {
    return std::nullopt;
  }
  return names.at(static_cast<std::size_t>(*speed));
}

/// What the nearest USB device says of itself. The hubs above it have serial numbers, too.
void readUsbDevice(const platform::RegistryEntry& entry, HardwareFacts& facts) {
  fill(facts.serial, text(entry, key::usbSerialNumber));
  fill(facts.revision, text(entry, key::firmwareRevision));
  fill(facts.productName, text(entry, key::usbProductName));
  fill(facts.vendorName, text(entry, key::usbVendorName));
  fill(facts.linkDetail, usbSpeed(entry));
}

void readAttachment(const platform::RegistryEntry& entry, HardwareFacts& facts) {
  const auto protocol = text(entry, key::protocol);
  const auto className = entry.className();
  const bool isUsb = className.starts_with("IOUSB");
  const bool isPci =
      protocol == "NVMe" || protocol == "PCI-Express" || className.starts_with("IOPCI");
  if (facts.attachment == HardwareFacts::Attachment::unknown) {
    // A USB controller sits on PCI itself: what comes first on the way up is what the disk hangs
    // on.
    if (isUsb) facts.attachment = HardwareFacts::Attachment::usb;
    if (isPci) facts.attachment = HardwareFacts::Attachment::pci;
  }
  if (isPci && facts.attachment == HardwareFacts::Attachment::pci) {
    fill(facts.linkDetail, protocol == "NVMe" ? "NVMe" : "PCI Express");
  }
}

}  // namespace

HardwareFacts HardwareFacts::gather(const platform::RegistryEntry* media) {
  HardwareFacts facts;
  bool isUsbDeviceFound = false;
  std::unique_ptr<platform::RegistryEntry> parent;
  for (int depth = 0; media && depth < longestChain; ++depth) {
    readCharacteristics(*media, facts);
    readAttachment(*media, facts);
    if (!isUsbDeviceFound && isUsbDevice(*media) && facts.attachment == Attachment::usb) {
      readUsbDevice(*media, facts);
      isUsbDeviceFound = true;
    }
    parent = media->parent();
    media = parent.get();
  }
  return facts;
}

std::optional<std::string> HardwareFacts::displayName() const {
  if (!productName) return std::nullopt;
  if (!vendorName || productName->starts_with(*vendorName)) return productName;
  return *vendorName + " " + *productName;
}

}  // namespace halvercine::disks
