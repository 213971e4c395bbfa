// `check` as a user meets it: the program itself on simulated Macs, in simulated time.
#include <csignal>
#include <string>
#include <termios.h>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "support/RunningProgram.h"
#include "support/TemporaryFolder.h"
#include "support/runProgram.h"

namespace halvercine {
namespace {

using testing::HasSubstr;

using Output = tests::RunningProgram::Output;

std::vector<std::string> command(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), {"--simulate=checks", "--fast", "check"});
  return arguments;
}
tests::ProgramRun check(std::vector<std::string> arguments) {
  return tests::runProgram(command(std::move(arguments)));
}

TEST(CheckCommandTest, EveryOutcomeHasItsStatusAndSaysWhatToDo) {
  struct Row {
    std::vector<std::string> arguments;
    int status;
    const char* output;
    const char* errors;
  };
  const Row rows[] = {
      {{"Fine"}, 0, "The volume is in order", ""},
      {{"Sloppy"}, 0, "The volume is in order", ""},
      {{"Damaged"}, 1, "index.entry: index entry of “Été 2025.jpg”", ""},
      {{"Damaged"}, 1, "not listed here: 3", ""},
      {{"Repairable"}, 1, "problems that Halvercine can repair", ""},
      {{"Repairable", "--repair", "--yes"}, 0, "Repaired (1)", ""},
      {{"Damaged", "--repair", "--yes"}, 1, "(#0)", ""},
      {{"Repairable", "--repair"}, 2, "", "--yes"},
      {{"Fine", "--copy", "--json"}, 0, "\"copied\":true", ""},
      {{"disk4", "--repair"}, 1, "", "no NTFS volume"},
      {{"Fine", "--direct"}, 0, "The volume is in order", ""},
      {{"Native"}, 1, "", "turn Halvercine on"},
      {{"Vendor"}, 1, "", "turn Halvercine on"},
      {{"Nobody"}, 0, "The volume is in order", "has not answered"},
      {{"Hanging"}, 1, "", "made no progress for 10 minutes"},
      {{"Mortal"}, 0, "The volume is in order", "being mounted again"},
      {{"Doomed"}, 1, "", "was interrupted"},
      {{"Locked Away", "--direct"}, 5, "", "Full Disk Access"},
      {{"disk4"}, 1, "", "no NTFS volume"},
      {{"nothing"}, 3, "", "There is no disk"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.arguments.front() + std::to_string(row.arguments.size()));
    const auto run = check(row.arguments);
    EXPECT_EQ(run.status, row.status) << run.output << run.errors;
    EXPECT_THAT(run.output, HasSubstr(row.output));
    EXPECT_THAT(run.errors, HasSubstr(row.errors));
    if (!*row.errors) {
      EXPECT_EQ(run.errors, "") << "progress is for terminals";
    }
  }
}

TEST(CheckCommandTest, JsonIsAStreamOfFramesAndThenTheReport) {
  const auto run = check({"Repairable", "--json"});
  EXPECT_EQ(run.status, 1);
  const auto values = tests::jsonLines(run.output);
  ASSERT_GE(values.size(), 10u);
  std::uint64_t last = 0;
  int frames = 0;
  for (const auto& value : values) {
    if (!value.as_object().contains("event") || value.at("event") != "progress") continue;
    const auto done = value.at("stage").to_number<std::uint64_t>() * 1'000'000 +
                      value.at("scanned").to_number<std::uint64_t>();
    EXPECT_GT(done, last);
    last = done;
    ++frames;
  }
  EXPECT_GE(frames, 6);
  const auto& result = values.back().at("result");
  EXPECT_EQ(result.at("judgement").at("key"), "check.report.judge.repairable");
  EXPECT_EQ(result.at("report").at("issues").at(0).at("record"), 77);
  EXPECT_EQ(result.at("path"), "module");
  // The same for what fails: one line, with an identifier.
  const std::pair<const char*, const char*> failures[] = {
      {"Native", "module-bypassed"}, {"Doomed", "check-failed"}, {"nothing", "disk-not-found"}};
  for (const auto& [disk, id] : failures) {
    EXPECT_EQ(tests::jsonLines(check({disk, "--json"}).output).back().at("error").at("id"), id);
  }
  const auto fallenBack = tests::jsonLines(check({"Nobody", "--json"}).output);
  EXPECT_EQ(fallenBack.back().at("result").at("cliFallback"), true);
}

/// Has to be ended.
tests::RunningProgram running(Output output, std::vector<std::string> arguments) {
  return {output, command(std::move(arguments))};
}

TEST(CheckCommandTest, AnInterruptWaitsForTheSafeStop) {
  auto run = running(Output::pipe, {"Endless", "--json"});
  ASSERT_TRUE(run.waitFor("\"progress\""));
  run.kill(SIGINT);
  EXPECT_EQ(run.end(), 130);
  EXPECT_THAT(run.text(), HasSubstr("\"cancelling\":true"));
  EXPECT_EQ(tests::jsonLines(run.text()).back().at("error").at("message"),
            "Cancelled. The check has stopped safely.");
}

