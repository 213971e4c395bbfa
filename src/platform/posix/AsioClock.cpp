#include "platform/posix/AsioClock.h"

#include <algorithm>
#include <iterator>
#include <vector>

namespace halvercine::platform::posix {

WallTime AsioClock::now() const { return std::chrono::system_clock::now(); }

Uptime AsioClock::uptime() const { return UptimeClock::now().time_since_epoch(); }

TimerId AsioClock::callAt(Uptime deadline, std::function<void()> action) {
  const Key key(deadline, ++lastTimer_);
  actions_.emplace(key, std::move(action));
  if (actions_.begin()->first == key) arm();
  return key.second;
}

void AsioClock::cancel(TimerId timer) {
  const auto found = std::find_if(actions_.begin(), actions_.end(), [timer](const auto& entry) {
    return entry.first.second == timer;
  });
  if (found == actions_.end()) return;
  const bool wasEarliest = found == actions_.begin();
  actions_.erase(found);
  if (wasEarliest) arm();
}

void AsioClock::arm() {
  if (actions_.empty()) {
    timer_.cancel();
    return;
  }
  timer_.expires_at(UptimeClock::time_point(actions_.begin()->first.first));
  // A wait that has ended well may still be queued when the clock goes.
  timer_.async_wait([this, alive = std::weak_ptr(alive_)](boost::system::error_code error) {
    if (!error && !alive.expired()) runDue();
  });
}

void AsioClock::runDue() {
  // Only what was due on entry: an action that files a past deadline waits for the next turn.
  const auto lastDue = actions_.upper_bound(Key(uptime(), lastTimer_));
  std::vector<Key> due;
  std::transform(actions_.begin(), lastDue, std::back_inserter(due),
                 [](const auto& entry) { return entry.first; });
  for (const auto& key : due) {
    // One action may have taken back the next.
    if (const auto next = actions_.extract(key)) next.mapped()();
  }
  arm();
}

}  // namespace halvercine::platform::posix
