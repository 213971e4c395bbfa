#include "disks/PipeDrain.h"

#include <algorithm>
#include <utility>

namespace halvercine::disks {
namespace {

void removeLastCharacter(std::string& text) {
  const auto isContinuation = [](char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
  };
  while (!text.empty() && isContinuation(text.back())) text.pop_back();
  if (!text.empty()) text.pop_back();
}

}  // namespace

void PipeDrain::add(std::string_view bytes) {
  const std::lock_guard lock(mutex_);
  if (closed_) return;
  if (consumer_) {
    consumer_(bytes);
  } else {
    keep(bytes);
  }
}

void PipeDrain::finish() { finished_.set({}); }

void PipeDrain::close() {
  const std::lock_guard lock(mutex_);
  closed_ = true;
}

std::string PipeDrain::take() {
  const std::lock_guard lock(mutex_);
  if (dropped_ > 0) removeLastCharacter(buffer_);
  return std::exchange(buffer_, {});
}

std::uint64_t PipeDrain::dropped() const {
  const std::lock_guard lock(mutex_);
  return dropped_;
}

void PipeDrain::keep(std::string_view bytes) {
  const auto kept = bytes.substr(0, limit_ - std::min(limit_, buffer_.size()));
  buffer_ += kept;
  dropped_ += bytes.size() - kept.size();
}

}  // namespace halvercine::disks
