// Text that passes through a shell, and through AppleScript to a shell.
#pragma once

#include <string>
#include <string_view>

namespace halvercine::base {

/// One word of a POSIX shell that stands for exactly `text`, whatever is in it but zero bytes,
/// which no command line can carry.
std::string shellQuote(std::string_view text);

/// The AppleScript that has macOS ask for an administrator and then runs `shellCommand` with
/// /bin/sh, which gets it unchanged. A prompt that is not empty is shown in place of the system's.
std::string administratorScript(std::string_view shellCommand, std::string_view prompt = {});

}  // namespace halvercine::base
