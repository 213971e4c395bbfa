// UTF-8 text: cleaning, comparing, measuring.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace halvercine::base {

/// Without white space and line ends at both ends (ASCII's and Unicode's: no-break and ideographic
/// blanks as well). Invalid UTF-8 is no white space.
std::string_view trimmed(std::string_view text);

/// With A to Z in lower case and everything else as it is: enough for the tokens that are looked
/// for.
std::string asciiLowered(std::string_view text);

/// With a to z in upper case and everything else as it is.
std::string asciiUppered(std::string_view text);

/// Whether all of it is valid UTF-8.
bool isUtf8(std::string_view text);

/// The same text with every invalid part replaced by U+FFFD.
std::string repairedUtf8(std::string_view bytes);

/// What may be shown on a terminal or in a window for a text that somebody else chose. Control
/// characters, line breaks, bidirectional controls, zero-width characters, blanks that pass for
/// letters, tag characters, variation selectors without a character to vary and a combining mark at
/// the start become a visible \u{…} with their code point, invalid bytes U+FFFD; joiners inside
/// words and emoji stay.
std::string displayText(std::string_view text);

/// The columns that a text takes on a terminal with fixed-width type: two for wide characters and
/// emoji, none for combining marks. The text holds no control characters.
std::size_t displayWidth(std::string_view text);

/// The lines of at most `columns` columns that a text without line feeds makes, one at least. They
/// end at blanks, which are dropped, and between wide letters; a word that is longer stays whole.
/// The views are parts of `text`.
std::vector<std::string_view> wrapped(std::string_view text, std::size_t columns);

/// Canonically composed (NFC) form, for comparing names that two systems decompose differently.
/// Invalid UTF-8 comes back unchanged.
std::string composed(std::string_view text);

/// Calls `take` for each character that is a number, in order: with its value for a decimal digit
/// of any script, with nothing for every other number ("②", "Ⅷ", "½").
void forEachNumber(std::string_view text, const std::function<void(std::optional<int>)>& take);

}  // namespace halvercine::base
