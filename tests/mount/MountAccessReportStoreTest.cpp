#include "mount/MountAccessReportStore.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "base/Json.h"
#include "support/SimulatedFixture.h"

namespace halvercine::mount {
namespace {

namespace fs = std::filesystem;
using tests::SimulatedFixture;

constexpr auto oneVolume =
    R"([{"disk": "disk4", "volumes": [{"disk": "disk4s1", "kind": "ntfs"}]}])";
constexpr auto owner = "6B29FC40-CA47-1067-B31D-00DD010662DA";

class MountAccessReportStoreTest : public testing::Test {
 protected:
  /// A report that counts, `age` seconds old.
  MountAccessReport report(double age) {
    return {*deviceId(*mac.platform.mediaRegistry, "disk4s1"),
            *bootSession(*mac.platform.systemInfo), mac.now() - age, ReadOnlyReason::unsafeVolume,
            std::nullopt};
  }
  void write(const MountAccessReport& written) {
    tests::writeText(path, base::encodeJson(written));
  }
  std::optional<MountAccessReport> load(Freshness freshness) {
    return loadMountAccessReport({*mac.platform.containers, *mac.platform.mediaRegistry,
                                  *mac.platform.systemInfo, *mac.platform.clock},
                                 "disk4s1", freshness);
  }
  /// The sweep of this device in the present boot session, now.
  bool survivesSweep() {
    store.sweepStale(report(0).deviceID, report(0).bootSession, mac.now());
    return fs::exists(path);
  }

