// What a check or repair ended with.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <boost/describe.hpp>

#include "check/CheckIssueModel.h"

namespace halvercine::check {

/// The report of the check tool, one JSON object on one line, or of the file-system module, with
/// these keys in this order.
struct CheckReportModel {
  std::vector<CheckIssueModel> issues;
  std::uint64_t mft_records_scanned = 0;
  std::uint64_t files_scanned = 0;
  std::uint64_t dirs_scanned = 0;
  std::uint64_t clusters_total = 0;  ///< of the volume
  std::uint64_t clusters_checked = 0;
  std::uint64_t repaired_count = 0;  ///< items repaired in this run
  bool dirty_before = false;         ///< the volume's dirty flag was set when the run began
  bool ok = false;                   ///< the volume is consistent
  std::optional<bool> cancelled;     ///< the run ended before it was through
  std::optional<std::uint64_t> deep_omitted;  ///< deep findings that `issues` leaves out
  std::optional<bool> tree_stats_available;   ///< whether the numbers of files and folders count
  std::optional<std::string> error;           ///< of a run that could not be completed

  bool operator==(const CheckReportModel&) const = default;
};
BOOST_DESCRIBE_STRUCT(CheckReportModel, (),
                      (issues, mft_records_scanned, files_scanned, dirs_scanned, clusters_total,
                       clusters_checked, repaired_count, dirty_before, ok, cancelled, deep_omitted,
                       tree_stats_available, error))

}  // namespace halvercine::check
