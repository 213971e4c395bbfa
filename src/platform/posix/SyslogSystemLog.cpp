#include "platform/posix/SyslogSystemLog.h"

#include <syslog.h>

namespace halvercine::platform::posix {
namespace {

int priority(LogLevel level) {
  switch (level) {
    case LogLevel::debug:
      return LOG_DEBUG;
    case LogLevel::info:
      return LOG_INFO;
    case LogLevel::error:
      return LOG_ERR;
  }
  return LOG_ERR;
}

}  // namespace

SyslogSystemLog::SyslogSystemLog() { ::openlog("halvercine", LOG_PID, LOG_USER); }

void SyslogSystemLog::write(LogLevel level, std::string_view line) {
  ::syslog(priority(level), "%.*s", static_cast<int>(line.size()), line.data());
}

}  // namespace halvercine::platform::posix
