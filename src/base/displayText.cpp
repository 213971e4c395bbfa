#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include <fmt/core.h>
#include <utf8proc.h>

#include "base/Text.h"
#include "base/codePoints.h"

namespace halvercine::base {
namespace {

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

}  // namespace

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

}  // namespace halvercine::base
