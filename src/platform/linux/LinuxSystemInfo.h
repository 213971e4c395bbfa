// Facts about the running system from /proc.
#pragma once

#include "platform/SystemInfo.h"

namespace halvercine::platform::gnulinux {

/// Knows "kern.bootsessionuuid", from the kernel's boot ID; other variables have no counterpart.
class LinuxSystemInfo : public SystemInfo {
 public:
  std::optional<std::string> kernelVariable(const std::string& name) override;
  std::optional<WallTime> bootTime() override;
  std::optional<SystemVersion> macOSVersion() override { return std::nullopt; }
};

}  // namespace halvercine::platform::gnulinux
