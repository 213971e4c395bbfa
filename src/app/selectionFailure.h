// Saying that an argument names no disk.
#pragma once

#include "app/Answer.h"
#include "app/DiskSelector.h"
#include "app/commands.h"

namespace halvercine::app {

Answer selectionFailure(const CommandContext& context, const SelectionError& error);

}  // namespace halvercine::app
