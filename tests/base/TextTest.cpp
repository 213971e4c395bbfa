#include "base/Text.h"

#include <cmath>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include "base/BsdName.h"
#include "base/Properties.h"

namespace halvercine::base {
namespace {

using namespace std::string_literals;

TEST(TextTest, trimsUnicodeWhiteSpaceAndNothingElse) {
  for (const auto& [text, expected] : std::initializer_list<std::pair<std::string, std::string>>{
           {" a b\t\r\n", "a b"},
           {"\u00A0\u3000a\u2028\u0085", "a"},
           {" \u2003 ", ""},
           {"", ""},
           {"\u200Ba", "\u200Ba"},
           {" \x80 ", "\x80"},
           {" \xE3\x80", "\xE3\x80"}}) {  // an ideographic blank cut short
    EXPECT_EQ(trimmed(text), expected);
  }
}

TEST(TextTest, lowersAsciiOnly) { EXPECT_EQ(asciiLowered("NTFS-3G Ä\x80"), "ntfs-3g Ä\x80"); }

TEST(TextTest, repairsEachInvalidPartOnce) {
  for (const auto& [bytes, expected] : std::initializer_list<std::pair<std::string, std::string>>{
           {"aé漢😀", "aé漢😀"},
           {"a\x80z", "a\uFFFDz"},
           {"\xE2\x82z", "\uFFFDz"},                          // cut short
           {"\xF0\x9F\x98", "\uFFFD"},                        // at the end
           {"\xC0\xAF", "\uFFFD\uFFFD"},                      // overlong
           {"\xED\xA0\x80", "\uFFFD\uFFFD\uFFFD"},            // a surrogate
           {"\xF4\x90\x80\x80", "\uFFFD\uFFFD\uFFFD\uFFFD"},  // beyond U+10FFFF
           {"\xFF\xF8", "\uFFFD\uFFFD"},
           {"a\0b"s, "a\0b"s}}) {
    EXPECT_EQ(repairedUtf8(bytes), expected);
  }
}

TEST(TextTest, shownTextCannotMoveWhatStandsAroundIt) {
  for (const auto& [text, expected] : std::initializer_list<std::pair<std::string, std::string>>{
           {"My Disk é漢", "My Disk é漢"},
           {"a\nb\x1b[31m", "a\\u{A}b\\u{1B}[31m"},
           {"\u202Egpj.exe", "\\u{202E}gpj.exe"},
           {"\u2066x\u2069", "\\u{2066}x\\u{2069}"},
           {"a\u200Bb\uFEFF", "a\\u{200B}b\\u{FEFF}"},
           {"\U000E0041", "\\u{E0041}"},
           {"\u2028\u0085\x7f", "\\u{2028}\\u{85}\\u{7F}"},
           {"\u3164", "\\u{3164}"},
           {"a\u2800\u17B4\u17B5", "a\\u{2800}\\u{17B4}\\u{17B5}"},
           {"\u200Ca", "\\u{200C}a"},  // joiners with nothing to join
           {"a\u200D", "a\\u{200D}"},
           {"a\u200C \u200Db", "a\\u{200C} \\u{200D}b"},
           {"a\u200C\u200Db", "a\\u{200C}\\u{200D}b"},
           {"a\u200D\uFE0Fb", "a\\u{200D}\\u{FE0F}b"},
           {"a\u200D\u200Bb", "a\\u{200D}\\u{200B}b"},
           {"\uFE0Fa \uFE0F", "\\u{FE0F}a \\u{FE0F}"},  // selectors without a base
           {"❤\uFE0F\uFE0F\U000E0100", "❤\uFE0F\\u{FE0F}\\u{E0100}"},
           {"\xFF\uFE0F", "\uFFFD\uFE0F"},
           {"\u0301e\u0301", "\\u{301}e\u0301"},  // it would stand on what is before the name
           {"\u200B\u0301", "\\u{200B}\u0301"},
           {"\xFFx", "\uFFFDx"},
           {"a\0"s, "a\\u{0}"}}) {
    EXPECT_EQ(displayText(text), expected);
  }
}

TEST(TextTest, wordsAndEmojiAreShownAsTheyAre) {
  for (const std::string text :
       {"می\u200Cخواهم", "۲۰\u200Cتایی", "क्\u200Dष", "ක්\u200Dරී",
        "র\u200D্য",  // joiners inside words
        "👨\u200D👩\u200D👧", "👩🏽\u200D🚀", "🏳\uFE0F\u200D🌈", "❤\uFE0F\u200D🔥",
        "🙂\u200D↔\uFE0F", "🇨🇭", "1\uFE0F\u20E3", "葛\U000E0100", "©\uFE0F"}) {
    EXPECT_EQ(displayText(text), text);
  }
}

TEST(TextTest, wrapsWithoutSplittingWords) {
  using Lines = std::vector<std::string_view>;
  struct Row {
    std::string_view text;
    std::size_t columns;
    Lines lines;
  };
  for (const auto& [text, columns, lines] : std::initializer_list<Row>{
           {"", 4, {""}},
           {"one two three", 13, {"one two three"}},
           {"one two three", 12, {"one two", "three"}},
           {"one  two ", 5, {"one", "two"}},
           {"a incomprehensible b", 3, {"a", "incomprehensible", "b"}},
           {"请插入磁盘", 6, {"请插入", "磁盘"}},
           {"请插入磁盘", 7, {"请插入", "磁盘"}},
           {"请插入。磁盘", 6, {"请插", "入。磁", "盘"}},  // the stop stays with its sentence
           {"请（插入）", 4, {"请", "（插", "入）"}},
           {"磁盘 Windows 中", 8, {"磁盘", "Windows", "中"}},
           {"e\u0301e\u0301 e\u0301", 4, {"e\u0301e\u0301 e\u0301"}},
           {"👩🏽\u200D🚀👩🏽", 2, {"👩🏽\u200D🚀👩🏽"}},
           {"\xFF \xFF", 1, {"\xFF", "\xFF"}}}) {
    EXPECT_EQ(wrapped(text, columns), lines) << text;
  }
}

TEST(TextTest, measuresTerminalColumns) {
  const std::pair<std::string, std::size_t> cases[] = {
      {"", 0},         {"abc", 3},     {"漢字", 4}, {"e\u0301", 1}, {"é", 1},   {"😀", 2},
      {"👨\u200D👩", 2}, {"❤\uFE0F", 2}, {"한", 2},   {"ｱ", 1},       {"\xFF", 1}};
  for (const auto& [text, width] : cases) {
    EXPECT_EQ(displayWidth(text), width) << text;
  }
}

TEST(TextTest, composesForComparison) {
  EXPECT_EQ(composed("e\u0301"), "é");
  EXPECT_EQ(composed("\u1112\u1161\u11AB"), "한");
  EXPECT_EQ(composed("ﬁ"), "ﬁ");  // compatibility characters stay
  EXPECT_EQ(composed("a\x80"), "a\x80");
  EXPECT_EQ(composed(""), "");
}

TEST(BsdNameTest, tellsDisksFromPartitions) {
  struct Case {
    std::string name;
    bool isPartition;
    std::optional<std::string> whole;
    std::string suffix;
  };
  for (const auto& [name, isPartition, whole, suffix] :
       std::initializer_list<Case>{{"disk4", false, "disk4", ""},
                                   {"disk4s1", true, "disk4", "s1"},
                                   {"disk12s34", true, "disk12", "s34"},
                                   {"disk4s1s1", false, "disk4", "s1"},
                                   {"disk4s", false, "disk4", ""},
                                   {"disk4s1x", false, "disk4", ""},
                                   {"disks1", false, std::nullopt, "s1"},
                                   {"Disk4s1", false, std::nullopt, "s1"},
                                   {"/dev/disk4s1", false, std::nullopt, "s1"},
                                   {"disk٤s1", false, std::nullopt, "s1"},
                                   {"disk4s1\0"s, false, "disk4", ""},
                                   {"", false, std::nullopt, ""}}) {
    EXPECT_EQ(isPartitionName(name), isPartition) << name;
    EXPECT_EQ(wholeDiskName(name), whole) << name;
    EXPECT_EQ(partitionSuffix(name), suffix) << name;
  }
}

TEST(BsdNameTest, ordersByTheNumbers) {
  const std::string ordered[] = {"",        "disk",     "disk1", "disk2",  "disk2s1",
                                 "disk2s2", "disk2s10", "disk3", "disk10", "x"};
  for (std::size_t left = 0; left < std::size(ordered); ++left) {
    for (std::size_t right = 0; right < std::size(ordered); ++right) {
      EXPECT_EQ(comesBefore(ordered[left], ordered[right]), left < right)
          << ordered[left] << " and " << ordered[right];
    }
  }
  EXPECT_TRUE(comesBefore("disk99999999999999999998", "disk99999999999999999999"));
  EXPECT_TRUE(comesBefore("disk10", "disk99999999999999999998"));
}

TEST(PropertiesTest, numbersAreWholeOrMissing) {
  using platform::PropertyValue;
  EXPECT_EQ(integerValue(PropertyValue(3.0)), 3);
  EXPECT_EQ(integerValue(PropertyValue(-0x1p63)), std::numeric_limits<std::int64_t>::min());
  for (const double number : {3.5, 0x1p63, std::nan("")}) {
    EXPECT_EQ(integerValue(PropertyValue(number)), std::nullopt) << number;
  }
}

}  // namespace
}  // namespace halvercine::base
