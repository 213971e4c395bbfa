// The program while it runs.
#pragma once

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <optional>
#include <stdlib.h>
#include <string>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "base/UniqueFd.h"

namespace halvercine::tests {

/// Runs on a terminal of its own, which has its three streams, or with its output in a pipe or a
/// socket. Whoever makes one calls `end()`. A fault costs a while of computing, not for ever.
class RunningProgram {
 public:
  enum class Output { terminal, dumbTerminal, pipe, socket };

  static constexpr unsigned short columns = 100;

  RunningProgram(Output output, std::vector<std::string> words, unsigned short width = columns) {
    const bool isTerminal = output == Output::terminal || output == Output::dumbTerminal;
    base::UniqueFd theirs;
    if (isTerminal) {
      ours_ = base::UniqueFd(::posix_openpt(O_RDWR | O_NOCTTY));
      EXPECT_TRUE(::grantpt(ours_.get()) == 0 && ::unlockpt(ours_.get()) == 0);
      theirs = base::UniqueFd(::open(::ptsname(ours_.get()), O_RDWR | O_NOCTTY));
      const winsize size{24, width, 0, 0};
      ::ioctl(theirs.get(), TIOCSWINSZ, &size);
    } else {
      std::array<int, 2> ends{-1, -1};
      EXPECT_EQ(output == Output::socket ? ::socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data())
                                         : ::pipe(ends.data()),
                0);
      ours_ = base::UniqueFd(ends[0]);
      theirs = base::UniqueFd(ends[1]);
    }
    words.insert(words.begin(), HALVERCINE_PROGRAM);
    child_ = ::fork();
    if (child_ != 0) return;
    ours_ = {};
    ::setsid();
    if (isTerminal) {
      // Opened by the leader of a session, it becomes the controlling terminal.
      const int terminal = ::open(::ttyname(theirs.get()), O_RDWR);
      for (const int stream : {0, 1, 2}) ::dup2(terminal, stream);
    } else {
      ::dup2(theirs.get(), STDOUT_FILENO);
    }
    theirs = {};
    ::setenv("LC_ALL", "C.UTF-8", 1);
    ::setenv("TERM", output == Output::dumbTerminal ? "dumb" : "xterm", 1);
    ::setenv("NO_COLOR", "1", 1);
    const rlimit limit{60, 60};
    ::setrlimit(RLIMIT_CPU, &limit);
    std::vector<char*> arguments;
    for (auto& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    ::execv(arguments.front(), arguments.data());
    std::_Exit(127);
  }

  /// Reads until `text` has come anew; false when the output ends before.
  bool waitFor(const std::string& text) {
    while (text_.find(text, seen_) == std::string::npos) {
      // What has been looked through is not looked through again, but for a beginning of the text.
      seen_ = std::max(seen_, text_.size() - std::min(text_.size(), text.size()));
      if (!readMore()) return false;
    }
    seen_ = text_.find(text, seen_) + text.size();
    return true;
  }

  void type(const std::string& keys) const {
    EXPECT_EQ(::write(ours_.get(), keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
  }
  void kill(int signal) const { ::kill(child_, signal); }
  void closeOutput() { ours_ = {}; }

  /// The terminal's mode as the program has left it.
  tcflag_t localFlags() const {
    termios mode{};
    ::tcgetattr(ours_.get(), &mode);
    return mode.c_lflag & (ICANON | ECHO | ISIG);
  }
  /// Whether its output has been made non-blocking; only Linux tells.
  std::optional<bool> isNonBlocking() const {
    std::ifstream info("/proc/" + std::to_string(child_) + "/fdinfo/1");
    for (std::string word; info >> word;) {
      unsigned flags = 0;
      if (word == "flags:" && info >> std::oct >> flags) return (flags & O_NONBLOCK) != 0;
    }
#ifdef __linux__
    ADD_FAILURE() << "the flags could not be read";
#endif
    return std::nullopt;
  }
  bool echoes() const { return (localFlags() & ECHO) != 0; }

  pid_t pid() const { return child_; }
  bool isRunning() const {
    siginfo_t info{};
    return ::waitid(P_PID, static_cast<id_t>(child_), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
           info.si_pid == 0;
  }

  /// Reads to the end of the output. Its status; the number of the signal below 0 if one ended it.
  int end() {
    while (ours_ && readMore()) {
    }
    int status = 0;
    ::waitpid(child_, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }

  /// All that was read.
  const std::string& text() const { return text_; }

 private:
  bool readMore() {
    std::array<char, 4096> buffer{};
    const auto got = ::read(ours_.get(), buffer.data(), buffer.size());
    if (got <= 0) return false;
    text_.append(buffer.data(), static_cast<std::size_t>(got));
    return true;
  }

  base::UniqueFd ours_;
  pid_t child_ = -1;
  std::string text_;
  std::size_t seen_ = 0;
};

}  // namespace halvercine::tests
