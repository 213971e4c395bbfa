#include "platform/posix/TerminationSignals.h"

#include <csignal>
#include <utility>

namespace halvercine::platform::posix {

TerminationSignals::TerminationSignals(base::MainActor& actor, std::function<void(int)> asked)
    : signals_(actor.context(), SIGINT, SIGTERM), asked_(std::move(asked)) {
  wait();
}

void TerminationSignals::wait() {
  signals_.async_wait([this](boost::system::error_code error, int signal) {
    if (error) return;  // destroyed: `this` is gone
    wait();
    asked_(signal);
  });
}

}  // namespace halvercine::platform::posix
