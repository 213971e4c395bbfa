// A clock whose time moves only when it is told to.
#pragma once

#include <atomic>
#include <map>

#include "base/MainActor.h"
#include "platform/Clock.h"

namespace halvercine::base {

/// Simulated time. It stands still while anything is to be done and jumps straight to the earliest
/// deadline when nothing is: `attachTo` makes a main actor do that.
class VirtualClock : public platform::Clock {
 public:
  /// Time starts at `start` (and uptime at 0).
  explicit VirtualClock(platform::WallTime start) : start_(start) {}

  platform::WallTime now() const override;
  platform::Uptime uptime() const override;
  platform::TimerId callAt(platform::Uptime deadline, std::function<void()> action) override;
  void cancel(platform::TimerId timer) override;

  /// Jumps to the earliest deadline and runs its action; false when there is none.
  bool advanceToNext();

  /// Lets `duration` pass, running what falls due on the way, in order. What the actions post is
  /// not run: use the main actor for that.
  void advanceBy(platform::Uptime duration);

  /// Makes `actor` move this clock whenever it has nothing else to do.
  void attachTo(MainActor& actor) {
    actor.setIdleHandler([this] { return advanceToNext(); });
  }

 private:
  using Key = std::pair<platform::Uptime, platform::TimerId>;

  platform::WallTime start_;
  std::atomic<platform::Uptime::rep> elapsed_{0};  // read from background threads
  std::map<Key, std::function<void()>> timers_;
  platform::TimerId lastTimer_ = 0;
};

}  // namespace halvercine::base
