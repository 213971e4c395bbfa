#include "platform/linux/makeLinuxPlatform.h"

#include "platform/linux/InotifyDirectoryWatcher.h"
#include "platform/linux/LinuxDiskArbitration.h"
#include "platform/linux/LinuxFileSystems.h"
#include "platform/linux/LinuxMediaRegistry.h"
#include "platform/linux/LinuxSystemInfo.h"
#include "platform/linux/XdgContainers.h"
#include "platform/posix/AsioClock.h"
#include "platform/posix/JsonUserDefaults.h"
#include "platform/posix/SyslogSystemLog.h"

namespace halvercine::platform::gnulinux {

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
  if (const auto support = platform.containers->applicationSupport()) {
    platform.userDefaults =
        std::make_unique<posix::JsonUserDefaults>(*support / "halvercine" / "defaults.json");
  }
  platform.directoryWatcher = std::make_unique<InotifyDirectoryWatcher>(actor);
  return platform;
}

}  // namespace halvercine::platform::gnulinux
