// Ending the workers of a run early.
#pragma once

#include <atomic>

namespace halvercine::speedtest {

/// Read by every worker before each operation. Any thread.
class CancelFlag {
 public:
  void set() { flag_.store(true, std::memory_order_relaxed); }
  bool isSet() const { return flag_.load(std::memory_order_relaxed); }

 private:
  std::atomic<bool> flag_{false};
};

}  // namespace halvercine::speedtest
