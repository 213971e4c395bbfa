// `run` and `takeover` as a user meets them, on a simulated Mac.
#include <array>
#include <csignal>
#include <fstream>
#include <map>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "base/Json.h"
#include "base/UniqueFd.h"
#include "platform/posix/spawnChild.h"
#include "support/runProgram.h"

namespace halvercine {
namespace {

using testing::HasSubstr;

boost::json::value parsed(const std::string& text) { return base::parseJson(text).value(); }

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
    const auto answer = parsed(run.output);
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
  const auto folder = std::string(::testing::TempDir());
  const auto scenario = folder + "takeover-" + std::to_string(::getpid()) + ".json";
  std::ofstream(scenario) << R"({"format": 1, "devices": [{"disk": "disk4", "volumes": [
      {"disk": "disk4s1", "kind": "ntfs", "name": "Data", "mount": {"readOnly": true}}]}],
      "tools": [{"tool": "diskutil", "match": ["mount", "/dev/disk4s1"], "status": 1,
                 "text": "Volume on disk4s1 failed to mount"}]})";
  const auto text = tests::runProgram({"--simulate=" + scenario, "takeover", "disk4s1"});
  EXPECT_EQ(text.status, 1);
  EXPECT_THAT(text.errors, HasSubstr("Volume on disk4s1 failed to mount"));
  EXPECT_THAT(text.errors, HasSubstr("The volume is mounted again."));
  const auto json = tests::runProgram({"--simulate=" + scenario, "takeover", "disk4s1", "--json"});
  EXPECT_TRUE(parsed(json.output).at_pointer("/error/isMounted").as_bool());
  ::unlink(scenario.c_str());
}

TEST(RunCommandTest, TellsEachThingItDoesOnALineOfItsOwn) {
  const auto run = tests::runProgram({"--simulate", "--fast", "run", "--for", "60", "--json"});
  EXPECT_EQ(run.status, 0) << run.errors;
  std::istringstream lines(run.output);
  std::map<std::string, std::vector<std::string>> events;
  for (std::string line; std::getline(lines, line);) {
    const auto event = parsed(line);
    events[std::string(event.at("disk").as_string())].emplace_back(event.at("event").as_string());
    EXPECT_FALSE(event.at("message").as_string().empty());
  }
  const std::vector<std::string> story{"began", "remounted", "confirmed"};
  EXPECT_THAT(events, testing::UnorderedElementsAre(testing::Pair("disk5s1", story),
                                                    testing::Pair("disk8s1", story)));
}

TEST(RunCommandTest, TheEndOfTheSessionEndsItOnceTheVolumesAreMountedAgain) {
  auto ends = platform::posix::makePipe();
  ASSERT_TRUE(ends);
  const base::UniqueFd output = std::move(ends->readEnd);
  const pid_t child = ::fork();
  if (child == 0) {
    ::dup2(ends->writeEnd.get(), STDOUT_FILENO);
    ::setenv("LC_ALL", "C.UTF-8", 1);
    ::execl(HALVERCINE_PROGRAM, HALVERCINE_PROGRAM, "--simulate", "run", nullptr);
    std::_Exit(127);
  }
  ends->writeEnd = {};
  std::string text;
  std::array<char, 4096> buffer{};
  bool isAsked = false;
  for (ssize_t got = 0; (got = ::read(output.get(), buffer.data(), buffer.size())) > 0;) {
    text.append(buffer.data(), static_cast<std::size_t>(got));
    if (std::exchange(isAsked, true)) continue;
    // It has begun, and has unmounted something or is about to. The end of a session sends both.
    ::kill(child, SIGHUP);
    ::kill(child, SIGTERM);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  EXPECT_TRUE(WIFEXITED(status));
  EXPECT_THAT(WEXITSTATUS(status), testing::AnyOf(129, 130)) << "whichever is heard of first";
  EXPECT_FALSE(text.empty());
  for (const auto* disk : {"disk5s1", "disk8s1"}) {
    const auto began = text.find(std::string(disk) + "  ");
    if (began == std::string::npos) continue;
    EXPECT_NE(text.find("Mounted again", began), std::string::npos) << text;
  }
}

}  // namespace
}  // namespace halvercine
