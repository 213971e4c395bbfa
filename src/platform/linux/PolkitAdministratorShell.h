// The administrator's shell of Linux: polkit's, or none where it is not needed.
#pragma once

#include "base/MainActor.h"
#include "platform/AdministratorShell.h"
#include "platform/Clock.h"
#include "platform/ToolRunner.h"

namespace halvercine::platform::gnulinux {

/// Runs commands directly when the program is root already, otherwise through pkexec, which asks
/// the user by the agent of the desktop. A dialog that the user has dismissed is reported in the
/// words of macOS. A session without an agent (a bare terminal) is refused with pkexec's reason;
/// there, sudo has to start the program. The prompt is the agent's own. All three outlive the
/// runs.
class PolkitAdministratorShell : public AdministratorShell {
 public:
  PolkitAdministratorShell(base::MainActor& actor, Clock& clock, ToolRunner& runner, bool isRoot)
      : actor_(actor), clock_(clock), runner_(runner), isRoot_(isRoot) {}

  std::unique_ptr<AdministratorRun> run(const std::string& command, const std::string& prompt,
                                        std::function<void(AdministratorResult)> ended) override;

 private:
  base::MainActor& actor_;
  Clock& clock_;
  ToolRunner& runner_;
  bool isRoot_;
};

}  // namespace halvercine::platform::gnulinux
