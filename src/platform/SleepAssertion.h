// Keeping the machine awake.
#pragma once

#include <memory>
#include <string>

namespace halvercine::platform {

/// The machine does not go to sleep by itself while this lives; not a moment longer, however the
/// process ends.
class SleepAssertion {
 public:
  virtual ~SleepAssertion() = default;
};

class SleepAssertions {
 public:
  virtual ~SleepAssertions() = default;

  /// Takes a power assertion of `type`, such as "PreventUserIdleSystemSleep", at level on (255).
  /// The system shows `name` as its reason. Null when the system has none to give: the work goes on
  /// without it. Main actor, where the assertion is destroyed as well.
  virtual std::unique_ptr<SleepAssertion> take(const std::string& type,
                                               const std::string& name) = 0;
};

}  // namespace halvercine::platform
