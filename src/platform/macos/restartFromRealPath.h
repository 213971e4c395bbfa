// A program that was started by a link to it.
#pragma once

namespace halvercine::platform::macos {

/// The frameworks look for the bundle where the program was started, which for a link is a folder
/// like /usr/local/bin. Starts the program again from where it really is; comes back where that is
/// no other place, or cannot be done. Before anything else.
void restartFromRealPath(char* const* arguments);

}  // namespace halvercine::platform::macos
