#include "helper/OneClickInstall.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <utility>
#include <vector>

#include <boost/algorithm/string/replace.hpp>
#include <gmock/gmock.h>

#include "helper/HelperMachine.h"
#include "helper/installScript.h"
#include "support/TemporaryFolder.h"

namespace halvercine::helper {
namespace {

namespace fs = std::filesystem;
using tests::HelperMachine;

std::string contentOf(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

const std::string propertyList = R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0">
<dict>
	<key>Label</key>
	<string>com.halvercine.app.authhelper</string>
	<key>Program</key>
	<string>/Applications/A &amp; B.app/Contents/MacOS/halvercine-helper</string>
	<key>AssociatedBundleIdentifiers</key>
	<array>
		<string>com.halvercine.app</string>
	</array>
	<key>MachServices</key>
	<dict>
		<key>com.halvercine.app.authhelper</key>
		<true/>
	</dict>
	<key>RunAtLoad</key>
	<false/>
</dict>
</plist>
)";

TEST(InstallScript, PropertyList) {
  EXPECT_EQ(daemonPropertyList("/Applications/A & B.app/Contents/MacOS/halvercine-helper",
                               "com.halvercine.app"),
            propertyList);
  EXPECT_EQ(daemonPropertyList("/Applications/A\nB", "com.halvercine.app"), std::nullopt);
  EXPECT_EQ(daemonPropertyList("/Applications/\xFF", "com.halvercine.app"), std::nullopt);
}

TEST(InstallScript, Text) {
  EXPECT_EQ(installScript("list"), R"(#!/bin/sh
P="/Library/LaunchDaemons/com.halvercine.app.authhelper.plist"
/bin/launchctl bootout system/com.halvercine.app.authhelper 2>/dev/null || true
echo 'bGlzdA==' | /usr/bin/base64 -D > "$P" || exit 1
/usr/sbin/chown root:wheel "$P" || exit 1
/bin/chmod 644 "$P" || exit 1
/bin/launchctl bootstrap system "$P" || { /bin/rm -f "$P"; exit 1; }
)");
}

/// Runs what the administrator would run, with tools of its own in the place of the system's.
class RealShell {
 public:
  RealShell() {
    put("chown", "echo chown \"$1\" >> " + (folder_.path() / "calls").string());
    put("base64", "exec /usr/bin/base64 -d");
    tool("launchctl", 0);
    std::ofstream(target()) << "the one before";
  }

  void tool(const std::string& name, int status) const {
    put(name, "echo " + name + " \"$1\" >> " + (folder_.path() / "calls").string() + "\nexit " +
                  std::to_string(status));
  }

