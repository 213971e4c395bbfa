#include "platform/linux/LinuxProcesses.h"

#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

namespace halvercine::platform::gnulinux {

std::optional<std::uint64_t> LinuxProcesses::startTime(std::int32_t pid) {
  std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
  const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  // The name of the program, which may hold anything, ends at the last parenthesis; the start is
  // the 20th word behind it.
  const auto name = text.rfind(')');
  if (name == std::string::npos) return std::nullopt;
  std::istringstream words(text.substr(name + 1));
  std::string word;
  for (int skipped = 0; skipped < 19; ++skipped) words >> word;
  std::uint64_t ticks = 0;
  if (!(words >> ticks)) return std::nullopt;
  return ticks;
}

}  // namespace halvercine::platform::gnulinux
