// A shell script with the rights of the administrator, after the system's own prompt.
#pragma once

#include <string>
#include <variant>

#include "base/Task.h"
#include "platform/AdministratorShell.h"

namespace halvercine::helper {

struct AdminShellDone {};
/// The user has refused to authenticate; nothing was run.
struct AdminShellCancelled {};
struct AdminShellFailed {
  std::string reason;  ///< in the system's words
};
using AdminShellOutcome = std::variant<AdminShellDone, AdminShellCancelled, AdminShellFailed>;

/// Runs `script` with /bin/sh. `prompt` says to the user what for; the system's own words when it
/// is empty. How long it takes is for the user; cancelling takes the script back as far as the
/// system allows. Main actor.
base::Task<AdminShellOutcome> runAdminShell(platform::AdministratorShell& shell, std::string script,
                                            std::string prompt);

}  // namespace halvercine::helper
