// What real Macs said of their disks, through the descriptor.
#include <map>

#include <gtest/gtest.h>

#include "base/Resources.h"
#include "disks/enumerateDisks.h"
#include "support/SimulatedFixture.h"

namespace halvercine::disks {
namespace {

std::map<std::string, Disk> realDisks() {
  const auto text = base::resource("scenarios/real-descriptions.json");
  tests::SimulatedFixture mac(platform::simulated::readScenario(text.value_or("")).value());
  const auto session = mac.platform.diskArbitration->createSession();
  std::map<std::string, Disk> disks;
  for (auto& disk : describeDisks(DiskDescriptor(mac.platform, mac.localization), *session,
                                  allMedia(*mac.platform.mediaRegistry), BitLockerStates())) {
    disks.emplace(disk.id, std::move(disk));
  }
  return disks;
}

TEST(RealDescriptionsTest, BecomeTheRecordsThatPeopleExpect) {
  const auto disks = realDisks();
  const auto& sata = disks.at("disk0s2");
  EXPECT_EQ(sata.name, "Macintosh HD");
  EXPECT_EQ(sata.deviceModel, "FUJITSU MJA2160BH FFS G1") << "padded with blanks";
  EXPECT_EQ(sata.volumeUUID, "6F704A33-B205-30F5-97CE-1B6C27318EAF");
  EXPECT_EQ(sata.connection, "PMP");
  EXPECT_TRUE(sata.isInternal);

  const auto& nvme = disks.at("disk1");
  EXPECT_EQ(nvme.hardwareName, "APPLE SSD AP0512Q") << "the maker's name is empty";
  EXPECT_EQ(nvme.revision, "1161.40.");
  EXPECT_TRUE(nvme.isSSD);

  const auto& lifs = disks.at("disk4s1");
  EXPECT_TRUE(lifs.isNtfs()) << "mounted from a URL, as type lifs";
  EXPECT_FALSE(lifs.isWritable);

  const auto& thirdParty = disks.at("disk6s2");
  EXPECT_EQ(thirdParty.volumeUUID, std::nullopt);
  EXPECT_EQ(thirdParty.fileSystem, "ufsd_NTFS");
  EXPECT_TRUE(thirdParty.isNtfs());
  EXPECT_FALSE(disks.at("disk6s1").isNtfs());

  EXPECT_EQ(disks.at("disk9").serial, "000000001536");
  EXPECT_EQ(disks.at("disk9").linkDetail, "5 Gb/s");
  EXPECT_TRUE(disks.at("disk20").isMounted) << "a whole disk can be mounted";
  for (const auto& [id, disk] : disks) EXPECT_NE(disk.deviceModel, "Disk Image") << id;
}

}  // namespace
}  // namespace halvercine::disks
