// A timer that fires again and again.
#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "platform/Clock.h"

namespace halvercine::base {

/// Calls an action at a fixed interval while it lives. Beats that a sleep of the machine swallowed
/// are not made up for. Main actor.
class RepeatingTimer {
 public:
  explicit RepeatingTimer(platform::Clock& clock) : clock_(clock) {}
  ~RepeatingTimer() { stop(); }
  RepeatingTimer(const RepeatingTimer&) = delete;
  RepeatingTimer& operator=(const RepeatingTimer&) = delete;

  /// Starts, in place of an earlier start. The first call comes after one interval. The action may
  /// stop or destroy the timer.
  void start(platform::Uptime interval, std::function<void()> action);

  void stop();

 private:
  void arm(platform::Uptime deadline);

  platform::Clock& clock_;
  platform::Uptime interval_{};
  std::shared_ptr<const std::function<void()>> action_;
  std::optional<platform::TimerId> armed_;
};

}  // namespace halvercine::base
