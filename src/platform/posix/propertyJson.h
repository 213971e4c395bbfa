// Property values as JSON, with their types.
#pragma once

#include <optional>

#include <boost/json/value.hpp>

#include "platform/PropertyValue.h"

namespace halvercine::platform::posix {

/// The JSON of a value, in the form that `JsonUserDefaults` describes. Nothing when JSON has no
/// such value: a number that is not finite.
std::optional<boost::json::value> propertyToJson(const PropertyValue& value);

/// The value of a JSON that was written like that. Nothing for anything else: null, an unknown
/// mark, digits that are none.
std::optional<PropertyValue> propertyFromJson(const boost::json::value& json);

}  // namespace halvercine::platform::posix
