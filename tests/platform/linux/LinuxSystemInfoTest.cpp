#include "platform/linux/LinuxSystemInfo.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/TemporaryFolder.h"

namespace halvercine::platform::gnulinux {
namespace {

using Files = std::vector<std::pair<std::string, std::string>>;

LinuxSystemInfo infoOf(const tests::TemporaryFolder& folder, const Files& files) {
  for (const auto& [name, content] : files) folder.write("class/" + name, content + "\n");
  return LinuxSystemInfo(folder.path().string());
}

TEST(LinuxSystemInfoTest, ABatteryCountsWhenItIsTheMachinesAndDischarges) {
  const Files discharging{{"power_supply/BAT0/type", "Battery"},
                          {"power_supply/BAT0/status", "Discharging"}};
  auto unplugged = discharging;
  unplugged.insert(unplugged.end(),
                   {{"power_supply/AC/type", "Mains"}, {"power_supply/AC/online", "0"}});
  auto weakCharger = discharging;
  weakCharger.insert(weakCharger.end(),
                     {{"power_supply/UCSI/type", "USB"}, {"power_supply/UCSI/online", "1"}});
  const Files mouse{{"power_supply/hidpp/type", "Battery"},
                    {"power_supply/hidpp/scope", "Device"},
                    {"power_supply/hidpp/status", "Discharging"}};
  const Files full{{"power_supply/BAT0/type", "Battery"}, {"power_supply/BAT0/status", "Full"}};
  const std::pair<Files, bool> rows[] = {{{}, false},       {discharging, true},
                                         {unplugged, true}, {weakCharger, false},
                                         {mouse, false},    {full, false}};
  for (const auto& [files, expected] : rows) {
    const tests::TemporaryFolder folder;
    EXPECT_EQ(infoOf(folder, files).onBattery(), expected)
        << (files.empty() ? "" : files.back().first);
  }
}

TEST(LinuxSystemInfoTest, TheHottestZoneCounts) {
  const auto zone = [](const std::string& name, const std::string& now) {
    const auto path = "thermal/" + name + "/";
    return Files{{path + "temp", now},
                 {path + "trip_point_0_type", "active"},
                 {path + "trip_point_0_temp", "40000"},
                 {path + "trip_point_1_type", "passive"},
                 {path + "trip_point_1_temp", "90000"},
                 {path + "trip_point_2_type", "critical"},
                 {path + "trip_point_2_temp", "105000"},
                 {path + "trip_point_3_type", "hot"},
                 {path + "trip_point_3_temp", "-274000"}};
  };
  struct Row {
    std::vector<std::string> temperatures;
    std::optional<ThermalState> expected;
  };
  const Row rows[] = {{{}, {}},
                      {{"-1"}, {}},
                      {{"50000"}, ThermalState::nominal},
                      {{"90000", "50000"}, ThermalState::serious},
                      {{"50000", "106000"}, ThermalState::critical}};
  for (const auto& row : rows) {
    const tests::TemporaryFolder folder;
    for (std::size_t index = 0; index < row.temperatures.size(); ++index) {
      infoOf(folder, zone("thermal_zone" + std::to_string(index), row.temperatures[index]));
    }
    EXPECT_EQ(LinuxSystemInfo(folder.path().string()).thermalState(), row.expected);
  }
}

}  // namespace
}  // namespace halvercine::platform::gnulinux
