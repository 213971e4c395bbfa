// Aligned columns of text.
#pragma once

#include <string>
#include <vector>

#include "app/Terminal.h"

namespace halvercine::app {

/// Text of one place in a table. It may hold anything: control characters and direction overrides
/// are made visible, and wide characters count as the two columns that they take.
struct Cell {
  Cell(std::string cellText, Tint cellTint = Tint::none)
      : text(std::move(cellText)), tint(cellTint) {}
  Cell(const char* cellText) : text(cellText) {}

  std::string text;
  Tint tint = Tint::none;
};

class Table {
 public:
  enum class Align { left, right };

  explicit Table(std::vector<Align> columns) : columns_(std::move(columns)) {}

  /// Adds a line of cells, at most as many as there are columns.
  void addRow(std::vector<Cell> cells);

  /// Adds a remark under the last row, from the second column on, in several lines where the
  /// terminal needs them.
  void addNote(Cell note);

  /// The lines, each indented by `indent` blanks and ended by a line feed, without blanks at the
  /// end.
  std::string render(const Terminal& terminal, std::size_t indent) const;

 private:
  struct Row {
    std::vector<Cell> cells;
    bool isNote = false;
  };

  std::vector<Align> columns_;
  std::vector<Row> rows_;
};

/// A text in as many lines as the terminal makes necessary, each behind so many blanks.
std::string wrappedLines(const Cell& text, const Terminal& terminal, std::size_t indent);

}  // namespace halvercine::app
