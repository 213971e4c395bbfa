// A simulated Mac of one scenario text, and runs of its tools.
#pragma once

#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "platform/ToolRunnerContract.h"
#include "support/SimulatedFixture.h"

namespace halvercine::tests {

struct ScenarioMachine : SimulatedFixture {
  /// `members` are the members of the scenario.
  explicit ScenarioMachine(const std::string& members)
      : SimulatedFixture(read(R"({"format": 1, )" + members + "}")) {}

  /// Runs a tool of /usr/sbin to its end: its exit status, or "signal N", or "runs"; then what it
  /// printed.
  std::string run(const std::string& tool, std::vector<std::string> arguments) {
    const auto record = std::make_shared<ToolRecord>();
    const auto process = platform.toolRunner->start({"/usr/sbin/" + tool, std::move(arguments)},
                                                    ToolRecord::events(actor, record));
    if (!process) return process.error();
    pass(30);
    if (!record->exit) return "runs " + record->output;
    return (record->exit->bySignal ? "signal " : "") + std::to_string(record->exit->status) + " " +
           record->output;
  }
  std::string diskutil(std::vector<std::string> arguments) {
    return run("diskutil", std::move(arguments));
  }

  /// The content of a file in the shared folder, or nothing.
  std::string shared(const std::string& name) const {
    const auto folder = platform.containers->groupContainer("group.com.halvercine.shared");
    std::ifstream file(*folder / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  }
};

}  // namespace halvercine::tests
