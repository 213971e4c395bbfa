#include "app/SpeedTestDisplay.h"

#include <algorithm>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "app/speedText.h"
#include "base/Text.h"

namespace halvercine::app {
namespace {

constexpr std::size_t curveColumns = 24;

}  // namespace

SpeedTestDisplay::SpeedTestDisplay(const CommandContext& context,
                                   const speedtest::SpeedTestRunner& runner)
    : context_(context), runner_(runner), line_(context.options.noColor) {}

void SpeedTestDisplay::update() {
  if (!line_.isShown() || hasEnded_ || !runner_.isRunning()) return;
  const bool isBetweenCells =
      runner_.phase() == speedtest::SpeedTestRunner::Phase::running && !runner_.cell();
  if (isBetweenCells) return;
  line_.draw(progressText());
}

void SpeedTestDisplay::say(const std::string& line) {
  line_.clear();
  const auto text = "halvercine: " + line;
  const auto columns = line_.columns();
  for (const auto part : base::wrapped(text, columns == 0 ? std::string::npos : columns)) {
    writeDiagnostic(part);
  }
  update();
}

void SpeedTestDisplay::end() {
  line_.clear();
  hasEnded_ = true;
}

std::string SpeedTestDisplay::progressText() const {
  const auto rate = rateText(runner_.liveMBps()) + " MB/s";
  if (runner_.phase() == speedtest::SpeedTestRunner::Phase::preparing) {
    const auto part = runner_.prepareProgress();
    if (part >= 1) return context_.text("ui.speedtest.flushing");
    return fittingLine(
        {context_.text("speed.phase.preparing"), percentText(part), rate, progressBar(part)},
        line_.columns());
  }
  auto phase = context_.text("speed.phase.running");
  const auto& cell = runner_.cell();
  if (!cell) return phase;
  // What moves comes first: a narrow terminal has no room for the rest.
  auto curve = sparkline(runner_.liveCurve(), curveColumns);
  curve.append(curveColumns - std::min(curveColumns, runner_.liveCurve().size()), ' ');
  std::vector<std::string> pieces{
      fmt::format("{:>10}", rate), std::move(curve),
      profileText(context_, cell->profile) + ", " + directionText(context_, cell->direction)};
  const auto pattern = speedtest::accessPattern(cell->profile);
  if (pattern.isRandom) {
    const auto operations = runner_.liveMBps() * 1e6 / static_cast<double>(pattern.blockSize);
    pieces.push_back(context_.text("speed.iops.fmt.v2", {rateText(operations)}));
  }
  pieces.push_back(phase);
  return fittingLine(pieces, line_.columns());
}

}  // namespace halvercine::app
