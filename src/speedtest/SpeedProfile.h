// The grid of a speed test: what is measured, in which order.
#pragma once

#include <array>
#include <cstddef>

#include <boost/describe.hpp>

namespace halvercine::speedtest {

BOOST_DEFINE_ENUM_CLASS(SpeedProfile, seq1mQ8, seq1mQ1, rnd4kQ32, rnd4kQ1)

/// Bytes.
inline constexpr std::size_t mebibyte = 1'048'576;

/// A cell is written before it is read.
BOOST_DEFINE_ENUM_CLASS(SpeedDirection, write, read)

/// How a profile reads and writes.
struct AccessPattern {
  std::size_t blockSize = 0;   ///< bytes
  std::size_t queueDepth = 0;  ///< workers, each with one operation at a time
  bool isRandom = false;

  bool operator==(const AccessPattern&) const = default;
};

AccessPattern accessPattern(SpeedProfile profile);

struct SpeedCell {
  SpeedProfile profile = SpeedProfile::seq1mQ8;
  SpeedDirection direction = SpeedDirection::write;

  bool operator==(const SpeedCell&) const = default;
};

/// All cells, in the order in which they are measured.
inline constexpr std::array<SpeedCell, 8> speedCells{{
    {SpeedProfile::seq1mQ8, SpeedDirection::write},
    {SpeedProfile::seq1mQ8, SpeedDirection::read},
    {SpeedProfile::seq1mQ1, SpeedDirection::write},
    {SpeedProfile::seq1mQ1, SpeedDirection::read},
    {SpeedProfile::rnd4kQ32, SpeedDirection::write},
    {SpeedProfile::rnd4kQ32, SpeedDirection::read},
    {SpeedProfile::rnd4kQ1, SpeedDirection::write},
    {SpeedProfile::rnd4kQ1, SpeedDirection::read},
}};

/// The cell whose rate over time is kept as a curve.
inline constexpr SpeedCell curveCell{SpeedProfile::seq1mQ8, SpeedDirection::write};

}  // namespace halvercine::speedtest
