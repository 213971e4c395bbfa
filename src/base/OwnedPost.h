// Posting to the main actor on behalf of an owner that may be gone by then.
#pragma once

#include <memory>
#include <utility>

#include "base/MainActor.h"

namespace halvercine::base {

/// A member of the owner. What it wraps runs later on the main actor, and not at all once the owner
/// has been destroyed. Make and destroy it on the main actor; the wrapped functions may be called
/// on any thread and outlive everything but the actor.
class OwnedPost {
 public:
  explicit OwnedPost(MainActor& actor) : actor_(actor), alive_(std::make_shared<bool>(true)) {}

  /// A function that posts `action` with the arguments it is called with.
  template <class Action>
  auto wrap(Action action) const {
    return [&actor = actor_, alive = std::weak_ptr(alive_),
            action = std::move(action)](auto... arguments) {
      actor.post([alive, action, ... values = std::move(arguments)]() mutable {
        if (alive.lock()) action(std::move(values)...);
      });
    };
  }

  /// Posts `action` now.
  template <class Action>
  void operator()(Action action) const {
    wrap(std::move(action))();
  }

 private:
  MainActor& actor_;
  std::shared_ptr<bool> alive_;
};

}  // namespace halvercine::base
