#include "platform/linux/LinuxMediaRegistry.h"

#include <algorithm>
#include <array>

#include "platform/linux/BusEntry.h"
#include "platform/linux/Hardware.h"
#include "platform/linux/describeMedium.h"
#include "platform/linux/sysfs.h"

namespace halvercine::platform::gnulinux {
namespace {

class BlockStorageDeviceEntry : public RegistryEntry {
 public:
  BlockStorageDeviceEntry(std::shared_ptr<Storage> storage, BlockDevice disk)
      : storage_(std::move(storage)), disk_(std::move(disk)) {}

  std::string className() const override { return "IOBlockStorageDevice"; }
  std::optional<std::uint64_t> entryId() const override { return std::nullopt; }

  std::optional<PropertyValue> property(std::string_view key) const override {
    if (key != registry_key::deviceCharacteristics) return std::nullopt;
    auto characteristics =
        deviceCharacteristics(disk_.directory, storage_->udev.properties(disk_.number));
    if (characteristics.empty()) return std::nullopt;
    return std::optional<PropertyValue>(std::in_place, std::move(characteristics));
  }

  std::unique_ptr<RegistryEntry> parent() const override { return busEntryAbove(disk_.directory); }

 private:
  std::shared_ptr<Storage> storage_;
  BlockDevice disk_;
};

class MediaEntry : public RegistryEntry {
 public:
  MediaEntry(std::shared_ptr<Storage> storage, MediumId id)
      : storage_(std::move(storage)), id_(id) {}

  std::string className() const override { return "IOMedia"; }
  std::optional<std::uint64_t> entryId() const override { return id_.entryId(); }

  std::optional<PropertyValue> property(std::string_view key) const override {
    // Most keys that are asked for belong to the devices above: that needs no look at this one.
    constexpr std::array<std::string_view, 6> keys{registry_key::bsdName,
                                                   registry_key::deviceNode,
                                                   registry_key::writable,
                                                   registry_key::uuid,
                                                   "Size",
                                                   "Whole"};
    if (std::ranges::find(keys, key) == keys.end()) return std::nullopt;
    const auto device = storage_->devices.find(id_);
    if (!device) return std::nullopt;
    if (key == registry_key::bsdName) return PropertyValue(bsdName(id_));
    if (key == registry_key::deviceNode) return PropertyValue(device->node);
    if (key == registry_key::writable) return writable(*device);
    if (key == registry_key::uuid) return uuid(*device);
    if (key == "Size") return PropertyValue(static_cast<std::int64_t>(device->size));
    if (key == "Whole") return PropertyValue(!device->isPartition());
    return std::nullopt;
  }

  std::unique_ptr<RegistryEntry> parent() const override {
    auto disk = storage_->devices.find(MediumId{id_.sequence, 0});
    if (!disk) return nullptr;
    if (id_.partition == 0) {
      return std::make_unique<BlockStorageDeviceEntry>(storage_, std::move(*disk));
    }
    if (!storage_->devices.find(id_)) return nullptr;
    return std::make_unique<MediaEntry>(storage_, disk->id);
  }

 private:
  static std::optional<PropertyValue> writable(const BlockDevice& device) {
    const auto protection = readNumber(device.directory, "ro");
    if (!protection) return std::nullopt;
    return PropertyValue(*protection == 0);
  }

  std::optional<PropertyValue> uuid(const BlockDevice& device) const {
    if (!device.isPartition()) return std::nullopt;  // spares reading the medium
    auto text = uuidText(storage_->content(device).partitionUuid);
    if (!text) return std::nullopt;
    return PropertyValue(std::move(*text));
  }

  std::shared_ptr<Storage> storage_;
  MediumId id_;
};

}  // namespace

std::unique_ptr<RegistryEntry> mediaEntry(std::shared_ptr<Storage> storage, MediumId id) {
  return std::make_unique<MediaEntry>(std::move(storage), id);
}

std::vector<std::unique_ptr<RegistryEntry>> LinuxMediaRegistry::allMedia() {
  std::vector<std::unique_ptr<RegistryEntry>> media;
  for (const auto& device : storage_->devices.all()) {
    media.push_back(mediaEntry(storage_, device.id));
  }
  return media;
}

std::unique_ptr<RegistryEntry> LinuxMediaRegistry::media(const std::string& bsdName) {
  const auto id = parseBsdName(bsdName);
  if (!id || !storage_->devices.find(*id)) return nullptr;
  return mediaEntry(storage_, *id);
}

}  // namespace halvercine::platform::gnulinux
