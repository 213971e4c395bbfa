// Writing property lists.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/PropertyValue.h"

namespace halvercine::base {

/// Keys and values in the order in which they are to stand.
using OrderedProperties = std::vector<std::pair<std::string, platform::PropertyValue>>;

/// An XML property list of one dictionary; dictionaries inside it are in the order of their keys.
/// Values are booleans, integers, numbers, texts, bytes, arrays and dictionaries. Nothing when a
/// text is not UTF-8 or has a control character, for which XML has no place, or when a value is of
/// another type. Any thread.
std::optional<std::string> writeXmlPropertyList(const OrderedProperties& properties);

}  // namespace halvercine::base
