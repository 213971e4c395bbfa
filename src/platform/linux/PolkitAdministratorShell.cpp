#include "platform/linux/PolkitAdministratorShell.h"

#include <string_view>
#include <utility>

#include "platform/posix/runToEnd.h"

namespace halvercine::platform::gnulinux {
namespace {

/// The exit status of pkexec for a dialog that was closed, which a command can have as well.
constexpr int dismissedStatus = 126;
constexpr std::string_view dismissedText =
    "Error executing command as another user: Request dismissed";

ToolInvocation shellInvocation(const std::string& command) {
  return {.executable = "/bin/sh", .arguments = {"-c", command}};
}

/// Its own agent would read the password from the terminal, which stops a process that is not in
/// the foreground there: nobody could ever answer.
ToolInvocation pkexecInvocation(const std::string& command) {
  return {.executable = "/usr/bin/pkexec",
          .arguments = {"--disable-internal-agent", "/bin/sh", "-c", command}};
}

AdministratorResult inTheWordsOfMacos(AdministratorResult result) {
  if (result.exitCode == dismissedStatus && result.errors.starts_with(dismissedText)) {
    result.errors += "User canceled. (-128)\n";
  } else if (result.exitCode == -1) {
    result.errors.insert(0, "/usr/bin/pkexec: ");
  }
  return result;
}

}  // namespace

std::unique_ptr<AdministratorRun> PolkitAdministratorShell::run(
    const std::string& command, const std::string& /*prompt*/,
    std::function<void(AdministratorResult)> ended) {
  if (isRoot_) {
    return posix::runToEnd(actor_, clock_, runner_, shellInvocation(command), std::move(ended));
  }
  return posix::runToEnd(actor_, clock_, runner_, pkexecInvocation(command),
                         [ended = std::move(ended)](AdministratorResult result) {
                           ended(inTheWordsOfMacos(std::move(result)));
                         });
}

}  // namespace halvercine::platform::gnulinux
