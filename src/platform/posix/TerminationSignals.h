// SIGINT and SIGTERM as events.
#pragma once

#include <functional>

#include <boost/asio/signal_set.hpp>

#include "base/MainActor.h"

namespace halvercine::platform::posix {

/// While it lives, an interrupt or a request to end calls `asked` on the main actor, each time,
/// instead of ending the process.
class TerminationSignals {
 public:
  TerminationSignals(base::MainActor& actor, std::function<void(int signal)> asked);

 private:
  void wait();

  boost::asio::signal_set signals_;
  std::function<void(int)> asked_;
};

}  // namespace halvercine::platform::posix
