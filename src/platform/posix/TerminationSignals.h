// SIGINT and SIGTERM as events.
#pragma once

#include <chrono>
#include <functional>

#include "base/MainActor.h"
#include "platform/posix/SignalEvents.h"

namespace halvercine::platform::posix {

/// While it lives, an interrupt or a request to end calls `asked` on the main actor, each time,
/// instead of ending the process.
class TerminationSignals {
 public:
  /// What comes sooner after the first interrupt belongs to it: a terminal that goes, or a session
  /// that ends, sends several signals, and a key may bounce.
  static constexpr std::chrono::seconds untilSecond{1};

  /// Whether the end of the terminal, SIGHUP, is taken too; never where the program was started
  /// to ignore it.
  enum class Hangup { left, taken };

  /// Whether SIGQUIT, which otherwise ends the process with a core file, is taken too.
  enum class Quit { left, taken };

  TerminationSignals(base::MainActor& actor, std::function<void(int signal)> asked,
                     Hangup hangup = Hangup::left, Quit quit = Quit::left);

 private:
  SignalEvents signals_;
};

}  // namespace halvercine::platform::posix
