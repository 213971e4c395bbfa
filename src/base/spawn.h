// The one way to start a coroutine that nobody awaits.
#pragma once

#include <list>
#include <memory>
#include <string>

#include <boost/asio/cancellation_signal.hpp>

#include "base/MainActor.h"
#include "base/Task.h"
#include "platform/SystemLog.h"

namespace halvercine::base {

/// The running coroutines of one owner. Destroying it cancels them all: each ends at the wait where
/// it stands, without touching the owner again. Main actor.
class TaskScope {
 public:
  TaskScope(MainActor& actor, platform::SystemLog& log);
  ~TaskScope();
  TaskScope(const TaskScope&) = delete;
  TaskScope& operator=(const TaskScope&) = delete;

  /// Starts `task` later on the main actor. Should it end by an exception, the system log gets a
  /// line with `name` and the reason; a cancellation is no error and is not logged.
  void spawn(std::string name, Task<void> task);

  /// Cancels what runs now.
  void cancelAll();

  /// How many have not ended yet.
  std::size_t running() const { return children_->size(); }

 private:
  struct Child {
    boost::asio::cancellation_signal signal;
    bool isStarted = false;
    bool isCancelled = false;
  };
  using Children = std::list<Child>;

  static Task<void> startLater(Child& child, Task<void> task);

  MainActor& actor_;
  platform::SystemLog& log_;
  std::shared_ptr<Children> children_;  // shared with the children, which leave it when they end
};

}  // namespace halvercine::base
