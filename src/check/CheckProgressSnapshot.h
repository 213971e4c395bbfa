// How far a running check is.
#pragma once

#include <cstdint>
#include <optional>

#include <boost/describe.hpp>

namespace halvercine::check {

/// One frame of the live progress that the file-system module writes, with these keys in this
/// order.
struct CheckProgressSnapshot {
  std::uint32_t stage = 0;                ///< 0 to 4, named by "check.progress.stage.0" and so on
  std::uint64_t scanned = 0;              ///< units of this stage that are done
  std::uint64_t total = 0;                ///< units of this stage
  std::optional<std::uint64_t> warnings;  ///< so far
  std::optional<std::uint64_t> errors;    ///< so far
  std::optional<double> ts;               ///< when the frame was written, in seconds
  std::optional<std::int32_t> pid;        ///< of the process that executes the check

  bool operator==(const CheckProgressSnapshot&) const = default;
};
BOOST_DESCRIBE_STRUCT(CheckProgressSnapshot, (), (stage, scanned, total, warnings, errors, ts, pid))

}  // namespace halvercine::check
