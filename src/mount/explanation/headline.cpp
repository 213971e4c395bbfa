#include "mount/explanation/headline.h"

#include "mount/explanation/evidence.h"

namespace halvercine::mount {
namespace {

std::string_view headlineKey(VolumeState state) {
  switch (state) {
    case VolumeState::gone:
      return "explain.state.gone";
    case VolumeState::replaced:
      return "explain.state.replaced";
    case VolumeState::unlisted:
      return "explain.state.unlisted";
    case VolumeState::wholeDisk:
      return "explain.state.wholedisk";
    case VolumeState::otherFileSystem:
      return "explain.state.otherfilesystem";
    case VolumeState::unknownFileSystem:
      return "explain.state.unknownfilesystem";
    case VolumeState::destructiveJob:
      return "explain.state.destructivejob";
    case VolumeState::interruptedCreation:
      return "explain.state.interruptedcreation";
    case VolumeState::bitLockerLocked:
      return "explain.state.bitlockerlocked";
    case VolumeState::bitLockerUndecided:
      return "explain.state.bitlockerundecided";
    case VolumeState::bitLockerUnlocking:
      return "explain.state.bitlockerunlocking";
    case VolumeState::bitLockerUnlockFailed:
      return "explain.state.bitlockerunlockfailed";
    case VolumeState::bitLockerUnsupported:
      return "explain.state.bitlockerunsupported";
    case VolumeState::bitLockerError:
      return "explain.state.bitlockererror";
    case VolumeState::bitLockerTpmOnly:
      return "explain.state.bitlockertpmonly";
    case VolumeState::bitLockerNoProtector:
      return "explain.state.bitlockernoprotector";
    case VolumeState::bitLockerUnlocked:
      return "explain.state.bitlockerunlocked";
    case VolumeState::writable:
      return "explain.state.writable";
    case VolumeState::writableUnconfirmed:
      return "explain.state.writableunconfirmed";
    case VolumeState::writableStaleReport:
      return "explain.state.writablestalereport";
    case VolumeState::writableContradicted:
      return "explain.state.writablecontradicted";
    case VolumeState::writableOtherDriver:
      return "explain.state.writableotherdriver";
    case VolumeState::readOnlyHardware:
      return "explain.state.readonlyhardware";
    case VolumeState::readOnlyResource:
      return "explain.state.readonlyresource";
    case VolumeState::readOnlyRequested:
      return "explain.state.readonlyrequested";
    case VolumeState::readOnlyProtected:
      return "explain.state.readonlyprotected";
    case VolumeState::readOnlyOpenFailed:
      return "explain.state.readonlyopenfailed";
    case VolumeState::readOnlyEndOfWrite:
      return "explain.state.readonlyendofwrite";
    case VolumeState::readOnlyUnknown:
      return "explain.state.readonlyunknown";
    case VolumeState::readOnlyStaleReport:
      return "explain.state.readonlystalereport";
    case VolumeState::readOnlySystemDriver:
      return "explain.state.readonlysystemdriver";
    case VolumeState::readOnlyOtherDriver:
      return "explain.state.readonlyotherdriver";
    case VolumeState::unmountedChecking:
      return "explain.state.unmountedchecking";
    case VolumeState::unmountedForRemount:
      return "explain.state.unmountedforremount";
    case VolumeState::unmountedRemountFailed:
      return "explain.state.unmountedremountfailed";
    case VolumeState::unmountedByUser:
      return "explain.state.unmountedbyuser";
    case VolumeState::unmountedThirdParty:
      return "explain.state.unmountedthirdparty";
    case VolumeState::unmountedMismatch:
      return "explain.state.unmountedmismatch";
    case VolumeState::unmountedNeedsCheck:
      return "explain.state.unmountedneedscheck";
    case VolumeState::unmountedHeld:
      return "explain.state.unmountedheld";
    case VolumeState::unmounted:
      return "explain.state.unmounted";
  }
  return "";
}

}  // namespace

base::LocalizedText headline(const VolumeFacts& facts, VolumeState state) {
  const auto& disk = facts.disk;
  base::LocalizedText text{headlineKey(state), {disk.name.empty() ? disk.id : disk.name}};
  if (state == VolumeState::otherFileSystem) text.arguments.push_back(disk.fileSystem);
  const bool isOtherDriver = state == VolumeState::writableOtherDriver ||
                             state == VolumeState::readOnlyOtherDriver ||
                             state == VolumeState::unmountedThirdParty;
  if (isOtherDriver) text.arguments.push_back(facts.personality->driver);
  if (state == VolumeState::unmountedMismatch) text.arguments.push_back(*facts.unmount.mismatch);
  if (state == VolumeState::writableStaleReport || state == VolumeState::readOnlyStaleReport) {
    text.texts.push_back(durationText(facts.report->age));
  }
  return text;
}

}  // namespace halvercine::mount
