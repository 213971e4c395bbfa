// How `watch` behaves towards whoever reads it.
#include <array>
#include <csignal>
#include <fcntl.h>
#include <stdlib.h>
#include <string>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/UniqueFd.h"
#include "support/TemporaryFolder.h"

namespace halvercine {
namespace {

using base::UniqueFd;
using testing::HasSubstr;
using testing::Not;

/// Starts a `watch` that never ends by itself with `output` as its standard output. A fault costs a
/// while of computing, not for ever.
pid_t startWatch(int output, std::vector<const char*> options, const char* terminal) {
  const pid_t child = ::fork();
  if (child != 0) return child;
  ::dup2(output, STDOUT_FILENO);
  ::setenv("LC_ALL", "C.UTF-8", 1);
  ::setenv("TERM", terminal, 1);
  ::setenv("NO_COLOR", "1", 1);
  const rlimit limit{60, 60};
  ::setrlimit(RLIMIT_CPU, &limit);
  options.insert(options.begin(), {HALVERCINE_PROGRAM, "watch"});
  options.push_back(nullptr);
  ::execv(HALVERCINE_PROGRAM, const_cast<char* const*>(options.data()));
  std::_Exit(127);
}

int statusOf(pid_t child) {
  int status = 0;
  ::waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(WatchTest, EndsWhenItsReaderGoesThoughNothingHappens) {
  const tests::TemporaryFolder folder;
  const auto empty = "--simulate=" + folder.write("empty.json", R"({"format": 1})").string();
  for (const bool isSocket : {false, true}) {
    std::array<int, 2> ends{};
    ASSERT_EQ(isSocket ? ::socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()) : ::pipe(ends.data()),
              0);
    const UniqueFd writer(ends[1]);
    ::close(ends[0]);
    const auto child = startWatch(writer.get(), {"--fast", empty.c_str(), "--json"}, "xterm");
    EXPECT_EQ(statusOf(child), 0) << (isSocket ? "socket" : "pipe");
  }
}

constexpr const char* clearScreen = "\x1b[H\x1b[J";

/// Starts it on a terminal of this kind, whose other end is `screen` then.
pid_t startWatchOnTerminal(UniqueFd& screen, std::vector<const char*> options,
                           const char* terminal) {
  screen = UniqueFd(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
  EXPECT_TRUE(::grantpt(screen.get()) == 0 && ::unlockpt(screen.get()) == 0);
  const UniqueFd output(::open(::ptsname(screen.get()), O_RDWR | O_NOCTTY | O_CLOEXEC));
  return startWatch(output.get(), std::move(options), terminal);
}

/// False when nobody writes any more.
bool readMore(const UniqueFd& screen, std::string& text) {
  std::array<char, 4096> buffer{};
  const auto got = ::read(screen.get(), buffer.data(), buffer.size());
  if (got > 0) text.append(buffer.data(), static_cast<std::size_t>(got));
  return got > 0;
}

/// What a `watch` of five seconds writes to a terminal of this kind.
std::string watchedOn(const char* terminal) {
  UniqueFd screen;
  const auto child = startWatchOnTerminal(screen, {"--fast", "--simulate", "--for", "5"}, terminal);
  std::string text;
  while (readMore(screen, text)) {
  }
  EXPECT_EQ(statusOf(child), 0);
  return text;
}

TEST(WatchTest, DrawsAgainWhenItIsBackOnTheScreen) {
  const tests::TemporaryFolder folder;
  const auto empty = "--simulate=" + folder.write("empty.json", R"({"format": 1})").string();
  UniqueFd screen;
  const auto child = startWatchOnTerminal(screen, {empty.c_str(), "--for", "60"}, "xterm");
  std::string text;
  const auto drawings = [&text] {
    std::size_t count = 0;
    for (std::size_t at = 0; (at = text.find(clearScreen, at)) != text.npos; ++at) ++count;
    return count;
  };
  for (const int signal : {SIGCONT, SIGWINCH, SIGINT}) {
    const auto before = drawings();
    while (drawings() == before && readMore(screen, text)) {
    }
    EXPECT_GT(drawings(), before) << "before signal " << signal;
    ::kill(child, signal);
  }
  EXPECT_EQ(statusOf(child), 130);
}

TEST(WatchTest, RedrawsOnlyWhereTheTerminalCan) {
  const auto able = watchedOn("xterm");
  EXPECT_THAT(able, HasSubstr(clearScreen));
  EXPECT_THAT(able, Not(HasSubstr("\x1b[33m"))) << "NO_COLOR is about colours";
  const auto dumb = watchedOn("dumb");
  EXPECT_THAT(dumb, HasSubstr("appeared"));
  EXPECT_THAT(dumb, Not(HasSubstr("\x1b")));
}

}  // namespace
}  // namespace halvercine
