// Texts that must not stay in memory: passwords and recovery passwords.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace halvercine::base {

/// Overwrites memory with zeros, also when nothing reads it afterwards.
void wipe(void* memory, std::size_t size);

/// Empties a text after wiping all that it has allocated.
void wipe(std::string& text);

/// A text whose memory is wiped before it is given back. It moves without leaving a copy behind, is
/// copied only on request, and has no output operator: nothing prints it by accident.
class Secret {
 public:
  Secret() = default;

  /// A copy of `text`, which the caller wipes.
  explicit Secret(std::string_view text);

  /// A copy of `text`, which is wiped.
  static Secret takenFrom(std::string& text);

  Secret(Secret&& other) noexcept
      : text_(std::move(other.text_)), size_(std::exchange(other.size_, 0)) {}
  Secret& operator=(Secret&& other) noexcept;
  ~Secret() { clear(); }

  Secret copy() const { return Secret(reveal()); }

  /// The text itself, while this object stands. For the moment of its use: never for a log, an
  /// error text or a command line.
  std::string_view reveal() const { return {text_.get(), size_}; }

  bool empty() const { return size_ == 0; }

  bool operator==(const Secret& other) const { return reveal() == other.reveal(); }

 private:
  void clear() noexcept;

  std::unique_ptr<char[]> text_;
  std::size_t size_ = 0;
};

}  // namespace halvercine::base
