#include "platform/linux/LinuxSleepAssertions.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

#include "base/UniqueFd.h"
#include "platform/posix/spawnChild.h"

namespace halvercine::platform::gnulinux {
namespace {

constexpr const char* inhibitor = "/usr/bin/systemd-inhibit";
// Is there when systemd has started the machine, and logind with it.
constexpr const char* systemdIsRunning = "/run/systemd/system";

class Inhibition : public SleepAssertion {
 public:
  Inhibition(pid_t child, base::UniqueFd lifeline)
      : child_(child), lifeline_(std::move(lifeline)) {}
  ~Inhibition() override {
    ::kill(-child_, SIGKILL);
    while (::waitpid(child_, nullptr, 0) < 0 && errno == EINTR) {
    }
  }

 private:
  pid_t child_;
  base::UniqueFd lifeline_;  // what the child reads from; closed by the kernel when we die
};

}  // namespace

std::unique_ptr<SleepAssertion> LinuxSleepAssertions::take(const std::string&,
                                                           const std::string& name) {
  if (::access(inhibitor, X_OK) != 0 || ::access(systemdIsRunning, F_OK) != 0) return nullptr;
  auto pipe = posix::makePipe();
  const base::UniqueFd nothing(::open("/dev/null", O_WRONLY | O_CLOEXEC));
  if (!pipe || !nothing) return nullptr;
  const auto child = posix::spawnChild(
      inhibitor, "systemd-inhibit",
      {"--what=idle", "--who=Halvercine", "--why=" + name, "--mode=block", "/bin/cat"},
      nothing.get(), nothing.get(), pipe->readEnd.get());
  if (!child) return nullptr;
  return std::make_unique<Inhibition>(*child, std::move(pipe->writeEnd));
}

}  // namespace halvercine::platform::gnulinux
