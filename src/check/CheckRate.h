// How fast a check is, and how long its stage still takes.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>

#include "check/CheckProgressSnapshot.h"
#include "platform/Clock.h"

namespace halvercine::check {

/// Judged by the frames of the last ten seconds in the current stage, by when they came: stages
/// count different things, and the module's clock is its own.
class CheckRate {
 public:
  void add(platform::Uptime now, const CheckProgressSnapshot& frame);

  /// Forgets what was seen: time in which nothing happens by intention does not count.
  void reset() { samples_.clear(); }

  /// Units of the stage in a second; nothing until the frames span a second and get somewhere.
  std::optional<double> unitsPerSecond() const;

  /// Until the end of the stage at this rate, rounded up; nothing without a rate or a total.
  std::optional<std::chrono::seconds> timeLeft() const;

 private:
  struct Sample {
    platform::Uptime at{0};
    std::uint32_t stage = 0;
    std::uint64_t scanned = 0;
    std::uint64_t total = 0;
  };

  std::deque<Sample> samples_;
};

}  // namespace halvercine::check
