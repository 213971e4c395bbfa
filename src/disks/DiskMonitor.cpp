#include "disks/DiskMonitor.h"

#include <algorithm>
#include <utility>

#include "base/PrivateFiles.h"
#include "base/runInBackground.h"
#include "disks/enumerateDisks.h"
#include "mount/MountAccessReportStore.h"

namespace halvercine::disks {
namespace {

// Somebody may be asking whether it is held.
constexpr auto lockPatience = std::chrono::milliseconds(20);

std::optional<std::filesystem::path> destructiveLockPath(platform::Containers& containers) {
  const auto support = containers.applicationSupport();
  if (!support) return std::nullopt;
  return *support / "Halvercine" / "destructive.lock";
}

}  // namespace

DiskMonitor::DiskMonitor(base::MainActor& actor, const platform::Platform& platform,
                         const base::Localization& localization)
    : actor_(actor),
      platform_(platform),
      descriptor_(platform, localization),
      mailbox_(*platform.containers, *platform.clock),
      capacityTimer_(*platform.clock),
      fullRefreshTimer_(*platform.clock),
      post_(actor),
      tasks_(actor, *platform.systemLog) {}

DiskMonitor::~DiskMonitor() = default;

bool DiskMonitor::start() {
  session_ = platform_.diskArbitration->createSession();
  if (!session_) return false;
  listenToSession();
  refresh();
  capacityTimer_.start(capacityInterval, [this] { refreshCapacities(); });
  fullRefreshTimer_.start(fullRefreshInterval, [this] { scheduleRefresh(); });
  warmUp();
  const auto settled = platform_.clock->uptime() + deferredStart;
  platform_.clock->callAt(settled, post_.wrap([this] { scheduleRefresh(); }));
  return true;
}

void DiskMonitor::listenToSession() {
  const auto changed = post_.wrap([this](const std::optional<std::string>& bsdName) {
    if (bsdName) scheduleRefresh();
  });
  session_->start({changed, changed, changed});
}

/// Watches the folder that is there now: it may have come only now, or have been replaced.
void DiskMonitor::watchMailbox() {
  const auto directory = mailbox_.containerURL();
  const auto identity = directory ? base::fileIdentity(*directory) : std::nullopt;
  if (mailboxWatch_ && identity == watchedFolder_) return;
  mailboxWatch_.reset();
  watchedFolder_ = identity;
  if (!identity) return;
  mailboxWatch_ =
      platform_.directoryWatcher->watch(*directory, post_.wrap([this] { mailboxChanged(); }));
}

/// The first look at a volume can be slow; afterwards the system has it at hand.
void DiskMonitor::warmUp() {
  std::vector<std::string> paths;
  for (const auto& disk : disks_) {
    if (disk.mountPath) paths.push_back(*disk.mountPath);
  }
  if (paths.empty()) return;
  // One after another: volumes that do not answer must not take up all background threads.
  actor_.postToBackground([fileSystems = platform_.fileSystems.get(), paths] {
    for (const auto& path : paths) fileSystems->resourceValues(path);
  });
}

void DiskMonitor::scheduleRefresh() {
  if (std::exchange(refreshScheduled_, true)) return;
  post_([this] {
    if (refreshScheduled_) refresh();
  });
}

void DiskMonitor::refresh() {
  refreshScheduled_ = false;
  if (!session_) return;
  ++refreshRevision_;
  const auto media = allMedia(*platform_.mediaRegistry);
  const auto formerIds = std::exchange(deviceIds_, {});
  for (const auto& medium : media) {
    if (medium.deviceId) deviceIds_.emplace(medium.bsdName, *medium.deviceId);
  }
  sweepStaleFiles();
  watchMailbox();
  const auto states = readStates();
  mailboxDigest_ = mailboxDigest(states);
  auto disks = describeDisks(descriptor_, *session_, media, states);
  for (const auto& disk : disks) {
    if (disk.isNtfs()) knownNtfs_.insert(disk.id);
  }
  const bool changed = disks != disks_ || deviceIds_ != formerIds;
  disks_ = std::move(disks);
  refreshed();
  if (changed) disksChanged();
}

void DiskMonitor::sweepStaleFiles() {
  mailbox_.sweepStale();
  const auto session = mount::bootSession(*platform_.systemInfo);
  if (!session) return;
  const double now = platform::secondsSince1970(platform_.clock->now());
  for (const auto& bsdName : mount::reportedPartitions(*platform_.containers)) {
    const auto store = mount::MountAccessReportStore::locate(*platform_.containers, bsdName);
    if (store) store->sweepStale(deviceId(bsdName), *session, now);
  }
}

void DiskMonitor::mailboxChanged() {
  watchMailbox();
  // The folder holds other files too; only a new word on a volume is worth a refresh.
  if (mailboxDigest(readStates()) != mailboxDigest_) scheduleRefresh();
}

std::size_t DiskMonitor::mailboxDigest(const BitLockerStates& states) const {
  return states.digest() + mount::reportsDigest(*platform_.containers);
}

BitLockerStates DiskMonitor::readStates() const {
  return BitLockerStates(mailbox_.allStatuses(), platform_.systemInfo->bootTime());
}

const Disk* DiskMonitor::find(const std::string& bsdName) const {
  const auto found = std::find_if(disks_.begin(), disks_.end(),
                                  [&bsdName](const Disk& disk) { return disk.id == bsdName; });
  return found == disks_.end() ? nullptr : &*found;
}

std::optional<std::uint64_t> DiskMonitor::deviceId(const std::string& bsdName) const {
  const auto found = deviceIds_.find(bsdName);
  if (found == deviceIds_.end()) return std::nullopt;
  return found->second;
}

bool DiskMonitor::destructiveBusy() const {
  return destructiveBusy_ || isDestructiveJobRunning(*platform_.containers);
}

void DiskMonitor::beginDestructiveOperation() {
  if (std::exchange(destructiveBusy_, true)) return;
  const auto path = destructiveLockPath(*platform_.containers);
  if (path && !base::makePrivateDirectory(path->parent_path())) {
    destructiveLock_ = base::FileLock::take(*path, lockPatience);
  }
  destructiveBusyChanged();
}

void DiskMonitor::endDestructiveOperation() {
  if (!std::exchange(destructiveBusy_, false)) return;
  destructiveLock_.reset();
  destructiveBusyChanged();
}

bool isDestructiveJobRunning(platform::Containers& containers) {
  const auto path = destructiveLockPath(containers);
  return path && base::FileLock::isHeld(*path);
}

CapacityRefreshIdentity DiskMonitor::capacityIdentity(const Disk& disk) const {
  return {disk.id, disk.mountPath.value_or(""), disk.volumeUUID, deviceId(disk.id),
          refreshRevision_};
}

void DiskMonitor::refreshCapacities() {
  for (const auto& disk : disks_) {
    // A volume that has not answered yet is not asked again: a stuck one would fill the pool.
    if (!disk.isMounted || !capacityInFlight_.emplace(disk.id, deviceId(disk.id)).second) continue;
    tasks_.spawn("capacity of " + disk.id, readCapacity(capacityIdentity(disk)));
  }
}

base::Task<void> DiskMonitor::readCapacity(CapacityRefreshIdentity identity) {
  const auto read = [fileSystems = platform_.fileSystems.get(), path = identity.mountPath] {
    return DiskDescriptor::availableCapacity(*fileSystems, path);
  };
  const auto available = co_await base::runInBackground(actor_, read);
  capacityInFlight_.erase({identity.id, identity.deviceID});
  if (available) applyCapacity(identity, *available);  // else what is known stays
}

void DiskMonitor::applyCapacity(const CapacityRefreshIdentity& identity, std::int64_t available) {
  const auto found = std::find_if(disks_.begin(), disks_.end(), [&](const Disk& disk) {
    return disk.id == identity.id && capacityIdentity(disk) == identity;
  });
  if (found == disks_.end() || found->available == available) return;
  found->available = available;
  disksChanged();
}

}  // namespace halvercine::disks
