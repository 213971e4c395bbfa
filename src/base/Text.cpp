#include "base/Text.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <utility>

#include <fmt/core.h>
#include <utf8proc.h>

namespace halvercine::base {
namespace {

struct Character {
  utf8proc_int32_t codePoint = -1;  ///< -1 for one invalid byte
  std::size_t length = 0;           ///< in bytes; 0 at the end of a text
};

Character firstOf(std::string_view text) {
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

bool isWhiteSpace(utf8proc_int32_t codePoint) {
  if (codePoint < 0) return false;
  if ((codePoint >= 0x09 && codePoint <= 0x0D) || codePoint == 0x85) return true;
  const auto category = utf8proc_category(codePoint);
  return category == UTF8PROC_CATEGORY_ZS || category == UTF8PROC_CATEGORY_ZL ||
         category == UTF8PROC_CATEGORY_ZP;
}

bool isJoiner(utf8proc_int32_t codePoint) { return codePoint == 0x200C || codePoint == 0x200D; }

bool isVariationSelector(utf8proc_int32_t codePoint) {
  return (codePoint >= 0xFE00 && codePoint <= 0xFE0F) ||
         (codePoint >= 0xE0100 && codePoint <= 0xE01EF) ||
         (codePoint >= 0x180B && codePoint <= 0x180D) || codePoint == 0x180F;
}

bool isMark(utf8proc_int32_t codePoint) {
  const auto category = utf8proc_category(codePoint);
  return category == UTF8PROC_CATEGORY_MN || category == UTF8PROC_CATEGORY_MC ||
         category == UTF8PROC_CATEGORY_ME;
}

bool isEmoji(utf8proc_int32_t codePoint) {
  const bool isSkinTone = codePoint >= 0x1F3FB && codePoint <= 0x1F3FF;
  return isSkinTone ||
         utf8proc_get_property(codePoint)->boundclass == UTF8PROC_BOUNDCLASS_EXTENDED_PICTOGRAPHIC;
}

/// Harmful wherever it stands.
bool isHarmful(utf8proc_int32_t codePoint) {
  switch (utf8proc_category(codePoint)) {
    case UTF8PROC_CATEGORY_CC:
    case UTF8PROC_CATEGORY_ZL:
    case UTF8PROC_CATEGORY_ZP:
    case UTF8PROC_CATEGORY_CS:
    case UTF8PROC_CATEGORY_CN:
      return true;
    case UTF8PROC_CATEGORY_CF:
      return !isJoiner(codePoint);
    default:
      // Fillers and blanks that show nothing, though they count as letters or marks.
      return codePoint == 0x115F || codePoint == 0x1160 || codePoint == 0x3164 ||
             codePoint == 0xFFA0 || codePoint == 0x034F || codePoint == 0x2800 ||
             codePoint == 0x17B4 || codePoint == 0x17B5;
  }
}

/// Whether joiners shape it: a part of a word or of an emoji.
bool isJoinable(utf8proc_int32_t codePoint) {
  if (codePoint < 0 || isHarmful(codePoint)) return false;
  switch (utf8proc_category(codePoint)) {
    case UTF8PROC_CATEGORY_LU:
    case UTF8PROC_CATEGORY_LL:
    case UTF8PROC_CATEGORY_LT:
    case UTF8PROC_CATEGORY_LM:
    case UTF8PROC_CATEGORY_LO:
    case UTF8PROC_CATEGORY_ND:
    case UTF8PROC_CATEGORY_NL:
    case UTF8PROC_CATEGORY_NO:
      return true;
    default:
      return isMark(codePoint) || isEmoji(codePoint);
  }
}

/// Where a character stands.
struct Surroundings {
  bool isFirst = true;
  utf8proc_int32_t previous = -1;  ///< -1 if there is none, or it is not shown as it is
  utf8proc_int32_t next = -1;      ///< -1 if there is none, or it is invalid
};

/// Harmful because it changes or hides among what is not its own.
bool isHarmfulHere(utf8proc_int32_t codePoint, const Surroundings& around) {
  if (isJoiner(codePoint)) {
    // A selector is a mark as well, but behind a joiner it has no base.
    return !isJoinable(around.previous) || !isJoinable(around.next) ||
           isVariationSelector(around.next);
  }
  if (isVariationSelector(codePoint)) {
    return around.previous < 0 || isWhiteSpace(around.previous) || isMark(around.previous) ||
           isJoiner(around.previous);
  }
  return around.isFirst && isMark(codePoint);
}

/// The length of the invalid part at the start of `text`: a sequence that was cut short counts as
/// one.
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
constexpr utf8proc_int32_t replacementCodePoint = 0xFFFD;

bool isWide(utf8proc_int32_t codePoint) {
  return codePoint >= 0 && utf8proc_charwidth(codePoint) == 2;
}

/// Whether it is an opening bracket or quotation mark.
bool opens(utf8proc_int32_t codePoint) {
  const auto category = utf8proc_category(codePoint);
  return category == UTF8PROC_CATEGORY_PS || category == UTF8PROC_CATEGORY_PI;
}

/// Whether a line may end between two characters: after a blank, and where East Asian text has no
/// blanks, though not so that punctuation is torn from what it belongs to.
bool mayBreakBetween(utf8proc_int32_t left, utf8proc_int32_t right) {
  if (left == ' ') return right != ' ';
  if (!isWide(left) || !isWide(right)) return false;
  return !opens(left) && (opens(right) || utf8proc_category(right) == UTF8PROC_CATEGORY_LO);
}

std::string_view withoutBlanksAtEnd(std::string_view text) {
  while (text.ends_with(' ')) text.remove_suffix(1);
  return text;
}

/// The pieces of a text that no line end may split, each with the blanks behind it.
std::vector<std::string_view> unbreakablePieces(std::string_view text) {
  std::vector<std::string_view> pieces;
  std::size_t length = 0;
  utf8proc_int32_t previous = -1;
  forEachCodePoint(text, [&](utf8proc_int32_t codePoint, std::string_view bytes) {
    if (mayBreakBetween(previous, codePoint)) {
      pieces.emplace_back(bytes.data() - length, length);
      length = 0;
    }
    length += bytes.size();
    previous = codePoint;
  });
  pieces.push_back(text.substr(text.size() - length));
  return pieces;
}

bool isDecimalDigit(utf8proc_int32_t codePoint) {
  return codePoint >= 0 && utf8proc_category(codePoint) == UTF8PROC_CATEGORY_ND;
}

/// Unicode keeps the ten digits of a script together, from zero to nine, and sets of digits that
/// touch each other do so at their ends.
int digitValue(utf8proc_int32_t codePoint) {
  auto first = codePoint;
  while (isDecimalDigit(first - 1)) --first;
  return (codePoint - first) % 10;
}

bool isOtherNumber(utf8proc_int32_t codePoint) {
  if (codePoint < 0) return false;
  const auto category = utf8proc_category(codePoint);
  return category == UTF8PROC_CATEGORY_NL || category == UTF8PROC_CATEGORY_NO;
}

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
    const auto length = utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
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
    const auto length = utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(bytes.data()),
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
  Surroundings around;
  while (!text.empty()) {
    const auto [codePoint, length] = firstOf(text);
    const auto bytes = text.substr(0, length);
    text.remove_prefix(length);
    around.next = firstOf(text).codePoint;
    auto previous = codePoint;
    if (codePoint < 0) {
      shown += replacement;
      previous = replacementCodePoint;
    } else if (isHarmful(codePoint) || isHarmfulHere(codePoint, around)) {
      shown += fmt::format("\\u{{{:X}}}", codePoint);
      previous = -1;
    } else {
      shown += bytes;
    }
    around = {.isFirst = false, .previous = previous};
  }
  return shown;
}

std::size_t displayWidth(std::string_view text) {
  constexpr utf8proc_int32_t emojiPresentation = 0xFE0F;
  std::size_t width = 0;
  std::size_t clusterWidth = 0;
  utf8proc_int32_t previous = -1;
  utf8proc_int32_t breakState = 0;
  forEachCodePoint(text, [&](utf8proc_int32_t codePoint, std::string_view) {
    const auto shown = codePoint < 0 ? replacementCodePoint : codePoint;
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

std::vector<std::string_view> wrapped(std::string_view text, std::size_t columns) {
  std::vector<std::string_view> lines;
  std::string_view line = text.substr(0, 0);
  std::size_t width = 0;
  for (const auto piece : unbreakablePieces(text)) {
    if (!line.empty() && width + displayWidth(withoutBlanksAtEnd(piece)) > columns) {
      lines.push_back(withoutBlanksAtEnd(line));
      line = piece.substr(0, 0);
      width = 0;
    }
    line = {line.data(), line.size() + piece.size()};
    width += displayWidth(piece);
  }
  lines.push_back(withoutBlanksAtEnd(line));
  return lines;
}

std::string composed(std::string_view text) {
  utf8proc_uint8_t* result = nullptr;
  const auto length =
      utf8proc_map(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                   static_cast<utf8proc_ssize_t>(text.size()), &result,
                   static_cast<utf8proc_option_t>(UTF8PROC_STABLE | UTF8PROC_COMPOSE));
  const std::unique_ptr<utf8proc_uint8_t, decltype(&std::free)> owner(result, &std::free);
  if (length < 0) return std::string(text);
  return {reinterpret_cast<const char*>(result), static_cast<std::size_t>(length)};
}

void forEachNumber(std::string_view text, const std::function<void(std::optional<int>)>& take) {
  forEachCodePoint(text, [&](utf8proc_int32_t codePoint, std::string_view) {
    if (isDecimalDigit(codePoint)) {
      take(digitValue(codePoint));
    } else if (isOtherNumber(codePoint)) {
      take(std::nullopt);
    }
  });
}

}  // namespace halvercine::base
