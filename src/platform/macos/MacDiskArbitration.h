// Disk arbitration by the system's framework.
#pragma once

#include "platform/DiskArbitration.h"

namespace halvercine::platform::macos {

/// Callbacks come on the process's main thread, and only while its run loop runs in the default
/// mode. Sessions may be made and destroyed on any other thread as well.
class MacDiskArbitration : public DiskArbitration {
 public:
  std::unique_ptr<DiskArbitrationSession> createSession() override;
};

}  // namespace halvercine::platform::macos
