// A disk's record with what the front ends say beside it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <boost/json/value.hpp>

#include "base/Localization.h"
#include "disks/Disk.h"
#include "mount/MountRecoveryPolicy.h"
#include "mount/reasons/UnmountReason.h"
#include "mount/takeover/RecoveryStatuses.h"
#include "platform/Platform.h"

namespace halvercine::app {

/// Why a volume is read-only.
struct ReadOnlyExplanation {
  mount::ReadOnlyCause cause = mount::ReadOnlyCause::unknown;
  std::vector<std::string_view> noteKeys;

  bool operator==(const ReadOnlyExplanation&) const = default;
};

/// One disk, ready to be shown.
struct DiskView {
  disks::Disk disk;
  std::optional<std::uint64_t> deviceId;        ///< registry entry ID of the medium
  std::string deviceNode;                       ///< where programs open it, such as "/dev/disk4s1"
  std::optional<ReadOnlyExplanation> readOnly;  ///< set for a mounted NTFS volume that is read-only
  /// Set for an unmounted NTFS volume when it is known why it is not mounted.
  std::optional<mount::UnmountReason> unmountReason;

  /// Set while the controller keeps trying to make the volume writable.
  std::optional<mount::MountRecoveryPolicy::StatusLine> recovery;

  /// Looks up what the record does not carry, without running a tool. Main actor.
  static DiskView of(disks::Disk disk, const platform::Platform& platform,
                     const mount::RecoveryStatuses& recoveries);

  /// The record's fields by their names, then "isNTFS", "deviceID", "deviceNode" and, when set,
  /// "readOnly", "unmountReason" and "recovery".
  boost::json::value toJson(const base::Localization& localization) const;

  bool operator==(const DiskView&) const = default;
};

/// The text of a recovery status line.
std::string recoveryText(const mount::MountRecoveryPolicy::StatusLine& line,
                         const base::Localization& localization);

/// The state of a BitLocker volume and what it is protected with.
std::string bitLockerText(const bitlocker::BitLockerState& volume,
                          const base::Localization& localization);

}  // namespace halvercine::app
