#include "app/readUserFile.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <system_error>

#include "base/UniqueFd.h"

namespace halvercine::app {
namespace {

std::string lastError() { return std::generic_category().message(errno); }

/// Why something of this kind is not read, or nothing.
std::string_view refusal(mode_t mode) {
  if (S_ISREG(mode) || S_ISFIFO(mode)) return "";
  return S_ISDIR(mode) ? "this is a folder" : "this is neither a file nor a pipe";
}

}  // namespace

std::expected<std::string, std::string> readUserFile(const std::string& path, std::size_t limit) {
  struct stat status {};
  // Opening a device can do something already.
  if (::stat(path.c_str(), &status) != 0) return std::unexpected(lastError());
  if (const auto why = refusal(status.st_mode); !why.empty()) {
    return std::unexpected(std::string(why));
  }
  const base::UniqueFd file(::open(path.c_str(), O_RDONLY | O_NOCTTY | O_CLOEXEC));
  if (!file || ::fstat(file.get(), &status) != 0) return std::unexpected(lastError());
  if (const auto why = refusal(status.st_mode); !why.empty()) {
    return std::unexpected(std::string(why));
  }
  std::string content;
  std::array<char, 65536> buffer;
  while (content.size() <= limit) {
    const auto got = ::read(file.get(), buffer.data(), buffer.size());
    if (got == 0) return content;
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return std::unexpected(lastError());
    content.append(buffer.data(), static_cast<std::size_t>(got));
  }
  return std::unexpected("this is larger than " + std::to_string(limit) + " bytes");
}

}  // namespace halvercine::app
