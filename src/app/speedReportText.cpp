#include <algorithm>

#include <fmt/format.h>

#include "app/Table.h"
#include "app/speedReport.h"
#include "app/speedText.h"
#include "base/Text.h"

namespace halvercine::app {
namespace {

using Align = Table::Align;

constexpr std::size_t curveColumns = 60;

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
  return context.text("speed.tier." + tier) + ": " + context.text("speed.tier.hint." + tier) + "\n";
}

std::string change(double now, double earlier) {
  const auto percent = percentMore(now, earlier);
  return percent ? fmt::format("{:+.0f} %", *percent) : "–";
}

std::string grid(const CommandContext& context, const SpeedReport& report) {
  Table table({Align::left, Align::left, Align::right, Align::right, Align::right, Align::right,
               Align::right, Align::right});
  std::vector<Cell> headings;
  headings.reserve(8);
  for (const auto key :
       {"ui.speedtest.column.test", "ui.speedtest.column.direction", "ui.speedtest.column.rate",
        "ui.speedtest.column.iops", "ui.speedtest.column.mean", "ui.speedtest.column.p99"}) {
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
        rateText(result.mbps) + " MB/s",
        context.text("speed.iops.fmt.v2", {rateText(result.iops)}),
        latencyText(result.avgLatencyUs),
        result.p99LatencyUs ? latencyText(*result.p99LatencyUs) : std::string("–")};
    if (const auto* earlier = report.earlier ? report.earlier->of(result) : nullptr) {
      cells.emplace_back(rateText(earlier->mbps) + " MB/s");
      cells.emplace_back(change(result.mbps, earlier->mbps));
    }
    table.addRow(std::move(cells));
  }
  return table.render(context.terminal, 2);
}

std::string curveText(const CommandContext& context, const SpeedReport& report) {
  const auto& curve = report.runner.writeCurve();
  if (curve.empty()) return "";
  const auto [least, most] = std::ranges::minmax(curve, {}, &speedtest::SpeedSample::mbps);
  return fmt::format("\n  {}  {}–{} MB/s, {:.0f} s\n  {}\n", sparkline(curve, curveColumns),
                     rateText(least.mbps), rateText(most.mbps), curve.back().seconds,
                     context.text("speed.curve.seqnote"));
}

std::string cardText(const CommandContext& context, const speedtest::VerdictCard& card) {
  constexpr std::size_t indent = 2;
  constexpr std::size_t fewest = 20;
  const auto columns = context.terminal.columns();
  const auto room = columns == 0 ? std::string::npos : std::max(columns, indent + fewest) - indent;
  auto text = "\n" +
              context.terminal.tinted(card.title.in(context.localization),
                                      card.isHeadline ? Tint::heading : Tint::none) +
              "\n";
  const auto detail = card.detail.in(context.localization);
  for (const auto line : base::wrapped(detail, room)) {
    text.append(indent, ' ').append(line).append("\n");
  }
  return text;
}

}  // namespace

std::string speedReportText(const CommandContext& context, const SpeedReport& report) {
  auto text = heading(context, report) + tierLine(context) + '\n' + grid(context, report);
  const std::string tier = boost::describe::enum_to_string(context.options.tier, "");
  if (report.earlier && report.earlier->tier != tier) {
    text += "  " +
            context.text("ui.speedtest.othertier", {base::displayText(report.earlier->tier)}) +
            '\n';
  }
  text += curveText(context, report);
  for (const auto& card : report.cards()) text += cardText(context, card);
  return text;
}

}  // namespace halvercine::app
