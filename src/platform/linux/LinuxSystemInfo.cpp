#include "platform/linux/LinuxSystemInfo.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <ctime>

#include <boost/algorithm/string/case_conv.hpp>

#include "platform/linux/sysfs.h"

namespace halvercine::platform::gnulinux {
namespace {

/// Thousandths of a degree Celsius; sensors and trip points that are not in use say 0 or less.
std::optional<long> temperature(const std::string& directory, const std::string& name) {
  const auto text = readAttribute(directory, name);
  long value = 0;
  if (!text) return std::nullopt;
  const auto end = text->data() + text->size();
  if (std::from_chars(text->data(), end, value).ec != std::errc() || value <= 0) {
    return std::nullopt;
  }
  return value;
}

/// The worst of the trip points that a zone has reached; nothing for a zone without a sensor.
std::optional<ThermalState> zoneState(const std::string& zone) {
  const auto now = temperature(zone, "temp");
  if (!now) return std::nullopt;
  auto state = ThermalState::nominal;
  for (int point = 0;; ++point) {
    const auto name = "trip_point_" + std::to_string(point);
    const auto kind = readAttribute(zone, name + "_type");
    if (!kind) return state;
    const auto limit = temperature(zone, name + "_temp");
    if (!limit || *now < *limit) continue;
    if (*kind == "critical") state = ThermalState::critical;
    // Active ones only make a fan turn.
    if (*kind == "passive" || *kind == "hot") state = std::max(state, ThermalState::serious);
  }
}

}  // namespace

std::optional<std::string> LinuxSystemInfo::kernelVariable(const std::string& name) {
  if (name != "kern.bootsessionuuid") return std::nullopt;
  auto session = readAttribute("/proc/sys/kernel/random", "boot_id");
  if (!session) return std::nullopt;
  boost::algorithm::to_upper(*session, std::locale::classic());
  session->push_back('\0');  // the raw value of the system call ends like this
  return session;
}

std::optional<WallTime> LinuxSystemInfo::bootTime() {
  timespec sinceBoot{};
  if (::clock_gettime(CLOCK_BOOTTIME, &sinceBoot) != 0) return std::nullopt;
  const auto passed =
      std::chrono::seconds(sinceBoot.tv_sec) + std::chrono::nanoseconds(sinceBoot.tv_nsec);
  return WallTime(std::chrono::system_clock::now()) - passed;
}

bool LinuxSystemInfo::onBattery() {
  const auto supplies = sysfs_ + "/class/power_supply/";
  bool discharges = false;
  for (const auto& name : namesIn(supplies)) {
    const auto supply = supplies + name;
    const auto type = readAttribute(supply, "type");
    if (type == "Battery") {
      // A mouse has a battery too.
      const bool isOfMachine = readAttribute(supply, "scope") != "Device";
      discharges |= isOfMachine && readAttribute(supply, "status") == "Discharging";
    } else if (readNumber(supply, "online").value_or(0) > 0) {
      return false;
    }
  }
  return discharges;
}

std::optional<ThermalState> LinuxSystemInfo::thermalState() {
  std::optional<ThermalState> worst;
  const auto zones = sysfs_ + "/class/thermal/";
  for (const auto& name : namesIn(zones)) {
    if (!name.starts_with("thermal_zone")) continue;
    worst = std::max(worst, zoneState(zones + name));  // nothing is less than any state
  }
  return worst;
}

}  // namespace halvercine::platform::gnulinux
