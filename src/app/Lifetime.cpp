#include "app/Lifetime.h"

#include <chrono>
#include <csignal>

#include "app/Terminal.h"

namespace halvercine::app {

Lifetime::Lifetime(const CommandContext& context, Machine& machine)
    : machine_(machine),
      clock_(*context.platform.clock),
      signals_(
          machine.actor(), [this](int signal) { interrupted(signal); },
          platform::posix::TerminationSignals::Hangup::taken,
          platform::posix::TerminationSignals::Quit::taken),
      abandonment_(clock_) {
  if (context.options.seconds) {
    const auto limit = std::chrono::duration<double>(*context.options.seconds);
    limit_ = clock_.callAt(clock_.uptime() + std::chrono::duration_cast<platform::Uptime>(limit),
                           [this] { end(ExitStatus::done); });
  }
  // Without events nothing is written that would show it.
  abandonment_.start(std::chrono::seconds(1), [this] {
    if (outputIsAbandoned()) end(ExitStatus::done);
  });
}

Lifetime::~Lifetime() {
  if (limit_) clock_.cancel(*limit_);
}

ExitStatus Lifetime::run() {
  machine_.actor().runUntil([this] { return ended_.has_value(); });
  return ended_.value_or(ExitStatus::done);
}

void Lifetime::interrupted(int signal) {
  const auto now = clock_.uptime();
  if (!interruptedAt_) {
    interruptedAt_ = now;
    end(signal == SIGHUP ? ExitStatus::hungUp : ExitStatus::interrupted);
  } else if (signal != SIGHUP && now - *interruptedAt_ >= signals_.untilSecond) {
    isInterruptedAgain_ = true;
  }
}

void Lifetime::end(ExitStatus status) {
  if (!ended_) ended_ = status;
  machine_.actor().post([] {});
}

void Lifetime::print(const std::string& text) {
  const auto written = writeOutput(text);
  if (written == Written::nobodyListens) end(ExitStatus::done);
  if (written == Written::failed) end(ExitStatus::failed);
}

}  // namespace halvercine::app
