#include "disks/DiskDescriptor.h"

#include <gtest/gtest.h>

#include "bitlocker/Status.h"
#include "disks/enumerateDisks.h"
#include "support/SimulatedFixture.h"

namespace halvercine::disks {
namespace {

using tests::SimulatedFixture;

/// The record of one disk of a scenario.
std::optional<Disk> describe(SimulatedFixture& mac, const std::string& bsdName = "disk4s1",
                             std::optional<bitlocker::BitLockerState> state = std::nullopt) {
  const auto session = mac.platform.diskArbitration->createSession();
  return DiskDescriptor(mac.platform, mac.localization).describe(*session, bsdName, state);
}

/// One NTFS volume with these further members.
std::string volume(const std::string& members) {
  return R"([{"disk": "disk4", "serial": "S1", "volumes": [{"disk": "disk4s1", "name": "DATA",
             "kind": "ntfs", "size": 1000000, )" +
         members + "}]}]";
}

Disk described(const std::string& members, std::string_view system = "{}") {
  SimulatedFixture mac(volume(members), system);
  auto disk = describe(mac);
  EXPECT_TRUE(disk) << members;
  return disk.value_or(Disk());
}

TEST(DiskDescriptorTest, ValueOfAnotherTypeCountsAsMissing) {
  const auto disk = described(R"("description": {
    "DAMediaSize": "1000000", "DAMediaBlockSize": true, "DAMediaWritable": 1, "DADeviceInternal": "1",
    "DAMediaRemovable": "true", "DAVolumeUUID": "1E2D3C4B-0000-4000-8000-000000000001",
    "DAVolumeName": 7, "DAVolumeKind": ["ntfs"], "DAVolumePath": "/Volumes/DATA", "DAMediaName": 1,
    "DADeviceModel": {"a": "b"}, "DABusName": false,
    "DADiskDescriptionDeviceRevisionKey": 3})");
  EXPECT_EQ(disk.capacity, 0);
  EXPECT_EQ(disk.blockSize, 0);
  EXPECT_FALSE(disk.mediaWritable);
  EXPECT_FALSE(disk.isInternal);
  EXPECT_FALSE(disk.isRemovable);
  EXPECT_EQ(disk.volumeUUID, std::nullopt);
  EXPECT_EQ(disk.fileSystem, "Unknown");
  EXPECT_FALSE(disk.isMounted) << "a text is no URL";
  EXPECT_EQ(disk.deviceModel, std::nullopt);
  EXPECT_EQ(disk.connection, "Internal");
}

TEST(DiskDescriptorTest, TextsAreTrimmedAndBlankOnesAreMissing) {
  const auto disk = described(R"("description": {
    "DAVolumeName": " \u3000\t", "DAMediaName": "  Untitled 1 \n", "DADeviceModel": "Ultra Fit      ",
    "DABusName": "\u00a0", "DADiskDescriptionDeviceRevisionKey": " 1.26 ", "DADeviceRevision": "9"})");
  EXPECT_EQ(disk.name, "Untitled 1");
  EXPECT_EQ(disk.deviceModel, "Ultra Fit");
  EXPECT_EQ(disk.connection, "Internal");
  EXPECT_EQ(disk.revision, "1.26") << "under this key, not under its look-alike";
  EXPECT_EQ(described(R"("description": {"DAVolumeName": " DATA "})").name, " DATA ");
}

TEST(DiskDescriptorTest, UuidAndNumbersKeepTheirExactValue) {
  const auto disk = described(R"("description": {
    "DAVolumeUUID": {"$uuid": "abcdef01-2345-4789-abcd-ef0123456789"},
    "DAMediaSize": 9223372036854775807, "DAMediaBlockSize": 4096.0})");
  EXPECT_EQ(disk.volumeUUID, "ABCDEF01-2345-4789-ABCD-EF0123456789");
  EXPECT_EQ(disk.capacity, 9223372036854775807);
  EXPECT_EQ(disk.blockSize, 4096);
}

TEST(DiskDescriptorTest, ExclusionsCompareExactly) {
  const std::pair<const char*, bool> rows[] = {
      {R"("mount": {"path": "/System/Volumes/Data"})", false},
      {R"("mount": {"path": "/System/Volumes/Data/home"})", false},
      {R"("mount": {"path": "/System/Volumes"})", true},
      {R"("mount": {"path": "/System/VolumesX/Data"})", true},
      {R"("mount": {"path": "/Volumes/System/Volumes"})", true},
      {R"("description": {"DADeviceModel": "Disk Image"})", false},
      {R"("description": {"DADeviceModel": "Disk Image "})", true},
      {R"("description": {"DADeviceModel": "disk image"})", true},
      {R"("description": {"DADeviceModel": "Apple Disk Image Media"})", true},
  };
  for (const auto& [members, isListed] : rows) {
    SimulatedFixture mac(volume(members));
    EXPECT_EQ(describe(mac).has_value(), isListed) << members;
  }
  SimulatedFixture mac("[]");
  EXPECT_FALSE(describe(mac)) << "no such disk";
}

