// Threads for work that blocks.
#pragma once

#include <functional>
#include <optional>
#include <thread>
#include <vector>

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>

namespace halvercine::base {

/// Runs actions in the order in which they come, as many at a time as there are threads: fewer than
/// wanted when the system gives no more. (A pool of Boost 1.81 waits for ever then.)
class BackgroundThreads {
 public:
  /// Throws `std::system_error` when there is not even one thread to be had.
  explicit BackgroundThreads(int wanted);
  ~BackgroundThreads() { join(); }
  BackgroundThreads(const BackgroundThreads&) = delete;
  BackgroundThreads& operator=(const BackgroundThreads&) = delete;

  /// Any thread.
  void post(std::function<void()> action);

  /// Waits until all actions have ended; none may be posted any more.
  void join();

 private:
  boost::asio::io_context context_;
  std::optional<boost::asio::executor_work_guard<boost::asio::io_context::executor_type>> guard_;
  std::vector<std::thread> threads_;
};

}  // namespace halvercine::base
