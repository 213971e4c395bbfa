// The main thread for the system's callbacks, another one for the program.
#pragma once

#include <functional>

namespace halvercine::platform::macos {

/// Runs `program` on a thread of its own with the stack of a main thread, and meanwhile the main
/// run loop, on which disk arbitration and the main dispatch queue deliver. Answers what `program`
/// does, once it has come back. Called on the main thread, once.
int runBesideMainLoop(std::function<int()> program);

}  // namespace halvercine::platform::macos
