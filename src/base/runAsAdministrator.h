// Awaiting a command of the administrator.
#pragma once

#include <string>

#include "base/Task.h"
#include "platform/AdministratorShell.h"

namespace halvercine::base {

/// Runs `command` and yields how it ended. Cancelling takes the command back. Main actor.
Task<platform::AdministratorResult> runAsAdministrator(platform::AdministratorShell& shell,
                                                       std::string command,
                                                       std::string prompt = {});

/// Whether the user has refused to authenticate, so that nothing has been run.
bool isRefused(const platform::AdministratorResult& result);

}  // namespace halvercine::base
