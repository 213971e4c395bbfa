#include "base/ShellQuoting.h"

namespace halvercine::base {

std::string shellQuote(std::string_view text) {
  std::string quoted = "'";
  for (const char character : text) {
    // Nothing is special between single quotes but their end: leave them for one escaped quote.
    if (character == '\'') {
      quoted += R"('\'')";
    } else {
      quoted += character;
    }
  }
  quoted += '\'';
  return quoted;
}

std::string administratorScript(std::string_view shellCommand) {
  std::string script = "do shell script \"";
  for (const char character : shellCommand) {
    if (character == '\\' || character == '"') script += '\\';
    script += character;
  }
  script += "\" with administrator privileges";
  return script;
}

}  // namespace halvercine::base
