// The user before a volume that is being unlocked.
#pragma once

#include <string_view>

#include <boost/signals2/connection.hpp>

#include "app/Machine.h"
#include "app/commands.h"
#include "bitlocker/unlock/BitLockerUnlock.h"
#include "platform/posix/TerminationSignals.h"

namespace halvercine::app {

/// Submits what the form holds, shows the stages on a terminal, and closes the model when the user
/// interrupts: whatever ends the program, the request is withdrawn first. Main actor.
class UnlockAttendance {
 public:
  enum class End { over, interrupted, hungUp };

  UnlockAttendance(const CommandContext& context, Machine& machine,
                   bitlocker::BitLockerUnlock& unlock);

  /// Waits until the form has been filled with what is remembered of the volume, if anything is.
  End fill();

  /// Until the volume is unlocked, or could not be.
  End submit();

 private:
  void update();
  End end() const;

  const CommandContext& context_;
  Machine& machine_;
  bitlocker::BitLockerUnlock& unlock_;
  bool showsStages_;
  std::string_view shownStage_;
  int signal_ = 0;
  boost::signals2::scoped_connection connection_;
  platform::posix::TerminationSignals signals_;
};

}  // namespace halvercine::app
