// Asking before something that cannot be taken back.
#pragma once

#include <string>

namespace halvercine::app {

/// Whether somebody can be asked: standard input and standard error are a terminal.
bool canAsk();

/// Shows `question` on standard error and reads a line. True for "y" and "yes" in any letter case,
/// and for "是"; anything else, nothing and the end of the input are a no.
bool confirm(const std::string& question);

}  // namespace halvercine::app
