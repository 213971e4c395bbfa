#include "app/unmountReasons.h"

#include "bitlocker/interrupted/InterruptedCreationStore.h"
#include "check/CheckMailbox.h"
#include "mount/MountAccessReportStore.h"
#include "mount/takeover/TakeoverJournal.h"

namespace halvercine::app {
namespace {

/// The module has found the volume unsafe: it takes its reports back when it unmounts, so one that
/// is still there is its last word.
bool wasFoundUnsafe(const disks::Disk& disk, const platform::Platform& platform) {
  const auto sources = mount::ReportSources::of(platform);
  const auto report = mount::loadMountAccessReport(sources, disk.id, mount::Freshness::any);
  return report && report->reason == mount::ReadOnlyReason::unsafeVolume;
}

/// The name of the volume that the program itself unmounted under this BSD name, if this is another
/// one.
std::optional<std::string> replacedVolume(const disks::Disk& disk,
                                          const platform::Platform& platform) {
  const auto deviceId = mount::deviceId(*platform.mediaRegistry, disk.id);
  if (!deviceId) return std::nullopt;
  const auto identity = mount::identityOf(disk, *deviceId);
  for (const auto& recovery : mount::TakeoverJournal(platform).read().recoveries) {
    if (recovery.bsdName == disk.id && !mount::isSameVolume(recovery.identity, identity)) {
      return recovery.diskName;
    }
  }
  return std::nullopt;
}

}  // namespace

mount::UnmountReasonInputs unmountReasonInputs(const platform::Platform& platform) {
  mount::UnmountReasonInputs inputs;
  inputs.isChecking = [&platform](const disks::Disk& disk) {
    return check::isBeingChecked(*platform.containers, disk.id);
  };
  inputs.isCreationInterrupted = [&platform](const disks::Disk& disk) {
    return bitlocker::InterruptedCreationStore(*platform.userDefaults).contains(disk);
  };
  inputs.recordedIdentityMismatch = [&platform](const disks::Disk& disk) {
    return replacedVolume(disk, platform);
  };
  inputs.needsCheck = [&platform](const disks::Disk& disk) {
    return wasFoundUnsafe(disk, platform);
  };
  return inputs;
}

std::optional<mount::UnmountReason> reasonWithoutTools(const disks::Disk& disk,
                                                       const platform::Platform& platform) {
  if (disk.isMounted || !disk.isNtfs()) return std::nullopt;
  return known(mount::unmountReason(unmountReasonInputs(platform).findings(disk)));
}

std::optional<mount::UnmountReason> known(std::optional<mount::UnmountReason> reason) {
  if (reason && reason->kind == mount::UnmountReason::Case::unknown) return std::nullopt;
  return reason;
}

}  // namespace halvercine::app
