// The meeting place of the program and its file-system module.
#pragma once

#include <string_view>

namespace halvercine::base {

/// The application group whose container the program shares with the file-system module.
inline constexpr std::string_view sharedGroup = "group.com.halvercine.shared";

}  // namespace halvercine::base
