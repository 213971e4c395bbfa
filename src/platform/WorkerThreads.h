// Threads for work that measures: one for each worker, all at the same time.
#pragma once

#include <cstddef>
#include <exception>
#include <functional>
#include <memory>

namespace halvercine::platform {

/// Workers under way. Destroying it does not wait for them: they end by themselves, and nobody is
/// told any more.
class WorkerGroup {
 public:
  virtual ~WorkerGroup() = default;
};

class WorkerThreads {
 public:
  virtual ~WorkerThreads() = default;

  /// Calls `work(0)` to `work(count - 1)` at the same time, each on a thread of its own with the
  /// priority of work that the user has asked for and watches, without haste ("utility"). `work`
  /// owns what it uses. `ended` is called once on the main actor, never from inside this call, when
  /// all have returned, with the first exception if there was one; also when not all threads could
  /// be had: then none has called it. Main actor.
  [[nodiscard]] virtual std::unique_ptr<WorkerGroup> start(
      std::size_t count, std::function<void(std::size_t worker)> work,
      std::function<void(std::exception_ptr)> ended) = 0;
};

}  // namespace halvercine::platform
