#include "platform/simulated/presets.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "platform/simulated/completeDevice.h"

namespace halvercine::platform::simulated {
namespace {

/// What the program tells attachments apart by.
struct Facts {
  std::string protocol;
  std::optional<bool> internal;
  bool usbClass = false;
  bool pciClass = false;
  bool solid = false;
  bool serialInCharacteristics = false;

  bool operator==(const Facts&) const = default;
};

void PrintTo(const Facts& facts, std::ostream* out) {
  *out << facts.protocol << " internal " << (facts.internal ? int{*facts.internal} : -1) << " usb "
       << facts.usbClass << " pci " << facts.pciClass << " solid " << facts.solid << " serial "
       << facts.serialInCharacteristics;
}

Facts factsOf(Attachment attachment, std::optional<bool> internal = std::nullopt) {
  ScenarioDevice given;
  given.disk = "disk4";
  given.attachment = attachment;
  given.serial = "SERIAL";
  if (internal) given.internal = internal;
  const auto device = completeDevice(given);
  const auto description = presetDescription(device, device, {});
  Facts facts{*description.at("DADeviceProtocol").as<std::string>(), std::nullopt};
  const auto found = description.find("DADeviceInternal");
  if (found != description.end()) facts.internal = *found->second.as<bool>();
  for (const auto& link : presetChain(device)) {
    facts.usbClass = facts.usbClass || link.className.starts_with("IOUSB");
    facts.pciClass = facts.pciClass || link.className.starts_with("IOPCI");
    const auto characteristics = link.properties.find("Device Characteristics");
    if (characteristics == link.properties.end()) continue;
    const auto& values = *characteristics->second.as<PropertyDictionary>();
    facts.serialInCharacteristics = values.contains("Serial Number");
    facts.solid = values.contains("Medium Type") && values.at("Medium Type") == "Solid State";
  }
  return facts;
}

TEST(Presets, lookLikeTheirHardware) {
  EXPECT_EQ(factsOf(Attachment::usb), (Facts{"USB", false, true, false, false, false}));
  EXPECT_EQ(factsOf(Attachment::uas), (Facts{"USB", false, true, false, true, false}));
  EXPECT_EQ(factsOf(Attachment::nvme), (Facts{"Apple Fabric", true, false, false, true, true}));
  EXPECT_EQ(factsOf(Attachment::nvme, false),
            (Facts{"PCI-Express", false, false, true, true, true}));
  EXPECT_EQ(factsOf(Attachment::thunderbolt),
            (Facts{"PCI-Express", false, false, true, true, true}));
  EXPECT_EQ(factsOf(Attachment::sata), (Facts{"SATA", false, false, true, false, true}));
  EXPECT_EQ(factsOf(Attachment::sd), (Facts{"Secure Digital", true, false, true, false, true}));
  EXPECT_EQ(factsOf(Attachment::image),
            (Facts{"Virtual Interface", std::nullopt, false, false, false, false}));
}

TEST(Presets, volumesShareWhatTheOthersLeave) {
  ScenarioDevice device;
  device.disk = "disk4";
  device.size = 1000;
  device.volumes.resize(3);
  device.volumes[1].size = 400;
  const auto complete = completeDevice(device);
  EXPECT_EQ(complete.volumes[0].size, 300);
  EXPECT_EQ(complete.volumes[2].size, 300);
  device.volumes[1].size = 5000;
  EXPECT_EQ(completeDevice(device).volumes[0].size, 0);
}

TEST(Presets, identitiesFollowTheDeviceAndNotThePlace) {
  ScenarioDevice device;
  device.disk = "disk4";
  auto& volume = device.volumes.emplace_back();
  volume.disk = "disk4s1";
  volume.kind = "ntfs";
  volume.name = "DATA";
  const auto first = completeDevice(device);
  device.size = 1;
  EXPECT_EQ(completeDevice(device).volumes[0].uuid, first.volumes[0].uuid);
  device.serial = "ANOTHER";
  EXPECT_NE(completeDevice(device).volumes[0].uuid, first.volumes[0].uuid);
  device.volumes[0].kind.reset();
  EXPECT_EQ(completeDevice(device).volumes[0].uuid->has_value(), false);
}

}  // namespace
}  // namespace halvercine::platform::simulated
