// Work that blocks, off the main actor.
#pragma once

#include <exception>
#include <type_traits>
#include <utility>
#include <variant>

#include "base/Completion.h"
#include "base/MainActor.h"
#include "base/Task.h"

namespace halvercine::base {

namespace detail {

template <class Work>
Task<std::invoke_result_t<Work&>> waitInBackground(MainActor& actor, Work work) {
  using Value = std::invoke_result_t<Work&>;
  using Kept = std::conditional_t<std::is_void_v<Value>, std::monostate, Value>;
  using Outcome = std::variant<Kept, std::exception_ptr>;
  auto outcome = co_await waitFor<Outcome>([&actor, &work](Completion<Outcome> completion) {
    actor.postToBackground([completion, work = std::move(work)]() mutable {
      try {
        if constexpr (std::is_void_v<Value>) {
          work();
          completion(Kept{});
        } else {
          completion(Outcome(std::in_place_index<0>, work()));
        }
      } catch (...) {
        completion(Outcome(std::in_place_index<1>, std::current_exception()));
      }
    });
    return std::function<void()>();
  });
  if (auto* failure = std::get_if<1>(&outcome)) std::rethrow_exception(*failure);
  if constexpr (!std::is_void_v<Value>) co_return std::move(std::get<0>(outcome));
}

}  // namespace detail

/// Runs `work` on a background thread and yields its result, or throws its exception, on the main
/// actor. `work` owns what it uses: cancelling the wait ends it at once and leaves the work to
/// finish on its own, its result dropped.
template <class Work>
auto runInBackground(MainActor& actor, Work&& work) {
  static_assert(isSafeToAwait<Work>, "give the lambda a name before awaiting: see Task.h");
  return detail::waitInBackground<std::decay_t<Work>>(actor, std::forward<Work>(work));
}

}  // namespace halvercine::base
