// The first error of a run.
#pragma once

#include <atomic>
#include <cstdint>
#include <optional>

namespace halvercine::speedtest {

/// Any thread.
class IOErrorRegistry {
 public:
  /// Keeps an errno value, which is not 0, unless there is one already.
  void record(std::int32_t error) {
    std::int32_t none = 0;
    first_.compare_exchange_strong(none, error, std::memory_order_relaxed);
  }

  std::optional<std::int32_t> firstErrno() const {
    const auto first = first_.load(std::memory_order_relaxed);
    return first == 0 ? std::nullopt : std::optional(first);
  }

 private:
  std::atomic<std::int32_t> first_{0};
};

}  // namespace halvercine::speedtest
