// Settings in a private JSON file.
#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <string_view>
#include <utility>

#include <boost/json/object.hpp>

#include "platform/UserDefaults.h"

namespace halvercine::platform::posix {

/// One JSON object, key to value. Texts, booleans, lists and dictionaries are what they are in
/// JSON; a number with a fraction or an exponent is a `double`, any other an `int64_t`. What JSON
/// lacks is an object with one marked key: {"$data": hex digits}, {"$uuid": text}, {"$url": path},
/// and
/// {"$dictionary": object} around a dictionary that could be mistaken for one of these.
///
/// The file is read anew each time, so that what another process stored is seen. A change reads,
/// changes and replaces it in one step under a lock ("<name>.lock" beside it). A file that is no
/// such object (damaged, or not a regular file) has no values, and is kept as "<name>.damaged" by
/// the first change; "<name>.damaged-2" and so on where that exists.
class JsonUserDefaults : public UserDefaults {
 public:
  /// Folder and file are made by the first change. A change waits for another process's for at most
  /// `lockPatience`: each is done within a few milliseconds.
  explicit JsonUserDefaults(std::filesystem::path path,
                            std::chrono::milliseconds lockPatience = std::chrono::milliseconds(500))
      : path_(std::move(path)), lockPatience_(lockPatience) {}

  std::optional<PropertyValue> value(std::string_view key) override;

  /// False also for a value that JSON cannot hold: a number that is not finite, text or keys that
  /// are not UTF-8, lists nested deeper than the codec reads.
  bool setValue(std::string_view key, const PropertyValue& value) override;

  bool remove(std::string_view key) override;

 private:
  bool write(const boost::json::object& settings) const;
  bool setAside() const;

  template <class Change>
  bool change(Change apply);

  std::filesystem::path path_;
  std::chrono::milliseconds lockPatience_;
};

}  // namespace halvercine::platform::posix
