#include "app/Terminal.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

namespace halvercine::app {
namespace {

std::string_view environment(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

std::string_view sequence(Tint tint) {
  switch (tint) {
    case Tint::none:
      return "";
    case Tint::good:
      return "\x1b[32m";
    case Tint::warning:
      return "\x1b[33m";
    case Tint::quiet:
      return "\x1b[2m";
    case Tint::heading:
      return "\x1b[1m";
  }
  return "";
}

}  // namespace

Terminal Terminal::forOutput(bool noColor) {
  return Terminal(!noColor && environment("NO_COLOR").empty() && environment("TERM") != "dumb" &&
                  ::isatty(STDOUT_FILENO) == 1);
}

std::string Terminal::tinted(std::string_view text, Tint tint) const {
  if (!colours_ || tint == Tint::none) return std::string(text);
  return std::string(sequence(tint)).append(text).append("\x1b[0m");
}

Written writeOutput(std::string_view text) {
  if (std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0) {
    return Written::all;
  }
  return errno == EPIPE ? Written::nobodyListens : Written::failed;
}

void writeDiagnostic(std::string_view line) {
  std::fwrite(line.data(), 1, line.size(), stderr);
  std::fputc('\n', stderr);
}

}  // namespace halvercine::app
