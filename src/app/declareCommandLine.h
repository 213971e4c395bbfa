// Which commands, arguments and options there are.
#pragma once

#include <string>

#include "app/Options.h"

namespace CLI {  // NOLINT(readability-identifier-naming)
class App;
}

namespace halvercine::app {

/// What the parser reads goes into the three, which outlive it. `scenario` and `language` are as
/// they were typed.
void declareCommandLine(CLI::App& program, Options& options, std::string& scenario,
                        std::string& language);

}  // namespace halvercine::app
