#include "platform/linux/Hardware.h"

#include <functional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/DiskArbitration.h"
#include "platform/linux/FakeSysfs.h"
#include "platform/linux/LinuxMediaRegistry.h"
#include "platform/linux/describeMedium.h"

namespace halvercine::platform::gnulinux {
namespace {

using testing::ElementsAre;

constexpr const char* usbPort = "pci0000:00/0000:00:14.0/usb2/2-1/2-1.4";
constexpr const char* sataPort = "pci0000:00/0000:00:17.0/ata1/host0/target0:0:0/0:0:0:0";

std::string below(const std::string& parent, const std::string& rest) { return parent + rest; }

void usbStick(FakeSysfs& sysfs) {
  sysfs.device("pci0000:00/0000:00:14.0", "pci");
  sysfs.device("pci0000:00/0000:00:14.0/usb2", "usb");
  sysfs.attribute("pci0000:00/0000:00:14.0/usb2", "uevent", "DEVTYPE=usb_device\n");
  sysfs.attribute("pci0000:00/0000:00:14.0/usb2", "serial", "0000:00:14.0\n");
  sysfs.device("pci0000:00/0000:00:14.0/usb2/2-1", "usb");
  sysfs.attribute("pci0000:00/0000:00:14.0/usb2/2-1", "uevent", "DEVTYPE=usb_device\n");
  sysfs.device(usbPort, "usb");
  sysfs.attribute(usbPort, "uevent", "MAJOR=189\nDEVTYPE=usb_device\nDRIVER=usb\n");
  sysfs.attribute(usbPort, "serial", "AA01\n");
  sysfs.attribute(usbPort, "manufacturer", "SanDisk\n");
  sysfs.attribute(usbPort, "bcdDevice", "0110\n");
  sysfs.attribute(usbPort, "speed", "5000\n");
  const auto interface = below(usbPort, "/2-1.4:1.0");
  sysfs.device(interface, "usb");
  sysfs.attribute(interface, "uevent", "DEVTYPE=usb_interface\n");
  const auto unit = below(interface, "/host4/target4:0:0/4:0:0:0");
  sysfs.device(unit, "scsi");
  sysfs.attribute(unit, "vendor", "SanDisk \n");
  sysfs.attribute(unit, "model", "Ultra Fit       \n");
  sysfs.attribute(unit, "rev", "1.00\n");
  const auto disk = below(unit, "/block/sdt");
  sysfs.block(disk, "8:48", 40);
  sysfs.link("devices/" + disk + "/device", "../../../4:0:0:0");
  sysfs.attribute(disk, "removable", "1\n");
  sysfs.attribute(disk, "queue/rotational", "1\n");
  sysfs.block(disk + "/sdt1", "8:49", 40, 1);
  sysfs.attribute(disk + "/sdt1", "ro", "1\n");
}

void sataDisk(FakeSysfs& sysfs) {
  sysfs.device("pci0000:00/0000:00:17.0", "pci");
  sysfs.device(sataPort, "scsi");
  sysfs.attribute(sataPort, "vendor", "ATA     \n");
  sysfs.attribute(sataPort, "model", "Samsung SSD 860 \n");
  sysfs.attribute(sataPort, "vpd_pg80", std::string("\0\x80\0\x14      S3Z9NB0K12", 20));
  const auto disk = below(sataPort, "/block/sdt");
  sysfs.block(disk, "8:48", 40);
  sysfs.link("devices/" + disk + "/device", "../../../0:0:0:0");
  sysfs.attribute(disk, "removable", "0\n");
  sysfs.attribute(disk, "queue/rotational", "0\n");
}

void virtioDisk(FakeSysfs& sysfs, const std::string& rotational) {
  const std::string device = "pci0000:00/0000:00:02.0/virtio1";
  sysfs.device(device, "virtio");
  const auto disk = below(device, "/block/vdt");
  sysfs.block(disk, "254:64", 40);
  sysfs.link("devices/" + disk + "/device", "../../../virtio1");
  sysfs.attribute(disk, "queue/rotational", rotational);
}

// With multipath the disk hangs on the subsystem, which stands apart from all hardware.
void nvmeDisk(FakeSysfs& sysfs, const std::string& externalPort) {
  const std::string controller = "pci0000:00/0000:01:00.0/nvme/nvme0";
  const std::string subsystem = "virtual/nvme-subsystem/nvme-subsys0";
  sysfs.device("pci0000:00/0000:01:00.0", "pci");
  sysfs.attribute("pci0000:00/0000:01:00.0", "removable", externalPort);
  sysfs.device(controller, "nvme");
  sysfs.device(subsystem, "nvme-subsystem");
  sysfs.link("devices/" + subsystem + "/nvme0", "../../../" + controller);
  sysfs.attribute(subsystem, "model", "WD_BLACK SN850X\n");
  sysfs.attribute(subsystem, "serial", "23040A\n");
  sysfs.attribute(subsystem, "firmware_rev", "620311WD\n");
  sysfs.block(subsystem + "/nvme0n1", "259:77", 40);
  sysfs.link("devices/" + subsystem + "/nvme0n1/device", "../../nvme-subsys0");
  sysfs.attribute(subsystem + "/nvme0n1", "queue/rotational", "0\n");
}

std::vector<std::string> chain(std::unique_ptr<RegistryEntry> entry) {
  std::vector<std::string> classes;
  for (; entry; entry = entry->parent()) classes.push_back(entry->className());
  return classes;
}

std::unique_ptr<RegistryEntry> ancestor(std::unique_ptr<RegistryEntry> entry, int levels) {
  while (entry && levels-- > 0) entry = entry->parent();
  return entry;
}

TEST(Hardware, BusAndPlace) {
  struct Case {
    const char* name;
    std::function<void(FakeSysfs&)> build;
    const char* bus;
    std::optional<bool> isInternal;
  };
  const std::vector<Case> cases{
      {"USB", usbStick, "USB", false},
      {"SATA", sataDisk, "SATA", true},
      {"NVMe", [](FakeSysfs& sysfs) { nvmeDisk(sysfs, "fixed\n"); }, "NVMe", true},
      {"NVMe behind Thunderbolt", [](FakeSysfs& sysfs) { nvmeDisk(sysfs, "removable\n"); }, "NVMe",
       false},
      {"loop", [](FakeSysfs& sysfs) { sysfs.block("virtual/block/loop9", "7:9", 40); }, "Loop",
       std::nullopt},
      {"mapped", [](FakeSysfs& sysfs) { sysfs.block("virtual/block/dm-0", "252:0", 40); }, "",
       std::nullopt},
  };
  for (const auto& [name, build, bus, internal] : cases) {
    SCOPED_TRACE(name);
    FakeSysfs sysfs;
    build(sysfs);
    const auto disk = DeviceTable(sysfs.root()).find(MediumId{40, 0});
    ASSERT_TRUE(disk);
    EXPECT_EQ(busOf(disk->directory), bus);
    EXPECT_EQ(isInternal(disk->directory, bus), internal);
  }
}

TEST(Hardware, IdentityIsReadWhereEachDriverLeavesIt) {
  using Dictionary = PropertyDictionary;
  const auto characteristics = [](const std::function<void(FakeSysfs&)>& build) {
    FakeSysfs sysfs;
    build(sysfs);
    const auto disk = DeviceTable(sysfs.root()).find(MediumId{40, 0});
    return deviceCharacteristics(disk->directory, {});
  };
  EXPECT_EQ(characteristics(usbStick), (Dictionary{{"Product Name", "Ultra Fit"},
                                                   {"Vendor Name", "SanDisk"},
                                                   {"Product Revision Level", "1.00"},
                                                   {"Medium Type", "Rotational"}}));
  EXPECT_EQ(characteristics(sataDisk), (Dictionary{{"Product Name", "Samsung SSD 860"},
                                                   {"Serial Number", "S3Z9NB0K12"},
                                                   {"Medium Type", "Solid State"}}));
  EXPECT_EQ(characteristics([](FakeSysfs& sysfs) { virtioDisk(sysfs, "1\n"); }), Dictionary{});
  EXPECT_EQ(characteristics([](FakeSysfs& sysfs) { virtioDisk(sysfs, "0\n"); }),
            (Dictionary{{"Medium Type", "Solid State"}}));
  EXPECT_EQ(characteristics([](FakeSysfs& sysfs) { nvmeDisk(sysfs, ""); }),
            (Dictionary{{"Product Name", "WD_BLACK SN850X"},
                        {"Serial Number", "23040A"},
                        {"Product Revision Level", "620311WD"},
                        {"Medium Type", "Solid State"}}));
}

TEST(MediaRegistry, ChainOfAUsbStick) {
  FakeSysfs sysfs;
  usbStick(sysfs);
  LinuxMediaRegistry registry(std::make_shared<Storage>(sysfs.root()));
  // The root hub, which would lend its own serial number, is not there.
  EXPECT_THAT(chain(registry.media("disk40s1")),
              ElementsAre("IOMedia", "IOMedia", "IOBlockStorageDevice", "IOUSBHostDevice",
                          "IOUSBHostDevice", "IOPCIDevice"));
  const auto partition = registry.media("disk40s1");
  EXPECT_EQ(partition->entryId(), 40u << 16 | 1u);
  EXPECT_EQ(partition->property(registry_key::writable), PropertyValue(false));
  EXPECT_EQ(partition->property(registry_key::deviceNode), PropertyValue("/dev/sdt1"));
  const auto stick = ancestor(registry.media("disk40s1"), 3);
  EXPECT_EQ(stick->property(registry_key::usbSerialNumber), PropertyValue("AA01"));
  EXPECT_EQ(stick->property(registry_key::usbProductName), std::nullopt);
  EXPECT_EQ(stick->property(registry_key::firmwareRevision), PropertyValue("0110"));
  EXPECT_EQ(stick->property(registry_key::deviceSpeed), PropertyValue(3));
  sysfs.remove("sdt1");
  EXPECT_EQ(partition->property(registry_key::bsdName), std::nullopt);
  EXPECT_EQ(partition->parent(), nullptr);
}

TEST(MediaRegistry, ChainOfAnNvmeDiskLeadsThroughItsController) {
  FakeSysfs sysfs;
  nvmeDisk(sysfs, "");
  LinuxMediaRegistry registry(std::make_shared<Storage>(sysfs.root()));
  EXPECT_THAT(chain(registry.media("disk40")),
              ElementsAre("IOMedia", "IOBlockStorageDevice", "IONVMeController", "IOPCIDevice"));
  EXPECT_EQ(ancestor(registry.media("disk40"), 2)->property(registry_key::protocol),
            PropertyValue("NVMe"));
}

TEST(DescribeMedium, LeavesOutWhatNobodyKnows) {
  FakeSysfs sysfs;
  usbStick(sysfs);
  Storage storage(sysfs.root());
  const auto description = describeMedium(*storage.devices.find(MediumId{40, 1}), storage);
  EXPECT_EQ(description,
            (PropertyDictionary{{std::string(disk_description::mediaWhole), false},
                                {std::string(disk_description::mediaSize), 1 << 20},
                                {std::string(disk_description::mediaWritable), false},
                                {std::string(disk_description::mediaRemovable), true},
                                {std::string(disk_description::mediaName), "SanDisk Ultra Fit"},
                                {std::string(disk_description::deviceInternal), false},
                                {std::string(disk_description::deviceModel), "Ultra Fit"},
                                {std::string(disk_description::deviceProtocol), "USB"},
                                {std::string(disk_description::busName), "USB"}}));
}

}  // namespace
}  // namespace halvercine::platform::gnulinux
