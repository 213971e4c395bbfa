#include "check/Excerpt.h"

namespace halvercine::check {
namespace {

bool isContinuation(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; }

/// The bytes of the line break that `text` begins with; 0 when it begins with none. CR LF counts as
/// two, between which is an empty line.
std::size_t lineBreakLength(std::string_view text) {
  if (text[0] >= '\n' && text[0] <= '\r') return 1;
  if (text.starts_with("\u0085")) return 2;
  if (text.starts_with("\u2028") || text.starts_with("\u2029")) return 3;
  return 0;
}

void appendLine(std::string_view line, std::string& out) {
  if (line.empty()) return;
  if (!out.empty()) out += " \u23CE ";
  out += line;
}

}  // namespace

std::string_view lastCharacters(std::string_view text, std::size_t count) {
  std::size_t start = text.size();
  while (start > 0 && count > 0) {
    --start;
    if (!isContinuation(text[start])) --count;
  }
  return text.substr(start);
}

std::string onOneLine(std::string_view text) {
  std::string joined;
  std::size_t lineStart = 0;
  for (std::size_t at = 0; at < text.size();) {
    const auto length = lineBreakLength(text.substr(at));
    if (length > 0) {
      appendLine(text.substr(lineStart, at - lineStart), joined);
      lineStart = at + length;
    }
    at += length > 0 ? length : 1;
  }
  appendLine(text.substr(lineStart), joined);
  return joined;
}

}  // namespace halvercine::check
