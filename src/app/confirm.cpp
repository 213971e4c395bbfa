#include "app/confirm.h"

#include <cstdio>
#include <iostream>
#include <unistd.h>

#include "base/Text.h"

namespace halvercine::app {

bool canAsk() { return ::isatty(STDIN_FILENO) == 1 && ::isatty(STDERR_FILENO) == 1; }

bool confirm(const std::string& question) {
  std::fwrite(question.data(), 1, question.size(), stderr);
  std::fflush(stderr);
  std::string line;
  std::getline(std::cin, line);
  const auto answer = base::asciiLowered(base::trimmed(line));
  return answer == "y" || answer == "yes" || answer == "是";
}

}  // namespace halvercine::app
