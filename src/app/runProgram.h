// The program from its arguments to its exit status.
#pragma once

namespace halvercine::app {

/// Reads the command line, makes the machine, runs the command and prints its answer. Answers the
/// exit status.
int runProgram(int argc, const char* const* argv);

}  // namespace halvercine::app
