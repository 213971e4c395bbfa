// Facts about the running Mac.
#pragma once

#include "platform/SystemInfo.h"

namespace halvercine::platform::macos {

class MacSystemInfo : public SystemInfo {
 public:
  std::optional<std::string> kernelVariable(const std::string& name) override;
  std::optional<WallTime> bootTime() override;
  std::optional<SystemVersion> macOSVersion() override;
  bool onBattery() override;
  std::optional<ThermalState> thermalState() override;
};

}  // namespace halvercine::platform::macos
