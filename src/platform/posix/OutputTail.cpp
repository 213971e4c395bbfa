#include "platform/posix/OutputTail.h"

#include <algorithm>
#include <utility>

namespace halvercine::platform::posix {
namespace {

/// Small pieces are put together: a tool may write byte by byte.
constexpr std::size_t pieceSize = std::size_t{64} * 1024;

}  // namespace

void OutputTail::add(std::string_view bytes) {
  size_ += bytes.size();
  if (!pieces_.empty() && pieces_.back().size() + bytes.size() <= pieceSize) {
    pieces_.back() += bytes;
  } else {
    pieces_.emplace_back(bytes);
  }
  while (size_ - pieces_.front().size() >= limit_) {
    size_ -= pieces_.front().size();
    pieces_.pop_front();
    dropped_ = true;
  }
}

std::string OutputTail::take() {
  std::string text;
  text.reserve(size_);
  for (const auto& piece : std::exchange(pieces_, {})) text += piece;
  std::size_t start = text.size() - std::min(text.size(), limit_);
  const bool isCut = std::exchange(dropped_, false) || start > 0;
  const auto isContinuation = [](char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
  };
  while (isCut && start < text.size() && isContinuation(text[start])) ++start;
  text.erase(0, start);
  size_ = 0;
  return text;
}

}  // namespace halvercine::platform::posix
