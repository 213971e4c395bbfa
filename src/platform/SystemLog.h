// The system's diagnostic log (not the operation log that the user reads).
#pragma once

#include <string_view>

namespace halvercine::platform {

enum class LogLevel { debug, info, error };

class SystemLog {
 public:
  virtual ~SystemLog() = default;

  /// Writes one line. Never fails visibly, never blocks for long. Any thread.
  virtual void write(LogLevel level, std::string_view line) = 0;
};

}  // namespace halvercine::platform
