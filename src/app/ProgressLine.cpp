#include "app/ProgressLine.h"

#include <cmath>
#include <cstdio>
#include <utility>

#include <fmt/format.h>

#include "base/Text.h"

namespace halvercine::app {
namespace {

constexpr const char* toTheStartOfAnEmptyLine = "\r\x1b[K";

}  // namespace

void ProgressLine::draw(std::string text) {
  if (!isShown() || text == drawn_) return;
  std::fputs((toTheStartOfAnEmptyLine + text).c_str(), stderr);
  std::fflush(stderr);
  drawn_ = std::move(text);
}

void ProgressLine::clear() {
  if (!drawn_.empty()) std::fputs(toTheStartOfAnEmptyLine, stderr);
  drawn_.clear();
}

std::string progressBar(double part) {
  constexpr std::size_t columns = 20;
  const auto filled = static_cast<std::size_t>(std::floor(part * columns));
  return "[" + std::string(filled, '#') + std::string(columns - filled, '.') + "]";
}

std::string percentText(double part) { return fmt::format("{:3.0f} %", std::floor(part * 100)); }

std::string fittingLine(const std::vector<std::string>& pieces, std::size_t columns) {
  std::string line;
  for (const auto& piece : pieces) {
    auto longer = line;
    if (!line.empty()) longer += "  ";
    longer += piece;
    if (!line.empty() && columns > 0 && base::displayWidth(longer) >= columns) break;
    line = std::move(longer);
  }
  return line;
}

}  // namespace halvercine::app
