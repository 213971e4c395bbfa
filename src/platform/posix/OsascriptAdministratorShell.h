// The administrator's shell of macOS: its AppleScript runner.
#pragma once

#include "base/MainActor.h"
#include "platform/AdministratorShell.h"
#include "platform/Clock.h"
#include "platform/ToolRunner.h"

namespace halvercine::platform::posix {

/// Has osascript show the system's own prompt and run the command. Its exit status is 1 for a
/// refusal, a wrong password and a failed command alike. AppleScript ends the lines of what a
/// command has printed with CR; they come back with LF, as would any CR of the command's own. All
/// three outlive the runs.
class OsascriptAdministratorShell : public AdministratorShell {
 public:
  OsascriptAdministratorShell(base::MainActor& actor, Clock& clock, ToolRunner& runner)
      : actor_(actor), clock_(clock), runner_(runner) {}

  std::unique_ptr<AdministratorRun> run(const std::string& command, const std::string& prompt,
                                        std::function<void(AdministratorResult)> ended) override;

 private:
  base::MainActor& actor_;
  Clock& clock_;
  ToolRunner& runner_;
};

}  // namespace halvercine::platform::posix
