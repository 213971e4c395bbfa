// Keeping a banner from flickering.
#pragma once

#include <chrono>
#include <optional>

#include "platform/Clock.h"

namespace halvercine::disks {

/// Says whether a condition has held long enough, and often enough, to be worth a banner.
class BannerStabilityState {
 public:
  /// A plug or a remount settles within a second or two; what stands longer is worth saying.
  static constexpr auto minimumTime = std::chrono::seconds(3);
  static constexpr int minimumHits = 2;

  /// Takes what the newest refresh saw, and answers whether the banner is to be shown. One refresh
  /// that does not see the condition starts it all over.
  bool update(bool conditionSeen, platform::WallTime now) {
    if (!conditionSeen) {
      *this = {};
      return false;
    }
    // A clock that was set back must not postpone the banner for good.
    if (!since_ || now < *since_) since_ = now;
    ++hits_;
    return hits_ >= minimumHits && now - *since_ >= minimumTime;
  }

 private:
  std::optional<platform::WallTime> since_;
  int hits_ = 0;
};

}  // namespace halvercine::disks
