// A simulated Mac for a test.
#pragma once

#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include <gtest/gtest.h>

#include "base/Localization.h"
#include "base/MainActor.h"
#include "mount/MountAccessReportStore.h"
#include "platform/Platform.h"
#include "platform/simulated/Scenario.h"
#include "platform/simulated/SimulatedMac.h"

namespace halvercine::tests {

/// The machine of one scenario under virtual time, with its ports.
struct SimulatedFixture {
  /// `devices` is the JSON list of the scenario's devices, `system` the members of its system.
  explicit SimulatedFixture(std::string_view devices, std::string_view system = "{}")
      : SimulatedFixture(scenario(devices, system)) {}
  explicit SimulatedFixture(platform::simulated::Scenario scenario)
      : mac(actor, std::move(scenario), platform::simulated::ClockKind::virtualTime),
        platform(mac.takePlatform()) {}
  ~SimulatedFixture() { actor.joinBackground(); }

  static platform::simulated::Scenario scenario(std::string_view devices, std::string_view system) {
    return read(std::string(R"({"format": 1, "system": )")
                    .append(system)
                    .append(R"(, "devices": )")
                    .append(devices)
                    .append("}"));
  }
  static platform::simulated::Scenario read(std::string_view text) {
    auto scenario = platform::simulated::readScenario(text);
    if (!scenario) throw std::runtime_error(scenario.error().message);
    return std::move(*scenario);
  }

  void pass(double seconds) {
    mac.advance(
        std::chrono::duration_cast<platform::Uptime>(std::chrono::duration<double>(seconds)));
  }

  std::filesystem::path reportPath(const std::string& bsdName) {
    return mount::MountAccessReportStore::locate(*platform.containers, bsdName)->url();
  }

  double now() const { return platform::secondsSince1970(platform.clock->now()); }

  base::MainActor actor;
  platform::simulated::SimulatedMac mac;
  platform::Platform platform;
  base::Localization localization{base::Language::en};
};

inline void writeText(const std::filesystem::path& path, std::string_view text) {
  std::ofstream(path, std::ios::binary) << text;
}

}  // namespace halvercine::tests
