// Where the program's answers go.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace halvercine::app {

/// Colours of the terminal's own palette. They repeat what a word says already.
enum class Tint { none, good, warning, quiet, heading };

/// How text is written to a stream that may be a terminal.
class Terminal {
 public:
  /// For standard output as it is now, from the environment: everything on a terminal only; no
  /// colours if `noColor` or NO_COLOR (not empty) says so, and no control sequences at all if TERM
  /// is "dumb" or missing.
  static Terminal forOutput(bool noColor);

  /// The same for standard error.
  static Terminal forErrors(bool noColor);

  /// `columns` is 0 for lines of any length.
  explicit Terminal(bool colours, bool redraws = false, std::size_t columns = 0)
      : colours_(colours), redraws_(redraws), columns_(columns) {}

  /// `text` in a colour, or as it is.
  std::string tinted(std::string_view text, Tint tint) const;

  /// Whether the cursor can go back to the top to show something anew.
  bool redraws() const { return redraws_; }

  /// The columns that a line has, or 0 if it may be of any length.
  std::size_t columns() const { return columns_; }

 private:
  bool colours_;
  bool redraws_;
  std::size_t columns_;
};

/// What became of a text for standard output.
enum class Written {
  all,
  nobodyListens,  ///< the reader has closed the pipe: a reason to end, not a fault
  failed,         ///< such as a full disk
};

/// Writes a whole answer to standard output, at once.
Written writeOutput(std::string_view text);

/// Whether standard output is a pipe or socket whose reader has gone. It is neither read, written
/// nor changed: others may have it open as well.
bool outputIsAbandoned();

/// Writes a diagnostic line to standard error.
void writeDiagnostic(std::string_view line);

}  // namespace halvercine::app
