#include "platform/linux/XdgContainers.h"

#include <stdlib.h>
#include <sys/stat.h>

#include <gtest/gtest.h>

#include "platform/linux/FakeSysfs.h"

namespace halvercine::platform::gnulinux {
namespace {

class Variable {
 public:
  Variable(const char* name, const std::string& value) : name_(name) {
    if (const char* old = ::getenv(name)) old_ = old;
    ::setenv(name, value.c_str(), 1);
  }
  ~Variable() {
    if (old_) {
      ::setenv(name_, old_->c_str(), 1);
    } else {
      ::unsetenv(name_);
    }
  }

 private:
  const char* name_;
  std::optional<std::string> old_;
};

unsigned mode(const std::filesystem::path& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

TEST(XdgContainers, GroupContainersAreClosedToOthersAllTheWay) {
  FakeSysfs folder;
  const Variable data("XDG_DATA_HOME", folder.root() + "/data/home");
  const auto container = XdgContainers().groupContainer("group.com.halvercine.shared");
  EXPECT_EQ(container, folder.root() + "/data/home/halvercine/group.com.halvercine.shared");
  EXPECT_EQ(mode(*container), 0700u);
  EXPECT_EQ(mode(container->parent_path()), 0700u);
  EXPECT_EQ(mode(folder.root() + "/data"), 0700u);
  for (const std::string name : {"", "..", "a/b", "/etc"}) {
    EXPECT_FALSE(XdgContainers().groupContainer(name)) << name;
  }
  EXPECT_FALSE(XdgContainers().groupContainer(std::string("a\0b", 3)));
}

TEST(XdgContainers, PathsThatAreNotAbsoluteDoNotCount) {
  FakeSysfs folder;
  const Variable home("HOME", folder.root());
  const Variable data("XDG_DATA_HOME", "data");
  EXPECT_EQ(XdgContainers().applicationSupport(), folder.root() + "/.local/share");
  const Variable missing("HOME", folder.root() + "/not/yet/mounted");
  EXPECT_FALSE(XdgContainers().groupContainer("group.com.halvercine.shared"));
  EXPECT_FALSE(std::filesystem::exists(folder.root() + "/not"));
  const Variable nowhere("HOME", "here");
  const auto passwd = XdgContainers().home();
  EXPECT_TRUE(!passwd || passwd->is_absolute());
}

TEST(XdgContainers, AFileInTheWayIsNoContainer) {
  FakeSysfs folder;
  folder.attribute("halvercine", "group", "");
  const Variable data("XDG_DATA_HOME", folder.root() + "/devices");
  EXPECT_FALSE(XdgContainers().groupContainer("group"));
}

}  // namespace
}  // namespace halvercine::platform::gnulinux
