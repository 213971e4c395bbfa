#include "app/unlockContext.h"

#include "app/unmountReasons.h"
#include "check/CheckMailbox.h"
#include "mount/MountAccessReportStore.h"
#include "mount/takeover/RecoveryStatuses.h"

namespace halvercine::app {

bitlocker::UnlockContext unlockContext(TakeoverParts& parts) {
  const auto& platform = parts.command.platform;
  const auto isInUse = [&platform](const disks::Disk& disk) {
    if (check::isBeingChecked(*platform.containers, disk.id)) return true;
    const auto deviceId = mount::deviceId(*platform.mediaRegistry, disk.id);
    return deviceId && mount::RecoveryStatuses::read(platform).isWorkingOn(*deviceId);
  };
  const auto addToLog = [&parts](std::string_view category, std::string_view message) {
    parts.log.add(category, message);
  };
  return {parts.machine.actor(), platform, parts.monitor, parts.utility, isInUse, addToLog};
}

bool isUnsafeToUnlock(const platform::Platform& platform, const disks::Disk& disk) {
  const auto findings = unmountReasonInputs(platform).findings(disk);
  return findings.needsCheck || findings.isCreationInterrupted;
}

}  // namespace halvercine::app
