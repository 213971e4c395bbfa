#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "app/Table.h"
#include "app/speedReport.h"
#include "app/speedText.h"
#include "base/Text.h"

namespace halvercine::app {
namespace {

using Align = Table::Align;

constexpr std::size_t indent = 2;
constexpr std::size_t curveColumns = 60;
constexpr std::size_t fewestCurveColumns = 8;

std::string indented(const CommandContext& context, const std::string& text) {
  return wrappedLines(text, context.terminal, indent);
}

/// Whose speed it is, and how it is connected.
std::string heading(const CommandContext& context, const SpeedReport& report) {
  const auto& view = report.target.view;
  const auto name = base::displayText(view ? view->disk.name : report.target.folder);
  auto badge = context.text("speed.badge.generic");
  if (view) {
    badge = view->disk.connection;
    if (view->disk.linkDetail) badge += ", " + *view->disk.linkDetail;
  }
  return context.terminal.tinted(name, Tint::heading) + " — " + base::displayText(badge) + "\n";
}

std::string tierLine(const CommandContext& context) {
  const std::string tier = boost::describe::enum_to_string(context.options.tier, "");
  return wrappedLines(context.text("ui.speedtest.tier", {context.text("speed.tier." + tier),
                                                         context.text("speed.tier.hint." + tier)}),
                      context.terminal, 0);
}

std::string change(double now, double earlier) {
  const auto percent = percentMore(now, earlier);
  // The sum makes a negative zero a positive one.
  return percent ? fmt::format("{:+.0f} %", std::round(*percent) + 0.0) : "–";
}

std::string grid(const CommandContext& context, const SpeedReport& report) {
  Table table({Align::left, Align::left, Align::right, Align::right, Align::right, Align::right,
               Align::right, Align::right});
  std::vector<Cell> headings;
  headings.reserve(8);
  headings.emplace_back(context.text("ui.speedtest.column.test"), Tint::quiet);
  headings.emplace_back("");  // writing or reading: the words speak for themselves
  for (const auto key : {"ui.speedtest.column.rate", "ui.speedtest.column.iops",
                         "ui.speedtest.column.mean", "ui.speedtest.column.p99"}) {
    headings.emplace_back(context.text(key), Tint::quiet);
  }
  if (report.earlier) {
    headings.emplace_back(context.text("ui.speedtest.column.earlier"), Tint::quiet);
    headings.emplace_back(context.text("ui.speedtest.column.change"), Tint::quiet);
  }
  table.addRow(std::move(headings));
  for (const auto& result : report.runner.results()) {
    std::vector<Cell> cells{
        profileText(context, result.profile),
        directionText(context, result.direction),
        rateText(result.mbps),
        rateText(result.iops),
        latencyText(result.avgLatencyUs),
        result.p99LatencyUs ? latencyText(*result.p99LatencyUs) : std::string("–")};
    if (const auto* earlier = report.earlier ? report.earlier->of(result) : nullptr) {
      cells.emplace_back(rateText(earlier->mbps));
      cells.emplace_back(change(result.mbps, earlier->mbps));
    }
    table.addRow(std::move(cells));
  }
  return table.render(context.terminal, indent);
}

std::string curveText(const CommandContext& context, const SpeedReport& report) {
  const auto& curve = report.runner.writeCurve();
  if (curve.empty()) return "";
  const auto [least, most] = std::ranges::minmax(curve, {}, &speedtest::SpeedSample::mbps);
  const auto range = fmt::format("{}–{} MB/s, {:.0f} s", rateText(least.mbps), rateText(most.mbps),
                                 curve.back().seconds);
  constexpr std::size_t blanks = indent + 2;
  const auto columns = context.terminal.columns();
  const auto taken = blanks + base::displayWidth(range);
  const auto room = columns == 0 ? curveColumns : columns - std::min(columns, taken);
  return "\n" + std::string(indent, ' ') +
         sparkline(curve, std::clamp(room, fewestCurveColumns, curveColumns)) + "  " + range +
         "\n" + indented(context, context.text("speed.curve.seqnote"));
}

/// What has to be known about the figures of the grid.
std::string remarks(const CommandContext& context, const SpeedReport& report) {
  const auto& runner = report.runner;
  std::string text;
  if (std::ranges::any_of(runner.results(), [](const auto& result) {
        return result.iops > 0 && !result.p99LatencyUs;
      })) {
    text += indented(context, context.text("ui.speedtest.manysamples"));
  }
  if (const auto* remark = cacheRemark(runner)) text += indented(context, context.text(remark));
  const std::string tier = boost::describe::enum_to_string(context.options.tier, "");
  if (report.earlier && report.earlier->tier != tier) {
    text += indented(
        context, context.text("ui.speedtest.othertier", {base::displayText(report.earlier->tier)}));
  }
  return text;
}

std::string cardText(const CommandContext& context, const speedtest::VerdictCard& card) {
  return "\n" +
         context.terminal.tinted(card.title.in(context.localization),
                                 card.isHeadline ? Tint::heading : Tint::none) +
         "\n" + indented(context, card.detail.in(context.localization));
}

}  // namespace

std::string speedReportText(const CommandContext& context, const SpeedReport& report) {
  auto text = heading(context, report) + tierLine(context) + '\n' + grid(context, report) +
              remarks(context, report) + curveText(context, report);
  for (const auto& card : report.cards()) text += cardText(context, card);
  return text;
}

}  // namespace halvercine::app
