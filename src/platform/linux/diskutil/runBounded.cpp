#include "platform/linux/diskutil/runBounded.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <optional>
#include <poll.h>
#include <spawn.h>
#include <sys/signalfd.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "base/UniqueFd.h"

namespace halvercine::platform::gnulinux {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t errorLimit = 16 * 1024;
constexpr Milliseconds patience = 2s;  // for a process that was asked to end

sigset_t endingSignals() {
  sigset_t signals;
  ::sigemptyset(&signals);
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) ::sigaddset(&signals, signal);
  return signals;
}

base::UniqueFd processFd(pid_t process) {
  return base::UniqueFd(static_cast<int>(::syscall(SYS_pidfd_open, process, 0)));
}

// Whether the child ended in time; its status then.
std::optional<int> waitFor(pid_t child, Milliseconds limit) {
  const auto process = processFd(child);
  const Deadline deadline(limit);
  pollfd ended{process.get(), POLLIN, 0};
  while (process && ::poll(&ended, 1, static_cast<int>(deadline.left().count())) < 0) {
    if (errno != EINTR) break;
  }
  int status = 0;
  if (::waitpid(child, &status, process ? WNOHANG : 0) != child) return std::nullopt;
  return status;
}

[[noreturn]] void workAndExit(const std::function<int()>& work) {
  ::setsid();  // whoever ends the program's group shall not tear the work apart
  const int nothing = ::open("/dev/null", O_RDWR);
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) ::dup2(nothing, stream);
  const auto signals = endingSignals();
  ::sigprocmask(SIG_UNBLOCK, &signals, nullptr);
  ::_exit(std::clamp(work(), 0, 255));
}

class SpawnAttributes {
 public:
  explicit SpawnAttributes(int errors) {
    ::posix_spawn_file_actions_init(&actions_);
    ::posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    ::posix_spawn_file_actions_addopen(&actions_, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    ::posix_spawn_file_actions_adddup2(&actions_, errors, STDERR_FILENO);
    ::posix_spawnattr_init(&attributes_);
    sigset_t signals = endingSignals();
    ::sigaddset(&signals, SIGPIPE);
    ::posix_spawnattr_setsigdefault(&attributes_, &signals);
    ::sigemptyset(&signals);
    ::posix_spawnattr_setsigmask(&attributes_, &signals);
    ::posix_spawnattr_setflags(&attributes_,
                               POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  }
  ~SpawnAttributes() {
    ::posix_spawn_file_actions_destroy(&actions_);
    ::posix_spawnattr_destroy(&attributes_);
  }
  SpawnAttributes(const SpawnAttributes&) = delete;
  SpawnAttributes& operator=(const SpawnAttributes&) = delete;

  int spawn(pid_t& child, std::vector<std::string> arguments) const {
    std::vector<char*> pointers;
    pointers.reserve(arguments.size() + 1);
    for (auto& argument : arguments) pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    std::array<std::string, 2> variables = {"PATH=/usr/sbin:/usr/bin:/sbin:/bin", "LC_ALL=C"};
    std::array<char*, 3> environment = {variables[0].data(), variables[1].data(), nullptr};
    return ::posix_spawn(&child, pointers[0], &actions_, &attributes_, pointers.data(),
                         environment.data());
  }

 private:
  posix_spawn_file_actions_t actions_{};
  posix_spawnattr_t attributes_{};
};

// Whether the pipe may still bring something.
bool readSome(int pipe, std::string& text) {
  std::array<char, 4096> buffer;
  const ssize_t count = ::read(pipe, buffer.data(), buffer.size());
  if (count < 0) return errno == EINTR;
  const auto room = errorLimit - std::min(errorLimit, text.size());
  text.append(buffer.data(), std::min(room, static_cast<std::size_t>(count)));
  return count > 0;
}

// Reads the tool's errors until it has ended; false when it shall be stopped.
bool followTool(pid_t child, int pipe, std::string& errors, const Deadline& deadline) {
  const auto process = processFd(child);
  const auto signals = endingSignals();
  const base::UniqueFd interruption(::signalfd(-1, &signals, SFD_CLOEXEC));
  std::array<pollfd, 3> events = {
      {{process.get(), POLLIN, 0}, {interruption.get(), POLLIN, 0}, {pipe, POLLIN, 0}}};
  for (;;) {
    const int count =
        ::poll(events.data(), events.size(), static_cast<int>(deadline.left().count()));
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    if (events[2].revents != 0 && !readSome(pipe, errors)) events[2].fd = -1;
    if (events[0].revents != 0) return true;
    if (events[1].revents != 0) return false;
  }
}

// Only the process itself: what it has put into the background serves a mount.
void stopTool(pid_t child) {
  ::kill(child, SIGTERM);
  if (waitFor(child, patience)) return;
  ::kill(child, SIGKILL);
  waitFor(child, patience);
}

}  // namespace

SignalHold::SignalHold() {
  const auto signals = endingSignals();
  ::sigprocmask(SIG_BLOCK, &signals, nullptr);
}

SignalHold::~SignalHold() {
  const auto signals = endingSignals();
  ::sigprocmask(SIG_UNBLOCK, &signals, nullptr);
}

bool SignalHold::isPending() {
  sigset_t pending;
  ::sigpending(&pending);
  return std::ranges::any_of(std::array{SIGTERM, SIGINT, SIGHUP},
                             [&](int signal) { return ::sigismember(&pending, signal) == 1; });
}

Milliseconds Deadline::left() const {
  const auto now = std::chrono::steady_clock::now();
  return now >= end_ ? Milliseconds(0) : std::chrono::ceil<Milliseconds>(end_ - now);
}

int runApart(const std::function<int()>& work, Milliseconds limit) {
  const pid_t child = ::fork();
  if (child < 0) return errno;
  if (child == 0) workAndExit(work);
  const auto status = waitFor(child, limit);
  if (!status) {
    ::kill(child, SIGKILL);
    waitFor(child, patience);
    return ETIMEDOUT;
  }
  return WIFEXITED(*status) ? WEXITSTATUS(*status) : EINTR;
}

ToolEnd runTool(const std::vector<std::string>& arguments, Milliseconds limit) {
  const Deadline deadline(limit);
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) return {ToolEnd::Kind::notStarted, errno, {}};
  const base::UniqueFd reading(ends[0]);
  base::UniqueFd writing(ends[1]);
  ::fcntl(reading.get(), F_SETFL, O_NONBLOCK);
  pid_t child = 0;
  const int error = SpawnAttributes(writing.get()).spawn(child, arguments);
  if (error != 0) return {ToolEnd::Kind::notStarted, error, {}};
  writing = base::UniqueFd();

  ToolEnd end{ToolEnd::Kind::ended, 0, {}};
  if (!followTool(child, reading.get(), end.errors, deadline)) {
    stopTool(child);
    return end;
  }
  while (readSome(reading.get(), end.errors)) {
  }
  const auto status = waitFor(child, patience);
  if (status && WIFEXITED(*status)) {
    end.kind = ToolEnd::Kind::exited;
    end.status = WEXITSTATUS(*status);
  }
  return end;
}

}  // namespace halvercine::platform::gnulinux