TEST(CheckCommandTest, TheSecondInterruptLeavesAtOnce) {
  // Nobody heeds the flag of this one.
  auto run = running(Output::pipe, {"Deaf", "--json"});
  ASSERT_TRUE(run.waitFor("\"progress\""));
  run.kill(SIGINT);
  ASSERT_TRUE(run.waitFor("\"cancelling\":true"));
  // More than a second of the machine's time passes: until then it would belong to the first.
  for (int frame = 0; frame < 8; ++frame) ASSERT_TRUE(run.waitFor("\"progress\""));
  run.kill(SIGINT);
  EXPECT_EQ(run.end(), 130);
  EXPECT_THAT(run.text(), HasSubstr("Left at once"));
}

TEST(CheckCommandTest, WhatTheToolAnswersIsTold) {
  struct Row {
    std::string machine;  // how its tools behave, as in a scenario
    std::string volume;
    int status;
    const char* said;
  };
  const auto tool = [](const std::string& members) {
    return R"("tools": [{"tool": )" + members + "}]";
  };
  const Row rows[] = {
      {tool(R"("osascript", "status": 1, "errors": "execution error: User canceled. (-128)\n")"),
       "{}", 130, "nothing was begun"},
      {tool(R"("osascript", "startError": "no such program")"), "{}", 1, "osascript exit=-1"},
      {tool(R"("fsck_halvercine", "text": "garbage\n")"), "{}", 1, "stdout tail: garbage"},
      {tool(R"("fsck_halvercine", "text": "{\"ok\": 1}\n")"), "{}", 1, "JSON decode failed"},
      {tool(R"("lsof")"), R"({"error": "open failed: Resource busy"})", 5, "Full Disk Access"},
      {tool(R"("lsof")"), R"({"error": "bad boot sector"})", 1, "bad boot sector"},
      {R"("system": {"checkTool": false})", "{}", 1, "fsck_halvercine not found in app bundle"},
  };
  const tests::TemporaryFolder folder;
  for (const auto& row : rows) {
    const auto scenario =
        folder.write("tool.json", R"({"format": 1, "devices": [{"disk": "disk4", "volumes": [
        {"disk": "disk4s1", "name": "DATA", "kind": "ntfs", "fsck": )" +
                                      row.volume + "}]}], " + row.machine + "}");
    const auto run = tests::runProgram(
        {"--simulate=" + scenario.string(), "--fast", "check", "DATA", "--direct"});
    EXPECT_EQ(run.status, row.status) << row.machine;
    EXPECT_THAT(run.errors, HasSubstr(row.said));
  }
}

TEST(CheckCommandTest, AReaderThatGoesCancelsTheCheck) {
  auto run = running(Output::pipe, {"Endless", "--json"});
  ASSERT_TRUE(run.waitFor("\"progress\""));
  run.closeOutput();
  EXPECT_EQ(run.end(), 130);
}

TEST(CheckCommandTest, KeysPauseAndResumeAndTheTerminalIsAsBefore) {
  auto run = running(Output::terminal, {"Endless"});
  ASSERT_TRUE(run.waitFor("Keys: p pauses"));
  ASSERT_TRUE(run.waitFor("]"));
  EXPECT_EQ(run.localFlags(), static_cast<tcflag_t>(ISIG));
  EXPECT_NE(run.isNonBlocking(), true) << "others have the terminal, too";
  run.type("p");
  ASSERT_TRUE(run.waitFor("Paused"));
  run.type("r");
  ASSERT_TRUE(run.waitFor("left in this stage"));
  run.type("\x03");  // Ctrl-C, from the terminal itself
  ASSERT_TRUE(run.waitFor("Cancelled. The check has stopped safely"));
  EXPECT_EQ(run.localFlags(), static_cast<tcflag_t>(ICANON | ECHO | ISIG));
  EXPECT_EQ(run.end(), 130);
}

TEST(CheckCommandTest, ASignalThatEndsItRestoresTheTerminalToo) {
  for (const int signal : {SIGQUIT, SIGABRT, SIGHUP}) {
    auto run = running(Output::terminal, {"Endless"});
    ASSERT_TRUE(run.waitFor("]"));
    run.kill(signal);
    // Whether there is one more redraw does not matter; the end of the output is the end.
    EXPECT_EQ(run.end(), signal == SIGHUP ? 129 : -signal);
    EXPECT_EQ(run.localFlags(), static_cast<tcflag_t>(ICANON | ECHO | ISIG));
  }
}

TEST(CheckCommandTest, ARepairIsAskedForOnATerminal) {
  for (const bool agrees : {true, false}) {
    auto run = running(Output::terminal, {"Repairable", "--repair"});
    ASSERT_TRUE(run.waitFor("Repair “Repairable” (disk4s3"));
    run.type(agrees ? "y\n" : "\n");
    EXPECT_EQ(run.end(), agrees ? 0 : 130);
    EXPECT_THAT(run.text(), HasSubstr(agrees ? "Repaired (1)" : "Nothing was repaired"));
  }
}

}  // namespace
}  // namespace halvercine
