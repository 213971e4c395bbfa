#include "operations/logText.h"

#include <ctime>

#include <fmt/format.h>

#include "base/Text.h"

namespace halvercine::operations {
namespace {

std::tm localTime(const OperationLogEntry& entry) {
  const std::time_t seconds = entryTime(entry).seconds;
  std::tm local{};
  ::localtime_r(&seconds, &local);
  return local;
}

std::string line(const OperationLogEntry& entry) {
  const auto local = localTime(entry);
  return fmt::format("{:04}-{:02}-{:02} {:02}:{:02}:{:02}  [{}] {}", local.tm_year + 1900,
                     local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec,
                     base::displayText(entry.category), base::displayText(entry.message));
}

}  // namespace

std::string exportLine(const OperationLogEntry& entry) {
  // The thread-safe conversion need not look for a changed zone itself.
  ::tzset();
  return line(entry);
}

std::string exportText(const std::deque<OperationLogEntry>& entries) {
  ::tzset();
  std::string text;
  for (const auto& entry : entries) {
    if (!text.empty()) text += '\n';
    text += line(entry);
  }
  return text;
}

}  // namespace halvercine::operations
