// Which disk a BitLocker status record is about.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "bitlocker/BitLockerState.h"
#include "bitlocker/Status.h"
#include "platform/Clock.h"

namespace halvercine::disks {

/// The status records of the mailbox at one moment.
class BitLockerStates {
 public:
  BitLockerStates() = default;

  /// Records that were written before `bootTime` are about disks of another time, and left out:
  /// both BSD names and device IDs are given out anew.
  explicit BitLockerStates(std::vector<bitlocker::Status> statuses,
                           std::optional<platform::WallTime> bootTime = std::nullopt);

  /// What the newest record says that is about this disk: it names the BSD name, does not belong to
  /// another device, and its volume has not been ejected.
  std::optional<bitlocker::BitLockerState> of(const std::string& bsdName,
                                              std::optional<std::uint64_t> deviceId) const;

  /// Equal for equal records, whatever order they came in.
  std::size_t digest() const;

 private:
  std::vector<bitlocker::Status> statuses_;  // newest first
};

}  // namespace halvercine::disks
