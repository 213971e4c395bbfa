#include "base/localizedTime.h"

#include <array>
#include <chrono>
#include <ctime>

#include <fmt/format.h>

namespace halvercine::base {
namespace {

std::tm localTime(platform::WallTime time) {
  const std::time_t seconds = std::chrono::system_clock::to_time_t(
      std::chrono::floor<std::chrono::system_clock::duration>(time));
  std::tm local{};
  ::tzset();  // the thread-safe conversion need not look for a changed zone itself
  ::localtime_r(&seconds, &local);
  return local;
}

std::string english(const std::tm& time) {
  constexpr std::array months{"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                              "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  const int hour = time.tm_hour % 12 == 0 ? 12 : time.tm_hour % 12;
  return fmt::format("{} {}, {} at {}:{:02}:{:02} {}",
                     months.at(static_cast<std::size_t>(time.tm_mon)), time.tm_mday,
                     time.tm_year + 1900, hour, time.tm_min, time.tm_sec,
                     time.tm_hour < 12 ? "AM" : "PM");
}

std::string simplifiedChinese(const std::tm& time) {
  return fmt::format("{}年{}月{}日 {:02}:{:02}:{:02}", time.tm_year + 1900, time.tm_mon + 1,
                     time.tm_mday, time.tm_hour, time.tm_min, time.tm_sec);
}

}  // namespace

std::string localizedTime(platform::WallTime time, Language language) {
  const auto local = localTime(time);
  switch (language) {
    case Language::en:
      return english(local);
    case Language::zhHans:
      return simplifiedChinese(local);
  }
  return {};
}

}  // namespace halvercine::base
