#include "platform/posix/SecretPrompt.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <sys/resource.h>
#include <sys/select.h>
#include <termios.h>
#include <unistd.h>
#ifdef __linux__
#include <sys/prctl.h>
#endif

namespace halvercine::platform::posix {
namespace {

// Far above any password.
constexpr std::size_t lineLimit = std::size_t{64} * 1024;

constexpr std::array<int, 5> caught{SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGTSTP};

// For the signal handler, which may use nothing else, on whichever thread it runs.
std::atomic<int> lastSignal = 0;  // NOLINT(*-avoid-non-const-global-variables)
static_assert(std::atomic<int>::is_always_lock_free);

void note(int signal) { lastSignal = signal; }

/// The line while it is typed.
class Line {
 public:
  explicit Line(const termios& mode) : mode_(mode) {
    text_.reserve(lineLimit);  // a text that grows leaves copies of itself behind
  }
  ~Line() { base::wipe(text_); }
  Line(const Line&) = delete;
  Line& operator=(const Line&) = delete;

  /// Takes a byte; true when the line is complete.
  bool take(char byte) {
    if (skipsSequence(byte)) return false;
    const auto is = [&](std::size_t function) {
      return static_cast<cc_t>(byte) == mode_.c_cc[function];
    };
    if (byte == '\n' || byte == '\r' || is(VEOF)) return true;
    if (is(VERASE) || byte == '\b' || byte == 0x7F) {
      eraseCharacter();
    } else if (is(VKILL)) {
      while (!text_.empty()) eraseCharacter();
    } else if (static_cast<unsigned char>(byte) >= 0x20 && text_.size() < lineLimit) {
      text_ += byte;
    }
    return false;
  }

  std::string_view text() const { return text_; }
  base::Secret release() { return base::Secret::takenFrom(text_); }

 private:
  /// Arrow keys and the like come as an escape character and some others, which are no text.
  bool skipsSequence(char byte) {
    constexpr char escape = 0x1B;
    if (byte == escape) {
      sequence_ = Sequence::begun;
      return true;
    }
    if (sequence_ == Sequence::begun) {
      sequence_ = byte == '[' || byte == 'O' ? Sequence::inside : Sequence::none;
      return sequence_ == Sequence::inside;
    }
    if (sequence_ == Sequence::none) return false;
    if (byte >= '@' && byte <= '~') sequence_ = Sequence::none;
    return true;
  }

  void eraseCharacter() {
    bool isRest = true;
    while (!text_.empty() && isRest) {
      isRest = (static_cast<unsigned char>(text_.back()) & 0xC0U) == 0x80U;
      text_.back() = '\0';
      text_.pop_back();
    }
  }

  enum class Sequence { none, begun, inside };

  const termios& mode_;
  std::string text_;
  Sequence sequence_ = Sequence::none;
};

/// Waits for input on standard input, as `pselect`, which macOS can do for "/dev/tty", and polling
/// not.
int waitForInput(const timespec* limit, const sigset_t* signals) {
  fd_set input;
  FD_ZERO(&input);
  FD_SET(STDIN_FILENO, &input);
  return ::pselect(STDIN_FILENO + 1, &input, nullptr, nullptr, limit, signals);
}

/// As `read`; waits for input that does not block, too.
ssize_t readByte(char& byte) {
  for (;;) {
    const auto got = ::read(STDIN_FILENO, &byte, 1);
    if (got >= 0 || (errno != EINTR && errno != EAGAIN)) return got;
    if (errno == EAGAIN) waitForInput(nullptr, nullptr);
  }
}

void show(const std::string& text) {
  // What cannot be shown is no reason not to go on.
  [[maybe_unused]] const auto written = ::write(STDERR_FILENO, text.data(), text.size());
}

}  // namespace

/// The terminal without echo, and the signals that would leave it so, while it lives.
class SecretPrompt::QuietTerminal {
 public:
  QuietTerminal() {
    sigemptyset(&blocked_);
    for (const int signal : caught) sigaddset(&blocked_, signal);
    ::tcgetattr(STDIN_FILENO, &usual_);
    enter();
  }
  ~QuietTerminal() { leave(); }
  QuietTerminal(const QuietTerminal&) = delete;
  QuietTerminal& operator=(const QuietTerminal&) = delete;

