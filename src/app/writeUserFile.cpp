#include "app/writeUserFile.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <unistd.h>

#include "base/PrivateFiles.h"
#include "base/UniqueFd.h"

namespace halvercine::app {
namespace {

std::error_code lastError() { return {errno, std::generic_category()}; }

std::error_code writeAll(int file, std::string_view content) {
  while (!content.empty()) {
    const auto written = ::write(file, content.data(), content.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return lastError();
    content.remove_prefix(static_cast<std::size_t>(written));
  }
  return {};
}

}  // namespace

std::error_code writeNewFile(const std::string& path, std::string_view content) {
  constexpr mode_t everybodyWithinTheMask = 0666;
  base::UniqueFd file(
      ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, everybodyWithinTheMask));
  if (!file) return lastError();
  auto error = writeAll(file.get(), content);
  // Some file systems say only now that there is no room.
  if (::close(file.release()) != 0 && !error) error = lastError();
  if (error) ::unlink(path.c_str());
  return error;
}

std::error_code writeOverFile(const std::string& path, std::string_view content) {
  namespace fs = std::filesystem;
  std::error_code error;
  if (!fs::exists(fs::symlink_status(path, error))) return writeNewFile(path, content);
  const auto target = fs::canonical(path, error);
  if (error) return error;
  if (!fs::is_regular_file(target, error)) {
    return error ? error : std::make_error_code(std::errc::not_supported);
  }
  return base::replaceFileKeepingMode(target, content);
}

}  // namespace halvercine::app
