#include "helper/runAdminShell.h"

#include "base/Text.h"
#include "base/runAsAdministrator.h"

namespace halvercine::helper {

base::Task<AdminShellOutcome> runAdminShell(platform::AdministratorShell& shell, std::string script,
                                            std::string prompt) {
  const auto result = co_await base::runAsAdministrator(shell, script, prompt);
  if (result.exitCode == 0) co_return AdminShellDone();
  if (base::isRefused(result)) co_return AdminShellCancelled();
  const std::string errors(base::trimmed(result.errors));
  if (result.exitCode == -1) co_return AdminShellFailed("osascript launch failed: " + errors);
  co_return AdminShellFailed(errors.empty() ? "status " + std::to_string(result.exitCode) : errors);
}

}  // namespace halvercine::helper
