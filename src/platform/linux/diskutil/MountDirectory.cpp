#include "platform/linux/diskutil/MountDirectory.h"

#include <algorithm>
#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

#include "base/PrivateFiles.h"
#include "base/Text.h"
#include "platform/linux/sysfs.h"

namespace halvercine::platform::gnulinux {
namespace {

constexpr std::string_view mountRoot = "/media/";
constexpr std::string_view runFolder = "/run/halvercine";
constexpr std::string_view linkFolder = "/run/halvercine/mounts/";
constexpr std::size_t nameLimit = 200;  // of 255, so that a number fits behind it
constexpr int attempts = 100;
constexpr mode_t forAllToSee = 0755;

std::error_code lastError() { return {errno, std::generic_category()}; }

std::string linkOf(MediumId id) { return std::string(linkFolder) + bsdName(id); }

std::string shortened(std::string text) {
  if (text.size() <= nameLimit) return text;
  std::size_t end = nameLimit;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
  return text.substr(0, end);
}

// The mode is set apart from the umask, which may be the caller's.
bool makeFolder(const std::string& path) {
  return ::mkdir(path.c_str(), forAllToSee) == 0 && ::chmod(path.c_str(), forAllToSee) == 0;
}

bool ensureFolder(std::string_view path) {
  return makeFolder(std::string(path)) || errno == EEXIST;
}

}  // namespace

std::string folderName(std::string_view volumeName) {
  std::string name = shortened(base::displayText(base::trimmed(volumeName)));
  std::ranges::replace(name, '/', ':');  // as macOS shows it
  return base::isPlainFileName(name) ? name : "Untitled";
}

std::expected<MountDirectory, std::error_code> MountDirectory::make(MediumId id,
                                                                    std::string_view volumeName) {
  if (const auto left = find(id)) left->remove();
  if (!ensureFolder(mountRoot) || !ensureFolder(runFolder) || !ensureFolder(linkFolder)) {
    return std::unexpected(lastError());
  }
  const std::string wanted = std::string(mountRoot) + folderName(volumeName);
  std::string path = wanted;
  for (int number = 1; !makeFolder(path); ++number) {
    if (errno != EEXIST || number == attempts) return std::unexpected(lastError());
    path = wanted + " " + std::to_string(number);
  }
  MountDirectory directory(path, linkOf(id));
  if (::symlink(path.c_str(), directory.link_.c_str()) == 0) return directory;
  const auto error = lastError();
  ::rmdir(path.c_str());
  return std::unexpected(error);
}

std::optional<MountDirectory> MountDirectory::find(MediumId id) {
  std::string link = linkOf(id);
  std::string path = linkTarget(link);
  if (!path.starts_with(mountRoot) || path == mountRoot) return std::nullopt;
  return MountDirectory(std::move(path), std::move(link));
}

void MountDirectory::remove() const {
  // Something is mounted there: it stays known.
  if (::rmdir(path_.c_str()) != 0 && errno == EBUSY) return;
  ::unlink(link_.c_str());
}

}  // namespace halvercine::platform::gnulinux
