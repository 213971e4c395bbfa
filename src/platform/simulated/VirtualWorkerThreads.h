// Workers in virtual time: real threads, of which one at a time runs.
#pragma once

#include <memory>
#include <vector>

#include "base/MainActor.h"
#include "base/VirtualClock.h"
#include "platform/WorkerThreads.h"

namespace halvercine::platform::simulated {

/// A worker runs inside a timer of the clock, while the main actor waits for it, until it sleeps or
/// ends. So the order of everything that happens is that of virtual time, and the same each time.
/// Destroying this ends its workers: what they wait for does not come any more.
class VirtualWorkerThreads : public WorkerThreads {
 public:
  VirtualWorkerThreads(base::MainActor& actor, std::shared_ptr<base::VirtualClock> clock);
  ~VirtualWorkerThreads() override;

  std::unique_ptr<WorkerGroup> start(std::size_t count, std::function<void(std::size_t)> work,
                                     std::function<void(std::exception_ptr)> ended) override;

  /// Called by a worker: returns when virtual time has come to `deadline`; false when it will not,
  /// or when the calling thread is no worker.
  static bool sleepUntil(Uptime deadline);

 private:
  class Worker;

  base::MainActor& actor_;
  std::shared_ptr<base::VirtualClock> clock_;
  std::vector<std::shared_ptr<Worker>> workers_;
};

}  // namespace halvercine::platform::simulated
