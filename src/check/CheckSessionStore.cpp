#include "check/CheckSessionStore.h"

#include <algorithm>
#include <ranges>
#include <utility>

#include "check/CheckMailbox.h"
#include "mount/takeover/RecoveryStatuses.h"
#include "mount/takeover/TakeoverJournal.h"

namespace halvercine::check {

CheckSessionStore::CheckSessionStore(CheckServices services)
    : services_(std::move(services)), tasks_(services_.actor, *services_.platform.systemLog) {
  CheckMailbox::sweepAbandoned(*services_.platform.containers);
}

std::expected<CheckSession*, CheckRefusal> CheckSessionStore::start(disks::Disk disk,
                                                                    CheckOptions options) {
  if (!disk.isNtfs()) return std::unexpected(CheckRefusal::notNtfs);
  if (!isUnchanged(disk, options)) return std::unexpected(CheckRefusal::changed);
  // The name may be another device's by now, whose check is still being stopped.
  const auto* former = find(disk.id);
  if ((former && former->isRunning()) || isChecking(disk))
    return std::unexpected(CheckRefusal::running);
  CheckSession::Holds holds;
  if (const auto mailbox = CheckMailbox::open(*services_.platform.containers, disk.id)) {
    holds.mailbox = mailbox->claim();
    // A lock that cannot even be made keeps nobody out, and nobody is to be kept out of a check.
    if (!holds.mailbox && mailbox->isClaimed()) return std::unexpected(CheckRefusal::running);
  }
  if (isBeingMounted(disk)) return std::unexpected(CheckRefusal::beingMounted);
  if (options.repair) {
    if (services_.monitor.destructiveBusy() && destructive_.expired()) {
      return std::unexpected(CheckRefusal::destructiveJob);
    }
    holds.destructive = DestructiveHold::take(services_.monitor, destructive_);
    // A takeover that began before may mount the volume at any moment; none begins from here on.
    if (mount::TakeoverJournal(services_.platform).isSomebodyWorking()) {
      return std::unexpected(CheckRefusal::destructiveJob);
    }
  }
  const bool hasModule = services_.platform.systemInfo->macOSVersion().has_value();
  const auto path =
      hasModule && !options.direct ? CheckSession::Path::module : CheckSession::Path::direct;
  auto& session = sessions_[disk.id];
  session = std::make_unique<CheckSession>(services_, disk, options.repair, path, std::move(holds));
  tasks_.spawn("check of " + disk.id, session->run());
  return session.get();
}

bool CheckSessionStore::isUnchanged(const disks::Disk& disk, const CheckOptions& options) const {
  const auto now = identityOf(disk, *services_.platform.mediaRegistry);
  return services_.monitor.deviceId(disk.id) == now.deviceID &&
         (!options.agreed || *options.agreed == now);
}

bool CheckSessionStore::isBeingMounted(const disks::Disk& disk) const {
  const auto deviceId = services_.monitor.deviceId(disk.id);
  return deviceId && mount::RecoveryStatuses::read(services_.platform).isWorkingOn(*deviceId);
}

CheckSession* CheckSessionStore::find(const std::string& bsdName) const {
  const auto found = sessions_.find(bsdName);
  return found == sessions_.end() ? nullptr : found->second.get();
}

bool CheckSessionStore::isChecking(const VolumeIdentity& volume) const {
  return std::ranges::any_of(sessions_ | std::views::values, [&](const auto& session) {
    return session->isRunning() && isSameVolume(session->volume(), volume);
  });
}

bool CheckSessionStore::isChecking(const disks::Disk& disk) const {
  return isChecking(identityOf(disk, *services_.platform.mediaRegistry));
}

}  // namespace halvercine::check
