// `check` as a user meets it: the program itself on simulated Macs, in simulated time.
#include <algorithm>
#include <array>
#include <csignal>
#include <fcntl.h>
#include <stdlib.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/Json.h"
#include "base/UniqueFd.h"
#include "platform/posix/spawnChild.h"
#include "support/TemporaryFolder.h"
#include "support/runProgram.h"

namespace halvercine {
namespace {

using base::UniqueFd;
using testing::HasSubstr;

tests::ProgramRun check(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), {"--simulate=checks", "--fast", "check"});
  return tests::runProgram(std::move(arguments));
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

std::vector<boost::json::value> lines(const std::string& output) {
  std::vector<boost::json::value> values;
  for (std::size_t begin = 0; begin < output.size();) {
    const auto end = output.find('\n', begin);
    auto parsed = base::parseJson(output.substr(begin, end - begin));
    if (!parsed) ADD_FAILURE() << output.substr(begin, end - begin);
    values.push_back(parsed.value_or(nullptr));
    begin = end + 1;
  }
  return values;
}

TEST(CheckCommandTest, JsonIsAStreamOfFramesAndThenTheReport) {
  const auto run = check({"Repairable", "--json"});
  EXPECT_EQ(run.status, 1);
  const auto values = lines(run.output);
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
    EXPECT_EQ(lines(check({disk, "--json"}).output).back().at("error").at("id"), id);
  }
  const auto fallenBack = lines(check({"Nobody", "--json"}).output);
  EXPECT_EQ(fallenBack.back().at("result").at("cliFallback"), true);
}

/// The program on a terminal, or with its output in a pipe.
class RunningCheck {
 public:
  enum class Output { terminal, pipe };

