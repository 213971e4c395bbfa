#include "mount/MountRecoveryPolicy.h"

#include <gtest/gtest.h>

#include "base/Localization.h"

namespace halvercine::mount {
namespace {

using Cause = ReadOnlyCause;
using Policy = MountRecoveryPolicy;
using Reason = ReadOnlyReason;

TEST(MountRecoveryPolicyTest, MediumDecidesUnlessTheMountWasRequested) {
  const base::Localization english(base::Language::en);
  struct Row {
    std::optional<Reason> reason;
    Cause cause;  // while the medium is writable, or nobody knows
    bool isRecoverable;
  };
  const Row rows[] = {
      {std::nullopt, Cause::unknown, true},
      {Reason::readWrite, Cause::unknown, true},
      {Reason::requested, Cause::requested, false},
      {Reason::deviceProtected, Cause::resource, true},
      {Reason::resourceReadOnly, Cause::resource, true},
      {Reason::unsafeVolume, Cause::protectedVolume, false},
      {Reason::openFailed, Cause::openFailed, false},
      {Reason::eowSafety, Cause::endOfWriteSafety, false},
  };
  for (const auto& [reason, cause, isRecoverable] : rows) {
    SCOPED_TRACE(reason ? static_cast<int>(*reason) : -1);
    EXPECT_EQ(Policy::cause(true, reason), cause);
    EXPECT_EQ(Policy::cause(std::nullopt, reason), cause);
    EXPECT_EQ(Policy::cause(false, reason),
              reason == Reason::requested ? Cause::requested : Cause::hardware);
    EXPECT_EQ(Policy::isRecoverable(cause), isRecoverable);
    EXPECT_TRUE(english.table().contains(Policy::explanationKey(cause)));
  }
  EXPECT_FALSE(Policy::isRecoverable(Cause::hardware));
}

TEST(MountRecoveryPolicyTest, StatusLineIsOfTheDevicesOwnPlaceInTheQueue) {
  const Policy::QueuePlace place{7, 2, true};
  EXPECT_EQ(Policy::recoveryStatus(std::nullopt, place, true), std::nullopt);
  EXPECT_EQ(Policy::recoveryStatus(7, std::nullopt, true), std::nullopt);
  EXPECT_EQ(Policy::recoveryStatus(8, place, true), std::nullopt) << "another device's entry";
  EXPECT_EQ(Policy::recoveryStatus(7, place, false),
            (Policy::StatusLine{"disk.ux.recovery.waiting", {2, 5}}));
  EXPECT_EQ(Policy::recoveryStatus(7, Policy::QueuePlace{7, 5, false}, true),
            (Policy::StatusLine{"disk.ux.recovery.running", {5, 5}}));
}

}  // namespace
}  // namespace halvercine::mount
