#include "platform/linux/MountTable.h"

#include <sys/sysmacros.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/linux/FakeSysfs.h"

namespace halvercine::platform::gnulinux {
namespace {

constexpr const char* table =
    "22 1 0:21 / /proc rw,relatime - proc proc rw\n"
    "30 1 231:1 /music /srv/music rw - fuseblk /dev/none1 rw,user_id=0\n"
    "31 1 231:1 / /media/a\\040b\\012\\134\"c\xE2\x80\xAE rw shared:5 - fuseblk /dev/none1 ro\n"
    "32 1 231:2 / /media/ro ro,nosuid - ntfs3 /dev/none2 rw,uid=0\n"
    "33 1 231:3 / /media/rofl rw,nosuid - ntfs3 /dev/none3 rw,errors=remount-ro\n"
    "34 1 0:44 / /media/net rw - nfs host:/dev/sda1 ro\n";

MountSnapshot snapshot(FakeSysfs& folder, const std::string& text) {
  folder.attribute("", "mountinfo", text);
  return readMounts(folder.root() + "/devices/mountinfo");
}

TEST(MountTable, TellsSourceTypeAccessAndAnyMountPoint) {
  FakeSysfs folder;
  const auto mounts = snapshot(folder, table);
  const auto hostile = *mounts.find(31);
  EXPECT_EQ(hostile.target, "/media/a b\n\\\"c\xE2\x80\xAE");
  EXPECT_EQ(hostile.source, "/dev/none1");
  EXPECT_EQ(hostile.type, "fuseblk");
  EXPECT_TRUE(hostile.readOnly) << "protected as a whole";
  EXPECT_TRUE(mounts.find(32)->readOnly) << "protected at this mount point";
  EXPECT_FALSE(mounts.find(33)->readOnly) << "an option that only looks like it";
  EXPECT_EQ(mounts.principal(makedev(231, 1))->target, hostile.target) << "before the bound folder";
  EXPECT_EQ(mounts.of(makedev(231, 1))->size(), 2u);
  EXPECT_EQ(mounts.of(makedev(0, 44)), nullptr) << "no block device";
  EXPECT_EQ(mounts.find(99), nullptr);
}

TEST(MountTable, DifferenceNamesEachDeviceWhoseMountsChanged) {
  FakeSysfs folder;
  const auto before = snapshot(folder, table);
  const auto after = snapshot(folder,
                              "30 1 231:1 /music /srv/music rw - fuseblk /dev/none1 rw,user_id=0\n"
                              "32 1 231:2 / /media/ro rw,nosuid - ntfs3 /dev/none2 rw,uid=0\n"
                              "33 1 231:3 / /media/rofl rw - ntfs3 /dev/none3 rw\n"
                              "40 1 231:4 / /media/new rw - ext4 /dev/none4 rw\n");
  const auto changed =
      testing::UnorderedElementsAre(makedev(231, 1), makedev(231, 2), makedev(231, 4));
  EXPECT_THAT(before.difference(after), changed);
  EXPECT_THAT(after.difference(before), changed);
}

}  // namespace
}  // namespace halvercine::platform::gnulinux
