// Running the program as a user does.
#pragma once

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "base/Json.h"

namespace halvercine::tests {

/// A text that has to be one JSON document.
inline boost::json::value jsonOf(const std::string& text) {
  auto parsed = base::parseJson(text);
  EXPECT_TRUE(parsed) << text;
  return parsed.value_or(nullptr);
}

/// Lines each of which has to be a JSON document.
inline std::vector<boost::json::value> jsonLines(const std::string& text) {
  std::vector<boost::json::value> values;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) values.push_back(jsonOf(line));
  return values;
}

struct ProgramRun {
  int status = -1;  ///< exit status, or -1 when a signal ended it
  std::string output;
  std::string errors;

  boost::json::value json() const { return jsonOf(output); }
};

/// Runs the program with these arguments, its standard output going to `outputPath` if that is
/// given, and `input` coming from a pipe if there is any. The language is English unless the
/// arguments say otherwise.
inline ProgramRun runProgram(std::vector<std::string> arguments, const char* outputPath = nullptr,
                             const std::string& input = "") {
  std::array<int, 2> pipe{-1, -1};
  if (!input.empty()) {
    if (::pipe(pipe.data()) != 0) return {};
    [[maybe_unused]] const auto written = ::write(pipe[1], input.data(), input.size());
    ::close(pipe[1]);
  }
  std::FILE* const output = outputPath ? std::fopen(outputPath, "r+") : std::tmpfile();
  std::FILE* const errors = std::tmpfile();
  const pid_t child = ::fork();
  if (child == 0) {
    ::dup2(pipe[0] >= 0 ? pipe[0] : ::open("/dev/null", O_RDONLY), STDIN_FILENO);
    ::dup2(::fileno(output), STDOUT_FILENO);
    ::dup2(::fileno(errors), STDERR_FILENO);
    ::setenv("LC_ALL", "C.UTF-8", 1);
    std::vector<char*> words{const_cast<char*>(HALVERCINE_PROGRAM)};
    for (auto& argument : arguments) words.push_back(argument.data());
    words.push_back(nullptr);
    ::execv(words.front(), words.data());
    std::_Exit(127);
  }
  if (pipe[0] >= 0) ::close(pipe[0]);
  ProgramRun run;
  int status = 0;
  ::waitpid(child, &status, 0);
  if (WIFEXITED(status)) run.status = WEXITSTATUS(status);
  const auto drain = [](std::FILE* file, std::string& text) {
    std::array<char, 4096> buffer{};
    std::rewind(file);
    while (const auto got = std::fread(buffer.data(), 1, buffer.size(), file)) {
      text.append(buffer.data(), got);
    }
    std::fclose(file);
  };
  if (outputPath) {
    std::fclose(output);
  } else {
    drain(output, run.output);
  }
  drain(errors, run.errors);
  return run;
}

}  // namespace halvercine::tests
