#include "platform/simulated/ports.h"

#include <utility>

#include "platform/posix/JsonUserDefaults.h"
#include "platform/posix/OsascriptAdministratorShell.h"
#include "platform/simulated/SimulatedToolRunner.h"
#include "platform/simulated/applicationPorts.h"
#include "platform/simulated/runCheckTool.h"
#include "platform/simulated/speedTestPorts.h"

namespace halvercine::platform::simulated {
namespace {

using Machine = std::shared_ptr<SimulatedMachine>;

class SimulatedClock : public Clock {
 public:
  explicit SimulatedClock(std::shared_ptr<Clock> clock) : clock_(std::move(clock)) {}

  WallTime now() const override { return clock_->now(); }
  Uptime uptime() const override { return clock_->uptime(); }
  TimerId callAt(Uptime deadline, std::function<void()> action) override {
    return clock_->callAt(deadline, std::move(action));
  }
  void cancel(TimerId timer) override { clock_->cancel(timer); }

 private:
  std::shared_ptr<Clock> clock_;
};

class SimulatedSystemLog : public SystemLog {
 public:
  explicit SimulatedSystemLog(Machine machine) : machine_(std::move(machine)) {}

  void write(LogLevel level, std::string_view line) override { machine_->log().write(level, line); }

 private:
  Machine machine_;
};

class SimulatedSystemInfo : public SystemInfo {
 public:
  explicit SimulatedSystemInfo(Machine machine) : machine_(std::move(machine)) {}

  std::optional<std::string> kernelVariable(const std::string& name) override {
    if (name != "kern.bootsessionuuid") return std::nullopt;
    auto value = machine_->bootSession();
    if (value) value->push_back('\0');
    return value;
  }

  std::optional<WallTime> bootTime() override { return machine_->bootTime(); }
  std::optional<SystemVersion> macOSVersion() override { return machine_->macOSVersion(); }
  bool onBattery() override { return machine_->onBattery(); }
  std::optional<ThermalState> thermalState() override { return machine_->thermalState(); }

 private:
  Machine machine_;
};

class SimulatedContainers : public Containers {
 public:
  explicit SimulatedContainers(Machine machine) : machine_(std::move(machine)) {}

  std::optional<std::filesystem::path> groupContainer(const std::string& group) override {
    // Whoever asks for the folder is about to put something there.
    machine_->check().lookSoon();
    machine_->bitLocker().lookSoon();
    return machine_->groupContainer(group);
  }
  std::optional<std::filesystem::path> applicationSupport() override {
    return machine_->folders().applicationSupport();
  }
  std::optional<std::filesystem::path> home() override { return machine_->folders().home(); }
  std::filesystem::path systemPath(const std::filesystem::path& absolute) override {
    return machine_->folders().systemPath(absolute);
  }
  std::optional<std::filesystem::path> bundleResource(const std::string& name) override {
    if (name != checkToolName || !machine_->hasCheckTool()) return std::nullopt;
    return checkToolPath;
  }

 private:
  Machine machine_;
};

class SimulatedFileSystems : public FileSystems {
 public:
  explicit SimulatedFileSystems(Machine machine) : machine_(std::move(machine)) {}

  std::optional<FileSystemStatistics> statistics(const std::string& path) override {
    return machine_->statistics(path);
  }
  VolumeResourceValues resourceValues(const std::string& path) override {
    return machine_->resourceValues(path);
  }

 private:
  Machine machine_;
};

class SimulatedEntry : public RegistryEntry {
 public:
  SimulatedEntry(Machine machine, EntryId id, std::string className)
      : machine_(std::move(machine)), id_(id), className_(std::move(className)) {}

  std::string className() const override { return className_; }
  std::optional<std::uint64_t> entryId() const override { return id_; }
  std::optional<PropertyValue> property(std::string_view key) const override {
    return machine_->registryProperty(id_, key);
  }
  std::unique_ptr<RegistryEntry> parent() const override {
    const auto above = machine_->registryParent(id_);
    return above ? entryFor(machine_, *above) : nullptr;
  }

  /// The entry of an ID, or null when there is none.
  static std::unique_ptr<RegistryEntry> entryFor(const Machine& machine, EntryId id) {
    auto className = machine->registryClass(id);
    if (!className) return nullptr;
    return std::make_unique<SimulatedEntry>(machine, id, std::move(*className));
  }

 private:
  Machine machine_;
  EntryId id_;
  std::string className_;
};

class SimulatedMediaRegistry : public MediaRegistry {
 public:
  explicit SimulatedMediaRegistry(Machine machine) : machine_(std::move(machine)) {}

  std::vector<std::unique_ptr<RegistryEntry>> allMedia() override {
    std::vector<std::unique_ptr<RegistryEntry>> entries;
    for (const auto& [id, disk] : machine_->disks()) {
      if (auto entry = SimulatedEntry::entryFor(machine_, id)) entries.push_back(std::move(entry));
    }
    return entries;
  }

