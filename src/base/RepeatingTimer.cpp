#include "base/RepeatingTimer.h"

#include <algorithm>
#include <utility>

namespace halvercine::base {

void RepeatingTimer::start(platform::Uptime interval, std::function<void()> action) {
  stop();
  interval_ = interval;
  action_ = std::make_shared<const std::function<void()>>(std::move(action));
  arm(clock_.uptime() + interval_);
}

void RepeatingTimer::stop() {
  if (const auto timer = std::exchange(armed_, std::nullopt)) clock_.cancel(*timer);
  action_.reset();
}

void RepeatingTimer::arm(platform::Uptime deadline) {
  armed_ = clock_.callAt(deadline, [this, deadline] {
    arm(std::max(deadline + interval_, clock_.uptime()));
    const auto action = action_;  // outlives a stop, and this object, from inside
    (*action)();
  });
}

}  // namespace halvercine::base
