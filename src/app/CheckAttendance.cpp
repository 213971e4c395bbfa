#include "app/CheckAttendance.h"

#include <unistd.h>
#include <utility>

namespace halvercine::app {

CheckAttendance::CheckAttendance(const CommandContext& context, Machine& machine,
                                 check::CheckSessionStore& store, check::CheckSession& session)
    : context_(context),
      machine_(machine),
      store_(store),
      session_(session),
      display_(context, session),
      connection_(session.changed.connect([this] { update(); })),
      signals_(machine.actor(), [this](int) { interrupt(); }) {
  if (context.options.json || ::isatty(STDERR_FILENO) != 1) return;
  keys_ = platform::posix::TerminalKeys::listen(machine.actor(), [this](char key) { press(key); });
  if (keys_ && session.path() == check::CheckSession::Path::module) {
    display_.say(context.text("ui.check.keys"));
  }
}

CheckAttendance::End CheckAttendance::follow() {
  display_.update();
  machine_.actor().runUntil([this] { return !session_.isRunning() || leaves_; });
  display_.end();
  keys_.reset();
  if (!leaves_) return End::over;
  store_.abandon();
  machine_.actor().runUntil([this] { return store_.isIdle(); });
  return End::left;
}

void CheckAttendance::update() {
  display_.update();
  if (display_.nobodyListens() && !std::exchange(isAbandoned_, true)) session_.cancel();
}

void CheckAttendance::press(char key) {
  if (key == 'p' || key == 'P') session_.pause();
  if (key == 'r' || key == 'R') session_.resume();
}

/// The first one cancels, the second one leaves.
void CheckAttendance::interrupt() {
  if (std::exchange(isInterrupted_, true)) {
    leaves_ = true;
    return;
  }
  const bool isBeingStopped = session_.cancel() || session_.outcome();
  display_.say(context_.text(isBeingStopped ? "ui.check.cancelling" : "ui.check.nocancel"));
}

}  // namespace halvercine::app
