#include "check/copiedReport.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "check/CheckReport.h"

namespace halvercine::check {
namespace {

constexpr std::size_t piecesLength = 64;  // about what a line has besides the texts of its finding

std::size_t expectedLength(const CheckReportModel& report) {
  std::size_t length = 1024;
  for (const auto& issue : report.issues) {
    length += issue.severity.size() + issue.code.size() + issue.message.size() + piecesLength;
  }
  return length;
}

void appendStatistics(const CheckReportModel& report, std::string& text) {
  const auto append = [&text](std::string_view title, std::uint64_t number) {
    text += title;
    text += std::to_string(number);
  };
  append("MFT: ", report.mft_records_scanned);
  append("  Files: ", report.files_scanned);
  append("  Dirs: ", report.dirs_scanned);
  append("  Clusters: ", report.clusters_checked);
  append("/", report.clusters_total);
  text += "  Dirty: ";
  text += report.dirty_before ? "true" : "false";
  append("  Repaired: ", report.repaired_count);
}

std::string_view tagOf(const CheckIssueModel& issue, bool repaired) {
  if (repaired) return " [auto-repaired]";
  return issue.repairable ? " [auto-repairable]" : " [needs Windows chkdsk]";
}

void appendIssue(const CheckIssueModel& issue, std::string& text) {
  const bool repaired = isRepaired(issue);
  std::string_view message = issue.message;
  if (repaired) message.remove_suffix(repairedEnding.size());
  text += '[';
  text += issue.severity;
  text += "] ";
  text += issue.code;
  text += ": ";
  text += message;
  if (issue.record) {
    text += " (#";
    text += std::to_string(*issue.record);
    text += ')';
  }
  text += tagOf(issue, repaired);
  text += '\n';
}

}  // namespace

std::string copiedReport(const CheckReportModel& report, const ReportHeading& heading,
                         const base::Localization& localization) {
  std::string text;
  text.reserve(expectedLength(report));
  text += "Tarnwel ";
  text += localization.text(heading.isRepair ? "check.report.title.repair"
                                             : "check.report.title.check");
  text += "\nVolume: " + heading.volume + "\nTime: " + heading.time + "\n\n";
  appendStatistics(report, text);
  text += "\n\n";
  for (const auto& issue : report.issues) appendIssue(issue, text);
  text += '\n' + heading.program + '\n' + localization.text("app.copy.website");
  return text;
}

}  // namespace halvercine::check
