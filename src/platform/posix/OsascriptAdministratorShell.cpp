#include "platform/posix/OsascriptAdministratorShell.h"

#include <algorithm>
#include <utility>

#include "base/ShellQuoting.h"
#include "platform/posix/runToEnd.h"

namespace halvercine::platform::posix {

std::unique_ptr<AdministratorRun> OsascriptAdministratorShell::run(
    const std::string& command, const std::string& prompt,
    std::function<void(AdministratorResult)> ended) {
  return runToEnd(actor_, clock_, runner_,
                  {.executable = "/usr/bin/osascript",
                   .arguments = {"-e", base::administratorScript(command, prompt)}},
                  [ended = std::move(ended)](AdministratorResult result) {
                    std::replace(result.output.begin(), result.output.end(), '\r', '\n');
                    ended(std::move(result));
                  });
}

}  // namespace halvercine::platform::posix
