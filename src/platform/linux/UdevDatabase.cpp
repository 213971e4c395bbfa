#include "platform/linux/UdevDatabase.h"

#include <charconv>
#include <unistd.h>

#include <libudev.h>

namespace halvercine::platform::gnulinux {
namespace {

constexpr const char* database = "/run/udev/data";

struct ReleaseDevice {
  void operator()(udev_device* device) const { udev_device_unref(device); }
};

}  // namespace

std::string decodedUdevText(std::string_view text) {
  std::string decoded;
  while (!text.empty()) {
    unsigned char byte = 0;
    const auto digits = text.starts_with("\\x") ? text.substr(2, 2) : std::string_view();
    const auto end = digits.data() + digits.size();
    if (digits.size() == 2 && std::from_chars(digits.data(), end, byte, 16).ptr == end) {
      decoded += static_cast<char>(byte);
      text.remove_prefix(4);
    } else {
      decoded += text.front();
      text.remove_prefix(1);
    }
  }
  return decoded;
}

std::string udevText(const UdevProperties& properties, std::string_view key) {
  const auto found = properties.find(key);
  return found == properties.end() ? std::string() : decodedUdevText(found->second);
}

void UdevDatabase::Release::operator()(udev* library) const { udev_unref(library); }

UdevDatabase::UdevDatabase() : udev_(::access(database, R_OK) == 0 ? udev_new() : nullptr) {}

UdevDatabase::~UdevDatabase() = default;

UdevProperties UdevDatabase::properties(dev_t number) const {
  UdevProperties properties;
  if (!udev_) return properties;
  const std::lock_guard lock(mutex_);
  const std::unique_ptr<udev_device, ReleaseDevice> device(
      udev_device_new_from_devnum(udev_.get(), 'b', number));
  if (!device || udev_device_get_is_initialized(device.get()) <= 0) return properties;
  udev_list_entry* entry = nullptr;
  udev_list_entry_foreach(entry, udev_device_get_properties_list_entry(device.get())) {
    const char* const value = udev_list_entry_get_value(entry);
    if (value != nullptr) properties.emplace(udev_list_entry_get_name(entry), value);
  }
  return properties;
}

}  // namespace halvercine::platform::gnulinux
