// The states that a volume can be in, as far as people are concerned.
#pragma once

#include <string_view>

#include <boost/describe.hpp>

#include "mount/MountRecoveryPolicy.h"
#include "mount/explanation/VolumeFacts.h"

namespace halvercine::mount {

enum class VolumeState {
  // No volume to speak of.
  gone,
  replaced,
  unlisted,
  wholeDisk,
  otherFileSystem,
  unknownFileSystem,
  destructiveJob,
  interruptedCreation,
  // Encrypted, and not open.
  bitLockerLocked,
  bitLockerUndecided,
  bitLockerUnlocking,
  bitLockerUnlockFailed,
  bitLockerUnsupported,
  bitLockerError,
  bitLockerTpmOnly,
  bitLockerNoProtector,
  bitLockerUnlocked,
  // NTFS, mounted for writing.
  writable,
  writableUnconfirmed,
  writableStaleReport,
  writableContradicted,
  writableOtherDriver,
  // NTFS, mounted read-only.
  readOnlyHardware,
  readOnlyResource,
  readOnlyRequested,
  readOnlyProtected,
  readOnlyOpenFailed,
  readOnlyEndOfWrite,
  readOnlyUnknown,
  readOnlyStaleReport,
  readOnlySystemDriver,
  readOnlyOtherDriver,
  // NTFS, not mounted.
  unmountedChecking,
  unmountedForRemount,
  unmountedRemountFailed,
  unmountedByUser,
  unmountedThirdParty,
  unmountedMismatch,
  unmountedNeedsCheck,
  unmountedHeld,
  unmounted,
};
BOOST_DESCRIBE_ENUM(VolumeState, gone, replaced, unlisted, wholeDisk, otherFileSystem,
                    unknownFileSystem, destructiveJob, interruptedCreation, bitLockerLocked,
                    bitLockerUndecided, bitLockerUnlocking, bitLockerUnlockFailed,
                    bitLockerUnsupported, bitLockerError, bitLockerTpmOnly, bitLockerNoProtector,
                    bitLockerUnlocked, writable, writableUnconfirmed, writableStaleReport,
                    writableContradicted, writableOtherDriver, readOnlyHardware, readOnlyResource,
                    readOnlyRequested, readOnlyProtected, readOnlyOpenFailed, readOnlyEndOfWrite,
                    readOnlyUnknown, readOnlyStaleReport, readOnlySystemDriver, readOnlyOtherDriver,
                    unmountedChecking, unmountedForRemount, unmountedRemountFailed, unmountedByUser,
                    unmountedThirdParty, unmountedMismatch, unmountedNeedsCheck, unmountedHeld,
                    unmounted)

/// What becomes of the volume without anybody's doing.
enum class Recovery {
  none,          ///< there is nothing to do
  cannotHelp,    ///< trying again would change nothing
  noController,  ///< nobody is there to try
  suppressed,    ///< nothing is mounted while a job rewrites a disk
  running,       ///< an attempt is under way
  moduleOff,     ///< none is made before the user has turned the file-system module on
  waiting,       ///< an attempt is due
  stopped,       ///< all attempts are made
  watching,      ///< the controller is there and has not tried yet
};
BOOST_DESCRIBE_ENUM(Recovery, none, cannotHelp, noController, suppressed, running, moduleOff,
                    waiting, stopped, watching)

/// The one state that the facts add up to. What went wrong before it came to mounting is told
/// first, and what the program does itself before what somebody else did.
VolumeState stateOf(const VolumeFacts& facts);

/// The cause that the user is told for a read-only mount.
ReadOnlyCause readOnlyCause(const VolumeFacts& facts);

Recovery recoveryOf(const VolumeFacts& facts, VolumeState state);

/// Mounted for writing, read-only, or neither.
bool isWritableState(VolumeState state);
bool isReadOnlyState(VolumeState state);
/// An NTFS volume that is not mounted, whatever the reason.
bool isUnmountedState(VolumeState state);

}  // namespace halvercine::mount
