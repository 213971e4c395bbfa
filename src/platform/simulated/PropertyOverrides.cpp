#include "platform/simulated/PropertyOverrides.h"

#include <algorithm>
#include <utility>

#include <boost/uuid/name_generator_sha1.hpp>

#include "base/Properties.h"

namespace halvercine::platform::simulated {
namespace {

namespace json = boost::json;
using Converted = std::expected<PropertyValue, std::string>;

// Made in place: g++ 12 takes the temporary's other alternatives for uninitialized ones.
template <class T>
Converted valueFrom(T&& value) {
  return Converted(std::in_place, std::forward<T>(value));
}

std::optional<std::uint8_t> hexDigit(char character) {
  if (character >= '0' && character <= '9') return static_cast<std::uint8_t>(character - '0');
  if (character >= 'a' && character <= 'f') return static_cast<std::uint8_t>(character - 'a' + 10);
  if (character >= 'A' && character <= 'F') return static_cast<std::uint8_t>(character - 'A' + 10);
  return std::nullopt;
}

std::optional<std::vector<std::byte>> bytesFromHex(std::string_view text) {
  if (text.size() % 2 != 0) return std::nullopt;
  std::vector<std::byte> bytes;
  for (std::size_t i = 0; i < text.size(); i += 2) {
    const auto high = hexDigit(text[i]);
    const auto low = hexDigit(text[i + 1]);
    if (!high || !low) return std::nullopt;
    bytes.push_back(static_cast<std::byte>(*high << 4 | *low));
  }
  return bytes;
}

Converted typedValue(std::string_view key, const json::value& value) {
  const auto fault = [&](std::string_view expected) {
    return std::unexpected("." + std::string(key) + ": expected " + std::string(expected));
  };
  if (!value.is_string()) return fault("a text");
  const std::string_view text = value.get_string();
  if (key == "$uuid") {
    const auto uuid = uuidFromText(text);
    if (!uuid) return fault("a UUID such as 5B1C0D7E-2F64-4C0B-9A53-7E1D8C2A4F90");
    return valueFrom(*uuid);
  }
  if (key == "$url") {
    if (!text.starts_with('/')) return fault("an absolute path");
    return valueFrom(FileUrl{std::string(text)});
  }
  if (key == "$data") {
    auto bytes = bytesFromHex(text);
    if (!bytes) return fault("pairs of hexadecimal digits");
    return valueFrom(Blob{std::move(*bytes)});
  }
  return std::unexpected("." + std::string(key) + ": unknown type (known: $uuid, $url, $data)");
}

Converted arrayValue(const json::array& elements) {
  PropertyArray array;
  for (const auto& element : elements) {
    auto converted = propertyFromJson(element);
    if (!converted) {
      return std::unexpected("[" + std::to_string(array.size()) + "]" + converted.error());
    }
    array.push_back(std::move(*converted));
  }
  return valueFrom(std::move(array));
}

Converted dictionaryValue(const json::object& members) {
  if (members.size() == 1 && members.begin()->key().starts_with('$')) {
    return typedValue(members.begin()->key(), members.begin()->value());
  }
  PropertyDictionary dictionary;
  for (const auto& member : members) {
    auto converted = propertyFromJson(member.value());
    if (!converted) return std::unexpected("." + std::string(member.key()) + converted.error());
    dictionary.insert_or_assign(std::string(member.key()), std::move(*converted));
  }
  return valueFrom(std::move(dictionary));
}

}  // namespace

std::optional<Uuid> uuidFromText(std::string_view text) {
  if (text.size() != 36) return std::nullopt;
  std::string digits;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool dash = i == 8 || i == 13 || i == 18 || i == 23;
    if (dash != (text[i] == '-')) return std::nullopt;
    if (!dash) digits += text[i];
  }
  const auto bytes = bytesFromHex(digits);
  if (!bytes) return std::nullopt;
  Uuid uuid;
  std::ranges::transform(*bytes, uuid.bytes.begin(),
                         [](std::byte byte) { return std::to_integer<std::uint8_t>(byte); });
  return uuid;
}

Uuid uuidFromName(std::string_view name) {
  const auto made =
      boost::uuids::name_generator_sha1(boost::uuids::ns::oid())(name.data(), name.size());
  Uuid uuid;
  std::copy(made.begin(), made.end(), uuid.bytes.begin());
  return uuid;
}

std::string uuidText(const Uuid& uuid) { return base::uuidValue(uuid).value_or(""); }

std::expected<PropertyValue, std::string> propertyFromJson(const json::value& value) {
  switch (value.kind()) {
    case json::kind::bool_:
      return valueFrom(value.get_bool());
    case json::kind::int64:
      return valueFrom(std::int64_t{value.get_int64()});
    case json::kind::double_:
      return valueFrom(value.get_double());
    case json::kind::string:
      return valueFrom(std::string(value.get_string()));
    case json::kind::array:
      return arrayValue(value.get_array());
    case json::kind::object:
      return dictionaryValue(value.get_object());
    case json::kind::uint64:  // the parser's form for what a signed integer cannot hold
      return std::unexpected(": number out of range");
    case json::kind::null:
      return std::unexpected(": null has no meaning here");
  }
  return std::unexpected(": not a value");
}

void applyOverrides(const PropertyOverrides& overrides, PropertyDictionary& dictionary) {
  for (const auto& [key, value] : overrides) {
    if (value) {
      dictionary.insert_or_assign(key, *value);
    } else {
      dictionary.erase(key);
    }
  }
}

void mergeOverrides(const PropertyOverrides& later, PropertyOverrides& overrides) {
  for (const auto& [key, value] : later) overrides.insert_or_assign(key, value);
}

}  // namespace halvercine::platform::simulated
