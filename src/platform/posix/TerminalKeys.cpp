#include "platform/posix/TerminalKeys.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <termios.h>
#include <tuple>
#include <unistd.h>
#include <utility>

#include <boost/asio/posix/stream_descriptor.hpp>

#include "base/UniqueFd.h"
#include "platform/posix/SignalEvents.h"

namespace halvercine::platform::posix {
namespace {

// Signals that end or suspend a process whose terminal would be left without echo. What ends it by
// an orderly way (SIGINT, SIGTERM, SIGHUP) destroys the object.
constexpr std::array<int, 5> fatal{SIGQUIT, SIGABRT, SIGSEGV, SIGBUS, SIGFPE};

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

bool isInForeground() { return ::tcgetpgrp(STDIN_FILENO) == ::getpgrp(); }

/// In the background the terminal is another program's, and touching it would suspend this one. For
/// signal handlers too.
void setMode(const termios& mode) {
  if (!isInForeground()) return;
  sigset_t suspension;
  sigset_t before;
  sigemptyset(&suspension);
  sigaddset(&suspension, SIGTTOU);
  ::pthread_sigmask(SIG_BLOCK, &suspension, &before);
  ::tcsetattr(STDIN_FILENO, TCSANOW, &mode);
  ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

/// Does what the signal would have done without us.
void leaveTerminal(int signal) {
  setMode(usualMode);
  handle(signal, SIG_DFL);
  sigset_t blocked;
  sigemptyset(&blocked);
  sigaddset(&blocked, signal);
  ::pthread_sigmask(SIG_UNBLOCK, &blocked, nullptr);
  ::raise(signal);
}

}  // namespace

struct TerminalKeys::Listener : std::enable_shared_from_this<TerminalKeys::Listener> {
  Listener(base::MainActor& actor, std::function<void(char)> action)
      : terminal(actor.context()),
        pressed(std::move(action)),
        continued(actor, {SIGCONT}, [this](int) { takeTerminal(); }) {}

  /// False when the terminal is of a kind that cannot be waited for, as macOS has some.
  bool open() {
    // Opened anew: what waits for it makes it non-blocking, and what is copied from standard input
    // is one with the output, the shell and everybody else who has the terminal. It is non-blocking
    // at once, so that nothing waits for the carrier of a line.
    const char* const name = ::ttyname(STDIN_FILENO);
    if (name == nullptr) return false;
    base::UniqueFd descriptor(::open(name, O_RDONLY | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
    if (!descriptor) return false;  // it may be another user's
    boost::system::error_code error;
    terminal.assign(descriptor.get(), error);
    if (error) return false;
    std::ignore = descriptor.release();
    return true;
  }

  void takeTerminal() {
    handle(SIGTSTP, leaveTerminal, SA_RESTART);
    setMode(keyMode);
    if (!isWaiting) wait();
  }

  /// In the background what comes is for the program in the foreground. It is waited for again
  /// after the return: until then it would be there all the time.
  void wait() {
    isWaiting = isInForeground();
    if (!isWaiting) return;
    terminal.async_wait(boost::asio::posix::stream_descriptor::wait_read,
                        [weak = weak_from_this()](boost::system::error_code error) {
                          const auto listener = weak.lock();
                          if (!listener || error) return;
                          if (!isInForeground()) {
                            listener->isWaiting = false;
                          } else if (listener->readKey()) {
                            listener->wait();
                          }
                        });
  }

  /// False at the terminal's end.
  bool readKey() {
    char key = 0;
    const auto got = ::read(terminal.native_handle(), &key, 1);
    if (got == 1) pressed(key);
    return got == 1 || (got < 0 && (errno == EAGAIN || errno == EINTR));
  }

  boost::asio::posix::stream_descriptor terminal;
  bool isWaiting = false;
  std::function<void(char)> pressed;
  SignalEvents continued;
};

std::unique_ptr<TerminalKeys> TerminalKeys::listen(base::MainActor& actor,
                                                   std::function<void(char)> pressed) {
  if (::tcgetattr(STDIN_FILENO, &usualMode) != 0 || !isInForeground()) return nullptr;
  auto listener = std::make_shared<Listener>(actor, std::move(pressed));
  if (!listener->open()) return nullptr;
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
  setMode(keyMode);
}

TerminalKeys::~TerminalKeys() {
  for (const int signal : fatal) handle(signal, SIG_DFL);
  handle(SIGTSTP, SIG_DFL);
  setMode(usualMode);
}

}  // namespace halvercine::platform::posix
