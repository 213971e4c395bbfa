// `explain` from the command line to its answer.
#include <sstream>

#include <gmock/gmock.h>

#include "app/Options.h"
#include "mount/explanation/catalogue.h"
#include "support/TemporaryFolder.h"
#include "support/runProgram.h"

namespace halvercine {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using tests::runProgram;

// One volume for each thing that the command has to look up. The tools of some of them do not
// answer, and two disks do not stay.
constexpr auto scenario = R"({"format": 1,
  "system": {"now": "2027-01-15T08:00:00Z"},
  "devices": [
    {"disk": "disk3", "attachment": "apfs", "volumes": [
      {"disk": "disk3s5", "kind": "apfs", "name": "Data", "mount": {"path": "/System/Volumes/Data"}}]},
    {"disk": "disk4", "volumes": [
      {"disk": "disk4s1", "kind": "ntfs", "name": "Well", "mount": {}, "report": {"reason": "readWrite"}},
      {"disk": "disk4s2", "kind": "ntfs", "name": "Held", "mount": {"readOnly": true},
       "report": {"reason": "resourceReadOnly", "age": 30}},
      {"disk": "disk4s3", "kind": "ntfs", "name": "Old", "mount": {"readOnly": true},
       "report": {"reason": "eowSafety", "age": 600}},
      {"disk": "disk4s4", "kind": "ntfs", "name": "Away",
       "uuid": "11111111-2222-3333-4444-555555555555"},
      {"disk": "disk4s5", "kind": "ntfs", "name": "Mute"},
      {"disk": "disk4s6", "kind": "ntfs", "name": "Theirs", "module": {"driver": "ufsd_NTFS"}},
      {"disk": "disk4s7", "kind": "ntfs", "name": "Busy"},
      {"disk": "disk4s8", "kind": "ntfs", "name": "Bare", "mount": {"readOnly": true},
       "module": {"driver": "system"}}]},
    {"disk": "disk5", "volumes": [{"disk": "disk5s1", "kind": "ntfs", "name": "Pulled"}]},
    {"disk": "disk6", "volumes": [{"disk": "disk6s1", "kind": "ntfs", "name": "Swapped"}]},
    {"disk": "disk7", "volumes": [{"disk": "disk7s1", "bitLocker": {"tpmOnly": true}}]}],
  "processes": [{"pid": 7, "command": "cat", "files": ["/Volumes/Held/a\nb"]},
                {"pid": 8, "command": "dd", "devices": ["rdisk4s7"]}],
  "tools": [{"tool": "diskutil", "match": ["info", "/dev/disk4s5"], "hang": true, "ignoresTerminate": true},
            {"tool": "lsof", "match": ["-w", "-n", "-P", "-Fpcfn", "-f", "--", "/dev/rdisk4s5"], "hang": true},
            {"tool": "diskutil", "match": ["info", "/dev/disk5s1"], "seconds": 3},
            {"tool": "diskutil", "match": ["info", "/dev/disk6s1"], "seconds": 3}],
  "files": {"/Library/Filesystems/ufsd_NTFS.fs/": null,
            "~/Library/Preferences/halvercine.json":
      "{\"manualUnmountRegistry\": {\"11111111-2222-3333-4444-555555555555\": 1.799992800e9}}"},
  "timeline": [{"at": 1, "event": "unplug", "disk": "disk5"},
               {"at": 1, "event": "replace", "disk": "disk6", "device": {"disk": "disk6", "volumes": [
                 {"disk": "disk6s1", "kind": "ntfs", "name": "Other"}]}}]})";

class ExplainTest : public testing::Test {
 protected:
  tests::ProgramRun explain(std::vector<std::string> more) const {
    more.insert(more.begin(), {simulate, "explain"});
    return runProgram(std::move(more));
  }

  tests::TemporaryFolder folder;
  std::string simulate = "--simulate=" + folder.write("scenario.json", scenario).string();
};

