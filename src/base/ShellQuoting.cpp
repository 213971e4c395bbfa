#include "base/ShellQuoting.h"

namespace halvercine::base {
namespace {

std::string appleScriptQuote(std::string_view text) {
  std::string quoted = "\"";
  for (const char character : text) {
    if (character == '\\' || character == '"') quoted += '\\';
    quoted += character;
  }
  quoted += '"';
  return quoted;
}

}  // namespace

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

std::string administratorScript(std::string_view shellCommand, std::string_view prompt) {
  auto script =
      "do shell script " + appleScriptQuote(shellCommand) + " with administrator privileges";
  if (!prompt.empty()) script += " with prompt " + appleScriptQuote(prompt);
  return script;
}

}  // namespace halvercine::base
