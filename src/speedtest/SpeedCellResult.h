// What a speed test yields.
#pragma once

#include <optional>

#include <boost/describe.hpp>

#include "platform/SystemInfo.h"
#include "speedtest/SpeedProfile.h"

namespace halvercine::speedtest {

/// One cell of the grid, from its measured part alone.
struct SpeedCellResult {
  SpeedProfile profile = SpeedProfile::seq1mQ8;
  SpeedDirection direction = SpeedDirection::write;
  double mbps = 0;          ///< millions of bytes a second
  double iops = 0;          ///< operations a second
  double avgLatencyUs = 0;  ///< mean of the samples, 0 without any
  /// Absent without samples, and when there were more operations than samples are kept.
  std::optional<double> p99LatencyUs;

  bool operator==(const SpeedCellResult&) const = default;
};
BOOST_DESCRIBE_STRUCT(SpeedCellResult, (),
                      (profile, direction, mbps, iops, avgLatencyUs, p99LatencyUs))

/// What the machine was like when the test began.
struct SpeedTestEnvironment {
  bool onBattery = false;
  std::optional<platform::ThermalState> thermal;  ///< nothing when the system does not tell

  bool operator==(const SpeedTestEnvironment&) const = default;
};

/// One point of the curve of the sequential write.
struct SpeedSample {
  double seconds = 0;  ///< from the beginning of the cell to the end of the interval
  double mbps = 0;     ///< in the interval

  bool operator==(const SpeedSample&) const = default;
};
BOOST_DESCRIBE_STRUCT(SpeedSample, (), (seconds, mbps))

}  // namespace halvercine::speedtest
