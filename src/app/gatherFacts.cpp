#include "app/gatherFacts.h"

#include <algorithm>
#include <chrono>

#include "app/unmountReasons.h"
#include "base/either.h"
#include "bitlocker/BitLockerMailbox.h"
#include "disks/DiskMonitor.h"
#include "mount/EnabledModules.h"
#include "mount/MountAccessReportStore.h"
#include "mount/ThirdPartyDriver.h"
#include "mount/reasons/ManualUnmountRegistry.h"
#include "mount/reasons/volumeIdentity.h"
#include "mount/takeover/RecoveryStatuses.h"

namespace halvercine::app {
namespace {

using mount::VolumeFacts;

// A tool that says nothing by then hangs on some disk.
constexpr std::chrono::seconds probeLimit{10};

std::optional<mount::ReportFacts> reportFacts(const platform::Platform& platform,
                                              const std::string& bsdName) {
  const auto sources = mount::ReportSources::of(platform);
  const auto report = mount::loadMountAccessReport(sources, bsdName, mount::Freshness::any);
  if (!report) return std::nullopt;
  const double now = platform::secondsSince1970(platform.clock->now());
  return mount::ReportFacts{.reason = report->reason,
                            .age = now - report->timestamp,
                            .isFresh = mount::isFresh(report->timestamp, now),
                            .ownerId = report->ownerID};
}

/// The names of the drivers on this machine, each once.
std::vector<std::string> foreignDrivers(const platform::Platform& platform) {
  std::vector<std::string> names;
  for (const auto& driver : mount::detectThirdPartyDrivers(*platform.containers)) {
    if (std::ranges::find(names, driver.name) == names.end()) names.push_back(driver.name);
  }
  return names;
}

bool unlockIsRequested(const platform::Platform& platform, const disks::Disk& disk) {
  if (!disk.bitLocker) return false;
  const bitlocker::BitLockerMailbox mailbox(*platform.containers, *platform.clock);
  return mailbox.pendingRequest(disk.bitLocker->guid).has_value();
}

std::optional<double> unmountedByUserAt(const platform::Platform& platform,
                                        const disks::Disk& disk) {
  const auto identity = mount::volumeIdentity(disk);
  if (!identity) return std::nullopt;
  return mount::ManualUnmountRegistry(*platform.userDefaults, *platform.clock)
      .unmountedAt(*identity);
}

/// What the resident controller says of a volume: nothing, while there is none.
mount::TakeoverFacts takeoverFacts(const CommandContext& context, const disks::Disk& disk,
                                   std::uint64_t deviceId) {
  mount::TakeoverFacts facts;
  const auto statuses = mount::RecoveryStatuses::read(context.platform);
  facts.controllerRuns = statuses.isControllerRunning;
  facts.isWorking = statuses.isWorkingOn(deviceId);
  facts.awaitsRemount = statuses.recoveryOf(disk.id, deviceId) != nullptr;
  if (const auto* retry = statuses.retryOf(disk.id, deviceId)) {
    facts.attempt = retry->count;
    facts.stopped = retry->count >= mount::MountRecoveryPolicy::attemptLimit;
    if (!facts.stopped) {
      const std::chrono::duration<double> due(retry->nextAfter);
      facts.nextAttempt =
          platform::WallTime(std::chrono::duration_cast<platform::WallTime::duration>(due));
    }
  }
  const auto& failure = statuses.record.lastFailure;
  if (failure && statuses.record.lastFailureDevice == deviceId) facts.lastError = failure->rawError;
  facts.isModuleOff =
      disk.isReadOnlyNtfs() && !mount::isModuleAuthorized(*context.platform.containers);
  return facts;
}

/// Everything that is known without running a tool.
void addKnownFacts(VolumeFacts& facts, const CommandContext& context, const DiskView& view) {
  const auto& platform = context.platform;
  facts.now = platform.clock->now();
  facts.disk = view.disk;
  facts.fileSystemKnown = view.disk.fileSystem != context.text("disk.fs.unknown");
  if (view.deviceId) {
    facts.mediaWritable =
        mount::mediaWritable(*platform.mediaRegistry, view.disk.id, *view.deviceId);
  }
  facts.report = reportFacts(platform, view.disk.id);
  facts.foreignDrivers = foreignDrivers(platform);
  facts.unmountedByUserAt = unmountedByUserAt(platform, view.disk);
  facts.unmount = unmountReasonInputs(platform).findings(view.disk);
  facts.destructiveJobRuns = disks::isDestructiveJobRunning(*platform.containers);
  facts.unlockRequested = unlockIsRequested(platform, view.disk);
  if (view.deviceId) facts.takeover = takeoverFacts(context, view.disk, *view.deviceId);
}

base::Task<std::optional<mount::PersonalityProbe>> probePersonality(
    const platform::Platform& platform, const disks::DiskUtility& utility, std::string bsdName) {
  auto info = utility.info(std::move(bsdName));
  const auto result = co_await base::withTimeout(*platform.clock, probeLimit, std::move(info));
  if (!result || result->status != 0) co_return std::nullopt;
  co_return mount::PersonalityProbe::of(result->text);
}

base::Task<std::vector<disks::Occupant>> searchHolders(const disks::DiskUtility& utility,
                                                       disks::Disk disk) {
  if (!disk.isMounted) return utility.deviceHolders(disk.id);
  return utility.volumeOccupants(std::vector<std::string>(1, disk.mountPath.value_or("")));
}

base::Task<std::optional<std::vector<disks::Occupant>>> findHolders(
    const platform::Platform& platform, const disks::DiskUtility& utility, disks::Disk disk) {
  auto search = searchHolders(utility, std::move(disk));
  auto found = co_await base::withTimeout(*platform.clock, probeLimit, std::move(search));
  if (!found) co_return std::nullopt;
  co_return std::move(*found);
}

}  // namespace

base::Task<VolumeFacts> gatherFacts(const CommandContext& context,
                                    const disks::DiskUtility& utility, DiskView view) {
  VolumeFacts facts;
  facts.disk = view.disk;
  if (view.disk.isNtfs()) {
    facts.personality = co_await probePersonality(context.platform, utility, view.disk.id);
    facts.holders = co_await findHolders(context.platform, utility, view.disk);
  }
  const auto views = viewDisks(context);
  const auto now =
      views ? std::ranges::find(*views, view.disk.id, [](const auto& one) { return one.disk.id; })
            : std::vector<DiskView>::const_iterator();
  if (!views || now == views->end()) {
    facts.presence = VolumeFacts::Presence::gone;
  } else if (now->deviceId != view.deviceId) {
    facts.presence = VolumeFacts::Presence::replaced;
  } else {
    addKnownFacts(facts, context, *now);
  }
  co_return facts;
}

VolumeFacts factsOfUnlisted(const std::string& bsdName) {
  VolumeFacts facts;
  facts.presence = VolumeFacts::Presence::unlisted;
  facts.disk.id = bsdName;
  return facts;
}

}  // namespace halvercine::app
