#include "platform/posix/PosixToolRunner.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <functional>
#include <optional>
#include <string_view>
#include <sys/wait.h>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include <boost/asio/buffer.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/asio/signal_set.hpp>

#include "platform/posix/spawnChild.h"

namespace halvercine::platform::posix {
namespace {

namespace asio = boost::asio;

constexpr std::size_t readSize = 64 * 1024;  // what a Linux pipe holds

std::string describe(int error) { return std::generic_category().message(error); }

/// How a child ended, if it has. It stays a zombie, so that its number, which is also that of its
/// group, belongs to nobody else until the last signal has been sent.
std::optional<ToolExit> endOf(pid_t child) {
  siginfo_t info{};
  int result = 0;
  do {
    result = ::waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOHANG | WNOWAIT);
  } while (result != 0 && errno == EINTR);
  if (result != 0) return ToolExit{-1, false};  // somebody else has reaped it
  if (info.si_pid == 0) return std::nullopt;
  // macOS has all 32 bits of it.
  if (info.si_code == CLD_EXITED) return ToolExit{info.si_status & 0xFF, false};
  if (info.si_code == CLD_KILLED || info.si_code == CLD_DUMPED) {
    return ToolExit{info.si_status, true};
  }
  return std::nullopt;
}

/// Whether nothing is left to reap.
bool reap(pid_t child) {
  pid_t result = 0;
  do {
    result = ::waitpid(child, nullptr, WNOHANG);
  } while (result < 0 && errno == EINTR);
  return result != 0;
}

/// One pipe from a child, read on the main actor.
class OutputPipe {
 public:
  OutputPipe(asio::io_context& context, base::UniqueFd readEnd)
      : descriptor_(context, readEnd.release()), buffer_(new char[readSize]) {}

  /// Reads once; `then` gets the bytes, or none at the end of the pipe.
  template <class Then>
  void read(Then then) {
    descriptor_.async_read_some(
        asio::buffer(buffer_.get(), readSize),
        [this, then = std::move(then)](boost::system::error_code error, std::size_t size) mutable {
          then(std::string_view(buffer_.get(), error ? 0 : size));
        });
  }

  void close() {
    boost::system::error_code ignored;
    descriptor_.close(ignored);
  }

 private:
  asio::posix::stream_descriptor descriptor_;
  std::unique_ptr<char[]> buffer_;
};

/// A child and its pipes. The reads under way share it with the process object; `close` ends them.
class Child : public std::enable_shared_from_this<Child> {
 public:
  Child(pid_t id, ToolEvents events) : id_(id), events_(std::move(events)) {}

  pid_t id() const { return id_; }

  void addPipe(asio::io_context& context, base::UniqueFd readEnd,
               std::function<void(std::string_view)> ToolEvents::*sink) {
    pipes_.push_back(std::make_unique<OutputPipe>(context, std::move(readEnd)));
    ++openPipes_;
    readOn(*pipes_.back(), sink);
  }

  void lookForEnd() {
    if (closed_ || exitTold_) return;
    const auto end = endOf(id_);
    if (!end) return;
    exitTold_ = true;
    if (events_.exited) events_.exited(*end);
  }

  void signalGroup(int signal) const { ::kill(-id_, signal); }

  void close() {
    closed_ = true;
    for (const auto& pipe : pipes_) pipe->close();
  }

 private:
  void readOn(OutputPipe& pipe, std::function<void(std::string_view)> ToolEvents::*sink) {
    pipe.read([self = shared_from_this(), &pipe, sink](std::string_view bytes) {
      if (self->closed_) return;
      if (bytes.empty()) {
        self->pipeEnded(pipe);
        return;
      }
      if (self->events_.*sink) (self->events_.*sink)(bytes);
      if (!self->closed_) self->readOn(pipe, sink);
    });
  }

  void pipeEnded(OutputPipe& pipe) {
    pipe.close();
    if (--openPipes_ == 0 && events_.outputEnded) events_.outputEnded();
    lookForEnd();  // most children end with their pipes; asking now spares a wait for the signal
  }

  pid_t id_;
  ToolEvents events_;
  std::vector<std::unique_ptr<OutputPipe>> pipes_;
  std::size_t openPipes_ = 0;
  bool exitTold_ = false;
  bool closed_ = false;
};

}  // namespace

