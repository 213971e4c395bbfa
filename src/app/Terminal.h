// Where the program's answers go.
#pragma once

#include <string>
#include <string_view>

namespace halvercine::app {

/// Colours of the terminal's own palette. They repeat what a word says already.
enum class Tint { none, good, warning, quiet, heading };

/// How text is written to a stream that may be a terminal.
class Terminal {
 public:
  /// For standard output, from the environment: colours on a terminal only, unless `noColor`,
  /// NO_COLOR (not empty) or TERM=dumb says no.
  static Terminal forOutput(bool noColor);

  explicit Terminal(bool colours) : colours_(colours) {}

  /// `text` in a colour, or as it is.
  std::string tinted(std::string_view text, Tint tint) const;

 private:
  bool colours_;
};

/// What became of a text for standard output.
enum class Written {
  all,
  nobodyListens,  ///< the reader has closed the pipe: a reason to end, not a fault
  failed,         ///< such as a full disk
};

/// Writes a whole answer to standard output, at once.
Written writeOutput(std::string_view text);

/// Writes a diagnostic line to standard error.
void writeDiagnostic(std::string_view line);

}  // namespace halvercine::app
