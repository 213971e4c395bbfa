// Values of the system's collections, typed.
//
// What can be said without Core Foundation is said here, over a `Source` that takes its objects
// apart: `CFSource` on the Mac.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/PropertyValue.h"

namespace halvercine::platform::macos {

enum class SystemType { boolean, number, text, uuid, url, data, array, dictionary, other };

/// Deeper than anything a description or a registry entry holds.
inline constexpr int deepestNesting = 32;

/// A path of the file system as a `FileUrl` has it.
inline FileUrl fileUrl(std::string path) {
  while (path.size() > 1 && path.ends_with('/')) path.pop_back();
  return {std::move(path)};
}

/// The typed value of a system object; nothing for null, for a type that has no counterpart (a
/// date), a number or text that cannot be had without loss, and a URL that is no file's. In a
/// collection such an object is left out, and so is an entry whose key is not a text.
///
/// `Source` has `Object`, a pointer, and these functions of one that is not null: `type`; by its
/// type `boolean`, `isFloating` and then `integer` or `floating`, `text`, `uuid`, `filePath`,
/// `data`; `elements`, a list of objects; `entries`, a list of pairs of objects. Integer, floating,
/// text and filePath answer optionals.
template <class Source>
std::optional<PropertyValue> readSystemValue(typename Source::Object object, int depth = 0);

template <class Source>
PropertyDictionary readSystemEntries(typename Source::Object dictionary, int depth = 0) {
  PropertyDictionary result;
  for (const auto& [key, member] : Source::entries(dictionary)) {
    if (key == nullptr || Source::type(key) != SystemType::text) continue;
    auto name = Source::text(key);
    auto value = readSystemValue<Source>(member, depth + 1);
    if (name && value) result.insert_or_assign(std::move(*name), std::move(*value));
  }
  return result;
}

namespace detail {

template <class Source>
std::optional<PropertyValue> readNumber(typename Source::Object object) {
  if (Source::isFloating(object)) {
    if (const auto value = Source::floating(object)) return PropertyValue(*value);
  } else if (const auto value = Source::integer(object)) {
    return PropertyValue(std::int64_t{*value});
  }
  return std::nullopt;
}

template <class Source>
PropertyArray readElements(typename Source::Object object, int depth) {
  PropertyArray result;
  for (const auto& element : Source::elements(object)) {
    if (auto value = readSystemValue<Source>(element, depth + 1)) {
      result.push_back(std::move(*value));
    }
  }
  return result;
}

}  // namespace detail

template <class Source>
std::optional<PropertyValue> readSystemValue(typename Source::Object object, int depth) {
  if (object == nullptr || depth > deepestNesting) return std::nullopt;
  switch (Source::type(object)) {
    case SystemType::boolean:
      return PropertyValue(bool{Source::boolean(object)});
    case SystemType::number:
      return detail::readNumber<Source>(object);
    case SystemType::text:
      if (auto text = Source::text(object)) return PropertyValue(std::move(*text));
      return std::nullopt;
    case SystemType::uuid:
      return PropertyValue(Source::uuid(object));
    case SystemType::url:
      if (auto path = Source::filePath(object)) return PropertyValue(fileUrl(std::move(*path)));
      return std::nullopt;
    case SystemType::data:
      return PropertyValue(Source::data(object));
    case SystemType::array:
      return PropertyValue(detail::readElements<Source>(object, depth));
    case SystemType::dictionary:
      return PropertyValue(readSystemEntries<Source>(object, depth));
    case SystemType::other:
      return std::nullopt;
  }
  return std::nullopt;
}

}  // namespace halvercine::platform::macos
