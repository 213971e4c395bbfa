#include "speedtest/speedVerdict.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <string_view>
#include <utility>

#include "speedtest/speedDrop.h"

namespace halvercine::speedtest {
namespace {

std::optional<double> sequentialRate(const std::vector<SpeedCellResult>& results,
                                     SpeedDirection direction) {
  const auto found = std::ranges::find_if(results, [direction](const auto& result) {
    return result.profile == SpeedProfile::seq1mQ8 && result.direction == direction;
  });
  return found == results.end() ? std::nullopt : std::optional(found->mbps);
}

VerdictCard card(std::string_view title, std::string_view detail,
                 std::vector<std::string> arguments = {}) {
  return {{title}, {detail, std::move(arguments)}};
}

std::string truncated(double value) { return std::to_string(static_cast<long long>(value)); }

/// By the rate of reading alone: the order of the rules matters.
VerdictCard headline(double read, std::optional<bool> isSolidState) {
  constexpr double usualUsb3 = 430;
  if (read < 45) return card("speed.verdict.usb2.title", "speed.verdict.usb2.detail");
  if (isSolidState == false) {
    return card("speed.verdict.hdd.title",
                read >= 80 ? "speed.verdict.hdd.ok" : "speed.verdict.hdd.slow");
  }
  if (read < 200) return card("speed.verdict.slowssd.title", "speed.verdict.slowssd.detail");
  if (read < 380) {
    return card("speed.verdict.usb3mid.title", "speed.verdict.usb3mid.detail.fmt",
                {truncated(read / usualUsb3 * 100)});
  }
  if (read < 470) return card("speed.verdict.usb3.title", "speed.verdict.usb3.detail");
  if (read < 950) return card("speed.verdict.gen2.title", "speed.verdict.gen2.detail");
  return card("speed.verdict.tb4.title", "speed.verdict.tb4.detail");
}

VerdictCard dropCard(const SpeedDrop& drop) {
  return card("speed.verdict.drop.title", "speed.verdict.drop.detail",
              {std::to_string(std::llround(drop.early)), std::to_string(std::llround(drop.late)),
               truncated((1 - drop.late / drop.early) * 100)});
}

}  // namespace

std::vector<VerdictCard> speedVerdict(const SpeedFindings& findings) {
  const auto read = sequentialRate(findings.results, SpeedDirection::read);
  const auto write = sequentialRate(findings.results, SpeedDirection::write);
  if (!read || !write) return {};
  std::vector<VerdictCard> cards{headline(*read, findings.isSolidState)};
  cards.front().isHeadline = true;
  if (findings.isSolidState == true && *write > 0 && *read * 0.35 > *write) {
    cards.push_back(card("speed.verdict.writebound.title", "speed.verdict.writebound.detail"));
  }
  if (const auto drop = speedDrop(findings.writeCurve)) cards.push_back(dropCard(*drop));
  if (const auto& environment = findings.environment) {
    if (environment->onBattery) {
      cards.push_back(card("speed.env.battery.title", "speed.env.battery.detail"));
    }
    if (environment->thermal.value_or(platform::ThermalState::nominal) !=
        platform::ThermalState::nominal) {
      cards.push_back(card("speed.env.thermal.title", "speed.env.thermal.detail"));
    }
  }
  cards.push_back(card("speed.verdict.variance.title", "speed.verdict.variance.detail"));
  return cards;
}

}  // namespace halvercine::speedtest
