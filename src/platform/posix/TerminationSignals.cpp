#include "platform/posix/TerminationSignals.h"

#include <csignal>
#include <utility>

namespace halvercine::platform::posix {

namespace {

bool isIgnored(int signal) {
  struct sigaction action {};
  return ::sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

}  // namespace

TerminationSignals::TerminationSignals(base::MainActor& actor, std::function<void(int)> asked,
                                       Hangup hangup, Quit quit)
    : signals_(actor, {SIGINT, SIGTERM}, std::move(asked)) {
  if (hangup == Hangup::taken && !isIgnored(SIGHUP)) signals_.add(SIGHUP);
  if (quit == Quit::taken && !isIgnored(SIGQUIT)) signals_.add(SIGQUIT);
}

}  // namespace halvercine::platform::posix
