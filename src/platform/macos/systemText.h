// Text between the program, which has UTF-8, and Core Foundation.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/macos/ScopedCF.h"

namespace halvercine::platform::macos {

/// The text in UTF-8, with its characters composed or decomposed as the system has them. Nothing
/// for null; a character that is none (half a surrogate pair) becomes a question mark.
std::optional<std::string> utf8Text(CFStringRef text);

/// Empty when the bytes are not UTF-8.
ScopedCF<CFStringRef> systemText(std::string_view utf8);

}  // namespace halvercine::platform::macos
