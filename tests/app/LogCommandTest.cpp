// `halvercine log`, run as a user runs it on a simulated Mac whose log is in the scenario.
#include <cstdlib>
#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "support/RunningProgram.h"
#include "support/TemporaryFolder.h"
#include "support/runProgram.h"

namespace halvercine {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

class LogCommandTest : public testing::Test {
 protected:
  LogCommandTest() { ::setenv("TZ", "UTC", 1); }
  ~LogCommandTest() override { ::unsetenv("TZ"); }

  tests::ProgramRun run(const std::vector<std::string>& arguments) const {
    return tests::runProgram(command(filled_, arguments));
  }
  tests::ProgramRun runEmpty(const std::vector<std::string>& arguments) const {
    return tests::runProgram(command(empty_, arguments));
  }
  /// `clear` on a terminal on which somebody answers the question.
  tests::ProgramRun clearAnswering(const std::string& input) const {
    using Program = tests::RunningProgram;
    Program program(Program::Output::terminal, command(filled_, {"clear"}));
    EXPECT_TRUE(program.waitFor("Clear the operation log?"));
    program.type(input);
    const int status = program.end();
    return {status, program.text(), ""};
  }

  tests::TemporaryFolder folder_;

 private:
  static std::vector<std::string> command(const fs::path& scenario,
                                          std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"--simulate=" + scenario.string(), "log"});
    return arguments;
  }

  const fs::path empty_ = folder_.write("empty.json", R"({"format": 1})");
  const fs::path filled_ = folder_.write(
      "filled.json",
      R"({"format": 1, "files": {"~/Library/Application Support/Halvercine/operation-log.jsonl": ")"
      R"({\"id\":\"4967D63B-2E29-4AD8-8399-000000000001\",\"time\":794048700,)"
      R"(\"category\":\"check\",\"message\":\"Check started（A\\u001b[1m）\"}\n)"
      R"({\"id\":\"4967D63B-2E29-4AD8-8399-000000000002\",\"time\":794048701.25,)"
      R"(\"category\":\"check\",\"message\":\"Check completed\"}\n"}})");
};

constexpr const char* exported =
    "2026-03-01 09:05:01  [check] Check completed\n"
    "2026-03-01 09:05:00  [check] Check started（A\\u{1B}[1m）";

TEST_F(LogCommandTest, showsTheNewestFirst) {
  EXPECT_EQ(run({"show"}).output, std::string(exported) + '\n');
  EXPECT_EQ(runEmpty({"show"}).output, "No operations have been recorded yet.\n");
  const auto answer = run({"show", "--json"}).json();
  EXPECT_EQ(answer.at("command"), "log");
  const auto& newest = answer.at_pointer("/result/entries/0");
  EXPECT_EQ(newest.at("id"), "4967D63B-2E29-4AD8-8399-000000000002");
  EXPECT_EQ(newest.at("time").to_number<double>(), 794048701.25);
  EXPECT_EQ(newest.at("date"), "2026-03-01T09:05:01.250Z");
  EXPECT_EQ(answer.at_pointer("/result/entries/1/message"), "Check started（A\x1b[1m）");
}

TEST_F(LogCommandTest, exportsToAFileAndReplacesOneOnlyWhenTold) {
  const auto file = (folder_.path() / "export.txt").string();
  EXPECT_EQ(run({"export", file}).status, 0);
  EXPECT_EQ(folder_.read("export.txt"), exported);
  fs::permissions(file, fs::perms(0640));
  folder_.write("export.txt", "mine");
  const auto refused = run({"export", file, "--json"});
  EXPECT_EQ(refused.status, 1);
  EXPECT_THAT(refused.output, HasSubstr("\"file-exists\""));
  EXPECT_EQ(folder_.read("export.txt"), "mine");
  EXPECT_EQ(run({"export", "--force", file}).status, 0);
  EXPECT_EQ(folder_.read("export.txt"), exported);
  EXPECT_EQ(fs::status(file).permissions(), fs::perms(0640));
  EXPECT_EQ(runEmpty({"export", "--force", file}).status, 0);
  EXPECT_EQ(folder_.read("export.txt"), "");
  EXPECT_EQ(run({"export", "-"}).output, std::string(exported) + '\n');
  EXPECT_EQ(runEmpty({"export", "-"}).output, "");
}

TEST_F(LogCommandTest, exportTouchesNothingThatIsNoFile) {
  const auto pipe = (folder_.path() / "pipe").string();
  ::mkfifo(pipe.c_str(), 0600);
  const auto dangling = folder_.path() / "dangling";
  fs::create_symlink("nowhere", dangling);
  for (const auto& path : {pipe, folder_.path().string(), dangling.string(),
                           (folder_.path() / "no" / "folder").string()}) {
    for (const bool force : {false, true}) {
      auto arguments = std::vector<std::string>{"export", path};
      if (force) arguments.emplace_back("--force");
      const auto failed = run(arguments);
      EXPECT_EQ(failed.status, 1) << path;
      EXPECT_THAT(failed.errors, HasSubstr("halvercine: "));
    }
  }
  EXPECT_TRUE(fs::is_fifo(pipe));
  EXPECT_TRUE(fs::is_symlink(dangling));
  EXPECT_FALSE(fs::exists(folder_.path() / "nowhere"));
}

TEST_F(LogCommandTest, clearsOnlyWhenSomebodyAgrees) {
  EXPECT_EQ(run({"clear", "--yes"}).status, 0);
  EXPECT_EQ(run({"clear", "--yes", "--json"}).status, 0);
  const auto unasked = run({"clear"});
  EXPECT_EQ(unasked.status, 2);
  EXPECT_THAT(unasked.errors, HasSubstr("--yes"));
  EXPECT_THAT(run({"clear", "--json"}).output, HasSubstr("\"confirmation-needed\""));
  EXPECT_EQ(clearAnswering("y\n").status, 0);
  for (const char* input : {"n\n", "\n", "\x04"}) {
    const auto refused = clearAnswering(input);
    EXPECT_EQ(refused.status, 1) << input;
    EXPECT_THAT(refused.output, HasSubstr("not cleared")) << input;
  }
}

TEST_F(LogCommandTest, copiesAndWantsToBeToldWhatToDo) {
  EXPECT_EQ(run({"copy"}).status, 0);
  EXPECT_EQ(run({}).status, 2);
  EXPECT_EQ(run({"show", "extra"}).status, 2);
}

}  // namespace
}  // namespace halvercine
