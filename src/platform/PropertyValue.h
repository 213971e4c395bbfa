// Values as the system hands them out: typed, but not interpreted.
//
// Disk arbitration descriptions and I/O registry properties are dictionaries of loosely specified
// values. An adapter keeps each value's type, so that the one who reads it can tell a UUID object
// from a text that looks like one, and a boolean from the number 1.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace halvercine::platform {

/// A UUID object (CFUUID), not a text that spells one.
struct Uuid {
  std::array<std::uint8_t, 16> bytes{};
  bool operator==(const Uuid&) const = default;
};

/// A URL object (CFURL) of a file: its path, without a trailing slash (except for "/").
struct FileUrl {
  std::string path;
  bool operator==(const FileUrl&) const = default;
};

/// Raw bytes (CFData).
struct Blob {
  std::vector<std::byte> bytes;
  bool operator==(const Blob&) const = default;
};

struct PropertyValue;
using PropertyArray = std::vector<PropertyValue>;
using PropertyDictionary = std::map<std::string, PropertyValue, std::less<>>;

/// One value. Whole numbers (CFNumber of an integer type) are `int64_t`, the others `double`;
/// texts are UTF-8 as far as the system's are.
struct PropertyValue {
  using Storage = std::variant<bool, std::int64_t, double, std::string, Uuid, FileUrl, Blob,
                               PropertyArray, PropertyDictionary>;

  PropertyValue(bool value) : storage(value) {}
  PropertyValue(int value) : storage(std::int64_t{value}) {}
  PropertyValue(std::int64_t value) : storage(value) {}
  PropertyValue(double value) : storage(value) {}
  PropertyValue(const char* value) : storage(std::string(value)) {}
  PropertyValue(std::string value) : storage(std::move(value)) {}
  PropertyValue(Uuid value) : storage(value) {}
  PropertyValue(FileUrl value) : storage(std::move(value)) {}
  PropertyValue(Blob value) : storage(std::move(value)) {}
  PropertyValue(PropertyArray value) : storage(std::move(value)) {}
  PropertyValue(PropertyDictionary value) : storage(std::move(value)) {}

  /// The value if it is of exactly this type, else null.
  template <class T>
  const T* as() const {
    return std::get_if<T>(&storage);
  }

  bool operator==(const PropertyValue&) const = default;

  Storage storage;
};

}  // namespace halvercine::platform
