#include "mount/reasons/UnmountReason.h"

#include <gtest/gtest.h>

#include "mount/reasons/volumeIdentity.h"

namespace halvercine::mount {
namespace {

using Case = UnmountReason::Case;

TEST(UnmountReasonTest, OneFindingAfterTheOtherGivesWay) {
  UnmountFindings findings{true, true, "Paragon NTFS", "other size", true};
  EXPECT_EQ(unmountReason(findings).kind, Case::checking);
  findings.isChecking = false;
  EXPECT_EQ(unmountReason(findings).kind, Case::interruptedCreation);
  findings.isCreationInterrupted = false;
  EXPECT_EQ(unmountReason(findings), (UnmountReason{Case::thirdParty, "Paragon NTFS"}));
  findings.foreignDriver.reset();
  EXPECT_EQ(unmountReason(findings), (UnmountReason{Case::mismatch, "other size"}));
  findings.mismatch.reset();
  EXPECT_EQ(unmountReason(findings).kind, Case::needsCheck);
  findings.needsCheck = false;
  EXPECT_EQ(unmountReason(findings).kind, Case::unknown);
}

TEST(UnmountReasonTest, SaysItsTextAndNothingWhenNothingIsKnown) {
  const base::Localization english(base::Language::en);
  const auto text = [&english](UnmountReason reason) { return reason.text()->in(english); };
  EXPECT_NE(text({Case::thirdParty, "Paragon NTFS"}).find("Paragon NTFS"), std::string::npos);
  EXPECT_NE(text({Case::mismatch, "other size"}).find("(other size)"), std::string::npos);
  EXPECT_EQ(UnmountReason({Case::interruptedCreation, ""}).text()->key, "ui.encrypt.cancelled");
  EXPECT_FALSE(UnmountReason().text());
}

TEST(UnmountReasonTest, VolumesAreRememberedByUuidThenMedium) {
  disks::Disk disk;
  EXPECT_FALSE(volumeIdentity(disk));
  disk.mediaID = "SERIAL/1";
  EXPECT_EQ(volumeIdentity(disk), "SERIAL/1");
  disk.volumeUUID = "UUID";
  EXPECT_EQ(volumeIdentity(disk), "UUID");
  disk.volumeUUID = "";
  EXPECT_EQ(volumeIdentity(disk), "SERIAL/1");
}

}  // namespace
}  // namespace halvercine::mount
