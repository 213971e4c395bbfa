#include "platform/linux/LinuxSystemInfo.h"

#include <boost/algorithm/string/case_conv.hpp>

#include "platform/linux/sysfs.h"

namespace halvercine::platform::gnulinux {

std::optional<std::string> LinuxSystemInfo::kernelVariable(const std::string& name) {
  if (name != "kern.bootsessionuuid") return std::nullopt;
  auto session = readAttribute("/proc/sys/kernel/random", "boot_id");
  if (!session) return std::nullopt;
  boost::algorithm::to_upper(*session, std::locale::classic());
  session->push_back('\0');  // the raw value of the system call ends like this
  return session;
}

}  // namespace halvercine::platform::gnulinux
