// The processes of the simulated Mac that have something open.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "platform/simulated/Scenario.h"

namespace halvercine::platform::simulated {

/// Main actor. What changes it answers false when there is no such process, or there is one
/// already.
class ProcessTable {
 public:
  bool start(ScenarioProcess process);
  bool end(std::int32_t pid);
  bool open(std::int32_t pid, const std::vector<std::string>& files,
            const std::vector<std::string>& devices);

  /// Closes what the process has open of these.
  bool close(std::int32_t pid, const std::vector<std::string>& files,
             const std::vector<std::string>& devices);

  /// All of them, by their numbers.
  const std::map<std::int32_t, ScenarioProcess>& all() const { return processes_; }

  /// The first process that has a file at or below `path` open, or null.
  const ScenarioProcess* firstBelow(std::string_view path) const;

  /// The first process that has the device of a BSD name open, raw or not, or null.
  const ScenarioProcess* firstOnDevice(std::string_view disk) const;

  /// A file system or a device has gone, and with it what was open there.
  void loseBelow(std::string_view path);
  void loseDevice(std::string_view disk);

 private:
  std::map<std::int32_t, ScenarioProcess> processes_;
};

/// Whether `path` is `folder` or something in it, at any depth.
bool isAtOrBelow(std::string_view path, std::string_view folder);

}  // namespace halvercine::platform::simulated
