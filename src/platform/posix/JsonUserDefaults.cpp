#include "platform/posix/JsonUserDefaults.h"

#include <cerrno>
#include <cstdio>
#include <string>
#include <sys/stat.h>
#include <utility>

#include "base/FileLock.h"
#include "base/Json.h"
#include "base/PrivateFiles.h"
#include "platform/posix/propertyJson.h"

namespace halvercine::platform::posix {
namespace {

namespace json = boost::json;

// Settings are a few kilobytes; far more is not ours.
constexpr std::size_t sizeLimit = std::size_t{4} * 1024 * 1024;

/// The object in the file. Errors: those of reading, and `bad_message` for a content that is no
/// object.
std::expected<json::object, std::error_code> readSettings(const std::filesystem::path& path) {
  const auto text = base::readRegularFile(path, sizeLimit);
  if (!text) return std::unexpected(text.error());
  auto root = base::parseJson(*text);
  if (!root || !root->is_object()) {
    return std::unexpected(std::make_error_code(std::errc::bad_message));
  }
  return std::move(root->get_object());
}

/// Whether the file itself is unusable, as opposed to the system failing to read it just now.
bool isDamage(std::error_code error) {
  return error == std::errc::bad_message || error == std::errc::not_supported ||
         error == std::errc::file_too_large || error == std::errc::too_many_symbolic_link_levels;
}

bool isThere(const std::filesystem::path& path) {
  struct stat status {};
  return ::lstat(path.c_str(), &status) == 0;
}

}  // namespace

std::optional<PropertyValue> JsonUserDefaults::value(std::string_view key) {
  const auto settings = readSettings(path_);
  const auto* found = settings ? settings->if_contains(key) : nullptr;
  return found ? propertyFromJson(*found) : std::nullopt;
}

bool JsonUserDefaults::setValue(std::string_view key, const PropertyValue& value) {
  auto encoded = propertyToJson(value);
  return encoded && change([&](json::object& settings) {
           settings.insert_or_assign(key, std::move(*encoded));
           return true;
         });
}

bool JsonUserDefaults::remove(std::string_view key) {
  if (!isThere(path_)) return true;
  return change([&](json::object& settings) { return settings.erase(key) > 0; });
}

/// Reads, applies and replaces under the lock; writes nothing when `apply` says that nothing
/// changed.
template <class Change>
bool JsonUserDefaults::change(Change apply) {
  if (base::makePrivateDirectory(path_.parent_path())) return false;
  const auto lock = base::FileLock::take(path_.string() + ".lock", lockPatience_);
  if (!lock) return false;
  json::object settings;
  auto stored = readSettings(path_);
  if (stored) {
    settings = std::move(*stored);
  } else if (isDamage(stored.error())) {
    if (!setAside()) return false;
  } else if (stored.error() != std::errc::no_such_file_or_directory) {
    return false;
  }
  return !apply(settings) || write(settings);
}

bool JsonUserDefaults::write(const json::object& settings) const {
  const auto text = base::prettyJson(settings);
  // What could not be read again would cost every other setting too.
  if (text.size() > sizeLimit || !base::parseJson(text)) return false;
  return !base::replacePrivateFile(path_, text);
}

bool JsonUserDefaults::setAside() const {
  constexpr int mostKept = 100;
  const std::string damaged = path_.string() + ".damaged";
  for (int number = 1; number <= mostKept; ++number) {
    const auto name = number == 1 ? damaged : damaged + "-" + std::to_string(number);
    if (!isThere(name)) return std::rename(path_.c_str(), name.c_str()) == 0;
  }
  return false;
}

}  // namespace halvercine::platform::posix
