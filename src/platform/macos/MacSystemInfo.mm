#include "platform/macos/MacSystemInfo.h"

#include <array>
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

namespace {

/// The version that the system has of itself, whatever it tells a program.
std::optional<SystemVersion> untoldVersion() {
  NSURL* const file =
      [NSURL fileURLWithPath:@"/System/Library/CoreServices/.SystemVersionPlatform.plist"];
  const id text = [NSDictionary dictionaryWithContentsOfURL:file error:nil][@"ProductVersion"];
  if (![text isKindOfClass:NSString.class]) return std::nullopt;
  std::array<int, 3> numbers{};
  std::size_t count = 0;
  for (NSString* part in [text componentsSeparatedByString:@"."]) {
    if (count < numbers.size()) numbers[count++] = part.intValue;
  }
  return SystemVersion{numbers[0], numbers[1], numbers[2]};
}

}  // namespace

std::optional<SystemVersion> MacSystemInfo::macOSVersion() {
  // What a program is told that was linked for systems before macOS 26: there is no macOS 16.
  constexpr NSInteger compatibility = 16;
  @autoreleasepool {
    const auto version = NSProcessInfo.processInfo.operatingSystemVersion;
    if (version.majorVersion == compatibility) return untoldVersion();
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
