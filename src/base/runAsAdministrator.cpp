#include "base/runAsAdministrator.h"

#include <functional>
#include <memory>

#include "base/Completion.h"
#include "base/Text.h"

namespace halvercine::base {

Task<platform::AdministratorResult> runAsAdministrator(platform::AdministratorShell& shell,
                                                       std::string command, std::string prompt) {
  std::unique_ptr<platform::AdministratorRun> run;  // goes with this frame when it is cancelled
  const auto start = [&](const Completion<platform::AdministratorResult>& completion) {
    run = shell.run(command, prompt, completion);
    return std::function<void()>();
  };
  co_return co_await waitFor<platform::AdministratorResult>(start);
}

bool isRefused(const platform::AdministratorResult& result) {
  if (result.exitCode == 0) return false;
  // The system says it in the user's language and spelling; only the number stays the same.
  return result.errors.find("User canceled") != std::string::npos ||
         trimmed(result.errors).ends_with("(-128)");
}

}  // namespace halvercine::base
