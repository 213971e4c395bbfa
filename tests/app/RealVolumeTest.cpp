// The program on a real NTFS volume of this machine, as far as the machine allows it.
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <unistd.h>

#include <gtest/gtest.h>

#include "base/UniqueFd.h"
#include "platform/linux/LoopDevice.h"
#include "support/TemporaryFolder.h"
#include "support/runProgram.h"

namespace halvercine {
namespace {

using platform::gnulinux::LoopDevice;

/// The record of the medium behind a device node, or nothing.
std::optional<boost::json::value> recordOf(const std::string& node) {
  const auto answer = tests::runProgram({"list", "--json"}).json();
  for (const auto& disk : answer.at_pointer("/result/disks").as_array()) {
    if (disk.at("deviceNode").as_string() == node) return disk;
  }
  return std::nullopt;
}

/// Settings and reports of the program go to a folder of the test's own.
class RealVolumeTest : public testing::Test {
 protected:
  void SetUp() override {
    if (const auto reason = LoopDevice::whyUnavailable(); !reason.empty()) GTEST_SKIP() << reason;
    ::setenv("XDG_DATA_HOME", data.path().c_str(), 1);
    ASSERT_TRUE(device.partition("label: gpt\nstart=2048, size=20480\n"));
    ASSERT_TRUE(device.attach());
    ASSERT_TRUE(device.addPartition(1, 2048 * 512, 20480 * 512));
    ASSERT_TRUE(platform::gnulinux::runProgram({"mkntfs", "-Q", "-F", "-L", "Müsik an", node()}));
  }
  void TearDown() override {
    tests::runProgram({"unmount", "--force", node()});
    ::unsetenv("XDG_DATA_HOME");
  }
  std::string node() const { return device.partitionNode(1); }

