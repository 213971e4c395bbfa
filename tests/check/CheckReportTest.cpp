#include "check/CheckReport.h"

#include <chrono>
#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "base/localizedTime.h"
#include "check/copiedReport.h"

namespace halvercine::check {
namespace {

const CheckIssueModel repairable{2, "error", "index.entry", "A wrong size", 40, true};
const CheckIssueModel deep{3, "fatal", "mft.mirror", "The mirror differs", 0, false};
const CheckIssueModel repaired{2, "error", "bitmap", "Lost clusters (auto-repaired)", {}, true};
const CheckIssueModel truncated{1, "info", "report.truncated", "More were left out", {}, false};

CheckReportModel reportOf(std::vector<CheckIssueModel> issues, bool ok,
                          std::optional<std::uint64_t> omitted = {}) {
  CheckReportModel report;
  report.issues = std::move(issues);
  report.ok = ok;
  report.deep_omitted = omitted;
  return report;
}

TEST(CheckReport, JudgementAndWhetherNothingIsLeft) {
  auto repairedDeep = repaired;
  repairedDeep.repairable = false;
  struct Case {
    CheckReportModel report;
    bool isRepair;
    std::string_view judgement;
    bool isConsistent;
  };
  const Case cases[] = {
      {reportOf({}, true), false, "ok", true},
      {reportOf({deep}, true), false, "ok", true},
      {reportOf({}, true, 0), false, "ok", true},
      {reportOf({}, true, 3), false, "deep", false},
      {reportOf({}, false), false, "repairable", false},
      {reportOf({repairable}, false), false, "repairable", false},
      {reportOf({repairable}, false, 3), false, "repairable", false},
      {reportOf({repairable, deep}, false), false, "deep", false},
      {reportOf({truncated}, false), false, "repairable", false},
      {reportOf({repairedDeep}, false), false, "repairable", false},
      {reportOf({repaired}, true), true, "ok", true},
      {reportOf({repairable}, false), true, "ok", false},
      {reportOf({repaired, deep}, true), true, "deep", false},
      {reportOf({repairable}, true), true, "ok", false},
      {reportOf({repaired}, true, 1), true, "deep", false},
      {reportOf({truncated}, false, 0), true, "ok", false},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(&row - cases);
    EXPECT_EQ(judgementKey(row.report, row.isRepair),
              "check.report.judge." + std::string(row.judgement));
    EXPECT_EQ(isConsistent(row.report, row.isRepair), row.isConsistent);
  }
}

TEST(CheckReport, BucketsHoldEveryFindingOnce) {
  const auto buckets =
      bucketsOf(reportOf({deep, repairable, repaired, truncated, repairable}, false));
  const std::pair<std::string_view, std::vector<std::size_t>> expected[] = {
      {"check.report.bucket.repairable", {1, 4}},
      {"check.report.bucket.deep", {0}},
      {"check.report.bucket.repaired", {2}}};
  ASSERT_EQ(buckets.size(), std::size(expected));
  for (std::size_t i = 0; i < buckets.size(); ++i) {
    EXPECT_EQ(buckets[i].titleKey, expected[i].first);
    EXPECT_EQ(buckets[i].issues, expected[i].second);
  }
}

TEST(CheckReport, StatisticsLeaveOutWhatDoesNotCount) {
  CheckReportModel report;
  report.clusters_total = 9;
  report.clusters_checked = 8;
  EXPECT_EQ(statisticsOf(report).size(), 6u);
  report.tree_stats_available = false;
  const std::vector<CheckStatistic> expected = {{"check.report.stats.mft", std::uint64_t{0}},
                                                {"check.report.stats.clusters", Share{8, 9}},
                                                {"check.report.stats.dirty.v2", false},
                                                {"check.report.stats.repaired", std::uint64_t{0}}};
  EXPECT_EQ(statisticsOf(report), expected);
}

TEST(CheckReport, CopiedText) {
  auto report = reportOf({repairable, deep, repaired, truncated}, false);
  report.issues[3].message = "(auto-repaired) is not at the end (auto-repaired) ";
  report.mft_records_scanned = 12345678;
  report.files_scanned = 10;
  report.dirs_scanned = 2;
  report.clusters_total = UINT64_MAX;
  report.clusters_checked = 99;
  report.dirty_before = true;
  report.repaired_count = 1;
  EXPECT_EQ(copiedReport(report, {false, "My Disk", "now", "Halvercine 1.2"},
                         base::Localization(base::Language::en)),
            "Tarnwel Check Report\n"
            "Volume: My Disk\n"
            "Time: now\n"
            "\n"
            "MFT: 12345678  Files: 10  Dirs: 2  Clusters: 99/18446744073709551615  Dirty: true"
            "  Repaired: 1\n"
            "\n"
            "[error] index.entry: A wrong size (#40) [auto-repairable]\n"
            "[fatal] mft.mirror: The mirror differs (#0) [needs Windows chkdsk]\n"
            "[error] bitmap: Lost clusters [auto-repaired]\n"
            "[info] report.truncated: (auto-repaired) is not at the end (auto-repaired)  "
            "[needs Windows chkdsk]\n"
            "\n"
            "Halvercine 1.2\n"
            "Halvercine, NTFS for macOS");
  const base::Localization chinese(base::Language::zhHans);
  const auto text = copiedReport(reportOf({}, true), {true, "新", "now", "H"}, chinese);
  EXPECT_TRUE(
      text.starts_with("Tarnwel " + chinese.text("check.report.title.repair") + "\nVolume: 新\n"))
      << text;
}

TEST(LocalizedTime, IsThatOfTheUsersTimeZone) {
  const char* const old = std::getenv("TZ");
  const std::string before = old ? old : "";
  ::setenv("TZ", "XST-8", 1);
  const platform::WallTime night{std::chrono::seconds(1773446400)};  // 2026-03-14 00:00:00 UTC
  const std::pair<platform::WallTime, std::pair<std::string, std::string>> cases[] = {
      {night + std::chrono::milliseconds(902'999),
       {"Mar 14, 2026 at 8:15:02 AM", "2026年3月14日 08:15:02"}},
      {night + std::chrono::hours(4), {"Mar 14, 2026 at 12:00:00 PM", "2026年3月14日 12:00:00"}},
      {night + std::chrono::hours(16), {"Mar 15, 2026 at 12:00:00 AM", "2026年3月15日 00:00:00"}},
  };
  for (const auto& [time, texts] : cases) {
    EXPECT_EQ(base::localizedTime(time, base::Language::en), texts.first);
    EXPECT_EQ(base::localizedTime(time, base::Language::zhHans), texts.second);
  }
  old ? ::setenv("TZ", before.c_str(), 1) : ::unsetenv("TZ");
}

}  // namespace
}  // namespace halvercine::check
