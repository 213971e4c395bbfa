#include "base/runAsAdministrator.h"

#include <functional>
#include <memory>

#include "base/Completion.h"

namespace halvercine::base {

Task<platform::AdministratorResult> runAsAdministrator(platform::AdministratorShell& shell,
                                                       std::string command) {
  std::unique_ptr<platform::AdministratorRun> run;  // goes with this frame when it is cancelled
  const auto start = [&](const Completion<platform::AdministratorResult>& completion) {
    run = shell.run(command, completion);
    return std::function<void()>();
  };
  co_return co_await waitFor<platform::AdministratorResult>(start);
}

}  // namespace halvercine::base
