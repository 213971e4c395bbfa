// The runner of real children, held to what every runner must do.
#include "platform/ToolRunnerContract.h"
#include "platform/posix/AsioClock.h"
#include "platform/posix/PosixToolRunner.h"

namespace halvercine::tests {
namespace {

class PosixMachineUnderTest {
 public:
  PosixMachineUnderTest() {
    platform_.clock = std::make_unique<platform::posix::AsioClock>(actor_);
    platform_.toolRunner = std::make_unique<platform::posix::PosixToolRunner>(actor_);
  }

  base::MainActor& actor() { return actor_; }
  platform::Platform& platform() { return platform_; }
  platform::ToolInvocation printingTool() { return shell("echo something"); }
  platform::ToolInvocation failingTool() { return shell("exit 1"); }
  platform::ToolInvocation endlessTool() { return shell("while :; do sleep 60; done"); }

  /// Real children have no idle moment; what has been reported by now counts.
  void settle() { actor_.context().poll(); }

 private:
  static platform::ToolInvocation shell(const std::string& script) {
    platform::ToolInvocation invocation;
    invocation.executable = "/bin/sh";
    invocation.arguments = {"-c", script};
    return invocation;
  }

  base::MainActor actor_;
  platform::Platform platform_;
};

INSTANTIATE_TYPED_TEST_SUITE_P(Posix, ToolRunnerContract, PosixMachineUnderTest);

}  // namespace
}  // namespace halvercine::tests
