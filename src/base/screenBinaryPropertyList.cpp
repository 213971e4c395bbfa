#include "base/screenBinaryPropertyList.h"

#include <cstddef>
#include <cstdint>
#include <optional>

namespace halvercine::base {
namespace {

constexpr std::size_t trailerSize = 32;
constexpr int deepestLevel = 32;

// Kinds of values, the upper half of their first byte.
constexpr std::uint64_t plainBytes = 0x4;
constexpr std::uint64_t wideText = 0x6;  // of 16-bit units
constexpr std::uint64_t firstContainer = 0xA;
constexpr std::uint64_t dictionary = 0xD;

// What a value costs beside its text, about, and what all may cost: more than any list of a size
// that is read needs, unless it refers to the same long texts over and over.
constexpr std::uint64_t valueCost = 16;
constexpr std::uint64_t unfoldedLimit = std::uint64_t{1024} * 1024;

/// Walks the tree that the list unfolds to, and stops when it gets too deep or too large.
class Screen {
 public:
  explicit Screen(std::string_view bytes) : bytes_(bytes) {}

  bool passes() {
    if (bytes_.size() < trailerSize) return false;
    const auto trailer = bytes_.size() - trailerSize;
    offsetSize_ = static_cast<unsigned char>(bytes_[trailer + 6]);
    referenceSize_ = static_cast<unsigned char>(bytes_[trailer + 7]);
    if (offsetSize_ < 1 || offsetSize_ > 8 || referenceSize_ < 1 || referenceSize_ > 8) {
      return false;
    }
    count_ = *number(trailer + 8, 8);
    table_ = *number(trailer + 24, 8);
    return visit(*number(trailer + 16, 8), 1);
  }

 private:
  /// A big-endian number, or nothing when it is not inside the file.
  std::optional<std::uint64_t> number(std::uint64_t at, std::size_t size) const {
    if (at > bytes_.size() || bytes_.size() - at < size) return std::nullopt;
    std::uint64_t value = 0;
    for (const char byte : bytes_.substr(at, size)) {
      value = value << 8 | static_cast<unsigned char>(byte);
    }
    return value;
  }

  bool spend(std::uint64_t bytes) {
    if (bytes > unfoldedLimit - unfolded_) return false;
    unfolded_ += bytes;
    return true;
  }

  bool visit(std::uint64_t object, int level) {
    if (level > deepestLevel || object >= count_ || count_ > bytes_.size()) return false;
    if (table_ > bytes_.size()) return false;
    const auto offset = number(table_ + object * offsetSize_, offsetSize_);
    const auto marker = offset ? number(*offset, 1) : std::nullopt;
    if (!marker || !spend(valueCost)) return false;
    const auto kind = *marker >> 4;
    if (kind < 4 || kind == 8) return true;  // numbers and such
    auto at = *offset + 1;
    const auto length = lengthOf(*marker, at);
    if (!length || *length > bytes_.size()) return false;
    if (kind < firstContainer) return visitText(kind, at, *length);
    return visitMembers(at, kind == dictionary ? *length * 2 : *length, level);
  }

  /// The length that a marker gives, or that follows it as a whole number: then `at` moves behind
  /// it.
  std::optional<std::uint64_t> lengthOf(std::uint64_t marker, std::uint64_t& at) const {
    constexpr std::uint64_t follows = 0xF;
    if ((marker & 0xF) != follows) return marker & 0xF;
    const auto width = number(at, 1);
    if (!width || *width >> 4 != 1 || (*width & 0xF) > 3) return std::nullopt;
    const auto size = std::size_t{1} << (*width & 0xF);
    const auto length = number(at + 1, size);
    at += 1 + size;
    return length;
  }

  /// A text without a zero in it, or plain bytes.
  bool visitText(std::uint64_t kind, std::uint64_t at, std::uint64_t length) {
    for (const auto width = kind == wideText ? 2 : 1; length > 0; --length, at += width) {
      const auto unit = number(at, width);
      if (!unit || (*unit == 0 && kind != plainBytes) || !spend(2)) return false;
    }
    return true;
  }

  bool visitMembers(std::uint64_t at, std::uint64_t members, int level) {
    for (; members > 0; --members, at += referenceSize_) {
      const auto member = number(at, referenceSize_);
      if (!member || !visit(*member, level + 1)) return false;
    }
    return true;
  }

  std::string_view bytes_;
  std::size_t offsetSize_ = 0;
  std::size_t referenceSize_ = 0;
  std::uint64_t count_ = 0;
  std::uint64_t table_ = 0;
  std::uint64_t unfolded_ = 0;
};

}  // namespace

bool screenBinaryPropertyList(std::string_view bytes) { return Screen(bytes).passes(); }

}  // namespace halvercine::base
