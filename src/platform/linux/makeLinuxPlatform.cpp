#include "platform/linux/makeLinuxPlatform.h"

#include <filesystem>
#include <map>
#include <unistd.h>

#include "platform/linux/InotifyDirectoryWatcher.h"
#include "platform/linux/LinuxDiskArbitration.h"
#include "platform/linux/LinuxFileSystems.h"
#include "platform/linux/LinuxMediaRegistry.h"
#include "platform/linux/LinuxPasteboard.h"
#include "platform/linux/LinuxProcesses.h"
#include "platform/linux/LinuxSecretStore.h"
#include "platform/linux/LinuxSleepAssertions.h"
#include "platform/linux/LinuxSystemInfo.h"
#include "platform/linux/NoHelper.h"
#include "platform/linux/PolkitAdministratorShell.h"
#include "platform/linux/XdgContainers.h"
#include "platform/linux/directIo.h"
#include "platform/posix/AsioClock.h"
#include "platform/posix/JsonUserDefaults.h"
#include "platform/posix/PosixToolRunner.h"
#include "platform/posix/PosixUncachedFiles.h"
#include "platform/posix/PosixWorkerThreads.h"
#include "platform/posix/SyslogSystemLog.h"

namespace halvercine::platform::gnulinux {
namespace {

/// Where the tools are that macOS has at fixed places: our own stand-in for the disk tool beside
/// this program, and the system's lsof.
std::map<std::string, std::string> toolPaths() {
  std::error_code error;
  const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
  return {{"/usr/sbin/diskutil", (program.parent_path() / "halvercine-diskutil").string()},
          {"/usr/sbin/lsof", "/usr/bin/lsof"}};
}

}  // namespace

Platform makeLinuxPlatform(base::MainActor& actor) {
  const auto storage = std::make_shared<Storage>();
  Platform platform;
  platform.clock = std::make_unique<posix::AsioClock>(actor);
  platform.systemLog = std::make_unique<posix::SyslogSystemLog>();
  platform.systemInfo = std::make_unique<LinuxSystemInfo>();
  platform.containers = std::make_unique<XdgContainers>();
  platform.fileSystems = std::make_unique<LinuxFileSystems>(storage);
  platform.mediaRegistry = std::make_unique<LinuxMediaRegistry>(storage);
  platform.diskArbitration = std::make_unique<LinuxDiskArbitration>(actor, storage);
  const auto support = platform.containers->applicationSupport();
  platform.secretStore = std::make_unique<LinuxSecretStore>(
      support ? std::optional(*support / "Halvercine" / "Secrets") : std::nullopt);
  if (support) {
    platform.userDefaults =
        std::make_unique<posix::JsonUserDefaults>(*support / "halvercine" / "defaults.json");
  }
  platform.toolRunner = std::make_unique<posix::PosixToolRunner>(actor, toolPaths());
  platform.processes = std::make_unique<LinuxProcesses>();
  platform.administratorShell = std::make_unique<PolkitAdministratorShell>(
      actor, *platform.clock, *platform.toolRunner, ::geteuid() == 0);
  platform.applicationBundle = std::make_unique<NoApplicationBundle>();
  platform.daemonServices = std::make_unique<NoDaemonServices>();
  platform.helperTransport = std::make_unique<NoHelperTransport>();
  platform.directoryWatcher = std::make_unique<InotifyDirectoryWatcher>(actor);
  platform.pasteboard = std::make_unique<LinuxPasteboard>();
  platform.sleepAssertions = std::make_unique<LinuxSleepAssertions>();
  platform.uncachedFiles = std::make_unique<posix::PosixUncachedFiles>(switchCachingOff);
  platform.workerThreads = std::make_unique<posix::PosixWorkerThreads>(actor);
  return platform;
}

}  // namespace halvercine::platform::gnulinux
