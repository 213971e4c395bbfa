#include "platform/linux/diskutil/accessReport.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <grp.h>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>

#include "base/FileLock.h"
#include "base/Json.h"
#include "base/PrivateFiles.h"
#include "base/SharedGroup.h"
#include "platform/linux/LinuxSystemInfo.h"
#include "platform/linux/XdgContainers.h"
#include "platform/linux/diskutil/runBounded.h"

namespace halvercine::platform::gnulinux {
namespace {

using namespace std::chrono_literals;

constexpr Milliseconds limit = 5s;
constexpr auto lockPatience = 2s;

// As the user whose folders these are: files of root in them would be in that user's way, and root
// shall not follow where the user's links lead.
bool becomeOwnerOf(std::filesystem::path folder) {
  struct stat status {};
  while (::stat(folder.c_str(), &status) != 0) {
    if (!folder.has_relative_path()) return false;
    folder = folder.parent_path();
  }
  if (status.st_uid == ::geteuid()) return true;
  return ::setgroups(0, nullptr) == 0 && ::setgid(status.st_gid) == 0 &&
         ::setuid(status.st_uid) == 0;
}

std::optional<std::filesystem::path> reportPath(const BlockDevice& device) {
  XdgContainers containers;
  const auto support = containers.applicationSupport();
  if (!device.isPartition() || !support || !becomeOwnerOf(*support)) return std::nullopt;
  const auto container = containers.groupContainer(std::string(base::sharedGroup));
  if (!container) return std::nullopt;
  return *container / ("mount-access-" + bsdName(device.id) + ".json");
}

bool withReport(const BlockDevice& device,
                const std::function<bool(const std::filesystem::path&)>& work) {
  const auto whole = [&] {
    const auto path = reportPath(device);
    // Others hold the lock for moments only.
    const auto held =
        path ? base::FileLock::take(path->string() + ".lock", lockPatience) : std::nullopt;
    return held && work(*path) ? 0 : 1;
  };
  return runApart(whole, limit) == 0;
}

std::string bootSession() {
  const auto raw = LinuxSystemInfo().kernelVariable("kern.bootsessionuuid").value_or("");
  return raw.substr(0, raw.find('\0'));
}

}  // namespace

bool writeAccessReport(const BlockDevice& device, AccessReason reason) {
  const std::chrono::duration<double> now = std::chrono::system_clock::now().time_since_epoch();
  const AccessReport report{device.id.entryId(), bootSession(), now.count(), reason,
                            std::string(diskToolOwner)};
  return withReport(device, [&](const std::filesystem::path& path) {
    return !base::replacePrivateFile(path, base::encodeJson(report));
  });
}

void removeAccessReport(const BlockDevice& device) {
  withReport(device, [](const std::filesystem::path& path) {
    std::error_code ignored;
    return std::filesystem::remove(path, ignored);
  });
}

}  // namespace halvercine::platform::gnulinux
