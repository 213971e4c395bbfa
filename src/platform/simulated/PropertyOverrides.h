// Property values written as JSON, and changes to a dictionary of them.
#pragma once

#include <expected>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include <boost/json/value.hpp>

#include "platform/PropertyValue.h"

namespace halvercine::platform::simulated {

/// Keys to set, or (without a value) to take away.
using PropertyOverrides = std::map<std::string, std::optional<PropertyValue>, std::less<>>;

/// The UUID of its 36-character text in either case; nothing for any other text.
std::optional<Uuid> uuidFromText(std::string_view text);

/// A UUID that depends on nothing but `name`.
Uuid uuidFromName(std::string_view name);

/// Upper-case text of 36 characters.
std::string uuidText(const Uuid& uuid);

/// The value that JSON stands for: booleans, whole and fractional numbers, texts, arrays and
/// objects as they are; {"$uuid": TEXT}, {"$url": PATH} and {"$data": HEX} for what JSON has no
/// form for. The error says what is wrong, beginning with the place below `value`.
std::expected<PropertyValue, std::string> propertyFromJson(const boost::json::value& value);

/// Sets and removes keys of `dictionary`.
void applyOverrides(const PropertyOverrides& overrides, PropertyDictionary& dictionary);

/// Adds `later` to `overrides`, the later one winning.
void mergeOverrides(const PropertyOverrides& later, PropertyOverrides& overrides);

}  // namespace halvercine::platform::simulated
