// Running the program as a user does.
#pragma once

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace halvercine::tests {

struct ProgramRun {
  int status = -1;  ///< exit status, or -1 when a signal ended it
  std::string output;
  std::string errors;
};

/// Runs the program with these arguments, its standard output going to `outputPath` if that is
/// given. The language is English unless the arguments say otherwise.
inline ProgramRun runProgram(std::vector<std::string> arguments, const char* outputPath = nullptr) {
  std::FILE* const output = outputPath ? std::fopen(outputPath, "r+") : std::tmpfile();
  std::FILE* const errors = std::tmpfile();
  const pid_t child = ::fork();
  if (child == 0) {
    ::dup2(::open("/dev/null", O_RDONLY), STDIN_FILENO);
    ::dup2(::fileno(output), STDOUT_FILENO);
    ::dup2(::fileno(errors), STDERR_FILENO);
    ::setenv("LC_ALL", "C.UTF-8", 1);
    std::vector<char*> words{const_cast<char*>(HALVERCINE_PROGRAM)};
    for (auto& argument : arguments) words.push_back(argument.data());
    words.push_back(nullptr);
    ::execv(words.front(), words.data());
    std::_Exit(127);
  }
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
