// The simulated Mac's diagnostic log.
#pragma once

#include <cstddef>
#include <deque>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "platform/SystemLog.h"

namespace halvercine::platform::simulated {

struct LogLine {
  LogLevel level = LogLevel::info;
  std::string text;
  bool operator==(const LogLine&) const = default;
};

/// Keeps the newest lines for whoever asks. Any thread.
class SimulatedLog {
 public:
  static constexpr std::size_t capacity = 10'000;

  void write(LogLevel level, std::string_view line);

  /// Oldest first.
  std::vector<LogLine> lines() const;

 private:
  mutable std::mutex mutex_;
  std::deque<LogLine> lines_;
};

}  // namespace halvercine::platform::simulated
