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
std::string checkFrameText(const ScenarioMedia& media, double part, double timestamp,
                           std::optional<std::int32_t> pid);

/// What the module writes in the end: the report on a volume, for the disk that `diskId` names.
std::string moduleCheckText(const ScenarioMedia& media, const std::string& diskId, bool isRepair,
                            bool isCancelled);

}  // namespace halvercine::platform::simulated
