// The I/O registry, as far as storage media and what stands above them are concerned.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/PropertyValue.h"

namespace halvercine::platform {

/// One object of the registry, held until destroyed. Reading it never fails as such: an object
/// that has gone in the meantime has no properties and no parent.
class RegistryEntry {
 public:
  virtual ~RegistryEntry() = default;

  /// Class name, such as "IOMedia" or "IOUSBHostDevice"; empty when unknown.
  virtual std::string className() const = 0;

  /// Identity of the object within this boot: never given to another object before a restart.
  /// Nothing when the system does not tell.
  virtual std::optional<std::uint64_t> entryId() const = 0;

  /// One property, or nothing.
  virtual std::optional<PropertyValue> property(std::string_view key) const = 0;

  /// The parent in the service plane, or null at the root.
  virtual std::unique_ptr<RegistryEntry> parent() const = 0;
};

/// Property keys of the registry that the program reads.
namespace registry_key {
inline constexpr std::string_view bsdName = "BSD Name";   // text, on IOMedia
inline constexpr std::string_view writable = "Writable";  // bool, on IOMedia
inline constexpr std::string_view uuid = "UUID";          // text, on IOMedia (GPT)
inline constexpr std::string_view deviceCharacteristics = "Device Characteristics";  // dictionary
inline constexpr std::string_view protocol = "Protocol";                             // text
inline constexpr std::string_view usbSerialNumber = "USB Serial Number";
inline constexpr std::string_view usbProductName = "USB Product Name";
inline constexpr std::string_view usbVendorName = "USB Vendor Name";
inline constexpr std::string_view firmwareRevision = "Firmware Revision";
inline constexpr std::string_view deviceSpeed = "Device Speed";  // number, USB speed class
/// Where the medium is reached when that is not "/dev/" and the BSD name (only off macOS).
inline constexpr std::string_view deviceNode = "Device Node";  // text
}  // namespace registry_key

class MediaRegistry {
 public:
  virtual ~MediaRegistry() = default;

  /// Every media object (class "IOMedia"), whole disks and partitions, in registry order.
  virtual std::vector<std::unique_ptr<RegistryEntry>> allMedia() = 0;

  /// The media object of a BSD name, or null.
  virtual std::unique_ptr<RegistryEntry> media(const std::string& bsdName) = 0;
};

}  // namespace halvercine::platform
