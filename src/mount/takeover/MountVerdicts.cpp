#include "mount/takeover/MountVerdicts.h"

#include <utility>

#include "mount/EnabledModules.h"
#include "mount/MountAccessReportStore.h"

namespace halvercine::mount {

MountVerdicts::MountVerdicts(const platform::Platform& platform, const disks::DiskMonitor& monitor)
    : platform_(platform), monitor_(monitor) {}

TakeoverGate MountVerdicts::gateOf(const disks::Disk& disk) const {
  TakeoverGate gate;
  gate.isNtfs = disk.isNtfs();
  gate.isMounted = disk.isMounted;
  gate.isWritable = disk.isWritable;
  if (!disk.isReadOnlyNtfs()) return gate;
  if (const auto deviceId = monitor_.deviceId(disk.id)) {
    gate.mediaWritable = mediaWritable(*platform_.mediaRegistry, disk.id, *deviceId);
    const auto verdict = known_.find(*deviceId);
    if (verdict != known_.end()) gate.standingVerdict = verdict->second;
  }
  gate.isModuleAuthorized = isModuleAuthorized(*platform_.containers);
  const auto report =
      loadMountAccessReport(ReportSources::of(platform_), disk.id, Freshness::freshOnly);
  if (report) gate.reason = report->reason;
  return gate;
}

std::optional<MountVerdict> MountVerdicts::judge(const std::string& bsdName, std::uint64_t deviceId,
                                                 platform::WallTime mountedAfter, bool isLast) {
  if (monitor_.deviceId(bsdName) != deviceId) return MountVerdict::otherDevice;
  const auto* disk = monitor_.find(bsdName);
  if (!disk || !disk->isMounted) {
    return isLast ? std::optional(MountVerdict::unmounted) : std::nullopt;
  }
  const auto report =
      loadMountAccessReport(ReportSources::of(platform_), disk->id, Freshness::freshOnly);
  const bool isReported = report && report->timestamp >= platform::secondsSince1970(mountedAfter);
  const bool claimsWritable = isReported && report->reason == ReadOnlyReason::readWrite;
  if (disk->isWritable && (claimsWritable || isLast)) return MountVerdict::writable;
  if (isReported && !claimsWritable && !disk->isWritable) {
    const auto cause = gateOf(*disk).cause();
    if (MountRecoveryPolicy::isRecoverable(cause)) return MountVerdict::readOnly;
    known_[deviceId] = cause;
    return MountVerdict::final;
  }
  return isLast ? std::optional(MountVerdict::readOnly) : std::nullopt;
}

void MountVerdicts::remember(std::uint64_t deviceId, ReadOnlyCause cause) {
  if (MountRecoveryPolicy::isRecoverable(cause)) {
    known_.erase(deviceId);
  } else {
    known_[deviceId] = cause;
  }
}

void MountVerdicts::forgetAllBut(const std::set<std::uint64_t>& deviceIds) {
  std::erase_if(known_, [&](const auto& verdict) { return !deviceIds.contains(verdict.first); });
}

void MountVerdicts::restore(std::map<std::uint64_t, ReadOnlyCause> known) {
  known_ = std::move(known);
}

}  // namespace halvercine::mount
