// Running a tool until it ends by itself, with all that it says.
#pragma once

#include <chrono>
#include <functional>
#include <memory>

#include "base/MainActor.h"
#include "platform/AdministratorShell.h"
#include "platform/Clock.h"
#include "platform/ToolRunner.h"

namespace halvercine::platform::posix {

/// How long output is waited for after the tool's end. Only what the tool has left behind can keep
/// a pipe open that long.
inline constexpr std::chrono::seconds outputGrace{2};

/// Starts a tool, standard error apart, and tells how it ended, as `AdministratorShell::run` does.
/// Destroying the run kills the tool with its process group. All three outlive the run. Main actor.
std::unique_ptr<AdministratorRun> runToEnd(base::MainActor& actor, Clock& clock, ToolRunner& runner,
                                           ToolInvocation invocation,
                                           std::function<void(AdministratorResult)> ended);

}  // namespace halvercine::platform::posix
