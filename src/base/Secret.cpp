#include "base/Secret.h"

#include <cstring>

namespace halvercine::base {

void wipe(void* memory, std::size_t size) {
  if (size == 0) return;
  std::memset(memory, 0, size);
  // Claims to read the memory, so that the zeros are written. (macOS has no explicit_bzero.)
  asm volatile("" : : "r"(memory) : "memory");
}

void wipe(std::string& text) {
  text.resize(text.capacity());
  wipe(text.data(), text.size());
  text.clear();
}

Secret::Secret(std::string_view text)
    : text_(text.empty() ? nullptr : std::make_unique<char[]>(text.size())), size_(text.size()) {
  text.copy(text_.get(), size_);
}

Secret Secret::takenFrom(std::string& text) {
  Secret secret(text);
  wipe(text);
  return secret;
}

Secret& Secret::operator=(Secret&& other) noexcept {
  if (this == &other) return *this;
  clear();
  text_ = std::move(other.text_);
  size_ = std::exchange(other.size_, 0);
  return *this;
}

void Secret::clear() noexcept {
  wipe(text_.get(), size_);
  text_.reset();
  size_ = 0;
}

}  // namespace halvercine::base
