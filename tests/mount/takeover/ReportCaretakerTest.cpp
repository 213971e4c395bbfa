#include "mount/takeover/ReportCaretaker.h"

#include <gtest/gtest.h>

#include "base/Json.h"
#include "support/SimulatedFixture.h"

namespace halvercine::mount {
namespace {

TEST(ReportCaretakerTest, KeepsReportsOfTheToolsOwnMountsFresh) {
  tests::SimulatedFixture mac(R"([{"disk": "disk4", "volumes": [
      {"disk": "disk4s1", "kind": "ntfs", "mount": {"readOnly": true},
       "report": {"reason": "unsafeVolume", "ownerID": "the tool"}},
      {"disk": "disk4s2", "kind": "ntfs", "mount": {"readOnly": true},
       "report": {"reason": "unsafeVolume", "ownerID": "somebody else"}},
      {"disk": "disk4s3", "kind": "ntfs", "mount": {"readOnly": true},
       "report": {"reason": "unsafeVolume", "ownerID": "the tool"}}]}])");
  disks::DiskMonitor monitor(mac.actor, mac.platform, mac.localization);
  ASSERT_TRUE(monitor.start());
  const ReportCaretaker caretaker(mac.platform, monitor, "the tool", [](const disks::Disk& disk) {
    return disk.id != "disk4s3";  // mounted by hand since
  });
  mac.pass(250);
  const auto age = [&mac](const std::string& bsdName) {
    const auto report = MountAccessReportStore::locate(*mac.platform.containers, bsdName)->read();
    return report ? mac.now() - report->timestamp : -1;
  };
  EXPECT_LE(age("disk4s1"), 60);
  EXPECT_GE(age("disk4s2"), 250);
  EXPECT_GE(age("disk4s3"), 250);
}

}  // namespace
}  // namespace halvercine::mount
