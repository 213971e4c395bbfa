// Keeping a mount access report alive, and taking it away afterwards.
#pragma once

#include <memory>
#include <string>

#include "base/MainActor.h"
#include "platform/Clock.h"
#include "platform/Containers.h"

namespace halvercine::mount {

/// Stands for one report that this process owns: refreshes its time stamp while it runs, and
/// deletes it when it stops or is destroyed. The report's location is looked up each time, the file
/// is only ever touched when it carries the owner. May be used from any thread.
class MountAccessHeartbeat {
 public:
  MountAccessHeartbeat(base::MainActor& actor, platform::Clock& clock,
                       platform::Containers& containers);
  ~MountAccessHeartbeat();
  MountAccessHeartbeat(const MountAccessHeartbeat&) = delete;
  MountAccessHeartbeat& operator=(const MountAccessHeartbeat&) = delete;

  /// Starts for a partition and an owner (UUID text); a target that it had before is stopped first.
  void start(std::string bsdName, std::string ownerId);

  /// Ends the timer and deletes the target's report. Without a target it does nothing.
  void stop();

 private:
  struct State;
  std::shared_ptr<State> state_;  // shared with the timer on the main actor
};

}  // namespace halvercine::mount
