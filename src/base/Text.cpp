#include "base/Text.h"

#include <fmt/core.h>
#include <utf8proc.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

namespace halvercine::base {
namespace {

/// Calls `visit(codePoint, bytes)` for each character; code point -1 for one invalid byte.
template <class Visit>
void forEachCodePoint(std::string_view text, Visit visit) {
  while (!text.empty()) {
    utf8proc_int32_t codePoint = -1;
    const auto length =
        utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                         static_cast<utf8proc_ssize_t>(text.size()), &codePoint);
    const auto taken = length > 0 ? static_cast<std::size_t>(length) : 1;
    visit(length > 0 ? codePoint : -1, text.substr(0, taken));
    text.remove_prefix(taken);
  }
}

bool isWhiteSpace(utf8proc_int32_t codePoint) {
  if (codePoint < 0) return false;
  if ((codePoint >= 0x09 && codePoint <= 0x0D) || codePoint == 0x85) return true;
  const auto category = utf8proc_category(codePoint);
  return category == UTF8PROC_CATEGORY_ZS || category == UTF8PROC_CATEGORY_ZL ||
         category == UTF8PROC_CATEGORY_ZP;
}

bool isHarmful(utf8proc_int32_t codePoint) {
  constexpr utf8proc_int32_t zeroWidthNonJoiner = 0x200C;
  constexpr utf8proc_int32_t zeroWidthJoiner = 0x200D;
  switch (utf8proc_category(codePoint)) {
    case UTF8PROC_CATEGORY_CC:
    case UTF8PROC_CATEGORY_ZL:
    case UTF8PROC_CATEGORY_ZP:
    case UTF8PROC_CATEGORY_CS:
    case UTF8PROC_CATEGORY_CN:
      return true;
    case UTF8PROC_CATEGORY_CF:
      return codePoint != zeroWidthNonJoiner && codePoint != zeroWidthJoiner;
    default:
      // Fillers and blanks that show nothing, though they count as letters or marks.
      return codePoint == 0x115F || codePoint == 0x1160 || codePoint == 0x3164 ||
             codePoint == 0xFFA0 || codePoint == 0x034F;
  }
}

/// The length of the invalid part at the start of `text`: a sequence that was cut short counts as one.
std::size_t invalidLength(std::string_view text) {
  const auto lead = static_cast<unsigned char>(text.front());
  std::size_t wanted = lead >= 0xF0 && lead <= 0xF4 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC2 ? 2 : 1;
  if (lead > 0xF4) wanted = 1;
  std::size_t length = 1;
  while (length < wanted && length < text.size()) {
    const auto next = static_cast<unsigned char>(text[length]);
    unsigned char lowest = 0x80;
    unsigned char highest = 0xBF;
    if (length == 1) {  // overlong forms, surrogates and what lies beyond U+10FFFF end here
      if (lead == 0xE0) lowest = 0xA0;
      if (lead == 0xED) highest = 0x9F;
      if (lead == 0xF0) lowest = 0x90;
      if (lead == 0xF4) highest = 0x8F;
    }
    if (next < lowest || next > highest) break;
    ++length;
  }
  return length;
}

constexpr std::string_view replacement = "\xEF\xBF\xBD";

}  // namespace

std::string_view trimmed(std::string_view text) {
  const char* const start = text.data();
  std::size_t first = text.size();
  std::size_t end = 0;
  forEachCodePoint(text, [&](utf8proc_int32_t codePoint, std::string_view bytes) {
    if (isWhiteSpace(codePoint)) return;
    const auto offset = static_cast<std::size_t>(bytes.data() - start);
    first = std::min(first, offset);
    end = offset + bytes.size();
  });
  return first < end ? text.substr(first, end - first) : std::string_view();
}

std::string asciiLowered(std::string_view text) {
  std::string lowered(text);
  for (char& character : lowered) {
    if (character >= 'A' && character <= 'Z') character = static_cast<char>(character - 'A' + 'a');
  }
  return lowered;
}

std::string asciiUppered(std::string_view text) {
  std::string uppered(text);
  for (char& character : uppered) {
    if (character >= 'a' && character <= 'z') character = static_cast<char>(character - 'a' + 'A');
  }
  return uppered;
}

bool isUtf8(std::string_view text) {
  const auto isAscii = [](char byte) { return static_cast<unsigned char>(byte) < 0x80; };
  while (!text.empty()) {
    const auto other = std::find_if_not(text.begin(), text.end(), isAscii);
    text.remove_prefix(static_cast<std::size_t>(other - text.begin()));
    if (text.empty()) return true;
    utf8proc_int32_t codePoint = -1;
    const auto length =
        utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                         static_cast<utf8proc_ssize_t>(text.size()), &codePoint);
    if (length <= 0) return false;
    text.remove_prefix(static_cast<std::size_t>(length));
  }
  return true;
}

std::string repairedUtf8(std::string_view bytes) {
  if (isUtf8(bytes)) return std::string(bytes);
  std::string repaired;
  repaired.reserve(bytes.size());
  while (!bytes.empty()) {
    utf8proc_int32_t codePoint = -1;
    const auto length =
        utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(bytes.data()),
                         static_cast<utf8proc_ssize_t>(bytes.size()), &codePoint);
    const auto taken = length > 0 ? static_cast<std::size_t>(length) : invalidLength(bytes);
    repaired += length > 0 ? bytes.substr(0, taken) : replacement;
    bytes.remove_prefix(taken);
  }
  return repaired;
}

std::string displayText(std::string_view text) {
  std::string shown;
  shown.reserve(text.size());
  forEachCodePoint(text, [&shown](utf8proc_int32_t codePoint, std::string_view bytes) {
    if (codePoint < 0) {
      shown += replacement;
    } else if (isHarmful(codePoint)) {
      shown += fmt::format("\\u{{{:X}}}", codePoint);
    } else {
      shown += bytes;
    }
  });
  return shown;
}

std::size_t displayWidth(std::string_view text) {
  constexpr utf8proc_int32_t emojiPresentation = 0xFE0F;
  std::size_t width = 0;
  std::size_t clusterWidth = 0;
  utf8proc_int32_t previous = -1;
  utf8proc_int32_t breakState = 0;
  forEachCodePoint(text, [&](utf8proc_int32_t codePoint, std::string_view) {
    const auto shown = codePoint < 0 ? 0xFFFD : codePoint;
    if (previous < 0 || utf8proc_grapheme_break_stateful(previous, shown, &breakState)) {
      width += clusterWidth;
      clusterWidth = 0;
    }
    const auto own = static_cast<std::size_t>(std::max(0, utf8proc_charwidth(shown)));
    clusterWidth = std::max(clusterWidth, shown == emojiPresentation && clusterWidth > 0 ? 2 : own);
    previous = shown;
  });
  return width + clusterWidth;
}

std::string composed(std::string_view text) {
  utf8proc_uint8_t* result = nullptr;
  const auto length = utf8proc_map(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                                   static_cast<utf8proc_ssize_t>(text.size()), &result,
                                   static_cast<utf8proc_option_t>(UTF8PROC_STABLE | UTF8PROC_COMPOSE));
  const std::unique_ptr<utf8proc_uint8_t, decltype(&std::free)> owner(result, &std::free);
  if (length < 0) return std::string(text);
  return {reinterpret_cast<const char*>(result), static_cast<std::size_t>(length)};
}

}  // namespace halvercine::base
