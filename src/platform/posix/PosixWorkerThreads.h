// Workers on real threads.
#pragma once

#include "base/MainActor.h"
#include "platform/WorkerThreads.h"

namespace halvercine::platform::posix {

/// The priority is the process's own where the system has no classes of service. The workers count
/// as background work of the actor.
class PosixWorkerThreads : public WorkerThreads {
 public:
  explicit PosixWorkerThreads(base::MainActor& actor) : actor_(actor) {}

  std::unique_ptr<WorkerGroup> start(std::size_t count, std::function<void(std::size_t)> work,
                                     std::function<void(std::exception_ptr)> ended) override;

 private:
  base::MainActor& actor_;
};

}  // namespace halvercine::platform::posix
