// Asking for a secret on the terminal.
#pragma once

#include <expected>
#include <functional>
#include <string>
#include <string_view>

#include "base/Secret.h"

namespace halvercine::platform::posix {

/// Whether standard input and standard error are a terminal.
bool canAskForSecret();

/// Shows `prompt` on standard error and takes a line from the terminal behind standard input
/// without echo. Erasing a character, and the whole line, work as usual. `hint` tells what stands
/// behind the prompt for the text so far; where lines cannot be redrawn, it is not asked.
///
/// The error is the signal that ended it (SIGINT, SIGTERM, SIGHUP or SIGQUIT; SIGHUP also for a
/// terminal that has gone): the terminal is as it was before, and the caller ends the program. It
/// is also while the process is suspended. Blocks; one at a time, on the main actor's thread.
std::expected<base::Secret, int> askForSecret(
    const std::string& prompt, bool canRedraw,
    const std::function<std::string(std::string_view)>& hint);

/// The first line of standard input, without its end; of at most 64 KiB. Blocks.
base::Secret readSecretLine();

/// From now on the memory of this process goes into no core file, and other processes of the user
/// cannot look into it.
void keepOutOfCoreFiles();

}  // namespace halvercine::platform::posix
