// Idle inhibitors of logind.
#pragma once

#include "platform/SleepAssertion.h"

namespace halvercine::platform::gnulinux {

/// Held by a child, systemd-inhibit, for as long as it can read from this process: logind drops the
/// inhibitor when either dies. All types count as "idle".
class LinuxSleepAssertions : public SleepAssertions {
 public:
  std::unique_ptr<SleepAssertion> take(const std::string& type, const std::string& name) override;
};

}  // namespace halvercine::platform::gnulinux
