// Why an NTFS volume is there, but not mounted.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include <boost/describe.hpp>

#include "base/LocalizedText.h"
#include "disks/Disk.h"

namespace halvercine::mount {

struct UnmountReason {
  enum class Case {
    thirdParty,           ///< another vendor's driver holds it
    mismatch,             ///< it is not what was recorded under its name
    checking,             ///< a check is running on it
    interruptedCreation,  ///< a BitLocker creation on it was left half-way
    needsCheck,           ///< it may be mounted only after a check
    unknown,
  };
  BOOST_DESCRIBE_NESTED_ENUM(Case, thirdParty, mismatch, checking, interruptedCreation, needsCheck,
                             unknown)

  Case kind = Case::unknown;
  /// Display name of the driver with `thirdParty`, what differs with `mismatch`; else empty.
  std::string detail;

  /// The text for people; nothing for `unknown`.
  std::optional<base::LocalizedText> text() const;

  bool operator==(const UnmountReason&) const = default;
};

/// All that was found out about one unmounted volume. Several can hold at once.
struct UnmountFindings {
  bool isChecking = false;
  bool isCreationInterrupted = false;
  std::optional<std::string> foreignDriver;  ///< display name
  std::optional<std::string> mismatch;       ///< what differs, for people
  bool needsCheck = false;
};

/// The reason that the user is told. What the program itself is doing comes first, then what only
/// the user can resolve, in the order of the members.
UnmountReason unmountReason(const UnmountFindings& findings);

/// What other parts of the program know of a volume. A function that is not set knows nothing. Main
/// actor.
struct UnmountReasonInputs {
  std::function<bool(const disks::Disk&)> isChecking;
  std::function<bool(const disks::Disk&)> isCreationInterrupted;
  /// What differs between the volume that was recorded and the present one.
  std::function<std::optional<std::string>(const disks::Disk&)> recordedIdentityMismatch;
  std::function<bool(const disks::Disk&)> needsCheck;

  /// Everything that is known without running a tool.
  UnmountFindings findings(const disks::Disk& disk) const;
};

}  // namespace halvercine::mount
