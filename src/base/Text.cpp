#include "base/Text.h"

#include <algorithm>
#include <cstdlib>
#include <memory>

#include <utf8proc.h>

#include "base/codePoints.h"

namespace halvercine::base {
namespace {

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