TEST(DiskDescriptorTest, MountedTypeWinsForThisDeviceOnly) {
  const std::pair<const char*, const char*> rows[] = {
      {R"({"type": "ufsd_NTFS"})", "ufsd_NTFS"},
      {R"({"type": "lifs", "from": "ntfs://disk4s1/"})", "ntfs"},
      {R"({"type": "apfs", "from": "/dev/disk4s10"})", "ntfs"},
      {R"({"type": "apfs", "from": "/dev/rdisk4s1"})", "ntfs"},
      {R"({"type": "apfs", "statfsFails": true})", "ntfs"},
  };
  for (const auto& [mount, type] : rows) {
    const auto disk = described(std::string(R"("mount": )") + mount);
    EXPECT_EQ(disk.fileSystem, type) << mount;
    EXPECT_TRUE(disk.isNtfs()) << mount;
  }
  for (const char* type : {"exfat", "nt fs", ""}) EXPECT_FALSE(isNtfsType(type)) << type;
  for (const char* type : {"NTFS", "macFUSE_NtFs", "xntfs2"}) EXPECT_TRUE(isNtfsType(type)) << type;
}

TEST(DiskDescriptorTest, FreeSpaceOfZeroFallsThrough) {
  const std::pair<const char*, std::int64_t> rows[] = {
      {R"("importantUsage": 300, "available": 200, "availableBlocks": 10, "blockSize": 10)", 300},
      {R"("importantUsage": 0, "available": 200, "availableBlocks": 10, "blockSize": 10)", 200},
      {R"("importantUsage": null, "available": 0, "availableBlocks": 10, "blockSize": 10)", 100},
      {R"("importantUsage": 0, "available": null, "statfsFails": true)", 0},
      {R"("importantUsage": 0, "available": 0, "blocks": 9223372036854775807,
          "availableBlocks": 9223372036854775807, "blockSize": 4096)",
       9223372036854775807},
  };
  for (const auto& [mount, available] : rows) {
    const auto disk = described(std::string(R"("mount": {)") + mount + "}");
    EXPECT_EQ(disk.available, available) << mount;
  }
  const auto unmounted = described(R"("writable": true)");
  EXPECT_EQ(unmounted.available, 0);
  EXPECT_FALSE(unmounted.isMounted || unmounted.isWritable || unmounted.mountPath);
}

TEST(DiskDescriptorTest, NameFallsBackToVolumeMediumDeviceAndBsdName) {
  const auto name = [](const std::string& members) { return described(members).name; };
  EXPECT_EQ(name(R"("mount": {"volumeName": "Other"})"), "DATA");
  EXPECT_EQ(name(R"("description": {"DAVolumeName": ""}, "mount": {"volumeName": "Other"})"),
            "Other");
  EXPECT_EQ(name(R"("description": {"DAVolumeName": null, "DAMediaName": "Medium"},
                    "mount": {"volumeName": "  "})"),
            "Medium");
  SimulatedFixture bare(R"([{"disk": "disk4", "chain": [], "description": {
    "DAMediaName": null, "DADeviceModel": null, "DAVolumeName": null}}])");
  EXPECT_EQ(describe(bare, "disk4")->name, "disk4");
}

