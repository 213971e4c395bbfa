#include "disks/BitLockerStates.h"

#include <algorithm>
#include <functional>
#include <utility>

#include "base/Json.h"

namespace halvercine::disks {
namespace {

// The wall clock may have been set right after the start, in seconds.
constexpr double clockCorrection = 60;

}  // namespace

BitLockerStates::BitLockerStates(std::vector<bitlocker::Status> statuses,
                                 std::optional<platform::WallTime> bootTime)
    : statuses_(std::move(statuses)) {
  if (bootTime) {
    const double start = platform::secondsSince1970(*bootTime) - clockCorrection;
    std::erase_if(statuses_, [start](const auto& status) { return status.timestamp < start; });
  }
  std::stable_sort(statuses_.begin(), statuses_.end(), [](const auto& left, const auto& right) {
    return left.timestamp > right.timestamp;
  });
}

std::optional<bitlocker::BitLockerState> BitLockerStates::of(
    const std::string& bsdName, std::optional<std::uint64_t> deviceId) const {
  for (const auto& status : statuses_) {
    if (status.bsdName != bsdName) continue;
    if (status.deviceID && status.deviceID != deviceId) continue;
    if (status.ejected.value_or(false)) return std::nullopt;
    return bitlocker::stateOf(status);
  }
  return std::nullopt;
}

std::size_t BitLockerStates::digest() const {
  std::size_t sum = 0;
  for (const auto& status : statuses_) {
    sum += std::hash<std::string>()(base::encodeJson(status));
  }
  return sum;
}

}  // namespace halvercine::disks
