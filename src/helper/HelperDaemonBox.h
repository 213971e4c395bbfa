// The helper's registration with the system.
#pragma once

#include <memory>

#include "helper/performReregistration.h"
#include "platform/DaemonServices.h"

namespace halvercine::helper {

/// Whether the system knows the daemon, be it that the user has yet to approve it.
bool isRegistered(platform::DaemonStatus status);

/// Holds the daemon's registration object. The steps that it makes outlive it. Main actor.
class HelperDaemonBox {
 public:
  HelperDaemonBox(platform::DaemonServices& services, ScheduleOnMain scheduleOnMain);

  /// Whether this system has such a service at all. Without one nothing else may be called.
  explicit operator bool() const { return daemon_ != nullptr; }

  platform::DaemonStatus status() const { return daemon_->status(); }

  /// Registers. The system reports errors for a daemon that is registered already, and for one that
  /// it has registered and that now waits for the user's approval: an error counts only when the
  /// daemon is not registered then.
  DaemonStep registerStep() const;

  /// The reverse; an error counts only while the daemon is known to the system: that of a daemon
  /// that was not registered is none.
  DaemonStep unregisterStep() const;

 private:
  std::shared_ptr<platform::DaemonService> daemon_;
  ScheduleOnMain scheduleOnMain_;
};

}  // namespace halvercine::helper
