// What a report means to the user.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <variant>
#include <vector>

#include "check/CheckReportModel.h"

namespace halvercine::check {

/// Ends the message of a finding that was repaired in this run.
inline constexpr std::string_view repairedEnding = " (auto-repaired)";

/// The code of the finding that stands for those which the tool has left out.
inline constexpr std::string_view truncatedCode = "report.truncated";

/// Whether a finding was repaired in this run.
bool isRepaired(const CheckIssueModel& issue);

/// Whether only Windows can repair a finding.
bool isDeep(const CheckIssueModel& issue);

/// The key of the one sentence that sums a report up. A repair never comes to "repairable": what it
/// has not repaired, it cannot.
std::string_view judgementKey(const CheckReportModel& report, bool isRepair);

/// Whether the volume is in order now: the tool says so and has left out no finding, and a repair
/// has left none over.
bool isConsistent(const CheckReportModel& report, bool isRepair);

/// Findings as positions in a report, in its order. The one that stands for others is in none.
struct CheckBucket {
  std::string_view titleKey;
  std::vector<std::size_t> issues;
};

/// All three buckets, empty ones too, in the order in which they are shown: what can be repaired
/// here, what needs Windows, what has been repaired.
std::vector<CheckBucket> bucketsOf(const CheckReportModel& report);

/// So many of so many.
struct Share {
  std::uint64_t done = 0;
  std::uint64_t total = 0;
  bool operator==(const Share&) const = default;
};

struct CheckStatistic {
  std::string_view titleKey;
  std::variant<std::uint64_t, Share, bool> value;
  bool operator==(const CheckStatistic&) const = default;
};

/// The numbers of a report in the order in which they are shown. Those of files and folders are
/// left out when the report says that they do not count.
std::vector<CheckStatistic> statisticsOf(const CheckReportModel& report);

}  // namespace halvercine::check
