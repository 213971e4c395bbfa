// `unlock` as a user meets it: the program itself on a simulated Mac.
#include <csignal>
#include <cstdlib>
#include <string>
#include <sys/wait.h>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "base/Text.h"
#include "support/RunningProgram.h"
#include "support/runProgram.h"

namespace halvercine {
namespace {

using testing::HasSubstr;
using tests::RunningProgram;

const std::string recovery = "123453-530112-077011-660143-366663-000572-219989-466664";

tests::ProgramRun unlock(std::vector<std::string> arguments, const std::string& input) {
  arguments.insert(arguments.begin(), {"--simulate=bitlocker", "--fast", "unlock"});
  return tests::runProgram(std::move(arguments), nullptr, input);
}

TEST(UnlockCommandTest, EveryResultHasItsStatusAndItsText) {
  struct Row {
    std::vector<std::string> arguments;
    std::string input;
    int status;
    const char* text;  // of the output, or of the errors when it failed
  };
  const Row rows[] = {
      {{"disk4s1"}, "correct horse\n", 0, "unlocked and mounted at /Volumes/Papers (read-write)"},
      {{"disk4s1", "--read-only"}, "correct horse", 0, "(read-only)"},
      {{"disk4s1", "--recovery"}, recovery + "\r\n", 0, "is unlocked"},
      {{"disk4s1", "--remember"}, "correct horse\nmore\n", 0, "is unlocked"},
      {{"disk4s2"}, "correct horse\n", 0, "is unlocked"},
      {{"disk4s3"}, "", 0, "is unlocked"},
      {{"disk4s4"}, "\n", 1, "is not correct"},
      {{"disk4s1"}, "Correct horse\n", 1, "is not correct"},
      {{"disk4s1"}, "", 2, "Nothing was entered"},
      {{"disk4s1"}, "\xff\n", 2, "not UTF-8"},
      {{"disk4s1", "--recovery"}, "123453-530113\n", 2, "Group 2 has a typing error. Digits still"},
      {{"disk5s1"}, "x\n", 1, "security chip"},
      {{"disk4s1"}, "a" + std::string("\0b\n", 3), 2, "null character"},
      {{"disk4s3", "--recovery"}, "", 2, "Nothing was entered"},
      {{"disk5s11"}, "x\n", 1, "neither a password nor a recovery password"},
      {{"disk5s2"}, "x\n", 1, "Unlock it with: halvercine unlock disk5s2 --recovery"},
      {{"disk5s2", "--recovery"}, recovery, 0, "is unlocked"},
      {{"disk5s3"}, "x\n", 1, "only partly encrypted"},
      {{"disk5s4"}, "x\n", 1, "formatted as exFAT"},
      {{"disk5s5"}, "x\n", 1, "formatted as FAT"},
      {{"disk5s6"}, "x\n", 1, "a BitLocker method that Halvercine does not support"},
      {{"disk5s7"}, "x\n", 1, "damaged or cannot be read"},
      {{"disk5s8"}, "x\n", 1, "could not be unlocked. Try again"},
      {{"disk5s9"}, "x\n", 1, "could not be unlocked. Try again"},
      {{"disk5s10"}, "x\n", 1, "security chip"},
      {{"disk6s1"}, "x\n", 1, "no answer in time"},
      {{"disk6s2"}, "x\n", 1, "could not be confirmed as mounted"},
      {{"disk6s3"}, "x\n", 0, "is unlocked"},
      {{"disk6s4"}, "x\n", 1, "could not be confirmed as mounted"},
      {{"disk6s5"}, "x\n", 1, "no answer in time"},
      {{"disk6s6"}, "correct horse\n", 0, "is unlocked"},
      {{"disk7s1"}, "x\n", 1, "not the same one as before"},
      {{"disk8s1"}, "x\n", 1, "plug it back in"},
      {{"disk4"}, "x\n", 1, "is not a BitLocker volume"},
      {{"disk99"}, "x\n", 3, "There is no disk"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.arguments.front() + " " + row.input);
    const auto run = unlock(row.arguments, row.input);
    EXPECT_EQ(run.status, row.status) << run.output << run.errors;
    EXPECT_THAT(row.status == 0 ? run.output : run.errors, HasSubstr(row.text));
  }
}

TEST(UnlockCommandTest, JsonTellsTheRecordOrTheCode) {
  const auto done = unlock({"disk4s1", "--json"}, "correct horse\n").json();
  EXPECT_EQ(done.at("result").at("disk").at("isMounted"), true);
  EXPECT_EQ(done.at("result").at("nothingToDo"), false);
  const auto failed = unlock({"disk5s8", "--json"}, "x\n").json();
  EXPECT_EQ(failed.at("error").at("id"), "bitlocker.error.generic");
  EXPECT_EQ(failed.at("error").at("code"), "somethingNew");
  const auto typo = unlock({"disk4s1", "--recovery", "--json"}, "123453530113").json();
  EXPECT_EQ(typo.at("error").at("digits"), 12);
  EXPECT_EQ(typo.at("error").at("wrongGroups").at(0), 2);
}

TEST(UnlockCommandTest, RunUnlocksWhatIsRemembered) {
  const auto run = tests::runProgram({"--simulate=bitlocker", "--fast", "run", "--for", "20"});
  EXPECT_EQ(run.status, 0) << run.errors;
  EXPECT_THAT(run.output, HasSubstr("was unlocked with the remembered password"));
  EXPECT_THAT(run.output, HasSubstr("could not be unlocked with the remembered password"));
}

/// Has to be ended.
RunningProgram onTerminal(std::vector<std::string> words, unsigned short width = 80) {
  words.insert(words.begin(), "--simulate=bitlocker");
  return {RunningProgram::Output::terminal, std::move(words), width};
}

/// What stood in the row that is drawn again and again.
std::vector<std::string> redrawnRows(const std::string& shown) {
  const std::string begin = "\r\x1B[K";
  std::vector<std::string> rows;
  for (auto at = shown.find(begin); at != std::string::npos; at = shown.find(begin, at)) {
    at += begin.size();
    rows.push_back(shown.substr(at, shown.find_first_of("\r\n", at) - at));
  }
  return rows;
}

TEST(UnlockCommandTest, AsksWithoutEchoAndHelpsWithARecoveryPassword) {
  auto password = onTerminal({"--fast", "unlock", "disk4s1"});
  ASSERT_TRUE(password.waitFor("Password of"));
  EXPECT_FALSE(password.echoes());
  password.type(
      "wrong\x15"
      "corrext\x7f\x7f"
      "ct ho\x1b[Drse\n");
  EXPECT_EQ(password.end(), 0) << password.text();
  EXPECT_THAT(password.text(), testing::Not(HasSubstr("horse")));
  EXPECT_TRUE(password.echoes());

  constexpr unsigned short columns = 80;
  auto typed = onTerminal({"--fast", "unlock", "disk4s1", "--recovery"}, columns);
  ASSERT_TRUE(typed.waitFor("48-digit"));
  typed.type("123453-530113");
  EXPECT_TRUE(typed.waitFor("Group 2 has a typing error. Digits still missing: 36."));
  typed.type("\n");
  EXPECT_TRUE(typed.waitFor("This is not a valid recovery password"));
  typed.type(recovery + "\n");
  EXPECT_TRUE(typed.waitFor("complete"));
  EXPECT_EQ(typed.end(), 0) << typed.text();
  for (const auto& row : redrawnRows(typed.text())) {
    EXPECT_LT(base::displayWidth(row), columns) << row << ": cannot be redrawn";
  }
  EXPECT_THAT(typed.text(), testing::Not(HasSubstr("530112")));
}

TEST(UnlockCommandTest, WithoutAnInputNothingIsTried) {
  const std::string command =
      std::string("exec '") + HALVERCINE_PROGRAM + "' --simulate=bitlocker --fast unlock disk4s3 ";
  const int closed = std::system((command + "<&- 2>/dev/null").c_str());
  EXPECT_EQ(WEXITSTATUS(closed), 1);
  const int empty = std::system((command + "</dev/null >/dev/null").c_str());
  EXPECT_EQ(WEXITSTATUS(empty), 0);
}

TEST(UnlockCommandTest, TheEndOfTheTerminalEndsTheControllerInOrder) {
  auto program = onTerminal({"run"});
  ASSERT_TRUE(program.waitFor("was unlocked with the remembered password"));
  program.kill(SIGHUP);
  EXPECT_EQ(program.end(), 129) << program.text();
}

TEST(UnlockCommandTest, SignalsEndItInOrder) {
  const std::pair<int, int> signals[] = {
      {SIGINT, 130}, {SIGTERM, 130}, {SIGHUP, 129}, {SIGQUIT, 130}};
  for (const auto& [signal, status] : signals) {
    for (const bool isAsking : {true, false}) {
      SCOPED_TRACE(std::to_string(signal) + (isAsking ? " asking" : " waiting"));
      auto program = onTerminal({"unlock", "disk6s1"});
      ASSERT_TRUE(program.waitFor("Password of"));
      if (!isAsking) {
        program.type("anything\n");
        ASSERT_TRUE(program.waitFor("Verifying"));
      }
      program.kill(signal);
      EXPECT_EQ(program.end(), status) << program.text();
      EXPECT_TRUE(program.echoes());
    }
  }
}

}  // namespace
}  // namespace halvercine
