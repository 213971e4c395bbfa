// The code points of UTF-8 text, for this folder's own use: who includes it needs utf8proc.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

#include <utf8proc.h>

namespace halvercine::base {

inline constexpr std::string_view replacement = "\xEF\xBF\xBD";
inline constexpr utf8proc_int32_t replacementCodePoint = 0xFFFD;

/// The first character of a text.
struct Character {
  utf8proc_int32_t codePoint = -1;  ///< -1 for one invalid byte
  std::size_t length = 0;           ///< in bytes; 0 at the end of a text
};

inline Character firstOf(std::string_view text) {
  utf8proc_int32_t codePoint = -1;
  const auto length = utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                                       static_cast<utf8proc_ssize_t>(text.size()), &codePoint);
  if (length > 0) return {codePoint, static_cast<std::size_t>(length)};
  return {-1, std::min<std::size_t>(text.size(), 1)};
}

/// Calls `visit(codePoint, bytes)` for each character; code point -1 for one invalid byte.
template <class Visit>
void forEachCodePoint(std::string_view text, Visit visit) {
  while (!text.empty()) {
    const auto character = firstOf(text);
    visit(character.codePoint, text.substr(0, character.length));
    text.remove_prefix(character.length);
  }
}

inline bool isWhiteSpace(utf8proc_int32_t codePoint) {
  if (codePoint < 0) return false;
  if ((codePoint >= 0x09 && codePoint <= 0x0D) || codePoint == 0x85) return true;
  const auto category = utf8proc_category(codePoint);
  return category == UTF8PROC_CATEGORY_ZS || category == UTF8PROC_CATEGORY_ZL ||
         category == UTF8PROC_CATEGORY_ZP;
}

}  // namespace halvercine::base
