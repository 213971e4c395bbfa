#include "app/CheckAttendance.h"

#include <csignal>
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
      signals_(
          machine.actor(), [this](int signal) { signal == SIGHUP ? hangUp() : interrupt(); },
          platform::posix::TerminationSignals::Hangup::taken) {
  if (context.options.json || ::isatty(STDERR_FILENO) != 1) return;
  if (session.path() != check::CheckSession::Path::module) return;
  keys_ = platform::posix::TerminalKeys::listen(machine.actor(), [this](char key) { press(key); });
  if (keys_) display_.say(context.text("ui.check.keys"));
}

CheckAttendance::End CheckAttendance::follow() {
  display_.update();
  machine_.actor().runUntil([this] { return !session_.isRunning() || leaves_; });
  display_.end();
  keys_.reset();
  if (!leaves_) return End::over;
  store_.abandon();
  machine_.actor().runUntil([this] { return store_.isIdle(); });
  return isHungUp_ ? End::hungUp : End::left;
}

void CheckAttendance::update() {
  display_.update();
  if (session_.path() == check::CheckSession::Path::direct) keys_.reset();
  if (display_.nobodyListens() && !std::exchange(isAbandoned_, true)) session_.cancel();
}

void CheckAttendance::press(char key) {
  if (key == 'p' || key == 'P') session_.pause();
  if (key == 'r' || key == 'R') session_.resume();
}

/// The first one cancels, the second one leaves.
void CheckAttendance::interrupt() {
  const auto now = context_.platform.clock->uptime();
  if (interruptedAt_) {
    leaves_ = leaves_ || now - *interruptedAt_ >= signals_.untilSecond;
    return;
  }
  interruptedAt_ = now;
  const bool isBeingStopped = session_.cancel() || session_.outcome();
  display_.say(context_.text(isBeingStopped ? "ui.check.cancelling" : "ui.check.nocancel"));
}

/// There is nobody to wait for the safe stop, nor to ask for it a second time.
void CheckAttendance::hangUp() {
  isHungUp_ = true;
  leaves_ = true;
}

}  // namespace halvercine::app
