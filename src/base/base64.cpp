#include "base/base64.h"

#include <algorithm>
#include <cstdint>

namespace halvercine::base {
namespace {

constexpr std::string_view alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

}  // namespace

std::string base64Encoded(std::string_view bytes) {
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t at = 0; at < bytes.size(); at += 3) {
    const auto group = bytes.substr(at, 3);
    std::uint32_t bits = 0;
    for (std::size_t i = 0; i < 3; ++i) {
      bits = bits << 8 | (i < group.size() ? static_cast<unsigned char>(group[i]) : 0u);
    }
    for (std::size_t i = 0; i < 4; ++i) {
      text += i <= group.size() ? alphabet[bits >> (18 - 6 * i) & 0x3F] : '=';
    }
  }
  return text;
}

std::optional<std::string> base64Decoded(std::string_view text) {
  std::string bytes;
  const auto padding = text.size() - std::min(text.find('='), text.size());
  std::uint32_t bits = 0;
  int count = 0;
  for (const char character : text.substr(0, text.size() - padding)) {
    const auto value = alphabet.find(character);
    if (value == std::string_view::npos) return std::nullopt;
    bits = bits << 6 | static_cast<std::uint32_t>(value);
    count += 6;
    if (count < 8) continue;
    count -= 8;
    bytes += static_cast<char>(bits >> count & 0xFF);
  }
  // What is over has no other form than the one that is made here.
  if (base64Encoded(bytes) != text) return std::nullopt;
  return bytes;
}

}  // namespace halvercine::base
