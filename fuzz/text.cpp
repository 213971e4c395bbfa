// Text that somebody else chose: names of volumes, output of tools.
#include "base/Text.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "base/Json.h"
#include "require.h"

using halvercine::fuzz::require;
namespace base = halvercine::base;

namespace {

/// By another decoder than the one under test.
bool isUtf8(std::string_view text) {
  return base::parseJson(base::serializeJson(boost::json::value(text))).has_value();
}

bool isShowable(std::string_view text) {
  const auto isControl = [](unsigned char byte) { return byte < 0x20 || byte == 0x7F; };
  if (std::any_of(text.begin(), text.end(), isControl)) return false;
  return std::ranges::none_of(
      std::initializer_list<std::string_view>{"\u0085", "\u200B", "\u200E", "\u2028", "\u202E",
                                              "\u2066", "\uFEFF", "\U000E0001"},
      [text](std::string_view harmful) { return text.find(harmful) != std::string_view::npos; });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);

  const auto repaired = base::repairedUtf8(text);
  require(isUtf8(repaired), "repaired text is valid");
  require(!isUtf8(text) || repaired == text, "valid text is left alone");

  const auto shown = base::displayText(text);
  require(isUtf8(shown) && isShowable(shown), "shown text is harmless");
  require(base::displayText(shown) == shown, "shown text can be shown");
  require(base::displayWidth(shown) <= 2 * shown.size(),
          "no character takes more than two columns");

  const auto trimmed = base::trimmed(text);
  require(text.find(trimmed) != std::string_view::npos, "trimmed text is a part of the text");
  require(base::trimmed(trimmed) == trimmed, "nothing is left to trim");

  const auto composed = base::composed(text);
  require(isUtf8(text) ? isUtf8(composed) : composed == text, "composing keeps the encoding");
  require(base::composed(composed) == composed, "composed text is composed");
  require(base::asciiLowered(text).size() == size, "lower case is as long");
  return 0;
}
