#include "mount/reasons/UnmountReasonStore.h"

#include <utility>

#include "mount/MountAccessReportStore.h"
#include "mount/reasons/PersonalityProbe.h"
#include "mount/reasons/volumeIdentity.h"

namespace halvercine::mount {
namespace {

bool hasReason(const disks::Disk& disk) { return disk.isNtfs() && !disk.isMounted; }

}  // namespace

UnmountReasonStore::UnmountReasonStore(base::MainActor& actor, platform::SystemLog& log,
                                       const disks::DiskUtility& utility,
                                       platform::MediaRegistry& registry,
                                       UnmountReasonInputs inputs)
    : utility_(utility), registry_(registry), inputs_(std::move(inputs)), tasks_(actor, log) {}

void UnmountReasonStore::update(const std::vector<disks::Disk>& disks) {
  std::map<std::string, const disks::Disk*> unmounted;
  std::map<std::string, std::string> names;
  for (const auto& disk : disks) {
    const auto identity = volumeIdentity(disk);
    if (!identity) continue;
    if (!hasReason(disk)) continue;
    names.emplace(disk.id, *identity);
    // Of exact copies the one that is known already stays the one.
    const auto known = volumes_.find(*identity);
    const bool isKnown = known != volumes_.end() && known->second.disk.id == disk.id;
    const auto [place, isFirst] = unmounted.emplace(*identity, &disk);
    if (!isFirst && isKnown) place->second = &disk;
  }
  identities_ = std::move(names);
  std::vector<std::string> gone;
  for (const auto& [identity, volume] : volumes_) {
    if (!unmounted.contains(identity)) gone.push_back(identity);
  }
  for (const auto& identity : gone) drop(identity);
  for (const auto& [identity, disk] : unmounted) track(identity, *disk);
  reportChange();
}

void UnmountReasonStore::resolve(const disks::Disk& disk) {
  const auto identity = volumeIdentity(disk);
  if (!identity || !hasReason(disk)) return;
  identities_.insert_or_assign(disk.id, *identity);
  volumes_.insert_or_assign(*identity, Volume{disk, deviceId(registry_, disk.id), 0, {}});
  startProbe(*identity);
  reportChange();
}

void UnmountReasonStore::forget(const std::string& bsdName) {
  const auto name = identities_.extract(bsdName);
  if (!name) return;
  const auto volume = volumes_.find(name.mapped());
  if (volume == volumes_.end() || volume->second.disk.id != bsdName) return;
  drop(name.mapped());
  reportChange();
}

std::optional<UnmountReason> UnmountReasonStore::reasonOf(const disks::Disk& disk) const {
  const auto identity = identities_.find(disk.id);
  if (identity == identities_.end() || identity->second != volumeIdentity(disk)) {
    return std::nullopt;
  }
  const auto reason = reasons_.find(identity->second);
  return reason == reasons_.end() ? std::nullopt : std::optional(reason->second);
}

/// Takes an unmounted volume as it is seen now. One that has come anew, perhaps as another device,
/// is probed; the reason that is known stays until the answer.
void UnmountReasonStore::track(const std::string& identity, const disks::Disk& disk) {
  const auto device = deviceId(registry_, disk.id);
  auto [place, isNew] = volumes_.try_emplace(identity);
  auto& volume = place->second;
  const bool isSame = !isNew && volume.deviceId == device;
  volume.disk = disk;
  volume.deviceId = device;
  if (!isSame) {
    startProbe(identity);
  } else {
    publish(identity);
  }
}

void UnmountReasonStore::startProbe(const std::string& identity) {
  auto& volume = volumes_.at(identity);
  volume.probe = ++lastProbe_;
  inFlight_.insert(identity);
  tasks_.spawn("unmount reason of " + volume.disk.id,
               runProbe(identity, volume.disk.id, volume.probe));
  publish(identity);
}

base::Task<void> UnmountReasonStore::runProbe(std::string identity, std::string bsdName,
                                              std::uint64_t probe) {
  const auto personality = co_await PersonalityProbe::run(utility_, bsdName);
  const auto place = volumes_.find(identity);
  // Mounted, gone, or asked for anew meanwhile.
  if (place == volumes_.end() || place->second.probe != probe) co_return;
  auto& volume = place->second;
  inFlight_.erase(identity);
  // Another device under this name, or another name: the answer is about either of them.
  if (volume.disk.id != bsdName || volume.deviceId != deviceId(registry_, bsdName)) {
    drop(identity);
  } else {
    volume.foreignDriver.reset();
    if (personality.owner == PersonalityProbe::Owner::thirdParty) {
      volume.foreignDriver = personality.driver;
    }
    publish(identity);
  }
  reportChange();
}

void UnmountReasonStore::publish(const std::string& identity) {
  const auto& volume = volumes_.at(identity);
  auto findings = inputs_.findings(volume.disk);
  findings.foreignDriver = volume.foreignDriver;
  auto reason = unmountReason(findings);
  // That nothing is known is known only after the tool's answer.
  const bool isOpen = reason.kind == UnmountReason::Case::unknown && inFlight_.contains(identity);
  if (!isOpen) reasons_.insert_or_assign(identity, std::move(reason));
}

void UnmountReasonStore::drop(const std::string& identity) {
  volumes_.erase(identity);
  reasons_.erase(identity);
  inFlight_.erase(identity);
}

void UnmountReasonStore::reportChange() {
  if (reported_ == reasons_) return;
  reported_ = reasons_;
  changed();
}

}  // namespace halvercine::mount
