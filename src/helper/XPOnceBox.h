// A reply that counts once.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <utility>

namespace halvercine::helper {

/// A function that is called the first time only: a helper that calls its reply block again is not
/// heard, and what it then says is not looked at. Copies share the one call. Any thread.
template <class... Arguments>
class XPOnceBox {
 public:
  explicit XPOnceBox(std::function<void(Arguments...)> deliver)
      : state_(std::make_shared<State>(std::move(deliver))) {}

  void operator()(Arguments... arguments) const {
    if (state_->isDelivered.exchange(true)) return;
    std::exchange(state_->deliver, nullptr)(std::forward<Arguments>(arguments)...);
  }

 private:
  struct State {
    explicit State(std::function<void(Arguments...)> function) : deliver(std::move(function)) {}

    std::atomic<bool> isDelivered{false};
    std::function<void(Arguments...)> deliver;
  };

  std::shared_ptr<State> state_;
};

}  // namespace halvercine::helper
