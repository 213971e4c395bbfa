// A system log that keeps its lines.
#pragma once

#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "platform/SystemLog.h"

namespace halvercine::tests {

class RecordingLog : public platform::SystemLog {
 public:
  void write(platform::LogLevel, std::string_view line) override {
    const std::lock_guard lock(mutex_);
    lines_.emplace_back(line);
  }

  std::vector<std::string> lines() const {
    const std::lock_guard lock(mutex_);
    return lines_;
  }

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> lines_;
};

}  // namespace halvercine::tests
