// The output of one child, as far as it has come.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <variant>

#include "base/OneShot.h"
#include "base/Task.h"

namespace halvercine::disks {

/// Stands between a child's output and the one who reads it: the bytes arrive on any thread, the
/// reader waits for their end on the main actor, and takes what there is when it has waited long
/// enough.
class PipeDrain {
 public:
  /// What the system's tools print is some kilobytes. More than this is not a text that anybody
  /// reads: the rest is dropped, so that a child gone mad costs neither memory nor time.
  static constexpr std::size_t defaultLimit = std::size_t{4} * 1024 * 1024;

  using Consumer = std::function<void(std::string_view bytes)>;

  /// Keeps the first `limit` bytes.
  explicit PipeDrain(std::size_t limit = defaultLimit) : limit_(limit) {}

  /// Keeps nothing and hands all bytes to `consumer`, on the thread on which they come, one piece
  /// at a time, and no longer after `close`.
  explicit PipeDrain(Consumer consumer) : consumer_(std::move(consumer)) {}

  /// More output. Any thread.
  void add(std::string_view bytes);

  /// The pipe is at its end. Any thread.
  void finish();

  /// Whether the pipe is at its end. Any thread.
  bool done() const { return finished_.isSet(); }

  /// Waits until the pipe is at its end, for which a grandchild may keep the reader waiting for
  /// ever: bound it. Main actor.
  base::Task<std::monostate> finished() { return finished_.wait(); }

  /// Output that comes later is dropped and not counted. Any thread.
  void close();

  /// The bytes kept, which are the drain's no longer. When some were dropped, what is kept ends
  /// with a whole UTF-8 character. Any thread.
  std::string take();

  /// How many bytes the limit has cost. Any thread.
  std::uint64_t dropped() const;

 private:
  void keep(std::string_view bytes);

  const Consumer consumer_;
  const std::size_t limit_ = 0;
  mutable std::mutex mutex_;
  std::string buffer_;
  std::uint64_t dropped_ = 0;
  bool closed_ = false;
  base::OneShot<std::monostate> finished_;
};

}  // namespace halvercine::disks
