// The coroutine type of the program.
#pragma once

#include <type_traits>

#include <boost/asio/any_io_executor.hpp>
#include <boost/asio/awaitable.hpp>

namespace halvercine::base {

/// Asynchronous work that yields a T. It does nothing until it is awaited or spawned, and it runs
/// on the main actor wherever it is resumed from. Take arguments by value: the caller's frame may
/// be gone when the body runs.
///
/// Cancellation travels as `boost::system::system_error` with `operation_aborted`, thrown by the
/// waits of this folder. They look for it when they resume as well as when they begin, so that code
/// after a wait never runs for an owner that has gone.
///
/// g++ 12 copies a lambda or an aggregate that is written inside a `co_await` expression byte by
/// byte and destroys it twice. Name it first, or let a function or a constructor make it:
///
///     co_await show(Request{.title = name});         // name is freed twice
///     const Request request{.title = name};
///     co_await show(request);                        // right
template <class T>
using Task = boost::asio::awaitable<T>;

/// Whether a function object of this type may be handed to a coroutine inside a `co_await`
/// expression: a named one, or one that is harmless to destroy twice.
template <class Function>
inline constexpr bool isSafeToAwait =
    std::is_lvalue_reference_v<Function> || std::is_trivially_destructible_v<Function>;

}  // namespace halvercine::base
