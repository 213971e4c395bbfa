#include "platform/linux/sysfs.h"

#include <array>
#include <charconv>
#include <climits>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <unistd.h>

#include "base/UniqueFd.h"

namespace halvercine::platform::gnulinux {

std::optional<std::string> readBinaryAttribute(const std::string& directory,
                                               std::string_view name) {
  const std::string path = directory + '/' + std::string(name);
  const base::UniqueFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (!file) return std::nullopt;
  std::array<char, 4096> page;
  const ssize_t count = ::read(file.get(), page.data(), page.size());
  if (count < 0) return std::nullopt;
  return std::string(page.data(), static_cast<std::size_t>(count));
}

std::optional<std::string> readAttribute(const std::string& directory, std::string_view name) {
  auto text = readBinaryAttribute(directory, name);
  if (!text) return std::nullopt;
  text->erase(text->find_last_not_of(" \n") + 1);
  text->erase(0, text->find_first_not_of(' '));
  if (text->empty()) return std::nullopt;
  return text;
}

std::optional<std::uint64_t> readNumber(const std::string& directory, std::string_view name) {
  const auto text = readAttribute(directory, name);
  if (!text) return std::nullopt;
  std::uint64_t number = 0;
  const auto result = std::from_chars(text->data(), text->data() + text->size(), number);
  if (result.ec != std::errc()) return std::nullopt;
  return number;
}

std::string linkTarget(const std::string& path) {
  std::array<char, PATH_MAX> target;
  const ssize_t length = ::readlink(path.c_str(), target.data(), target.size());
  return length < 0 ? std::string() : std::string(target.data(), static_cast<std::size_t>(length));
}

std::string baseName(const std::string& path) { return path.substr(path.rfind('/') + 1); }

std::string subsystemOf(const std::string& directory) {
  return baseName(linkTarget(directory + "/subsystem"));
}

std::vector<std::string> namesIn(const std::string& directory) {
  std::vector<std::string> names;
  const auto close = [](DIR* open) { ::closedir(open); };
  const std::unique_ptr<DIR, decltype(close)> open(::opendir(directory.c_str()), close);
  while (const dirent* entry = open ? ::readdir(open.get()) : nullptr) {
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..") names.emplace_back(name);
  }
  return names;
}

std::string_view lineValue(std::string_view lines, std::string_view key) {
  while (!lines.empty()) {
    const auto line = lines.substr(0, lines.find('\n'));
    if (line.size() > key.size() && line.starts_with(key) && line[key.size()] == '=') {
      return line.substr(key.size() + 1);
    }
    lines.remove_prefix(std::min(lines.size(), line.size() + 1));
  }
  return {};
}

}  // namespace halvercine::platform::gnulinux
