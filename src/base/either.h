// Waiting for the first of two, and waiting no longer than a time limit.
#pragma once

#include <exception>
#include <expected>
#include <optional>
#include <type_traits>
#include <utility>
#include <variant>

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/deferred.hpp>
#include <boost/asio/experimental/parallel_group.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/asio/use_awaitable.hpp>

#include "base/Completion.h"
#include "base/Task.h"
#include "base/sleepFor.h"
#include "platform/Clock.h"

namespace halvercine::base {

namespace detail {

template <class T>
using ValueOf = std::conditional_t<std::is_void_v<T>, std::monostate, T>;

/// A parallel group keeps default-constructed results; this makes any T fit. The task begins at the
/// next turn: Boost 1.81 throws out of the event loop when a spawned coroutine is cancelled before
/// its first wait, and a group misses a cancellation while it starts its members.
template <class T>
Task<std::optional<ValueOf<T>>> boxed(Task<T> task) {
  co_await boost::asio::post(co_await boost::asio::this_coro::executor, boost::asio::use_awaitable);
  if constexpr (std::is_void_v<T>) {
    co_await std::move(task);
    co_return std::monostate{};
  } else {
    co_return co_await std::move(task);
  }
}

}  // namespace detail

/// Runs both until one ends, by value or by exception; cancels the other, waits until it has ended,
/// and yields the value of the first or throws its exception. What the loser did is dropped.
template <class A, class B>
Task<std::variant<detail::ValueOf<A>, detail::ValueOf<B>>> either(Task<A> first, Task<B> second) {
  using Result = std::variant<detail::ValueOf<A>, detail::ValueOf<B>>;
  const auto executor = co_await boost::asio::this_coro::executor;
  auto [order, firstFailure, firstValue, secondFailure, secondValue] =
      co_await boost::asio::experimental::make_parallel_group(
          boost::asio::co_spawn(executor, detail::boxed(std::move(first)), boost::asio::deferred),
          boost::asio::co_spawn(executor, detail::boxed(std::move(second)), boost::asio::deferred))
          .async_wait(boost::asio::experimental::wait_for_one(), boost::asio::use_awaitable);
  co_await throwIfCancelled();
  if (const auto& failure = order[0] == 0 ? firstFailure : secondFailure; failure) {
    std::rethrow_exception(failure);
  }
  if (order[0] == 0) co_return Result(std::in_place_index<0>, std::move(*firstValue));
  co_return Result(std::in_place_index<1>, std::move(*secondValue));
}

/// The error of `withTimeout`.
struct TimedOut {};

/// Runs `task` for at most `limit`. When the time is over the task is cancelled, and `TimedOut`
/// comes back once it has ended. An exception of the task comes through.
template <class T>
Task<std::expected<T, TimedOut>> withTimeout(platform::Clock& clock, platform::Uptime limit,
                                             Task<T> task) {
  auto result = co_await either(std::move(task), sleepFor(clock, limit));
  if (result.index() == 1) co_return std::unexpected(TimedOut{});
  if constexpr (std::is_void_v<T>) {
    co_return std::expected<T, TimedOut>();
  } else {
    co_return std::move(std::get<0>(result));
  }
}

}  // namespace halvercine::base
