// Core Foundation's objects and typed values.
#pragma once

#include <optional>

#include "platform/PropertyValue.h"
#include "platform/macos/ScopedCF.h"

namespace halvercine::platform::macos {

/// The value of an object that the caller keeps; see `readSystemValue`. Nothing for null.
std::optional<PropertyValue> propertyValue(CFTypeRef object);

/// The entries of a dictionary that the caller keeps.
PropertyDictionary propertyDictionary(CFDictionaryRef dictionary);

/// The object of a value, a property list; see `makeSystemValue`. Empty when there is none.
ScopedCF<CFTypeRef> systemValue(const PropertyValue& value);

}  // namespace halvercine::platform::macos