TEST_F(ExplainTest, TellsTheStateAndItsEvidenceInBothLanguages) {
  const struct {
    const char* disk;
    const char* state;
    const char* english;
    const char* chinese;
  } cases[] = {
      {"Well", "writable", "All is well", "一切正常"},
      {"Held", "readOnlyResource", "cat (process 7) has /Volumes/Held/a\\nb open",
       "cat（进程 7）正在使用"},
      {"Old", "readOnlyStaleReport", "last reported on it 10 min ago", "10 分钟前"},
      {"Away", "unmountedByUser", "You unmounted it 2 h ago", "你在 2 小时前"},
      {"Mute", "unmounted", "the disk tool gave no answer", "磁盘工具没有给出结果"},
      {"Mute", "unmounted", "the search gave no answer", "查找没有得到结果"},
      {"Theirs", "unmountedThirdParty", "Other NTFS drivers are installed: Paragon NTFS",
       "已安装其他 NTFS 驱动程序：Paragon NTFS"},
      {"Busy", "unmountedHeld", "dd (process 8) has", "dd（进程 8）"},
      {"Bare", "readOnlySystemDriver", "the system's own NTFS driver", "系统自带的 NTFS 驱动程序"},
      {"disk5s1", "gone", "“Pulled” was disconnected", "断开了连接"},
      {"disk6s1", "replaced", "took the place of “Swapped”", "被另一个磁盘取代"},
      {"disk7s1", "bitLockerTpmOnly", "(TPM)", "（TPM）"},
      {"disk7", "wholeDisk", "whole disk", "整个磁盘"},
      {"/dev/rdisk3s5", "unlisted", "“disk3s5” belongs to the system", "“disk3s5”属于系统"},
  };
  for (const auto& [disk, state, english, chinese] : cases) {
    const auto run = explain({disk, "--json"});
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_THAT(run.output, HasSubstr(english)) << disk;
    EXPECT_EQ(run.json().at_pointer("/result/state").as_string(), state) << disk;
    EXPECT_THAT(explain({disk, "--lang", "zh-Hans"}).output, HasSubstr(chinese)) << disk;
  }
}

TEST_F(ExplainTest, ShowsSectionsForPeople) {
  const auto run = explain({"Held"});
  EXPECT_EQ(run.status, 0) << run.errors;
  EXPECT_THAT(run.output, StartsWith("“Held” can only be read"));
  EXPECT_THAT(run.output, HasSubstr("\nWhat is known\n  - File system: ntfs.\n"));
  EXPECT_THAT(run.output, HasSubstr("cat (process 7) has /Volumes/Held/a\\u{A}b open"));
  EXPECT_THAT(run.output, HasSubstr("\nWhat you can do\n  1. Close the files"));
  EXPECT_THAT(run.output, HasSubstr("\n      halvercine takeover disk4s2\n"));
  EXPECT_THAT(explain({"Well"}).output, Not(HasSubstr("What you can do")));
}

TEST(ExplainCommandsTest, WhatTheUserIsToldToTypeIsACommandLine) {
  for (const auto& situation : tests::catalogue()) {
    for (const auto& step : mount::explain(situation.facts).next) {
      std::istringstream words(step.command.value_or(""));
      std::vector<std::string> line;
      for (std::string word; words >> word;) {
        if (word != "&&") line.push_back(word);
        const bool isComplete = word == "&&" || words.peek() == EOF;
        if (!isComplete) continue;
        std::vector<const char*> arguments;
        for (const auto& argument : line) arguments.push_back(argument.c_str());
        EXPECT_TRUE(app::readOptions(static_cast<int>(arguments.size()), arguments.data()))
            << *step.command;
        line.clear();
      }
    }
  }
}

TEST_F(ExplainTest, JsonHasTheSameTextsWithTheirKeysAndCommands) {
  const auto document = explain({"Away", "--json"}).json();
  const auto textAt = [&](const char* pointer) {
    return std::string(document.at_pointer(pointer).as_string());
  };
  EXPECT_EQ(textAt("/result/disk"), "disk4s4");
  EXPECT_EQ(textAt("/result/recovery"), "none");
  EXPECT_EQ(textAt("/result/headline/key"), "explain.state.unmountedbyuser");
  EXPECT_EQ(textAt("/result/next/0/command"), "halvercine mount disk4s4");
  EXPECT_THAT(explain({"Away"}).output, HasSubstr(textAt("/result/headline/text")));
}

TEST_F(ExplainTest, WhatIsNoDiskHasNoExplanation) {
  for (const auto* none : {"disk99", "/dev/", "/dev/disk3s5/../x"}) {
    EXPECT_EQ(explain({none}).status, 3) << none;
  }
  EXPECT_THAT(explain({"disk99"}).output, Not(HasSubstr("belongs")));
  EXPECT_EQ(explain({}).status, 2);
}

}  // namespace
}  // namespace halvercine
