// The simulated disk arbitration service's list of who wants to hear of disks.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/MainActor.h"
#include "platform/DiskArbitration.h"

namespace halvercine::platform::simulated {

using DiskCallback = std::function<void(std::optional<std::string>)> DiskCallbacks::*;

/// Calls the sessions' callbacks, always later and on the main actor, in the order of the events.
/// Main actor.
class DiskSessions {
 public:
  /// A session's ear: no callback begins when it is gone.
  using Listener = std::shared_ptr<const DiskCallbacks>;

  explicit DiskSessions(base::MainActor& actor) : actor_(actor) {}

  Listener add(DiskCallbacks callbacks);

  /// Calls one callback of every listener.
  void announce(DiskCallback callback, const std::string& disk);

  /// Calls one callback of one listener.
  void tell(const Listener& listener, DiskCallback callback, const std::string& disk);

 private:
  base::MainActor& actor_;
  std::vector<std::weak_ptr<const DiskCallbacks>> listeners_;
};

}  // namespace halvercine::platform::simulated
