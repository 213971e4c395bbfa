#include "check/CheckReport.h"

#include <algorithm>

namespace halvercine::check {
namespace {

constexpr std::string_view deepKey = "check.report.judge.deep";
constexpr std::string_view okKey = "check.report.judge.ok";
constexpr std::string_view repairableKey = "check.report.judge.repairable";

enum Bucket : std::size_t { repairableBucket, deepBucket, repairedBucket };

Bucket bucketOf(const CheckIssueModel& issue) {
  if (isRepaired(issue)) return repairedBucket;
  return issue.repairable ? repairableBucket : deepBucket;
}

}  // namespace

bool isRepaired(const CheckIssueModel& issue) { return issue.message.ends_with(repairedEnding); }

bool isDeep(const CheckIssueModel& issue) {
  return !issue.repairable && !isRepaired(issue) && issue.code != truncatedCode;
}

std::string_view judgementKey(const CheckReportModel& report, bool isRepair) {
  const bool hasOmitted = report.deep_omitted.value_or(0) > 0;
  const bool hasDeep = std::ranges::any_of(report.issues, isDeep);
  if (isRepair) return hasDeep || hasOmitted ? deepKey : okKey;
  if (report.ok) return hasOmitted ? deepKey : okKey;
  return hasDeep ? deepKey : repairableKey;
}

bool isConsistent(const CheckReportModel& report, bool isRepair) {
  if (report.deep_omitted.value_or(0) > 0) return false;
  if (!report.ok || !isRepair) return report.ok;
  return std::ranges::all_of(report.issues, [](const CheckIssueModel& issue) {
    return isRepaired(issue) || issue.code == truncatedCode;
  });
}

std::vector<CheckBucket> bucketsOf(const CheckReportModel& report) {
  std::vector<CheckBucket> buckets(3);
  buckets[repairableBucket].titleKey = "check.report.bucket.repairable";
  buckets[deepBucket].titleKey = "check.report.bucket.deep";
  buckets[repairedBucket].titleKey = "check.report.bucket.repaired";
  for (std::size_t i = 0; i < report.issues.size(); ++i) {
    const auto& issue = report.issues[i];
    if (issue.code != truncatedCode) buckets[bucketOf(issue)].issues.push_back(i);
  }
  return buckets;
}

std::vector<CheckStatistic> statisticsOf(const CheckReportModel& report) {
  std::vector<CheckStatistic> rows = {
      {"check.report.stats.mft", report.mft_records_scanned},
      {"check.report.stats.files", report.files_scanned},
      {"check.report.stats.dirs", report.dirs_scanned},
      {"check.report.stats.clusters", Share{report.clusters_checked, report.clusters_total}},
      {"check.report.stats.dirty.v2", report.dirty_before},
      {"check.report.stats.repaired", report.repaired_count}};
  if (!report.tree_stats_available.value_or(true)) rows.erase(rows.begin() + 1, rows.begin() + 3);
  return rows;
}

}  // namespace halvercine::check
