#include "app/Terminal.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

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

std::size_t columnsOf(int stream) {
  constexpr std::size_t usual = 100;
  winsize size{};
  const bool known = ::ioctl(stream, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return known ? size.ws_col : usual;
}

Terminal terminalOf(int stream, bool noColor) {
  if (::isatty(stream) != 1) return Terminal(false);
  const auto kind = environment("TERM");
  const bool obeys = !kind.empty() && kind != "dumb";
  return Terminal(obeys && !noColor && environment("NO_COLOR").empty(), obeys, columnsOf(stream));
}

}  // namespace

Terminal Terminal::forOutput(bool noColor) { return terminalOf(STDOUT_FILENO, noColor); }

Terminal Terminal::forErrors(bool noColor) { return terminalOf(STDERR_FILENO, noColor); }

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

bool outputIsAbandoned() {
  struct stat status {};
  if (::fstat(STDOUT_FILENO, &status) != 0) return false;
  if (!S_ISFIFO(status.st_mode) && !S_ISSOCK(status.st_mode)) return false;
  // macOS watches only what is asked for. Systems differ in which of the two they say.
  pollfd output{STDOUT_FILENO, POLLOUT, 0};
  return ::poll(&output, 1, 0) == 1 && (output.revents & (POLLERR | POLLHUP)) != 0;
}

void writeDiagnostic(std::string_view line) {
  std::fwrite(line.data(), 1, line.size(), stderr);
  std::fputc('\n', stderr);
}

}  // namespace halvercine::app
