#include "platform/macos/MacSystemLog.h"

#include <os/log.h>
#include <string>

namespace halvercine::platform::macos {
namespace {

os_log_t controllerLog() {
  static const os_log_t log = os_log_create("com.halvercine.app", "controller");
  return log;
}

os_log_type_t type(LogLevel level) {
  switch (level) {
    case LogLevel::debug:
      return OS_LOG_TYPE_DEBUG;
    case LogLevel::info:
      return OS_LOG_TYPE_DEFAULT;
    case LogLevel::error:
      return OS_LOG_TYPE_ERROR;
  }
  return OS_LOG_TYPE_ERROR;
}

}  // namespace

void MacSystemLog::write(LogLevel level, std::string_view line) {
  const std::string text(line);
  os_log_with_type(controllerLog(), type(level), "%{public}s", text.c_str());
}

}  // namespace halvercine::platform::macos
