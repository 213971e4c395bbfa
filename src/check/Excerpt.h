// Short pieces of a tool's output for diagnostics.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace halvercine::check {

/// Marks where an excerpt leaves something out: U+2026.
inline constexpr std::string_view ellipsis = "\u2026";

/// The last `count` code points of a UTF-8 text; all of it when it has no more.
std::string_view lastCharacters(std::string_view text, std::size_t count);

/// The lines of a UTF-8 text, empty ones left out, with " ⏎ " between them. Lines end at any of
/// Unicode's line breaks: LF, VT, FF, CR, CR LF as one, U+0085, U+2028 and U+2029.
std::string onOneLine(std::string_view text);

}  // namespace halvercine::check
