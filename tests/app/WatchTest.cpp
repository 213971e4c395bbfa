// How `watch` behaves towards whoever reads it.
#include <csignal>
#include <string>

#include <gmock/gmock.h>

#include "support/RunningProgram.h"
#include "support/TemporaryFolder.h"

namespace halvercine {
namespace {

using testing::HasSubstr;
using testing::Not;
using tests::RunningProgram;
using Output = RunningProgram::Output;

constexpr const char* clearScreen = "\x1b[H\x1b[J";

/// A machine on which nothing happens.
struct WatchTest : testing::Test {
  tests::TemporaryFolder folder;
  std::string empty = "--simulate=" + folder.write("empty.json", R"({"format": 1})").string();
};

TEST_F(WatchTest, EndsWhenItsReaderGoesThoughNothingHappens) {
  for (const auto output : {Output::pipe, Output::socket}) {
    RunningProgram watch(output, {"watch", "--fast", empty, "--json"});
    watch.closeOutput();
    EXPECT_EQ(watch.end(), 0) << (output == Output::pipe ? "pipe" : "socket");
  }
}

TEST_F(WatchTest, DrawsAgainWhenItIsBackOnTheScreen) {
  RunningProgram watch(Output::terminal, {"watch", empty, "--for", "60"});
  for (const int signal : {SIGCONT, SIGWINCH, SIGINT}) {
    EXPECT_TRUE(watch.waitFor(clearScreen)) << "before signal " << signal;
    watch.kill(signal);
  }
  EXPECT_EQ(watch.end(), 130);
}

TEST_F(WatchTest, RedrawsOnlyWhereTheTerminalCan) {
  const auto watchedOn = [](Output terminal) {
    RunningProgram watch(terminal, {"watch", "--fast", "--simulate", "--for", "5"});
    EXPECT_EQ(watch.end(), 0);
    return watch.text();
  };
  const auto able = watchedOn(Output::terminal);
  EXPECT_THAT(able, HasSubstr(clearScreen));
  EXPECT_THAT(able, Not(HasSubstr("\x1b[33m"))) << "NO_COLOR is about colours";
  const auto dumb = watchedOn(Output::dumbTerminal);
  EXPECT_THAT(dumb, HasSubstr("appeared"));
  EXPECT_THAT(dumb, Not(HasSubstr("\x1b")));
}

}  // namespace
}  // namespace halvercine
