// Everything the program needs of the machine that it runs on.
#pragma once

#include <memory>

#include "platform/AdministratorShell.h"
#include "platform/ApplicationBundle.h"
#include "platform/Clock.h"
#include "platform/Containers.h"
#include "platform/DaemonServices.h"
#include "platform/DirectoryWatch.h"
#include "platform/DiskArbitration.h"
#include "platform/FileSystems.h"
#include "platform/HelperTransport.h"
#include "platform/MediaRegistry.h"
#include "platform/Pasteboard.h"
#include "platform/Processes.h"
#include "platform/SecretStore.h"
#include "platform/SleepAssertion.h"
#include "platform/SystemInfo.h"
#include "platform/SystemLog.h"
#include "platform/ToolRunner.h"
#include "platform/UncachedFiles.h"
#include "platform/UserDefaults.h"
#include "platform/WorkerThreads.h"

namespace halvercine::platform {

/// One of each port. The composition root makes it, the features take what they need from it by
/// reference. All members are set.
struct Platform {
  std::unique_ptr<Clock> clock;
  std::unique_ptr<SystemLog> systemLog;
  std::unique_ptr<SystemInfo> systemInfo;
  std::unique_ptr<Containers> containers;
  std::unique_ptr<FileSystems> fileSystems;
  std::unique_ptr<MediaRegistry> mediaRegistry;
  std::unique_ptr<DiskArbitration> diskArbitration;
  std::unique_ptr<DirectoryWatcher> directoryWatcher;
  std::unique_ptr<UserDefaults> userDefaults;
  std::unique_ptr<ToolRunner> toolRunner;
  std::unique_ptr<Pasteboard> pasteboard;
  std::unique_ptr<Processes> processes;
  std::unique_ptr<SecretStore> secretStore;
  std::unique_ptr<AdministratorShell> administratorShell;
  std::unique_ptr<ApplicationBundle> applicationBundle;
  std::unique_ptr<DaemonServices> daemonServices;
  std::unique_ptr<HelperTransport> helperTransport;
  std::unique_ptr<SleepAssertions> sleepAssertions;
  std::unique_ptr<UncachedFiles> uncachedFiles;
  std::unique_ptr<WorkerThreads> workerThreads;
};

}  // namespace halvercine::platform
