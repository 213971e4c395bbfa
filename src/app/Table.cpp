#include "app/Table.h"

#include <algorithm>
#include <utility>

#include "base/Text.h"

namespace halvercine::app {
namespace {

constexpr std::string_view gap = "  ";

}  // namespace

std::string wrappedLines(const Cell& text, const Terminal& terminal, std::size_t indent) {
  constexpr std::size_t fewest = 20;  // narrower, it would read like a list of words
  const auto all = terminal.columns();
  const auto room = all == 0 ? std::string::npos : std::max(all, indent + fewest) - indent;
  std::string lines;
  for (const auto line : base::wrapped(text.text, room)) {
    lines.append(indent, ' ');
    lines += terminal.tinted(line, text.tint) + '\n';
  }
  return lines;
}

void Table::addRow(std::vector<Cell> cells) {
  for (auto& cell : cells) cell.text = base::displayText(cell.text);
  rows_.push_back({std::move(cells), false});
}

void Table::addNote(Cell note) {
  note.text = base::displayText(note.text);
  rows_.push_back({{std::move(note)}, true});
}

std::string Table::render(const Terminal& terminal, std::size_t indent) const {
  std::vector<std::size_t> widths(columns_.size());
  for (const auto& row : rows_) {
    if (row.isNote) continue;
    for (std::size_t column = 0; column < row.cells.size(); ++column) {
      widths[column] = std::max(widths[column], base::displayWidth(row.cells[column].text));
    }
  }
  std::string lines;
  for (const auto& row : rows_) {
    if (row.isNote) {
      lines += wrappedLines(row.cells.front(), terminal, indent + widths.front() + gap.size());
      continue;
    }
    lines.append(indent, ' ');
    std::size_t pending = 0;  // blanks that wait for something to stand behind them
    for (std::size_t column = 0; column < row.cells.size(); ++column) {
      const auto& cell = row.cells[column];
      const auto padding = widths[column] - base::displayWidth(cell.text);
      if (columns_[column] == Align::right) pending += padding;
      if (!cell.text.empty()) {
        lines.append(std::exchange(pending, 0), ' ');
        lines += terminal.tinted(cell.text, cell.tint);
      }
      pending += gap.size() + (columns_[column] == Align::left ? padding : 0);
    }
    lines += '\n';
  }
  return lines;
}

}  // namespace halvercine::app
