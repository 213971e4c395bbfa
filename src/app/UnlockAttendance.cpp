#include "app/UnlockAttendance.h"

#include <csignal>
#include <unistd.h>

#include "app/Terminal.h"

namespace halvercine::app {

using platform::posix::TerminationSignals;

UnlockAttendance::UnlockAttendance(const CommandContext& context, Machine& machine,
                                   bitlocker::BitLockerUnlock& unlock)
    : context_(context),
      machine_(machine),
      unlock_(unlock),
      showsStages_(!context.options.json && ::isatty(STDERR_FILENO) == 1),
      connection_(unlock.changed.connect([this] { update(); })),
      signals_(
          machine.actor(),
          [this](int signal) {
            signal_ = signal;
            unlock_.close();
          },
          TerminationSignals::Hangup::taken, TerminationSignals::Quit::taken) {}

UnlockAttendance::End UnlockAttendance::fill() {
  unlock_.open();
  machine_.actor().runUntil([this] { return !unlock_.state().isFilling || signal_ != 0; });
  return end();
}

UnlockAttendance::End UnlockAttendance::submit() {
  unlock_.submit();
  machine_.actor().runUntil([this] {
    const auto& state = unlock_.state();
    return state.isClosed || !state.busy;
  });
  return end();
}

void UnlockAttendance::update() {
  const auto stage = unlock_.state().stageKey;
  if (!showsStages_ || stage.empty() || stage == shownStage_) return;
  shownStage_ = stage;
  writeDiagnostic(context_.text(stage));
}

UnlockAttendance::End UnlockAttendance::end() const {
  // What was unlocked at the last moment is unlocked.
  if (signal_ == 0 || unlock_.state().isUnlocked) return End::over;
  return signal_ == SIGHUP ? End::hungUp : End::interrupted;
}

}  // namespace halvercine::app
