#include "platform/simulated/SimulatedMachine.h"

#include <ranges>
#include <utility>

#include "platform/simulated/completeDevice.h"
#include "platform/simulated/moduleReport.h"
#include "platform/simulated/presets.h"
#include "platform/simulated/scenarioTexts.h"

namespace halvercine::platform::simulated {
namespace {

template <class Visit>
void forEachMedia(const ScenarioDevice& device, Visit visit) {
  visit(static_cast<const ScenarioMedia&>(device));
  for (const auto& volume : device.volumes) visit(volume);
}

void reserveEntryIds(const Scenario& scenario, RegistryTree& registry) {
  const auto reserve = [&](const ScenarioMedia& media) {
    if (media.entryID) registry.reserve(*media.entryID);
  };
  for (const auto& device : scenario.devices) forEachMedia(device, reserve);
  for (const auto& event : scenario.timeline) {
    if (event.device) forEachMedia(*event.device, reserve);
  }
}

}  // namespace

SimulatedMachine::SimulatedMachine(base::MainActor& actor, std::shared_ptr<Clock> clock,
                                   const Scenario& scenario)
    : actor_(actor),
      clock_(std::move(clock)),
      bootTime_(clock_->now() - std::chrono::hours(1)),
      macOSVersion_(versionFromText(scenario.system.macOS)),
      sessions_(actor),
      folderWatches_(actor),
      container_(folders_, folderWatches_, scenario.system.groupContainer),
      secrets_(scenario.keychain, scenario.system.keychain),
      toolScripts_(scenario.tools),
      helper_(folders_, clock_, scenario.helper),
      application_(scenario.application),
      hasCheckTool_(scenario.system.checkTool),
      onBattery_(scenario.system.onBattery),
      thermal_(thermalStateFromText(scenario.system.thermal).value_or(ThermalState::nominal)),
      arbitrationAvailable_(scenario.system.diskArbitration),
      bootSession_(scenario.system.bootSession),
      module_(*this, clock_),
      check_(*this, clock_, container_),
      bitLocker_(*this, clock_, container_),
      storage_(std::make_shared<SimulatedStorage>(*this, clock_)) {
  if (!folders_.create(scenario.files)) {
    log_.write(LogLevel::error, "simulation: not all files could be made");
  }
  for (const auto& process : scenario.processes) processes_.start(process);
  reserveEntryIds(scenario, registry_);
  for (const auto& device : scenario.devices) add(device);
}

bool SimulatedMachine::add(const ScenarioDevice& device) {
  std::vector<EntryId> ids;
  {
    const std::lock_guard lock(mutex_);
    if (find(device.disk)) return false;
    devices_[device.disk] = std::make_shared<const ScenarioDevice>(completeDevice(device));
    if (device.plugged) ids = insertDevice(device.disk);
  }
  settle(ids);
  return true;
}

bool SimulatedMachine::plug(const std::string& disk) {
  const std::lock_guard lock(mutex_);
  if (!devices_.contains(disk) || find(disk)) return false;
  settleLater(insertDevice(disk));
  return true;
}

bool SimulatedMachine::unplug(const std::string& disk) {
  const std::lock_guard lock(mutex_);
  return removeDevice(disk);
}

bool SimulatedMachine::replace(const ScenarioDevice& device) {
  const std::lock_guard lock(mutex_);
  if (!removeDevice(device.disk)) return false;
  devices_[device.disk] = std::make_shared<const ScenarioDevice>(completeDevice(device));
  settleLater(insertDevice(device.disk));
  return true;
}

bool SimulatedMachine::mount(const std::string& disk, const ScenarioMount& mount) {
  const std::lock_guard lock(mutex_);
  auto* media = find(disk);
  if (!media || !mounts_.mount(media->definition, mount)) return false;
  refresh(*media);
  return true;
}

bool SimulatedMachine::reveal(const std::string& disk, const std::string& kind) {
  const std::lock_guard lock(mutex_);
  auto* media = find(disk);
  if (!media || media->definition.kind) return false;
  media->definition.kind = kind;
  refresh(*media);
  return true;
}

bool SimulatedMachine::unmount(const std::string& disk) {
  {
    const std::lock_guard lock(mutex_);
    auto* media = find(disk);
    const auto path = mounts_.pathOf(disk);
    if (!media || !mounts_.unmount(disk)) return false;
    processes_.loseBelow(*path);
    refresh(*media);
  }
  module_.unmounted(disk);
  check_.unmounted(disk);
  return true;
}

bool SimulatedMachine::setProtected(const std::string& disk, bool isProtected) {
  const std::lock_guard lock(mutex_);
  const auto* media = find(disk);
  if (!media) return false;
  const auto device = media->device;
  forEachMedia(*device, [&](const ScenarioMedia& part) {
    if (part.disk != disk && device->disk != disk) return;
    auto& changed = media_.at(part.disk);
    changed.writable = !isProtected;
    refresh(changed);
  });
  return true;
}

bool SimulatedMachine::change(const std::string& disk, const PropertyOverrides& description,
                              const PropertyOverrides& registry) {
  const std::lock_guard lock(mutex_);
  auto* media = find(disk);
  if (!media) return false;
  mergeOverrides(description, media->definition.description);
  mergeOverrides(registry, media->definition.registry);
  refresh(*media);
  return true;
}

bool SimulatedMachine::writeReport(const std::string& disk, const ScenarioReport& report) {
  if (!putReport(disk, report)) return false;
  const auto view = look(disk);
  if (view && view->mountPath) module_.adopt(view->media, report);
  return true;
}

bool SimulatedMachine::putReport(const std::string& disk, const ScenarioReport& report) {
  return container_.write(moduleReportName(disk),
                          moduleReportText(report, entryId(disk).value_or(0),
                                           bootSession().value_or(""), clock_->now()));
}

bool SimulatedMachine::removeReport(const std::string& disk) {
  return container_.remove(moduleReportName(disk));
}

void SimulatedMachine::setBootSession(std::optional<std::string> bootSession) {
  const std::lock_guard lock(mutex_);
  bootSession_ = std::move(bootSession);
}

std::optional<std::string> SimulatedMachine::bootSession() const {
  const std::lock_guard lock(mutex_);
  return bootSession_;
}

std::optional<MediaView> SimulatedMachine::look(const std::string& disk) const {
  const std::lock_guard lock(mutex_);
  const auto found = media_.find(disk);
  if (found == media_.end()) return std::nullopt;
  const auto& media = found->second;
  return MediaView{media.definition, media.device, media.id, media.writable, mounts_.pathOf(disk)};
}

std::optional<MediaView> SimulatedMachine::lookAtPath(const std::string& path) const {
  std::optional<std::string> disk;
  {
    const std::lock_guard lock(mutex_);
    disk = mounts_.diskAt(path);
  }
  return disk ? look(*disk) : std::nullopt;
}

std::optional<PropertyDictionary> SimulatedMachine::describe(const std::string& disk) const {
  const std::lock_guard lock(mutex_);
  const auto found = media_.find(disk);
  if (found == media_.end()) return std::nullopt;
  return found->second.description;
}

std::optional<FileSystemStatistics> SimulatedMachine::statistics(const std::string& path) const {
  const std::lock_guard lock(mutex_);
  return mounts_.statistics(path);
}

VolumeResourceValues SimulatedMachine::resourceValues(const std::string& path) const {
  const std::lock_guard lock(mutex_);
  return mounts_.resourceValues(path);
}

std::map<EntryId, std::string> SimulatedMachine::disks() const {
  const std::lock_guard lock(mutex_);
  return disks_;
}

std::optional<EntryId> SimulatedMachine::entryId(const std::string& disk) const {
  const std::lock_guard lock(mutex_);
  const auto found = media_.find(disk);
  if (found == media_.end()) return std::nullopt;
  return found->second.id;
}

std::optional<std::string> SimulatedMachine::registryClass(EntryId id) const {
  const std::lock_guard lock(mutex_);
  return registry_.className(id);
}

std::optional<EntryId> SimulatedMachine::registryParent(EntryId id) const {
  const std::lock_guard lock(mutex_);
  return registry_.parent(id);
}

std::optional<PropertyValue> SimulatedMachine::registryProperty(EntryId id,
                                                                std::string_view key) const {
  const std::lock_guard lock(mutex_);
  return registry_.property(id, key);
}

SimulatedMachine::Media* SimulatedMachine::find(const std::string& disk) {
  const auto found = media_.find(disk);
  return found == media_.end() ? nullptr : &found->second;
}

std::vector<EntryId> SimulatedMachine::insertDevice(const std::string& disk) {
  const auto device = devices_.at(disk);
  auto parent = registry_.add({"IORegistryEntry", {}, 0});
  const auto chain = device->chain ? *device->chain : presetChain(*device);
  for (const auto& link : chain | std::views::reverse) {
    parent = registry_.add({link.className, link.properties, parent});
  }
  std::vector<EntryId> ids{insertMedia(*device, device, parent)};
  if (!device->volumes.empty()) {
    parent = registry_.add({partitionSchemeClass(*device), {}, ids.front()});
  }
  for (const auto& volume : device->volumes) ids.push_back(insertMedia(volume, device, parent));
  return ids;
}

EntryId SimulatedMachine::insertMedia(const ScenarioMedia& definition,
                                      const std::shared_ptr<const ScenarioDevice>& device,
                                      EntryId parent) {
  const auto id = registry_.add({*definition.className, {}, parent}, definition.entryID);
  disks_.emplace(id, definition.disk);
  auto& media = media_[definition.disk] = {definition, device, id, *definition.writable, {}};
  composeProperties(media);
  announce(&DiskCallbacks::appeared, definition.disk);
  return id;
}

bool SimulatedMachine::removeDevice(const std::string& disk) {
  const auto* whole = find(disk);
  if (!whole || whole->device->disk != disk) return false;
  const auto device = whole->device;
  for (const auto& volume : device->volumes | std::views::reverse) removeMedia(volume.disk);
  removeMedia(disk);
  return true;
}

void SimulatedMachine::removeMedia(const std::string& disk) {
  const auto id = media_.at(disk).id;
  if (const auto path = mounts_.pathOf(disk)) processes_.loseBelow(*path);
  processes_.loseDevice(disk);
  module_.lost(disk);
  bitLocker_.lost(disk);
  check_.lost(disk);
  mounts_.unmount(disk);
  registry_.removeChain(id);
  disks_.erase(id);
  media_.erase(disk);
  announce(&DiskCallbacks::disappeared, disk);
}

bool SimulatedMachine::composeProperties(Media& media) {
  const MediaState state{media.writable, mounts_.pathOf(media.definition.disk)};
  auto properties = presetMediaProperties(*media.device, media.definition, state);
  applyOverrides(media.definition.registry, properties);
  registry_.setProperties(media.id, std::move(properties));
  auto description = presetDescription(*media.device, media.definition, state);
  applyOverrides(media.definition.description, description);
  if (description == media.description) return false;
  media.description = std::move(description);
  return true;
}

void SimulatedMachine::refresh(Media& media) {
  if (composeProperties(media)) {
    announce(&DiskCallbacks::descriptionChanged, media.definition.disk);
  }
}

void SimulatedMachine::announce(DiskCallback callback, const std::string& disk) {
  if (!callbacksLost_) sessions_.announce(callback, disk);
}

void SimulatedMachine::settleLater(std::vector<EntryId> ids) {
  actor_.post([weak = weak_from_this(), lost = callbacksLost_, ids = std::move(ids)] {
    const auto machine = weak.lock();
    if (!machine) return;
    const auto lostNow = std::exchange(machine->callbacksLost_, lost);
    machine->settle(ids);
    machine->callbacksLost_ = lostNow;
  });
}

void SimulatedMachine::settle(const std::vector<EntryId>& ids) {
  std::vector<MediaView> settled;
  for (const auto id : ids) {
    if (auto view = settleMount(id)) settled.push_back(std::move(*view));
  }
  for (const auto& view : settled) {
    if (view.media.report) writeReport(view.media.disk, *view.media.report);
    bitLocker_.appeared(view.media, view.id);
    check_.appeared(view.media);
  }
}

std::optional<MediaView> SimulatedMachine::settleMount(EntryId id) {
  const std::lock_guard lock(mutex_);
  const auto disk = disks_.find(id);
  if (disk == disks_.end()) return std::nullopt;
  auto& media = media_.at(disk->second);
  const auto& defined = media.definition;
  if (defined.mount && mounts_.mount(defined, *defined.mount)) refresh(media);
  return MediaView{defined, media.device, id, media.writable, mounts_.pathOf(defined.disk)};
}

}  // namespace halvercine::platform::simulated
