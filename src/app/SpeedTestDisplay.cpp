#include "app/SpeedTestDisplay.h"

#include <cmath>
#include <cstdio>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "app/CheckDisplay.h"
#include "app/speedText.h"
#include "base/Text.h"

namespace halvercine::app {
namespace {

constexpr std::size_t barColumns = 20;
constexpr std::size_t curveColumns = 24;

std::string bar(double part) {
  const auto filled = static_cast<std::size_t>(std::floor(part * barColumns));
  return "[" + std::string(filled, '#') + std::string(barColumns - filled, '.') + "]";
}

}  // namespace

SpeedTestDisplay::SpeedTestDisplay(const CommandContext& context,
                                   const speedtest::SpeedTestRunner& runner)
    : context_(context), runner_(runner), terminal_(Terminal::forErrors(context.options.noColor)) {}

void SpeedTestDisplay::update() {
  if (!terminal_.redraws() || hasEnded_ || !runner_.isRunning()) return;
  const bool isBetweenCells =
      runner_.phase() == speedtest::SpeedTestRunner::Phase::running && !runner_.cell();
  if (isBetweenCells) return;
  auto text = progressText();
  if (text == drawn_) return;
  std::fputs(("\r\x1b[K" + text).c_str(), stderr);
  std::fflush(stderr);
  drawn_ = std::move(text);
}

void SpeedTestDisplay::say(const std::string& line) {
  clear();
  const auto text = "halvercine: " + line;
  const auto columns = terminal_.columns();
  for (const auto part : base::wrapped(text, columns == 0 ? std::string::npos : columns)) {
    writeDiagnostic(part);
  }
  update();
}

void SpeedTestDisplay::end() {
  clear();
  hasEnded_ = true;
}

void SpeedTestDisplay::clear() {
  if (!drawn_.empty()) std::fputs("\r\x1b[K", stderr);
  drawn_.clear();
}

std::string SpeedTestDisplay::progressText() const {
  const auto rate = rateText(runner_.liveMBps()) + " MB/s";
  if (runner_.phase() == speedtest::SpeedTestRunner::Phase::preparing) {
    const auto part = runner_.prepareProgress();
    return fittingLine({context_.text("speed.phase.preparing"), bar(part),
                        fmt::format("{:3.0f} %", std::floor(part * 100)), rate},
                       terminal_.columns());
  }
  std::vector<std::string> pieces{context_.text("speed.phase.running")};
  if (const auto& cell = runner_.cell()) {
    const auto& curve = runner_.liveCurve();
    pieces.push_back(profileText(context_, cell->profile) + ", " +
                     directionText(context_, cell->direction));
    pieces.push_back(fmt::format("{:>10}", rate));
    pieces.push_back(sparkline(curve, curveColumns));
  }
  return fittingLine(pieces, terminal_.columns());
}

}  // namespace halvercine::app