  RunningCheck(Output output, std::vector<const char*> arguments) {
    UniqueFd theirs;
    if (output == Output::terminal) {
      ours_ = UniqueFd(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
      if (::grantpt(ours_.get()) != 0 || ::unlockpt(ours_.get()) != 0) return;
      theirs = UniqueFd(::open(::ptsname(ours_.get()), O_RDWR | O_NOCTTY | O_CLOEXEC));
    } else {
      auto ends = platform::posix::makePipe();
      if (!ends) return;
      ours_ = std::move(ends->readEnd);
      theirs = std::move(ends->writeEnd);
    }
    arguments.insert(arguments.begin(),
                     {HALVERCINE_PROGRAM, "--simulate=checks", "--fast", "check"});
    arguments.push_back(nullptr);
    child_ = ::fork();
    if (child_ != 0) return;
    ::setsid();
    if (output == Output::terminal) {
      // Opened by the leader of a session, it becomes the controlling terminal.
      const int terminal = ::open(::ttyname(theirs.get()), O_RDWR);
      for (const int stream : {0, 1, 2}) ::dup2(terminal, stream);
    } else {
      ::dup2(theirs.get(), STDOUT_FILENO);
    }
    ::setenv("LC_ALL", "C.UTF-8", 1);
    ::setenv("TERM", "xterm", 1);
    ::setenv("NO_COLOR", "1", 1);
    const rlimit limit{60, 60};  // a fault costs a while of computing, not for ever
    ::setrlimit(RLIMIT_CPU, &limit);
    ::execv(HALVERCINE_PROGRAM, const_cast<char* const*>(arguments.data()));
    std::_Exit(127);
  }

  /// Reads until `text` has come; false when the output ends before.
  bool waitFor(const std::string& text) {
    while (text_.find(text, seen_) == std::string::npos) {
      // What has been looked through is not looked through again, but for a beginning of the text.
      seen_ = std::max(seen_, text_.size() - std::min(text_.size(), text.size()));
      if (!readMore()) return false;
    }
    seen_ = text_.find(text, seen_) + text.size();
    return true;
  }

  void press(const std::string& keys) {
    EXPECT_EQ(::write(ours_.get(), keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
  }
  void interrupt() const { ::kill(child_, SIGINT); }
  void kill(int signal) const { ::kill(child_, signal); }
  void closeOutput() { ours_ = UniqueFd(); }

  /// The terminal's mode as the program has left it.
  tcflag_t localFlags() const {
    termios mode{};
    ::tcgetattr(ours_.get(), &mode);
    return mode.c_lflag & (ICANON | ECHO | ISIG);
  }

  /// Its status; the number of the signal below 0 if one ended it.
  int end() {
    while (ours_ && readMore()) {
    }
    int status = 0;
    ::waitpid(child_, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }

  const std::string& text() const { return text_; }

 private:
  bool readMore() {
    std::array<char, 4096> buffer{};
    const auto got = ::read(ours_.get(), buffer.data(), buffer.size());
    if (got <= 0) return false;
    text_.append(buffer.data(), static_cast<std::size_t>(got));
    return true;
  }

  UniqueFd ours_;
  pid_t child_ = -1;
  std::string text_;
  std::size_t seen_ = 0;
};

TEST(CheckCommandTest, AnInterruptWaitsForTheSafeStop) {
  RunningCheck run(RunningCheck::Output::pipe, {"Endless", "--json"});
  ASSERT_TRUE(run.waitFor("\"progress\""));
  run.interrupt();
  EXPECT_EQ(run.end(), 130);
  EXPECT_THAT(run.text(), HasSubstr("\"cancelling\":true"));
  EXPECT_EQ(lines(run.text()).back().at("error").at("message"),
            "Cancelled. The check has stopped safely.");
}

TEST(CheckCommandTest, TheSecondInterruptLeavesAtOnce) {
  // Nobody heeds the flag of this one.
  RunningCheck run(RunningCheck::Output::pipe, {"Deaf", "--json"});
  ASSERT_TRUE(run.waitFor("\"progress\""));
  run.interrupt();
  ASSERT_TRUE(run.waitFor("\"cancelling\":true"));
  run.interrupt();
  EXPECT_EQ(run.end(), 130);
  EXPECT_THAT(run.text(), HasSubstr("Left at once"));
}

TEST(CheckCommandTest, WhatTheToolAnswersIsTold) {
  struct Row {
    const char* tool;  // its behaviour, as in a scenario
    const char* volume;
    int status;
    const char* said;
  };
  const Row rows[] = {
      {R"({"tool": "osascript", "status": 1, "errors": "0:54: execution error: User canceled. (-128)\n"})",
       "{}", 130, "nothing was begun"},
      {R"({"tool": "osascript", "startError": "no such program"})", "{}", 1, "osascript exit=-1"},
      {R"({"tool": "fsck_halvercine", "text": "garbage\n"})", "{}", 1, "stdout tail: garbage"},
      {R"({"tool": "fsck_halvercine", "text": "{\"ok\": 1}\n"})", "{}", 1, "JSON decode failed"},
      {R"({"tool": "lsof"})", R"({"error": "open failed: Resource busy"})", 5, "Full Disk Access"},
      {R"({"tool": "lsof"})", R"({"error": "bad boot sector"})", 1, "bad boot sector"},
  };
  const tests::TemporaryFolder folder;
  for (const auto& row : rows) {
    const auto scenario = std::string(R"({"format": 1, "devices": [{"disk": "disk4", "volumes": [
        {"disk": "disk4s1", "name": "DATA", "kind": "ntfs", "fsck": )") +
                          row.volume + R"(}]}], "tools": [)" + row.tool + "]}";
    const auto option = "--simulate=" + folder.write("tool.json", scenario).string();
    const auto run = tests::runProgram({option, "--fast", "check", "DATA", "--direct"});
    EXPECT_EQ(run.status, row.status) << row.tool;
    EXPECT_THAT(run.errors, HasSubstr(row.said));
  }
  const auto missing = folder.write("missing.json", R"({"format": 1, "system": {"checkTool": false},
      "devices": [{"disk": "disk4", "volumes": [{"disk": "disk4s1", "name": "DATA", "kind": "ntfs"}]}]})");
  const auto run =
      tests::runProgram({"--simulate=" + missing.string(), "--fast", "check", "DATA", "--direct"});
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.errors, HasSubstr("fsck_halvercine not found in app bundle"));
}

TEST(CheckCommandTest, AReaderThatGoesCancelsTheCheck) {
  RunningCheck run(RunningCheck::Output::pipe, {"Endless", "--json"});
  ASSERT_TRUE(run.waitFor("\"progress\""));
  run.closeOutput();
  EXPECT_EQ(run.end(), 130);
}

TEST(CheckCommandTest, KeysPauseAndResumeAndTheTerminalIsAsBefore) {
  RunningCheck run(RunningCheck::Output::terminal, {"Endless"});
  ASSERT_TRUE(run.waitFor("Keys: p pauses"));
  ASSERT_TRUE(run.waitFor("]"));
  EXPECT_EQ(run.localFlags(), static_cast<tcflag_t>(ISIG));
  run.press("p");
  ASSERT_TRUE(run.waitFor("Paused"));
  run.press("r");
  ASSERT_TRUE(run.waitFor("left in this stage"));
  run.press("\x03");  // Ctrl-C, from the terminal itself
  ASSERT_TRUE(run.waitFor("Cancelled. The check has stopped safely"));
  EXPECT_EQ(run.localFlags(), static_cast<tcflag_t>(ICANON | ECHO | ISIG));
  EXPECT_EQ(run.end(), 130);
}

TEST(CheckCommandTest, ASignalThatEndsItRestoresTheTerminalToo) {
  for (const int signal : {SIGQUIT, SIGABRT, SIGHUP}) {
    RunningCheck run(RunningCheck::Output::terminal, {"Endless"});
    ASSERT_TRUE(run.waitFor("]"));
    run.kill(signal);
    // Whether there is one more redraw does not matter; the end of the output is the end.
    EXPECT_EQ(run.end(), signal == SIGHUP ? 129 : -signal);
    EXPECT_EQ(run.localFlags(), static_cast<tcflag_t>(ICANON | ECHO | ISIG));
  }
}

TEST(CheckCommandTest, ARepairIsAskedForOnATerminal) {
  for (const bool agrees : {true, false}) {
    RunningCheck run(RunningCheck::Output::terminal, {"Repairable", "--repair"});
    ASSERT_TRUE(run.waitFor("Repair “Repairable” (disk4s3"));
    run.press(agrees ? "y\n" : "\n");
    EXPECT_EQ(run.end(), agrees ? 0 : 130);
    EXPECT_THAT(run.text(), HasSubstr(agrees ? "Repaired (1)" : "Nothing was repaired"));
  }
}

}  // namespace
}  // namespace halvercine
