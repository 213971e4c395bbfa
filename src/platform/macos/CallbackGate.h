// Between callbacks of the system, which come when and where it likes, and an owner that can go.
#pragma once

#include <memory>
#include <mutex>
#include <utility>

namespace halvercine::platform::macos {

/// Lets calls through to `Target` (functions that copy and post) until it is closed. The owner
/// closes it when it goes; what the system holds is a share of the gate, which does no harm then.
template <class Target>
class CallbackGate {
 public:
  explicit CallbackGate(Target target) : target_(std::make_shared<Target>(std::move(target))) {}

  /// Calls `action` with the target unless the gate is closed. Any thread; calls come one at a
  /// time. The target may close the gate.
  template <class Action>
  void pass(Action action) {
    std::shared_ptr<Target> held;  // destroyed after the lock is let go: it may hold anything
    const std::lock_guard lock(mutex_);
    held = target_;
    if (held) action(*held);
  }

  /// No call begins afterwards, and none is under way on another thread. Any thread.
  void close() {
    std::shared_ptr<Target> dropped;  // destroyed without the lock: it may hold anything
    const std::lock_guard lock(mutex_);
    dropped.swap(target_);
  }

 private:
  std::recursive_mutex mutex_;
  std::shared_ptr<Target> target_;
};

/// The pointer that a C function takes along for its callback. It is the callback's own share:
/// who registered it frees it once the callback cannot come any more.
template <class Target>
class CallbackContext {
 public:
  explicit CallbackContext(std::shared_ptr<CallbackGate<Target>> gate) : gate_(std::move(gate)) {}
  CallbackContext(const CallbackContext&) = delete;
  CallbackContext& operator=(const CallbackContext&) = delete;

  void* pointer() { return this; }

  /// Passes the gate of a context that has come back as a pointer.
  template <class Action>
  static void pass(void* pointer, Action action) {
    static_cast<CallbackContext*>(pointer)->gate_->pass(std::move(action));
  }

 private:
  std::shared_ptr<CallbackGate<Target>> gate_;
};

}  // namespace halvercine::platform::macos
