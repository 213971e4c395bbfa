#include "platform/macos/makeMacPlatform.h"

#include "platform/macos/KeychainSecretStore.h"
#include "platform/macos/MacApplicationBundle.h"
#include "platform/macos/MacContainers.h"
#include "platform/macos/MacDaemonServices.h"
#include "platform/macos/MacDirectoryWatcher.h"
#include "platform/macos/MacDiskArbitration.h"
#include "platform/macos/MacFileSystems.h"
#include "platform/macos/MacMediaRegistry.h"
#include "platform/macos/MacPasteboard.h"
#include "platform/macos/MacProcesses.h"
#include "platform/macos/MacSleepAssertions.h"
#include "platform/macos/MacSystemInfo.h"
#include "platform/macos/MacSystemLog.h"
#include "platform/macos/MacUserDefaults.h"
#include "platform/macos/XpcHelperTransport.h"
#include "platform/macos/switchCachingOff.h"
#include "platform/posix/AsioClock.h"
#include "platform/posix/OsascriptAdministratorShell.h"
#include "platform/posix/PosixToolRunner.h"
#include "platform/posix/PosixUncachedFiles.h"
#include "platform/posix/PosixWorkerThreads.h"

namespace halvercine::platform::macos {

Platform makeMacPlatform(base::MainActor& actor) {
  Platform platform;
  platform.clock = std::make_unique<posix::AsioClock>(actor);
  platform.systemLog = std::make_unique<MacSystemLog>();
  platform.systemInfo = std::make_unique<MacSystemInfo>();
  platform.containers = std::make_unique<MacContainers>();
  platform.fileSystems = std::make_unique<MacFileSystems>();
  platform.mediaRegistry = std::make_unique<MacMediaRegistry>();
  platform.diskArbitration = std::make_unique<MacDiskArbitration>();
  platform.directoryWatcher = std::make_unique<MacDirectoryWatcher>();
  platform.userDefaults = std::make_unique<MacUserDefaults>();
  platform.toolRunner = std::make_unique<posix::PosixToolRunner>(actor);
  platform.pasteboard = std::make_unique<MacPasteboard>();
  platform.processes = std::make_unique<MacProcesses>();
  platform.administratorShell = std::make_unique<posix::OsascriptAdministratorShell>(
      actor, *platform.clock, *platform.toolRunner);
  platform.secretStore = std::make_unique<KeychainSecretStore>();
  platform.applicationBundle = std::make_unique<MacApplicationBundle>();
  platform.daemonServices = std::make_unique<MacDaemonServices>();
  platform.helperTransport = std::make_unique<XpcHelperTransport>();
  platform.sleepAssertions = std::make_unique<MacSleepAssertions>();
  platform.uncachedFiles = std::make_unique<posix::PosixUncachedFiles>(switchCachingOff);
  platform.workerThreads = std::make_unique<posix::PosixWorkerThreads>(actor);
  return platform;
}

}  // namespace halvercine::platform::macos
