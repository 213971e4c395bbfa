#include "app/checkReportText.h"

#include <variant>

#include "app/Table.h"
#include "base/Json.h"
#include "base/Text.h"
#include "check/CheckReport.h"

namespace halvercine::app {
namespace {

std::string valueText(const CommandContext& context, const check::CheckStatistic& statistic) {
  if (const auto* number = std::get_if<std::uint64_t>(&statistic.value)) {
    return std::to_string(*number);
  }
  if (const auto* share = std::get_if<check::Share>(&statistic.value)) {
    return std::to_string(share->done) + "/" + std::to_string(share->total);
  }
  return context.text(std::get<bool>(statistic.value) ? "ui.word.yes" : "ui.word.no");
}

std::string statisticsText(const CommandContext& context, const check::CheckReportModel& report) {
  Table table({Table::Align::left, Table::Align::right});
  for (const auto& statistic : check::statisticsOf(report)) {
    table.addRow({context.text(statistic.titleKey), valueText(context, statistic)});
  }
  return table.render(context.terminal, 0);
}

void appendFinding(std::string& text, const check::CheckIssueModel& issue) {
  std::string_view message = issue.message;
  if (check::isRepaired(issue)) message.remove_suffix(check::repairedEnding.size());
  text.append("  [").append(base::displayText(issue.severity)).append("] ");
  text.append(base::displayText(issue.code)).append(": ").append(base::displayText(message));
  if (issue.record) text.append(" (#").append(std::to_string(*issue.record)).append(")");
  text += '\n';
}

Tint tintOf(std::string_view judgement) {
  return judgement == "check.report.judge.ok" ? Tint::good : Tint::warning;
}

}  // namespace

std::string checkReportText(const CommandContext& context, const check::CheckReportModel& report,
                            bool isRepair) {
  const auto judgement = check::judgementKey(report, isRepair);
  auto text = context.terminal.tinted(context.text(judgement), tintOf(judgement)) + "\n\n" +
              statisticsText(context, report);
  for (const auto& bucket : check::bucketsOf(report)) {
    if (bucket.issues.empty()) continue;
    const auto title = context.text(bucket.titleKey);
    text.append("\n").append(context.terminal.tinted(title, Tint::heading));
    text.append(" (").append(std::to_string(bucket.issues.size())).append(")\n");
    for (const auto index : bucket.issues) appendFinding(text, report.issues[index]);
  }
  if (report.deep_omitted.value_or(0) > 0) {
    text.append("\n").append(
        context.text("check.report.deep.omitted.fmt", {std::to_string(*report.deep_omitted)}));
    text += '\n';
  }
  return text;
}

boost::json::object checkReportJson(const CommandContext& context,
                                    const check::CheckReportModel& report, bool isRepair) {
  const auto judgement = check::judgementKey(report, isRepair);
  return {{"judgement", {{"key", judgement}, {"text", context.text(judgement)}}},
          {"report", base::toJson(report)}};
}

}  // namespace halvercine::app
