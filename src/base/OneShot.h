// A value that comes once, from anywhere, and is waited for on the main actor.
#pragma once

#include <mutex>
#include <optional>
#include <utility>

#include "base/Completion.h"
#include "base/Task.h"

namespace halvercine::base {

/// Unlike a `Completion` it can be set before anybody waits, and waited for again after a wait was
/// cancelled. One wait at a time; it outlives the wait.
template <class T>
class OneShot {
 public:
  /// The first call counts, later ones are dropped. Any thread.
  void set(T value) {
    std::optional<Completion<T>> waiter;
    {
      const std::lock_guard lock(mutex_);
      if (value_) return;
      value_ = value;
      waiter.swap(waiter_);
    }
    if (waiter) (*waiter)(std::move(value));
  }

  /// Any thread.
  bool isSet() const {
    const std::lock_guard lock(mutex_);
    return value_.has_value();
  }

  /// Main actor.
  Task<T> wait() {
    return waitFor<T>([this](Completion<T> completion) {
      const std::lock_guard lock(mutex_);
      if (value_) {
        completion(*value_);
      } else {
        waiter_ = completion;
      }
      return std::function<void()>([this] {
        const std::lock_guard undoLock(mutex_);
        waiter_.reset();
      });
    });
  }

 private:
  mutable std::mutex mutex_;
  std::optional<T> value_;
  std::optional<Completion<T>> waiter_;
};

}  // namespace halvercine::base
