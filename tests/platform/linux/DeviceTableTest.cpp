#include "platform/linux/DeviceTable.h"

#include <sys/sysmacros.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/linux/FakeSysfs.h"

namespace halvercine::platform::gnulinux {
namespace {

using testing::ElementsAre;

std::vector<std::string> names(const std::vector<BlockDevice>& devices) {
  std::vector<std::string> names;
  for (const auto& device : devices) names.push_back(bsdName(device.id) + "=" + device.node);
  return names;
}

TEST(DeviceTable, ListsWhatHoldsAMediumInTheOrderOfNumbers) {
  FakeSysfs sysfs;
  sysfs.block("virtual/block/ram0", "1:0", 1);
  sysfs.block("virtual/block/zram0", "253:0", 2);
  sysfs.block("virtual/block/loop1", "7:1", 3, 0, 0);
  sysfs.block("virtual/block/loop1/loop1p1", "259:7", 3, 1);  // outlived its disk's file
  sysfs.device("pci0/nvme/nvme0/nvme0c0n1", "block");         // a path: hidden, no number
  sysfs.link("class/block/nvme0c0n1", "../../devices/pci0/nvme/nvme0/nvme0c0n1");
  sysfs.block("pci0/sdb", "8:16", 12);
  sysfs.block("pci0/sda", "8:0", 9);
  sysfs.block("pci0/sda/sda10", "8:10", 9, 10);
  sysfs.block("pci0/sda/sda2", "8:2", 9, 2);
  DeviceTable table(sysfs.root());
  EXPECT_THAT(names(table.all()), ElementsAre("disk9=/dev/sda", "disk9s2=/dev/sda2",
                                              "disk9s10=/dev/sda10", "disk12=/dev/sdb"));
  EXPECT_EQ(table.find(makedev(8, 10))->id, (MediumId{9, 10}));
  EXPECT_FALSE(table.find(makedev(1, 0)));
}

TEST(DeviceTable, NeverAnswersForAnotherDiskOfTheSameKernelName) {
  FakeSysfs sysfs;
  sysfs.block("virtual/block/loop0", "7:0", 5);
  DeviceTable table(sysfs.root());
  ASSERT_TRUE(table.find(MediumId{5, 0}));  // without a search before
  sysfs.block("virtual/block/loop0", "7:0", 6);
  EXPECT_FALSE(table.find(MediumId{5, 0}));
  EXPECT_TRUE(table.find(MediumId{6, 0}));
  sysfs.remove("loop0");
  EXPECT_FALSE(table.find(MediumId{6, 0}));
}

TEST(DeviceTable, FindsAPartitionThatCameLater) {
  FakeSysfs sysfs;
  sysfs.block("virtual/block/loop0", "7:0", 5);
  DeviceTable table(sysfs.root());
  EXPECT_FALSE(table.find(MediumId{5, 1}));
  sysfs.block("virtual/block/loop0/loop0p1", "259:0", 5, 1);
  EXPECT_EQ(table.find(MediumId{5, 1})->node, "/dev/loop0p1");
}

TEST(DeviceTable, NamesDisksByTheirDeviceNumberWhereTheKernelDoesNotCountThem) {
  FakeSysfs sysfs;
  sysfs.block("pci0/sdb", "8:16", 0);
  sysfs.attribute("pci0/sdb", "dev", "8:16\n");
  sysfs.block("pci0/sdb/sdb1", "8:17", 0, 1);
  DeviceTable table(sysfs.root());
  EXPECT_THAT(names(table.all()), ElementsAre("disk8388624=/dev/sdb", "disk8388624s1=/dev/sdb1"));
}

}  // namespace
}  // namespace halvercine::platform::gnulinux