  tests::TemporaryFolder data;
  LoopDevice device;
};

TEST_F(RealVolumeTest, ListFollowsItFromPlugToUnplug) {
  auto record = recordOf(node());
  ASSERT_TRUE(record);
  EXPECT_EQ(record->at("name"), "Müsik an");
  EXPECT_TRUE(record->at("isNTFS").as_bool());
  EXPECT_FALSE(record->at("isMounted").as_bool());
  EXPECT_EQ(record->at("capacity").as_int64(), 20480 * 512);

  for (const bool readOnly : {true, false}) {
    ASSERT_TRUE(device.mount(node(), readOnly ? "ro" : "rw"));
    record = recordOf(node());
    ASSERT_TRUE(record);
    EXPECT_EQ(record->at("isWritable").as_bool(), !readOnly);
    EXPECT_EQ(record->as_object().contains("readOnly"), readOnly);
    EXPECT_EQ(record->at("mountPath").as_string(), device.mountPoint());
    EXPECT_GT(record->at("available").as_int64(), 0);
    const auto info = tests::runProgram({"info", device.mountPoint()});
    EXPECT_EQ(info.status, 0) << info.errors;
    EXPECT_EQ(info.output.find('\x1b'), std::string::npos);
    ASSERT_TRUE(device.unmount());
  }

  ASSERT_TRUE(device.detach());
  EXPECT_FALSE(recordOf(node())) << "unplugged";
  EXPECT_EQ(tests::runProgram({"info", node()}).status, 3);
}

TEST_F(RealVolumeTest, MountsSaysWhoIsInTheWayAndUnmounts) {
  const auto mounted = tests::runProgram({"mount", node(), "--json"});
  ASSERT_EQ(mounted.status, 0) << mounted.output;
  const auto answer = mounted.json();
  const std::string path(answer.at_pointer("/result/disk/mountPath").as_string());
  EXPECT_TRUE(answer.at_pointer("/result/disk/isWritable").as_bool());
  EXPECT_TRUE(answer.at_pointer("/result/disk/mountedByEngine").as_bool());
  EXPECT_EQ(tests::runProgram({"mount", node()}).status, 0) << "mounted already";

  std::filesystem::create_directory(path + "/folder");
  {
    const base::UniqueFd held(
        ::open((path + "/folder/a file").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    for (const auto& asked : {path, path + "/folder", path + "/folder/../folder/"}) {
      const auto occupants = tests::runProgram({"occupants", asked});
      EXPECT_NE(occupants.output.find(path + "/folder/a file"), std::string::npos) << asked;
    }
    const auto busy = tests::runProgram({"unmount", node(), "--json"});
    EXPECT_EQ(busy.status, 4) << busy.output;
    const auto holders = busy.json().at_pointer("/error/holders");
    ASSERT_EQ(holders.as_array().size(), 1U) << busy.output;
    EXPECT_EQ(holders.at(0).at("pid").as_int64(), ::getpid());
    EXPECT_EQ(holders.at(0).at("path").as_string(), path + "/folder/a file");
  }
  EXPECT_EQ(tests::runProgram({"occupants", path + "/none"}).status, 1);
  EXPECT_EQ(tests::runProgram({"unmount", node()}).status, 0);
  EXPECT_EQ(tests::runProgram({"unmount", node()}).status, 0) << "unmounted already";

  const auto readOnly = tests::runProgram({"mount", "--read-only", node(), "--json"});
  const auto disk = readOnly.json().at_pointer("/result/disk");
  EXPECT_EQ(disk.at("readOnly").at("cause").as_string(), "requested");
}

/// The end of the controller waits for what it has begun.
TEST_F(RealVolumeTest, VolumeMountedReadOnlyByHandBecomesWritable) {
  ASSERT_TRUE(device.mount(node(), "ro"));
  const auto run = tests::runProgram({"run", "--for", "0.01"});
  EXPECT_EQ(run.status, 0) << run.errors;
  EXPECT_NE(run.output.find("Writable."), std::string::npos) << run.output;
  auto record = recordOf(node());
  ASSERT_TRUE(record && record->at("isWritable").as_bool());
  const auto file = [&] { return std::string(record->at("mountPath").as_string()) + "/file"; };
  std::ofstream(file()) << "kept";
  ASSERT_EQ(tests::runProgram({"unmount", node()}).status, 0);
  ASSERT_EQ(tests::runProgram({"mount", node()}).status, 0);
  record = recordOf(node());
  std::string kept;
  std::ifstream(file()) >> kept;
  EXPECT_EQ(kept, "kept");
  const auto log = tests::runProgram({"log", "show"}).output;
  EXPECT_NE(log.find("[takeover] Writable again（Müsik an）"), std::string::npos) << log;
  EXPECT_EQ(tests::runProgram({"takeover", node()}).status, 0) << "writable already";
}

TEST_F(RealVolumeTest, HibernatedVolumeStaysReadOnlyForTheRightReason) {
  ASSERT_EQ(tests::runProgram({"mount", node()}).status, 0);
  auto record = recordOf(node());
  std::ofstream(std::string(record->at("mountPath").as_string()) + "/hiberfil.sys")
      << "hibr" << std::string(8192, '\0');
  ASSERT_EQ(tests::runProgram({"unmount", node()}).status, 0);
  ASSERT_TRUE(device.mount(node(), "ro"));

  const auto run = tests::runProgram({"run", "--for", "0.01", "--json"});
  EXPECT_NE(run.output.find(R"("event":"readOnly")"), std::string::npos) << run.output;
  EXPECT_EQ(run.output.find(R"("event":"waiting")"), std::string::npos) << run.output;
  record = recordOf(node());
  EXPECT_TRUE(record->at("isMounted").as_bool());
  EXPECT_EQ(record->at_pointer("/readOnly/cause").as_string(), "protectedVolume");
  const auto takeover = tests::runProgram({"takeover", node(), "--json"});
  EXPECT_EQ(takeover.status, 1);
  EXPECT_EQ(takeover.json().at_pointer("/error/id").as_string(), "read-only");
}

}  // namespace
}  // namespace halvercine
