// The volume that a speed test is for.
#pragma once

#include <expected>
#include <optional>
#include <string>

#include "app/Answer.h"
#include "app/DiskView.h"
#include "app/commands.h"

namespace halvercine::app {

struct SpeedTestTarget {
  std::string folder;            ///< where the test file goes
  std::string fileSystem;        ///< the type, as the system says it; may be empty
  std::string mountedFrom;       ///< what the system says; empty when it does not
  std::optional<DiskView> view;  ///< of the disk, when it is among those that are known
};

/// The mounted disk that the argument names, else the folder at that path; the failure to answer
/// with otherwise.
std::expected<SpeedTestTarget, Answer> findSpeedTestTarget(const CommandContext& context);

}  // namespace halvercine::app
