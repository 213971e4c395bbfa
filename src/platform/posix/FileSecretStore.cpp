#include "platform/posix/FileSecretStore.h"

#include <string_view>
#include <sys/stat.h>
#include <system_error>

#include "base/PrivateFiles.h"
#include "base/Secret.h"

namespace halvercine::platform::posix {
namespace {

// Secrets are short; whatever is larger is none of ours.
constexpr std::size_t valueLimit = std::size_t{64} * 1024;

// Of most file systems.
constexpr std::size_t nameLimit = 255;

/// A file name that no other text has, on file systems that ignore letter case as well; nothing for
/// a text that is too long for one.
std::optional<std::string> fileName(std::string_view text) {
  constexpr std::string_view digits = "0123456789abcdef";
  std::string name;
  for (const char character : text) {
    const bool isPlain = (character >= 'a' && character <= 'z') ||
                         (character >= '0' && character <= '9') || character == '-';
    if (isPlain) {
      name += character;
    } else {
      const auto byte = static_cast<unsigned char>(character);
      name.append("_").append(1, digits[byte / 16]).append(1, digits[byte % 16]);
    }
  }
  if (name.empty() || name.size() > nameLimit) return std::nullopt;
  return name;
}

bool isThere(const std::filesystem::path& path) {
  struct stat status {};
  return ::lstat(path.c_str(), &status) == 0;
}

}  // namespace

std::optional<std::filesystem::path> FileSecretStore::folderOf(const std::string& service) const {
  const auto name = fileName(service);
  if (!folder_ || !name) return std::nullopt;
  return *folder_ / *name;
}

std::optional<std::filesystem::path> FileSecretStore::fileOf(const std::string& service,
                                                             const std::string& account) const {
  const auto folder = folderOf(service);
  const auto name = fileName(account);
  if (!folder || !name) return std::nullopt;
  return *folder / *name;
}

bool FileSecretStore::add(const std::string& service, const std::string& account,
                          std::string_view value) {
  const auto file = fileOf(service, account);
  if (!file || value.size() > valueLimit || isThere(*file)) return false;
  return !base::makePrivateDirectory(file->parent_path()) &&
         ::chmod(file->parent_path().c_str(), 0700) == 0 && !base::replacePrivateFile(*file, value);
}

SecretStore::Lookup FileSecretStore::copyMatching(
    const std::string& service, const std::string& account,
    const std::function<void(std::string_view value)>& take) {
  const auto file = fileOf(service, account);
  if (!file) return Lookup::absent;
  const auto value = base::readSecretFile(*file, valueLimit);
  if (!value) return Lookup::absent;
  take(value->reveal());
  return Lookup::found;
}

bool FileSecretStore::remove(const std::string& service, const std::string& account) {
  const auto file = fileOf(service, account);
  std::error_code error;
  return file && std::filesystem::remove(*file, error);
}

bool FileSecretStore::removeAll(const std::string& service) {
  const auto folder = folderOf(service);
  std::error_code error;
  return folder && std::filesystem::remove_all(*folder, error) > 0 && !error;
}

}  // namespace halvercine::platform::posix
