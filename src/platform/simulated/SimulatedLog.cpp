#include "platform/simulated/SimulatedLog.h"

namespace halvercine::platform::simulated {

void SimulatedLog::write(LogLevel level, std::string_view line) {
  const std::lock_guard lock(mutex_);
  if (lines_.size() == capacity) lines_.pop_front();
  lines_.push_back({level, std::string(line)});
}

std::vector<LogLine> SimulatedLog::lines() const {
  const std::lock_guard lock(mutex_);
  return {lines_.begin(), lines_.end()};
}

}  // namespace halvercine::platform::simulated
