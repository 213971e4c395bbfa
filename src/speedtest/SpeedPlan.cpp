#include "speedtest/SpeedPlan.h"

namespace halvercine::speedtest {

using std::chrono::milliseconds;
using std::chrono::seconds;

platform::Uptime SpeedPlan::windowOf(const SpeedCell& cell) const {
  if (cell.profile != SpeedProfile::seq1mQ8) return window;
  return cell.direction == SpeedDirection::write ? sequentialWriteWindow : sequentialReadWindow;
}

platform::Uptime SpeedPlan::writingTime() const {
  platform::Uptime total{};
  for (const auto& cell : speedCells) {
    if (cell.direction == SpeedDirection::write) total += windowOf(cell);
  }
  return total;
}

SpeedPlan speedPlan(SpeedSizeTier tier, std::string_view fileSystemType) {
  switch (tier) {
    case SpeedSizeTier::fast:
      return {512 * mebibyte, milliseconds(500), seconds(3), seconds(3), seconds(3)};
    case SpeedSizeTier::standard:
      return {1024 * mebibyte, seconds(1), seconds(5), seconds(5), seconds(5)};
    case SpeedSizeTier::endurance:
      break;
  }
  const auto fileSize = (fileSystemType == "msdos" ? 2048 : 4096) * mebibyte;
  return {fileSize, seconds(1), seconds(45), seconds(15), seconds(5)};
}

}  // namespace halvercine::speedtest
