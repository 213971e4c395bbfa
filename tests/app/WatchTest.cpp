// How `watch` behaves towards whoever reads it.
#include <array>
#include <fcntl.h>
#include <stdlib.h>
#include <string>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
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
  options.insert(options.begin(), {HALVERCINE_PROGRAM, "--fast", "watch"});
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
    const auto child = startWatch(writer.get(), {empty.c_str(), "--json"}, "xterm");
    EXPECT_EQ(statusOf(child), 0) << (isSocket ? "socket" : "pipe");
  }
}

/// What a `watch` of five seconds writes to a terminal of this kind.
std::string watchedOn(const char* terminal) {
  UniqueFd screen(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
  if (::grantpt(screen.get()) != 0 || ::unlockpt(screen.get()) != 0) return "no terminal";
  UniqueFd output(::open(::ptsname(screen.get()), O_RDWR | O_NOCTTY | O_CLOEXEC));
  const auto child = startWatch(output.get(), {"--simulate", "--for", "5"}, terminal);
  output = UniqueFd();
  std::string text;
  std::array<char, 4096> buffer{};
  for (ssize_t got = 0; (got = ::read(screen.get(), buffer.data(), buffer.size())) > 0;) {
    text.append(buffer.data(), static_cast<std::size_t>(got));
  }
  EXPECT_EQ(statusOf(child), 0);
  return text;
}

TEST(WatchTest, RedrawsOnlyWhereTheTerminalCan) {
  const auto able = watchedOn("xterm");
  EXPECT_THAT(able, HasSubstr("\x1b[H\x1b[J"));
  EXPECT_THAT(able, Not(HasSubstr("\x1b[33m"))) << "NO_COLOR is about colours";
  const auto dumb = watchedOn("dumb");
  EXPECT_THAT(dumb, HasSubstr("appeared"));
  EXPECT_THAT(dumb, Not(HasSubstr("\x1b")));
}

}  // namespace
}  // namespace halvercine
