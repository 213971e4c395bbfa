#include "speedtest/speedVerdict.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "base/Localization.h"
#include "speedtest/speedDrop.h"

namespace halvercine::speedtest {
namespace {

SpeedFindings findings(double read, double write, std::optional<bool> isSolidState) {
  SpeedFindings findings;
  findings.isSolidState = isSolidState;
  findings.results = {{SpeedProfile::seq1mQ1, SpeedDirection::read, 7777, 1, 1, {}},
                      {SpeedProfile::seq1mQ8, SpeedDirection::write, write, 1, 1, {}},
                      {SpeedProfile::seq1mQ8, SpeedDirection::read, read, 1, 1, {}}};
  return findings;
}

/// The keys of the details without what they have in common.
std::vector<std::string> details(const SpeedFindings& findings) {
  std::vector<std::string> keys;
  for (const auto& card : speedVerdict(findings)) {
    keys.push_back(std::string(card.detail.key).substr(std::string_view("speed.").size()));
  }
  return keys;
}

using Keys = std::vector<std::string>;

TEST(SpeedVerdictTest, TheRateOfReadingAndTheKindOfDiskGiveTheHeadline) {
  struct Row {
    double read;
    std::optional<bool> isSolidState;
    const char* expected;
  };
  const Row rows[] = {
      {44.9, true, "verdict.usb2.detail"},       {44.9, false, "verdict.usb2.detail"},
      {45, true, "verdict.slowssd.detail"},      {45, false, "verdict.hdd.slow"},
      {79.9, false, "verdict.hdd.slow"},         {80, false, "verdict.hdd.ok"},
      {2000, false, "verdict.hdd.ok"},           {199.9, true, "verdict.slowssd.detail"},
      {200, true, "verdict.usb3mid.detail.fmt"}, {379.9, true, "verdict.usb3mid.detail.fmt"},
      {380, true, "verdict.usb3.detail"},        {469.9, true, "verdict.usb3.detail"},
      {470, true, "verdict.gen2.detail"},        {949.9, true, "verdict.gen2.detail"},
      {950, true, "verdict.tb4.detail"},         {60, {}, "verdict.slowssd.detail"}};
  for (const auto& row : rows) {
    EXPECT_EQ(details(findings(row.read, row.read, row.isSolidState)),
              (Keys{row.expected, "verdict.variance.detail"}))
        << row.read;
  }
  const auto card = speedVerdict(findings(379.9, 300, true)).front();
  EXPECT_TRUE(card.isHeadline);
  EXPECT_EQ(card.detail.arguments, std::vector<std::string>{"88"});
}

TEST(SpeedVerdictTest, NotesComeInTheirOrder) {
  auto all = findings(1000, 349, true);
  all.environment = {true, platform::ThermalState::fair};
  for (int second = 1; second <= 41; ++second) {
    all.writeCurve.push_back({static_cast<double>(second), second < 20 ? 999.5 : 400.4});
  }
  EXPECT_EQ(details(all),
            (Keys{"verdict.tb4.detail", "verdict.writebound.detail", "verdict.drop.detail",
                  "env.battery.detail", "env.thermal.detail", "verdict.variance.detail"}));
  EXPECT_EQ(speedVerdict(all)[2].detail.arguments, (std::vector<std::string>{"1000", "400", "59"}));
}

TEST(SpeedVerdictTest, WriteBoundNeedsASolidStateDiskAndARateOfWriting) {
  const auto cards = [](double write, std::optional<bool> isSolidState) {
    return speedVerdict(findings(1000, write, isSolidState)).size();
  };
  EXPECT_EQ(cards(349, true), 3u);
  EXPECT_EQ(cards(350, true), 2u);
  EXPECT_EQ(cards(0, true), 2u);
  EXPECT_EQ(cards(349, false), 2u);
  EXPECT_EQ(cards(349, {}), 2u);
}

TEST(SpeedVerdictTest, WithoutBothSequentialCellsThereIsNothingToSay) {
  for (const std::size_t missing : {1, 2}) {
    auto some = findings(500, 500, true);
    some.results.erase(some.results.begin() + static_cast<std::ptrdiff_t>(missing));
    EXPECT_TRUE(speedVerdict(some).empty());
  }
}

std::vector<SpeedSample> curve(double cliffAt, double from, double to, double length) {
  std::vector<SpeedSample> samples;
  for (double end = 0.25; end <= length; end += 0.25) {
    samples.push_back({end, end <= 1.0 ? 5000 : end <= cliffAt ? from : to});
  }
  return samples;
}

TEST(SpeedDropTest, ADropIsAFallThatLasts) {
  struct Row {
    const char* what;
    std::vector<SpeedSample> curve;
    std::optional<SpeedDrop> expected;
  };
  auto hiccup = curve(45, 500, 500, 45);
  for (std::size_t sample = 170; sample < 178; ++sample) hiccup[sample].mbps = 0;
  const Row rows[] = {
      {"a cache that is full half way", curve(20, 500, 200, 45), SpeedDrop{500, 200}},
      {"just enough", curve(20, 500, 299, 45), SpeedDrop{500, 299}},
      {"not enough", curve(20, 500, 300, 45), {}},
      {"the first second does not count", curve(45, 500, 500, 45), {}},
      {"it becomes faster", curve(20, 200, 500, 45), {}},
      {"two seconds without a byte", hiccup, {}},
      {"the shortest curve that is judged", curve(10, 500, 100, 20), SpeedDrop{500, 100}},
      {"too short", curve(10, 500, 100, 19.75), {}},
      {"nothing", {}, {}}};
  for (const auto& row : rows) EXPECT_EQ(speedDrop(row.curve), row.expected) << row.what;
}

TEST(SpeedVerdictTest, EveryTextIsThere) {
  const base::Localization localization(base::Language::en);
  for (const double read : {10.0, 60.0, 100.0, 300.0, 400.0, 500.0, 1000.0}) {
    for (const bool isSolidState : {true, false}) {
      for (const auto& card : speedVerdict(findings(read, 1, isSolidState))) {
        EXPECT_TRUE(localization.table().contains(card.title.key)) << card.title.key;
        EXPECT_TRUE(localization.table().contains(card.detail.key)) << card.detail.key;
      }
    }
  }
}

}  // namespace
}  // namespace halvercine::speedtest
