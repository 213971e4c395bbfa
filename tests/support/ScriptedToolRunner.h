// Tools that answer by a script and start nothing.
#pragma once

#include <deque>
#include <expected>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/MainActor.h"
#include "platform/ToolRunner.h"

namespace halvercine::tests {

class ScriptedToolRunner : public platform::ToolRunner {
 public:
  struct Answer {
    std::string output{};
    int status = 0;
    std::string errorOutput{};
    bool hangs = false;  ///< does not end, whatever it is sent
  };

  explicit ScriptedToolRunner(base::MainActor& actor) : actor_(actor) {}

  /// What the next tools answer, one after another; after the last, nothing with status 0.
  std::deque<Answer> answers;
  std::vector<platform::ToolInvocation> runs;

  std::expected<std::unique_ptr<platform::ToolProcess>, std::string> start(
      const platform::ToolInvocation& invocation, platform::ToolEvents events) override {
    runs.push_back(invocation);
    Answer answer;
    if (!answers.empty()) {
      answer = std::move(answers.front());
      answers.pop_front();
    }
    auto process = std::make_unique<Process>();
    if (answer.hangs) return process;
    // The end comes before the output, which real tools do as well.
    actor_.post([alive = std::weak_ptr(process->life), answer = std::move(answer),
                 events = std::move(events)] {
      if (!alive.expired()) events.exited({answer.status, false});
      if (!alive.expired()) events.output(answer.output);
      if (!alive.expired() && events.errorOutput) events.errorOutput(answer.errorOutput);
      if (!alive.expired()) events.outputEnded();
    });
    return process;
  }

 private:
  struct Process : platform::ToolProcess {
    void terminate() override {}
    void kill() override {}
    std::shared_ptr<int> life = std::make_shared<int>();
  };

  base::MainActor& actor_;
};

}  // namespace halvercine::tests
