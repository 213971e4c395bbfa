// The user before a running check.
#pragma once

#include <memory>
#include <optional>

#include <boost/signals2/connection.hpp>

#include "app/CheckDisplay.h"
#include "app/Machine.h"
#include "app/commands.h"
#include "check/CheckSessionStore.h"
#include "platform/Clock.h"
#include "platform/posix/TerminalKeys.h"
#include "platform/posix/TerminationSignals.h"

namespace halvercine::app {

/// Shows the session, takes keys and interrupts, and cancels it when nobody reads its output any
/// more. Main actor.
class CheckAttendance {
 public:
  enum class End {
    over,   ///< the session has ended; or nothing can happen any more
    left,   ///< the user did not want to wait: the store is to be destroyed
    hungUp  ///< the same, by the end of the user's terminal
  };

  CheckAttendance(const CommandContext& context, Machine& machine, check::CheckSessionStore& store,
                  check::CheckSession& session);

  /// Until the end, with nothing of it running any more.
  End follow();

 private:
  void update();
  void press(char key);
  void interrupt();
  void hangUp();

  const CommandContext& context_;
  Machine& machine_;
  check::CheckSessionStore& store_;
  check::CheckSession& session_;
  CheckDisplay display_;
  boost::signals2::scoped_connection connection_;
  platform::posix::TerminationSignals signals_;
  std::unique_ptr<platform::posix::TerminalKeys> keys_;
  std::optional<platform::Uptime> interruptedAt_;
  bool isAbandoned_ = false;
  bool leaves_ = false;
  bool isHungUp_ = false;
};

}  // namespace halvercine::app
