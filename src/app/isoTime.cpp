#include "app/isoTime.h"

#include <chrono>
#include <ctime>

#include <fmt/format.h>

namespace halvercine::app {

std::string isoTime(platform::WallTime time) {
  const auto second = std::chrono::floor<std::chrono::seconds>(time);
  const auto milliseconds = std::chrono::floor<std::chrono::milliseconds>(time - second);
  return isoTime(second.time_since_epoch().count(), static_cast<int>(milliseconds.count()));
}

std::string isoTime(std::int64_t seconds, int milliseconds) {
  const std::time_t time = seconds;
  std::tm utc{};
  ::gmtime_r(&time, &utc);
  return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}.{:03}Z", utc.tm_year + 1900,
                     utc.tm_mon + 1, utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec,
                     milliseconds);
}

}  // namespace halvercine::app
