// `unlock` as a user meets it: the program itself on a simulated Mac.
#include <array>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <stdlib.h>
#include <string>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/Json.h"
#include "base/Text.h"
#include "base/UniqueFd.h"
#include "support/TemporaryFolder.h"
#include "support/runProgram.h"

namespace halvercine {
namespace {

using base::UniqueFd;
using testing::HasSubstr;

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
      {{"disk4s1"},
       "correct horse\n",
       0,
       "is unlocked and mounted at /Volumes/Papers (read-write)"},
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
  const auto done =
      base::parseJson(unlock({"disk4s1", "--json"}, "correct horse\n").output).value();
  EXPECT_EQ(done.at("result").at("disk").at("isMounted"), true);
  EXPECT_EQ(done.at("result").at("nothingToDo"), false);
  const auto failed = base::parseJson(unlock({"disk5s8", "--json"}, "x\n").output).value();
  EXPECT_EQ(failed.at("error").at("id"), "bitlocker.error.generic");
  EXPECT_EQ(failed.at("error").at("code"), "somethingNew");
  const auto typo =
      base::parseJson(unlock({"disk4s1", "--recovery", "--json"}, "123453530113").output).value();
  EXPECT_EQ(typo.at("error").at("digits"), 12);
  EXPECT_EQ(typo.at("error").at("wrongGroups").at(0), 2);
}

TEST(UnlockCommandTest, RunUnlocksWhatIsRemembered) {
  const auto run = tests::runProgram({"--simulate=bitlocker", "--fast", "run", "--for", "20"});
  EXPECT_EQ(run.status, 0) << run.errors;
  EXPECT_THAT(run.output, HasSubstr("was unlocked with the remembered password"));
  EXPECT_THAT(run.output, HasSubstr("could not be unlocked with the remembered password"));
}

/// A child whose standard input and error are a terminal of its own.
class OnTerminal {
 public:
  static constexpr unsigned short columns = 80;

  explicit OnTerminal(std::vector<std::string> words) {
    master_ = UniqueFd(::posix_openpt(O_RDWR | O_NOCTTY));
    ::grantpt(master_.get());
    ::unlockpt(master_.get());
    const std::string name = ::ptsname(master_.get());
    child_ = ::fork();
    if (child_ != 0) return;
    ::setsid();
    const int terminal = ::open(name.c_str(), O_RDWR);
    const winsize size{24, columns, 0, 0};
    ::ioctl(terminal, TIOCSWINSZ, &size);
    for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) ::dup2(terminal, fd);
    ::setenv("LC_ALL", "C.UTF-8", 1);
    ::setenv("TERM", "xterm", 1);
    words.insert(words.begin(), HALVERCINE_PROGRAM);
    std::vector<char*> arguments;
    for (auto& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    ::execv(arguments.front(), arguments.data());
    std::_Exit(127);
  }

  void type(std::string_view text) const {
    ASSERT_EQ(::write(master_.get(), text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }

  /// Reads until this text has come; false at the end.
  bool shows(const std::string& text) {
    std::array<char, 4096> buffer{};
    while (shown.find(text) == std::string::npos) {
      const auto got = ::read(master_.get(), buffer.data(), buffer.size());
      if (got <= 0) return false;
      shown.append(buffer.data(), static_cast<std::size_t>(got));
    }
    return true;
  }

  bool echoes() const {
    termios mode{};
    ::tcgetattr(master_.get(), &mode);
    return (mode.c_lflag & ECHO) != 0;
  }

  int status() {
    shows("\x01 nothing shows this");
    int status = 0;
    ::waitpid(child_, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  pid_t child() const { return child_; }

  std::string shown;

 private:
  UniqueFd master_;
  pid_t child_ = -1;
};

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
  OnTerminal password({"--simulate=bitlocker", "--fast", "unlock", "disk4s1"});
  ASSERT_TRUE(password.shows("Password of"));
  EXPECT_FALSE(password.echoes());
  password.type(
      "wrong\x15"
      "corrext\x7f\x7f"
      "ct ho\x1b[Drse\n");
  EXPECT_EQ(password.status(), 0) << password.shown;
  EXPECT_THAT(password.shown, testing::Not(HasSubstr("horse")));
  EXPECT_TRUE(password.echoes());

  OnTerminal typed({"--simulate=bitlocker", "--fast", "unlock", "disk4s1", "--recovery"});
  ASSERT_TRUE(typed.shows("48-digit"));
  typed.type("123453-530113");
  EXPECT_TRUE(typed.shows("Group 2 has a typing error. Digits still missing: 36."));
  typed.type("\n");
  EXPECT_TRUE(typed.shows("This is not a valid recovery password"));
  typed.type(recovery + "\n");
  EXPECT_TRUE(typed.shows("complete"));
  EXPECT_EQ(typed.status(), 0) << typed.shown;
  for (const auto& row : redrawnRows(typed.shown)) {
    EXPECT_LT(base::displayWidth(row), OnTerminal::columns) << row << ": cannot be redrawn";
  }
  EXPECT_THAT(typed.shown, testing::Not(HasSubstr("530112")));
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
  OnTerminal program({"--simulate=bitlocker", "run"});
  ASSERT_TRUE(program.shows("was unlocked with the remembered password"));
  ::kill(program.child(), SIGHUP);
  EXPECT_EQ(program.status(), 129) << program.shown;
}

TEST(UnlockCommandTest, SignalsEndItInOrder) {
  struct Row {
    int signal;
    int status;
    bool whileAsking;
  };
  for (const auto& row : {Row{SIGINT, 130, true},
                          {SIGTERM, 130, true},
                          {SIGHUP, 129, true},
                          {SIGQUIT, 130, true},
                          {SIGINT, 130, false},
                          {SIGTERM, 130, false},
                          {SIGHUP, 129, false},
                          {SIGQUIT, 130, false}}) {
    SCOPED_TRACE(std::to_string(row.signal) + (row.whileAsking ? " asking" : " waiting"));
    OnTerminal program({"--simulate=bitlocker", "unlock", "disk6s1"});
    ASSERT_TRUE(program.shows("Password of"));
    if (!row.whileAsking) {
      program.type("anything\n");
      ASSERT_TRUE(program.shows("Verifying"));
    }
    ::kill(program.child(), row.signal);
    EXPECT_EQ(program.status(), row.status) << program.shown;
    EXPECT_TRUE(program.echoes());
  }
}

}  // namespace
}  // namespace halvercine
