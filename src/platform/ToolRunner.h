// Child processes: the system's command-line tools.
#pragma once

#include <expected>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace halvercine::platform {

/// What to run. No shell is involved: the arguments reach the tool as they stand. Standard input is
/// the null device; the environment is the program's own with LC_ALL=C, since the tools' texts are
/// read.
struct ToolInvocation {
  std::string executable;              ///< absolute path, such as "/usr/sbin/diskutil"
  std::vector<std::string> arguments;  ///< without the executable
  /// Where standard error goes: into the same pipe as standard output, or into one of its own.
  enum class Errors { withOutput, apart } errors = Errors::withOutput;
};

/// How a child ended.
struct ToolExit {
  int status = 0;         ///< exit status, or the number of the signal
  bool bySignal = false;  ///< ended by a signal that it did not catch
};

/// What a running child reports. Calls come on any thread, one at a time for one child; each of the
/// last two comes exactly once, unless the child's object is destroyed first.
struct ToolEvents {
  std::function<void(std::string_view bytes)> output;
  std::function<void(std::string_view bytes)> errorOutput;  ///< with `Errors::apart` only
  /// Every pipe is at its end: the child and whoever inherited its pipes have closed them.
  std::function<void()> outputEnded;
  std::function<void(ToolExit)> exited;
};

/// One child, started in a process group of its own. Destroying it kills what is left of the group
/// (SIGKILL), closes the pipes, reaps the child, and ends the events: none begins after that.
class ToolProcess {
 public:
  virtual ~ToolProcess() = default;

  /// Asks the whole group to end (SIGTERM). Any thread.
  virtual void terminate() = 0;

  /// Ends the whole group (SIGKILL). Any thread.
  virtual void kill() = 0;
};

class ToolRunner {
 public:
  virtual ~ToolRunner() = default;

  /// Starts a child, or answers the system's description of why it cannot be started. Main actor.
  virtual std::expected<std::unique_ptr<ToolProcess>, std::string> start(
      const ToolInvocation& invocation, ToolEvents events) = 0;
};

}  // namespace halvercine::platform
