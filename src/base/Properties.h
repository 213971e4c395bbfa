// Reading values of a required type out of the system's dictionaries.
//
// A value that is missing or of another type is no value: nothing is guessed from a text that looks
// like a number, or from a number that looks like a boolean.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "platform/PropertyValue.h"

namespace halvercine::base {

std::optional<bool> booleanValue(const platform::PropertyValue& value);

/// A number without loss: a fractional type counts when its value is whole.
std::optional<std::int64_t> integerValue(const platform::PropertyValue& value);

/// A text as it stands, unless it has nothing but white space.
std::optional<std::string> textValue(const platform::PropertyValue& value);

/// A text without white space around it, unless nothing is left.
std::optional<std::string> trimmedTextValue(const platform::PropertyValue& value);

/// The canonical upper-case text of a UUID object.
std::optional<std::string> uuidValue(const platform::PropertyValue& value);

/// The path of a URL object.
std::optional<std::string> pathValue(const platform::PropertyValue& value);

/// The result of `read` on the value of `key`; nothing when there is none.
template <class Read>
auto read(const platform::PropertyDictionary& dictionary, std::string_view key, Read readValue)
    -> decltype(readValue(std::declval<const platform::PropertyValue&>())) {
  const auto found = dictionary.find(key);
  if (found == dictionary.end()) return std::nullopt;
  return readValue(found->second);
}

}  // namespace halvercine::base
