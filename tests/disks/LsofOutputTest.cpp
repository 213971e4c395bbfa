#include "disks/LsofOutput.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/testData.h"

namespace halvercine::disks {
namespace {

using Occupants = std::vector<Occupant>;
using Paths = std::vector<std::string>;

/// In pieces of `pieceSize` bytes.
Occupants read(std::string_view output, LsofOutput parser, std::size_t pieceSize) {
  for (; !output.empty(); output.remove_prefix(std::min(pieceSize, output.size()))) {
    parser.add(output.substr(0, pieceSize));
  }
  return std::move(parser).occupants();
}

Occupants read(std::string_view output, const Paths& paths) {
  const auto occupants = read(output, LsofOutput(paths), output.size() + 1);
  for (const std::size_t pieceSize : {1, 2, 7}) {
    EXPECT_EQ(read(output, LsofOutput(paths), pieceSize), occupants) << pieceSize;
  }
  return occupants;
}

TEST(LsofOutputTest, FindsWhoIsBeneathAPath) {
  const std::string output =
      "p10\ncFinder\nfcwd\nn/\nf4\nn/Volumes/USB/a\nf5\nn/Volumes/USB/b\n"
      "p11\ncmds\nfcwd\nn/Volumes/USB\n"
      "p12\ncbash\nfcwd\nn/Volumes/USB 2/x\n"
      "p13\ncPhoto\\x20App\nf3\nn/Volumes/Foto: \\xe6\\x96\\xb0/y\\nz\n"
      "p14\ncnode\nn*:5353\nfcwd\n"
      "p-3\ncodd\nn/Volumes/USB/a\np\nn/Volumes/USB/a\np99999999999\nn/Volumes/USB/a\n"
      "p10\ncFinder\nn/Volumes/USB/c\n"
      "p15\ncend\nn/Volumes/USB/last";
  EXPECT_EQ(read(output, {"/Volumes/USB/"}), (Occupants{{10, "Finder", "/Volumes/USB/a"},
                                                        {11, "mds", "/Volumes/USB"},
                                                        {15, "end", "/Volumes/USB/last"}}));
  EXPECT_EQ(
      read(output, {"/Volumes/USB 2", "/Volumes/Foto: 新"}),
      (Occupants{{12, "bash", "/Volumes/USB 2/x"}, {13, "Photo App", "/Volumes/Foto: 新/y\nz"}}));
  EXPECT_EQ(read(output, {"/"}).size(), 5u);
  EXPECT_EQ(read(output, {"", "/Volumes/US"}), Occupants{});
}

TEST(LsofOutputTest, RealOutput) {
  const auto withoutNames = tests::testDataBlock("lsof/field-output.txt", "the same");
  EXPECT_EQ(read(withoutNames, {"/r"}), (Occupants{{455, "", "/r/some/folder/w1"}}));
  EXPECT_EQ(read(withoutNames, LsofOutput(), 5),
            (Occupants{{206, "", ""}, {455, "", ""}, {9, "", ""}}));
  EXPECT_EQ(read(tests::testDataBlock("lsof/field-output.txt", "lsof -F pcn -i"), LsofOutput(), 5),
            (Occupants{{102, "cnode", ""}}));
  EXPECT_EQ(read(tests::testData("lsof/escapes-4.95-linux.txt"), {"/tmp/lt/新 \\x20a\ttab"}),
            (Occupants{{12568, "my sl\nep", "/tmp/lt/新 \\x20a\ttab/back\\slash^Anew\nline"}}));
}

TEST(LsofOutputTest, Escapes) {
  const std::pair<std::string_view, std::string_view> cases[] = {
      {"\\", "\\"},
      {"\\x2", "\\x2"},
      {"\\xzz\\x41", "\\xzzA"},
      {"\\q\\r\\b\\f", "\\q\r\b\f"},
  };
  for (const auto& [escaped, plain] : cases) EXPECT_EQ(withoutLsofEscapes(escaped), plain);
}

// What is not a line of lsof at all costs no more memory than a line may have.
TEST(LsofOutputTest, EndlessLine) {
  LsofOutput parser(Paths{"/Volumes/USB"});
  parser.add("p7\ncx\nn/Volumes/USB/");
  const std::string piece(1 << 20, 'y');
  for (int count = 0; count < 20; ++count) parser.add(piece);
  parser.add("\np8\nn/Volumes/USB/z\n");
  const auto occupants = std::move(parser).occupants();
  ASSERT_EQ(occupants.size(), 2u);
  EXPECT_LT(occupants[0].path.size(), 20'000u);
  EXPECT_EQ(occupants[1].path, "/Volumes/USB/z");
}

}  // namespace
}  // namespace halvercine::disks
