// The system log by way of syslog(3).
#pragma once

#include "platform/SystemLog.h"

namespace halvercine::platform::posix {

/// Lines carry the name "halvercine" and the process ID. Nothing goes to the terminal, and a
/// machine without a log daemon loses the lines silently.
class SyslogSystemLog : public SystemLog {
 public:
  SyslogSystemLog();
  void write(LogLevel level, std::string_view line) override;
};

}  // namespace halvercine::platform::posix
