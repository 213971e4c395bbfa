#include "platform/posix/propertyJson.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include <boost/algorithm/hex.hpp>
#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/uuid/string_generator.hpp>
#include <boost/uuid/uuid_io.hpp>

namespace halvercine::platform::posix {
namespace {

namespace json = boost::json;

constexpr std::string_view uuidMark = "$uuid";
constexpr std::string_view urlMark = "$url";
constexpr std::string_view dataMark = "$data";
constexpr std::string_view dictionaryMark = "$dictionary";

json::value marked(std::string_view mark, json::value content) {
  return json::object({{mark, std::move(content)}});
}

/// The mark of an object that stands for something else, or nothing.
template <class Object>
std::optional<std::string_view> markOf(const Object& object, std::string_view onlyKey) {
  if (object.size() != 1 || !onlyKey.starts_with('$')) return std::nullopt;
  return onlyKey;
}

struct Encode {
  using Result = std::optional<json::value>;

  Result operator()(bool value) const { return value; }
  Result operator()(std::int64_t value) const { return value; }
  Result operator()(double value) const {
    if (!std::isfinite(value)) return std::nullopt;
    return value;
  }
  Result operator()(const std::string& value) const { return json::value(value); }
  Result operator()(const Uuid& value) const {
    boost::uuids::uuid uuid;
    std::ranges::copy(value.bytes, uuid.begin());
    return marked(uuidMark, json::value(to_string(uuid)));
  }
  Result operator()(const FileUrl& value) const { return marked(urlMark, json::value(value.path)); }
  Result operator()(const Blob& value) const {
    std::string digits;
    const auto* bytes = reinterpret_cast<const unsigned char*>(value.bytes.data());
    boost::algorithm::hex_lower(bytes, bytes + value.bytes.size(), std::back_inserter(digits));
    return marked(dataMark, json::value(digits));
  }
  Result operator()(const PropertyArray& value) const {
    json::array array;
    for (const auto& element : value) {
      auto encoded = propertyToJson(element);
      if (!encoded) return std::nullopt;
      array.push_back(std::move(*encoded));
    }
    return array;
  }
  Result operator()(const PropertyDictionary& value) const {
    json::object object;
    for (const auto& [key, element] : value) {
      auto encoded = propertyToJson(element);
      if (!encoded) return std::nullopt;
      object.emplace(key, std::move(*encoded));
    }
    const bool mistakable = !value.empty() && markOf(value, value.begin()->first);
    return mistakable ? marked(dictionaryMark, std::move(object)) : json::value(std::move(object));
  }
};

std::optional<PropertyValue> decodeUuid(std::string_view text) {
  try {
    const auto uuid = boost::uuids::string_generator()(text.begin(), text.end());
    Uuid value;
    std::ranges::copy(uuid, value.bytes.begin());
    return value;
  } catch (const std::runtime_error&) {  // not the text of a UUID
    return std::nullopt;
  }
}

std::optional<PropertyValue> decodeData(std::string_view digits) {
  std::vector<unsigned char> bytes;
  try {
    boost::algorithm::unhex(digits.begin(), digits.end(), std::back_inserter(bytes));
  } catch (const boost::algorithm::hex_decode_error&) {
    return std::nullopt;
  }
  const auto* first = reinterpret_cast<const std::byte*>(bytes.data());
  return Blob{std::vector<std::byte>(first, first + bytes.size())};
}

std::optional<PropertyValue> decodeDictionary(const json::object& object) {
  PropertyDictionary dictionary;
  for (const auto& [key, element] : object) {
    auto decoded = propertyFromJson(element);
    if (!decoded) return std::nullopt;
    dictionary.emplace(key, std::move(*decoded));
  }
  return dictionary;
}

std::optional<PropertyValue> decodeMarked(std::string_view mark, const json::value& content) {
  if (mark == dictionaryMark && content.is_object()) return decodeDictionary(content.get_object());
  if (!content.is_string()) return std::nullopt;
  const std::string_view text = content.get_string();
  if (mark == uuidMark) return decodeUuid(text);
  if (mark == dataMark) return decodeData(text);
  if (mark == urlMark) return FileUrl{std::string(text)};
  return std::nullopt;
}

std::optional<PropertyValue> decodeArray(const json::array& array) {
  PropertyArray values;
  for (const auto& element : array) {
    auto decoded = propertyFromJson(element);
    if (!decoded) return std::nullopt;
    values.push_back(std::move(*decoded));
  }
  return values;
}

}  // namespace

std::optional<json::value> propertyToJson(const PropertyValue& value) {
  return std::visit(Encode(), value.storage);
}

std::optional<PropertyValue> propertyFromJson(const json::value& json) {
  switch (json.kind()) {
    case json::kind::bool_:
      return json.get_bool();
    case json::kind::int64:
      return json.get_int64();
    case json::kind::double_:
      return json.get_double();
    case json::kind::string:
      return PropertyValue(std::string(json.get_string()));
    case json::kind::array:
      return decodeArray(json.get_array());
    case json::kind::object: {
      const auto& object = json.get_object();
      if (object.empty()) return PropertyDictionary();
      const auto mark = markOf(object, object.begin()->key());
      return mark ? decodeMarked(*mark, object.begin()->value()) : decodeDictionary(object);
    }
    case json::kind::null:
    case json::kind::uint64:  // beyond the integers that properties have
      return std::nullopt;
  }
  return std::nullopt;
}

}  // namespace halvercine::platform::posix
