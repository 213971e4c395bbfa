// The processes and the command-line tools of a scenario.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <boost/describe.hpp>

namespace halvercine::platform::simulated {

/// A running process, as far as anybody is in its way.
struct ScenarioProcess {
  static constexpr std::string_view requiredKeys[] = {"pid", "command"};

  std::int32_t pid = 0;
  std::string command;
  std::vector<std::string> files;    ///< absolute paths that it has open
  std::vector<std::string> devices;  ///< BSD names that it has open, "disk4s1" or raw, "rdisk4s1"
};
BOOST_DESCRIBE_STRUCT(ScenarioProcess, (), (pid, command, files, devices))

/// How a command-line tool behaves when it is run with certain arguments.
struct ScenarioTool {
  std::optional<std::string> tool;  ///< its name; any when absent
  std::vector<std::string> match;   ///< the first arguments
  std::optional<std::int64_t> times;
  std::optional<double> seconds;
  std::optional<int> status;
  std::optional<std::string> text;
  std::optional<std::string> errors;
  std::optional<int> signal;
  bool hang = false;
  bool ignoresTerminate = false;
  std::optional<std::string> startError;
  std::optional<std::int64_t> megabytes;
  std::optional<std::string> then;  ///< "do" or "nothing": whether it does its work
};
BOOST_DESCRIBE_STRUCT(ScenarioTool, (),
                      (tool, match, times, seconds, status, text, errors, signal, hang,
                       ignoresTerminate, startError, megabytes, then))

}  // namespace halvercine::platform::simulated
