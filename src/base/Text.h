// UTF-8 text: cleaning, comparing, measuring.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace halvercine::base {

/// Without white space and line ends at both ends (ASCII's and Unicode's: no-break and ideographic
/// blanks as well). Invalid UTF-8 is no white space.
std::string_view trimmed(std::string_view text);

/// With A to Z in lower case and everything else as it is: enough for the tokens that are looked for.
std::string asciiLowered(std::string_view text);

/// With a to z in upper case and everything else as it is.
std::string asciiUppered(std::string_view text);

/// Whether all of it is valid UTF-8.
bool isUtf8(std::string_view text);

/// The same text with every invalid part replaced by U+FFFD.
std::string repairedUtf8(std::string_view bytes);

/// What may be shown on a terminal or in a window for a text that somebody else chose. Control
/// characters, line breaks, bidirectional controls, zero-width characters and tag characters become
/// a visible \u{…} with their code point, invalid bytes U+FFFD; joiners inside words stay.
std::string displayText(std::string_view text);

/// The columns that a text takes on a terminal with fixed-width type: two for wide characters and
/// emoji, none for combining marks. The text holds no control characters.
std::size_t displayWidth(std::string_view text);

/// Canonically composed (NFC) form, for comparing names that two systems decompose differently.
/// Invalid UTF-8 comes back unchanged.
std::string composed(std::string_view text);

}  // namespace halvercine::base
