#include "platform/simulated/checkRecords.h"

#include <algorithm>

#include "base/Json.h"
#include "base/PrivateFiles.h"

namespace halvercine::platform::simulated {
namespace {

constexpr std::size_t requestLimit = 4096;
constexpr std::uint64_t stageUnits = 24000;
constexpr std::uint32_t lastStage = 4;

// The module's own records, spelled out a second time for the reason that moduleReport.cpp gives.

struct WrittenFrame {
  std::uint32_t stage = 0;
  std::uint64_t scanned = 0;
  std::uint64_t total = 0;
  std::optional<std::uint64_t> warnings;
  std::optional<std::uint64_t> errors;
  std::optional<double> ts;
  std::optional<std::int32_t> pid;
};
BOOST_DESCRIBE_STRUCT(WrittenFrame, (), (stage, scanned, total, warnings, errors, ts, pid))

struct WrittenReport {
  std::vector<ScenarioFinding> issues;
  std::uint64_t mft_records_scanned = 0;
  std::uint64_t files_scanned = 0;
  std::uint64_t dirs_scanned = 0;
  std::uint64_t clusters_total = 0;
  std::uint64_t clusters_checked = 0;
  std::uint64_t repaired_count = 0;
  bool dirty_before = false;
  bool ok = false;
  std::optional<bool> cancelled;
  std::optional<std::uint64_t> deep_omitted;
  std::optional<bool> tree_stats_available;
  std::optional<std::string> error;
};
BOOST_DESCRIBE_STRUCT(WrittenReport, (),
                      (issues, mft_records_scanned, files_scanned, dirs_scanned, clusters_total,
                       clusters_checked, repaired_count, dirty_before, ok, cancelled, deep_omitted,
                       tree_stats_available, error))

struct WrittenMessage {
  WrittenReport report;
  std::string diskID;
};
BOOST_DESCRIBE_STRUCT(WrittenMessage, (), (report, diskID))

bool isOpen(const ScenarioFinding& finding, bool repair) { return !(repair && finding.repairable); }

}  // namespace

std::optional<CheckRequestRead> readCheckRequest(const std::filesystem::path& path) {
  const auto text = base::readRegularFile(path, requestLimit);
  if (!text) return std::nullopt;
  const auto request = base::decodeJson<CheckRequestRead>(*text);
  if (!request) return std::nullopt;
  return *request;
}

std::string checkFrameText(const ScenarioCheck& settings, double part, double timestamp,
                           std::optional<std::int32_t> pid) {
  const auto done = static_cast<std::uint64_t>(part * (lastStage + 1) * stageUnits);
  const auto stage = std::min<std::uint64_t>(done / stageUnits, lastStage);
  WrittenFrame frame;
  frame.stage = static_cast<std::uint32_t>(stage);
  frame.scanned = done - stage * stageUnits;
  frame.total = stageUnits;
  frame.warnings = 0;
  frame.errors = static_cast<std::uint64_t>(part * static_cast<double>(settings.findings.size()));
  frame.ts = timestamp;
  frame.pid = pid;
  return base::encodeJson(frame);
}

std::string checkReportText(const ScenarioCheck& settings, const CheckRun& run) {
  WrittenMessage message;
  message.diskID = run.disk;
  auto& report = message.report;
  report.ok = std::ranges::none_of(
      settings.findings, [&](const auto& finding) { return isOpen(finding, run.repair); });
  for (auto finding : settings.findings) {
    if (!isOpen(finding, run.repair)) {
      finding.message += " (auto-repaired)";
      ++report.repaired_count;
    }
    report.issues.push_back(std::move(finding));
  }
  report.mft_records_scanned = 3 * stageUnits;
  report.files_scanned = 2 * stageUnits;
  report.dirs_scanned = stageUnits / 4;
  report.clusters_total = run.clusters;
  report.clusters_checked = run.isCancelled ? run.clusters / 3 : run.clusters;
  report.dirty_before = settings.dirty;
  if (run.isCancelled) report.cancelled = true;
  report.deep_omitted = settings.deepOmitted;
  report.tree_stats_available = true;
  report.error = settings.error;
  return base::encodeJson(message);
}

}  // namespace halvercine::platform::simulated
