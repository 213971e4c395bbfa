// Power assertions of I/O Kit.
#pragma once

#include "platform/SleepAssertion.h"

namespace halvercine::platform::macos {

/// The system releases the assertions of a process that has ended.
class MacSleepAssertions : public SleepAssertions {
 public:
  std::unique_ptr<SleepAssertion> take(const std::string& type, const std::string& name) override;
};

}  // namespace halvercine::platform::macos
