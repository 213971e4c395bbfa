// The coroutine type of the program.
#pragma once

#include <boost/asio/any_io_executor.hpp>
#include <boost/asio/awaitable.hpp>

namespace halvercine::base {

/// Asynchronous work that yields a T. It does nothing until it is awaited or spawned, and it runs on
/// the main actor wherever it is resumed from. Take arguments by value: the caller's frame may be
/// gone when the body runs.
///
/// Cancellation travels as `boost::system::system_error` with `operation_aborted`, thrown by the
/// waits of this folder. They look for it when they resume as well as when they begin, so that code
/// after a wait never runs for an owner that has gone.
template <class T>
using Task = boost::asio::awaitable<T>;

}  // namespace halvercine::base
