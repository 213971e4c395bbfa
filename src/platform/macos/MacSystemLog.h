// The system log by os_log.
#pragma once

#include "platform/SystemLog.h"

namespace halvercine::platform::macos {

/// Lines have the subsystem "com.halvercine.app" and are public: they hold no secrets. What is
/// `info` here goes out at the system's default level, of which the store keeps lines; it does not
/// keep those of its own level "info". A line ends at its first zero byte.
class MacSystemLog : public SystemLog {
 public:
  void write(LogLevel level, std::string_view line) override;
};

}  // namespace halvercine::platform::macos
