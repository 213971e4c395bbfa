#include "helper/bundleSafety.h"

#include <filesystem>
#include <fstream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "helper/HelperMachine.h"
#include "platform/posix/inspectFile.h"
#include "support/TemporaryFolder.h"

namespace halvercine::helper {
namespace {

namespace fs = std::filesystem;
using tests::HelperMachine;

/// The end of the fault's key.
std::string faultOf(platform::ApplicationBundle& bundle) {
  const auto fault = bundleFault(bundle);
  return fault ? std::string(fault->key.substr(fault->key.rfind('.') + 1)) : "";
}

TEST(BundleSafety, WhereWhoseAndWritableByWhom) {
  struct Row {
    std::string application;  // where the bundle is
    std::string path;         // of what has other permissions than usual
    std::string permissions;
    const char* fault;
  };
  const std::string usual = "/Applications/Halvercine.app";
  const std::string nested = "/Applications/Disks/Halvercine.app";
  const std::string executable = usual + "/Contents/MacOS/halvercine-helper";
  const Row rows[] = {
      {usual, "", "", ""},
      {nested, "", "", ""},
      {"/Users/a/Applications/Halvercine.app", "", "", "location"},
      {"/Applications", "", "", "location"},
      {"/Applications/", "", "", "location"},
      {"/Applications/../tmp/Halvercine.app", "", "", "location"},
      {"/ApplicationsX/Halvercine.app", "", "", "location"},
      {"", "", "", "location"},
      {usual, executable, R"("mode": "644")", "missing"},
      // As macOS sets it up itself: the group admin may write.
      {usual, "/Applications", R"("group": 80, "mode": "775")", ""},
      {usual, usual, R"("group": 20, "mode": "755")", ""},
      {usual, usual, R"("group": 20, "mode": "775")", "unsafe"},
      {usual, usual, R"("owner": 501)", "unsafe"},
      {usual, usual, R"("mode": "757")", "unsafe"},
      {usual, usual + "/Contents", R"("owner": 501)", "unsafe"},
      {usual, usual + "/Contents/MacOS", R"("mode": "777")", "unsafe"},
      {usual, executable, R"("owner": 501)", "unsafe"},
      {usual, executable, R"("mode": "757")", "unsafe"},
      {usual, "/Applications", R"("mode": "1777")", "parent"},
      {usual, "/", R"("mode": "757")", "parent"},
      {usual, "/Applications", R"("owner": 501)", "unsafe"},
      {nested, "/Applications/Disks", R"("mode": "777")", "parent"},
      {nested, "/Applications/Disks", R"("owner": 501)", "unsafe"},
  };
  for (const auto& [application, path, permissions, fault] : rows) {
    SCOPED_TRACE(application + " " + path + " " + permissions);
    auto members = R"("path": ")" + application + '"';
    if (!path.empty()) {
      members += R"(, "permissions": [{"path": ")" + path + R"(", )" + permissions + "}]";
    }
    HelperMachine machine("", R"("application": {)" + members + "}");
    EXPECT_EQ(faultOf(*machine.platform.applicationBundle), fault);
  }
}

/// /Applications and what is in it are real folders below a temporary one.
class RealBundle : public platform::ApplicationBundle {
 public:
  RealBundle() {
    const auto folder = real(executable).parent_path();
    fs::create_directories(folder);
    for (auto made = folder; made != folder_.path().parent_path(); made = made.parent_path()) {
      ::chmod(made.c_str(), 0755);
    }
    makeExecutable();
  }
  void makeExecutable() const {
    std::ofstream(real(executable)) << "helper";
    ::chmod(real(executable).c_str(), 0755);
  }
  std::optional<fs::path> path() override { return "/Applications/Halvercine.app"; }
  std::optional<std::string> info(std::string_view) override { return std::nullopt; }
  std::expected<platform::FileFacts, std::error_code> inspect(const fs::path& path) override {
    auto facts = platform::posix::inspectFile(real(path));
    // A test that is not root's cannot give files to root.
    if (facts && facts->owner == ::geteuid()) facts->owner = 0;
    if (facts && facts->group == ::getegid()) facts->group = 0;
    return facts;
  }
  fs::path real(const fs::path& path) const { return folder_.path() / path.relative_path(); }

  static constexpr const char* executable =
      "/Applications/Halvercine.app/Contents/MacOS/halvercine-helper";

 private:
  tests::TemporaryFolder folder_;
};

TEST(BundleSafety, RealFoldersAndLinks) {
  RealBundle bundle;
  const auto executable = bundle.real(RealBundle::executable);
  EXPECT_EQ(faultOf(bundle), "");
  ::chmod(executable.c_str(), 0757);
  EXPECT_EQ(faultOf(bundle), "unsafe");
  fs::remove(executable);
  EXPECT_EQ(faultOf(bundle), "missing");
  fs::create_symlink("/bin/sh", executable);
  EXPECT_EQ(faultOf(bundle), "missing");
  fs::remove(executable);
  bundle.makeExecutable();
  const auto contents = bundle.real("/Applications/Halvercine.app/Contents");
  fs::rename(contents, contents.parent_path() / "Elsewhere");
  fs::create_symlink("Elsewhere", contents);
  EXPECT_EQ(faultOf(bundle), "unsafe");
}

}  // namespace
}  // namespace halvercine::helper
