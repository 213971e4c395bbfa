#include "platform/linux/LinuxPasteboard.h"

#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "support/TemporaryFolder.h"

namespace halvercine::platform::gnulinux {
namespace {

/// A session whose tools are small programs of the test.
class LinuxPasteboardTest : public testing::Test {
 protected:
  LinuxPasteboardTest() {
    for (const char* variable : {"DISPLAY", "WAYLAND_DISPLAY"}) ::unsetenv(variable);
    ::setenv("PATH", (folder.path().string() + ":/usr/bin:/bin").c_str(), 1);
    ::setenv("COPIED", (folder.path() / "copied").c_str(), 1);
  }
  ~LinuxPasteboardTest() override { ::setenv("PATH", path_.c_str(), 1); }

  void tool(const std::string& name, const std::string& script) {
    const auto file = folder.write(name, "#!/bin/sh\n" + script + "\n");
    std::filesystem::permissions(file, std::filesystem::perms::owner_all);
  }

  tests::TemporaryFolder folder;
  LinuxPasteboard pasteboard;

 private:
  std::string path_ = std::getenv("PATH");
};

TEST_F(LinuxPasteboardTest, handsTheTextToTheToolOfTheSession) {
  tool("xclip", "cat > \"$COPIED\"; echo \"$@\" >> \"$COPIED\"");
  EXPECT_FALSE(pasteboard.replaceText("no session"));
  ::setenv("DISPLAY", ":99", 1);
  EXPECT_TRUE(pasteboard.replaceText("检查\n"));
  EXPECT_EQ(folder.read("copied"), "检查\n-selection clipboard -in\n");
  tool("wl-copy", "cat > /dev/null; exit 1");
  ::setenv("WAYLAND_DISPLAY", "wayland-0", 1);
  EXPECT_TRUE(pasteboard.replaceText("second\n"))
      << "where the first tool fails, the next is tried";
  EXPECT_EQ(folder.read("copied"), "second\n-selection clipboard -in\n");
  tool("xclip", "exit 1");
  tool("xsel", "exit 1");
  EXPECT_FALSE(pasteboard.replaceText("third"));
}

}  // namespace
}  // namespace halvercine::platform::gnulinux
