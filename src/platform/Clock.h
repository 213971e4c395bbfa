// Time: what it is, and being called when it has come.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>

namespace halvercine::platform {

using WallTime = std::chrono::sys_time<std::chrono::nanoseconds>;

/// Monotonic time since an arbitrary start; does not jump when the wall clock is set, and does not
/// count the time that the system sleeps.
using Uptime = std::chrono::nanoseconds;

/// Seconds since 1 January 1970 (UTC) with their fraction, as records of other processes carry
/// them.
inline double secondsSince1970(WallTime time) {
  return std::chrono::duration<double>(time.time_since_epoch()).count();
}

using TimerId = std::uint64_t;

class Clock {
 public:
  virtual ~Clock() = default;

  /// Wall-clock time. Any thread.
  virtual WallTime now() const = 0;

  /// Monotonic time. Any thread.
  virtual Uptime uptime() const = 0;

  /// Calls `action` once on the main actor when `uptime()` has reached `deadline`, in the order of
  /// the deadlines (those of one deadline in the order of the calls); never from inside this call,
  /// even when the deadline has passed. Main actor.
  virtual TimerId callAt(Uptime deadline, std::function<void()> action) = 0;

  /// Takes a call back. Afterwards its action does not run and is destroyed; an ID whose action has
  /// run is ignored. Main actor.
  virtual void cancel(TimerId timer) = 0;
};

}  // namespace halvercine::platform