/// Everybody who waits for a SIGCHLD: the running children, and those whose objects have gone but
/// which had not ended yet when they were killed.
class RunningChildren {
 public:
  explicit RunningChildren(asio::io_context& context) : signals_(context, SIGCHLD) {
    // Asio's handler interrupts the system calls of every thread; ours need not know of a child.
    struct sigaction action {};
    ::sigaction(SIGCHLD, nullptr, &action);
    action.sa_flags |= SA_RESTART | SA_NOCLDSTOP;
    ::sigaction(SIGCHLD, &action, nullptr);
    // The mask is inherited, and a parent may have left the signal blocked.
    sigset_t childSignal;
    sigemptyset(&childSignal);
    sigaddset(&childSignal, SIGCHLD);
    ::pthread_sigmask(SIG_UNBLOCK, &childSignal, nullptr);
  }

  /// Waits for what was killed, which ends at once unless the kernel holds it.
  ~RunningChildren() {
    constexpr int attempts = 1000;
    for (int attempt = 0; attempt < attempts && !reapOrphans(); ++attempt) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  }

  static void listen(const std::shared_ptr<RunningChildren>& self) {
    self->signals_.async_wait([weak = std::weak_ptr(self)](boost::system::error_code error, int) {
      const auto children = weak.lock();
      if (error || !children) return;
      listen(children);
      children->lookForEnds();
    });
  }

  void add(const std::shared_ptr<Child>& child) { running_.push_back(child); }

  /// Kills what is left of the group and forgets the child.
  void remove(const std::shared_ptr<Child>& child) {
    std::erase(running_, child);
    child->close();
    child->signalGroup(SIGKILL);
    if (!reap(child->id())) orphans_.push_back(child->id());
  }

 private:
  void lookForEnds() {
    reapOrphans();
    const auto running = running_;  // an event may start or destroy others
    for (const auto& child : running) child->lookForEnd();
  }

  bool reapOrphans() {
    std::erase_if(orphans_, reap);
    return orphans_.empty();
  }

  asio::signal_set signals_;
  std::vector<std::shared_ptr<Child>> running_;
  std::vector<pid_t> orphans_;
};

namespace {

class PosixToolProcess : public ToolProcess {
 public:
  PosixToolProcess(std::shared_ptr<RunningChildren> children, std::shared_ptr<Child> child)
      : children_(std::move(children)), child_(std::move(child)) {
    children_->add(child_);
  }
  ~PosixToolProcess() override { children_->remove(child_); }

  void terminate() override { child_->signalGroup(SIGTERM); }
  void kill() override { child_->signalGroup(SIGKILL); }

 private:
  std::shared_ptr<RunningChildren> children_;
  std::shared_ptr<Child> child_;
};

}  // namespace

PosixToolRunner::PosixToolRunner(base::MainActor& actor,
                                 std::map<std::string, std::string> programs)
    : actor_(actor), programs_(std::move(programs)) {}

PosixToolRunner::~PosixToolRunner() = default;

std::expected<std::unique_ptr<ToolProcess>, std::string> PosixToolRunner::start(
    const ToolInvocation& invocation, ToolEvents events) {
  if (!children_) {
    children_ = std::make_shared<RunningChildren>(actor_.context());
    RunningChildren::listen(children_);
  }
  const bool apart = invocation.errors == ToolInvocation::Errors::apart;
  auto output = makePipe();
  if (!output) return std::unexpected(describe(output.error()));
  auto errors = apart ? makePipe() : Pipe{};
  if (!errors) return std::unexpected(describe(errors.error()));

  const auto mapped = programs_.find(invocation.executable);
  const auto id = spawnChild(mapped == programs_.end() ? invocation.executable : mapped->second,
                             invocation.executable, invocation.arguments, output->writeEnd.get(),
                             apart ? errors->writeEnd.get() : output->writeEnd.get());
  if (!id) return std::unexpected(describe(id.error()));

  auto child = std::make_shared<Child>(*id, std::move(events));
  child->addPipe(actor_.context(), std::move(output->readEnd), &ToolEvents::output);
  if (apart) {
    child->addPipe(actor_.context(), std::move(errors->readEnd), &ToolEvents::errorOutput);
  }
  return std::make_unique<PosixToolProcess>(children_, std::move(child));
}

}  // namespace halvercine::platform::posix
