// Standard input, output and error of the process.
#pragma once

namespace halvercine::platform::posix {

/// Puts something in the place of those that the process was started without: the next files that
/// are opened would get their numbers, and what is meant for the user would be written into them.
/// Reading or writing what was closed still fails. Before anything is opened.
void fillClosedStandardStreams();

}  // namespace halvercine::platform::posix
