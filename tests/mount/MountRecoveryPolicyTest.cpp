#include "mount/MountRecoveryPolicy.h"

#include <gtest/gtest.h>

namespace halvercine::mount {
namespace {

using Cause = ReadOnlyCause;
using Reason = ReadOnlyReason;

TEST(MountRecoveryPolicyTest, MediumDecidesUnlessTheMountWasRequested) {
  struct Row {
    std::optional<Reason> reason;
    Cause unlessProtected;  // the medium is writable, or nobody knows
    Cause whenProtected;
  };
  const Row rows[] = {
      {std::nullopt, Cause::unknown, Cause::hardware},
      {Reason::readWrite, Cause::unknown, Cause::hardware},
      {Reason::requested, Cause::requested, Cause::requested},
      {Reason::deviceProtected, Cause::resource, Cause::hardware},
      {Reason::resourceReadOnly, Cause::resource, Cause::hardware},
      {Reason::unsafeVolume, Cause::protectedVolume, Cause::hardware},
      {Reason::openFailed, Cause::openFailed, Cause::hardware},
      {Reason::eowSafety, Cause::endOfWriteSafety, Cause::hardware},
  };
  for (const auto& row : rows) {
    const int trace = row.reason ? static_cast<int>(*row.reason) : -1;
    EXPECT_EQ(MountRecoveryPolicy::cause(true, row.reason), row.unlessProtected) << trace;
    EXPECT_EQ(MountRecoveryPolicy::cause(std::nullopt, row.reason), row.unlessProtected) << trace;
    EXPECT_EQ(MountRecoveryPolicy::cause(false, row.reason), row.whenProtected) << trace;
  }
}

TEST(MountRecoveryPolicyTest, OnlyResourceAndUnknownAreWorthARetry) {
  struct Row {
    Cause cause;
    bool retry;
    std::string_view key;
  };
  const Row rows[] = {{Cause::hardware, false, "disk.ux.readonly.hardware"},
                      {Cause::resource, true, "disk.ux.readonly.resource"},
                      {Cause::requested, false, "disk.ux.readonly.requested"},
                      {Cause::protectedVolume, false, "disk.ux.readonly.protected"},
                      {Cause::openFailed, false, "disk.ux.readonly.openfailed"},
                      {Cause::endOfWriteSafety, false, "disk.ux.readonly.eow"},
                      {Cause::unknown, true, "disk.ux.readonly.unknown"}};
  for (const auto& row : rows) {
    EXPECT_EQ(MountRecoveryPolicy::isRecoverable(row.cause), row.retry) << row.key;
    EXPECT_EQ(MountRecoveryPolicy::explanationKey(row.cause), row.key);
  }
}

TEST(MountRecoveryPolicyTest, NotesAdviseOnlyWhatTheCauseAllows) {
  using Keys = std::vector<std::string_view>;
  EXPECT_EQ(MountRecoveryPolicy::noteKeys(Cause::protectedVolume),
            (Keys{"disk.ux.readonly.windows", "disk.ux.readonly.check"}));
  EXPECT_EQ(MountRecoveryPolicy::noteKeys(Cause::endOfWriteSafety), Keys{"disk.ux.readonly.check"});
  EXPECT_EQ(MountRecoveryPolicy::noteKeys(Cause::hardware), Keys{}) << "a check cannot write";
}

TEST(MountRecoveryPolicyTest, StatusLineFollowsTheDevicesOwnPlaceInTheQueue) {
  using Policy = MountRecoveryPolicy;
  const Policy::QueuePlace pending{7, 2, true};
  const Policy::QueuePlace exhausted{7, 5, false};
  EXPECT_EQ(Policy::recoveryStatus(std::nullopt, pending, true), std::nullopt);
  EXPECT_EQ(Policy::recoveryStatus(7, std::nullopt, true), std::nullopt);
  EXPECT_EQ(Policy::recoveryStatus(8, pending, true), std::nullopt) << "another device's entry";
  EXPECT_EQ(Policy::recoveryStatus(7, exhausted, true),
            (Policy::StatusLine{"disk.ux.recovery.running", {5, 5}}));
  EXPECT_EQ(Policy::recoveryStatus(7, pending, false),
            (Policy::StatusLine{"disk.ux.recovery.waiting", {2, 5}}));
  EXPECT_EQ(Policy::recoveryStatus(7, exhausted, false),
            (Policy::StatusLine{"disk.ux.recovery.stopped", {}}));
}

}  // namespace
}  // namespace halvercine::mount
