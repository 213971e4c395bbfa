// Real time, with its timers on the main actor.
#pragma once

#include <map>
#include <memory>

#include "base/MainActor.h"
#include "platform/Clock.h"
#include "platform/posix/UptimeClock.h"

namespace halvercine::platform::posix {

/// The system's clocks. One kernel timer stands for the earliest deadline.
class AsioClock : public Clock {
 public:
  explicit AsioClock(base::MainActor& actor) : timer_(actor.context()) {}

  WallTime now() const override;
  Uptime uptime() const override;
  TimerId callAt(Uptime deadline, std::function<void()> action) override;
  void cancel(TimerId timer) override;

 private:
  using Key = std::pair<Uptime, TimerId>;

  void arm();
  void runDue();

  UptimeTimer timer_;
  std::map<Key, std::function<void()>> actions_;
  TimerId lastTimer_ = 0;
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace halvercine::platform::posix
