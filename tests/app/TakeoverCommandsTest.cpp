// `run` and `takeover` as a user meets them, on a simulated Mac.
#include <csignal>
#include <map>
#include <vector>

#include <gmock/gmock.h>

#include "support/RunningProgram.h"
#include "support/TemporaryFolder.h"
#include "support/runProgram.h"

namespace halvercine {
namespace {

using testing::HasSubstr;

TEST(TakeoverCommandTest, EveryAnswerHasItsStatusAndItsIdentifier) {
  struct Case {
    const char* disk;
    int status;
    const char* id;  // of the error
  };
  const Case cases[] = {
      {"disk8s1", 0, ""},           // mounted by the system
      {"disk5s1", 0, ""},           // got read-only by the module
      {"disk4s1", 0, ""},           // writable already
      {"disk6s1", 1, "read-only"},  // a write-protected card
      {"disk7s3", 1, "read-only"},  // hibernated
      {"disk8s2", 1, "not-ntfs"},  {"nothing", 3, "disk-not-found"},
  };
  for (const auto& known : cases) {
    const auto run = tests::runProgram({"--simulate", "takeover", known.disk, "--json"});
    EXPECT_EQ(run.status, known.status) << known.disk;
    const auto answer = run.json();
    if (known.status != 0) {
      EXPECT_EQ(answer.at("error").at("id").as_string(), known.id) << known.disk;
    } else {
      EXPECT_TRUE(answer.at_pointer("/result/disk/isWritable").as_bool()) << known.disk;
      const bool wasSo = std::string_view(known.disk) == "disk4s1";
      EXPECT_EQ(answer.at_pointer("/result/nothingToDo").as_bool(), wasSo) << known.disk;
    }
  }
  const auto chinese =
      tests::runProgram({"--simulate", "--lang", "zh-Hans", "takeover", "disk8s1"});
  EXPECT_EQ(chinese.output, "“Archive”现在可以写入。\n");
}

TEST(TakeoverCommandTest, FailedMountSaysWhatBecameOfTheVolume) {
  const tests::TemporaryFolder folder;
  const auto scenario = "--simulate=" + folder
                                            .write("scenario.json", R"({"format": 1,
      "devices": [{"disk": "disk4", "volumes": [
        {"disk": "disk4s1", "kind": "ntfs", "name": "Data", "mount": {"readOnly": true}}]}],
      "tools": [{"tool": "diskutil", "match": ["mount", "/dev/disk4s1"], "status": 1,
                 "text": "Volume on disk4s1 failed to mount"}]})")
                                            .string();
  const auto text = tests::runProgram({scenario, "takeover", "disk4s1"});
  EXPECT_EQ(text.status, 1);
  EXPECT_THAT(text.errors, HasSubstr("Volume on disk4s1 failed to mount"));
  EXPECT_THAT(text.errors, HasSubstr("The volume is mounted again."));
  const auto json = tests::runProgram({scenario, "takeover", "disk4s1", "--json"}).json();
  EXPECT_TRUE(json.at_pointer("/error/isMounted").as_bool());
}

TEST(RunCommandTest, TellsEachThingItDoesOnALineOfItsOwn) {
  const auto run = tests::runProgram({"--simulate", "--fast", "run", "--for", "60", "--json"});
  EXPECT_EQ(run.status, 0) << run.errors;
  std::map<std::string, std::vector<std::string>> events;
  for (const auto& event : tests::jsonLines(run.output)) {
    events[std::string(event.at("disk").as_string())].emplace_back(event.at("event").as_string());
    EXPECT_FALSE(event.at("message").as_string().empty());
  }
  const std::vector<std::string> story{"began", "remounted", "confirmed"};
  EXPECT_THAT(events, testing::UnorderedElementsAre(testing::Pair("disk5s1", story),
                                                    testing::Pair("disk8s1", story)));
}

TEST(RunCommandTest, TheEndOfTheSessionEndsItOnceTheVolumesAreMountedAgain) {
  tests::RunningProgram run(tests::RunningProgram::Output::pipe, {"--simulate", "run"});
  ASSERT_TRUE(run.waitFor("\n"));
  // It has begun, and has unmounted something or is about to. The end of a session sends both.
  run.kill(SIGHUP);
  run.kill(SIGTERM);
  EXPECT_THAT(run.end(), testing::AnyOf(129, 130)) << "whichever is heard of first";
  const auto& text = run.text();
  for (const auto* disk : {"disk5s1", "disk8s1"}) {
    const auto began = text.find(std::string(disk) + "  ");
    if (began == std::string::npos) continue;
    EXPECT_NE(text.find("Mounted again", began), std::string::npos) << text;
  }
}

}  // namespace
}  // namespace halvercine