  int run(const std::string& list, const std::string& writtenInstead = "") const {
    const auto script = withOwnTools(installScript(list));
    std::ofstream(folder_.path() / "script") << (writtenInstead.empty() ? script : writtenInstead);
    const auto command = withOwnTools(
        verifiedRun(script, (folder_.path() / "script").string(), privateFolder().string()));
    const int status = std::system(("{ " + command + "; } 2>/dev/null").c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  std::string calls() const { return contentOf(folder_.path() / "calls"); }
  fs::path target() const { return folder_.path() / "daemon.plist"; }
  fs::path privateFolder() const { return folder_.path() / "private's"; }

 private:
  void put(const std::string& name, const std::string& text) const {
    std::ofstream(folder_.path() / name) << "#!/bin/sh\n" << text << '\n';
    ::chmod((folder_.path() / name).c_str(), 0755);
  }

  std::string withOwnTools(std::string text) const {
    const auto own = folder_.path().string();
    boost::replace_all(text, oneClickPropertyList, target().string());
    boost::replace_all(text, "/usr/sbin/chown", own + "/chown");
    boost::replace_all(text, "/usr/bin/base64 -D", own + "/base64");
    boost::replace_all(text, "/bin/launchctl", own + "/launchctl");
    return text;
  }

  tests::TemporaryFolder folder_;
};

TEST(InstallScript, RunsInARealShell) {
  const RealShell shell;
  EXPECT_EQ(shell.run(propertyList), 0);
  EXPECT_EQ(contentOf(shell.target()), propertyList);
  EXPECT_EQ(fs::status(shell.target()).permissions(), fs::perms(0644));
  EXPECT_EQ(shell.calls(),
            "chown root:wheel\nlaunchctl bootout\nchown root:wheel\nlaunchctl bootstrap\n");
  EXPECT_FALSE(fs::exists(shell.privateFolder()));
}

TEST(InstallScript, ADaemonThatDoesNotStartIsNotLeftBehind) {
  const RealShell shell;
  shell.tool("launchctl", 5);
  EXPECT_EQ(shell.run(propertyList), 1);
  EXPECT_FALSE(fs::exists(shell.target()));
  EXPECT_FALSE(fs::exists(shell.privateFolder()));
}

TEST(InstallScript, AnotherScriptIsNotRun) {
  const RealShell shell;
  EXPECT_EQ(shell.run(propertyList, "#!/bin/sh\ntouch " + shell.target().string() + ".owned\n"), 1);
  EXPECT_FALSE(fs::exists(shell.target().string() + ".owned"));
  EXPECT_EQ(contentOf(shell.target()), "the one before");
  EXPECT_FALSE(fs::exists(shell.privateFolder()));
}

TEST(InstallScript, AFolderOfSomebodyElseIsNotUsed) {
  const RealShell shell;
  fs::create_directory(shell.privateFolder());
  EXPECT_EQ(shell.run(propertyList), 1);
  EXPECT_EQ(shell.calls(), "");
  EXPECT_EQ(contentOf(shell.target()), "the one before");
  EXPECT_TRUE(fs::exists(shell.privateFolder()));
}

std::string outcomeOf(const InstallOutcome& outcome) {
  const base::Localization english(base::Language::en);
  if (const auto* failed = std::get_if<InstallFailed>(&outcome)) return failed->reason.in(english);
  return std::holds_alternative<InstallCancelled>(outcome) ? "cancelled" : "installed";
}

fs::path installedList(const HelperMachine& machine) {
  return machine.platform.containers->systemPath(oneClickPropertyList);
}

std::vector<fs::path> temporaryFiles(const HelperMachine& machine) {
  const auto folder = machine.platform.containers->systemPath("/Library/Caches");
  std::error_code none;
  return {fs::begin(fs::directory_iterator(folder, none)), fs::directory_iterator()};
}

TEST(OneClickInstall, Outcomes) {
  const auto osascript = [](const std::string& members) {
    return R"("tools": [{"tool": "osascript", )" + members + "}]";
  };
  const std::pair<std::string, std::string> cases[] = {
      {"", "installed"},
      {osascript(
           R"("status": 1, "errors": "0:54: execution error: 사용자가 취소했습니다. (-128)\n")"),
       "cancelled"},
      {osascript(R"("status": 1, "errors": "execution error: It failed. (-12800)\n")"),
       "execution error: It failed. (-12800)"},
      {osascript(R"("startError": "No such file")"), "osascript launch failed: No such file"},
      {R"("tools": [{"tool": "launchctl", "match": ["bootstrap"], "status": 5, "errors": "5: Input/output error"}])",
       "0:90: execution error: 5: Input/output error (1)"},
      {R"("files": {"/Library/Caches": "in the way"})",
       "write temp script failed: Not a directory"},
      {R"("application": {"path": "/Users/a/Halvercine.app"})",
       "one-click install requires app in /Applications (current: /Users/a/Halvercine.app)"},
  };
  for (const auto& [rest, expected] : cases) {
    HelperMachine machine("", rest);
    const auto outcome =
        outcomeOf(tests::run(machine.actor, installWithOneClick(machine.platform, "Why \"this\"")));
    EXPECT_EQ(outcome, expected);
    const bool isDone = outcome == "installed";
    EXPECT_EQ(fs::exists(installedList(machine)), isDone);
    EXPECT_TRUE(temporaryFiles(machine).empty());
    const bool hasFailed = !isDone && outcome != "cancelled";
    EXPECT_EQ(machine.logged(),
              hasFailed ? "[Helper] one-click install failed: " + expected + "\n" : "");
  }
}

TEST(OneClickInstall, AScriptThatIsChangedWhileTheUserIsAskedDoesNotRun) {
  HelperMachine machine("", R"("tools": [{"tool": "osascript", "seconds": 5}])");
  std::optional<InstallOutcome> outcome;
  const auto install = [&]() -> base::Task<void> {
    outcome = co_await installWithOneClick(machine.platform, "");
  };
  base::TaskScope scope(machine.actor, *machine.platform.systemLog);
  scope.spawn("installation", install());
  machine.pass(1);
  const auto files = temporaryFiles(machine);
  ASSERT_EQ(files.size(), 1u);
  EXPECT_EQ(fs::status(files[0]).permissions(), fs::perms(0600));
  EXPECT_TRUE(files[0].filename().string().starts_with("halvercine-helper-install-"));
  std::ofstream(files[0], std::ios::app) << "rm -rf /\n";
  machine.pass(5);
  ASSERT_TRUE(outcome);
  EXPECT_THAT(outcomeOf(*outcome), testing::HasSubstr("changed before it ran"));
  EXPECT_FALSE(fs::exists(installedList(machine)));
}

}  // namespace
}  // namespace halvercine::helper
