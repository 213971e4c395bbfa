#include "disks/DiskUtilityText.h"

#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "support/testData.h"

namespace halvercine::disks {
namespace {

using tests::testData;
using tests::testDataBlock;

TEST(DiskUtilityTextTest, RealRecords) {
  struct Record {
    const char* file;
    bool isReadOnly;
    std::optional<std::string_view> mountPoint;
    bool isNtfs;
    std::optional<std::string_view> volumeUuid;
  };
  const Record records[] = {
      {"ntfs-usb-truncated", true, "/Volumes/WDUSBTEMP", true,
       "FFCC5E90-000D-445B-B86C-9F8E5C3BC37E"},
      {"whole-disk", false, {}, false, {}},
      {"ntfs-empty-name-10.9", true, "/Volumes/Untitled", true, {}},
      {"ntfs-unmounted-truncated-10.15", true, {}, true, "4C31E7AC-26AD-4347-8139-C3DFCEC13DBB"},
      {"exfat-internal-10.13", false, "/Volumes/UbuntuPart", false,
       "D571AF1C-6074-3F47-AF60-B2987240331B"},
      {"exfat-unmounted-10.14", false, {}, false, "7727ED95-7E4C-3A6F-A25C-79F2D5F0721B"},
      {"corestorage-10.12", false, "/", false, "BFDDBF0E-8AAC-30F3-9D51-FD9FB55A8324"},
      {"dvd-macos11", true, "/Volumes/Untitled", false, {}},
      {"log-line-inside-10.12", false, {}, false, {}},
      {"card-reader-no-indent", false, {}, false, {}},
  };
  for (const auto& record : records) {
    const auto info = testData(std::string("diskutil/") + record.file + ".txt");
    EXPECT_EQ(isReadOnly(info), record.isReadOnly) << record.file;
    EXPECT_EQ(isMounted(info), record.mountPoint.has_value()) << record.file;
    EXPECT_EQ(mountPoint(info), record.mountPoint) << record.file;
    EXPECT_EQ(isNtfs(info), record.isNtfs) << record.file;
    EXPECT_EQ(volumeIdentityFields(info).volumeUuid, record.volumeUuid) << record.file;
  }
  const auto ntfs = testData("diskutil/ntfs-usb-truncated.txt");
  EXPECT_EQ(volumeIdentityFields(ntfs).personality, "NTFS");
  EXPECT_EQ(volumeIdentityFields(ntfs).diskSize,
            "2.0 TB (2000153477120 Bytes) (exactly 3906549760 512-Byte-Units)");
}

TEST(DiskUtilityTextTest, ReadOnlyInDoubt) {
  EXPECT_TRUE(isReadOnly(std::nullopt));
  const std::pair<std::string_view, bool> cases[] = {
      {"", true},
      {"Mounted: Yes", true},
      {"Read-Only Media: No", true},
      {"   Read-Only Volume:         No", false},
      {"   Volume Read-Only:         Yes", true},
      {"Volume Read-Only: Yes (read-only mount flag set)", true},
      {"Read-Only Volume: Not applicable (not mounted)", false},
      {"Read-Only Volume: No\nVolume Read-Only: Yes", false},  // the first decides
      {"Volume Read-Only: Yes\r\n", true},
      {"Volume Name: Read-Only Volume: No", true},
      {"Volume Read-Only: Yesterday", false},
  };
  for (const auto& [info, expected] : cases) EXPECT_EQ(isReadOnly(info), expected) << info;
}

TEST(DiskUtilityTextTest, ValuesThatAreMissingOrOdd) {
  EXPECT_EQ(mountPoint("   Mount Point:  \n"), std::nullopt);
  EXPECT_EQ(mountPoint("Mount Point: /Volumes/a: b"), "/Volumes/a: b");
  EXPECT_FALSE(isMounted("Mounted: Not applicable (no file system)"));
  EXPECT_TRUE(isMounted("Mounted: No\n Mounted:   Yes  "));
}

// What none of the real texts has, and which of two phrases decides.
TEST(DiskUtilityTextTest, ErrorKeys) {
  const std::pair<std::string_view, std::string_view> cases[] = {
      {"UNABLE TO FIND DISK", "disk.err.notfound"},
      {"already mounted; resource busy", "disk.err.mounted"},
      {"Dissenter; is busy", "disk.err.dissenter"},
      {"disk4 is busy: not permitted", "disk.err.busy"},
      {"Timed out: permission denied", "disk.err.perm"},
      {"volume could not be mounted: timed out", "disk.err.mount"},
      {"diskutil timed out (60s watchdog), terminated", "disk.err.timeout"},
      {"x does not appear to be a valid volume name for its file system", "disk.err.badvolname"},
      {"", "disk.err.unknown"},
  };
  for (const auto& [text, key] : cases) EXPECT_EQ(errorKey(text), key) << text;
}

TEST(DiskUtilityTextTest, ErrorKeysOfRealTexts) {
  const std::pair<const char*, std::string_view> cases[] = {
      {"diskutil mount Nix Store", "disk.err.mount"},
      {"diskutil mount /dev/disk2 |", "disk.err.mount"},
      {"diskutil mount /dev/disk2s3 | stderr", "disk.err.timeout"},
      {"diskutil eject /Volumes/euclid", "disk.err.notfound"},
      {"diskutil eject disk7", "disk.err.dissenter"},
      {"diskutil eject, older wording", "disk.err.dissenter"},
      {"umount <nfs mount>", "disk.err.busy"},
      {"diskutil unmountDisk force", "disk.err.unknown"},
  };
  for (const auto& [heading, key] : cases) {
    EXPECT_EQ(errorKey(testDataBlock("diskutil/verbs.txt", heading)), key) << heading;
  }
}

}  // namespace
}  // namespace halvercine::disks
