// The state of the simulated Mac: one place, whichever port it is looked at through.
#pragma once

#include <atomic>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/MainActor.h"
#include "platform/Clock.h"
#include "platform/FileSystems.h"
#include "platform/SystemInfo.h"
#include "platform/simulated/DiskSessions.h"
#include "platform/simulated/FileSystemModule.h"
#include "platform/simulated/FolderWatches.h"
#include "platform/simulated/MountTable.h"
#include "platform/simulated/ProcessTable.h"
#include "platform/simulated/RegistryTree.h"
#include "platform/simulated/Scenario.h"
#include "platform/simulated/SharedContainer.h"
#include "platform/simulated/SimulatedBitLocker.h"
#include "platform/simulated/SimulatedCheck.h"
#include "platform/simulated/SimulatedFolders.h"
#include "platform/simulated/SimulatedHelper.h"
#include "platform/simulated/SimulatedLog.h"
#include "platform/simulated/SimulatedSecrets.h"
#include "platform/simulated/SimulatedStorage.h"
#include "platform/simulated/ToolScripts.h"

namespace halvercine::platform::simulated {

/// A medium as it is now.
struct MediaView {
  ScenarioMedia media;  // with the changes since it was plugged in
  std::shared_ptr<const ScenarioDevice> device;
  EntryId id = 0;
  bool writable = true;
  std::optional<std::string> mountPath;
};

/// Disks, mounts, registry and folders in memory. What changes it is called on the main actor and
/// answers false when the thing cannot happen now (no such disk, mounted already); the service's
/// callbacks follow later. What only looks may be called on any thread.
class SimulatedMachine : public std::enable_shared_from_this<SimulatedMachine> {
 public:
  /// The devices of the scenario are there, mounted and reported on; its timeline is not played.
  SimulatedMachine(base::MainActor& actor, std::shared_ptr<Clock> clock, const Scenario& scenario);

  /// Makes a device known under its BSD name; when it is `plugged`, it is there at once with its
  /// mounts and reports. False when the disk of that name is there.
  bool add(const ScenarioDevice& device);

  /// Plugs a known device in: new entry IDs, as it was first described. Its volumes mount and its
  /// reports are written a moment after it has appeared.
  bool plug(const std::string& disk);

  /// Takes a whole disk away with its volumes. Reports stay behind.
  bool unplug(const std::string& disk);

  /// Puts another device in the place of a whole disk that is there.
  bool replace(const ScenarioDevice& device);

  /// Mounts a volume; where, is for the system to say when `path` is absent. False also when
  /// something else is mounted there.
  bool mount(const std::string& disk, const ScenarioMount& mount);

  /// The system sees a file system of this kind where there was none: a volume was unlocked.
  bool reveal(const std::string& disk, const std::string& kind);

  /// Unmounts a volume whether it is in use or not; its open files are lost.
  bool unmount(const std::string& disk);

  /// The write protection of a volume, or of a whole disk with all its volumes.
  bool setProtected(const std::string& disk, bool isProtected);

  /// Changes properties until the device is unplugged. Only a description that became another one
  /// is announced, as the service does.
  bool change(const std::string& disk, const PropertyOverrides& description,
              const PropertyOverrides& registry = {});

  /// Writes or removes the module's report on a disk. False also when the file system refuses.
  /// `putReport` is for the module itself, which keeps fresh what comes through `writeReport`.
  bool writeReport(const std::string& disk, const ScenarioReport& report);
  bool putReport(const std::string& disk, const ScenarioReport& report);
  bool removeReport(const std::string& disk);

  /// While set, the service announces nothing.
  void loseCallbacks(bool lost) { callbacksLost_ = lost; }

  /// What the kernel says; nothing makes asking for it fail.
  void setBootSession(std::optional<std::string> bootSession);
  void setArbitrationAvailable(bool available) { arbitrationAvailable_ = available; }
  void setGroupContainerAvailable(bool available) { container_.setAvailable(available); }

  bool arbitrationAvailable() const { return arbitrationAvailable_; }
  std::optional<std::string> bootSession() const;
  WallTime bootTime() const { return bootTime_; }
  std::optional<SystemVersion> macOSVersion() const { return macOSVersion_; }
  std::optional<std::filesystem::path> groupContainer(std::string_view group) const {
    return container_.path(group);
  }
  const SimulatedFolders& folders() const { return folders_; }
  bool hasCheckTool() const { return hasCheckTool_; }
  const ScenarioApplication& application() const { return application_; }
  bool onBattery() const { return onBattery_; }
  ThermalState thermalState() const { return thermal_; }

