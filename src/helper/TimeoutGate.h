// The one way out of a call to the helper.
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <utility>

#include "platform/HelperTransport.h"

namespace halvercine::helper {

/// Reply, connection error and time limit come on threads of their own, in any order and all of
/// them; the first passes and ends the call, and everybody else finds the gate closed. All members
/// may be called on any thread.
template <class Outcome>
class TimeoutGate {
 public:
  /// `resume` is called once at most, by whoever passes.
  TimeoutGate(std::shared_ptr<platform::HelperConnection> connection,
              std::function<void(Outcome)> resume)
      : connection_(std::move(connection)), resume_(std::move(resume)) {}

  /// Invalidates the connection and resumes the caller with `outcome`, unless the gate is closed.
  bool pass(Outcome outcome) {
    if (!enter()) return false;
    const auto resume = leave();
    resume(std::move(outcome));
    return true;
  }

  /// For a caller that does not wait any longer: invalidates the connection and resumes nobody.
  bool close() {
    if (!enter()) return false;
    leave();
    return true;
  }

 private:
  bool enter() {
    const std::lock_guard lock(mutex_);
    return !std::exchange(isFinished_, true);
  }

  /// Only one gets here. Nothing is kept that could reach the caller, or keep the connection.
  std::function<void(Outcome)> leave() {
    std::exchange(connection_, nullptr)->invalidate();
    return std::exchange(resume_, nullptr);
  }

  std::mutex mutex_;
  bool isFinished_ = false;
  std::shared_ptr<platform::HelperConnection> connection_;
  std::function<void(Outcome)> resume_;
};

}  // namespace halvercine::helper
