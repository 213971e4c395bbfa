#include "mount/EnabledModules.h"

#include <string>

#include <gtest/gtest.h>

#include "support/testData.h"

namespace halvercine::mount {
namespace {

std::string xml(std::string_view body) {
  return "<?xml version=\"1.0\"?><plist version=\"1.0\">" + std::string(body) + "</plist>";
}

TEST(EnabledModulesTest, readsTheListOfTheSystemInBothForms) {
  const std::vector<std::string> expected = {"com.apple.fskit.apfs",
                                             "com.apple.fskit.exfat",
                                             "com.apple.fskit.msdos",
                                             "com.apple.filesystems.util.ntfs",
                                             "com.apple.fskit.ftp",
                                             "io.macfuse.app.fsmodule.macfuse",
                                             "io.macfuse.app.fsmodule.macfuse-local"};
  EXPECT_EQ(enabledModules(tests::testData("fskit/enabledModules.plist")), expected);
  EXPECT_EQ(enabledModules(tests::testData("fskit/enabledModules-binary.plist")), expected);
}

TEST(EnabledModulesTest, readsDictionariesOfFlags) {
  EXPECT_EQ(enabledModules(xml("<dict><key>b</key><true/><key>a</key><integer>1</integer>"
                               "<key>off</key><false/><key>zero</key><integer>0</integer>"
                               "<key>c</key><dict><key>Enabled</key><true/></dict>"
                               "<key>d</key><dict><key>enabled</key><false/></dict>"
                               "<key>e</key><dict/><key>f</key><string>yes</string></dict>")),
            (std::vector<std::string>{"a", "b", "c"}));
  EXPECT_EQ(enabledModules(tests::testData("fskit/enabledFlags-binary.plist")),
            (std::vector<std::string>{"com.example.nested", "com.example.on"}));
}

TEST(EnabledModulesTest, findsNothingInWhatIsNoSuchList) {
  // The parser needs seconds for the first, the stack for the second, and aborts on the last.
  for (const auto* name : {"many-references-binary.plist", "deep-binary.plist",
                           "cycle-binary.plist", "zero-key-binary.plist"}) {
    EXPECT_TRUE(enabledModules(tests::testData(std::string("fskit/") + name)).empty()) << name;
  }
  const std::pair<const char*, std::string> cases[] = {
      {"empty", ""},
      {"text", "not a property list"},
      {"JSON", R"(["com.example.json"])"},
      {"cut short", xml("<array><string>a</string>").substr(0, 60)},
      {"a text", xml("<string>a</string>")},
      {"other values", xml("<array><integer>1</integer><string></string><array/></array>")},
      {"binary, header only", "bplist00"},
      {"binary, cut short", tests::testData("fskit/enabledModules-binary.plist").substr(0, 120)},
      {"a key with a zero", xml("<dict><key>a&#0;</key><true/></dict>")},
      {"a key with another zero", xml("<dict><key>&#x00;</key><true/></dict>")},
      {"too large", xml("<array><string>a</string></array>" + std::string(70'000, ' '))},
  };
  for (const auto& [name, content] : cases) EXPECT_TRUE(enabledModules(content).empty()) << name;
}

}  // namespace
}  // namespace halvercine::mount
