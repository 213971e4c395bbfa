// Tools whose runs are noted.
#pragma once

#include <string>
#include <vector>

#include "platform/Clock.h"
#include "platform/ToolRunner.h"

namespace halvercine::tests {

/// Hands everything on to another runner.
class RecordingToolRunner : public platform::ToolRunner {
 public:
  struct Run {
    platform::Uptime at{};
    std::string words;  ///< the arguments, with blanks between them
  };

  RecordingToolRunner(platform::ToolRunner& runner, const platform::Clock& clock)
      : runner_(runner), clock_(clock) {}

  std::expected<std::unique_ptr<platform::ToolProcess>, std::string> start(
      const platform::ToolInvocation& invocation, platform::ToolEvents events) override {
    std::string words;
    for (const auto& argument : invocation.arguments) {
      words += (words.empty() ? "" : " ") + argument;
    }
    runs.push_back({clock_.uptime(), words});
    return runner_.start(invocation, std::move(events));
  }

  std::vector<Run> runs;

 private:
  platform::ToolRunner& runner_;
  const platform::Clock& clock_;
};

}  // namespace halvercine::tests
