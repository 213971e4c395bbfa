// The one executor on which all state of the program lives.
#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

#include <boost/asio/any_io_executor.hpp>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>

#include "base/BackgroundThreads.h"

namespace halvercine::base {

/// Runs posted functions one after another on the thread that calls `run`, and owns the pool for
/// the work that blocks. Made first, destroyed last.
class MainActor {
 public:
  MainActor();
  ~MainActor();
  MainActor(const MainActor&) = delete;
  MainActor& operator=(const MainActor&) = delete;

  boost::asio::any_io_executor executor() { return context_.get_executor(); }
  boost::asio::io_context& context() { return context_; }

  /// Runs `action` later on the main actor, never from inside this call. Any thread.
  template <class Action>
  void post(Action&& action) {
    boost::asio::post(context_, std::forward<Action>(action));
  }

  /// Runs `action` on a background thread. It must end by itself; destroying the actor waits for
  /// it. Throws `std::system_error` when the system has no thread to give. Any thread.
  void postToBackground(std::function<void()> action);

  /// Waits for the background work that has been started. Afterwards none may be started any more.
  void joinBackground();

  /// Runs what is ready, and waits for it for at most `limit`; false when some is still under way:
  /// a call into the system that may never return. Main actor.
  bool settleBackground(std::chrono::milliseconds limit);

  /// Called when nothing is left to do and no background work is under way; it makes something
  /// happen (simulated time moves on) and answers true, or answers false. Without it the actor
  /// waits.
  void setIdleHandler(std::function<bool()> handler) { idleHandler_ = std::move(handler); }

  /// Processes work until `stop`. Answers false when it ended because nothing can ever happen any
  /// more: the idle handler has nothing left. Exceptions of posted functions come out of here.
  bool run();

  /// Processes what can be done now, idle handler included, until `done` answers true or nothing
  /// can happen any more; answers what `done` says then.
  bool runUntil(const std::function<bool()>& done);

  /// Ends `run`. Any thread.
  void stop();

  /// Whether the caller is on the main actor (the thread that runs it, or that made it).
  bool isCurrent() const { return thread_.load() == std::this_thread::get_id(); }

 private:
  bool step();

  boost::asio::io_context context_{1};
  boost::asio::executor_work_guard<boost::asio::io_context::executor_type> guard_;
  std::function<bool()> idleHandler_;
  std::atomic<int> backgroundWork_{0};
  std::atomic<bool> stopped_{false};
  std::atomic<std::thread::id> thread_;
  std::unique_ptr<BackgroundThreads> background_;  // made on first use: most commands need none
  std::once_flag backgroundMade_;
};

}  // namespace halvercine::base
