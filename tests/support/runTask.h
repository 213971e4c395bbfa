// Running a coroutine from an ordinary test.
#pragma once

#include <exception>
#include <memory>
#include <optional>
#include <stdexcept>
#include <type_traits>
#include <utility>

#include <boost/asio/co_spawn.hpp>
#include <gtest/gtest.h>

#include "base/MainActor.h"
#include "base/Task.h"
#include "base/either.h"

namespace halvercine::tests {

/// Runs `actor` until `task` has ended, and yields its value or throws its exception. The test
/// fails when nothing can happen any more and the task still waits.
template <class T>
T run(base::MainActor& actor, base::Task<T> task) {
  struct Outcome {
    bool ended = false;
    std::exception_ptr failure;
    std::optional<base::detail::ValueOf<T>> value;
  };
  const auto outcome = std::make_shared<Outcome>();
  boost::asio::co_spawn(actor.executor(), base::detail::boxed(std::move(task)),
                        [outcome](std::exception_ptr failure, auto value) {
                          *outcome = {true, std::move(failure), std::move(value)};
                        });
  if (!actor.runUntil([&outcome] { return outcome->ended; })) {
    ADD_FAILURE() << "the task waits for something that never happens";
    throw std::runtime_error("the task waits for something that never happens");
  }
  if (outcome->failure) std::rethrow_exception(outcome->failure);
  if constexpr (!std::is_void_v<T>) return std::move(*outcome->value);
}

}  // namespace halvercine::tests
