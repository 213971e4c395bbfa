#include "mount/MountAccessHeartbeat.h"

#include <thread>

#include <gtest/gtest.h>

#include "base/Json.h"
#include "mount/MountAccessReportStore.h"
#include "support/SimulatedFixture.h"

namespace halvercine::mount {
namespace {

constexpr auto owner = "6B29FC40-CA47-1067-B31D-00DD010662DA";

class MountAccessHeartbeatTest : public testing::Test {
 protected:
  void write(std::optional<std::string> ownerId) {
    tests::writeText(store.url(), base::encodeJson(MountAccessReport{
                                      1, "S", mac.now(), ReadOnlyReason::readWrite, ownerId}));
  }
  double age() { return mac.now() - store.read()->timestamp; }

  tests::SimulatedFixture mac{R"([{"disk": "disk4", "volumes": [{"disk": "disk4s1"}]}])"};
  MountAccessReportStore store{mac.reportPath("disk4s1")};
  std::optional<MountAccessHeartbeat> heartbeat{std::in_place, mac.actor, *mac.platform.clock,
                                                *mac.platform.containers};
};

TEST_F(MountAccessHeartbeatTest, KeepsItsReportFreshAndTakesItAway) {
  write(owner);
  heartbeat->start("disk4s1", owner);
  mac.pass(3000);
  EXPECT_LT(age(), freshnessWindow / 2);
  heartbeat.reset();
  EXPECT_FALSE(store.read()) << "destroying is stopping";
  mac.pass(3000);
  EXPECT_FALSE(store.read()) << "and nothing beats on";
}

TEST_F(MountAccessHeartbeatTest, LeavesForeignReportsAlone) {
  write(std::nullopt);
  heartbeat->start("disk4s1", owner);
  mac.pass(300);
  EXPECT_GE(age(), 300);
  heartbeat->stop();
  EXPECT_TRUE(store.read());
}

TEST_F(MountAccessHeartbeatTest, NewTargetStopsTheOldOne) {
  write(owner);
  heartbeat->start("disk4s1", owner);
  heartbeat->start("disk9s9", owner);
  EXPECT_FALSE(store.read());
}

TEST_F(MountAccessHeartbeatTest, MayBeStoppedFromAnotherThread) {
  write(owner);
  heartbeat->start("disk4s1", owner);
  mac.pass(61);
  std::thread([this] { heartbeat->stop(); }).join();
  mac.pass(600);
  EXPECT_FALSE(store.read());
}

}  // namespace
}  // namespace halvercine::mount
