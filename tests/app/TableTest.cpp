#include "app/Table.h"

#include <gtest/gtest.h>

#include "app/sizeText.h"

namespace halvercine::app {
namespace {

TEST(TableTest, AlignsByColumnsOnTheScreen) {
  Table table({Table::Align::left, Table::Align::right, Table::Align::left});
  table.addRow({"disk4s1", "1 B", "照片"});
  table.addRow({"磁盘", "100 B", ""});
  table.addNote({"! note", Tint::warning});
  table.addRow({"e\xCC\x81", "", "x"});
  EXPECT_EQ(table.render(Terminal(false), 1),
            " disk4s1    1 B  照片\n"
            " 磁盘     100 B\n"
            "          ! note\n"
            " e\xCC\x81               x\n");
}

TEST(TableTest, HostileNamesCannotReachTheTerminal) {
  Table table({Table::Align::left});
  table.addRow({Cell("a\x1b[31m\n\r\xE2\x80\xAE\xE2\x80\x8B\xFF z")});
  const auto lines = table.render(Terminal(false), 0);
  EXPECT_EQ(lines, "a\\u{1B}[31m\\u{A}\\u{D}\\u{202E}\\u{200B}\xEF\xBF\xBD z\n");
}

TEST(TableTest, RemarksKeepToTheTerminal) {
  Table table({Table::Align::left, Table::Align::left});
  table.addRow({"disk4", "a name that is longer than the terminal is wide"});
  table.addNote({"! Unplug the disk, 请拔出磁盘。请重新插入。", Tint::warning});
  EXPECT_EQ(table.render(Terminal(true, true, 29), 2),
            "  disk4  a name that is longer than the terminal is wide\n"
            "         \x1b[33m! Unplug the disk,\x1b[0m\n"
            "         \x1b[33m请拔出磁盘。请重新插\x1b[0m\n"
            "         \x1b[33m入。\x1b[0m\n");
  EXPECT_EQ(table.render(Terminal(false, false, 5), 2),
            table.render(Terminal(false, false, 29), 2));
}

TEST(TableTest, ColoursAreOnlyAround) {
  Table table({Table::Align::left, Table::Align::left});
  table.addRow({Cell("a", Tint::good), "b"});
  EXPECT_EQ(table.render(Terminal(true), 0), "\x1b[32ma\x1b[0m  b\n");
}

TEST(SizeTextTest, HasThreeDigitsAndNeverFour) {
  struct Row {
    std::int64_t bytes;
    const char* text;
  };
  for (const auto& row :
       {Row{-1, "0 bytes"}, Row{0, "0 bytes"}, Row{999, "999 bytes"}, Row{1000, "1.00 KB"},
        Row{9994, "9.99 KB"}, Row{9995, "10.0 KB"}, Row{99949, "99.9 KB"}, Row{99950, "100 KB"},
        Row{999499, "999 KB"}, Row{999500, "1.00 MB"}, Row{500107862016, "500 GB"},
        Row{9223372036854775807, "9.22 EB"}}) {
    EXPECT_EQ(sizeText(row.bytes), row.text) << row.bytes;
  }
}

}  // namespace
}  // namespace halvercine::app
