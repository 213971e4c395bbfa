#include "platform/simulated/presets.h"

#include <algorithm>
#include <charconv>
#include <string_view>
#include <utility>

#include "platform/DiskArbitration.h"
#include "platform/MediaRegistry.h"

namespace halvercine::platform::simulated {
namespace {

namespace description = disk_description;

/// How the interface names itself to disk arbitration.
std::string protocolOf(const ScenarioDevice& device) {
  switch (device.attachment) {
    case Attachment::usb:
    case Attachment::uas:
      return "USB";
    case Attachment::nvme:
      return *device.internal == true ? "Apple Fabric" : "PCI-Express";
    case Attachment::apfs:
      return "Apple Fabric";
    case Attachment::thunderbolt:
      return "PCI-Express";
    case Attachment::sata:
      return "SATA";
    case Attachment::sd:
      return "Secure Digital";
    case Attachment::image:
      return "Virtual Interface";
  }
  return {};
}

std::optional<std::string> busNameOf(Attachment attachment) {
  switch (attachment) {
    case Attachment::usb:
    case Attachment::uas:
      return "USB";
    case Attachment::thunderbolt:
      return "Thunderbolt";
    case Attachment::sata:
      return "PRT0";
    case Attachment::sd:
      return "SDXC";
    case Attachment::image:
      return "/";
    case Attachment::nvme:
    case Attachment::apfs:
      return std::nullopt;
  }
  return std::nullopt;
}

std::int64_t unitOf(std::string_view disk) {
  int unit = 0;
  const auto digits = disk.substr(std::string_view("disk").size());
  std::from_chars(digits.data(), digits.data() + digits.size(), unit);
  return unit;
}

template <class T>
void setIfPresent(PropertyDictionary& dictionary, std::string_view key,
                  const std::optional<T>& value) {
  if (value) dictionary.insert_or_assign(std::string(key), PropertyValue(*value));
}

void setUuid(PropertyDictionary& dictionary, std::string_view key,
             const std::optional<std::optional<std::string>>& text) {
  if (!text || !*text) return;
  if (const auto uuid = uuidFromText(**text)) dictionary.insert_or_assign(std::string(key), *uuid);
}

PropertyDictionary deviceDescription(const ScenarioDevice& device) {
  PropertyDictionary result{{std::string(description::deviceModel), *device.model},
                            {std::string(description::deviceProtocol), protocolOf(device)},
                            {"DADeviceUnit", 0}};
  setIfPresent(result, "DADeviceVendor", device.vendor);
  setIfPresent(result, "DADeviceRevision", device.revision);
  setIfPresent(result, description::busName, busNameOf(device.attachment));
  setIfPresent(result, description::deviceInternal, *device.internal);
  return result;
}

void addVolume(PropertyDictionary& result, const ScenarioMedia& media, const MediaState& state) {
  result.insert_or_assign("DAVolumeMountable", media.kind.has_value());
  result.insert_or_assign("DAVolumeNetwork", false);
  setIfPresent(result, description::volumeKind, media.kind);
  setIfPresent(result, description::volumeName, media.name);
  setUuid(result, description::volumeUuid, media.uuid);
  if (state.mountPath) {
    result.insert_or_assign(std::string(description::volumePath), FileUrl{*state.mountPath});
  }
}

using Chain = std::vector<ScenarioChainLink>;

PropertyDictionary characteristics(const ScenarioDevice& device, bool withSerial) {
  PropertyDictionary result{{"Product Name", *device.model}};
  result.insert_or_assign("Vendor Name", device.vendor.value_or(""));
  setIfPresent(result, "Product Revision Level", device.revision);
  if (withSerial && !device.serial->empty())
    result.insert_or_assign("Serial Number", *device.serial);
  if (*device.solidState) {
    result.insert_or_assign("Medium Type", "Solid State");
  } else if (device.attachment == Attachment::sata) {
    result.insert_or_assign("Medium Type", "Rotational");
  }
  return result;
}

PropertyDictionary protocolProperty(const ScenarioDevice& device) {
  const auto image = device.attachment == Attachment::image;
  const auto* location = image ? "File" : *device.internal == true ? "Internal" : "External";
  return {{"Protocol Characteristics",
           PropertyDictionary{{"Physical Interconnect", protocolOf(device)},
                              {"Physical Interconnect Location", location}}}};
}

/// The storage device itself: the entry that tells what it is made of.
ScenarioChainLink storageDevice(std::string className, const ScenarioDevice& device,
                                bool withSerial) {
  auto properties = protocolProperty(device);
  properties.insert_or_assign(std::string(registry_key::deviceCharacteristics),
                              characteristics(device, withSerial));
  return {std::move(className), std::move(properties)};
}

ScenarioChainLink usbDevice(const ScenarioDevice& device) {
  PropertyDictionary properties{{"idVendor", 0x0781}, {"idProduct", 0x5583}};
  properties.insert_or_assign(std::string(registry_key::usbProductName), *device.model);
  properties.insert_or_assign(std::string(registry_key::deviceSpeed), *device.speed);
  setIfPresent(properties, registry_key::usbVendorName, device.vendor);
  if (!device.serial->empty()) {
    properties.insert_or_assign(std::string(registry_key::usbSerialNumber), *device.serial);
    properties.insert_or_assign("kUSBSerialNumberString", *device.serial);
  }
  return {"IOUSBHostDevice", std::move(properties)};
}

Chain usbChain(const ScenarioDevice& device) {
  const auto* driver =
      device.attachment == Attachment::uas ? "IOUSBMassStorageUASDriver" : "IOUSBMassStorageDriver";
  return {{"IOBlockStorageDriver", {}},
          storageDevice("IOBlockStorageServices", device, false),
          {"IOSCSIPeripheralDeviceType00", {}},
          {"IOSCSILogicalUnitNub", {}},
          {driver, {}},
          {"IOUSBMassStorageDriverNub", {}},
          {"IOUSBMassStorageInterfaceNub", {}},
          usbDevice(device),
          {"AppleUSB30XHCIARMPort", {}},
          {"AppleARMIODevice", {}},
          {"IOPlatformExpertDevice", {}}};
}

Chain fabricChain(const ScenarioDevice& device) {
  PropertyDictionary controller{{"Physical Interconnect", "Apple Fabric"},
                                {"Model Number", *device.model}};
  setIfPresent(controller, registry_key::firmwareRevision, device.revision);
  return {{"IOBlockStorageDriver", {}},
          storageDevice("IOEmbeddedNVMeBlockDevice", device, true),
          {"AppleANS3CGv2Controller", std::move(controller)},
          {"RTBuddyService", {}},
          {"AppleARMIODevice", {}},
          {"IOPlatformExpertDevice", {}}};
}

Chain pciChain(const ScenarioDevice& device) {
  PropertyDictionary controller{{"Model Number", *device.model},
                                {std::string(registry_key::protocol), "NVMe"}};
  setIfPresent(controller, registry_key::firmwareRevision, device.revision);
  PropertyDictionary slot;
  if (device.attachment == Attachment::thunderbolt) slot.emplace("IOPCITunnelled", true);
  return {{"IOBlockStorageDriver", {}},
          storageDevice("IONVMeBlockStorageDevice", device, true),
          {"IONVMeController", std::move(controller)},
          {"IOPCIDevice", std::move(slot)},
          {"IOPCI2PCIBridge", {}},
          {"AppleARMIODevice", {}},
          {"IOPlatformExpertDevice", {}}};
}

Chain apfsChain(const ScenarioDevice& device) {
  Chain chain{{"AppleAPFSContainerScheme", {}},
              {"IOMedia", {}},
              {"IOGUIDPartitionScheme", {}},
              {"IOMedia", {}}};
  std::ranges::move(fabricChain(device), std::back_inserter(chain));
  return chain;
}

}  // namespace

PropertyDictionary presetDescription(const ScenarioDevice& device, const ScenarioMedia& media,
                                     const MediaState& state) {
  auto result = deviceDescription(device);
  const bool whole = media.disk == device.disk;
  const PropertyDictionary values{{"DAMediaBSDName", media.disk},
                                  {"DAMediaBSDUnit", unitOf(media.disk)},
                                  {"DAMediaEjectable", *device.removable},
                                  {"DAMediaKind", *media.className},
                                  {"DAMediaLeaf", !whole || device.volumes.empty()},
                                  {std::string(description::mediaWhole), whole},
                                  {std::string(description::mediaSize), *media.size},
                                  {std::string(description::mediaBlockSize), *device.blockSize},
                                  {std::string(description::mediaName), *media.mediaName},
                                  {std::string(description::mediaWritable), state.writable},
                                  {std::string(description::mediaRemovable), *device.removable},
                                  {std::string(description::mediaContent), *media.content}};
  result.insert(values.begin(), values.end());
  setUuid(result, description::mediaUuid, media.mediaUUID);
  addVolume(result, media, state);
  return result;
}

PropertyDictionary presetMediaProperties(const ScenarioDevice& device, const ScenarioMedia& media,
                                         const MediaState& state) {
  const bool whole = media.disk == device.disk;
  PropertyDictionary result{{std::string(registry_key::bsdName), media.disk},
                            {"BSD Unit", unitOf(media.disk)},
                            {"Whole", whole},
                            {"Leaf", !whole || device.volumes.empty()},
                            {"Size", *media.size},
                            {"Preferred Block Size", *device.blockSize},
                            {"Content", *media.content},
                            {"Content Hint", whole ? std::string() : *media.content},
                            {"Removable", *device.removable},
                            {"Ejectable", *device.removable},
                            {"Open", state.mountPath.has_value()},
                            {std::string(registry_key::writable), state.writable}};
  setIfPresent(result, registry_key::uuid, *media.mediaUUID);
  return result;
}

std::vector<ScenarioChainLink> presetChain(const ScenarioDevice& device) {
  switch (device.attachment) {
    case Attachment::usb:
    case Attachment::uas:
      return usbChain(device);
    case Attachment::nvme:
      return *device.internal == true ? fabricChain(device) : pciChain(device);
    case Attachment::thunderbolt:
      return pciChain(device);
    case Attachment::apfs:
      return apfsChain(device);
    case Attachment::sata:
      return {{"IOBlockStorageDriver", {}}, storageDevice("IOAHCIBlockStorageDevice", device, true),
              {"AppleAHCIDiskDriver", {}},  {"IOAHCIDevice", {}},
              {"AppleAHCIPort", {}},        {"AppleAHCI", {}},
              {"IOPCIDevice", {}},          {"IOPlatformExpertDevice", {}}};
    case Attachment::sd:
      return {
          {"IOBlockStorageDriver", {}}, storageDevice("AppleSDXCBlockStorageDevice", device, true),
          {"AppleSDXCSlot", {}},        {"AppleSDXC", {}},
          {"IOPCIDevice", {}},          {"IOPlatformExpertDevice", {}}};
    case Attachment::image:
      return {{"IOBlockStorageDriver", {}},
              storageDevice("AppleDiskImageDevice", device, false),
              {"AppleDiskImagesController", {}},
              {"IOResources", {}}};
  }
  return {};
}

std::string partitionSchemeClass(const ScenarioDevice& device) {
  if (device.attachment == Attachment::apfs) return "AppleAPFSContainer";
  return device.content == "FDisk_partition_scheme" ? "IOFDiskPartitionScheme"
                                                    : "IOGUIDPartitionScheme";
}

}  // namespace halvercine::platform::simulated