  SimulatedFixture mac{oneVolume};
  fs::path path = mac.reportPath("disk4s1");
  MountAccessReportStore store{path};
};

TEST_F(MountAccessReportStoreTest, OnlyPartitionsHaveALocation) {
  auto& containers = *mac.platform.containers;
  EXPECT_EQ(path.filename(), "mount-access-disk4s1.json");
  for (const char* name : {"disk4", "disk", "disks1", "disk4s", "disk4s1s1", "rdisk4s1", "disk4s1 ",
                           "disk4s1\n", "../disk4s1", "disk٤s1", ""}) {
    EXPECT_FALSE(MountAccessReportStore::locate(containers, name)) << name;
  }
  mac.mac.machine().setGroupContainerAvailable(false);
  EXPECT_FALSE(MountAccessReportStore::locate(containers, "disk4s1"));
}

TEST_F(MountAccessReportStoreTest, FreshnessWindowIncludesItsBoundAndExcludesTheFuture) {
  struct Row {
    double age;
    bool fresh;
  };
  // Binary fractions: the ages come out of the subtraction exactly.
  for (const auto& row : {Row{0, true}, Row{299.5, true}, Row{300, true},
                          Row{300 + 1.0 / 1024, false}, Row{-1.0 / 1024, false}, Row{-1, false}}) {
    write(report(row.age));
    EXPECT_EQ(load(Freshness::freshOnly).has_value(), row.fresh) << row.age;
    EXPECT_TRUE(load(Freshness::any)) << row.age;
    EXPECT_EQ(survivesSweep(), row.fresh) << row.age;
  }
}

TEST_F(MountAccessReportStoreTest, ReportsOfOthersNeverCountAndAreSweptAway) {
  auto other = report(0);
  ++other.deviceID;
  write(other);
  EXPECT_FALSE(load(Freshness::any));
  EXPECT_FALSE(survivesSweep());
  other = report(0);
  other.bootSession[0] ^= 0x20;  // letter case matters, too
  write(other);
  EXPECT_FALSE(load(Freshness::any));
  EXPECT_FALSE(survivesSweep());
}

TEST_F(MountAccessReportStoreTest, WhatCannotBeDecodedIsNoReportAndStays) {
  const auto good = base::encodeJson(report(0));
  const auto with = [&good](std::string_view from, std::string_view to) {
    auto text = good;
    return text.replace(text.find(from), from.size(), to);
  };
  for (const auto& text : {std::string(), std::string("{"), with("\"unsafeVolume\"", "\"unsafe\""),
                           with("\"unsafeVolume\"", "3"), with("\"deviceID\":", "\"deviceID\":-"),
                           with("\"timestamp\"", "\"time\""), std::string(70000, ' ') + good}) {
    tests::writeText(path, text);
    EXPECT_FALSE(load(Freshness::any)) << text.substr(0, 80);
    EXPECT_TRUE(survivesSweep()) << text.substr(0, 80);
  }
  tests::writeText(path, with("{", "{\"later\":[1],"));
  EXPECT_TRUE(load(Freshness::any)) << "unknown keys are for a later version";
}

TEST_F(MountAccessReportStoreTest, OtherProgramsReadTheseKeys) {
  MountAccessReport report{0xFFFFFFFFFFFFFFFFU, "A", 1.5, ReadOnlyReason::eowSafety, owner};
  const std::string keys =
      R"("deviceID":18446744073709551615,"bootSession":"A","timestamp":1.5E0,"reason":"eowSafety")";
  EXPECT_EQ(base::encodeJson(report), "{" + keys + R"(,"ownerID":")" + owner + "\"}");
  report.ownerID.reset();
  EXPECT_EQ(base::encodeJson(report), "{" + keys + "}");
}

TEST_F(MountAccessReportStoreTest, BootSessionEndsAtItsFirstZeroByteAndIsRepaired) {
  using namespace std::string_literals;
  mac.mac.machine().setBootSession("AB\xFF"s + "C\0D"s);
  EXPECT_EQ(bootSession(*mac.platform.systemInfo),
            "AB\xEF\xBF\xBD"
            "C");
  mac.mac.machine().setBootSession(std::nullopt);
  EXPECT_EQ(bootSession(*mac.platform.systemInfo), std::nullopt);
}

TEST_F(MountAccessReportStoreTest, OnlyTheOwnersReportIsRemoved) {
  auto owned = report(0);
  for (const auto& other :
       {std::optional<std::string>(), std::optional<std::string>("00000000-CA47-1067-B31D")}) {
    owned.ownerID = other;
    write(owned);
    store.removeOwned(owner);
    EXPECT_TRUE(fs::exists(path)) << other.value_or("nobody's");
  }
  owned.ownerID = owner;
  write(owned);
  store.removeOwned(owner);
  EXPECT_FALSE(fs::exists(path));
  struct stat lock {};
  ASSERT_EQ(::lstat((path.string() + ".lock").c_str(), &lock), 0) << "the lock file stays";
  EXPECT_EQ(lock.st_mode & 07777, 0600U);
}

TEST_F(MountAccessReportStoreTest, HeldOrLinkedLockMeansHandsOff) {
  auto owned = report(10);
  owned.ownerID = owner;
  write(owned);
  const auto lockPath = path.string() + ".lock";
  {
    // The lock of another open file is another process's lock.
    const int held = ::open(lockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    ASSERT_EQ(::flock(held, LOCK_EX), 0);
    store.removeOwned(owner);
    store.refreshOwned(owner, mac.now());
    EXPECT_EQ(store.read(), owned);
    ::close(held);
  }
  fs::remove(lockPath);
  const auto elsewhere = path.parent_path() / "elsewhere";
  fs::create_symlink(elsewhere, lockPath);
  store.removeOwned(owner);
  EXPECT_EQ(store.read(), owned);
  EXPECT_FALSE(fs::exists(elsewhere)) << "a link is not followed, not even to make the file";
}

TEST_F(MountAccessReportStoreTest, WritableFlagIsKnownForTheSameDeviceOnly) {
  auto& registry = *mac.platform.mediaRegistry;
  const auto device = *deviceId(registry, "disk4s1");
  EXPECT_EQ(mediaWritable(registry, "disk4s1", device), true);
  EXPECT_EQ(mediaWritable(registry, "disk4s1", device + 1), std::nullopt);
  EXPECT_EQ(mediaWritable(registry, "disk9s1", device), std::nullopt);
  mac.mac.machine().setProtected("disk4s1", true);
  EXPECT_EQ(mediaWritable(registry, "disk4s1", device), false);
  SimulatedFixture odd(
      R"([{"disk": "disk4", "volumes": [{"disk": "disk4s1", "registry": {"Writable": 1}}]}])");
  EXPECT_EQ(mediaWritable(*odd.platform.mediaRegistry, "disk4s1",
                          *deviceId(*odd.platform.mediaRegistry, "disk4s1")),
            std::nullopt)
      << "a number is no flag";
}

}  // namespace
}  // namespace halvercine::mount
