#include "platform/posix/SignalEvents.h"

#include <csignal>
#include <utility>

#include <boost/asio/signal_set.hpp>

namespace halvercine::platform::posix {

/// Its waits hold it weakly: one that has ended can be under way when the owner goes.
struct SignalEvents::Listener : std::enable_shared_from_this<Listener> {
  Listener(base::MainActor& actor, std::function<void(int)> action)
      : signals(actor.context()), came(std::move(action)) {}

  void wait() {
    signals.async_wait([weak = weak_from_this()](boost::system::error_code error, int signal) {
      const auto listener = weak.lock();
      if (!listener || error) return;
      listener->wait();
      listener->came(signal);
    });
  }

  boost::asio::signal_set signals;
  std::function<void(int)> came;
};

SignalEvents::SignalEvents(base::MainActor& actor, std::initializer_list<int> signals,
                           std::function<void(int)> came)
    : listener_(std::make_shared<Listener>(actor, std::move(came))) {
  for (const int signal : signals) add(signal);
  listener_->wait();
}

void SignalEvents::add(int signal) {
  listener_->signals.add(signal);
  // Asio's handlers break off calls that wait, such as a write to a terminal that is held. These
  // two are news and ask for nothing to end.
  if (signal != SIGCONT && signal != SIGWINCH) return;
  struct sigaction action {};
  if (::sigaction(signal, nullptr, &action) != 0) return;
  action.sa_flags |= SA_RESTART;
  ::sigaction(signal, &action, nullptr);
}

}  // namespace halvercine::platform::posix