  std::optional<MediaView> look(const std::string& disk) const;
  /// The volume that is mounted at `path` or above it.
  std::optional<MediaView> lookAtPath(const std::string& path) const;
  std::optional<PropertyDictionary> describe(const std::string& disk) const;
  std::optional<FileSystemStatistics> statistics(const std::string& path) const;
  VolumeResourceValues resourceValues(const std::string& path) const;

  /// Every disk with the ID of its media object, in the order of the IDs.
  std::map<EntryId, std::string> disks() const;
  std::optional<EntryId> entryId(const std::string& disk) const;
  /// Of an object of the registry; nothing when it has gone.
  std::optional<std::string> registryClass(EntryId id) const;
  std::optional<EntryId> registryParent(EntryId id) const;
  std::optional<PropertyValue> registryProperty(EntryId id, std::string_view key) const;

  /// Main actor, like what changes the machine.
  DiskSessions& sessions() { return sessions_; }
  FileSystemModule& module() { return module_; }
  SimulatedCheck& check() { return check_; }
  SimulatedBitLocker& bitLocker() { return bitLocker_; }
  ProcessTable& processes() { return processes_; }
  const ProcessTable& processes() const { return processes_; }
  ToolScripts& toolScripts() { return toolScripts_; }
  SimulatedHelper& helper() { return helper_; }
  /// Any thread.
  base::MainActor& actor() { return actor_; }
  SimulatedLog& log() { return log_; }
  FolderWatches& folderWatches() { return folderWatches_; }
  SimulatedSecrets& secrets() { return secrets_; }
  SimulatedStorage& storage() { return *storage_; }
  /// How many power assertions are held. Main actor.
  int& sleepAssertions() { return sleepAssertions_; }
  /// The text on the general pasteboard. Main actor.
  std::string& pasteboard() { return pasteboard_; }

 private:
  struct Media {
    ScenarioMedia definition;  // with the changes since
    std::shared_ptr<const ScenarioDevice> device;
    EntryId id = 0;
    bool writable = true;
    PropertyDictionary description;
  };

  // These with the lock held.
  Media* find(const std::string& disk);
  std::vector<EntryId> insertDevice(const std::string& disk);
  EntryId insertMedia(const ScenarioMedia& definition,
                      const std::shared_ptr<const ScenarioDevice>& device, EntryId parent);
  bool removeDevice(const std::string& disk);
  void removeMedia(const std::string& disk);
  bool composeProperties(Media& media);
  void refresh(Media& media);
  void announce(DiskCallback callback, const std::string& disk);
  void settleLater(std::vector<EntryId> ids);

  void settle(const std::vector<EntryId>& ids);
  std::optional<MediaView> settleMount(EntryId id);

  base::MainActor& actor_;
  std::shared_ptr<Clock> clock_;
  WallTime bootTime_;
  std::optional<SystemVersion> macOSVersion_;
  SimulatedFolders folders_;
  SimulatedLog log_;
  DiskSessions sessions_;
  FolderWatches folderWatches_;
  SharedContainer container_;
  SimulatedSecrets secrets_;
  ProcessTable processes_;
  ToolScripts toolScripts_;
  SimulatedHelper helper_;
  const ScenarioApplication application_;
  std::string pasteboard_;
  const bool hasCheckTool_;
  const bool onBattery_;
  const ThermalState thermal_;
  int sleepAssertions_ = 0;
  bool callbacksLost_ = false;
  std::atomic<bool> arbitrationAvailable_;

  mutable std::mutex mutex_;
  std::optional<std::string> bootSession_;
  std::map<std::string, std::shared_ptr<const ScenarioDevice>> devices_;  // plugged in or not
  std::map<std::string, Media> media_;
  std::map<EntryId, std::string> disks_;
  MountTable mounts_;
  RegistryTree registry_;

  FileSystemModule module_;  // these use all of the above
  SimulatedCheck check_;
  SimulatedBitLocker bitLocker_;
  std::shared_ptr<SimulatedStorage> storage_;
};

}  // namespace halvercine::platform::simulated
