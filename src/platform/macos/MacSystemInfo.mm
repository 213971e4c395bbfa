#include "platform/macos/MacSystemInfo.h"

#include <cerrno>
#include <chrono>
#include <sys/sysctl.h>
#include <sys/time.h>

#import <Foundation/Foundation.h>
#include <IOKit/ps/IOPSKeys.h>
#include <IOKit/ps/IOPowerSources.h>

#include "platform/macos/ScopedCF.h"

namespace halvercine::platform::macos {

std::optional<std::string> MacSystemInfo::kernelVariable(const std::string& name) {
  std::string value;
  int result = 0;
  do {  // the value can grow between the question for its size and the read
    std::size_t size = 0;
    if (::sysctlbyname(name.c_str(), nullptr, &size, nullptr, 0) != 0) return std::nullopt;
    value.resize(size);
    result = ::sysctlbyname(name.c_str(), value.data(), &size, nullptr, 0);
    if (result == 0) value.resize(size);
  } while (result != 0 && errno == ENOMEM);
  if (result != 0) return std::nullopt;
  return value;
}

std::optional<WallTime> MacSystemInfo::bootTime() {
  // The kernel moves it when the wall clock is set.
  timeval start{};
  std::size_t size = sizeof start;
  if (::sysctlbyname("kern.boottime", &start, &size, nullptr, 0) != 0 || start.tv_sec == 0) {
    return std::nullopt;
  }
  return WallTime(std::chrono::seconds(start.tv_sec) + std::chrono::microseconds(start.tv_usec));
}

std::optional<SystemVersion> MacSystemInfo::macOSVersion() {
  @autoreleasepool {
    const auto version = NSProcessInfo.processInfo.operatingSystemVersion;
    return SystemVersion{static_cast<int>(version.majorVersion),
                         static_cast<int>(version.minorVersion),
                         static_cast<int>(version.patchVersion)};
  }
}

bool MacSystemInfo::onBattery() {
  @autoreleasepool {
    const auto sources = ScopedCF<CFTypeRef>::adopt(IOPSCopyPowerSourcesInfo());
    if (!sources) return false;
    const auto type = ScopedCF<CFStringRef>::retain(IOPSGetProvidingPowerSourceType(sources.get()));
    return type && CFEqual(type.get(), CFSTR(kIOPMBatteryPowerKey));
  }
}

std::optional<ThermalState> MacSystemInfo::thermalState() {
  @autoreleasepool {
    switch (NSProcessInfo.processInfo.thermalState) {
      case NSProcessInfoThermalStateNominal:
        return ThermalState::nominal;
      case NSProcessInfoThermalStateFair:
        return ThermalState::fair;
      case NSProcessInfoThermalStateSerious:
        return ThermalState::serious;
      case NSProcessInfoThermalStateCritical:
        return ThermalState::critical;
    }
    return std::nullopt;  // one that a later system knows
  }
}

}  // namespace halvercine::platform::macos
