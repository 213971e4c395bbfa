// Facts about the running system from /proc and /sys.
#pragma once

#include <string>
#include <utility>

#include "platform/SystemInfo.h"

namespace halvercine::platform::gnulinux {

/// Knows "kern.bootsessionuuid", from the kernel's boot ID; other variables have no counterpart.
class LinuxSystemInfo : public SystemInfo {
 public:
  explicit LinuxSystemInfo(std::string sysfs = "/sys") : sysfs_(std::move(sysfs)) {}

  std::optional<std::string> kernelVariable(const std::string& name) override;
  std::optional<WallTime> bootTime() override;
  std::optional<SystemVersion> macOSVersion() override { return std::nullopt; }
  bool onBattery() override;
  /// From the trip points: `serious` where the kernel slows the machine down, never `fair`.
  std::optional<ThermalState> thermalState() override;

 private:
  std::string sysfs_;
};

}  // namespace halvercine::platform::gnulinux
