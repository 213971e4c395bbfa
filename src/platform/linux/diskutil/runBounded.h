// Work that may hang on a broken device, done in a process of its own and waited for with a bound.
//
// The program itself has one thread and holds the signals that end it back (see `SignalHold`), so
// that what it began has a defined end.
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace halvercine::platform::gnulinux {

/// Keeps SIGTERM, SIGINT and SIGHUP pending while it lives; one that came then ends the program.
class SignalHold {
 public:
  SignalHold();
  ~SignalHold();
  SignalHold(const SignalHold&) = delete;
  SignalHold& operator=(const SignalHold&) = delete;

  /// Whether one of them is waiting.
  static bool isPending();
};

using Milliseconds = std::chrono::milliseconds;

/// A point in time that several steps share.
class Deadline {
 public:
  explicit Deadline(Milliseconds limit) : end_(std::chrono::steady_clock::now() + limit) {}

  /// Never negative.
  Milliseconds left() const;

 private:
  std::chrono::steady_clock::time_point end_;
};

/// Runs `work` in a child without standard streams and returns its result, 0 or an errno value
/// below 256. ETIMEDOUT when it is not done in time: the child is killed then, and left behind when
/// the kernel does not let it go.
int runApart(const std::function<int()>& work, Milliseconds limit);

struct ToolEnd {
  enum class Kind { exited, ended, notStarted } kind = Kind::notStarted;
  int status = 0;      ///< with `exited` the exit status, with `notStarted` the errno value
  std::string errors;  ///< the beginning of its standard error

  bool succeeded() const { return kind == Kind::exited && status == 0; }
};

/// Runs a program (absolute path first) in a session of its own, with a fixed environment, without
/// standard input and output. At the limit, or when a signal is pending, it is asked to end and
/// then killed: `ended`. What it leaves in the background lives on.
ToolEnd runTool(const std::vector<std::string>& arguments, Milliseconds limit);

}  // namespace halvercine::platform::gnulinux
