// The files of resources/, compiled into the program.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace halvercine::base {

/// The text of a resource by its path below resources/, such as "strings/en.json".
std::optional<std::string_view> resource(std::string_view path);

/// The paths of all resources that begin with `prefix`, sorted.
std::vector<std::string_view> resourcesBelow(std::string_view prefix);

}  // namespace halvercine::base
