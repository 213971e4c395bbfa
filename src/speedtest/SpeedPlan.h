// How large and how long a speed test is.
#pragma once

#include <cstdint>
#include <string_view>

#include <boost/describe.hpp>

#include "platform/Clock.h"
#include "speedtest/SpeedProfile.h"

namespace halvercine::speedtest {

BOOST_DEFINE_ENUM_CLASS(SpeedSizeTier, fast, standard, endurance)

/// The size of the test file and the times of the cells. A window counts from the beginning of its
/// cell; what falls into its warm-up is not measured.
struct SpeedPlan {
  std::uint64_t fileSize = 0;  ///< bytes, a multiple of 1 MiB
  platform::Uptime warmup{};
  platform::Uptime sequentialWriteWindow{};  ///< of `seq1mQ8`
  platform::Uptime sequentialReadWindow{};   ///< of `seq1mQ8`
  platform::Uptime window{};                 ///< of every other cell

  platform::Uptime windowOf(const SpeedCell& cell) const;

  /// For how long the test writes once its file is full.
  platform::Uptime writingTime() const;

  bool operator==(const SpeedPlan&) const = default;
};

/// The plan of a tier on a file system of this type. A file of 4 GiB does not fit onto "msdos".
SpeedPlan speedPlan(SpeedSizeTier tier, std::string_view fileSystemType);

}  // namespace halvercine::speedtest
