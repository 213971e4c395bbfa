#include "platform/simulated/runCheckTool.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "base/Json.h"

namespace halvercine::platform::simulated {
namespace {

constexpr std::int64_t clusterSize = 4096;
constexpr std::int64_t assumedSize = std::int64_t{1} << 36;
constexpr std::string_view rawPrefix = "/dev/r";

/// The tool's own record, spelled out a second time for the reason that moduleReport.cpp gives.
struct PrintedReport {
  std::vector<ScenarioIssue> issues;
  std::uint64_t mft_records_scanned = 0;
  std::uint64_t files_scanned = 0;
  std::uint64_t dirs_scanned = 0;
  std::uint64_t clusters_total = 0;
  std::uint64_t clusters_checked = 0;
  std::uint64_t repaired_count = 0;
  bool dirty_before = false;
  bool ok = true;
  std::optional<std::uint64_t> deep_omitted;
  std::optional<bool> tree_stats_available;
};
BOOST_DESCRIBE_STRUCT(PrintedReport, (),
                      (issues, mft_records_scanned, files_scanned, dirs_scanned, clusters_total,
                       clusters_checked, repaired_count, dirty_before, ok, deep_omitted,
                       tree_stats_available))

struct PrintedError {
  std::string error;
};
BOOST_DESCRIBE_STRUCT(PrintedError, (), (error))

/// One of the findings that a scenario only counts: long names, so that many of them are much.
ScenarioIssue madeUpIssue(std::int64_t number) {
  ScenarioIssue issue;
  issue.record = static_cast<std::uint64_t>(1000 + number);
  issue.message = "index entry of 旅行/photo-" + std::to_string(number) +
                  ".jpg in the folder “pictures” has another size than its MFT record";
  issue.repairable = number % 4 != 0;
  return issue;
}

ToolAnswer failure(const std::string& error) {
  return {8, base::encodeJson(PrintedError{error}) + '\n', ""};
}

}  // namespace

std::string checkReportText(const ScenarioMedia& media, bool isRepair) {
  const auto fsck = media.fsck.value_or(ScenarioFsck());
  const auto clusters = static_cast<std::uint64_t>(media.size.value_or(assumedSize) / clusterSize);
  PrintedReport report{.issues = fsck.issues,
                       .mft_records_scanned = clusters / 64 + 24,
                       .files_scanned = clusters / 80,
                       .dirs_scanned = clusters / 800 + 1,
                       .clusters_total = clusters,
                       .clusters_checked = clusters,
                       .dirty_before = fsck.dirty,
                       .deep_omitted = fsck.deepOmitted,
                       .tree_stats_available = fsck.treeStats};
  report.issues.reserve(report.issues.size() + static_cast<std::size_t>(fsck.findings));
  for (std::int64_t i = 0; i < fsck.findings; ++i) report.issues.push_back(madeUpIssue(i));
  for (auto& issue : report.issues) {
    const bool repaired = isRepair && issue.repairable;
    if (repaired) issue.message += " (auto-repaired)";
    report.repaired_count += repaired ? 1 : 0;
    report.ok = report.ok && repaired;
  }
  return base::encodeJson(report);
}

ToolAnswer runCheckTool(const SimulatedMachine& machine,
                        const std::vector<std::string>& arguments) {
  if (arguments.size() != 2 || (arguments[0] != "-n" && arguments[0] != "-y")) {
    return failure("usage: fsck_halvercine -n|-y DEVICE");
  }
  const auto view = arguments[1].starts_with(rawPrefix)
                        ? machine.look(arguments[1].substr(rawPrefix.size()))
                        : std::nullopt;
  if (!view) return failure("no such device: " + arguments[1]);
  if (view->media.fsck && view->media.fsck->error) return failure(*view->media.fsck->error);
  return {0, checkReportText(view->media, arguments[0] == "-y") + '\n', ""};
}

}  // namespace halvercine::platform::simulated