  const termios& usual() const { return usual_; }

  /// Waits for input. The signal that came instead, or 0. They reach this thread nowhere else; on a
  /// Mac the main thread may get one at any time, which is as good.
  int wait() const {
    constexpr timespec patience{0, 500'000'000};  // for a signal that another thread has got
    for (int ready = 0; lastSignal == 0 && ready == 0;) {
      ready = waitForInput(&patience, &before_);
      if (ready < 0 && errno == EINTR) ready = 0;
    }
    return lastSignal;
  }

  /// Suspends the process, and goes on when it is continued.
  void suspend() {
    leave();
    ::raise(SIGTSTP);
    enter();
  }

 private:
  void enter() {
    lastSignal = 0;
    ::pthread_sigmask(SIG_BLOCK, &blocked_, &before_);
    struct sigaction action {};
    action.sa_handler = note;
    sigemptyset(&action.sa_mask);
    for (std::size_t i = 0; i < caught.size(); ++i) {
      ::sigaction(caught[i], nullptr, &handlers_[i]);
      // What the program was started to ignore stays ignored.
      if (handlers_[i].sa_handler != SIG_IGN) ::sigaction(caught[i], &action, nullptr);
    }
    auto quiet = usual_;
    quiet.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    quiet.c_cc[VMIN] = 1;
    quiet.c_cc[VTIME] = 0;
    ::tcsetattr(STDIN_FILENO, TCSANOW, &quiet);
  }

  void leave() {
    ::tcsetattr(STDIN_FILENO, TCSANOW, &usual_);
    for (std::size_t i = 0; i < caught.size(); ++i) ::sigaction(caught[i], &handlers_[i], nullptr);
    ::pthread_sigmask(SIG_SETMASK, &before_, nullptr);
  }

  termios usual_{};
  sigset_t blocked_{};
  sigset_t before_{};
  std::array<struct sigaction, caught.size()> handlers_{};
};

bool canAskForSecret() { return ::isatty(STDIN_FILENO) == 1; }

SecretPrompt::SecretPrompt() : terminal_(std::make_unique<QuietTerminal>()) {}

SecretPrompt::~SecretPrompt() = default;

std::expected<base::Secret, int> SecretPrompt::ask(
    const std::string& prompt, const std::function<std::string(std::string_view)>& redrawn) {
  Line line(terminal_->usual());
  if (!redrawn) show(prompt);
  for (bool isComplete = false; !isComplete;) {
    if (redrawn) show("\r\x1B[K" + redrawn(line.text()));
    if (const int signal = terminal_->wait(); signal == SIGTSTP) {
      terminal_->suspend();
      if (!redrawn) show(prompt);
      continue;
    } else if (signal != 0) {
      show("\n");
      return std::unexpected(signal);
    }
    char byte = 0;
    if (::read(STDIN_FILENO, &byte, 1) != 1) return std::unexpected(SIGHUP);
    isComplete = line.take(byte);
  }
  show("\n");
  return line.release();
}

std::expected<base::Secret, std::error_code> readSecretLine() {
  std::string line;
  line.reserve(lineLimit + 1);  // with the carriage return that some systems end lines with
  int error = 0;
  for (bool isWhole = false; !isWhole && error == 0;) {
    char byte = 0;
    const auto got = readByte(byte);
    isWhole = got == 0 || byte == '\n';
    if (got < 0) {
      error = errno;
    } else if (!isWhole && line.size() > lineLimit) {
      error = EMSGSIZE;
    } else if (!isWhole) {
      line += byte;
    }
  }
  if (line.ends_with('\r')) line.pop_back();
  if (error == 0 && line.size() > lineLimit) error = EMSGSIZE;
  auto secret = base::Secret::takenFrom(line);
  if (error != 0) return std::unexpected(std::error_code(error, std::generic_category()));
  return secret;
}

void keepOutOfCoreFiles() {
  const rlimit none{0, 0};
  ::setrlimit(RLIMIT_CORE, &none);
#ifdef __linux__
  // The limit does not hold for programs that the kernel hands core files to.
  ::prctl(PR_SET_DUMPABLE, 0, 0, 0, 0);
#endif
}

}  // namespace halvercine::platform::posix
