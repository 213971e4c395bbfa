#include "platform/linux/LinuxSystemInfo.h"

#include <chrono>
#include <ctime>

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

std::optional<WallTime> LinuxSystemInfo::bootTime() {
  timespec sinceBoot{};
  if (::clock_gettime(CLOCK_BOOTTIME, &sinceBoot) != 0) return std::nullopt;
  const auto passed =
      std::chrono::seconds(sinceBoot.tv_sec) + std::chrono::nanoseconds(sinceBoot.tv_nsec);
  return WallTime(std::chrono::system_clock::now()) - passed;
}

}  // namespace halvercine::platform::gnulinux
