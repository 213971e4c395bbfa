// What the simulated module writes and reads in a check.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include <boost/describe.hpp>

#include "platform/simulated/Scenario.h"

namespace halvercine::platform::simulated {

struct CheckRequestRead {
  bool repair = false;
  std::int64_t timestamp = 0;
};
BOOST_DESCRIBE_STRUCT(CheckRequestRead, (), (repair, timestamp))

/// The request in a file; nothing when it is none.
std::optional<CheckRequestRead> readCheckRequest(const std::filesystem::path& path);

/// A frame after `part` (0 to 1) of the work, which runs through five stages of the same length.
std::string checkFrameText(const ScenarioCheck& settings, double part, double timestamp,
                           std::optional<std::int32_t> pid);

struct CheckRun {
  std::string disk;  ///< as the report names it
  bool repair = false;
  bool isCancelled = false;
  std::uint64_t clusters = 0;
};

/// The report of a run. A repair has repaired what can be.
std::string checkReportText(const ScenarioCheck& settings, const CheckRun& run);

}  // namespace halvercine::platform::simulated