  std::unique_ptr<RegistryEntry> media(const std::string& bsdName) override {
    const auto id = machine_->entryId(bsdName);
    return id ? SimulatedEntry::entryFor(machine_, *id) : nullptr;
  }

 private:
  Machine machine_;
};

class SimulatedSession : public DiskArbitrationSession {
 public:
  explicit SimulatedSession(Machine machine) : machine_(std::move(machine)) {}

  void start(DiskCallbacks callbacks) override {
    auto& sessions = machine_->sessions();
    listener_ = sessions.add(std::move(callbacks));
    for (const auto& [id, disk] : machine_->disks()) {
      sessions.tell(listener_, &DiskCallbacks::appeared, disk);
    }
  }

  std::optional<ArbitratedDisk> describe(const std::string& bsdName) override {
    auto description = machine_->describe(bsdName);
    const auto id = machine_->entryId(bsdName);
    if (!description || !id) return std::nullopt;
    return ArbitratedDisk{std::move(*description), SimulatedEntry::entryFor(machine_, *id)};
  }

 private:
  Machine machine_;
  DiskSessions::Listener listener_;
};

class SimulatedDiskArbitration : public DiskArbitration {
 public:
  explicit SimulatedDiskArbitration(Machine machine) : machine_(std::move(machine)) {}

  std::unique_ptr<DiskArbitrationSession> createSession() override {
    if (!machine_->arbitrationAvailable()) return nullptr;
    return std::make_unique<SimulatedSession>(machine_);
  }

 private:
  Machine machine_;
};

class SimulatedDirectoryWatcher : public DirectoryWatcher {
 public:
  explicit SimulatedDirectoryWatcher(Machine machine) : machine_(std::move(machine)) {}

  std::unique_ptr<DirectoryWatch> watch(const std::filesystem::path& directory,
                                        std::function<void()> changed) override {
    return machine_->folderWatches().add(directory, std::move(changed));
  }

 private:
  Machine machine_;
};

class SimulatedPasteboard : public Pasteboard {
 public:
  explicit SimulatedPasteboard(Machine machine) : machine_(std::move(machine)) {}

  bool replaceText(std::string_view text) override {
    machine_->pasteboard() = text;
    return true;
  }

 private:
  Machine machine_;
};

class SimulatedProcesses : public Processes {
 public:
  explicit SimulatedProcesses(Machine machine) : machine_(std::move(machine)) {}

  std::error_code probe(std::int32_t pid) override {
    if (machine_->check().startTime(pid)) return {};
    return std::make_error_code(std::errc::no_such_process);
  }
  std::optional<std::uint64_t> startTime(std::int32_t pid) override {
    return machine_->check().startTime(pid);
  }

 private:
  Machine machine_;
};

std::unique_ptr<UserDefaults> makeUserDefaults(const SimulatedMachine& machine) {
  const auto& folders = machine.folders();
  const auto home = folders.home().value_or(folders.systemPath("/Users/simulated"));
  return std::make_unique<posix::JsonUserDefaults>(home / "Library" / "Preferences" /
                                                   "halvercine.json");
}

}  // namespace

Platform makePlatform(const std::shared_ptr<SimulatedMachine>& machine,
                      const std::shared_ptr<Clock>& clock) {
  Platform platform;
  platform.clock = std::make_unique<SimulatedClock>(clock);
  platform.systemLog = std::make_unique<SimulatedSystemLog>(machine);
  platform.systemInfo = std::make_unique<SimulatedSystemInfo>(machine);
  platform.containers = std::make_unique<SimulatedContainers>(machine);
  platform.userDefaults = makeUserDefaults(*machine);
  platform.fileSystems = std::make_unique<SimulatedFileSystems>(machine);
  platform.mediaRegistry = std::make_unique<SimulatedMediaRegistry>(machine);
  platform.diskArbitration = std::make_unique<SimulatedDiskArbitration>(machine);
  platform.directoryWatcher = std::make_unique<SimulatedDirectoryWatcher>(machine);
  platform.processes = std::make_unique<SimulatedProcesses>(machine);
  platform.secretStore = makeSecretStore(machine);
  platform.toolRunner = std::make_unique<SimulatedToolRunner>(machine, clock);
  platform.pasteboard = std::make_unique<SimulatedPasteboard>(machine);
  platform.administratorShell = std::make_unique<posix::OsascriptAdministratorShell>(
      machine->actor(), *platform.clock, *platform.toolRunner);
  platform.applicationBundle = makeApplicationBundle(machine);
  platform.daemonServices = makeDaemonServices(machine);
  platform.helperTransport = makeHelperTransport(machine);
  platform.sleepAssertions = makeSleepAssertions(machine);
  platform.uncachedFiles = makeUncachedFiles(machine);
  platform.workerThreads = makeWorkerThreads(*machine, clock);
  return platform;
}

}  // namespace halvercine::platform::simulated
