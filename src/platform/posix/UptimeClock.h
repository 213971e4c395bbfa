// The time that the system has been awake.
#pragma once

#include <chrono>
#include <cstdint>
#include <ctime>

#include <boost/asio/basic_waitable_timer.hpp>

namespace halvercine::platform::posix {

/// Monotonic, and standing still while the system sleeps, when nothing else goes on either: a limit
/// that is set before a sleep is not over after it.
struct UptimeClock {
  using duration = std::chrono::nanoseconds;
  using rep = duration::rep;
  using period = duration::period;
  using time_point = std::chrono::time_point<UptimeClock>;
  static constexpr bool is_steady = true;

  static time_point now() noexcept {
#ifdef __APPLE__
    // The standard library's clock runs on in a sleeping Mac.
    return time_point(
        duration(static_cast<std::int64_t>(::clock_gettime_nsec_np(CLOCK_UPTIME_RAW))));
#else
    return time_point(std::chrono::steady_clock::now().time_since_epoch());
#endif
  }
};

using UptimeTimer = boost::asio::basic_waitable_timer<UptimeClock>;

}  // namespace halvercine::platform::posix
