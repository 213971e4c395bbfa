#include "platform/macos/restartFromRealPath.h"

#include <array>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <unistd.h>

#include <mach-o/dyld.h>

namespace halvercine::platform::macos {

void restartFromRealPath(char* const* arguments) {
  // Whatever the paths say, once is enough.
  constexpr const char* mark = "HALVERCINE_RESTARTED";
  const bool isRestarted = ::getenv(mark) != nullptr;
  ::unsetenv(mark);
  std::array<char, PATH_MAX> started{};
  auto size = static_cast<std::uint32_t>(started.size());
  if (isRestarted || ::_NSGetExecutablePath(started.data(), &size) != 0) return;
  std::error_code error;
  const auto real = std::filesystem::canonical(started.data(), error);
  if (error || real == started.data()) return;
  ::setenv(mark, "1", 1);
  ::execv(real.c_str(), arguments);
  ::unsetenv(mark);
}

}  // namespace halvercine::platform::macos
