// Commands that take a while.
#pragma once

#include "app/Answer.h"
#include "app/Machine.h"
#include "app/commands.h"
#include "base/Task.h"

namespace halvercine::app {

/// What the first SIGINT or SIGTERM does to a command.
enum class Interruption {
  cancels,  ///< it ends at once, children included
  waits,    ///< what it began is finished first, in bounded time; the second one cancels it
};

/// Runs a command to its answer. One that was cancelled has failed as "interrupted".
Answer runToAnswer(const CommandContext& context, Machine& machine, Interruption interruption,
                   base::Task<Answer> command);

}  // namespace halvercine::app
