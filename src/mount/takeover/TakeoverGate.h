// Whether a volume may be taken over at all.
#pragma once

#include <optional>
#include <string>

#include "mount/MountRecoveryPolicy.h"

namespace halvercine::mount {

/// What the eligibility of a volume rests on, as of one moment.
struct TakeoverGate {
  bool isNtfs = false;
  bool isMounted = false;
  bool isWritable = false;               ///< the mounted file system accepts writes
  std::optional<bool> mediaWritable;     ///< the medium's own flag; nothing: not known
  bool isModuleAuthorized = false;       ///< the product's file-system module may serve volumes
  std::optional<ReadOnlyReason> reason;  ///< of a fresh report; nothing: no such report
  /// What the module's report said of this mount before it went stale.
  std::optional<ReadOnlyCause> standingVerdict;

  ReadOnlyCause cause() const {
    if (!reason && standingVerdict) return *standingVerdict;
    return MountRecoveryPolicy::cause(mediaWritable, reason);
  }

  /// Mounted NTFS that is read-only for a cause that another mount by the module can overcome.
  bool isOpen() const;

  /// The recovery verdict and the state for the log, such as "resource mounted=true …".
  std::string description() const;

  bool operator==(const TakeoverGate&) const = default;
};

}  // namespace halvercine::mount
