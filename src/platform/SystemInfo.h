// Facts about the running system.
#pragma once

#include <compare>
#include <optional>
#include <string>

#include "platform/Clock.h"

namespace halvercine::platform {

struct SystemVersion {
  int major = 0;
  int minor = 0;
  int patch = 0;
  auto operator<=>(const SystemVersion&) const = default;
};

/// How warm the system says that it is. From `serious` on it slows itself down.
enum class ThermalState { nominal, fair, serious, critical };

class SystemInfo {
 public:
  virtual ~SystemInfo() = default;

  /// The raw bytes of a kernel variable (`sysctlbyname`), with whatever zero bytes end it; nothing
  /// when the size query or the read fails. Any thread.
  virtual std::optional<std::string> kernelVariable(const std::string& name) = 0;

  /// When the system was started, by the present wall clock; nothing when that is not known. Any
  /// thread.
  virtual std::optional<WallTime> bootTime() = 0;

  /// The version of macOS, such as 26.4.0; nothing on another system. Any thread.
  virtual std::optional<SystemVersion> macOSVersion() = 0;

  /// Whether the machine draws on its battery now; false for one without a battery. Any thread.
  virtual bool onBattery() = 0;

  /// Nothing when the system does not tell. Any thread.
  virtual std::optional<ThermalState> thermalState() = 0;
};

}  // namespace halvercine::platform
