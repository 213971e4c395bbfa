// Commands that take a while.
#pragma once

#include "app/Answer.h"
#include "app/Machine.h"
#include "base/Task.h"

namespace halvercine::app {

/// Runs a command to its answer. SIGINT and SIGTERM cancel it: it ends as the command ends when it
/// is cancelled, children included, and the answer is `interrupted`.
Answer runToAnswer(Machine& machine, base::Task<Answer> command);

}  // namespace halvercine::app
