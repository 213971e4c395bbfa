// Launch daemons that the system's service management starts for an application (SMAppService).
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/SystemError.h"

namespace halvercine::platform {

/// The numbers are the system's own; it may know more of them.
enum class DaemonStatus : int {
  notRegistered = 0,
  enabled = 1,
  requiresApproval = 2,
  notFound = 3
};

/// The error of a step that has failed, or nothing.
using DaemonStepEnd = std::function<void(std::optional<SystemError>)>;

/// One daemon of the application's bundle.
class DaemonService {
 public:
  virtual ~DaemonService() = default;

  /// Main actor.
  virtual DaemonStatus status() = 0;

  /// Asks for the daemon to be started on demand from now on. An error does not say that nothing
  /// has happened: look at the status. `ended` is called once, on any thread; a system that does
  /// not answer never calls it. Main actor.
  virtual void registerDaemon(DaemonStepEnd ended) = 0;

  /// The reverse; a running daemon is ended. `ended` as above. Main actor.
  virtual void unregisterDaemon(DaemonStepEnd ended) = 0;
};

class DaemonServices {
 public:
  virtual ~DaemonServices() = default;

  /// The daemon of a property list in the bundle; null on a system without such a service. It may
  /// outlive this object. Main actor.
  virtual std::unique_ptr<DaemonService> daemon(const std::string& propertyListName) = 0;
};

}  // namespace halvercine::platform
