// The end of an output that may be longer than anybody wants to keep.
#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <string_view>

namespace halvercine::platform::posix {

/// Keeps the last `limit` bytes. Not for more than one thread at a time.
class OutputTail {
 public:
  explicit OutputTail(std::size_t limit) : limit_(limit) {}

  void add(std::string_view bytes);

  /// The bytes kept, which are this object's no longer. When some were dropped, what is kept begins
  /// with a whole UTF-8 character.
  std::string take();

 private:
  const std::size_t limit_;
  std::deque<std::string> pieces_;  // whole ones are dropped while enough is left
  std::size_t size_ = 0;
  bool dropped_ = false;
};

}  // namespace halvercine::platform::posix
