#include "disks/HardwareFacts.h"

#include <gtest/gtest.h>

#include "support/SimulatedFixture.h"

namespace halvercine::disks {
namespace {

HardwareFacts gather(const std::string& chain) {
  tests::SimulatedFixture mac(R"([{"disk": "disk4", "chain": )" + chain + "}]");
  return HardwareFacts::gather(mac.platform.mediaRegistry->media("disk4").get());
}

TEST(HardwareFactsTest, NearestTextWinsAndBlankOnesCountAsMissing) {
  const auto facts = gather(R"([
    {"class": "IOBlockStorageDriver", "properties": {"Device Characteristics": {
      "Serial Number": "   ", "Product Revision Level": " 1161.40. ", "Medium Type": "Solid State",
      "Vendor Name": "", "Product Name": "APPLE SSD"}}},
    {"class": "IOSCSITargetDevice", "properties": {"Device Characteristics": "no dictionary"}},
    {"class": "IOUSBHostDevice", "properties": {"USB Serial Number": " 0123 ",
      "Firmware Revision": "7", "USB Product Name": "Bridge", "USB Vendor Name": "Maker",
      "Device Speed": 3}},
    {"class": "IOUSBHostDevice", "properties": {"USB Serial Number": "hub", "Device Speed": 2}},
    {"class": "IOPCIDevice", "properties": {}}])");
  EXPECT_EQ(facts.serial, "0123");
  EXPECT_EQ(facts.revision, "1161.40.");
  EXPECT_TRUE(facts.isSolidState);
  EXPECT_EQ(facts.attachment, HardwareFacts::Attachment::usb)
      << "the controller's PCI is further off";
  EXPECT_EQ(facts.linkDetail, "5 Gb/s");
}

TEST(HardwareFactsTest, StickWithoutASerialDoesNotTakeItsHubs) {
  const auto facts = gather(R"([
    {"class": "IOUSBMassStorageDriver", "properties": {}},
    {"class": "IOUSBHostDevice", "properties": {"USB Product Name": "Stick"}},
    {"class": "IOUSBHostDevice", "properties": {"USB Serial Number": "HUB1", "Device Speed": 2,
      "Firmware Revision": "9", "USB Vendor Name": "Hubs"}}])");
  EXPECT_EQ(facts.serial, std::nullopt);
  EXPECT_EQ(facts.revision, std::nullopt);
  EXPECT_EQ(facts.linkDetail, std::nullopt);
  EXPECT_EQ(facts.displayName(), "Stick");
}

TEST(HardwareFactsTest, NvmeIsPciAndItsHostIsNotUsb) {
  for (const char* protocol : {"NVMe", "PCI-Express"}) {
    const auto facts = gather(R"([{"class": "IONVMeController", "properties": {"Protocol": ")" +
                              std::string(protocol) +
                              R"("}}, {"class": "IOUSBHostDevice", "properties": {
                                 "USB Serial Number": "X"}}])");
    EXPECT_EQ(facts.attachment, HardwareFacts::Attachment::pci) << protocol;
    EXPECT_EQ(facts.serial, std::nullopt);
  }
  EXPECT_EQ(gather(R"([{"class": "IOPCIBridge", "properties": {}}])").attachment,
            HardwareFacts::Attachment::pci);
  const auto rotational = gather(R"([{"class": "X", "properties": {
    "Device Characteristics": {"Medium Type": "Rotational", "Product Revision Level": 4}}}])");
  EXPECT_FALSE(rotational.isSolidState);
  EXPECT_EQ(rotational.revision, std::nullopt);
  EXPECT_EQ(HardwareFacts::gather(nullptr).serial, std::nullopt);
}

}  // namespace
}  // namespace halvercine::disks
