#include "disks/DiskUtility.h"

#include <fcntl.h>
#include <filesystem>
#include <unistd.h>

#include <gmock/gmock.h>

#include "platform/posix/PosixToolRunner.h"
#include "support/ScriptedToolRunner.h"
#include "support/SimulatedFixture.h"
#include "support/runTask.h"
#include "support/testData.h"

namespace halvercine::disks {
namespace {

using tests::ScriptedToolRunner;
using Occupants = std::vector<Occupant>;

class DiskUtilityTest : public testing::Test {
 protected:
  template <class T>
  T run(base::Task<T> task) {
    return tests::run(mac.actor, std::move(task));
  }

  DiskUtility utility(MountGuard guard = {}) {
    return {tools, *mac.platform.clock, *mac.platform.mediaRegistry, std::move(guard)};
  }

  tests::SimulatedFixture mac{
      R"([{"disk": "disk4", "volumes": [{"disk": "disk4s1", "kind": "ntfs", "name": "A"}]}])"};
  ScriptedToolRunner tools{mac.actor};
};

TEST_F(DiskUtilityTest, ArgumentsOfEveryOperation) {
  const auto disks = utility();
  run(disks.run({"list", "-plist"}));
  run(disks.info("disk4s1"));
  run(disks.mount("disk4s1"));
  run(disks.mount("disk4s1", MountAccess::readOnly));
  run(disks.unmount("disk4s1"));
  run(disks.forceUnmount("disk4s1"));
  run(disks.deviceHolderPID("disk4s1"));
  run(disks.volumeOccupants({"/Volumes/A", "-x"}));
  std::vector<std::string> commands;
  for (const auto& tool : tools.runs) {
    auto& command = commands.emplace_back(tool.executable);
    for (const auto& argument : tool.arguments) command += "|" + argument;
  }
  EXPECT_THAT(
      commands,
      testing::ElementsAre("/usr/sbin/diskutil|list|-plist", "/usr/sbin/diskutil|info|/dev/disk4s1",
                           "/usr/sbin/diskutil|mount|/dev/disk4s1",
                           "/usr/sbin/diskutil|mount|readOnly|/dev/disk4s1",
                           "/usr/sbin/diskutil|unmount|/dev/disk4s1",
                           "/usr/sbin/diskutil|unmount|force|/dev/disk4s1",
                           "/usr/sbin/lsof|-w|-n|-P|-Fpcfn|-f|--|/dev/rdisk4s1|/dev/disk4s1",
                           "/usr/sbin/lsof|-w|-n|-P|-Fpcfn|+f|--|/Volumes/A|-x"));
}

TEST_F(DiskUtilityTest, OutcomesOfMounting) {
  tools.answers = {{.output = "Volume A on disk4s1 mounted\n"},
                   {.output = "Volume on disk4s1 failed to mount\n", .status = 1}};
  EXPECT_EQ(run(utility().mount("disk4s1")), MountOutcome(MountSuccess{}));
  EXPECT_EQ(run(utility().mount("disk4s1")),
            MountOutcome(MountFailure{"Volume on disk4s1 failed to mount"}));
  tools.runs.clear();
  EXPECT_EQ(run(utility().mount("disk9s1")), MountOutcome(MountFailure{"Unable to find disk"}));

  const auto guarded =
      utility([](const std::string&, bool readOnly) -> std::optional<MountOutcome> {
        if (readOnly) return ThirdPartyDriver{"Paragon NTFS"};
        return UnsafeVolume{};
      });
  EXPECT_EQ(run(guarded.mount("disk4s1")), MountOutcome(UnsafeVolume{}));
  EXPECT_EQ(run(guarded.mount("disk4s1", MountAccess::readOnly)),
            MountOutcome(ThirdPartyDriver{"Paragon NTFS"}));
  EXPECT_TRUE(tools.runs.empty()) << "nothing is run for a missing or a refused volume";
}

TEST_F(DiskUtilityTest, NtfsByInfo) {
  tools.answers = {{.output = tests::testData("diskutil/ntfs-usb-truncated.txt")},
                   {.output = "Could not find disk: disk4s1", .status = 1}};
  EXPECT_TRUE(run(utility().isNtfs("disk4s1")));
  EXPECT_FALSE(run(utility().isNtfs("disk4s1")));
}

TEST_F(DiskUtilityTest, HungToolEndsWithTheWatchdog) {
  tools.answers = {{.hangs = true}, {.hangs = true}};
  const auto outcome = run(utility().mount("disk4s1"));
  EXPECT_EQ(outcome, MountOutcome(MountFailure{std::string(watchdogText)}));
  EXPECT_EQ(run(utility().deviceHolderPID("disk4s1")), std::nullopt);
}

TEST_F(DiskUtilityTest, HoldersAndOccupants) {
  const auto own = "p" + std::to_string(::getpid()) + "\ncself\nf3\nn/dev/disk4s1\n";
  tools.answers = {{.output = own + "p77\ncdd\nf3\nn/dev/disk4s1\n", .status = 1},
                   {.output = own},
                   {.output = "p5\ncmds\nf9\nn/Volumes/A/x\n",
                    .status = 1,
                    .errorOutput = "p6\nlsof: WARNING: can't stat()\n"}};
  EXPECT_EQ(run(utility().deviceHolderPID("disk4s1")), 77);
  EXPECT_EQ(run(utility().deviceHolderPID("disk4s1")), std::nullopt);
  EXPECT_EQ(run(utility().volumeOccupants({"/Volumes/A"})),
            (Occupants{{5, "mds", "/Volumes/A/x"}}));
  tools.runs.clear();
  EXPECT_EQ(run(utility().volumeOccupants({})), Occupants{});
  EXPECT_EQ(run(utility().volumeOccupants({""})), Occupants{});
  EXPECT_TRUE(tools.runs.empty());
}

TEST_F(DiskUtilityTest, RealLsofFindsThisProcess) {
  const std::filesystem::path lsof = "/usr/bin/lsof";
  const std::filesystem::path volume = "/dev/shm";
  if (!std::filesystem::exists(lsof) || !std::filesystem::exists(volume)) {
    GTEST_SKIP() << "needs lsof and a file system in memory";
  }
  auto path = (volume / "halvercine test 新 XXXXXX").string();
  const int file = ::mkstemp(path.data());
  if (file < 0) GTEST_SKIP() << "cannot write to " << volume;
  base::MainActor actor;
  base::VirtualClock clock{platform::WallTime{}};
  platform::posix::PosixToolRunner runner(actor, {{"/usr/sbin/lsof", lsof}});
  const DiskUtility disks(runner, clock, *mac.platform.mediaRegistry);
  const auto occupants = tests::run(actor, disks.volumeOccupants({volume}));
  ::close(file);
  ::unlink(path.c_str());
  const auto self = std::find_if(occupants.begin(), occupants.end(), [](const Occupant& occupant) {
    return occupant.pid == ::getpid();
  });
  ASSERT_NE(self, occupants.end());
  EXPECT_EQ(self->path, path);
}

}  // namespace
}  // namespace halvercine::disks
