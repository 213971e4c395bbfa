// What a command-line tool printed and answered.
#pragma once

#include <string>

namespace halvercine::platform::simulated {

struct ToolAnswer {
  int status = 0;
  std::string output;
  std::string errors;
};

}  // namespace halvercine::platform::simulated
