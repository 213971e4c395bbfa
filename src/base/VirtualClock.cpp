#include "base/VirtualClock.h"

#include <algorithm>

namespace halvercine::base {

platform::WallTime VirtualClock::now() const { return start_ + uptime(); }

platform::Uptime VirtualClock::uptime() const { return platform::Uptime(elapsed_.load()); }

platform::TimerId VirtualClock::callAt(platform::Uptime deadline, std::function<void()> action) {
  timers_.emplace(Key(deadline, ++lastTimer_), std::move(action));
  return lastTimer_;
}

void VirtualClock::cancel(platform::TimerId timer) {
  std::erase_if(timers_, [timer](const auto& entry) { return entry.first.second == timer; });
}

bool VirtualClock::advanceToNext() {
  if (timers_.empty()) return false;
  auto next = timers_.extract(timers_.begin());
  elapsed_ = std::max(elapsed_.load(), next.key().first.count());
  next.mapped()();
  return true;
}

void VirtualClock::advanceBy(platform::Uptime duration) {
  const auto end = uptime() + duration;
  while (!timers_.empty() && timers_.begin()->first.first <= end) advanceToNext();
  elapsed_ = end.count();
}

}  // namespace halvercine::base
