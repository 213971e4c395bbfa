#include "mount/explanation/VolumeState.h"

#include "base/BsdName.h"

namespace halvercine::mount {
namespace {

using Owner = PersonalityProbe::Owner;

bool isServedBy(const VolumeFacts& facts, Owner owner) {
  return facts.personality && facts.personality->owner == owner;
}

VolumeState lockedState(const VolumeFacts& facts) {
  const auto& bitLocker = *facts.disk.bitLocker;
  if (facts.unlockRequested) return VolumeState::bitLockerUnlocking;
  if (bitLocker.state == "unsupported") return VolumeState::bitLockerUnsupported;
  if (bitLocker.state == "error") return VolumeState::bitLockerError;
  const bool failed = bitLocker.state == "unlockFailed";
  // Any other word of the module's is no answer yet.
  if (!failed && bitLocker.state != "locked") return VolumeState::bitLockerUndecided;
  if (bitLocker.tpmOnly) return VolumeState::bitLockerTpmOnly;
  if (failed) return VolumeState::bitLockerUnlockFailed;
  const bool canBeOpened = bitLocker.hasPasswordProtector || bitLocker.hasRecoveryProtector ||
                           bitLocker.hasStartupKeyProtector || bitLocker.hasClearKey;
  return canBeOpened ? VolumeState::bitLockerLocked : VolumeState::bitLockerNoProtector;
}

/// The state of what holds no NTFS.
VolumeState foreignState(const VolumeFacts& facts) {
  const auto& disk = facts.disk;
  if (disk.bitLocker && !disk.isMounted) return VolumeState::bitLockerUnlocked;
  if (base::wholeDiskName(disk.id) == disk.id && !disk.isMounted) return VolumeState::wholeDisk;
  return facts.fileSystemKnown ? VolumeState::otherFileSystem : VolumeState::unknownFileSystem;
}

VolumeState writableState(const VolumeFacts& facts) {
  if (isServedBy(facts, Owner::thirdParty)) return VolumeState::writableOtherDriver;
  if (!facts.report) return VolumeState::writableUnconfirmed;
  if (!facts.report->isFresh) return VolumeState::writableStaleReport;
  return facts.report->reason == ReadOnlyReason::readWrite ? VolumeState::writable
                                                           : VolumeState::writableContradicted;
}

VolumeState unexplainedState(const VolumeFacts& facts) {
  if (isServedBy(facts, Owner::thirdParty)) return VolumeState::readOnlyOtherDriver;
  if (facts.report) {
    return facts.report->isFresh ? VolumeState::readOnlyUnknown : VolumeState::readOnlyStaleReport;
  }
  return isServedBy(facts, Owner::system) ? VolumeState::readOnlySystemDriver
                                          : VolumeState::readOnlyUnknown;
}

VolumeState readOnlyState(const VolumeFacts& facts) {
  switch (readOnlyCause(facts)) {
    case ReadOnlyCause::hardware:
      return VolumeState::readOnlyHardware;
    case ReadOnlyCause::resource:
      return VolumeState::readOnlyResource;
    case ReadOnlyCause::requested:
      return VolumeState::readOnlyRequested;
    case ReadOnlyCause::protectedVolume:
      return VolumeState::readOnlyProtected;
    case ReadOnlyCause::openFailed:
      return VolumeState::readOnlyOpenFailed;
    case ReadOnlyCause::endOfWriteSafety:
      return VolumeState::readOnlyEndOfWrite;
    case ReadOnlyCause::unknown:
      break;
  }
  return unexplainedState(facts);
}

VolumeState unmountedState(const VolumeFacts& facts) {
  if (facts.unmount.isChecking) return VolumeState::unmountedChecking;
  const auto& takeover = facts.takeover;
  if (takeover.awaitsRemount || takeover.isWorking) {
    return takeover.lastError && !takeover.isWorking ? VolumeState::unmountedRemountFailed
                                                     : VolumeState::unmountedForRemount;
  }
  // A driver or a doubt does not count where the user wanted it so.
  if (facts.unmountedByUserAt) return VolumeState::unmountedByUser;
  if (isServedBy(facts, Owner::thirdParty)) return VolumeState::unmountedThirdParty;
  if (facts.unmount.mismatch) return VolumeState::unmountedMismatch;
  if (facts.unmount.needsCheck) return VolumeState::unmountedNeedsCheck;
  if (facts.holders && !facts.holders->empty()) return VolumeState::unmountedHeld;
  return VolumeState::unmounted;
}

/// Whether the state is one that the controller tries to end.
bool isToRecover(VolumeState state) {
  return isReadOnlyState(state) || state == VolumeState::unmountedForRemount ||
         state == VolumeState::unmountedRemountFailed;
}

}  // namespace

ReadOnlyCause readOnlyCause(const VolumeFacts& facts) {
  const bool counts = facts.report && facts.report->isFresh;
  return MountRecoveryPolicy::cause(facts.mediaWritable,
                                    counts ? std::optional(facts.report->reason) : std::nullopt);
}

VolumeState stateOf(const VolumeFacts& facts) {
  switch (facts.presence) {
    case VolumeFacts::Presence::present:
      break;
    case VolumeFacts::Presence::gone:
      return VolumeState::gone;
    case VolumeFacts::Presence::replaced:
      return VolumeState::replaced;
    case VolumeFacts::Presence::unlisted:
      return VolumeState::unlisted;
  }
  const auto& disk = facts.disk;
  if (facts.destructiveJobHere) return VolumeState::destructiveJob;
  if (facts.unmount.isCreationInterrupted && !disk.isMounted) {
    return VolumeState::interruptedCreation;
  }
  if (disk.bitLocker && !disk.bitLocker->isUnlocked() && !disk.isMounted) return lockedState(facts);
  if (!disk.isNtfs()) return foreignState(facts);
  if (!disk.isMounted) return unmountedState(facts);
  return disk.isWritable ? writableState(facts) : readOnlyState(facts);
}

Recovery recoveryOf(const VolumeFacts& facts, VolumeState state) {
  if (!isToRecover(state)) return Recovery::none;
  if (isReadOnlyState(state) && !MountRecoveryPolicy::isRecoverable(readOnlyCause(facts))) {
    return Recovery::cannotHelp;
  }
  const auto& takeover = facts.takeover;
  if (!takeover.controllerRuns) return Recovery::noController;
  if (takeover.isWorking) return Recovery::running;
  if (facts.destructiveJobRuns) return Recovery::suppressed;
  if (takeover.isModuleOff) return Recovery::moduleOff;
  if (takeover.stopped) return Recovery::stopped;
  return takeover.nextAttempt ? Recovery::waiting : Recovery::watching;
}

bool isWritableState(VolumeState state) {
  return state >= VolumeState::writable && state <= VolumeState::writableOtherDriver;
}

bool isReadOnlyState(VolumeState state) {
  return state >= VolumeState::readOnlyHardware && state <= VolumeState::readOnlyOtherDriver;
}

bool isUnmountedState(VolumeState state) { return state >= VolumeState::unmountedChecking; }

}  // namespace halvercine::mount
