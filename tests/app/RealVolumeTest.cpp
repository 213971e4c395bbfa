// The program on a real NTFS volume of this machine, as far as the machine allows it.
#include <gtest/gtest.h>

#include "base/Json.h"
#include "platform/linux/LoopDevice.h"
#include "support/runProgram.h"

namespace halvercine {
namespace {

using platform::gnulinux::LoopDevice;

/// The record of the medium behind a device node, or nothing.
std::optional<boost::json::value> recordOf(const std::string& node) {
  const auto answer = base::parseJson(tests::runProgram({"list", "--json"}).output);
  if (!answer) return std::nullopt;
  for (const auto& disk : answer->at_pointer("/result/disks").as_array()) {
    if (disk.at("deviceNode").as_string() == node) return disk;
  }
  return std::nullopt;
}

TEST(RealVolumeTest, ListFollowsAVolumeFromPlugToUnplug) {
  if (const auto reason = LoopDevice::whyUnavailable(); !reason.empty()) GTEST_SKIP() << reason;
  LoopDevice device;
  ASSERT_TRUE(device.partition("label: gpt\nstart=2048, size=20480\n"));
  ASSERT_TRUE(device.attach());
  ASSERT_TRUE(device.addPartition(1, 2048 * 512, 20480 * 512));
  const auto node = device.partitionNode(1);
  ASSERT_TRUE(platform::gnulinux::runProgram({"mkntfs", "-Q", "-F", "-L", "Müsik", node}));

  auto record = recordOf(node);
  ASSERT_TRUE(record);
  EXPECT_EQ(record->at("name"), "Müsik");
  EXPECT_TRUE(record->at("isNTFS").as_bool());
  EXPECT_FALSE(record->at("isMounted").as_bool());
  EXPECT_EQ(record->at("capacity").as_int64(), 20480 * 512);

  for (const bool readOnly : {true, false}) {
    ASSERT_TRUE(device.mount(node, readOnly ? "ro" : "rw"));
    record = recordOf(node);
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
  EXPECT_FALSE(recordOf(node)) << "unplugged";
  EXPECT_EQ(tests::runProgram({"info", node}).status, 3);
}

}  // namespace
}  // namespace halvercine
