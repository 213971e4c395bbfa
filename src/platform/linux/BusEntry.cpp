#include "platform/linux/BusEntry.h"

#include <array>
#include <utility>

#include "platform/linux/Hardware.h"
#include "platform/linux/sysfs.h"

namespace halvercine::platform::gnulinux {
namespace {

std::optional<PropertyValue> attributeValue(const std::string& directory, std::string_view name) {
  auto text = readAttribute(directory, name);
  if (!text) return std::nullopt;
  return PropertyValue(std::move(*text));
}

// Megabits a second in sysfs, classes in the registry (kUSBDeviceSpeed… in IOUSBHostFamily).
std::optional<PropertyValue> usbSpeedClass(const std::string& directory) {
  constexpr std::array<std::string_view, 6> speeds{"1.5", "12", "480", "5000", "10000", "20000"};
  const auto speed = readAttribute(directory, "speed");
  for (std::size_t index = 0; index < speeds.size(); ++index) {
    if (speed == speeds[index]) return PropertyValue(static_cast<std::int64_t>(index));
  }
  return std::nullopt;
}

std::optional<PropertyValue> usbProperty(const std::string& directory, std::string_view key) {
  constexpr std::array<std::pair<std::string_view, std::string_view>, 4> attributes{{
      {registry_key::usbSerialNumber, "serial"},
      {registry_key::usbProductName, "product"},
      {registry_key::usbVendorName, "manufacturer"},
      {registry_key::firmwareRevision, "bcdDevice"},
  }};
  for (const auto& [name, attribute] : attributes) {
    if (key == name) return attributeValue(directory, attribute);
  }
  return key == registry_key::deviceSpeed ? usbSpeedClass(directory) : std::nullopt;
}

std::string busClass(const std::string& directory) {
  const std::string subsystem = subsystemOf(directory);
  if (subsystem == "nvme") return "IONVMeController";
  if (subsystem == "pci") return "IOPCIDevice";
  if (subsystem != "usb" || baseName(directory).starts_with("usb")) return {};
  const auto facts = readBinaryAttribute(directory, "uevent").value_or("");
  return lineValue(facts, "DEVTYPE") == "usb_device" ? "IOUSBHostDevice" : "";
}

class BusEntry : public RegistryEntry {
 public:
  BusEntry(std::string directory, std::string className)
      : directory_(std::move(directory)), className_(std::move(className)) {}

  std::string className() const override { return className_; }
  std::optional<std::uint64_t> entryId() const override { return std::nullopt; }

  std::optional<PropertyValue> property(std::string_view key) const override {
    if (className_ == "IOUSBHostDevice") return usbProperty(directory_, key);
    if (className_ == "IONVMeController" && key == registry_key::protocol) {
      return PropertyValue("NVMe");
    }
    return std::nullopt;
  }

  std::unique_ptr<RegistryEntry> parent() const override { return busEntryAbove(directory_); }

 private:
  std::string directory_;
  std::string className_;
};

}  // namespace

std::unique_ptr<RegistryEntry> busEntryAbove(const std::string& directory) {
  for (auto device = parentDirectory(directory); !device.empty();
       device = parentDirectory(device)) {
    if (auto name = busClass(device); !name.empty()) {
      return std::make_unique<BusEntry>(device, std::move(name));
    }
  }
  return nullptr;
}

}  // namespace halvercine::platform::gnulinux