TEST(DiskDescriptorTest, AccessNeedsTheKernelAndTheModule) {
  struct Row {
    const char* mac;
    bool kernelReadOnly;
    const char* report;  // reason, or null for none
    bool writable;
    bool byEngine;
  };
  const Row rows[] = {
      {"26.4.0", false, nullptr, true, false},    {"26.4.0", true, nullptr, false, false},
      {"26.4.0", false, "readWrite", true, true}, {"26.4.0", true, "readWrite", false, true},
      {"26.4.0", false, "eowSafety", true, true}, {"26.3.9", false, nullptr, true, false},
      {"26.3.9", false, "readWrite", true, true}, {"26.3.9", false, "eowSafety", false, true},
      {"26.3.9", true, "readWrite", false, true}, {"15.6.1", false, "requested", false, true},
  };
  for (const auto& row : rows) {
    std::string members = std::string(R"("mount": {"type": "ntfs", "readOnly": )") +
                          (row.kernelReadOnly ? "true" : "false") + "}";
    if (row.report) members += std::string(R"(, "report": {"reason": ")") + row.report + R"("})";
    const auto disk = described(members, std::string(R"({"macOS": ")") + row.mac + R"("})");
    const auto trace = std::string(row.mac) + " " + members;
    EXPECT_EQ(disk.isWritable, row.writable) << trace;
    EXPECT_EQ(disk.mountedByEngine, row.byEngine) << trace;
  }
  EXPECT_FALSE(described(R"("mount": {}, "report": {"age": 301})").mountedByEngine) << "stale";
  EXPECT_FALSE(described(R"("mount": {"statfsFails": true})").isWritable);
}

TEST(DiskDescriptorTest, LockedBitLockerHidesWhatIsInsideAndUnlockedShowsIt) {
  SimulatedFixture unmounted(volume(R"("size": 5)"));
  bitlocker::BitLockerState state;
  for (const char* locked : {"locked", "unlockFailed", "error", "Unlocked", ""}) {
    state.state = locked;
    const auto disk = describe(unmounted, "disk4s1", state);
    EXPECT_EQ(disk->fileSystem, "BitLocker") << locked;
    EXPECT_FALSE(disk->isNtfs());
  }
  state.state = "unlocked";
  EXPECT_EQ(describe(unmounted, "disk4s1", state)->fileSystem, "ntfs");
  SimulatedFixture mounted(volume(R"("mount": {})"));
  state.state = "locked";
  const auto disk = describe(mounted, "disk4s1", state);
  EXPECT_EQ(disk->fileSystem, "ntfs") << "what is mounted is not locked";
  EXPECT_FALSE(disk->bitLocker);
}

TEST(DiskDescriptorTest, MediaIdentitySurvivesAChangeOfNameAndTellsClonesApart) {
  const auto identity = [](const std::string& disk, const std::string& serial,
                           const std::string& media) {
    SimulatedFixture mac(R"([{"disk": ")" + disk + R"(", "serial": ")" + serial +
                         R"(", "volumes": [{"disk": ")" + disk + R"(s1", "size": 5000, )" + media +
                         "}]}]");
    return *describe(mac, disk + "s1")->mediaID;
  };
  for (const auto* media :
       {R"("mediaUUID": "11111111-2222-4333-8444-555555555555")", R"("mediaUUID": null)"}) {
    EXPECT_EQ(identity("disk4", "A1", media), identity("disk9", "A1", media)) << media;
    EXPECT_NE(identity("disk4", "A1", media), identity("disk4", "B2", media)) << "a clone";
  }
}

TEST(DiskDescriptorTest, ApfsLayerIsNoHardware) {
  SimulatedFixture mac(R"([{"disk": "disk4", "chain": [], "description": {
    "DABusName": "AppleAPFSContainerScheme", "DADeviceModel": "AppleAPFSMedia",
    "DADeviceProtocol": "AppleAPFS", "DAMediaName": "Real"}}])");
  const auto disk = describe(mac, "disk4");
  EXPECT_EQ(disk->connection, "Internal");
  EXPECT_EQ(disk->hardwareName, "Real");
  EXPECT_EQ(disk->linkDetail, std::nullopt);
  EXPECT_EQ(disk->deviceModel, "AppleAPFSMedia");
}

TEST(DiskDescriptorTest, StatusRecordsOfAnotherTimeOrDeviceAreNotThisDisks) {
  bitlocker::Status status;
  status.guid = "G";
  status.bsdName = "disk4s1";
  status.state = "locked";
  status.timestamp = 1000;
  const auto known = [&](double bootTime, std::optional<std::uint64_t> device) {
    const platform::WallTime boot{std::chrono::seconds(static_cast<int>(bootTime))};
    return BitLockerStates({status}, boot).of("disk4s1", device).has_value();
  };
  EXPECT_TRUE(known(1000, std::nullopt));
  EXPECT_FALSE(known(2000, std::nullopt)) << "of an earlier start";
  EXPECT_TRUE(BitLockerStates({status}).of("disk4s1", 5));
  EXPECT_FALSE(BitLockerStates({status}).of("disk4s2", 5));
  status.deviceID = 5;
  EXPECT_TRUE(known(1000, 5));
  EXPECT_FALSE(known(1000, 6));
  EXPECT_FALSE(known(1000, std::nullopt));
  auto newer = status;
  newer.timestamp = 1001;
  newer.ejected = true;
  EXPECT_FALSE(BitLockerStates({newer, status}).of("disk4s1", 5)) << "ejected since";
}

TEST(DiskDescriptorTest, ListIsInTheOrderInWhichPeopleCount) {
  SimulatedFixture mac(R"([{"disk": "disk10"}, {"disk": "disk2", "volumes": [{"disk": "disk2s10"},
                           {"disk": "disk2s2"}]}, {"disk": "disk3", "attachment": "image"}])");
  const auto session = mac.platform.diskArbitration->createSession();
  std::vector<std::string> names;
  for (const auto& disk : describeDisks(DiskDescriptor(mac.platform, mac.localization), *session,
                                        allMedia(*mac.platform.mediaRegistry), BitLockerStates())) {
    names.push_back(disk.id);
  }
  EXPECT_EQ(names, (std::vector<std::string>{"disk2", "disk2s2", "disk2s10", "disk10"}));
}

}  // namespace
}  // namespace halvercine::disks
