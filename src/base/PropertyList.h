// Property lists, the system's own file format for settings.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include "platform/PropertyValue.h"

namespace halvercine::base {

/// The largest list that is read, in bytes. It also bounds how deep an XML list can nest, which the
/// parser takes back by recursion.
inline constexpr std::size_t propertyListLimit = std::size_t{64} * 1024;

/// The value of a property list, XML or binary; nothing when it is neither, is too large, or is a
/// binary list that nests very deep or unfolds to far more than it holds. Values below the 32nd
/// level and of types that the program has no use for (dates, references) are left out. Any thread.
std::optional<platform::PropertyValue> parsePropertyList(std::string_view bytes);

}  // namespace halvercine::base
