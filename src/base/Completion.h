// The bridge between callbacks and coroutines.
#pragma once

#include <concepts>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>

#include <boost/asio/any_completion_handler.hpp>
#include <boost/asio/as_tuple.hpp>
#include <boost/asio/associated_cancellation_slot.hpp>
#include <boost/asio/async_result.hpp>
#include <boost/asio/error.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/system/system_error.hpp>

#include "base/Task.h"

namespace halvercine::base {

/// Ends one wait with a value. Copies share the wait: the first call ends it, every later one is
/// dropped, and so is a call after the wait was cancelled. Any thread.
template <class T>
class Completion {
 public:
  using Signature = void(boost::system::error_code, std::optional<T>);

  explicit Completion(boost::asio::any_io_executor executor)
      : state_(std::make_shared<State>(std::move(executor))) {}

  void operator()(T value) const {
    boost::asio::post(state_->executor, [state = state_, value = std::move(value)]() mutable {
      state->finish({}, std::move(value));
    });
  }

  /// For `waitFor` alone.
  void attach(boost::asio::any_completion_handler<Signature> handler) const {
    handler.swap(state_->handler);  // the assignment of Boost 1.81 calls itself without end
  }
  void cancelWith(std::function<void()> undo) const { state_->undo = std::move(undo); }
  /// Cancels the wait while anybody is left who could end it; keeps nothing alive. A slot that held
  /// the wait itself would close a circle: the slot lives in the frame that the wait resumes.
  auto canceller() const {
    return [wait = std::weak_ptr<State>(state_)](boost::asio::cancellation_type) {
      if (auto state = wait.lock()) Completion(std::move(state)).cancel();
    };
  }
  void cancel() const {
    boost::asio::post(state_->executor, [state = state_] {
      if (auto undo = std::exchange(state->undo, nullptr); undo && state->handler) undo();
      state->finish(boost::asio::error::operation_aborted, std::nullopt);
    });
  }

 private:
  // Touched on the executor only; the shared pointer alone crosses threads.
  struct State {
    explicit State(boost::asio::any_io_executor runsOn) : executor(std::move(runsOn)) {}

    void finish(boost::system::error_code error, std::optional<T> value) {
      if (!handler) return;
      undo = nullptr;
      std::move(handler)(error, std::move(value));
    }

    boost::asio::any_io_executor executor;
    boost::asio::any_completion_handler<Signature> handler;
    std::function<void()> undo;
  };

  explicit Completion(std::shared_ptr<State> state) : state_(std::move(state)) {}

  std::shared_ptr<State> state_;
};

/// Throws the cancellation if the running coroutine has been cancelled.
Task<void> throwIfCancelled();

namespace detail {

template <class T, class Start>
Task<T> waitForStarted(Start start) {
  const auto executor = co_await boost::asio::this_coro::executor;
  std::exception_ptr failure;
  auto token = boost::asio::as_tuple(boost::asio::use_awaitable);
  auto initiation = [&executor, &start, &failure](auto handler) {
    const Completion<T> completion(executor);
    auto slot = boost::asio::get_associated_cancellation_slot(handler);
    completion.attach(std::move(handler));
    if (slot.is_connected()) slot.assign(completion.canceller());
    try {
      completion.cancelWith(start(completion));
    } catch (...) {
      failure = std::current_exception();
      completion.cancel();
    }
  };
  auto [error, value] =
      co_await boost::asio::async_initiate<decltype(token), typename Completion<T>::Signature>(
          initiation, token);
  co_await throwIfCancelled();
  if (failure) std::rethrow_exception(failure);
  if (error) throw boost::system::system_error(error);
  co_return std::move(*value);
}

}  // namespace detail

/// Waits for a callback. `start` begins the operation, is given the completion to call from
/// anywhere, and answers what takes the operation back when the wait is cancelled (an empty
/// function when it cannot be: its late result is then dropped). What `start` throws comes out of
/// the wait.
template <class T, std::invocable<Completion<T>> Start>
Task<T> waitFor(Start&& start) {
  static_assert(isSafeToAwait<Start>, "give the lambda a name before awaiting: see Task.h");
  return detail::waitForStarted<T, std::decay_t<Start>>(std::forward<Start>(start));
}

}  // namespace halvercine::base
