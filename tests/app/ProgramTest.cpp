#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include "base/UniqueFd.h"
#include "support/TemporaryFolder.h"
#include "support/runProgram.h"

namespace halvercine {
namespace {

using testing::HasSubstr;
using testing::Not;
using tests::runProgram;

/// The record of one disk in the answer of `list --json`.
boost::json::value record(const tests::ProgramRun& run, std::string_view name) {
  const auto answer = run.json();
  for (const auto& disk : answer.at_pointer("/result/disks").as_array()) {
    if (disk.at("name").as_string() == name) return disk;
  }
  ADD_FAILURE() << name << " is not in " << run.output;
  return nullptr;
}

TEST(ProgramTest, ListsTheSimulatedMacForPeople) {
  const auto run = runProgram({"--simulate", "list"});
  EXPECT_EQ(run.status, 0) << run.errors;
  EXPECT_THAT(run.output, HasSubstr("NTFS Volumes"));
  EXPECT_THAT(run.output, HasSubstr("read-only"));
  EXPECT_THAT(run.output, HasSubstr("! "));
  EXPECT_THAT(run.output, Not(HasSubstr("\x1b"))) << "no colours off a terminal";
  EXPECT_THAT(run.output, Not(HasSubstr("/System/Volumes")));
  const auto chinese = runProgram({"--simulate", "list", "--lang", "zh-Hans"});
  EXPECT_THAT(chinese.output, HasSubstr("只读"));
}

TEST(ProgramTest, JsonCarriesTheRecordAndTheCause) {
  const auto run = runProgram({"list", "--json", "--simulate"});
  const auto writable = record(run, "Photos");
  EXPECT_TRUE(writable.at("isNTFS").as_bool());
  EXPECT_TRUE(writable.at("isWritable").as_bool());
  EXPECT_FALSE(writable.as_object().contains("readOnly"));
  const auto id = std::string(writable.at("id").as_string());
  const auto info = runProgram({"--simulate", "--json", "info", id}).json();
  EXPECT_EQ(info.at_pointer("/result/disk"), writable);
  struct Row {
    const char* name;
    const char* cause;
    bool canRetry;
  };
  for (const auto& row :
       {Row{"备份 2026", "resource", true}, Row{"Archive", "unknown", true},
        Row{"CAMERA", "hardware", false}, Row{"Windows", "protectedVolume", false}}) {
    const auto explanation = record(run, row.name).at("readOnly");
    EXPECT_THAT(std::string(explanation.at("key").as_string()), HasSubstr("disk.ux.readonly."));
    EXPECT_FALSE(explanation.at("text").as_string().empty());
    EXPECT_EQ(explanation.at("cause").as_string(), row.cause);
    EXPECT_EQ(explanation.at("canRetry").as_bool(), row.canRetry) << row.name;
  }
}

TEST(ProgramTest, FailuresHaveAStatusAndAStableIdentifier) {
  struct Row {
    std::vector<std::string> arguments;
    int status;
    const char* id;
    const char* command;  // "" for none
  };
  const tests::TemporaryFolder folder;
  const auto alone =
      "--simulate=" +
      folder.write("alone.json", R"({"format": 1, "system": {"diskArbitration": false}})").string();
  const Row rows[] = {
      {{"--simulate", "info", "disk99"}, 3, "disk-not-found", "info"},
      {{"--simulate=/nonexistent.json", "list"}, 2, "scenario-unreadable", "list"},
      {{"--simulate=/dev/zero", "list"}, 2, "scenario-unreadable", "list"},
      {{"--simulate=/", "drivers"}, 2, "scenario-unreadable", "drivers"},
      {{alone, "list"}, 1, "no-disk-arbitration", "list"},
      {{alone, "info", "disk4"}, 1, "no-disk-arbitration", "info"},
      {{alone, "mount", "disk4"}, 1, "no-disk-arbitration", "mount"},
      {{alone, "unmount", "disk4"}, 1, "no-disk-arbitration", "unmount"},
      {{alone, "watch"}, 1, "no-disk-arbitration", "watch"},
      {{"lst"}, 2, "usage", ""},
      {{"\x1b[31m\nlist"}, 2, "usage", ""},
      {{}, 2, "usage", ""},
      {{"list", "--lang", "fr"}, 2, "usage", "list"},
      {{"info"}, 2, "usage", "info"},
      {{"list", "--lang="}, 2, "usage", "list"},
      {{"--simulate=/nonexistent=", "list"}, 2, "scenario-unreadable", "list"},
      {{"log", "lst"}, 2, "usage", "log"},
      {{"--simulate", "list", "--at", "-1"}, 2, "usage", "list"},
      {{"--simulate", "list", "--at", "nan"}, 2, "usage", "list"},
      {{"list", "--at", "3"}, 2, "usage", "list"},
      {{"--simulate", "mount", "disk4"}, 1, "whole-disk", "mount"},
      {{"--simulate", "mount", "Photos", "--read-only"}, 1, "mounted-writable", "mount"},
      {{"--simulate", "unmount", "/"}, 1, "start-volume", "unmount"},
      {{"--simulate", "occupants", "Untitled 1"}, 1, "not-mounted", "occupants"},
      {{"--simulate", "occupants", "Photo"}, 1, "no-such-path", "occupants"},
      {{"--simulate", "occupants", "/dev/disk4"}, 1, "whole-disk", "occupants"},
      {{"--simulate=hostile-names", "occupants", "Untitled 1"}, 2, "disk-ambiguous", "occupants"},
      {{"watch", "--for", "inf"}, 2, "usage", "watch"},
  };
  for (const auto& row : rows) {
    const auto plain = runProgram(row.arguments);
    EXPECT_EQ(plain.status, row.status) << row.id;
    EXPECT_TRUE(plain.output.empty()) << plain.output;
    EXPECT_FALSE(plain.errors.empty()) << row.id;
    EXPECT_THAT(plain.errors, Not(HasSubstr("\x1b")));
    auto arguments = row.arguments;
    arguments.emplace_back("--json");
    const auto asJson = runProgram(arguments);
    EXPECT_EQ(asJson.status, row.status) << row.id;
    const auto answer = asJson.json();
    EXPECT_EQ(answer.at_pointer("/error/id").as_string(), row.id);
    const auto* command = answer.as_object().if_contains("command");
    EXPECT_EQ(command ? command->as_string() : "", row.command) << row.id;
  }
}

TEST(ProgramTest, OptionsEndWhereTheUserEndsThem) {
  const auto run = runProgram({"--simulate=", "info", "--", "--json"});
  EXPECT_EQ(run.status, 3) << "--simulate= takes no word behind it";
  EXPECT_THAT(run.output, Not(HasSubstr("{")));
  EXPECT_THAT(run.errors, HasSubstr("--json"));
  const auto spaced = runProgram({"--simulate", "checks", "list"});
  EXPECT_THAT(spaced.errors, HasSubstr("--simulate=checks"));
  EXPECT_THAT(runProgram({"list", ""}).errors, Not(HasSubstr("--simulate")));
  EXPECT_EQ(runProgram({"list", "--version"}).output, runProgram({"version"}).output);
  EXPECT_EQ(runProgram({"--version", "--json"}).output, runProgram({"version", "--json"}).output);
}

TEST(ProgramTest, ScenariosAreReadThroughLinksAndPipes) {
  const tests::TemporaryFolder folder;
  const std::string_view scenario = R"({"format": 1})";
  const auto file = folder.write("file.json", scenario);
  const auto link = folder.path() / "link.json";
  const auto pipe = folder.path() / "pipe.json";
  std::filesystem::create_symlink(file, link);
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  std::thread writer([&] { std::ofstream(pipe) << scenario; });
  for (const auto& path : {file, link, pipe}) {
    const auto run = runProgram({"--simulate=" + path.string(), "list", "--json"});
    EXPECT_EQ(run.status, 0) << run.output;
    EXPECT_THAT(run.output, HasSubstr("\"disks\": []"));
  }
  // Lets the writer go if nobody has read.
  const base::UniqueFd reader(::open(pipe.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  writer.join();
}

TEST(ProgramTest, TellsWhyAVolumeIsNotMounted) {
  const tests::TemporaryFolder folder;
  const auto file = folder.write("unmounted.json", R"({"format": 1, "devices": [{"disk": "disk4",
      "volumes": [{"disk": "disk4s1", "kind": "ntfs", "name": "Theirs",
                   "module": {"driver": "ufsd_NTFS"}},
                  {"disk": "disk4s2", "kind": "ntfs", "name": "Hurt",
                   "report": {"reason": "unsafeVolume"}},
                  {"disk": "disk4s3", "kind": "ntfs", "name": "Well"}]}],
      "tools": [{"tool": "diskutil", "match": ["info", "/dev/disk4s3"], "hang": true}]})");
  const auto simulate = "--simulate=" + file.string();
  const auto list = runProgram({simulate, "list", "--json"});
  EXPECT_FALSE(record(list, "Theirs").as_object().contains("unmountReason")) << "no tool is run";
  EXPECT_EQ(record(list, "Hurt").at_pointer("/unmountReason/case").as_string(), "needsCheck");
  EXPECT_THAT(runProgram({simulate, "list"}).output, HasSubstr("! The volume needs a check"));
  const auto info = runProgram({simulate, "info", "Theirs", "--json"}).json();
  EXPECT_EQ(info.at_pointer("/result/disk/unmountReason/case").as_string(), "thirdParty");
  EXPECT_THAT(std::string(info.at_pointer("/result/disk/unmountReason/text").as_string()),
              HasSubstr("Paragon NTFS"));
  const auto hanging = runProgram({simulate, "info", "Well", "--json"});
  EXPECT_EQ(hanging.status, 0);
  EXPECT_FALSE(hanging.json().at_pointer("/result/disk").as_object().contains("unmountReason"));
  const auto watch = runProgram({simulate, "--fast", "watch", "--for", "2"});
  EXPECT_THAT(watch.output, HasSubstr("Paragon NTFS"));
}

TEST(ProgramTest, HostileNamesStayHarmlessOnATerminalAndWholeInJson) {
  const auto run = runProgram({"--simulate=hostile-names", "list"});
  EXPECT_EQ(run.status, 0) << run.errors;
  for (const char* raw : {"\x1b", "\r", "\xE2\x80\xAE", "\xE2\x80\x8B"}) {
    EXPECT_THAT(run.output, Not(HasSubstr(raw)));
  }
  EXPECT_THAT(run.output, HasSubstr("\\u{1B}"));
  EXPECT_THAT(runProgram({"--simulate=hostile-names", "list", "--json"}).output,
              HasSubstr("\\u001b"));
}

TEST(ProgramTest, SimulatedTimePassesBeforeTheAnswer) {
  const auto count = [](const char* seconds) {
    return runProgram({"--simulate=timeline-demo", "--at", seconds, "list", "--json"})
        .json()
        .at_pointer("/result/disks")
        .as_array()
        .size();
  };
  EXPECT_NE(count("0"), count("5"));
}

TEST(ProgramTest, WatchTellsOfBusySlowReplacedAndVanishingDisksTheSameWayEveryTime) {
  const auto watch = [] {
    return runProgram({"--simulate=busy-and-slow", "--fast", "watch", "--for", "120", "--json"});
  };
  const auto run = watch();
  ASSERT_EQ(run.status, 0) << run.errors;
  std::map<std::string, boost::json::value> last;  // the newest word on each disk
  std::vector<std::string> ofReplaced;
  for (const auto& event : tests::jsonLines(run.output)) {
    const std::string id(event.at_pointer("/disk/id").as_string());
    if (id == "disk6s1") {
      ofReplaced.push_back(std::string(event.at("event").as_string()) + " " +
                           std::string(event.at_pointer("/disk/name").as_string()));
    }
    last[id] = event;
  }
  EXPECT_THAT(ofReplaced,
              testing::ElementsAre("appeared Mine", "disappeared Mine", "appeared Yours"));
  EXPECT_EQ(last.at("disk7s1").at("event").as_string(), "disappeared");
  EXPECT_EQ(last.at("disk8s1").at_pointer("/disk/fileSystem").as_string(), "BitLocker");
  EXPECT_EQ(last.at("disk4s1").at("event").as_string(), "changed");
  EXPECT_EQ(last.at("disk4s1").at_pointer("/disk/isMounted").as_bool(), true);
  EXPECT_EQ(last.at("disk5s1").at_pointer("/disk/readOnly/cause").as_string(), "resource");
  EXPECT_EQ(run.output, watch().output);
}

TEST(ProgramTest, OutputThatCannotBeWrittenIsAFailure) {
  const auto run = runProgram({"--simulate", "list"}, "/dev/full");
  EXPECT_EQ(run.status, 1);
  EXPECT_FALSE(run.errors.empty());
}

}  // namespace
}  // namespace halvercine
