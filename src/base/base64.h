// Bytes as text that no shell and no program between changes.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace halvercine::base {

/// With the standard alphabet, padded, on one line.
std::string base64Encoded(std::string_view bytes);

/// The reverse; nothing for a text that `base64Encoded` does not make.
std::optional<std::string> base64Decoded(std::string_view text);

}  // namespace halvercine::base
