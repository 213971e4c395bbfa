// How the program ends.
#pragma once

namespace halvercine::app {

/// The closed list of exit statuses; docs/cli.md says the same.
enum class ExitStatus {
  done = 0,
  failed = 1,  ///< the operation failed, was refused, or found faults
  usage = 2,   ///< the command line was wrong
  noSuchDisk = 3,
  busy = 4,
  notPermitted = 5,
  hungUp = 129,  ///< the terminal has gone
  interrupted = 130,
};

}  // namespace halvercine::app
