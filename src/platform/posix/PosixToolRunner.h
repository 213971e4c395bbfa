// Child processes by posix_spawn, on the main actor.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "base/MainActor.h"
#include "platform/ToolRunner.h"

namespace halvercine::platform::posix {

class RunningChildren;

/// Starts real children. Their events come on the main actor, output in pieces of at most 64 KiB,
/// so that a child that never stops talking does not keep the actor from its other work. The
/// children's objects may outlive the runner, but not the actor; they are destroyed on the actor.
///
/// A child whose end cannot be waited for (a kernel that does not let go of it even after SIGKILL)
/// stops nobody: it is reaped when it ends, or by the system after the program.
class PosixToolRunner : public ToolRunner {
 public:
  /// `programs` says which file is really run for an executable that the features name
  /// ("/usr/sbin/lsof" lives elsewhere on other systems); whatever it does not name is run as it
  /// stands.
  explicit PosixToolRunner(base::MainActor& actor,
                           std::map<std::string, std::string> programs = {});
  ~PosixToolRunner() override;

  std::expected<std::unique_ptr<ToolProcess>, std::string> start(const ToolInvocation& invocation,
                                                                 ToolEvents events) override;

 private:
  base::MainActor& actor_;
  std::map<std::string, std::string> programs_;
  std::shared_ptr<RunningChildren> children_;
};

}  // namespace halvercine::platform::posix
