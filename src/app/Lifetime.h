// When a command that stays comes to its end.
#pragma once

#include <optional>
#include <string>

#include "app/ExitStatus.h"
#include "app/Machine.h"
#include "app/commands.h"
#include "base/RepeatingTimer.h"
#include "platform/posix/TerminationSignals.h"

namespace halvercine::app {

/// Ends a command when somebody interrupts it, when the time that the user gave it is over, and
/// when nobody reads its output any more. Main actor.
class Lifetime {
 public:
  Lifetime(const CommandContext& context, Machine& machine);
  ~Lifetime();
  Lifetime(const Lifetime&) = delete;
  Lifetime& operator=(const Lifetime&) = delete;

  /// Runs the main actor until the command is to end, and tells how.
  ExitStatus run();

  /// Ends it; the first call counts.
  void end(ExitStatus status);

  /// Writes to standard output; ends the command when that does not work.
  void print(const std::string& text);

  /// Whether somebody, not content with the end that an interrupt has begun, interrupts that too.
  bool isInterruptedAgain() const { return isInterruptedAgain_; }

 private:
  void interrupted(int signal);

  Machine& machine_;
  platform::Clock& clock_;
  std::optional<ExitStatus> ended_;
  std::optional<platform::Uptime> interruptedAt_;
  bool isInterruptedAgain_ = false;
  platform::posix::TerminationSignals signals_;
  base::RepeatingTimer abandonment_;
  std::optional<platform::TimerId> limit_;
};

}  // namespace halvercine::app
