// One line below everything else that is drawn anew.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "app/Terminal.h"

namespace halvercine::app {

/// On standard error, when that is a terminal; nothing else.
class ProgressLine {
 public:
  explicit ProgressLine(bool noColor) : terminal_(Terminal::forErrors(noColor)) {}

  bool isShown() const { return terminal_.redraws(); }

  /// The columns of the terminal, or 0 if a line may be of any length.
  std::size_t columns() const { return terminal_.columns(); }

  void draw(std::string text);

  /// Takes the line away, until something is drawn again.
  void clear();

 private:
  Terminal terminal_;
  std::string drawn_;
};

/// The done part, 0 to 1, as a bar.
std::string progressBar(double part);

/// "  7 %", in whole percent that have been reached.
std::string percentText(double part);

/// The first of the pieces that fit side by side into so many columns (0 for any), at least one.
std::string fittingLine(const std::vector<std::string>& pieces, std::size_t columns);

}  // namespace halvercine::app
