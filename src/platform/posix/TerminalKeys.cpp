#include "platform/posix/TerminalKeys.h"

#include <array>
#include <csignal>
#include <termios.h>
#include <unistd.h>
#include <utility>

#include <boost/asio/posix/stream_descriptor.hpp>

namespace halvercine::platform::posix {
namespace {

// Signals that end or suspend a process whose terminal would be left without echo. What ends it by
// an orderly way (SIGINT, SIGTERM) destroys the object.
constexpr std::array<int, 6> fatal{SIGHUP, SIGQUIT, SIGABRT, SIGSEGV, SIGBUS, SIGFPE};

// For the signal handlers, which may use nothing else.
termios usualMode;  // NOLINT(cppcoreguidelines-avoid-non-const-global-variables)
termios keyMode;    // NOLINT(cppcoreguidelines-avoid-non-const-global-variables)

void handle(int signal, void (*handler)(int), int flags = 0) {
  struct sigaction action {};
  action.sa_handler = handler;
  action.sa_flags = flags;
  sigemptyset(&action.sa_mask);
  ::sigaction(signal, &action, nullptr);
}

/// Does what the signal would have done without us.
void leaveTerminal(int signal) {
  ::tcsetattr(STDIN_FILENO, TCSANOW, &usualMode);
  handle(signal, SIG_DFL);
  sigset_t blocked;
  sigemptyset(&blocked);
  sigaddset(&blocked, signal);
  ::pthread_sigmask(SIG_UNBLOCK, &blocked, nullptr);
  ::raise(signal);
}

void returnToTerminal(int) {
  handle(SIGTSTP, leaveTerminal, SA_RESTART);
  if (::tcgetpgrp(STDIN_FILENO) == ::getpgrp()) ::tcsetattr(STDIN_FILENO, TCSANOW, &keyMode);
}

bool isInForeground() { return ::tcgetpgrp(STDIN_FILENO) == ::getpgrp(); }

}  // namespace

struct TerminalKeys::Listener : std::enable_shared_from_this<TerminalKeys::Listener> {
  Listener(base::MainActor& actor, std::function<void(char)> action)
      : terminal(actor.context(), ::dup(STDIN_FILENO)), pressed(std::move(action)) {}

  void wait() {
    // Waiting and then reading leaves the terminal in blocking mode, which it shares with the
    // shell.
    terminal.async_wait(boost::asio::posix::stream_descriptor::wait_read,
                        [weak = weak_from_this()](boost::system::error_code error) {
                          const auto listener = weak.lock();
                          if (listener && !error && listener->readKey()) listener->wait();
                        });
  }

  bool readKey() {
    char key = 0;
    if (::read(terminal.native_handle(), &key, 1) != 1) return false;
    pressed(key);
    return true;
  }

  boost::asio::posix::stream_descriptor terminal;
  std::function<void(char)> pressed;
};

std::unique_ptr<TerminalKeys> TerminalKeys::listen(base::MainActor& actor,
                                                   std::function<void(char)> pressed) {
  if (::tcgetattr(STDIN_FILENO, &usualMode) != 0 || !isInForeground()) return nullptr;
  auto listener = std::make_shared<Listener>(actor, std::move(pressed));
  listener->wait();
  return std::unique_ptr<TerminalKeys>(new TerminalKeys(std::move(listener)));
}

TerminalKeys::TerminalKeys(std::shared_ptr<Listener> listener) : listener_(std::move(listener)) {
  keyMode = usualMode;
  keyMode.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
  keyMode.c_cc[VMIN] = 1;
  keyMode.c_cc[VTIME] = 0;
  for (const int signal : fatal) handle(signal, leaveTerminal);
  handle(SIGTSTP, leaveTerminal, SA_RESTART);
  handle(SIGCONT, returnToTerminal, SA_RESTART);
  ::tcsetattr(STDIN_FILENO, TCSANOW, &keyMode);
}

TerminalKeys::~TerminalKeys() {
  for (const int signal : fatal) handle(signal, SIG_DFL);
  handle(SIGTSTP, SIG_DFL);
  handle(SIGCONT, SIG_DFL);
  ::tcsetattr(STDIN_FILENO, TCSANOW, &usualMode);
}

}  // namespace halvercine::platform::posix
